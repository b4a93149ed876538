#include "importer/ifc/shape/RepresentationReader.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Attributes.h"
#include "importer/ifc/shape/Curves.h"
#include "importer/ifc/shape/Sweeps.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

// Every item adds its vertices, transformed to world coordinates. As long as all items are closed solids, their volumes,
// first moments and triangles are added up too; the voids of a boundary representation count negatively. After the first
// item that is not a closed solid, only vertices are added (solid_ is then false).
//
// A table maps the entity of an item to the member function that reads it. Mapped items, boolean results and sets contain
// further items; RecursionGuard bounds the depth.

namespace importer::ifc {

using namespace attribute;

namespace {

// A coordinate above this, in meters, is considered an error of the file.
constexpr double maxCoordinate = 1e12;

// Maximum number of corners to visit for the triangulation of one body, and how many of them are charged as one byte of
// work.
constexpr std::uint64_t maxTriangulationWork = 50000000;
constexpr std::uint64_t cornersPerWork = 8;

constexpr int maxBooleanChain = 10000;

bool isBoolean(Entity entity) {
    return entity == Entity::BooleanResult || entity == Entity::BooleanClippingResult;
}

} // namespace

constexpr RepresentationReader::ItemReader RepresentationReader::itemReaders[] = {
    {Entity::FacetedBrep, &RepresentationReader::readBrep},
    {Entity::AdvancedBrep, &RepresentationReader::readBrep},
    {Entity::FacetedBrepWithVoids, &RepresentationReader::readBrepWithVoids},
    {Entity::AdvancedBrepWithVoids, &RepresentationReader::readBrepWithVoids},
    {Entity::FaceBasedSurfaceModel, &RepresentationReader::readFaceBasedModel},
    {Entity::ShellBasedSurfaceModel, &RepresentationReader::readShellBasedModel},
    {Entity::ClosedShell, &RepresentationReader::readShellItem},
    {Entity::OpenShell, &RepresentationReader::readShellItem},
    {Entity::ConnectedFaceSet, &RepresentationReader::readShellItem},
    {Entity::TriangulatedFaceSet, &RepresentationReader::readFaceSet},
    {Entity::TriangulatedIrregularNetwork, &RepresentationReader::readFaceSet},
    {Entity::PolygonalFaceSet, &RepresentationReader::readFaceSet},
    {Entity::MappedItem, &RepresentationReader::readMappedItem},
    {Entity::CsgSolid, &RepresentationReader::readCsgSolid},
    {Entity::BooleanResult, &RepresentationReader::readBoolean},
    {Entity::BooleanClippingResult, &RepresentationReader::readBoolean},
    {Entity::GeometricSet, &RepresentationReader::readGeometricSet},
    {Entity::GeometricCurveSet, &RepresentationReader::readGeometricSet},
    {Entity::BoundingBox, &RepresentationReader::readBoundingBox},
    {Entity::SurfaceOfLinearExtrusion, &RepresentationReader::readExtrudedSurface},
    {Entity::CurveBoundedPlane, &RepresentationReader::readBoundedPlane},
    {Entity::CartesianPoint, &RepresentationReader::readPointItem},
    {Entity::VertexPoint, &RepresentationReader::readVertex},
};

// Null for an entity that is not supported.
RepresentationReader::ReadItem RepresentationReader::readerOf(Entity entity) {
    const ItemReader* const reader = std::find_if(std::begin(itemReaders), std::end(itemReaders),
                                                  [entity](const ItemReader& each) { return each.entity == entity; });
    return reader == std::end(itemReaders) ? nullptr : reader->read;
}

void RepresentationReader::read(const Instance& representation, const Transform& toWorld) {
    context_.attemptPart([&] { readItems(Record(context_, representation), IfcShapeRepresentation::Items, toWorld); });
}

void RepresentationReader::finish(bool mayBeSolid) {
    if (product_.vertices.empty())
        return;
    const double volume = product_.volume;
    const bool measured = solid_ && mayBeSolid && volume > 0.0 && std::isfinite(volume) && std::isfinite(length(moment_));
    product_.shape = measured ? Shape::Solid : Shape::Points;
    product_.volume = measured ? volume : 0.0;
    if (!measured || !triangulated_)
        product_.triangles = {};
    const Vector3 centroid = measured ? moment_ * (1.0 / volume) : Vector3();
    product_.centroid[0] = centroid.x;
    product_.centroid[1] = centroid.y;
    product_.centroid[2] = centroid.z;
}

void RepresentationReader::readItems(const Record& record, std::size_t index, const Transform& toWorld) {
    ValueReader list = record.list(index);
    for (Value value; list.next(value);) {
        if (!context_.attemptPart([&] { readItem(record.resolve(value), toWorld); }))
            solid_ = false;
    }
}

void RepresentationReader::readItem(const Instance& instance, const Transform& toWorld) {
    if (isCurve(entityOf(instance)))
        return addPoints(instance, readCurve(context_, instance), toWorld);
    const RecursionGuard guard(context_, instance);
    if (isSweep(entityOf(instance)))
        return addSolid(instance, readSweep(context_, instance), toWorld);
    const Record record(context_, instance);
    const ReadItem reader = readerOf(record.entity());
    if (!reader)
        record.fail("this kind of item is not supported");
    (this->*reader)(record, toWorld);
}

void RepresentationReader::readBrep(const Record& record, const Transform& toWorld) {
    addFaces(record.instance(), readShell(context_, record.reference(IfcManifoldSolidBrep::Outer)), toWorld);
}

void RepresentationReader::readBrepWithVoids(const Record& record, const Transform& toWorld) {
    readBrep(record, toWorld);
    for (const Instance* const voidShell : record.references(IfcFacetedBrepWithVoids::Voids)) {
        const Faces faces = readShell(context_, *voidShell);
        solid_ &= faces.plane;
        addSolid(*voidShell, faces.body, toWorld, -1.0);
    }
}

void RepresentationReader::readFaceBasedModel(const Record& record, const Transform& toWorld) {
    readShells(record.references(IfcFaceBasedSurfaceModel::FbsmFaces), toWorld);
}

void RepresentationReader::readShellBasedModel(const Record& record, const Transform& toWorld) {
    readShells(record.references(IfcShellBasedSurfaceModel::SbsmBoundary), toWorld);
}

void RepresentationReader::readShells(const std::vector<const Instance*>& shells, const Transform& toWorld) {
    for (const Instance* const shell : shells)
        addFaces(*shell, readShell(context_, *shell), toWorld);
}

void RepresentationReader::readShellItem(const Record& record, const Transform& toWorld) {
    addFaces(record.instance(), readShell(context_, record.instance()), toWorld);
}

void RepresentationReader::readFaceSet(const Record& record, const Transform& toWorld) {
    addFaces(record.instance(), readTessellation(context_, record.instance()), toWorld);
}

void RepresentationReader::readMappedItem(const Record& record, const Transform& toWorld) {
    const Record map(context_, record.reference(IfcMappedItem::MappingSource));
    if (map.entity() != Entity::RepresentationMap)
        map.fail("is used where an IFCREPRESENTATIONMAP is expected");
    const Transform target = readOperator(context_, record.reference(IfcMappedItem::MappingTarget));
    const Transform origin = readAxisPlacement(context_, map.reference(IfcRepresentationMap::MappingOrigin));
    const Record representation(context_, map.reference(IfcRepresentationMap::MappedRepresentation));
    readItems(representation, IfcShapeRepresentation::Items, toWorld * target * origin);
}

void RepresentationReader::readCsgSolid(const Record& record, const Transform& toWorld) {
    readItem(record.reference(IfcCsgSolid::TreeRootExpression), toWorld);
}

void RepresentationReader::readBoolean(const Record& record, const Transform& toWorld) {
    solid_ = false;
    // Many cuts of one body form a long chain of first operands. A loop follows it, since recursion is bounded.
    const Instance* operand = &record.instance();
    for (int steps = 0;; ++steps) {
        if (steps == maxBooleanChain)
            record.fail("its chain of first operands has more than " + std::to_string(maxBooleanChain) + " members");
        const Record result(context_, *operand);
        if (!isBoolean(result.entity()))
            break;
        operand = &result.reference(IfcBooleanResult::FirstOperand);
    }
    readItem(*operand, toWorld);
}

void RepresentationReader::readGeometricSet(const Record& record, const Transform& toWorld) {
    readItems(record, IfcGeometricSet::Elements, toWorld);
}

void RepresentationReader::readBoundingBox(const Record& record, const Transform& toWorld) {
    const Vector3 corner = readPoint(context_, record.reference(IfcBoundingBox::Corner));
    const Vector3 size{record.positive(IfcBoundingBox::XDim), record.positive(IfcBoundingBox::YDim),
                       record.positive(IfcBoundingBox::ZDim)};
    std::vector<Vector3> points;
    points.reserve(8);
    for (int i = 0; i < 8; ++i)
        points.push_back(corner + Vector3{i & 1 ? size.x : 0.0, i & 2 ? size.y : 0.0, i & 4 ? size.z : 0.0});
    addPoints(record.instance(), points, toWorld);
}

void RepresentationReader::readExtrudedSurface(const Record& record, const Transform& toWorld) {
    const Record profile(context_, record.reference(IfcSurfaceOfLinearExtrusion::SweptCurve));
    std::size_t curve = IfcArbitraryOpenProfileDef::Curve;
    if (profile.entity() == Entity::ArbitraryClosedProfileDef)
        curve = IfcArbitraryClosedProfileDef::OuterCurve;
    else if (profile.entity() != Entity::ArbitraryOpenProfileDef)
        profile.fail("this kind of swept curve is not supported");
    const std::vector<Vector3> points = readCurve(context_, profile.reference(curve));
    const Vector3 shift = readDirection(context_, record.reference(IfcSurfaceOfLinearExtrusion::ExtrudedDirection)) *
                          record.positive(IfcSurfaceOfLinearExtrusion::Depth);
    const Transform position = readAxisPlacement(context_, record.optionalReference(IfcSurfaceOfLinearExtrusion::Position));
    addPoints(record.instance(), points, toWorld * position);
    addPoints(record.instance(), points, toWorld * position * Transform::translation(shift));
}

void RepresentationReader::readBoundedPlane(const Record& record, const Transform& toWorld) {
    const Record plane(context_, record.reference(IfcCurveBoundedPlane::BasisSurface));
    if (plane.entity() != Entity::Plane)
        plane.fail("this kind of surface is not supported");
    const Transform position = readAxisPlacement(context_, plane.reference(IfcPlane::Position));
    addPoints(record.instance(), readClosedCurve(context_, record.reference(IfcCurveBoundedPlane::OuterBoundary)),
              toWorld * position);
}

void RepresentationReader::readPointItem(const Record& record, const Transform& toWorld) {
    addPoints(record.instance(), {readPoint(context_, record.instance())}, toWorld);
}

void RepresentationReader::readVertex(const Record& record, const Transform& toWorld) {
    addPoints(record.instance(), {readPoint(context_, record.reference(IfcVertexPoint::VertexGeometry))}, toWorld);
}

void RepresentationReader::addFaces(const Instance& instance, const Faces& faces, const Transform& toWorld) {
    solid_ &= faces.plane;
    addSolid(instance, faces.body, toWorld);
}

// Adds a body that may be a closed solid.
// @param sign -1 for a void, whose volume is subtracted.
void RepresentationReader::addSolid(const Instance& instance, const Polyhedron& body, const Transform& toWorld,
                                    double sign) {
    const std::vector<Vector3> moved = addVertices(instance, body.points, toWorld);
    if (solid_)
        context_.chargeCorners(body.cornerCount());
    solid_ = solid_ && body.isClosed();
    if (!solid_)
        return;
    const Polyhedron::Measure measure = body.measure(moved);
    product_.volume += sign * measure.volume;
    moment_ = moment_ + measure.centroid * (sign * measure.volume);
    addTriangles(instance, body, moved, measure.insideOut != (sign < 0.0));
}

// Adds the triangles of the body whose vertices were added last.
// @param turned whether the triangles run clockwise seen from outside the solid and must be reversed.
void RepresentationReader::addTriangles(const Instance& instance, const Polyhedron& body, const std::vector<Vector3>& moved,
                                        bool turned) {
    std::vector<std::uint32_t> triangles;
    std::uint64_t work = maxTriangulationWork;
    const bool complete = body.triangulate(moved, triangles, work);
    context_.charge((maxTriangulationWork - work) / cornersPerWork);
    if (!complete) {
        context_.note(instance, "has faces with too many corners to be cut into triangles; its solid is not exported");
        triangulated_ = false;
        return;
    }
    const auto first = static_cast<std::uint32_t>(product_.vertices.size() / 3 - moved.size());
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        if (turned)
            std::swap(triangles[i], triangles[i + 1]);
        for (std::size_t corner = i; corner < i + 3; ++corner)
            product_.triangles.push_back(first + triangles[corner]);
    }
}

// Adds points that do not form a solid.
void RepresentationReader::addPoints(const Instance& instance, const std::vector<Vector3>& points,
                                     const Transform& toWorld) {
    solid_ = false;
    addVertices(instance, points, toWorld);
}

// Returns the points in world coordinates. All of them are checked before one is added.
std::vector<Vector3> RepresentationReader::addVertices(const Instance& instance, const std::vector<Vector3>& points,
                                                       const Transform& toWorld) {
    if (points.empty())
        throw EntityError{&instance, "has no points"};
    context_.chargePointsOfList(product_.vertices.size() / 3, points.size());
    std::vector<Vector3> moved;
    moved.reserve(points.size());
    for (const Vector3& point : points) {
        const Vector3 at = toWorld.point(point);
        if (!(std::fabs(at.x) <= maxCoordinate && std::fabs(at.y) <= maxCoordinate && std::fabs(at.z) <= maxCoordinate))
            throw EntityError{&instance, "has points more than " + std::to_string(static_cast<long long>(maxCoordinate)) +
                                             " m from the origin"};
        moved.push_back(at);
    }
    for (const Vector3& at : moved)
        product_.vertices.insert(product_.vertices.end(), {at.x, at.y, at.z});
    return moved;
}

} // namespace importer::ifc
