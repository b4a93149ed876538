#include "importer/ifc/shape/Curves.h"

#include "importer/ifc/Placement.h"

#include <algorithm>
#include <string>

namespace importer::ifc {

namespace {

constexpr double turn = 2.0 * pi;

bool isSamePoint(const Vector3& a, const Vector3& b) {
    return length(a - b) <= samePoint;
}

/// Appends the points of a piece that goes on where the curve ends.
void join(IfcContext& context, std::vector<Vector3>& points, const std::vector<Vector3>& piece) {
    context.chargePointsOfList(points.size(), piece.size());
    const bool touches = !points.empty() && !piece.empty() && isSamePoint(points.back(), piece.front());
    points.insert(points.end(), piece.begin() + (touches ? 1 : 0), piece.end());
}

std::vector<Vector3> readPolyline(IfcContext& context, const Record& record) {
    std::vector<Vector3> points;
    ValueReader list = record.list(0);
    for (Value value; list.next(value);)
        points.push_back(readPoint(context, record.resolve(value)));
    return points;
}

/// A circle or an ellipse: where its centre and axes are, and its radii.
struct Conic {
    Transform position;
    double radiusX;
    double radiusY;

    double angleOf(const Vector3& point) const {
        const Vector3 offset = point - position.origin;
        return std::atan2(dot(offset, position.y) / radiusY, dot(offset, position.x) / radiusX);
    }
};

Conic readConic(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    if (record.entity() != Entity::Circle && record.entity() != Entity::Ellipse)
        record.fail("this kind of curve is not supported here");
    const double radius = record.positive(1);
    return {readAxisPlacement(context, record.reference(0)), radius,
            record.entity() == Entity::Ellipse ? record.positive(2) : radius};
}

/// From one angle to another in the given direction: never nothing, at most a whole turn.
double sweepBetween(double from, double to, bool sameSense) {
    const double difference = std::fmod(sameSense ? to - from : from - to, turn);
    const double positive = difference <= 1e-9 ? difference + turn : difference;
    return sameSense ? positive : -positive;
}

/// One end of a trimmed curve: a point, a parameter, or both.
struct Trim {
    bool hasPoint = false;
    Vector3 point;
    bool hasParameter = false;
    double parameter = 0.0;
};

Trim readTrim(IfcContext& context, const Record& record, std::size_t index) {
    Trim trim;
    ValueReader list = record.list(index);
    for (Value value; list.next(value);) {
        if (value.kind == ValueKind::Reference) {
            trim.point = readPoint(context, record.resolve(value));
            trim.hasPoint = true;
        } else if (value.kind == ValueKind::Typed && readNumbers(contentOf(value), &trim.parameter, 1) == 1) {
            trim.hasParameter = true;
        }
    }
    if (!trim.hasPoint && !trim.hasParameter)
        record.fail("one of its ends is neither a point nor a parameter");
    return trim;
}

std::vector<Vector3> readTrimmedCurve(IfcContext& context, const Record& record) {
    const Instance& basis = record.reference(0);
    const Trim ends[2] = {readTrim(context, record, 1), readTrim(context, record, 2)};
    const bool sameSense = record.isTrue(3);
    const bool byPoint = record[4].kind == ValueKind::Enumeration && record[4].text == "CARTESIAN";
    std::vector<Vector3> points;
    if (entityOf(basis) == Entity::Line) {
        const Record line(context, basis);
        const Record vector(context, line.reference(1));
        if (vector.entity() != Entity::Vector)
            vector.fail("stands where an IFCVECTOR is expected");
        const Vector3 origin = readPoint(context, line.reference(0));
        const Vector3 along = readDirection(context, vector.reference(0)) * vector.number(1);
        for (const Trim& trim : ends) {
            const bool usePoint = trim.hasPoint && (byPoint || !trim.hasParameter);
            points.push_back(usePoint ? trim.point : origin + along * trim.parameter);
        }
        return points;
    }
    const Conic conic = readConic(context, basis);
    context.chargePoints(segmentsPerTurn);
    double angles[2];
    for (int i = 0; i < 2; ++i) {
        const bool usePoint = ends[i].hasPoint && (byPoint || !ends[i].hasParameter);
        angles[i] = usePoint ? conic.angleOf(ends[i].point) : std::fmod(ends[i].parameter * context.angleUnit, turn);
        if (!std::isfinite(angles[i]))
            record.fail("one of its ends is out of range");
    }
    addArc(points, conic.position, conic.radiusX, conic.radiusY, angles[0], sweepBetween(angles[0], angles[1], sameSense));
    return points;
}

std::vector<Vector3> readCompositeCurve(IfcContext& context, const Record& record) {
    std::vector<Vector3> points;
    ValueReader list = record.list(0);
    for (Value value; list.next(value);) {
        const Record segment(context, record.resolve(value));
        if (segment.entity() != Entity::CompositeCurveSegment &&
            segment.entity() != Entity::ReparametrisedCompositeCurveSegment)
            segment.fail("this kind of segment is not supported");
        std::vector<Vector3> piece = readCurve(context, segment.reference(2));
        if (!segment.isTrue(1))
            std::reverse(piece.begin(), piece.end());
        join(context, points, piece);
    }
    return points;
}

/// The arc through three points; the straight line if they lie on one.
std::vector<Vector3> arcThrough(const Vector3& a, const Vector3& b, const Vector3& c) {
    const Vector3 ab = b - a;
    const Vector3 ac = c - a;
    const Vector3 normal = cross(ab, ac);
    const double square = dot(normal, normal);
    if (!(square > 1e-18 * dot(ab, ab) * dot(ac, ac)))
        return {a, b, c};
    const Vector3 toCentre = (cross(normal, ab) * dot(ac, ac) + cross(ac, normal) * dot(ab, ab)) * (0.5 / square);
    const Vector3 centre = a + toCentre;
    const double radius = length(toCentre);
    const Vector3 x = toCentre * (-1.0 / radius);
    const Vector3 z = normal * (1.0 / std::sqrt(square));
    const Transform position{x, cross(z, x), z, centre};
    const Conic circle{position, radius, radius};
    std::vector<Vector3> points;
    addArc(points, position, radius, radius, 0.0, sweepBetween(0.0, circle.angleOf(c), true));
    points.front() = a;
    points.back() = c;
    return points;
}

std::vector<Vector3> readIndexedPolyCurve(IfcContext& context, const Record& record) {
    std::vector<Vector3> listed = readPointList(context, record.reference(0));
    if (!record.given(1))
        return listed;
    std::vector<Vector3> points;
    ValueReader segments = record.list(1);
    for (Value segment; segments.next(segment);) {
        if (segment.kind != ValueKind::Typed)
            record.fail("a segment is neither IFCLINEINDEX nor IFCARCINDEX");
        const std::string type = capitals(typeOf(segment));
        Value indices;
        ValueReader(contentOf(segment)).next(indices);
        std::vector<Vector3> piece;
        ValueReader list(indices.text);
        for (Value value; indices.kind == ValueKind::List && list.next(value);) {
            const std::int64_t index = integerOf(value).value_or(0);
            if (index < 1 || index > static_cast<std::int64_t>(listed.size()))
                record.fail("a segment names a point that its list does not have");
            context.chargePointsOfList(piece.size(), 1);
            piece.push_back(listed[static_cast<std::size_t>(index - 1)]);
        }
        if (type == "IFCARCINDEX" && piece.size() == 3) {
            context.chargePoints(segmentsPerTurn);
            piece = arcThrough(piece[0], piece[1], piece[2]);
        } else if (type != "IFCLINEINDEX" || piece.size() < 2) {
            record.fail("a segment is neither an IFCLINEINDEX of two points or more nor an IFCARCINDEX of three");
        }
        join(context, points, piece);
    }
    return points;
}

} // namespace

bool isCurve(Entity entity) {
    switch (entity) {
    case Entity::Polyline:
    case Entity::IndexedPolyCurve:
    case Entity::CompositeCurve:
    case Entity::CompositeCurve2D:
    case Entity::CompositeCurveOnSurface:
    case Entity::BoundaryCurve:
    case Entity::OuterBoundaryCurve:
    case Entity::TrimmedCurve:
    case Entity::SurfaceCurve:
    case Entity::SeamCurve:
    case Entity::IntersectionCurve:
    case Entity::Circle:
    case Entity::Ellipse:
        return true;
    default:
        return false;
    }
}

std::vector<Vector3> readCurve(IfcContext& context, const Instance& instance) {
    const RecursionGuard nesting(context, instance);
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::Polyline:
        return readPolyline(context, record);
    case Entity::IndexedPolyCurve:
        return readIndexedPolyCurve(context, record);
    case Entity::CompositeCurve:
    case Entity::CompositeCurve2D:
    case Entity::CompositeCurveOnSurface:
    case Entity::BoundaryCurve:
    case Entity::OuterBoundaryCurve:
        return readCompositeCurve(context, record);
    case Entity::TrimmedCurve:
        return readTrimmedCurve(context, record);
    case Entity::SurfaceCurve:
    case Entity::SeamCurve:
    case Entity::IntersectionCurve:
        return readCurve(context, record.reference(0));
    case Entity::Circle:
    case Entity::Ellipse: {
        const Conic conic = readConic(context, instance);
        std::vector<Vector3> points;
        context.chargePoints(segmentsPerTurn);
        addArc(points, conic.position, conic.radiusX, conic.radiusY, 0.0, turn);
        points.back() = points.front();
        return points;
    }
    default:
        record.fail("this kind of curve is not supported");
    }
}

std::vector<Vector3> readClosedCurve(IfcContext& context, const Instance& instance) {
    std::vector<Vector3> points = readCurve(context, instance);
    if (points.size() > 1 && isSamePoint(points.front(), points.back()))
        points.pop_back();
    if (points.size() < 3)
        throw EntityError{&instance, "has fewer than three points, where a closed curve is expected"};
    return points;
}

std::vector<Vector3> readArcBetween(IfcContext& context, const Instance& conic, const Vector3& from, const Vector3& to,
                                    bool sameSense) {
    const Conic curve = readConic(context, conic);
    const double first = curve.angleOf(from);
    std::vector<Vector3> points;
    addArc(points, curve.position, curve.radiusX, curve.radiusY, first, sweepBetween(first, curve.angleOf(to), sameSense));
    points.front() = from;
    points.back() = to;
    return points;
}

void addArc(std::vector<Vector3>& points, const Transform& position, double radiusX, double radiusY, double from,
            double angle) {
    const int segments = segmentsOf(angle);
    for (int i = 0; i <= segments; ++i) {
        const double at = from + angle * i / segments;
        points.push_back(position.point({radiusX * std::cos(at), radiusY * std::sin(at), 0.0}));
    }
}

std::vector<Vector3> readPointList(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    if (record.entity() != Entity::CartesianPointList2D && record.entity() != Entity::CartesianPointList3D)
        record.fail("stands where a list of points is expected");
    const int dimensions = record.entity() == Entity::CartesianPointList2D ? 2 : 3;
    std::vector<Vector3> points;
    ValueReader list = record.list(0);
    for (Value value; list.next(value);) {
        double c[3] = {0.0, 0.0, 0.0};
        if (value.kind != ValueKind::List || readNumbers(value.text, c, dimensions) != dimensions)
            record.fail("point " + std::to_string(points.size() + 1) + " is not of " + std::to_string(dimensions) +
                         " numbers");
        context.chargePointsOfList(points.size(), 1);
        points.push_back({c[0], c[1], c[2]});
    }
    return points;
}

} // namespace importer::ifc
