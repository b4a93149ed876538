#include "importer/ifc/shape/Curves.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Attributes.h"

#include <algorithm>
#include <iterator>
#include <string>

// Every curve becomes a list of points; a table maps the entity to its reader. Composite and indexed curves join the points
// of their segments, and drop the first point of a segment that starts where the curve ends.
//
// Arcs of circles and ellipses are sampled at equal angles (addArc), so that an arc of a full turn has segmentsPerTurn
// segments. Ends given as points are replaced by exactly these points; neighbors that share them then fit without gaps.

namespace importer::ifc {

using namespace attribute;

namespace {

constexpr double fullTurn = 2.0 * pi;

bool isSamePoint(const Vector3& a, const Vector3& b) {
    return length(a - b) <= samePoint;
}

// Appends the points of a segment. The end of the curve and the start of the segment become one point if they coincide.
void join(IfcContext& context, std::vector<Vector3>& points, const std::vector<Vector3>& segment) {
    context.chargePointsOfList(points.size(), segment.size());
    const bool touches = !points.empty() && !segment.empty() && isSamePoint(points.back(), segment.front());
    points.insert(points.end(), segment.begin() + (touches ? 1 : 0), segment.end());
}

std::vector<Vector3> readPolyline(IfcContext& context, const Record& record) {
    std::vector<Vector3> points;
    ValueReader list = record.list(IfcPolyline::Points);
    for (Value value; list.next(value);)
        points.push_back(readPoint(context, record.resolve(value)));
    return points;
}

// A circle or an ellipse.
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
    const bool isEllipse = record.entity() == Entity::Ellipse;
    if (record.entity() != Entity::Circle && !isEllipse)
        record.fail("this kind of basis curve is not supported");
    const double radiusX = isEllipse ? record.positive(IfcEllipse::SemiAxis1) : record.positive(IfcCircle::Radius);
    const Transform position = readAxisPlacement(context, record.reference(IfcConic::Position));
    return {position, radiusX, isEllipse ? record.positive(IfcEllipse::SemiAxis2) : radiusX};
}

std::vector<Vector3> readFullConic(IfcContext& context, const Record& record) {
    const Conic conic = readConic(context, record.instance());
    std::vector<Vector3> points;
    context.chargePoints(segmentsPerTurn);
    addArc(points, conic.position, conic.radiusX, conic.radiusY, 0.0, fullTurn);
    points.back() = points.front();
    return points;
}

// The angle from one direction to another: never zero, at most a full turn; negative against the sense of the curve.
double sweepBetween(double from, double to, bool sameSense) {
    const double difference = std::fmod(sameSense ? to - from : from - to, fullTurn);
    const double positive = difference <= 1e-9 ? difference + fullTurn : difference;
    return sameSense ? positive : -positive;
}

// One end of a trimmed curve: a point, a parameter, or both.
struct Trim {
    bool hasPoint = false;
    Vector3 point;
    bool hasParameter = false;
    double parameter = 0.0;

    bool usesPoint(bool preferPoint) const { return hasPoint && (preferPoint || !hasParameter); }
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

std::vector<Vector3> readTrimmedLine(IfcContext& context, const Instance& basis, const Trim (&ends)[2], bool preferPoint) {
    const Record line(context, basis);
    const Record vector(context, line.reference(IfcLine::Dir));
    if (vector.entity() != Entity::Vector)
        vector.fail("is used where an IFCVECTOR is expected");
    const Vector3 origin = readPoint(context, line.reference(IfcLine::Pnt));
    const Vector3 along =
        readDirection(context, vector.reference(IfcVector::Orientation)) * vector.number(IfcVector::Magnitude);
    std::vector<Vector3> points;
    for (const Trim& trim : ends)
        points.push_back(trim.usesPoint(preferPoint) ? trim.point : origin + along * trim.parameter);
    return points;
}

std::vector<Vector3> readTrimmedCurve(IfcContext& context, const Record& record) {
    const Instance& basis = record.reference(IfcTrimmedCurve::BasisCurve);
    const Trim ends[2] = {readTrim(context, record, IfcTrimmedCurve::Trim1),
                          readTrim(context, record, IfcTrimmedCurve::Trim2)};
    const bool sameSense = record.isTrue(IfcTrimmedCurve::SenseAgreement);
    const Value& master = record[IfcTrimmedCurve::MasterRepresentation];
    const bool preferPoint = master.kind == ValueKind::Enumeration && master.text == "CARTESIAN";
    if (entityOf(basis) == Entity::Line)
        return readTrimmedLine(context, basis, ends, preferPoint);
    const Conic conic = readConic(context, basis);
    context.chargePoints(segmentsPerTurn);
    double angles[2];
    for (int i = 0; i < 2; ++i) {
        angles[i] = ends[i].usesPoint(preferPoint) ? conic.angleOf(ends[i].point)
                                                   : std::fmod(ends[i].parameter * context.angleUnit, fullTurn);
        if (!std::isfinite(angles[i]))
            record.fail("one of its ends is out of range");
    }
    std::vector<Vector3> points;
    addArc(points, conic.position, conic.radiusX, conic.radiusY, angles[0], sweepBetween(angles[0], angles[1], sameSense));
    return points;
}

std::vector<Vector3> readCompositeCurve(IfcContext& context, const Record& record) {
    std::vector<Vector3> points;
    ValueReader list = record.list(IfcCompositeCurve::Segments);
    for (Value value; list.next(value);) {
        const Record segment(context, record.resolve(value));
        if (segment.entity() != Entity::CompositeCurveSegment &&
            segment.entity() != Entity::ReparametrisedCompositeCurveSegment)
            segment.fail("this kind of segment is not supported");
        std::vector<Vector3> piece = readCurve(context, segment.reference(IfcCompositeCurveSegment::ParentCurve));
        if (!segment.isTrue(IfcCompositeCurveSegment::SameSense))
            std::reverse(piece.begin(), piece.end());
        join(context, points, piece);
    }
    return points;
}

std::vector<Vector3> readSurfaceCurve(IfcContext& context, const Record& record) {
    return readCurve(context, record.reference(IfcSurfaceCurve::Curve3D));
}

// The arc through three points; the points themselves if they are collinear.
std::vector<Vector3> arcThrough(const Vector3& a, const Vector3& b, const Vector3& c) {
    // Circumcenter of a triangle: a + (cross(n, ab) |ac|^2 + cross(ac, n) |ab|^2) / (2 |n|^2) with n = cross(ab, ac).
    const Vector3 ab = b - a;
    const Vector3 ac = c - a;
    const Vector3 normal = cross(ab, ac);
    const double square = dot(normal, normal);
    if (!(square > 1e-18 * dot(ab, ab) * dot(ac, ac)))
        return {a, b, c};
    const Vector3 toCenter = (cross(normal, ab) * dot(ac, ac) + cross(ac, normal) * dot(ab, ab)) * (0.5 / square);
    const Vector3 center = a + toCenter;
    const double radius = length(toCenter);
    const Vector3 x = toCenter * (-1.0 / radius);
    const Vector3 z = normal * (1.0 / std::sqrt(square));
    const Transform position{x, cross(z, x), z, center};
    const Conic circle{position, radius, radius};
    std::vector<Vector3> points;
    addArc(points, position, radius, radius, 0.0, sweepBetween(0.0, circle.angleOf(c), true));
    points.front() = a;
    points.back() = c;
    return points;
}

// The points of an IfcLineIndex or IfcArcIndex.
std::vector<Vector3> readIndexedSegment(IfcContext& context, const Record& record, const Value& segment,
                                        const std::vector<Vector3>& listed) {
    if (segment.kind != ValueKind::Typed)
        record.fail("a segment is neither IFCLINEINDEX nor IFCARCINDEX");
    const std::string type = capitals(typeOf(segment));
    Value indices;
    ValueReader(contentOf(segment)).next(indices);
    std::vector<Vector3> points;
    ValueReader list(indices.text);
    for (Value value; indices.kind == ValueKind::List && list.next(value);) {
        const std::int64_t index = integerOf(value).value_or(0);
        if (index < 1 || index > static_cast<std::int64_t>(listed.size()))
            record.fail("a segment refers to a point that does not exist in the list of points");
        context.chargePointsOfList(points.size(), 1);
        points.push_back(listed[static_cast<std::size_t>(index - 1)]);
    }
    if (type == "IFCARCINDEX" && points.size() == 3) {
        context.chargePoints(segmentsPerTurn);
        return arcThrough(points[0], points[1], points[2]);
    }
    if (type != "IFCLINEINDEX" || points.size() < 2)
        record.fail("a segment is neither an IFCLINEINDEX of two or more points nor an IFCARCINDEX of three");
    return points;
}

std::vector<Vector3> readIndexedPolyCurve(IfcContext& context, const Record& record) {
    std::vector<Vector3> listed = readPointList(context, record.reference(IfcIndexedPolyCurve::Points));
    if (!record.given(IfcIndexedPolyCurve::Segments))
        return listed;
    std::vector<Vector3> points;
    ValueReader segments = record.list(IfcIndexedPolyCurve::Segments);
    for (Value segment; segments.next(segment);)
        join(context, points, readIndexedSegment(context, record, segment, listed));
    return points;
}

struct CurveReader {
    Entity entity;
    std::vector<Vector3> (*read)(IfcContext& context, const Record& record);
};

constexpr CurveReader curveReaders[] = {
    {Entity::Polyline, readPolyline},
    {Entity::IndexedPolyCurve, readIndexedPolyCurve},
    {Entity::CompositeCurve, readCompositeCurve},
    {Entity::CompositeCurve2D, readCompositeCurve},
    {Entity::CompositeCurveOnSurface, readCompositeCurve},
    {Entity::BoundaryCurve, readCompositeCurve},
    {Entity::OuterBoundaryCurve, readCompositeCurve},
    {Entity::TrimmedCurve, readTrimmedCurve},
    {Entity::SurfaceCurve, readSurfaceCurve},
    {Entity::SeamCurve, readSurfaceCurve},
    {Entity::IntersectionCurve, readSurfaceCurve},
    {Entity::Circle, readFullConic},
    {Entity::Ellipse, readFullConic},
};

// Null for an entity that is not supported.
const CurveReader* readerOf(Entity entity) {
    const CurveReader* const reader = std::find_if(std::begin(curveReaders), std::end(curveReaders),
                                                   [entity](const CurveReader& each) { return each.entity == entity; });
    return reader == std::end(curveReaders) ? nullptr : reader;
}

} // namespace

bool isCurve(Entity entity) {
    return readerOf(entity) != nullptr;
}

std::vector<Vector3> readCurve(IfcContext& context, const Instance& instance) {
    const RecursionGuard guard(context, instance);
    const Record record(context, instance);
    const CurveReader* const reader = readerOf(record.entity());
    if (!reader)
        record.fail("this kind of curve is not supported");
    return reader->read(context, record);
}

std::vector<Vector3> readClosedCurve(IfcContext& context, const Instance& instance) {
    std::vector<Vector3> points = readCurve(context, instance);
    if (points.size() > 1 && isSamePoint(points.front(), points.back()))
        points.pop_back();
    if (points.size() < 3)
        throw EntityError{&instance, "has fewer than three points; expected a closed curve"};
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
        record.fail("is used where a list of points is expected");
    const int dimensions = record.entity() == Entity::CartesianPointList2D ? 2 : 3;
    std::vector<Vector3> points;
    ValueReader list = record.list(IfcCartesianPointList::CoordList);
    for (Value value; list.next(value);) {
        double c[3] = {0.0, 0.0, 0.0};
        if (value.kind != ValueKind::List || readNumbers(value.text, c, dimensions) != dimensions)
            record.fail("point " + std::to_string(points.size() + 1) + " does not have " + std::to_string(dimensions) +
                        " numbers");
        context.chargePointsOfList(points.size(), 1);
        points.push_back({c[0], c[1], c[2]});
    }
    return points;
}

} // namespace importer::ifc
