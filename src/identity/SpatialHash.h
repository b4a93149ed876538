#pragma once

#include "simd/Dispatch.h"

#include <cstddef>

// The spatial hash of a vertex cloud, eleven numbers:
//
//     0 to 2     x, y and z of the center: the midpoint of the bounding box
//     3 to 10    for each octant around the center the distance of its farthest vertex; 0 if it has none
//
// A vertex lies in octant bx + 2 by + 4 bz, where bx is 1 if its x is greater than that of the center and otherwise 0.
// by and bz are defined in the same way for y and z.
//
// See simd/Dispatch.h for the layout of the kernels. Their results are equal bit by bit for every input, infinities and
// zeros of both signs included, except that a NaN may have other bits.

namespace Velmor::identity {

inline constexpr std::size_t spatialHashDimension = 11;

/// @param count number of vertices. The last one is ignored; the first one is read even if `count` is 0.
/// @param xyz   the vertices as consecutive triples.
/// @param[out] hash eleven numbers.
using ComputeSpatialHash = void(unsigned count, const double* xyz, double* hash);

namespace plain {
ComputeSpatialHash computeSpatialHash;
}

namespace sse2 {
ComputeSpatialHash computeSpatialHash;
}

using SpatialHashKernel = simd::Kernel<ComputeSpatialHash*>;

extern simd::Dispatch<ComputeSpatialHash*> spatialHashDispatch;

inline void computeSpatialHash(unsigned count, const double* xyz, double* hash) {
    spatialHashDispatch.functions()(count, xyz, hash);
}

} // namespace Velmor::identity
