#include "importer/ifc/shape/Faces.h"

#include "importer/geometry/Loop.h"
#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Attributes.h"
#include "importer/ifc/shape/Curves.h"

#include <algorithm>
#include <bit>
#include <string>
#include <unordered_map>
#include <utility>

// Points with equal coordinates become one point of the body, whether the file shares the instance or repeats the
// coordinates: a hash table maps coordinates to indices. Polyhedron::isClosed compares edges by these indices.
//
// In a polyhedron, holes run opposite to the outer loop. Files do not always follow that rule, so each hole is compared with
// the outer loop by the direction of its area and reversed if necessary.

namespace importer::ifc {

using namespace attribute;

namespace {

// Adds points to a list; equal coordinates get the same index.
class PointIndex {
public:
    PointIndex(IfcContext& context, std::vector<Vector3>& points) : context_(context), points_(points) {}

    std::uint32_t indexOf(const Vector3& point) {
        const auto [found, isNew] = index_.try_emplace(point, static_cast<std::uint32_t>(points_.size()));
        if (isNew) {
            context_.chargePointsOfList(points_.size() + 1, 0); // only the limit: reading the point has been charged
            points_.push_back(point);
        }
        return found->second;
    }

private:
    struct Hash {
        std::size_t operator()(const Vector3& p) const {
            std::uint64_t hash = 0;
            for (const double c : {p.x, p.y, p.z}) {
                const auto bits = std::bit_cast<std::uint64_t>(c + 0.0); // the sum makes -0.0 and 0.0 equal
                hash = (hash ^ bits) * 0x9E3779B97F4A7C15u ^ hash >> 29;
            }
            return static_cast<std::size_t>(hash ^ hash >> 32);
        }
    };

    IfcContext& context_;
    std::vector<Vector3>& points_;
    std::unordered_map<Vector3, std::uint32_t, Hash> index_;
};

Vector3 readVertex(IfcContext& context, const Instance& instance) {
    const Record vertex(context, instance);
    if (vertex.entity() != Entity::VertexPoint)
        vertex.fail("this kind of vertex is not supported");
    return readPoint(context, vertex.reference(IfcVertexPoint::VertexGeometry));
}

// Appends the points of an edge without its last one. An edge on another curve than a line, polyline, circle or ellipse is
// replaced by the straight line between its ends; the face is then not plane.
void addEdge(IfcContext& context, const Instance& instance, bool forward, Loop& loop, bool& plane) {
    const Record edge(context, instance);
    const Vector3 start = readVertex(context, edge.reference(IfcEdge::EdgeStart));
    const Vector3 end = readVertex(context, edge.reference(IfcEdge::EdgeEnd));
    Loop points{start, end};
    if (edge.entity() == Entity::EdgeCurve) {
        const Instance& curve = edge.reference(IfcEdgeCurve::EdgeGeometry);
        const Entity entity = entityOf(curve);
        if (entity == Entity::Circle || entity == Entity::Ellipse)
            points = readArcBetween(context, curve, start, end, edge.isTrue(IfcEdgeCurve::SameSense));
        else if (entity != Entity::Line && entity != Entity::Polyline)
            plane = false;
    } else if (edge.entity() != Entity::Edge) {
        edge.fail("this kind of edge is not supported");
    }
    context.chargePoints(points.size());
    if (!forward)
        std::reverse(points.begin(), points.end());
    loop.insert(loop.end(), points.begin(), points.end() - 1);
}

Loop readPolyLoop(IfcContext& context, const Record& record) {
    Loop loop;
    ValueReader list = record.list(IfcPolyLoop::Polygon);
    for (Value value; list.next(value);)
        loop.push_back(readPoint(context, record.resolve(value)));
    return loop;
}

Loop readEdgeLoop(IfcContext& context, const Record& record, bool& plane) {
    Loop loop;
    ValueReader list = record.list(IfcEdgeLoop::EdgeList);
    for (Value value; list.next(value);) {
        const Record oriented(context, record.resolve(value));
        if (oriented.entity() != Entity::OrientedEdge)
            oriented.fail("is used where an IFCORIENTEDEDGE is expected");
        const Instance& edge = oriented.reference(IfcOrientedEdge::EdgeElement);
        addEdge(context, edge, oriented.isTrue(IfcOrientedEdge::Orientation), loop, plane);
    }
    return loop;
}

Loop readLoop(IfcContext& context, const Instance& instance, bool& plane) {
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::PolyLoop:
        return readPolyLoop(context, record);
    case Entity::EdgeLoop:
        return readEdgeLoop(context, record, plane);
    case Entity::VertexLoop:
        return {readVertex(context, record.reference(IfcVertexLoop::LoopVertex))};
    default:
        record.fail("this kind of loop is not supported");
    }
}

// Adds a face: its outer loop, which comes first, and its holes.
void addFace(std::vector<Loop>& loops, PointIndex& index, Polyhedron& body) {
    const Vector3 outer = loops.empty() ? Vector3() : doubleAreaVector(loops.front());
    for (std::size_t i = 0; i < loops.size(); ++i) {
        if (i != 0 && dot(doubleAreaVector(loops[i]), outer) > 0.0)
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
    if (face.entity() == Entity::FaceSurface || face.entity() == Entity::AdvancedFace)
        faces.plane &= entityOf(face.reference(IfcFaceSurface::FaceSurface)) == Entity::Plane;
    else if (face.entity() != Entity::Face)
        face.fail("this kind of face is not supported");
    std::vector<Loop> loops;
    ValueReader bounds = face.list(IfcFace::Bounds);
    for (Value value; bounds.next(value);) {
        const Record bound(context, face.resolve(value));
        if (bound.entity() != Entity::FaceBound && bound.entity() != Entity::FaceOuterBound)
            bound.fail("is used where the bound of a face is expected");
        Loop loop = readLoop(context, bound.reference(IfcFaceBound::Bound), faces.plane);
        if (!bound.isTrue(IfcFaceBound::Orientation))
            std::reverse(loop.begin(), loop.end());
        const bool isOuter = bound.entity() == Entity::FaceOuterBound;
        loops.insert(isOuter ? loops.begin() : loops.end(), std::move(loop));
    }
    addFace(loops, index, faces.body);
}

// Reads indices, which a file counts from 1, and makes them count from 0.
void readIndices(IfcContext& context, const Record& record, const Value& list, std::size_t points,
                 std::vector<std::uint32_t>& indices) {
    if (list.kind != ValueKind::List)
        record.fail("a face is not a list of indices");
    indices.clear();
    ValueReader reader(list.text);
    for (Value value; reader.next(value);) {
        const std::int64_t index = integerOf(value).value_or(0);
        if (index < 1 || static_cast<std::uint64_t>(index) > points)
            record.fail("'" + std::string(value.text.substr(0, 20)) +
                        "' refers to a point that does not exist in the list of points");
        context.chargeCorners(1);
        indices.push_back(static_cast<std::uint32_t>(index - 1));
    }
}

// The list of points of a face set. A point becomes part of the body when a face first uses it.
class ListedPoints {
public:
    ListedPoints(IfcContext& context, const Instance& list, Polyhedron& body)
        : points_(readPointList(context, list)), indexInBody_(points_.size(), unused), index_(context, body.points) {}

    std::size_t size() const { return points_.size(); }

    const Vector3& point(std::uint32_t listed) const { return points_[listed]; }

    std::uint32_t indexOf(std::uint32_t listed) {
        std::uint32_t& index = indexInBody_[listed];
        if (index == unused)
            index = index_.indexOf(points_[listed]);
        return index;
    }

private:
    static constexpr std::uint32_t unused = 0xFFFFFFFF;

    std::vector<Vector3> points_;
    std::vector<std::uint32_t> indexInBody_; // by the index in the list
    PointIndex index_;
};

// Whether an attribute is a plain list of indices. In the first edition of IFC4, PnIndex is NormalIndex, a list of triples.
bool isIndexList(const Value& value) {
    Value first;
    return value.kind == ValueKind::List && (!ValueReader(value.text).next(first) || first.kind != ValueKind::List);
}

class FaceSetReader {
public:
    FaceSetReader(IfcContext& context, const Record& set)
        : context_(context), set_(set), points_(context, set.reference(IfcTessellatedFaceSet::Coordinates), faces_.body) {}

    Faces readTriangles();
    Faces readPolygons();

private:
    void readPointIndices(std::size_t attribute);
    void readCorners(const Record& record, const Value& list);
    void addCorners();
    void readPolygon(const Record& face);
    void readHoles(const Record& face);
    Vector3 cornersArea() const;

    IfcContext& context_;
    const Record& set_;
    Faces faces_;
    ListedPoints points_;
    std::vector<std::uint32_t> pointIndices_; // PnIndex: indices of faces refer to it; empty: they refer to the points
    std::vector<std::uint32_t> corners_;      // of the loop being read, as indices into the list of points
};

Faces FaceSetReader::readTriangles() {
    readPointIndices(IfcTriangulatedFaceSet::PnIndex);
    ValueReader list = set_.list(IfcTriangulatedFaceSet::CoordIndex);
    for (Value value; list.next(value);) {
        readCorners(set_, value);
        if (corners_.size() != 3)
            set_.fail("a triangle does not have three corners");
        faces_.body.beginLoop();
        addCorners();
    }
    return std::move(faces_);
}

Faces FaceSetReader::readPolygons() {
    readPointIndices(IfcPolygonalFaceSet::PnIndex);
    ValueReader list = set_.list(IfcPolygonalFaceSet::Faces);
    for (Value value; list.next(value);)
        readPolygon(Record(context_, set_.resolve(value)));
    return std::move(faces_);
}

void FaceSetReader::readPointIndices(std::size_t attribute) {
    if (isIndexList(set_[attribute]))
        readIndices(context_, set_, set_[attribute], points_.size(), pointIndices_);
}

void FaceSetReader::readCorners(const Record& record, const Value& list) {
    const bool direct = pointIndices_.empty();
    readIndices(context_, record, list, direct ? points_.size() : pointIndices_.size(), corners_);
    for (std::uint32_t& corner : corners_)
        corner = direct ? corner : pointIndices_[corner];
}

void FaceSetReader::addCorners() {
    for (const std::uint32_t corner : corners_)
        faces_.body.addCorner(points_.indexOf(corner));
}

void FaceSetReader::readPolygon(const Record& face) {
    const bool hasHoles = face.entity() == Entity::IndexedPolygonalFaceWithVoids;
    if (!hasHoles && face.entity() != Entity::IndexedPolygonalFace)
        face.fail("is used where an IFCINDEXEDPOLYGONALFACE is expected");
    readCorners(face, face[IfcIndexedPolygonalFaceWithVoids::CoordIndex]);
    faces_.body.beginLoop();
    addCorners();
    if (hasHoles)
        readHoles(face);
}

void FaceSetReader::readHoles(const Record& face) {
    const Vector3 outer = cornersArea();
    ValueReader holes = face.list(IfcIndexedPolygonalFaceWithVoids::InnerCoordIndices);
    for (Value hole; holes.next(hole);) {
        readCorners(face, hole);
        if (dot(cornersArea(), outer) > 0.0)
            std::reverse(corners_.begin(), corners_.end());
        faces_.body.beginHole();
        addCorners();
    }
}

Vector3 FaceSetReader::cornersArea() const {
    Loop loop;
    for (const std::uint32_t corner : corners_)
        loop.push_back(points_.point(corner));
    return doubleAreaVector(loop);
}

} // namespace

Faces readShell(IfcContext& context, const Instance& instance) {
    const Record shell(context, instance);
    if (shell.entity() != Entity::ClosedShell && shell.entity() != Entity::OpenShell &&
        shell.entity() != Entity::ConnectedFaceSet)
        shell.fail("is used where a shell is expected");
    Faces faces;
    PointIndex index(context, faces.body.points);
    ValueReader list = shell.list(IfcConnectedFaceSet::CfsFaces);
    for (Value value; list.next(value);)
        readFace(context, shell.resolve(value), index, faces);
    return faces;
}

Faces readTessellation(IfcContext& context, const Instance& instance) {
    const Record set(context, instance);
    FaceSetReader reader(context, set);
    return set.entity() == Entity::PolygonalFaceSet ? reader.readPolygons() : reader.readTriangles();
}

} // namespace importer::ifc
