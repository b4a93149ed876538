#pragma once

// Curves, approximated by polylines.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

#include <vector>

namespace importer::ifc {

/// Consecutive points of a curve that are closer than this, in the length unit of the file, are the same point.
inline constexpr double samePoint = 1e-6;

/// Whether `readCurve` supports an entity.
bool isCurve(Entity entity);

/// The points of a curve in its direction, both ends included. Supports polylines, indexed poly curves, composite curves,
/// circles and ellipses, and trimmed lines, circles and ellipses. Arcs are approximated as `segmentsPerTurn` specifies; the
/// last point of a full circle or ellipse equals the first one.
/// @throws EntityError, LimitExceeded
std::vector<Vector3> readCurve(IfcContext& context, const Instance& instance);

/// The points of a closed curve, at least three. The first one is not repeated at the end.
/// @throws EntityError, LimitExceeded
std::vector<Vector3> readClosedCurve(IfcContext& context, const Instance& instance);

/// The points of an arc between two points of a circle or an ellipse, both included.
/// @param sameSense whether the arc runs in the direction of the curve.
/// @throws EntityError, LimitExceeded
std::vector<Vector3> readArcBetween(IfcContext& context, const Instance& conic, const Vector3& from, const Vector3& to,
                                    bool sameSense);

/// Appends the points of an elliptical arc around the origin of the xy plane of a position, both ends included.
/// @param from  the angle at which the arc starts, in radians.
/// @param angle the angle of the arc, in radians; negative for clockwise.
void addArc(std::vector<Vector3>& points, const Transform& position, double radiusX, double radiusY, double from,
            double angle);

/// The points of an IfcCartesianPointList of two or three dimensions.
/// @throws EntityError, LimitExceeded
std::vector<Vector3> readPointList(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
