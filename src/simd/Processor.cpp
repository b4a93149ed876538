#include "simd/Processor.h"

#if defined(VELMOR_X86_64)
    #if defined(_MSC_VER)
        #include <intrin.h>
    #else
        #include <cpuid.h>
    #endif
#endif

namespace Velmor::simd {

#if defined(VELMOR_X86_64)

namespace {

struct Registers {
    unsigned eax, ebx, ecx, edx;
};

Registers cpuid(unsigned leaf) {
    #if defined(_MSC_VER)
    int registers[4];
    __cpuidex(registers, static_cast<int>(leaf), 0);
    return {static_cast<unsigned>(registers[0]), static_cast<unsigned>(registers[1]), static_cast<unsigned>(registers[2]),
            static_cast<unsigned>(registers[3])};
    #else
    Registers registers;
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return registers;
    #endif
}

constexpr unsigned featureLeaf = 1;
constexpr unsigned extendedFeatureLeaf = 7;

constexpr bool isBitSet(unsigned value, unsigned bit) {
    return (value >> bit & 1) != 0;
}

bool hasSsse3() {
    return isBitSet(cpuid(featureLeaf).ecx, 9);
}

bool hasShaExtensions() {
    const unsigned highestLeaf = cpuid(0).eax;
    return highestLeaf >= extendedFeatureLeaf && isBitSet(cpuid(extendedFeatureLeaf).ebx, 29);
}

} // namespace

bool isSupported(InstructionSet set) {
    switch (set) {
    case InstructionSet::Baseline:
    case InstructionSet::Sse2:
        return true;
    case InstructionSet::Ssse3:
        return hasSsse3();
    case InstructionSet::ShaExtensions:
        return hasSsse3() && hasShaExtensions();
    }
    return false;
}

#else

bool isSupported(InstructionSet set) {
    return set == InstructionSet::Baseline;
}

#endif

} // namespace Velmor::simd
