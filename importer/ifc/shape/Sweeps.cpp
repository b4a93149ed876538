#include "importer/ifc/shape/Sweeps.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Curves.h"
#include "importer/ifc/shape/Profiles.h"

#include <algorithm>
#include <functional>

namespace importer::ifc {

namespace {

using Loop = std::vector<Vector3>;

std::uint32_t size32(const std::vector<Vector3>& points) {
    return static_cast<std::uint32_t>(points.size());
}

/// Adds the wall between rings of the same number of points that lie behind each other in `body.points`, from `first` on; a
/// closed one has its last ring joined to the first.
void addWall(Polyhedron& body, std::uint32_t first, std::uint32_t count, std::uint32_t rings, bool closed) {
    for (std::uint32_t ring = 0; ring + (closed ? 0 : 1) < rings; ++ring) {
        const std::uint32_t a = first + ring * count;
        const std::uint32_t b = first + (ring + 1) % rings * count;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t next = (i + 1) % count;
            body.addLoop(a + i, a + next, b + next, b + i);
        }
    }
}

/// The rings of one loop that is swept.
struct Rings {
    std::uint32_t first; // point
    std::uint32_t count; // points of each ring
};

/// Adds the two lids of what an outline and its holes have been swept to, between the first ring and the last one.
void addLids(Polyhedron& body, const std::vector<Rings>& loops, std::uint32_t rings) {
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

/// Sweeps every loop of the regions through the sections.
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
        addWall(body, loops.back().first, loops.back().count, count, closed);
    };
    for (const Region& region : regions) {
        loops.clear();
        add(region.outer);
        for (const Loop& hole : region.holes)
            add(hole);
        if (!closed)
            addLids(body, loops, count);
    }
    return body;
}

Polyhedron extrude(IfcContext& context, const Record& record) {
    const std::vector<Region> regions = readProfile(context, record.reference(0));
    const Vector3 way = readDirection(context, record.reference(2)) * record.positive(3);
    Polyhedron body = sweep(context, regions, {Transform(), Transform::translation(way)}, false);
    if (record.entity() != Entity::ExtrudedAreaSolidTapered)
        return body;
    // The far ends of the walls move to the second profile.
    const std::vector<Region> end = readProfile(context, record.reference(4));
    std::size_t at = 0;
    bool fits = regions.size() == end.size();
    const auto move = [&](const Loop& near, const Loop& far) {
        fits = fits && near.size() == far.size();
        at += near.size();
        for (std::size_t i = 0; fits && i < far.size(); ++i)
            body.points[at++] = far[i] + way;
    };
    for (std::size_t i = 0; fits && i < end.size(); ++i) {
        fits = regions[i].holes.size() == end[i].holes.size();
        move(regions[i].outer, end[i].outer);
        for (std::size_t hole = 0; fits && hole < end[i].holes.size(); ++hole)
            move(regions[i].holes[hole], end[i].holes[hole]);
    }
    if (!fits)
        record.fail("its two profiles do not have the same number of corners");
    return body;
}

/// The rotation by an angle around the z axis of `axis`.
Transform rotation(const Transform& axis, double angle) {
    const Transform turned{
        {std::cos(angle), std::sin(angle), 0.0}, {-std::sin(angle), std::cos(angle), 0.0}, {0.0, 0.0, 1.0}, {}};
    const Transform back{{axis.x.x, axis.y.x, axis.z.x}, {axis.x.y, axis.y.y, axis.z.y}, {axis.x.z, axis.y.z, axis.z.z}, {}};
    return axis * turned * back * Transform::translation(axis.origin * -1.0);
}

Polyhedron revolve(IfcContext& context, const Record& record) {
    const std::vector<Region> regions = readProfile(context, record.reference(0));
    const Transform axis = readAxisPlacement(context, record.reference(2));
    const double angle = record.number(3) * context.angleUnit;
    if (!(std::fabs(angle) > 0.0) || !(std::fabs(angle) <= 2.0 * pi * (1.0 + 1e-6)))
        record.fail("its angle is not between nothing and a whole turn");
    const bool closed = std::fabs(angle) > 2.0 * pi * (1.0 - 1e-9);
    const int segments = segmentsOf(angle);
    const int count = segments + (closed ? 0 : 1);
    std::vector<Transform> sections;
    sections.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        sections.push_back(rotation(axis, angle * i / segments));
    return sweep(context, regions, sections, closed);
}

/// A pipe: a ring is carried along the line, and at each bend cut by the plane that halves it.
Polyhedron sweepDisk(IfcContext& context, const Record& record) {
    Loop line = readCurve(context, record.reference(0));
    line.erase(std::unique(line.begin(), line.end()), line.end());
    const bool closed = line.size() > 3 && length(line.front() - line.back()) <= samePoint;
    if (closed)
        line.pop_back();
    if (line.size() < 2)
        record.fail("its line has fewer than two points");
    if (record.given(3) || record.given(4))
        context.note(record.instance(), "its start and end parameters are not supported; the whole line is taken");
    const double outer = record.positive(1);
    const double inner = record.radius(2);
    if (!(inner < outer))
        record.fail("its inner radius is not less than its radius");
    const std::size_t count = line.size();
    const auto leg = [&](std::size_t i) { return unitVector(line[(i + 1) % count] - line[i % count], record.instance()); };
    const auto isEnd = [&](std::size_t i) { return !closed && (i == 0 || i + 1 == count); };
    const auto normalAt = [&](std::size_t i) {
        const Vector3 in = leg(i == 0 ? (closed ? count - 1 : 0) : i - 1);
        return isEnd(i) ? in : unitVector(in + leg(i), record.instance());
    };
    // Everything is carried along the first leg of a frame across it, then moved along each leg into the next plane.
    const Transform start = frameAlong(leg(0), line[0]);
    Polyhedron body;
    std::vector<Rings> pipes;
    const auto addPipe = [&](double radius, bool hole) {
        context.chargePoints(count * segmentsPerTurn);
        const std::uint32_t first = size32(body.points);
        Loop ring;
        addArc(ring, start, radius, radius, 0.0, hole ? -2.0 * pi : 2.0 * pi);
        ring.pop_back();
        for (std::size_t i = 0; i < count; ++i) {
            const Vector3 normal = normalAt(i);
            const Vector3 along = leg(i == 0 ? 0 : i - 1);
            const double cosine = dot(along, normal);
            if (!(std::fabs(cosine) > 1e-3))
                record.fail("its line turns back on itself");
            for (Vector3& point : ring) {
                point = point + along * (dot(line[i] - point, normal) / cosine);
                body.points.push_back(point);
            }
        }
        addWall(body, first, size32(ring), static_cast<std::uint32_t>(count), closed);
        pipes.push_back({first, size32(ring)});
    };
    addPipe(outer, false);
    if (inner > 0.0)
        addPipe(inner, true);
    if (!closed)
        addLids(body, pipes, static_cast<std::uint32_t>(count));
    return body;
}

/// A section that shrinks to a point.
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

Polyhedron sphere(double radius) {
    constexpr std::uint32_t rings = segmentsPerTurn / 2 - 1;
    constexpr std::uint32_t count = segmentsPerTurn;
    Polyhedron body;
    for (std::uint32_t ring = 1; ring <= rings; ++ring) {
        const double angle = pi * ring / (rings + 1);
        const Loop loop = circle(radius * std::sin(angle), -radius * std::cos(angle));
        body.points.insert(body.points.end(), loop.begin(), loop.end());
    }
    for (std::uint32_t ring = 0; ring + 1 < rings; ++ring) {
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t a = ring * count;
            const std::uint32_t next = (i + 1) % count;
            body.addLoop(a + i, a + next, a + count + next, a + count + i);
        }
    }
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

Polyhedron readLocal(IfcContext& context, const Record& record) {
    const auto prism = [&](const Loop& base, double height) {
        return sweep(context, {{base, {}}}, {Transform(), Transform::translation({0.0, 0.0, height})}, false);
    };
    switch (record.entity()) {
    case Entity::ExtrudedAreaSolid:
    case Entity::ExtrudedAreaSolidTapered:
        return extrude(context, record);
    case Entity::RevolvedAreaSolid:
        return revolve(context, record);
    case Entity::Block:
        return prism(rectangle(record.positive(1), record.positive(2)), record.positive(3));
    case Entity::RightCircularCylinder:
        return prism(circle(record.positive(2), 0.0), record.positive(1));
    case Entity::RectangularPyramid:
        return cone(rectangle(record.positive(1), record.positive(2)),
                    {record.positive(1) / 2.0, record.positive(2) / 2.0, record.positive(3)});
    case Entity::RightCircularCone:
        return cone(circle(record.positive(2), 0.0), {0.0, 0.0, record.positive(1)});
    default:
        context.chargePoints(segmentsPerTurn * segmentsPerTurn / 2);
        return sphere(record.positive(1));
    }
}

} // namespace

bool isSweep(Entity entity) {
    switch (entity) {
    case Entity::ExtrudedAreaSolid:
    case Entity::ExtrudedAreaSolidTapered:
    case Entity::RevolvedAreaSolid:
    case Entity::SweptDiskSolid:
    case Entity::SweptDiskSolidPolygonal:
    case Entity::Block:
    case Entity::RectangularPyramid:
    case Entity::RightCircularCylinder:
    case Entity::RightCircularCone:
    case Entity::Sphere:
        return true;
    default:
        return false;
    }
}

Polyhedron readSweep(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    if (record.entity() == Entity::SweptDiskSolid || record.entity() == Entity::SweptDiskSolidPolygonal)
        return sweepDisk(context, record);
    // The area of a swept solid comes before its position, in primitive solids the position comes first.
    const bool swept = record.entity() == Entity::ExtrudedAreaSolid || record.entity() == Entity::ExtrudedAreaSolidTapered ||
                       record.entity() == Entity::RevolvedAreaSolid;
    const Transform position = readAxisPlacement(context, record.optionalReference(swept ? 1 : 0));
    Polyhedron body = readLocal(context, record);
    for (Vector3& point : body.points)
        point = position.point(point);
    return body;
}

} // namespace importer::ifc
