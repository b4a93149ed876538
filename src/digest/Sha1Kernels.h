#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#if defined(__x86_64__) || defined(_M_X64)
    #define VELMOR_SHA1_X86 1
#endif

// The compression function of SHA-1, in one file for each way to compute it. The plain form is the definition; the others
// must give the same results.

namespace Velmor::sha1 {

constexpr std::size_t blockSize = 64;

/// The chaining values H0 to H4.
using State = std::uint32_t[5];

/// Compresses whole blocks, where they lie, into a state.
using Compress = void(State& state, const unsigned char* blocks, std::size_t count);

Compress compressPlain;

#if defined(VELMOR_SHA1_X86)
/// The message schedule four words at a time. Needs SSSE3.
Compress compressSsse3;
/// The processor's own SHA instructions. Needs these and SSSE3.
Compress compressShaExtensions;
#endif

struct Kernel {
    const char* name;
    Compress* compress;
};

/// The kernels that this processor runs, the plain one first and the fastest one last.
std::span<const Kernel> kernels();

/// Compresses with the fastest kernel, or with the one that was forced.
Compress compress;

/// For suites and benchmarks: every hasher of the process uses this kernel from now on. Null: the fastest one again.
void forceKernel(const Kernel* kernel);

} // namespace Velmor::sha1
