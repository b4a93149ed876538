#include "identity/SpatialHash.h"

namespace Velmor::identity {

namespace {

constexpr SpatialHashKernel kernels[] = {
    {"plain", simd::InstructionSet::Baseline, plain::computeSpatialHash},
#if defined(VELMOR_X86_64)
    {"sse2", simd::InstructionSet::Sse2, sse2::computeSpatialHash},
#endif
};

} // namespace

constinit simd::Dispatch<ComputeSpatialHash*> spatialHashDispatch(kernels);

} // namespace Velmor::identity
