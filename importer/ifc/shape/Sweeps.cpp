#include "importer/ifc/shape/Sweeps.h"

#include "importer/geometry/Loop.h"
#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Attributes.h"
#include "importer/ifc/shape/Curves.h"
#include "importer/ifc/shape/Profiles.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

// A sweep places every loop of a profile at a sequence of sections. The copies of a loop are rings of the same number of
// points; quadrilaterals between consecutive rings form the walls. An open sweep gets a cap at each end, with the holes of
// the profile; a closed one joins its last ring to the first.
//
//   extrusion   two sections, shifted by the depth; a tapered one then moves the points of the far ring to the end profile
//   revolution  one section per segment of the arc
//   disk        a ring that is moved along each segment of the directrix into the plane that bisects the bend

namespace importer::ifc {

using namespace attribute;

namespace {

std::uint32_t size32(const std::vector<Vector3>& points) {
    return static_cast<std::uint32_t>(points.size());
}

// Adds the walls between consecutive rings of `body.points`. A closed sweep has walls from the last ring to the first.
void addWalls(Polyhedron& body, std::uint32_t first, std::uint32_t count, std::uint32_t rings, bool closed) {
    for (std::uint32_t ring = 0; ring + (closed ? 0 : 1) < rings; ++ring) {
        const std::uint32_t a = first + ring * count;
        const std::uint32_t b = first + (ring + 1) % rings * count;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t next = (i + 1) % count;
            body.addLoop(a + i, a + next, b + next, b + i);
        }
    }
}

// The rings of one loop.
struct Rings {
    std::uint32_t first; // index of the first point
    std::uint32_t count; // points per ring
};

// Adds the caps at the first and the last ring: the rings of an outer loop, followed by those of its holes.
void addCaps(Polyhedron& body, const std::vector<Rings>& loops, std::uint32_t rings) {
    for (const bool front : {true, false}) {
        for (std::size_t loop = 0; loop < loops.size(); ++loop) {
            const auto [first, count] = loops[loop];
            if (loop == 0)
                body.beginLoop();
            else
                body.beginHole();
            for (std::uint32_t i = 0; i < count; ++i)
                body.addCorner(front ? first + count - 1 - i : first + (rings - 1) * count + i);
        }
    }
}

Polyhedron sweep(IfcContext& context, const std::vector<Region>& regions, const std::vector<Transform>& sections,
                 bool closed) {
    Polyhedron body;
    const auto count = static_cast<std::uint32_t>(sections.size());
    std::vector<Rings> loops;
    const auto add = [&](const Loop& loop) {
        context.chargePoints(loop.size() * sections.size());
        loops.push_back({size32(body.points), size32(loop)});
        for (const Transform& section : sections) {
            for (const Vector3& point : loop)
                body.points.push_back(section.point(point));
        }
        addWalls(body, loops.back().first, loops.back().count, count, closed);
    };
    for (const Region& region : regions) {
        loops.clear();
        add(region.outer);
        for (const Loop& hole : region.holes)
            add(hole);
        if (!closed)
            addCaps(body, loops, count);
    }
    return body;
}

Polyhedron prism(IfcContext& context, const Loop& base, double height) {
    return sweep(context, {{base, {}}}, {Transform(), Transform::translation({0.0, 0.0, height})}, false);
}

// Reads the attributes that plain and tapered extrusions have in common.
Polyhedron extrude(IfcContext& context, const Record& record, const std::vector<Region>& regions, Vector3& shift) {
    shift = readDirection(context, record.reference(IfcExtrudedAreaSolid::ExtrudedDirection)) *
            record.positive(IfcExtrudedAreaSolid::Depth);
    return sweep(context, regions, {Transform(), Transform::translation(shift)}, false);
}

Polyhedron readExtrusion(IfcContext& context, const Record& record) {
    const std::vector<Region> regions = readProfile(context, record.reference(IfcExtrudedAreaSolid::SweptArea));
    Vector3 shift;
    return extrude(context, record, regions, shift);
}

Polyhedron readTaperedExtrusion(IfcContext& context, const Record& record) {
    const std::vector<Region> regions = readProfile(context, record.reference(IfcExtrudedAreaSolidTapered::SweptArea));
    Vector3 shift;
    Polyhedron body = extrude(context, record, regions, shift);
    const std::vector<Region> end = readProfile(context, record.reference(IfcExtrudedAreaSolidTapered::EndSweptArea));
    std::size_t at = 0;
    bool fits = regions.size() == end.size();
    // The points of a loop are its near ring, then its far ring.
    const auto moveFarRing = [&](const Loop& near, const Loop& far) {
        fits = fits && near.size() == far.size();
        at += near.size();
        for (std::size_t i = 0; fits && i < far.size(); ++i)
            body.points[at++] = far[i] + shift;
    };
    for (std::size_t i = 0; fits && i < end.size(); ++i) {
        fits = regions[i].holes.size() == end[i].holes.size();
        moveFarRing(regions[i].outer, end[i].outer);
        for (std::size_t hole = 0; fits && hole < end[i].holes.size(); ++hole)
            moveFarRing(regions[i].holes[hole], end[i].holes[hole]);
    }
    if (!fits)
        record.fail("its two profiles do not have the same number of corners");
    return body;
}

// The rotation by an angle around the z axis of a placement.
Transform rotation(const Transform& axis, double angle) {
    const Transform turned{
        {std::cos(angle), std::sin(angle), 0.0}, {-std::sin(angle), std::cos(angle), 0.0}, {0.0, 0.0, 1.0}, {}};
    const Transform inverse{
        {axis.x.x, axis.y.x, axis.z.x}, {axis.x.y, axis.y.y, axis.z.y}, {axis.x.z, axis.y.z, axis.z.z}, {}};
    return axis * turned * inverse * Transform::translation(axis.origin * -1.0);
}

Polyhedron readRevolution(IfcContext& context, const Record& record) {
    const std::vector<Region> regions = readProfile(context, record.reference(IfcRevolvedAreaSolid::SweptArea));
    const Transform axis = readAxisPlacement(context, record.reference(IfcRevolvedAreaSolid::Axis));
    const double angle = record.number(IfcRevolvedAreaSolid::Angle) * context.angleUnit;
    if (!(std::fabs(angle) > 0.0) || !(std::fabs(angle) <= 2.0 * pi * (1.0 + 1e-6)))
        record.fail("its angle is zero or more than a full turn");
    const bool closed = std::fabs(angle) > 2.0 * pi * (1.0 - 1e-9);
    const int segments = segmentsOf(angle);
    const int count = segments + (closed ? 0 : 1);
    std::vector<Transform> sections;
    sections.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        sections.push_back(rotation(axis, angle * i / segments));
    return sweep(context, regions, sections, closed);
}

// The polyline that a disk is swept along.
class Directrix {
public:
    Directrix(const Record& record, Loop line) : record_(record), line_(std::move(line)) {
        line_.erase(std::unique(line_.begin(), line_.end()), line_.end());
        closed_ = line_.size() > 3 && length(line_.front() - line_.back()) <= samePoint;
        if (closed_)
            line_.pop_back();
        if (line_.size() < 2)
            record.fail("its directrix has fewer than two points");
    }

    std::size_t size() const { return line_.size(); }

    bool isClosed() const { return closed_; }

    const Vector3& point(std::size_t i) const { return line_[i]; }

    // The direction of the segment that starts at a point.
    Vector3 segment(std::size_t i) const {
        return unitVector(line_[(i + 1) % size()] - line_[i % size()], record_.instance());
    }

    // The direction in which a ring arrives at a point; at the first point, the direction in which it starts.
    Vector3 arrival(std::size_t i) const { return segment(i == 0 ? 0 : i - 1); }

    // The normal of the plane that cuts the pipe at a point: it bisects the bend.
    Vector3 normal(std::size_t i) const {
        const bool isEnd = !closed_ && (i == 0 || i + 1 == size());
        const Vector3 in = segment(i == 0 ? (closed_ ? size() - 1 : 0) : i - 1);
        return isEnd ? in : unitVector(in + segment(i), record_.instance());
    }

private:
    const Record& record_;
    Loop line_;
    bool closed_ = false;
};

// Adds the rings and walls of a pipe.
// @param turn 2 pi for the outer surface, -2 pi for the inner one, whose walls face inward.
Rings addPipe(IfcContext& context, const Record& record, const Directrix& directrix, double radius, double turn,
              Polyhedron& body) {
    const Transform start = frameAlong(directrix.segment(0), directrix.point(0));
    context.chargePoints(directrix.size() * segmentsPerTurn);
    const std::uint32_t first = size32(body.points);
    Loop ring;
    addArc(ring, start, radius, radius, 0.0, turn);
    ring.pop_back();
    for (std::size_t i = 0; i < directrix.size(); ++i) {
        const Vector3 normal = directrix.normal(i);
        const Vector3 along = directrix.arrival(i);
        const double cosine = dot(along, normal);
        if (!(std::fabs(cosine) > 1e-3))
            record.fail("its directrix reverses its direction at a point");
        for (Vector3& point : ring) {
            point = point + along * (dot(directrix.point(i) - point, normal) / cosine);
            body.points.push_back(point);
        }
    }
    addWalls(body, first, size32(ring), static_cast<std::uint32_t>(directrix.size()), directrix.isClosed());
    return {first, size32(ring)};
}

Polyhedron readSweptDisk(IfcContext& context, const Record& record) {
    const Directrix directrix(record, readCurve(context, record.reference(IfcSweptDiskSolid::Directrix)));
    if (record.given(IfcSweptDiskSolid::StartParam) || record.given(IfcSweptDiskSolid::EndParam))
        context.note(record.instance(), "its start and end parameters are not supported; the whole directrix is swept");
    const double outer = record.positive(IfcSweptDiskSolid::Radius);
    const double inner = record.radius(IfcSweptDiskSolid::InnerRadius);
    if (!(inner < outer))
        record.fail("its inner radius is not less than its radius");
    Polyhedron body;
    std::vector<Rings> pipes{addPipe(context, record, directrix, outer, 2.0 * pi, body)};
    if (inner > 0.0)
        pipes.push_back(addPipe(context, record, directrix, inner, -2.0 * pi, body));
    if (!directrix.isClosed())
        addCaps(body, pipes, static_cast<std::uint32_t>(directrix.size()));
    return body;
}

// The body between a loop and a point.
Polyhedron cone(const Loop& base, const Vector3& top) {
    Polyhedron body;
    body.points = base;
    const std::uint32_t count = size32(base);
    body.points.push_back(top);
    body.beginLoop();
    for (std::uint32_t i = count; i-- > 0;)
        body.addCorner(i);
    for (std::uint32_t i = 0; i < count; ++i)
        body.addLoop(i, (i + 1) % count, count);
    return body;
}

Loop circle(double radius, double z) {
    Loop loop;
    addArc(loop, Transform::translation({0.0, 0.0, z}), radius, radius, 0.0, 2.0 * pi);
    loop.pop_back();
    return loop;
}

Loop rectangle(double x, double y) {
    return {{0.0, 0.0, 0.0}, {x, 0.0, 0.0}, {x, y, 0.0}, {0.0, y, 0.0}};
}

Polyhedron readBlock(IfcContext& context, const Record& record) {
    const double x = record.positive(IfcBlock::XLength);
    const double y = record.positive(IfcBlock::YLength);
    return prism(context, rectangle(x, y), record.positive(IfcBlock::ZLength));
}

Polyhedron readCylinder(IfcContext& context, const Record& record) {
    const double height = record.positive(IfcRightCircularCylinder::Height);
    return prism(context, circle(record.positive(IfcRightCircularCylinder::Radius), 0.0), height);
}

Polyhedron readPyramid(IfcContext&, const Record& record) {
    const double x = record.positive(IfcRectangularPyramid::XLength);
    const double y = record.positive(IfcRectangularPyramid::YLength);
    return cone(rectangle(x, y), {x / 2.0, y / 2.0, record.positive(IfcRectangularPyramid::Height)});
}

Polyhedron readCone(IfcContext&, const Record& record) {
    const double height = record.positive(IfcRightCircularCone::Height);
    return cone(circle(record.positive(IfcRightCircularCone::BottomRadius), 0.0), {0.0, 0.0, height});
}

Polyhedron readSphere(IfcContext& context, const Record& record) {
    context.chargePoints(segmentsPerTurn * segmentsPerTurn / 2);
    const double radius = record.positive(IfcSphere::Radius);
    constexpr std::uint32_t rings = segmentsPerTurn / 2 - 1; // parallels between the poles
    constexpr std::uint32_t count = segmentsPerTurn;
    Polyhedron body;
    for (std::uint32_t ring = 1; ring <= rings; ++ring) {
        const double angle = pi * ring / (rings + 1);
        const Loop loop = circle(radius * std::sin(angle), -radius * std::cos(angle));
        body.points.insert(body.points.end(), loop.begin(), loop.end());
    }
    addWalls(body, 0, count, rings, false);
    const std::uint32_t bottom = rings * count;
    body.points.push_back({0.0, 0.0, -radius});
    body.points.push_back({0.0, 0.0, radius});
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t next = (i + 1) % count;
        body.addLoop(next, i, bottom);
        body.addLoop(bottom - count + i, bottom - count + next, bottom + 1);
    }
    return body;
}

struct SweepReader {
    Entity entity;
    Polyhedron (*read)(IfcContext& context, const Record& record);
    std::optional<std::size_t> position; // the attribute; a swept disk has none
};

constexpr SweepReader readers[] = {
    {Entity::ExtrudedAreaSolid, readExtrusion, IfcSweptAreaSolid::Position},
    {Entity::ExtrudedAreaSolidTapered, readTaperedExtrusion, IfcSweptAreaSolid::Position},
    {Entity::RevolvedAreaSolid, readRevolution, IfcSweptAreaSolid::Position},
    {Entity::SweptDiskSolid, readSweptDisk, std::nullopt},
    {Entity::SweptDiskSolidPolygonal, readSweptDisk, std::nullopt},
    {Entity::Block, readBlock, IfcCsgPrimitive3D::Position},
    {Entity::RectangularPyramid, readPyramid, IfcCsgPrimitive3D::Position},
    {Entity::RightCircularCylinder, readCylinder, IfcCsgPrimitive3D::Position},
    {Entity::RightCircularCone, readCone, IfcCsgPrimitive3D::Position},
    {Entity::Sphere, readSphere, IfcCsgPrimitive3D::Position},
};

// Null for an entity that is not supported.
const SweepReader* readerOf(Entity entity) {
    const SweepReader* const reader = std::find_if(std::begin(readers), std::end(readers),
                                                   [entity](const SweepReader& each) { return each.entity == entity; });
    return reader == std::end(readers) ? nullptr : reader;
}

} // namespace

bool isSweep(Entity entity) {
    return readerOf(entity) != nullptr;
}

Polyhedron readSweep(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    const SweepReader* const reader = readerOf(record.entity());
    if (!reader)
        record.fail("this kind of solid is not supported");
    if (!reader->position)
        return reader->read(context, record);
    const Transform position = readAxisPlacement(context, record.optionalReference(*reader->position));
    Polyhedron body = reader->read(context, record);
    for (Vector3& point : body.points)
        point = position.point(point);
    return body;
}

} // namespace importer::ifc
