#pragma once

// Bodies that a profile or a disk sweeps, and primitive solids.

#include "importer/geometry/Polyhedron.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// Whether `readSweep` supports an entity.
bool isSweep(Entity entity);

/// The closed body of a swept area, a swept disk, a block, pyramid, cylinder, cone or sphere. Round parts are approximated
/// as `segmentsPerTurn` specifies.
/// @throws EntityError, LimitExceeded
Polyhedron readSweep(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
