#pragma once

#include "identity/SpatialHash.h"
#include "simd/X86.h"

#include <algorithm>
#include <cmath>

// The steps of the spatial hash that its kernels share.

namespace Velmor::identity {

inline constexpr std::size_t octantCount = 8;

// Frozen: the last vertex of the list is ignored.
inline std::size_t consideredVertices(unsigned count) {
    return count > 1 ? std::size_t{count} - 1 : 0;
}

// A NaN leaves the bound unchanged. The processor's minimum and maximum do the same with this order of operands.

inline double lower(double value, double bound) {
    return value < bound ? value : bound;
}

inline double upper(double value, double bound) {
    return value > bound ? value : bound;
}

inline double midpoint(double low, double high) {
    return (high + low) * 0.5;
}

/// Increases the squared radius of the octant of each vertex to its squared distance from the center. The order of the sum
/// is part of the result.
inline void widenRadii(std::size_t count, const double* xyz, const double* center, double* squaredRadii) {
    for (std::size_t i = 0; i < count; ++i, xyz += 3) {
        const double dx = xyz[0] - center[0];
        const double dy = xyz[1] - center[1];
        const double dz = xyz[2] - center[2];
        const unsigned octant = (dx > 0 ? 1u : 0u) + (dy > 0 ? 2u : 0u) + (dz > 0 ? 4u : 0u);
        squaredRadii[octant] = upper((dy * dy + dx * dx) + dz * dz, squaredRadii[octant]);
    }
}

/// The correctly rounded square root. The sqrt of the mingw-w64 runtime, which unoptimized code calls, is not used: it
/// rounds twice, first to the 64 bits of the x87 registers.
inline double squareRoot(double value) {
#if defined(VELMOR_X86_64)
    const __m128d number = _mm_set_sd(value);
    return _mm_cvtsd_f64(_mm_sqrt_sd(number, number));
#else
    return std::sqrt(value);
#endif
}

inline void writeHash(const double* center, const double* squaredRadii, double* hash) {
    std::copy_n(center, 3, hash);
    for (std::size_t k = 0; k < octantCount; ++k)
        hash[3 + k] = squareRoot(squaredRadii[k]);
}

} // namespace Velmor::identity
