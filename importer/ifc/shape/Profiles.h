#pragma once

// The cross sections of swept solids.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

#include <vector>

namespace importer::ifc {

/// A connected area in the plane of x and y: what its outer loop encloses without its holes. The outer loop runs
/// counter-clockwise, the holes clockwise.
struct Region {
    std::vector<Vector3> outer;
    std::vector<std::vector<Vector3>> holes;
};

/// The regions of an IfcProfileDef of any closed kind. Those of a composite profile are taken as they are, overlapping or
/// not.
std::vector<Region> readProfile(IfcContext& context, const Instance& instance);

/// The area that a loop encloses; negative when it runs clockwise.
double signedArea(const std::vector<Vector3>& loop);

} // namespace importer::ifc
