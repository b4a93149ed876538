#pragma once

#if defined(__x86_64__) || defined(_M_X64)
    #define VELMOR_X86_64 1
#endif

namespace Velmor::simd {

/// The instruction set that a kernel requires.
enum class InstructionSet {
    Baseline,     ///< The instructions of every processor that the compiler's target includes.
    Sse2,         ///< Part of the baseline of x86-64.
    Ssse3,        ///< Supplemental SSE3: among others, byte shuffles.
    ShaExtensions ///< The SHA-1 and SHA-256 instructions, and SSSE3.
};

/// Whether this processor has an instruction set. Executes `cpuid`, which may take microseconds in a virtual machine.
bool isSupported(InstructionSet set);

} // namespace Velmor::simd
