#include "digest/Sha1Kernels.h"

#include <atomic>

#if defined(VELMOR_SHA1_X86)
    #if defined(_MSC_VER)
        #include <intrin.h>
    #else
        #include <cpuid.h>
    #endif
#endif

namespace Velmor::sha1 {

namespace {

#if defined(VELMOR_SHA1_X86)

struct Registers {
    unsigned a, b, c, d;
};

Registers cpuid(unsigned leaf) {
    #if defined(_MSC_VER)
    int registers[4];
    __cpuidex(registers, static_cast<int>(leaf), 0);
    return {static_cast<unsigned>(registers[0]), static_cast<unsigned>(registers[1]), static_cast<unsigned>(registers[2]),
            static_cast<unsigned>(registers[3])};
    #else
    Registers registers;
    __cpuid_count(leaf, 0, registers.a, registers.b, registers.c, registers.d);
    return registers;
    #endif
}

constexpr bool bit(unsigned value, unsigned number) {
    return (value >> number & 1) != 0;
}

constexpr Kernel known[] = {{"plain", compressPlain}, {"ssse3", compressSsse3}, {"sha extensions", compressShaExtensions}};

/// How many of them, each of which asks for more than the one before.
std::size_t usable() {
    constexpr unsigned features = 1;
    constexpr unsigned extendedFeatures = 7;
    if (!bit(cpuid(features).c, 9)) // SSSE3
        return 1;
    if (cpuid(0).a < extendedFeatures || !bit(cpuid(extendedFeatures).b, 29)) // SHA
        return 2;
    return 3;
}

#else

constexpr Kernel known[] = {{"plain", compressPlain}};

constexpr std::size_t usable() {
    return 1;
}

#endif

/// Null until the first use. Threads that come to it at once all find the same.
constinit std::atomic<Compress*> chosen = nullptr;

} // namespace

std::span<const Kernel> kernels() {
    return std::span(known).first(usable());
}

void compress(State& state, const unsigned char* blocks, std::size_t count) {
    Compress* kernel = chosen.load(std::memory_order_relaxed);
    if (!kernel) {
        kernel = kernels().back().compress;
        chosen.store(kernel, std::memory_order_relaxed);
    }
    kernel(state, blocks, count);
}

void forceKernel(const Kernel* kernel) {
    chosen.store(kernel ? kernel->compress : nullptr, std::memory_order_relaxed);
}

} // namespace Velmor::sha1
