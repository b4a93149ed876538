#pragma once

// Where things are: points, directions, placements and their chains, transformation operators.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// The point of an IfcCartesianPoint of two or three coordinates, in the file's unit.
Vector3 readPoint(IfcContext& context, const Instance& instance);

/// The direction of an IfcDirection, of length 1.
Vector3 readDirection(IfcContext& context, const Instance& instance);

/// The unit vector along `v`. @throws EntityError when it has none.
Vector3 unitVector(const Vector3& v, const Instance& instance);

/// Two directions perpendicular to `along`, and to each other.
Transform frameAlong(const Vector3& along, const Vector3& origin);

/// An IfcAxis2Placement3D, IfcAxis2Placement2D or IfcAxis1Placement (whose axis becomes z).
Transform readAxisPlacement(IfcContext& context, const Instance& instance);

/// The same; the identity for null.
Transform readAxisPlacement(IfcContext& context, const Instance* instance);

/// A chain of IfcLocalPlacements, from the world to its last one. Others are not supported.
Transform readObjectPlacement(IfcContext& context, const Instance& instance);

/// An IfcCartesianTransformationOperator of two or three dimensions, with one scale or several.
Transform readOperator(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
