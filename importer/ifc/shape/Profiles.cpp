#include "importer/ifc/shape/Profiles.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Attributes.h"
#include "importer/ifc/shape/Curves.h"
#include "importer/ifc/shape/ParameterizedProfiles.h"

#include <algorithm>
#include <iterator>
#include <utility>

// A reader per entity, found in a table, returns the loops of the profile in any orientation, and the placement of the
// profile. readProfile then moves the loops and orients them: the outer ones counterclockwise, the holes clockwise.
//
// A center line profile is a strip along a polyline: each corner is moved along the bisector of its two segments by half the
// thickness divided by the cosine of half the bend, to both sides (mitered bends).

namespace importer::ifc {

using namespace attribute;

namespace {

// The area of a thickness along a polyline.
Region strip(const Record& record, Loop line, double thickness) {
    const bool closed = line.size() > 3 && length(line.front() - line.back()) <= samePoint;
    if (closed)
        line.pop_back();
    line.erase(std::unique(line.begin(), line.end()), line.end());
    const std::size_t count = line.size();
    if (count < 2)
        record.fail("its curve has fewer than two points");
    Loop left;
    Loop right;
    for (std::size_t i = 0; i < count; ++i) {
        const bool isFirst = i == 0 && !closed;
        const bool isLast = i + 1 == count && !closed;
        const Vector3 in = isFirst ? line[1] - line[0] : line[i] - line[(i + count - 1) % count];
        const Vector3 out = isLast ? in : line[(i + 1) % count] - line[i];
        const Vector3 a = in * (1.0 / length(in));
        const Vector3 b = out * (1.0 / length(out));
        const Vector3 sum{-a.y - b.y, a.x + b.x, 0.0}; // along the bisector; its length is 2 cos(bend / 2)
        const double scale = thickness / dot(sum, sum);
        if (!(dot(sum, sum) > 1e-6))
            record.fail("its curve reverses its direction at a point");
        left.push_back(line[i] + sum * scale);
        right.push_back(line[i] - sum * scale);
    }
    if (closed)
        return std::fabs(signedArea(left)) > std::fabs(signedArea(right)) ? Region{left, {right}} : Region{right, {left}};
    left.insert(left.end(), right.rbegin(), right.rend());
    return {left, {}};
}

// Moves a loop and orients it.
void arrange(IfcContext& context, const Record& record, Loop& loop, bool counterclockwise, const Transform& position) {
    context.chargePoints(loop.size());
    for (Vector3& point : loop) {
        point = position.point({point.x, point.y, 0.0});
        point.z = 0.0;
    }
    const double area = signedArea(loop);
    if (!std::isfinite(area) || area == 0.0)
        record.fail("encloses no area");
    if ((area > 0.0) != counterclockwise)
        std::reverse(loop.begin(), loop.end());
}

using Regions = std::vector<Region>;

Regions readClosed(IfcContext& context, const Record& record, Transform&) {
    return {{readClosedCurve(context, record.reference(IfcArbitraryClosedProfileDef::OuterCurve)), {}}};
}

Regions readWithVoids(IfcContext& context, const Record& record, Transform&) {
    Region region{readClosedCurve(context, record.reference(IfcArbitraryProfileDefWithVoids::OuterCurve)), {}};
    for (const Instance* const hole : record.references(IfcArbitraryProfileDefWithVoids::InnerCurves))
        region.holes.push_back(readClosedCurve(context, *hole));
    return {region};
}

Regions readCenterLine(IfcContext& context, const Record& record, Transform&) {
    Loop line = readCurve(context, record.reference(IfcCenterLineProfileDef::Curve));
    return {strip(record, std::move(line), record.positive(IfcCenterLineProfileDef::Thickness))};
}

Regions readDerived(IfcContext& context, const Record& record, Transform& position) {
    position = readOperator(context, record.reference(IfcDerivedProfileDef::Operator));
    return readProfile(context, record.reference(IfcDerivedProfileDef::ParentProfile));
}

Regions readMirrored(IfcContext& context, const Record& record, Transform& position) {
    position = {{-1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, {}};
    return readProfile(context, record.reference(IfcDerivedProfileDef::ParentProfile));
}

Regions readComposite(IfcContext& context, const Record& record, Transform&) {
    Regions regions;
    for (const Instance* const part : record.references(IfcCompositeProfileDef::Profiles)) {
        Regions more = readProfile(context, *part);
        regions.insert(regions.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }
    return regions;
}

struct ProfileReader {
    Entity entity;
    Regions (*read)(IfcContext& context, const Record& record, Transform& position);
};

constexpr ProfileReader readers[] = {
    {Entity::ArbitraryClosedProfileDef, readClosed}, {Entity::ArbitraryProfileDefWithVoids, readWithVoids},
    {Entity::CenterLineProfileDef, readCenterLine},  {Entity::DerivedProfileDef, readDerived},
    {Entity::MirroredProfileDef, readMirrored},      {Entity::CompositeProfileDef, readComposite},
};

Regions readRegions(IfcContext& context, const Record& record, Transform& position) {
    for (const ProfileReader& reader : readers) {
        if (reader.entity == record.entity())
            return reader.read(context, record, position);
    }
    if (!isParameterizedProfile(record.entity()))
        record.fail("this kind of profile is not supported");
    position = readAxisPlacement(context, record.optionalReference(IfcParameterizedProfileDef::Position));
    return {readParameterizedProfile(context, record)};
}

} // namespace

std::vector<Region> readProfile(IfcContext& context, const Instance& instance) {
    const RecursionGuard guard(context, instance);
    const Record record(context, instance);
    context.chargePoints(std::uint64_t{2} * segmentsPerTurn);
    Transform position;
    Regions regions = readRegions(context, record, position);
    if (regions.empty())
        record.fail("has no parts");
    for (Region& region : regions) {
        arrange(context, record, region.outer, true, position);
        for (Loop& hole : region.holes)
            arrange(context, record, hole, false, position);
    }
    return regions;
}

} // namespace importer::ifc
