#include "importer/ifc/shape/ParameterizedProfiles.h"

#include "importer/ifc/shape/Attributes.h"
#include "importer/ifc/shape/Curves.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <vector>

// Each shape is a list of corners, counterclockwise, each with the radius of its fillet. outlineLoop replaces the corners by
// arcs where these fit. A table maps the entity to the function that computes the corners.
//
// Thicknesses of sloping flanges and webs are measured in the middle of the free part (slopeRise); those of sloping legs of
// an L shape at their ends.

namespace importer::ifc {

using namespace attribute;

namespace {

// A corner of an outline, and the radius of its fillet; 0 for a sharp corner.
struct Corner {
    double x;
    double y;
    double radius = 0.0;
};

// Distance from a corner to the points where its fillet touches the two edges: r cot(a / 2) for the angle a between them.
double tangentLength(const Vector3& previous, const Vector3& at, const Vector3& next, double radius) {
    const Vector3 a = previous - at;
    const Vector3 b = next - at;
    return radius * (length(a) * length(b) + dot(a, b)) / std::fabs(cross(a, b).z);
}

void addFillet(Loop& loop, const Vector3& previous, const Vector3& at, const Vector3& next, double radius) {
    const double tangent = tangentLength(previous, at, next, radius);
    const Vector3 a = (previous - at) * (1.0 / length(previous - at));
    const Vector3 b = (next - at) * (1.0 / length(next - at));
    const Vector3 center = at + (a + b) * ((radius * radius + tangent * tangent) / (tangent * dot(a + b, a + b)));
    const Vector3 x = (at + a * tangent - center) * (1.0 / radius);
    const double angle = 2.0 * std::atan2(radius, tangent);
    addArc(loop, {x, {-x.y, x.x, 0.0}, {0.0, 0.0, 1.0}, center}, radius, radius, 0.0,
           cross(a, b).z < 0.0 ? pi - angle : angle - pi);
}

// The loop of an outline. A corner whose fillet does not fit stays sharp, with a note.
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
            addFillet(loop, pointAt(i + count - 1), pointAt(i), pointAt(i + 1), corners[i].radius);
        else
            loop.push_back(pointAt(i));
        if (!fits)
            context.note(record.instance(), "a fillet does not fit between the neighboring corners; the corner stays sharp");
    }
    return loop;
}

Region outlineRegion(IfcContext& context, const Record& record, const std::vector<Corner>& corners) {
    return {outlineLoop(context, record, corners), {}};
}

std::vector<Corner> rectangleCorners(double width, double height, double radius = 0.0) {
    const double x = width / 2.0;
    const double y = height / 2.0;
    return {{-x, -y, radius}, {x, -y, radius}, {x, y, radius}, {-x, y, radius}};
}

Loop ellipseLoop(double radiusX, double radiusY) {
    Loop loop;
    addArc(loop, Transform(), radiusX, radiusY, 0.0, 2.0 * pi);
    loop.pop_back();
    return loop;
}

// Fails unless all lengths are positive and finite. These are differences of dimensions that the outline needs.
void requirePositive(const Record& record, std::initializer_list<double> lengths) {
    for (const double each : lengths) {
        if (!(each > 0.0) || !std::isfinite(each))
            record.fail("its dimensions contradict each other");
    }
}

// Rise per run of a slope, which a file gives as an angle.
double slopeAt(IfcContext& context, const Record& record, std::size_t index) {
    const double slope = record.number(index, 0.0) * context.angleUnit;
    if (!(std::fabs(slope) < 1.5))
        record.fail("its slope is out of range");
    return std::tan(slope);
}

// How much thicker a sloping flange is at its root than in the middle of its free part, where its thickness is measured.
double slopeRise(IfcContext& context, const Record& record, std::size_t index, double freePart) {
    return slopeAt(context, record, index) * freePart / 2.0;
}

Region readRectangle(IfcContext& context, const Record& record) {
    const double width = record.positive(IfcRectangleProfileDef::XDim);
    const double height = record.positive(IfcRectangleProfileDef::YDim);
    return outlineRegion(context, record, rectangleCorners(width, height));
}

Region readRoundedRectangle(IfcContext& context, const Record& record) {
    const double width = record.positive(IfcRoundedRectangleProfileDef::XDim);
    const double height = record.positive(IfcRoundedRectangleProfileDef::YDim);
    const double radius = record.radius(IfcRoundedRectangleProfileDef::RoundingRadius);
    return outlineRegion(context, record, rectangleCorners(width, height, radius));
}

Region readHollowRectangle(IfcContext& context, const Record& record) {
    const double width = record.positive(IfcRectangleHollowProfileDef::XDim);
    const double height = record.positive(IfcRectangleHollowProfileDef::YDim);
    const double wall = record.positive(IfcRectangleHollowProfileDef::WallThickness);
    const double innerWidth = width - 2.0 * wall;
    const double innerHeight = height - 2.0 * wall;
    requirePositive(record, {innerWidth, innerHeight});
    const double outerRadius = record.radius(IfcRectangleHollowProfileDef::OuterFilletRadius);
    const Loop outer = outlineLoop(context, record, rectangleCorners(width, height, outerRadius));
    const double innerRadius = record.radius(IfcRectangleHollowProfileDef::InnerFilletRadius);
    return {outer, {outlineLoop(context, record, rectangleCorners(innerWidth, innerHeight, innerRadius))}};
}

Region readCircle(IfcContext&, const Record& record) {
    const double radius = record.positive(IfcCircleProfileDef::Radius);
    return {ellipseLoop(radius, radius), {}};
}

Region readHollowCircle(IfcContext&, const Record& record) {
    const double radius = record.positive(IfcCircleHollowProfileDef::Radius);
    const double inner = radius - record.positive(IfcCircleHollowProfileDef::WallThickness);
    requirePositive(record, {inner});
    return {ellipseLoop(radius, radius), {ellipseLoop(inner, inner)}};
}

Region readEllipse(IfcContext&, const Record& record) {
    const double radiusX = record.positive(IfcEllipseProfileDef::SemiAxis1);
    const double radiusY = record.positive(IfcEllipseProfileDef::SemiAxis2);
    return {ellipseLoop(radiusX, radiusY), {}};
}

// One flange of an I shape.
struct Flange {
    double halfWidth = 0.0;
    double thickness = 0.0;
    double filletRadius = 0.0;
    double edgeRadius = 0.0;
    double rise = 0.0; // see slopeRise
};

Region iShapeRegion(IfcContext& context, const Record& record, double halfDepth, double halfWeb, const Flange& bottom,
                    const Flange& top) {
    const double y = halfDepth;
    const double web = halfWeb;
    const double bottomRoot = -y + bottom.thickness + bottom.rise;
    const double bottomTip = -y + bottom.thickness - bottom.rise;
    const double topRoot = y - top.thickness - top.rise;
    const double topTip = y - top.thickness + top.rise;
    requirePositive(record, {bottom.halfWidth - web, top.halfWidth - web, topRoot - bottomRoot, bottomTip + y, y - topTip});
    return outlineRegion(context, record,
                         {{-bottom.halfWidth, -y},
                          {bottom.halfWidth, -y},
                          {bottom.halfWidth, bottomTip, bottom.edgeRadius},
                          {web, bottomRoot, bottom.filletRadius},
                          {web, topRoot, top.filletRadius},
                          {top.halfWidth, topTip, top.edgeRadius},
                          {top.halfWidth, y},
                          {-top.halfWidth, y},
                          {-top.halfWidth, topTip, top.edgeRadius},
                          {-web, topRoot, top.filletRadius},
                          {-web, bottomRoot, bottom.filletRadius},
                          {-bottom.halfWidth, bottomTip, bottom.edgeRadius}});
}

Region readIShape(IfcContext& context, const Record& record) {
    Flange flange;
    flange.halfWidth = record.positive(IfcIShapeProfileDef::OverallWidth) / 2.0;
    const double y = record.positive(IfcIShapeProfileDef::OverallDepth) / 2.0;
    const double web = record.positive(IfcIShapeProfileDef::WebThickness) / 2.0;
    flange.thickness = record.positive(IfcIShapeProfileDef::FlangeThickness);
    flange.filletRadius = record.radius(IfcIShapeProfileDef::FilletRadius);
    flange.edgeRadius = record.radius(IfcIShapeProfileDef::FlangeEdgeRadius);
    flange.rise = slopeRise(context, record, IfcIShapeProfileDef::FlangeSlope, flange.halfWidth - web);
    return iShapeRegion(context, record, y, web, flange, flange);
}

Region readAsymmetricIShape(IfcContext& context, const Record& record) {
    using namespace IfcAsymmetricIShapeProfileDef;
    Flange bottom;
    Flange top;
    bottom.halfWidth = record.positive(BottomFlangeWidth) / 2.0;
    const double y = record.positive(OverallDepth) / 2.0;
    const double web = record.positive(WebThickness) / 2.0;
    bottom.thickness = record.positive(BottomFlangeThickness);
    bottom.filletRadius = record.radius(BottomFlangeFilletRadius);
    top.halfWidth = record.positive(TopFlangeWidth) / 2.0;
    top.thickness = record.given(TopFlangeThickness) ? record.positive(TopFlangeThickness) : bottom.thickness;
    top.filletRadius = record.radius(TopFlangeFilletRadius);
    // IFC2X3 ends with a center of gravity in the place of BottomFlangeEdgeRadius.
    if (record.count() > BottomFlangeSlope) {
        bottom.edgeRadius = record.radius(BottomFlangeEdgeRadius);
        top.edgeRadius = record.radius(TopFlangeEdgeRadius);
        bottom.rise = slopeRise(context, record, BottomFlangeSlope, bottom.halfWidth - web);
        top.rise = slopeRise(context, record, TopFlangeSlope, top.halfWidth - web);
    }
    return iShapeRegion(context, record, y, web, bottom, top);
}

Region readLShape(IfcContext& context, const Record& record) {
    using namespace IfcLShapeProfileDef;
    const double y = record.positive(Depth) / 2.0;
    const double x = (record.given(Width) ? record.positive(Width) : 2.0 * y) / 2.0;
    const double thickness = record.positive(Thickness);
    const double fillet = record.radius(FilletRadius);
    const double edge = record.radius(EdgeRadius);
    const double slope = slopeAt(context, record, LegSlope);
    // The legs have the given thickness at their ends; the inner corner is where their sloping inner faces intersect.
    const double legX = 2.0 * x - thickness;
    const double legY = 2.0 * y - thickness;
    const double rootX = (legY - slope * legX) * slope / (1.0 - slope * slope);
    const double rootY = (legX - slope * legY) * slope / (1.0 - slope * slope);
    const double innerX = -x + thickness + rootX;
    const double innerY = -y + thickness + rootY;
    requirePositive(record, {legX, legY, x - innerX, y - innerY, 1.0 - slope});
    return outlineRegion(
        context, record,
        {{-x, -y}, {x, -y}, {x, -y + thickness, edge}, {innerX, innerY, fillet}, {-x + thickness, y, edge}, {-x, y}});
}

Region readTShape(IfcContext& context, const Record& record) {
    using namespace IfcTShapeProfileDef;
    const double y = record.positive(Depth) / 2.0;
    const double x = record.positive(FlangeWidth) / 2.0;
    const double web = record.positive(WebThickness) / 2.0;
    const double flange = record.positive(FlangeThickness);
    const double fillet = record.radius(FilletRadius);
    const double flangeEdge = record.radius(FlangeEdgeRadius);
    const double webEdge = record.radius(WebEdgeRadius);
    const double webRise = slopeRise(context, record, WebSlope, 2.0 * y - flange);
    const double flangeRise = slopeRise(context, record, FlangeSlope, x - web);
    const double webRoot = web + webRise;
    const double webTip = web - webRise;
    const double flangeRoot = y - flange - flangeRise;
    const double flangeTip = y - flange + flangeRise;
    requirePositive(record, {x - webRoot, webTip, flangeRoot + y, y - flangeTip});
    return outlineRegion(context, record,
                         {{-webTip, -y, webEdge},
                          {webTip, -y, webEdge},
                          {webRoot, flangeRoot, fillet},
                          {x, flangeTip, flangeEdge},
                          {x, y},
                          {-x, y},
                          {-x, flangeTip, flangeEdge},
                          {-webRoot, flangeRoot, fillet}});
}

Region readUShape(IfcContext& context, const Record& record) {
    using namespace IfcUShapeProfileDef;
    const double y = record.positive(Depth) / 2.0;
    const double x = record.positive(FlangeWidth) / 2.0;
    const double web = record.positive(WebThickness);
    const double flange = record.positive(FlangeThickness);
    const double fillet = record.radius(FilletRadius);
    const double edge = record.radius(EdgeRadius);
    const double rise = slopeRise(context, record, FlangeSlope, 2.0 * x - web);
    const double root = y - flange - rise;
    const double tip = y - flange + rise;
    requirePositive(record, {2.0 * x - web, root, y - tip});
    return outlineRegion(context, record,
                         {{-x, -y},
                          {x, -y},
                          {x, -tip, edge},
                          {-x + web, -root, fillet},
                          {-x + web, root, fillet},
                          {x, tip, edge},
                          {x, y},
                          {-x, y}});
}

Region readCShape(IfcContext& context, const Record& record) {
    using namespace IfcCShapeProfileDef;
    const double y = record.positive(Depth) / 2.0;
    const double x = record.positive(Width) / 2.0;
    const double wall = record.positive(WallThickness);
    const double girth = record.positive(Girth);
    const double inner = record.radius(InternalFilletRadius);
    const double outer = inner > 0.0 ? inner + wall : 0.0;
    requirePositive(record, {x - wall, y - wall, y - girth, girth - wall});
    return outlineRegion(context, record,
                         {{-x, -y, outer},
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
                          {-x, y, outer}});
}

Region readZShape(IfcContext& context, const Record& record) {
    using namespace IfcZShapeProfileDef;
    const double y = record.positive(Depth) / 2.0;
    const double width = record.positive(FlangeWidth);
    const double web = record.positive(WebThickness) / 2.0;
    const double flange = record.positive(FlangeThickness);
    const double fillet = record.radius(FilletRadius);
    const double edge = record.radius(EdgeRadius);
    const double x = width - web;
    requirePositive(record, {x - web, y - flange});
    return outlineRegion(context, record,
                         {{-web, -y},
                          {x, -y},
                          {x, -y + flange, edge},
                          {web, -y + flange, fillet},
                          {web, y},
                          {-x, y},
                          {-x, y - flange, edge},
                          {-web, y - flange, fillet}});
}

Region readTrapezium(IfcContext& context, const Record& record) {
    using namespace IfcTrapeziumProfileDef;
    const double x = record.positive(BottomXDim) / 2.0;
    const double top = record.positive(TopXDim);
    const double y = record.positive(YDim) / 2.0;
    const double left = -x + record.number(TopXOffset, 0.0);
    return outlineRegion(context, record, {{-x, -y}, {x, -y}, {left + top, y}, {left, y}});
}

struct ParameterizedReader {
    Entity entity;
    Region (*read)(IfcContext& context, const Record& record);
};

constexpr ParameterizedReader readers[] = {
    {Entity::RectangleProfileDef, readRectangle},
    {Entity::RoundedRectangleProfileDef, readRoundedRectangle},
    {Entity::RectangleHollowProfileDef, readHollowRectangle},
    {Entity::CircleProfileDef, readCircle},
    {Entity::CircleHollowProfileDef, readHollowCircle},
    {Entity::EllipseProfileDef, readEllipse},
    {Entity::IShapeProfileDef, readIShape},
    {Entity::AsymmetricIShapeProfileDef, readAsymmetricIShape},
    {Entity::LShapeProfileDef, readLShape},
    {Entity::TShapeProfileDef, readTShape},
    {Entity::UShapeProfileDef, readUShape},
    {Entity::CShapeProfileDef, readCShape},
    {Entity::ZShapeProfileDef, readZShape},
    {Entity::TrapeziumProfileDef, readTrapezium},
};

// Null for an entity that is not supported.
const ParameterizedReader* readerOf(Entity entity) {
    const ParameterizedReader* const reader = std::find_if(
        std::begin(readers), std::end(readers), [entity](const ParameterizedReader& each) { return each.entity == entity; });
    return reader == std::end(readers) ? nullptr : reader;
}

} // namespace

bool isParameterizedProfile(Entity entity) {
    return readerOf(entity) != nullptr;
}

Region readParameterizedProfile(IfcContext& context, const Record& record) {
    const ParameterizedReader* const reader = readerOf(record.entity());
    if (!reader)
        record.fail("this kind of profile is not supported");
    return reader->read(context, record);
}

} // namespace importer::ifc
