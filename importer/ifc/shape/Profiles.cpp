#include "importer/ifc/shape/Profiles.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Curves.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace importer::ifc {

namespace {

using Loop = std::vector<Vector3>;

/// A corner of an outline, and the radius with which it is rounded.
struct Corner {
    double x;
    double y;
    double radius = 0.0;
};

/// What a rounding takes off the two edges of its corner; `before` and `behind` are the neighbours of `at`.
double tangentLength(const Vector3& before, const Vector3& at, const Vector3& behind, double radius) {
    const Vector3 a = before - at;
    const Vector3 b = behind - at;
    return radius * (length(a) * length(b) + dot(a, b)) / std::fabs(cross(a, b).z);
}

/// Adds the arc that rounds a corner.
void addRounding(Loop& loop, const Vector3& before, const Vector3& at, const Vector3& behind, double radius) {
    const double tangent = tangentLength(before, at, behind, radius);
    const Vector3 a = (before - at) * (1.0 / length(before - at));
    const Vector3 b = (behind - at) * (1.0 / length(behind - at));
    const Vector3 centre = at + (a + b) * ((radius * radius + tangent * tangent) / (tangent * dot(a + b, a + b)));
    const Vector3 x = (at + a * tangent - centre) * (1.0 / radius);
    const double angle = 2.0 * std::atan2(radius, tangent);
    addArc(loop, {x, {-x.y, x.x, 0.0}, {0.0, 0.0, 1.0}, centre}, radius, radius, 0.0,
           cross(a, b).z < 0.0 ? pi - angle : angle - pi);
}

/// The loop of an outline. Where a rounding does not fit between its neighbours the corner stays sharp, and that is noted.
Loop outlineLoop(IfcContext& context, const Record& record, const std::vector<Corner>& corners) {
    const std::size_t count = corners.size();
    const auto pointAt = [&](std::size_t index) { return Vector3{corners[index % count].x, corners[index % count].y, 0.0}; };
    std::vector<double> tangents(count, 0.0);
    for (std::size_t i = 0; i < count; ++i) {
        if (corners[i].radius > 0.0)
            tangents[i] = tangentLength(pointAt(i + count - 1), pointAt(i), pointAt(i + 1), corners[i].radius);
    }
    const auto edgeFits = [&](std::size_t i) {
        return tangents[i % count] + tangents[(i + 1) % count] <= length(pointAt(i + 1) - pointAt(i)) * (1.0 + 1e-9);
    };
    Loop loop;
    for (std::size_t i = 0; i < count; ++i) {
        const bool fits = edgeFits(i) && edgeFits(i + count - 1);
        if (corners[i].radius > 0.0 && fits)
            addRounding(loop, pointAt(i + count - 1), pointAt(i), pointAt(i + 1), corners[i].radius);
        else
            loop.push_back(pointAt(i));
        if (!fits)
            context.note(record.instance(), "a rounding is larger than its edges; the corner is taken as sharp");
    }
    return loop;
}

std::vector<Corner> rectangle(double width, double height, double radius = 0.0) {
    const double x = width / 2.0;
    const double y = height / 2.0;
    return {{-x, -y, radius}, {x, -y, radius}, {x, y, radius}, {-x, y, radius}};
}

Loop ellipse(double radiusX, double radiusY) {
    Loop loop;
    addArc(loop, Transform(), radiusX, radiusY, 0.0, 2.0 * pi);
    loop.pop_back();
    return loop;
}

/// What must be positive for a profile to have an outline.
void require(const Record& record, std::initializer_list<double> room) {
    for (const double left : room) {
        if (!(left > 0.0) || !std::isfinite(left))
            record.fail("its dimensions contradict each other");
    }
}

/// Rise per run of a slope.
double slopeAt(IfcContext& context, const Record& record, std::size_t index) {
    const double slope = record.number(index, 0.0) * context.angleUnit;
    if (!(std::fabs(slope) < 1.5))
        record.fail("its slope is out of range");
    return std::tan(slope);
}

/// By how much a sloping flange, measured in the middle of its free part, is thicker at its root than there.
double slopeRise(IfcContext& context, const Record& record, std::size_t index, double freePart) {
    return slopeAt(context, record, index) * freePart / 2.0;
}

/// I profiles, also with different flanges. All about the centre of their box.
std::vector<Corner> iShape(IfcContext& context, const Record& record) {
    const bool asymmetric = record.entity() == Entity::AsymmetricIShapeProfileDef;
    const double bottom = record.positive(3) / 2.0;
    const double y = record.positive(4) / 2.0;
    const double web = record.positive(5) / 2.0;
    const double bottomThickness = record.positive(6);
    const double bottomFillet = record.radius(7);
    const double top = asymmetric ? record.positive(8) / 2.0 : bottom;
    const double topThickness = asymmetric && record.given(9) ? record.positive(9) : bottomThickness;
    const double topFillet = asymmetric ? record.radius(10) : bottomFillet;
    // In IFC2X3 an asymmetric profile ends with a centre of gravity, where newer schemas have edge radii and slopes.
    const bool edges = !asymmetric || record.count() > 12;
    const double bottomEdge = !edges ? 0.0 : record.radius(asymmetric ? 11 : 8);
    const double topEdge = !edges ? 0.0 : asymmetric ? record.radius(13) : bottomEdge;
    const double bottomRise = !edges ? 0.0 : slopeRise(context, record, asymmetric ? 12 : 9, bottom - web);
    const double topRise = !edges ? 0.0 : slopeRise(context, record, asymmetric ? 14 : 9, top - web);
    const double bottomRoot = -y + bottomThickness + bottomRise;
    const double bottomTip = -y + bottomThickness - bottomRise;
    const double topRoot = y - topThickness - topRise;
    const double topTip = y - topThickness + topRise;
    require(record, {bottom - web, top - web, topRoot - bottomRoot, bottomTip + y, y - topTip});
    return {{-bottom, -y},
            {bottom, -y},
            {bottom, bottomTip, bottomEdge},
            {web, bottomRoot, bottomFillet},
            {web, topRoot, topFillet},
            {top, topTip, topEdge},
            {top, y},
            {-top, y},
            {-top, topTip, topEdge},
            {-web, topRoot, topFillet},
            {-web, bottomRoot, bottomFillet},
            {-bottom, bottomTip, bottomEdge}};
}

std::vector<Corner> lShape(IfcContext& context, const Record& record) {
    const double y = record.positive(3) / 2.0;
    const double x = (record.given(4) ? record.positive(4) : 2.0 * y) / 2.0;
    const double thickness = record.positive(5);
    const double fillet = record.radius(6);
    const double edge = record.radius(7);
    const double slope = slopeAt(context, record, 8);
    // Sloping legs are as thick as told at their ends, and meet where both inner faces do.
    const double legX = 2.0 * x - thickness;
    const double legY = 2.0 * y - thickness;
    const double rootX = (legY - slope * legX) * slope / (1.0 - slope * slope);
    const double rootY = (legX - slope * legY) * slope / (1.0 - slope * slope);
    const double innerX = -x + thickness + rootX;
    const double innerY = -y + thickness + rootY;
    require(record, {legX, legY, x - innerX, y - innerY, 1.0 - slope});
    return {{-x, -y}, {x, -y}, {x, -y + thickness, edge}, {innerX, innerY, fillet}, {-x + thickness, y, edge}, {-x, y}};
}

std::vector<Corner> tShape(IfcContext& context, const Record& record) {
    const double y = record.positive(3) / 2.0;
    const double x = record.positive(4) / 2.0;
    const double web = record.positive(5) / 2.0;
    const double flange = record.positive(6);
    const double fillet = record.radius(7);
    const double flangeEdge = record.radius(8);
    const double webEdge = record.radius(9);
    const double webRise = slopeRise(context, record, 10, 2.0 * y - flange);
    const double flangeRise = slopeRise(context, record, 11, x - web);
    const double webRoot = web + webRise;
    const double webTip = web - webRise;
    const double flangeRoot = y - flange - flangeRise;
    const double flangeTip = y - flange + flangeRise;
    require(record, {x - webRoot, webTip, flangeRoot + y, y - flangeTip});
    return {{-webTip, -y, webEdge},
            {webTip, -y, webEdge},
            {webRoot, flangeRoot, fillet},
            {x, flangeTip, flangeEdge},
            {x, y},
            {-x, y},
            {-x, flangeTip, flangeEdge},
            {-webRoot, flangeRoot, fillet}};
}

std::vector<Corner> uShape(IfcContext& context, const Record& record) {
    const double y = record.positive(3) / 2.0;
    const double x = record.positive(4) / 2.0;
    const double web = record.positive(5);
    const double flange = record.positive(6);
    const double fillet = record.radius(7);
    const double edge = record.radius(8);
    const double rise = slopeRise(context, record, 9, 2.0 * x - web);
    const double root = y - flange - rise;
    const double tip = y - flange + rise;
    require(record, {2.0 * x - web, root, y - tip});
    return {{-x, -y},       {x, -y}, {x, -tip, edge}, {-x + web, -root, fillet}, {-x + web, root, fillet},
            {x, tip, edge}, {x, y},  {-x, y}};
}

std::vector<Corner> cShape(IfcContext&, const Record& record) {
    const double y = record.positive(3) / 2.0;
    const double x = record.positive(4) / 2.0;
    const double wall = record.positive(5);
    const double girth = record.positive(6);
    const double inner = record.radius(7);
    const double outer = inner > 0.0 ? inner + wall : 0.0;
    require(record, {x - wall, y - wall, y - girth, girth - wall});
    return {{-x, -y, outer},
            {x, -y, outer},
            {x, -y + girth},
            {x - wall, -y + girth},
            {x - wall, -y + wall, inner},
            {-x + wall, -y + wall, inner},
            {-x + wall, y - wall, inner},
            {x - wall, y - wall, inner},
            {x - wall, y - girth},
            {x, y - girth},
            {x, y, outer},
            {-x, y, outer}};
}

std::vector<Corner> zShape(IfcContext&, const Record& record) {
    const double y = record.positive(3) / 2.0;
    const double width = record.positive(4);
    const double web = record.positive(5) / 2.0;
    const double flange = record.positive(6);
    const double fillet = record.radius(7);
    const double edge = record.radius(8);
    const double x = width - web;
    require(record, {x - web, y - flange});
    return {{-web, -y}, {x, -y}, {x, -y + flange, edge}, {web, -y + flange, fillet},
            {web, y},   {-x, y}, {-x, y - flange, edge}, {-web, y - flange, fillet}};
}

std::vector<Corner> trapezium(IfcContext&, const Record& record) {
    const double x = record.positive(3) / 2.0;
    const double top = record.positive(4);
    const double y = record.positive(5) / 2.0;
    const double left = -x + record.number(6, 0.0);
    return {{-x, -y}, {x, -y}, {left + top, y}, {left, y}};
}

Region hollowRectangle(IfcContext& context, const Record& record) {
    const double width = record.positive(3);
    const double height = record.positive(4);
    const double wall = record.positive(5);
    require(record, {width - 2.0 * wall, height - 2.0 * wall});
    return {outlineLoop(context, record, rectangle(width, height, record.radius(7))),
            {outlineLoop(context, record, rectangle(width - 2.0 * wall, height - 2.0 * wall, record.radius(6)))}};
}

Region hollowCircle(const Record& record) {
    const double radius = record.positive(3);
    const double inner = radius - record.positive(4);
    require(record, {inner});
    return {ellipse(radius, radius), {ellipse(inner, inner)}};
}

/// The strip of a thickness along a line.
Region strip(const Record& record, Loop line, double thickness) {
    const bool closed = line.size() > 3 && length(line.front() - line.back()) <= samePoint;
    if (closed)
        line.pop_back();
    line.erase(std::unique(line.begin(), line.end()), line.end());
    const std::size_t count = line.size();
    if (count < 2)
        record.fail("its line has fewer than two points");
    Loop left;
    Loop right;
    for (std::size_t i = 0; i < count; ++i) {
        const bool begins = i == 0 && !closed;
        const bool ends = i + 1 == count && !closed;
        const Vector3 in = begins ? line[1] - line[0] : line[i] - line[(i + count - 1) % count];
        const Vector3 out = ends ? in : line[(i + 1) % count] - line[i];
        const Vector3 a = in * (1.0 / length(in));
        const Vector3 b = out * (1.0 / length(out));
        const Vector3 sum{-a.y - b.y, a.x + b.x, 0.0};
        const double scale = thickness / dot(sum, sum);
        if (!(dot(sum, sum) > 1e-6))
            record.fail("its line turns back on itself");
        left.push_back(line[i] + sum * scale);
        right.push_back(line[i] - sum * scale);
    }
    if (closed)
        return std::fabs(signedArea(left)) > std::fabs(signedArea(right)) ? Region{left, {right}} : Region{right, {left}};
    left.insert(left.end(), right.rbegin(), right.rend());
    return {left, {}};
}

/// Counter-clockwise or clockwise, and at the given place.
void arrange(IfcContext& context, const Record& record, Loop& loop, bool counterClockwise, const Transform& position) {
    context.chargePoints(loop.size());
    for (Vector3& point : loop) {
        point = position.point({point.x, point.y, 0.0});
        point.z = 0.0;
    }
    const double area = signedArea(loop);
    if (!std::isfinite(area) || area == 0.0)
        record.fail("encloses no area");
    if ((area > 0.0) != counterClockwise)
        std::reverse(loop.begin(), loop.end());
}

std::vector<Region> readRegions(IfcContext& context, const Record& record, Transform& position) {
    const auto outline = [&](const std::vector<Corner>& corners) {
        return std::vector<Region>{{outlineLoop(context, record, corners), {}}};
    };
    const auto parameterized = [&] { position = readAxisPlacement(context, record.optionalReference(2)); };
    switch (record.entity()) {
    case Entity::RectangleProfileDef:
        parameterized();
        return outline(rectangle(record.positive(3), record.positive(4)));
    case Entity::RoundedRectangleProfileDef:
        parameterized();
        return outline(rectangle(record.positive(3), record.positive(4), record.radius(5)));
    case Entity::RectangleHollowProfileDef:
        parameterized();
        return {hollowRectangle(context, record)};
    case Entity::CircleProfileDef:
        parameterized();
        return {{ellipse(record.positive(3), record.positive(3)), {}}};
    case Entity::CircleHollowProfileDef:
        parameterized();
        return {hollowCircle(record)};
    case Entity::EllipseProfileDef:
        parameterized();
        return {{ellipse(record.positive(3), record.positive(4)), {}}};
    case Entity::IShapeProfileDef:
    case Entity::AsymmetricIShapeProfileDef:
        parameterized();
        return outline(iShape(context, record));
    case Entity::LShapeProfileDef:
        parameterized();
        return outline(lShape(context, record));
    case Entity::TShapeProfileDef:
        parameterized();
        return outline(tShape(context, record));
    case Entity::UShapeProfileDef:
        parameterized();
        return outline(uShape(context, record));
    case Entity::CShapeProfileDef:
        parameterized();
        return outline(cShape(context, record));
    case Entity::ZShapeProfileDef:
        parameterized();
        return outline(zShape(context, record));
    case Entity::TrapeziumProfileDef:
        parameterized();
        return outline(trapezium(context, record));
    case Entity::ArbitraryClosedProfileDef:
    case Entity::ArbitraryProfileDefWithVoids: {
        Region region{readClosedCurve(context, record.reference(2)), {}};
        if (record.entity() == Entity::ArbitraryProfileDefWithVoids) {
            for (const Instance* hole : record.references(3))
                region.holes.push_back(readClosedCurve(context, *hole));
        }
        return {region};
    }
    case Entity::CenterLineProfileDef:
        return {strip(record, readCurve(context, record.reference(2)), record.positive(3))};
    case Entity::DerivedProfileDef:
        position = readOperator(context, record.reference(3));
        return readProfile(context, record.reference(2));
    case Entity::MirroredProfileDef:
        position = {{-1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, {}};
        return readProfile(context, record.reference(2));
    case Entity::CompositeProfileDef: {
        std::vector<Region> regions;
        for (const Instance* part : record.references(2)) {
            std::vector<Region> more = readProfile(context, *part);
            regions.insert(regions.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
        }
        return regions;
    }
    default:
        record.fail("this kind of profile is not supported");
    }
}

} // namespace

std::vector<Region> readProfile(IfcContext& context, const Instance& instance) {
    const RecursionGuard nesting(context, instance);
    const Record record(context, instance);
    context.chargePoints(std::uint64_t{2} * segmentsPerTurn);
    Transform position;
    std::vector<Region> regions = readRegions(context, record, position);
    if (regions.empty())
        record.fail("has no parts");
    for (Region& region : regions) {
        arrange(context, record, region.outer, true, position);
        for (Loop& hole : region.holes)
            arrange(context, record, hole, false, position);
    }
    return regions;
}

double signedArea(const std::vector<Vector3>& loop) {
    double twice = 0.0;
    for (std::size_t i = 2; i < loop.size(); ++i)
        twice += cross(loop[i - 1] - loop[0], loop[i] - loop[0]).z;
    return twice / 2.0;
}

} // namespace importer::ifc
