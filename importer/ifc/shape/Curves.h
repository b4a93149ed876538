#pragma once

// Curves as polygons.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

#include <vector>

namespace importer::ifc {

/// Points nearer to each other than this, in the file's unit, are one point of a curve.
inline constexpr double samePoint = 1e-6;

/// Whether `readCurve` reads an entity.
bool isCurve(Entity entity);

/// The points of a curve in its direction, both ends included: polylines, indexed poly curves, composite curves, circles and
/// ellipses, trimmed lines, circles and ellipses. Arcs are taken as `segmentsPerTurn` says; a whole circle repeats its first
/// point at its end.
std::vector<Vector3> readCurve(IfcContext& context, const Instance& instance);

/// The points of a closed curve without the repeated one, at least three. @throws EntityError
std::vector<Vector3> readClosedCurve(IfcContext& context, const Instance& instance);

/// The points of an arc on a circle or ellipse between two points of it, both included.
std::vector<Vector3> readArcBetween(IfcContext& context, const Instance& conic, const Vector3& from, const Vector3& to,
                                    bool sameSense);

/// The points of an arc around the origin in the plane of x and y, both ends included.
void addArc(std::vector<Vector3>& points, const Transform& position, double radiusX, double radiusY, double from,
            double angle);

/// The points of an IfcCartesianPointList of two or three dimensions.
std::vector<Vector3> readPointList(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
