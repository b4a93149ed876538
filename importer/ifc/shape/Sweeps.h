#pragma once

// Bodies made by moving a section, and the primitive ones.

#include "importer/geometry/Polyhedron.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// Whether `readSweep` reads an entity.
bool isSweep(Entity entity);

/// The closed body of a swept area, a swept disk, a block, pyramid, cylinder, cone or sphere. What is round is taken as
/// polygons, as `segmentsPerTurn` says.
Polyhedron readSweep(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
