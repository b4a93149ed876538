#include "digest/Sha1Compression.h"

namespace Velmor::digest {

namespace {

constexpr Kernel kernels[] = {
    {"plain", simd::InstructionSet::Baseline, plain::compress},
#if defined(VELMOR_X86_64)
    {"ssse3", simd::InstructionSet::Ssse3, ssse3::compress},
    {"sha extensions", simd::InstructionSet::ShaExtensions, shaExtensions::compress},
#endif
};

} // namespace

constinit simd::Dispatch<Compress*> compressDispatch(kernels);

} // namespace Velmor::digest
