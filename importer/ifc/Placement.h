#pragma once

// Points, directions, placements and their chains, and transformation operators. All lengths are in the unit of the file.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// The point of an IfcCartesianPoint of two or three coordinates.
Vector3 readPoint(IfcContext& context, const Instance& instance);

/// The unit vector of an IfcDirection of two or three components.
Vector3 readDirection(IfcContext& context, const Instance& instance);

/// `v` with length 1. @throws EntityError naming `instance` if its length is zero or out of range.
Vector3 unitVector(const Vector3& v, const Instance& instance);

/// A coordinate system at `origin` whose z axis is the unit vector `along`.
Transform frameAlong(const Vector3& along, const Vector3& origin);

/// The coordinate system of an IfcAxis2Placement3D, IfcAxis2Placement2D, or IfcAxis1Placement, whose axis becomes z.
Transform readAxisPlacement(IfcContext& context, const Instance& instance);

/// The coordinate system of `instance`; the identity if it is null.
Transform readAxisPlacement(IfcContext& context, const Instance* instance);

/// The product of a chain of IfcLocalPlacements: from the coordinate system of `instance` to the world.
/// @throws EntityError for another kind of placement, for a cycle, and for more than 256 placements.
Transform readObjectPlacement(IfcContext& context, const Instance& instance);

/// An IfcCartesianTransformationOperator of two or three dimensions, with a uniform scale or one for each axis.
Transform readOperator(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
