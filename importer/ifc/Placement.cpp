#include "importer/ifc/Placement.h"

#include <algorithm>
#include <string>
#include <vector>

namespace importer::ifc {

namespace {

/// Directions closer than this to each other count as parallel.
constexpr double parallel = 1e-9;

Vector3 readCoordinates(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    double c[3] = {0.0, 0.0, 0.0};
    const int count = record[0].kind == ValueKind::List ? readNumbers(record[0].text, c, 3) : -1;
    if (count != 2 && count != 3)
        record.fail("expected two or three coordinates, each a number");
    return {c[0], c[1], c[2]};
}

/// `v` without its part along the unit vector `axis`, of length 1.
Vector3 perpendicular(const Vector3& v, const Vector3& axis, const Instance& instance) {
    const Vector3 across = v - axis * dot(v, axis);
    const double size = length(across);
    if (!(size > parallel))
        throw EntityError{&instance, "its axes are parallel"};
    return across * (1.0 / size);
}

/// The direction at an argument, or another one if it is omitted.
Vector3 directionAt(IfcContext& context, const Record& record, std::size_t index, const Vector3& ifOmitted) {
    const Instance* direction = record.optionalReference(index);
    return direction ? readDirection(context, *direction) : ifOmitted;
}

/// The x axis that goes with a z axis when none is given.
Vector3 usualX(const Vector3& z) {
    return std::fabs(z.x) > 1.0 - parallel ? Vector3{0.0, 1.0, 0.0} : Vector3{1.0, 0.0, 0.0};
}

double scaleAt(const Record& record, std::size_t index, double ifOmitted) {
    return record.given(index) ? record.positive(index) : ifOmitted;
}

} // namespace

Vector3 readPoint(IfcContext& context, const Instance& instance) {
    if (entityOf(instance) != Entity::CartesianPoint)
        throw EntityError{&instance, "stands where an IFCCARTESIANPOINT is expected"};
    return readCoordinates(context, instance);
}

Vector3 readDirection(IfcContext& context, const Instance& instance) {
    if (entityOf(instance) != Entity::Direction)
        throw EntityError{&instance, "stands where an IFCDIRECTION is expected"};
    return unitVector(readCoordinates(context, instance), instance);
}

Vector3 unitVector(const Vector3& v, const Instance& instance) {
    const double size = length(v);
    if (!(size > 0.0) || !std::isfinite(size) || !std::isfinite(1.0 / size))
        throw EntityError{&instance, "has no direction"};
    return v * (1.0 / size);
}

Transform frameAlong(const Vector3& along, const Vector3& origin) {
    const Vector3 side = usualX(along);
    Vector3 x = side - along * dot(side, along);
    x = x * (1.0 / length(x));
    return {x, cross(along, x), along, origin};
}

Transform readAxisPlacement(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::Axis2Placement3D: {
        const Vector3 z = directionAt(context, record, 1, {0.0, 0.0, 1.0});
        const Vector3 x = perpendicular(directionAt(context, record, 2, usualX(z)), z, instance);
        return {x, cross(z, x), z, readPoint(context, record.reference(0))};
    }
    case Entity::Axis2Placement2D: {
        const Vector3 x = directionAt(context, record, 1, {1.0, 0.0, 0.0});
        return {x, {-x.y, x.x, 0.0}, {0.0, 0.0, 1.0}, readPoint(context, record.reference(0))};
    }
    case Entity::Axis1Placement:
        return frameAlong(directionAt(context, record, 1, {0.0, 0.0, 1.0}), readPoint(context, record.reference(0)));
    default:
        record.fail("this kind of placement is not supported");
    }
}

Transform readAxisPlacement(IfcContext& context, const Instance* instance) {
    return instance ? readAxisPlacement(context, *instance) : Transform();
}

Transform readObjectPlacement(IfcContext& context, const Instance& instance) {
    constexpr std::size_t longest = 256;
    Transform result;
    std::vector<const Instance*> visited;
    const Instance* current = &instance;
    while (current) {
        if (visited.size() == longest)
            throw EntityError{&instance,
                              "its chain of placements does not end within " + std::to_string(longest) + " steps"};
        visited.push_back(current);
        const Record record(context, *current);
        if (record.entity() != Entity::LocalPlacement)
            record.fail("this kind of placement is not supported");
        result = readAxisPlacement(context, record.reference(1)) * result;
        current = record.optionalReference(0);
        if (std::find(visited.begin(), visited.end(), current) != visited.end())
            record.fail("its chain of placements leads back to itself");
    }
    return result;
}

Transform readOperator(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    const double scale = scaleAt(record, 3, 1.0);
    switch (record.entity()) {
    case Entity::CartesianTransformationOperator3D:
    case Entity::CartesianTransformationOperator3DnonUniform: {
        const bool several = record.entity() == Entity::CartesianTransformationOperator3DnonUniform;
        const Vector3 z = directionAt(context, record, 4, {0.0, 0.0, 1.0});
        const Vector3 x = perpendicular(directionAt(context, record, 0, usualX(z)), z, instance);
        Vector3 y = cross(z, x);
        // The second axis only says on which side it lies: a mirror image is allowed.
        if (dot(directionAt(context, record, 1, y), y) < 0.0)
            y = y * -1.0;
        return {x * scale, y * (several ? scaleAt(record, 5, scale) : scale),
                z * (several ? scaleAt(record, 6, scale) : scale), readPoint(context, record.reference(2))};
    }
    case Entity::CartesianTransformationOperator2D:
    case Entity::CartesianTransformationOperator2DnonUniform: {
        const bool several = record.entity() == Entity::CartesianTransformationOperator2DnonUniform;
        const Vector3 x = directionAt(context, record, 0, {1.0, 0.0, 0.0});
        Vector3 y{-x.y, x.x, 0.0};
        if (dot(directionAt(context, record, 1, y), y) < 0.0)
            y = y * -1.0;
        return {x * scale,
                y * (several ? scaleAt(record, 4, scale) : scale),
                {0.0, 0.0, scale},
                readPoint(context, record.reference(2))};
    }
    default:
        record.fail("stands where a transformation operator is expected");
    }
}

} // namespace importer::ifc
