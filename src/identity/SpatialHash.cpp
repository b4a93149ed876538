#include "identity/SpatialHash.h"

#include <algorithm>
#include <cmath>

#if defined(__SSE2__) || defined(_M_X64)
    #include <emmintrin.h>
    #define VELMOR_SSE2 1
#endif

namespace Velmor {

namespace {

constexpr std::size_t octants = 8;

// The list's last vertex never takes part: the one-behind walk is meant.
std::size_t consideredVertices(unsigned count) {
    return count > 1 ? std::size_t{count} - 1 : 0;
}

// A value that compares with nothing, a NaN, leaves the bound as it is; so do the processor's minimum and maximum of two
// numbers in this order of operands.
double lower(double value, double bound) {
    return value < bound ? value : bound;
}

double upper(double value, double bound) {
    return value > bound ? value : bound;
}

double middle(double low, double high) {
    return (high + low) * 0.5;
}

void widenRadii(std::size_t count, const double* xyz, const double* centre, double* squaredRadii) {
    for (std::size_t i = 0; i < count; ++i, xyz += 3) {
        const double dx = xyz[0] - centre[0];
        const double dy = xyz[1] - centre[1];
        const double dz = xyz[2] - centre[2];
        const unsigned octant = (dx > 0 ? 1u : 0u) + (dy > 0 ? 2u : 0u) + (dz > 0 ? 4u : 0u);
        squaredRadii[octant] = upper((dy * dy + dx * dx) + dz * dz, squaredRadii[octant]);
    }
}

void store(const double* centre, const double* squaredRadii, double* hash) {
    std::copy_n(centre, 3, hash);
    for (std::size_t k = 0; k < octants; ++k)
        hash[3 + k] = std::sqrt(squaredRadii[k]);
}

} // namespace

void computeSpatialHashPlain(unsigned count, const double* xyz, double* hash) {
    const std::size_t considered = consideredVertices(count);

    double low[3] = {xyz[0], xyz[1], xyz[2]};
    double high[3] = {xyz[0], xyz[1], xyz[2]};
    for (std::size_t i = 0; i < considered; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = lower(xyz[3 * i + axis], low[axis]);
            high[axis] = upper(xyz[3 * i + axis], high[axis]);
        }
    }

    const double centre[3] = {middle(low[0], high[0]), middle(low[1], high[1]), middle(low[2], high[2])};
    double squaredRadii[octants] = {};
    widenRadii(considered, xyz, centre, squaredRadii);
    store(centre, squaredRadii, hash);
}

#if VELMOR_SSE2

namespace {

// Bounds of two neighbouring coordinates of the stream x y z x y z ...
struct Bounds {
    __m128d low;
    __m128d high;

    void widen(const double* pair) {
        const __m128d value = _mm_loadu_pd(pair);
        low = _mm_min_pd(value, low);
        high = _mm_max_pd(value, high);
    }
};

// The stream is taken twelve numbers, four vertices, at a time: lane i holds a bound of axis i mod 3. Every lane begins with
// the first vertex, as the plain walk does. A bound that is zero may differ in sign from the plain walk's, but only beside
// another bound that is not zero, and then the sign drops out of the centre.
void boxCentre(std::size_t count, const double* xyz, double* centre) {
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
        _mm_storeu_pd(low + 2 * i, all[i].low);
        _mm_storeu_pd(high + 2 * i, all[i].high);
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
        centre[axis] = middle(low[axis], high[axis]);
}

// Two vertices at a time, each with radii of its own, so that neither waits for the other's. A squared distance is never a
// negative zero and a NaN is never kept: the order of the maxima does not show.
void octantRadii(std::size_t count, const double* xyz, const double* centre, double* squaredRadii) {
    double even[octants] = {};
    double odd[octants] = {};
    const __m128d zero = _mm_setzero_pd();
    const __m128d centreX = _mm_set1_pd(centre[0]);
    const __m128d centreY = _mm_set1_pd(centre[1]);
    const __m128d centreZ = _mm_set1_pd(centre[2]);
    const std::size_t pairs = count / 2;
    for (std::size_t i = 0; i < pairs; ++i, xyz += 6) {
        const __m128d x0y0 = _mm_loadu_pd(xyz);
        const __m128d z0x1 = _mm_loadu_pd(xyz + 2);
        const __m128d y1z1 = _mm_loadu_pd(xyz + 4);
        const __m128d dx = _mm_sub_pd(_mm_shuffle_pd(x0y0, z0x1, 2), centreX);
        const __m128d dy = _mm_sub_pd(_mm_shuffle_pd(x0y0, y1z1, 1), centreY);
        const __m128d dz = _mm_sub_pd(_mm_shuffle_pd(z0x1, y1z1, 2), centreZ);
        const __m128d squared = _mm_add_pd(_mm_add_pd(_mm_mul_pd(dy, dy), _mm_mul_pd(dx, dx)), _mm_mul_pd(dz, dz));
        const unsigned bx = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(dx, zero)));
        const unsigned by = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(dy, zero)));
        const unsigned bz = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(dz, zero)));
        double* radius0 = even + ((bx & 1) + (by & 1) * 2 + (bz & 1) * 4);
        double* radius1 = odd + ((bx >> 1) + (by & 2) + (bz & 2) * 2);
        _mm_store_sd(radius0, _mm_max_sd(squared, _mm_load_sd(radius0)));
        _mm_store_sd(radius1, _mm_max_sd(_mm_unpackhi_pd(squared, squared), _mm_load_sd(radius1)));
    }
    widenRadii(count % 2, xyz, centre, even);
    for (std::size_t k = 0; k < octants; ++k)
        squaredRadii[k] = upper(odd[k], even[k]);
}

} // namespace

void computeSpatialHash(unsigned count, const double* xyz, double* hash) {
    const std::size_t considered = consideredVertices(count);
    double centre[3];
    double squaredRadii[octants];
    boxCentre(considered, xyz, centre);
    octantRadii(considered, xyz, centre, squaredRadii);
    store(centre, squaredRadii, hash);
}

#else

void computeSpatialHash(unsigned count, const double* xyz, double* hash) {
    computeSpatialHashPlain(count, xyz, hash);
}

#endif

} // namespace Velmor
