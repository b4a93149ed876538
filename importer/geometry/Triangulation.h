#pragma once

// Triangulation of planar faces with holes.

#include "importer/geometry/Vector.h"

#include <cstdint>
#include <vector>

namespace importer::geometry {

/// The loops of a planar face: first the outer one, then its holes, which run in the opposite direction. Indices into a list
/// of points.
using FaceLoops = std::vector<std::vector<std::uint32_t>>;

/// Cuts a face into triangles with the orientation of its outer loop.
///
/// The number of triangles is always the number of corners, plus two for each hole, minus two. Therefore the triangles of a
/// closed body are closed again. Collinear corners produce triangles without area. A face that is not planar, or whose
/// loops cross, produces the same number of triangles of unspecified shape.
///
/// Complexity: O(n r) for n corners, r of them reflex.
///
/// @param[out] triangles receives three indices per triangle, appended.
/// @param[in,out] work   maximum number of corners to visit, reduced by those visited.
/// @return false when `work` was not enough; `triangles` then holds an unspecified part of the face.
bool triangulate(const std::vector<Vector3>& points, const FaceLoops& loops, std::vector<std::uint32_t>& triangles,
                 std::uint64_t& work);

} // namespace importer::geometry
