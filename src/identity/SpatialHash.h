#pragma once

#include <cstddef>

// The spatial hash of a vertex cloud: centre x, y, z of its box, then the radii of the eight octants around the centre.
//
// Both functions give the same bits (any NaN for a NaN) for every input, NaN, infinities and zeros of either sign included;
// the plain one says what they do.

namespace Velmor {

inline constexpr std::size_t spatialHashDimension = 11;

/// @param count number of vertices; the last one does not take part, on purpose. The first is read whatever it is.
/// @param xyz   the vertices as consecutive triples.
/// @param[out] hash eleven numbers.
void computeSpatialHashPlain(unsigned count, const double* xyz, double* hash);

/// The same with the vector instructions that every 64-bit x86 processor has; elsewhere it is the plain one.
void computeSpatialHash(unsigned count, const double* xyz, double* hash);

} // namespace Velmor
