#include "importer/ifc/shape/Faces.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Curves.h"

#include <algorithm>
#include <bit>
#include <string>
#include <unordered_map>

namespace importer::ifc {

namespace {

/// Gives points with the same coordinates one index, whatever instance they come from.
class PointIndex {
public:
    PointIndex(IfcContext& context, std::vector<Vector3>& points) : context_(context), points_(points) {}

    std::uint32_t indexOf(const Vector3& point) {
        const auto [found, isNew] = index_.try_emplace(point, static_cast<std::uint32_t>(points_.size()));
        if (isNew) {
            if (points_.size() >= context_.limits.verticesPerProduct)
                throw LimitExceeded{"the shape has more vertices than one product of a file of this size may have"};
            points_.push_back(point);
        }
        return found->second;
    }

private:
    struct Hash {
        std::size_t operator()(const Vector3& p) const {
            std::uint64_t hash = 0;
            for (const double c : {p.x, p.y, p.z})
                hash = (hash ^ std::bit_cast<std::uint64_t>(c + 0.0)) * 0x9E3779B97F4A7C15u ^ hash >> 29;
            return static_cast<std::size_t>(hash ^ hash >> 32);
        }
    };

    IfcContext& context_;
    std::vector<Vector3>& points_;
    std::unordered_map<Vector3, std::uint32_t, Hash> index_;
};

using Loop = std::vector<Vector3>;

/// Twice the area of a loop, as a vector along its normal.
Vector3 areaVector(const Loop& loop) {
    Vector3 sum;
    for (std::size_t i = 2; i < loop.size(); ++i)
        sum = sum + cross(loop[i - 1] - loop[0], loop[i] - loop[0]);
    return sum;
}

Vector3 readVertex(IfcContext& context, const Instance& instance) {
    const Record vertex(context, instance);
    if (vertex.entity() != Entity::VertexPoint)
        vertex.fail("this kind of vertex is not supported");
    return readPoint(context, vertex.reference(0));
}

/// The points of an edge without its last one. Straight edges, and those on circles and ellipses, are read as they are; of
/// others only the ends count, and the face is none that says all about the body.
void addEdge(IfcContext& context, const Instance& instance, bool forward, Loop& loop, bool& plane) {
    const Record edge(context, instance);
    const Vector3 start = readVertex(context, edge.reference(0));
    const Vector3 end = readVertex(context, edge.reference(1));
    Loop points{start, end};
    if (edge.entity() == Entity::EdgeCurve) {
        const Instance& curve = edge.reference(2);
        if (entityOf(curve) == Entity::Circle || entityOf(curve) == Entity::Ellipse)
            points = readArcBetween(context, curve, start, end, edge.isTrue(3));
        else if (entityOf(curve) != Entity::Line && entityOf(curve) != Entity::Polyline)
            plane = false;
    } else if (edge.entity() != Entity::Edge) {
        edge.fail("this kind of edge is not supported");
    }
    context.chargePoints(points.size());
    if (!forward)
        std::reverse(points.begin(), points.end());
    loop.insert(loop.end(), points.begin(), points.end() - 1);
}

Loop readLoop(IfcContext& context, const Instance& instance, bool& plane) {
    const Record record(context, instance);
    Loop loop;
    switch (record.entity()) {
    case Entity::PolyLoop: {
        ValueReader list = record.list(0);
        for (Value value; list.next(value);)
            loop.push_back(readPoint(context, record.resolve(value)));
        break;
    }
    case Entity::EdgeLoop: {
        ValueReader list = record.list(0);
        for (Value value; list.next(value);) {
            const Record oriented(context, record.resolve(value));
            if (oriented.entity() != Entity::OrientedEdge)
                oriented.fail("stands where an IFCORIENTEDEDGE is expected");
            addEdge(context, oriented.reference(2), oriented.isTrue(3), loop, plane);
        }
        break;
    }
    case Entity::VertexLoop:
        loop.push_back(readVertex(context, record.reference(0)));
        break;
    default:
        record.fail("this kind of loop is not supported");
    }
    return loop;
}

/// Adds the loops of a face, the outer one first and the holes the other way round, as files do not always tell them.
void addFace(std::vector<Loop>& loops, PointIndex& index, Polyhedron& body) {
    const Vector3 outer = loops.empty() ? Vector3() : areaVector(loops.front());
    for (std::size_t i = 0; i < loops.size(); ++i) {
        if (i != 0 && dot(areaVector(loops[i]), outer) > 0.0)
            std::reverse(loops[i].begin(), loops[i].end());
        if (i == 0)
            body.beginLoop();
        else
            body.beginHole();
        for (const Vector3& point : loops[i])
            body.addCorner(index.indexOf(point));
    }
}

void readFace(IfcContext& context, const Instance& instance, PointIndex& index, Faces& faces) {
    const Record face(context, instance);
    switch (face.entity()) {
    case Entity::Face:
        break;
    case Entity::FaceSurface:
    case Entity::AdvancedFace:
        faces.plane &= entityOf(face.reference(1)) == Entity::Plane;
        break;
    default:
        face.fail("this kind of face is not supported");
    }
    std::vector<Loop> loops;
    ValueReader bounds = face.list(0);
    for (Value value; bounds.next(value);) {
        const Record bound(context, face.resolve(value));
        if (bound.entity() != Entity::FaceBound && bound.entity() != Entity::FaceOuterBound)
            bound.fail("stands where the bound of a face is expected");
        Loop loop = readLoop(context, bound.reference(0), faces.plane);
        if (!bound.isTrue(1))
            std::reverse(loop.begin(), loop.end());
        const bool outer = bound.entity() == Entity::FaceOuterBound;
        loops.insert(outer ? loops.begin() : loops.end(), std::move(loop));
    }
    addFace(loops, index, faces.body);
}

/// Reads indices, from 1, into a list of points.
void readIndices(IfcContext& context, const Record& record, const Value& list, std::size_t points,
                 std::vector<std::uint32_t>& indices) {
    if (list.kind != ValueKind::List)
        record.fail("a face is not a list of indices");
    indices.clear();
    ValueReader reader(list.text);
    for (Value value; reader.next(value);) {
        const std::int64_t index = integerOf(value).value_or(0);
        if (index < 1 || static_cast<std::uint64_t>(index) > points)
            record.fail(std::string("'").append(value.text.substr(0, 20)) +
                         "' names a point that the list of points does not have");
        context.chargeCorners(1);
        indices.push_back(static_cast<std::uint32_t>(index - 1));
    }
}

/// The points of a face set's list. Those that a face uses become points of the body, those with the same coordinates one.
class ListedPoints {
public:
    ListedPoints(IfcContext& context, const Instance& list, Polyhedron& body)
        : points_(readPointList(context, list)), renumbered_(points_.size(), unused), index_(context, body.points) {}

    std::size_t size() const { return points_.size(); }
    const Vector3& point(std::uint32_t listed) const { return points_[listed]; }

    std::uint32_t indexOf(std::uint32_t listed) {
        std::uint32_t& number = renumbered_[listed];
        if (number == unused)
            number = index_.indexOf(points_[listed]);
        return number;
    }

private:
    static constexpr std::uint32_t unused = 0xFFFFFFFF;

    std::vector<Vector3> points_;
    std::vector<std::uint32_t> renumbered_;
    PointIndex index_;
};

/// Whether an argument is a plain list of indices. In the first IFC4 the normals of triangles stand in its place, as
/// triples.
bool isIndexList(const Value& value) {
    Value first;
    return value.kind == ValueKind::List && (!ValueReader(value.text).next(first) || first.kind != ValueKind::List);
}

} // namespace

Faces readShell(IfcContext& context, const Instance& instance) {
    const Record shell(context, instance);
    if (shell.entity() != Entity::ClosedShell && shell.entity() != Entity::OpenShell &&
        shell.entity() != Entity::ConnectedFaceSet)
        shell.fail("stands where a shell is expected");
    Faces faces;
    PointIndex index(context, faces.body.points);
    ValueReader list = shell.list(0);
    for (Value value; list.next(value);)
        readFace(context, shell.resolve(value), index, faces);
    return faces;
}

Faces readTessellation(IfcContext& context, const Instance& instance) {
    const Record set(context, instance);
    const bool triangles = set.entity() != Entity::PolygonalFaceSet;
    Faces faces;
    ListedPoints points(context, set.reference(0), faces.body);
    // Optional indices from the faces' points to the list's.
    std::vector<std::uint32_t> detour;
    const Value& pointIndices = set[triangles ? 4 : 3];
    if (isIndexList(pointIndices))
        readIndices(context, set, pointIndices, points.size(), detour);
    const bool direct = detour.empty();
    std::vector<std::uint32_t> corners;
    const auto read = [&](const Record& record, const Value& list) {
        readIndices(context, record, list, direct ? points.size() : detour.size(), corners);
        for (std::uint32_t& corner : corners)
            corner = direct ? corner : detour[corner];
    };
    const auto addCorners = [&](const std::vector<std::uint32_t>& loop) {
        for (const std::uint32_t corner : loop)
            faces.body.addCorner(points.indexOf(corner));
    };
    // The triangles are the fourth argument in all schemas, the faces the third.
    ValueReader list = set.list(triangles ? 3 : 2);
    for (Value value; list.next(value);) {
        if (triangles) {
            read(set, value);
            if (corners.size() != 3)
                set.fail("a triangle does not have three corners");
            faces.body.beginLoop();
            addCorners(corners);
            continue;
        }
        const Record face(context, set.resolve(value));
        const bool holes = face.entity() == Entity::IndexedPolygonalFaceWithVoids;
        if (!holes && face.entity() != Entity::IndexedPolygonalFace)
            face.fail("stands where an IFCINDEXEDPOLYGONALFACE is expected");
        const auto areaOf = [&] {
            Loop loop;
            for (const std::uint32_t corner : corners)
                loop.push_back(points.point(corner));
            return areaVector(loop);
        };
        read(face, face[0]);
        faces.body.beginLoop();
        addCorners(corners);
        if (!holes)
            continue;
        const Vector3 outer = areaOf();
        ValueReader inner = face.list(1);
        for (Value hole; inner.next(hole);) {
            read(face, hole);
            if (dot(areaOf(), outer) > 0.0)
                std::reverse(corners.begin(), corners.end());
            faces.body.beginHole();
            addCorners(corners);
        }
    }
    return faces;
}

} // namespace importer::ifc
