#pragma once

// The cross sections of swept solids.

#include "importer/geometry/Loop.h"
#include "importer/ifc/Record.h"

#include <vector>

namespace importer::ifc {

/// A connected area in the xy plane: the inside of its outer loop without its holes. The outer loop runs counterclockwise,
/// the holes clockwise.
struct Region {
    Loop outer;
    std::vector<Loop> holes;
};

/// The regions of an IfcProfileDef of any closed kind, at least one. The regions of a composite profile are returned as they
/// are; they may overlap.
/// @throws EntityError, LimitExceeded
std::vector<Region> readProfile(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
