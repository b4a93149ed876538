// Placements as transforms. A direction of the file may have any length, and the reference direction of an axis may have any
// angle but 0 to it. The axes are orthonormalized: z (or the given axis) is kept, and x is the part of the reference
// direction that is perpendicular to it. An omitted direction has the default of the standard.

#include "importer/ifc/Placement.h"

#include "importer/ifc/Attributes.h"

#include <algorithm>
#include <string>
#include <vector>

namespace importer::ifc {

using namespace attribute;

namespace {

/// Unit vectors are parallel if the sine of the angle between them is at most this.
constexpr double parallel = 1e-9;

constexpr Vector3 xAxis = {1.0, 0.0, 0.0};
constexpr Vector3 yAxis = {0.0, 1.0, 0.0};
constexpr Vector3 zAxis = {0.0, 0.0, 1.0};

Vector3 readCoordinates(IfcContext& context, const Instance& instance, std::size_t index) {
    const Record record(context, instance);
    const Value& list = record[index];
    double c[3] = {0.0, 0.0, 0.0};
    const int count = list.kind == ValueKind::List ? readNumbers(list.text, c, 3) : -1;
    if (count != 2 && count != 3)
        record.fail("has invalid coordinates; expected two or three numbers");
    return {c[0], c[1], c[2]};
}

/// The part of `v` that is perpendicular to the unit vector `axis`, with length 1.
Vector3 perpendicular(const Vector3& v, const Vector3& axis, const Instance& instance) {
    const Vector3 across = v - axis * dot(v, axis);
    const double size = length(across);
    if (!(size > parallel))
        throw EntityError{&instance, "its axes are parallel"};
    return across * (1.0 / size);
}

/// The direction of an attribute, or `ifOmitted`.
Vector3 directionAt(IfcContext& context, const Record& record, std::size_t index, const Vector3& ifOmitted) {
    const Instance* direction = record.optionalReference(index);
    return direction ? readDirection(context, *direction) : ifOmitted;
}

/// The reference direction for a z axis if the file has none.
Vector3 defaultX(const Vector3& z) {
    return std::fabs(z.x) > 1.0 - parallel ? yAxis : xAxis;
}

double scaleAt(const Record& record, std::size_t index, double ifOmitted) {
    return record.given(index) ? record.positive(index) : ifOmitted;
}

} // namespace

Vector3 readPoint(IfcContext& context, const Instance& instance) {
    if (entityOf(instance) != Entity::CartesianPoint)
        throw EntityError{&instance, "is used where an IFCCARTESIANPOINT is expected"};
    return readCoordinates(context, instance, IfcCartesianPoint::Coordinates);
}

Vector3 readDirection(IfcContext& context, const Instance& instance) {
    if (entityOf(instance) != Entity::Direction)
        throw EntityError{&instance, "is used where an IFCDIRECTION is expected"};
    return unitVector(readCoordinates(context, instance, IfcDirection::DirectionRatios), instance);
}

Vector3 unitVector(const Vector3& v, const Instance& instance) {
    const double size = length(v);
    if (!(size > 0.0) || !std::isfinite(size) || !std::isfinite(1.0 / size))
        throw EntityError{&instance, "has no direction: its length is zero or out of range"};
    return v * (1.0 / size);
}

Transform frameAlong(const Vector3& along, const Vector3& origin) {
    const Vector3 side = defaultX(along);
    Vector3 x = side - along * dot(side, along);
    x = x * (1.0 / length(x));
    return {x, cross(along, x), along, origin};
}

Transform readAxisPlacement(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::Axis2Placement3D: {
        using namespace IfcAxis2Placement3D;
        const Vector3 z = directionAt(context, record, Axis, zAxis);
        const Vector3 x = perpendicular(directionAt(context, record, RefDirection, defaultX(z)), z, instance);
        return {x, cross(z, x), z, readPoint(context, record.reference(Location))};
    }
    case Entity::Axis2Placement2D: {
        using namespace IfcAxis2Placement2D;
        const Vector3 x = directionAt(context, record, RefDirection, xAxis);
        return {x, {-x.y, x.x, 0.0}, zAxis, readPoint(context, record.reference(Location))};
    }
    case Entity::Axis1Placement: {
        using namespace IfcAxis1Placement;
        return frameAlong(directionAt(context, record, Axis, zAxis), readPoint(context, record.reference(Location)));
    }
    default:
        record.fail("this kind of placement is not supported");
    }
}

Transform readAxisPlacement(IfcContext& context, const Instance* instance) {
    return instance ? readAxisPlacement(context, *instance) : Transform();
}

Transform readObjectPlacement(IfcContext& context, const Instance& instance) {
    using namespace IfcLocalPlacement;
    constexpr std::size_t maxLength = 256;
    Transform result;
    std::vector<const Instance*> visited;
    const Instance* current = &instance;
    while (current) {
        if (visited.size() == maxLength)
            throw EntityError{&instance, "its chain of placements has more than " + std::to_string(maxLength) + " steps"};
        visited.push_back(current);
        const Record record(context, *current);
        if (record.entity() != Entity::LocalPlacement)
            record.fail("this kind of placement is not supported");
        result = readAxisPlacement(context, record.reference(RelativePlacement)) * result;
        current = record.optionalReference(PlacementRelTo);
        if (std::find(visited.begin(), visited.end(), current) != visited.end())
            record.fail("its chain of placements is circular");
    }
    return result;
}

Transform readOperator(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    const double scale = scaleAt(record, IfcCartesianTransformationOperator::Scale, 1.0);
    switch (record.entity()) {
    case Entity::CartesianTransformationOperator3D:
    case Entity::CartesianTransformationOperator3DnonUniform: {
        using namespace IfcCartesianTransformationOperator3DnonUniform;
        const bool nonUniform = record.entity() == Entity::CartesianTransformationOperator3DnonUniform;
        const Vector3 z = directionAt(context, record, Axis3, zAxis);
        const Vector3 x = perpendicular(directionAt(context, record, Axis1, defaultX(z)), z, instance);
        Vector3 y = cross(z, x);
        // Axis2 determines only the orientation: the result may be a mirror image.
        if (dot(directionAt(context, record, Axis2, y), y) < 0.0)
            y = y * -1.0;
        return {x * scale, y * (nonUniform ? scaleAt(record, Scale2, scale) : scale),
                z * (nonUniform ? scaleAt(record, Scale3, scale) : scale),
                readPoint(context, record.reference(LocalOrigin))};
    }
    case Entity::CartesianTransformationOperator2D:
    case Entity::CartesianTransformationOperator2DnonUniform: {
        using namespace IfcCartesianTransformationOperator2DnonUniform;
        const bool nonUniform = record.entity() == Entity::CartesianTransformationOperator2DnonUniform;
        const Vector3 x = directionAt(context, record, Axis1, xAxis);
        Vector3 y{-x.y, x.x, 0.0};
        if (dot(directionAt(context, record, Axis2, y), y) < 0.0)
            y = y * -1.0;
        return {x * scale, y * (nonUniform ? scaleAt(record, Scale2, scale) : scale), zAxis * scale,
                readPoint(context, record.reference(LocalOrigin))};
    }
    default:
        record.fail("is used where a transformation operator is expected");
    }
}

} // namespace importer::ifc
