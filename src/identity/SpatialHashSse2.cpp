#include "identity/SpatialHashSteps.h"
#include "simd/X86.h"

// The coordinates are a stream x y z x y z ... The pass for the box takes twelve numbers (four vertices) at a time in six
// registers of two lanes, so that each lane always holds the same axis. The pass for the radii takes two vertices at a time.
// The vertices that remain are processed as in the plain kernel.

#if defined(VELMOR_X86_64)

namespace Velmor::identity {

namespace {

using simd::loadPair;
using simd::storePair;

/// The bounds of two adjacent coordinates of the stream.
struct Bounds {
    __m128d low;
    __m128d high;

    void widen(const double* pair) {
        const __m128d value = loadPair(pair);
        low = _mm_min_pd(value, low);
        high = _mm_max_pd(value, high);
    }
};

/// Lane i of the twelve holds a bound of axis i mod 3. Every lane starts with the first vertex, as in the plain kernel. A
/// bound that is zero may have the other sign, but only if the opposite bound is not zero, and then the sign has no effect
/// on the center.
void boxCenter(std::size_t count, const double* xyz, double* center) {
    const __m128d first0 = _mm_setr_pd(xyz[0], xyz[1]);
    const __m128d first1 = _mm_setr_pd(xyz[2], xyz[0]);
    const __m128d first2 = _mm_setr_pd(xyz[1], xyz[2]);
    Bounds b0{first0, first0};
    Bounds b1{first1, first1};
    Bounds b2{first2, first2};
    Bounds b3{first0, first0};
    Bounds b4{first1, first1};
    Bounds b5{first2, first2};
    const std::size_t blocks = count / 4;
    for (std::size_t i = 0; i < blocks; ++i, xyz += 12) {
        b0.widen(xyz);
        b1.widen(xyz + 2);
        b2.widen(xyz + 4);
        b3.widen(xyz + 6);
        b4.widen(xyz + 8);
        b5.widen(xyz + 10);
    }

    double low[12];
    double high[12];
    const Bounds all[6] = {b0, b1, b2, b3, b4, b5};
    for (std::size_t i = 0; i < 6; ++i) {
        storePair(low + 2 * i, all[i].low);
        storePair(high + 2 * i, all[i].high);
    }
    for (std::size_t i = 0; i < 3 * (count % 4); ++i) {
        low[i] = lower(xyz[i], low[i]);
        high[i] = upper(xyz[i], high[i]);
    }
    for (std::size_t i = 3; i < 12; ++i) {
        low[i % 3] = lower(low[i], low[i % 3]);
        high[i % 3] = upper(high[i], high[i % 3]);
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
        center[axis] = midpoint(low[axis], high[axis]);
}

/// The vertices at even and at odd indexes have separate radii, so that neither waits for the other's stores. The order of
/// the maxima does not affect the result: a squared distance is never a negative zero, and a NaN is never a maximum.
void octantRadii(std::size_t count, const double* xyz, const double* center, double* squaredRadii) {
    double even[octantCount] = {};
    double odd[octantCount] = {};
    const __m128d zero = _mm_setzero_pd();
    const __m128d centerX = _mm_set1_pd(center[0]);
    const __m128d centerY = _mm_set1_pd(center[1]);
    const __m128d centerZ = _mm_set1_pd(center[2]);
    const std::size_t pairs = count / 2;
    for (std::size_t i = 0; i < pairs; ++i, xyz += 6) {
        const __m128d x0y0 = loadPair(xyz);
        const __m128d z0x1 = loadPair(xyz + 2);
        const __m128d y1z1 = loadPair(xyz + 4);
        const __m128d dx = _mm_sub_pd(_mm_shuffle_pd(x0y0, z0x1, 2), centerX);
        const __m128d dy = _mm_sub_pd(_mm_shuffle_pd(x0y0, y1z1, 1), centerY);
        const __m128d dz = _mm_sub_pd(_mm_shuffle_pd(z0x1, y1z1, 2), centerZ);
        const __m128d squared = _mm_add_pd(_mm_add_pd(_mm_mul_pd(dy, dy), _mm_mul_pd(dx, dx)), _mm_mul_pd(dz, dz));
        const unsigned bx = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(dx, zero)));
        const unsigned by = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(dy, zero)));
        const unsigned bz = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(dz, zero)));
        double* radius0 = even + ((bx & 1) + (by & 1) * 2 + (bz & 1) * 4);
        double* radius1 = odd + ((bx >> 1) + (by & 2) + (bz & 2) * 2);
        _mm_store_sd(radius0, _mm_max_sd(squared, _mm_load_sd(radius0)));
        _mm_store_sd(radius1, _mm_max_sd(_mm_unpackhi_pd(squared, squared), _mm_load_sd(radius1)));
    }
    widenRadii(count % 2, xyz, center, even);
    for (std::size_t k = 0; k < octantCount; ++k)
        squaredRadii[k] = upper(odd[k], even[k]);
}

} // namespace

void sse2::computeSpatialHash(unsigned count, const double* xyz, double* hash) {
    const std::size_t considered = consideredVertices(count);
    double center[3];
    double squaredRadii[octantCount];
    boxCenter(considered, xyz, center);
    octantRadii(considered, xyz, center, squaredRadii);
    writeHash(center, squaredRadii, hash);
}

} // namespace Velmor::identity

#endif
