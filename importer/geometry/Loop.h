#pragma once

// Closed polygons.

#include "importer/geometry/Vector.h"

#include <vector>

namespace importer::geometry {

/// The corners of a closed polygon in order; the first one is not repeated at the end.
using Loop = std::vector<Vector3>;

/// The normal of a loop; its length is twice the area of the loop. Seen from the tip of the vector the loop runs
/// counterclockwise. Zero for fewer than three corners.
Vector3 doubleAreaVector(const Loop& loop);

/// The area that a loop in the xy plane encloses; negative when the loop runs clockwise.
double signedArea(const Loop& loop);

} // namespace importer::geometry
