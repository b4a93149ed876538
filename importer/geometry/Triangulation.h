#pragma once

// Faces as triangles.

#include "importer/geometry/Vector.h"

#include <cstdint>
#include <vector>

namespace importer::geometry {

/// Loops of a plane face: first its outline, then its holes, which run the other way round. Indices into a list of points.
using FaceLoops = std::vector<std::vector<std::uint32_t>>;

/// Cuts a face into triangles that run the same way round as its outline.
///
/// There are always as many as the face has corners, plus two for each hole, minus two, so that the triangles of a closed
/// body are closed again; corners in a straight line give some without area. A face that is not plane, or whose loops cross
/// each other, is cut into as many, of some shape. Method: holes are joined to the outline by a bridge each, then ears are
/// cut off one by one (D. Eberly, "Triangulation by Ear Clipping").
///
/// @param[out] triangles three indices for each are appended.
/// @param[in,out] work   what it may cost, in corners looked at, and what is left of that.
/// @return false when that was not enough; what was appended is then of no use.
bool triangulate(const std::vector<Vector3>& points, const FaceLoops& loops, std::vector<std::uint32_t>& triangles,
                 std::uint64_t& work);

} // namespace importer::geometry
