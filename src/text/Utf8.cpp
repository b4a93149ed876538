#include "text/Utf8.h"

namespace Velmor::text {

namespace {

constexpr Utf8Kernel kernels[] = {
    {"plain", simd::InstructionSet::Baseline, {plain::decodeUtf8, plain::countUtf8, plain::encodeUtf8, plain::measureUtf8}},
#if defined(VELMOR_X86_64)
    {"sse2", simd::InstructionSet::Sse2, {sse2::decodeUtf8, sse2::countUtf8, sse2::encodeUtf8, sse2::measureUtf8}},
#endif
};

} // namespace

constinit simd::Dispatch<Utf8Functions> utf8Dispatch(kernels);

} // namespace Velmor::text
