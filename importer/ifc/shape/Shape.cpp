#include "importer/ifc/shape/Shape.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/shape/Curves.h"
#include "importer/ifc/shape/Faces.h"
#include "importer/ifc/shape/Profiles.h"
#include "importer/ifc/shape/Sweeps.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

namespace importer::ifc {

namespace {

/// Nothing that is built is farther from the origin, in metres; beyond that a number is a mistake.
constexpr double farthest = 1e12;

/// How well representations describe a product's form, by their identifiers: the lower the better.
struct Rank {
    std::string_view identifier;
    int rank;
};

constexpr int firstPlaceOnly = 10; // from here on they tell where the product is, not its form

constexpr Rank ranks[] = {{"BODY", 0},    {"FACETATION", 1}, {"TESSELLATION", 1},  {"BODY-FALLBACK", 2},
                          {"SURFACE", 3}, {"REFERENCE", 4},  {"MESH", 4},          {"", 5},
                          {"BOX", 10},    {"PROFILE", 11},   {"SURVEYPOINTS", 11}, {"FOOTPRINT", 12},
                          {"PLAN", 12},   {"BOUNDARY", 12},  {"AXIS", 13}};

constexpr int otherRank = 14;

/// What cutting one body into triangles may cost, and how many corners looked at count as a byte of work.
constexpr std::uint64_t mostTriangulation = 50000000;
constexpr std::uint64_t cornersPerWork = 8;

/// Collects the items of one representation.
class ShapeReader {
public:
    ShapeReader(IfcContext& context, Product& product) : context_(context), product_(product) {}

    /// Reads a list of items. One that cannot be read is noted, and the others go on.
    void readItems(const Record& record, std::size_t index, const Transform& toWorld);

    /// Ends the representation: what of the product carries data.
    void finish(bool mayBeSolid);

private:
    void readItem(const Instance& instance, const Transform& toWorld);
    void readBrep(const Record& record, const Transform& toWorld);
    void readMappedItem(const Record& record, const Transform& toWorld);
    void readBoolean(const Record& record, const Transform& toWorld);
    void readBoundingBox(const Record& record, const Transform& toWorld);
    void readExtrudedSurface(const Record& record, const Transform& toWorld);
    void addFaces(const Instance& instance, const Faces& faces, const Transform& toWorld);
    void addSolid(const Instance& instance, const Polyhedron& body, const Transform& toWorld, double sign = 1.0);
    void addTriangles(const Instance& instance, const Polyhedron& body, const std::vector<Vector3>& moved, bool turned);
    void addPoints(const Instance& instance, const std::vector<Vector3>& points, const Transform& toWorld);
    std::vector<Vector3> addVertexes(const Instance& instance, const std::vector<Vector3>& points, const Transform& toWorld);

    IfcContext& context_;
    Product& product_;
    bool solid_ = true;
    bool triangulated_ = true; // all of the solid
    Vector3 moment_;
};

void ShapeReader::readItems(const Record& record, std::size_t index, const Transform& toWorld) {
    ValueReader list = record.list(index);
    for (Value value; list.next(value);) {
        try {
            readItem(record.resolve(value), toWorld);
        } catch (const EntityError& fault) {
            context_.note(*fault.instance, fault.reason);
            solid_ = false;
        }
    }
}

void ShapeReader::finish(bool mayBeSolid) {
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

void ShapeReader::readItem(const Instance& instance, const Transform& toWorld) {
    if (isCurve(entityOf(instance)))
        return addPoints(instance, readCurve(context_, instance), toWorld);
    const RecursionGuard nesting(context_, instance);
    if (isSweep(entityOf(instance)))
        return addSolid(instance, readSweep(context_, instance), toWorld);
    const Record record(context_, instance);
    switch (record.entity()) {
    case Entity::FacetedBrep:
    case Entity::AdvancedBrep:
    case Entity::FacetedBrepWithVoids:
    case Entity::AdvancedBrepWithVoids:
        return readBrep(record, toWorld);
    case Entity::FaceBasedSurfaceModel:
    case Entity::ShellBasedSurfaceModel:
        for (const Instance* shell : record.references(0))
            addFaces(*shell, readShell(context_, *shell), toWorld);
        return;
    case Entity::ClosedShell:
    case Entity::OpenShell:
    case Entity::ConnectedFaceSet:
        return addFaces(instance, readShell(context_, instance), toWorld);
    case Entity::TriangulatedFaceSet:
    case Entity::TriangulatedIrregularNetwork:
    case Entity::PolygonalFaceSet:
        return addFaces(instance, readTessellation(context_, instance), toWorld);
    case Entity::MappedItem:
        return readMappedItem(record, toWorld);
    case Entity::CsgSolid:
        return readItem(record.reference(0), toWorld);
    case Entity::BooleanResult:
    case Entity::BooleanClippingResult:
        return readBoolean(record, toWorld);
    case Entity::GeometricSet:
    case Entity::GeometricCurveSet:
        return readItems(record, 0, toWorld);
    case Entity::BoundingBox:
        return readBoundingBox(record, toWorld);
    case Entity::SurfaceOfLinearExtrusion:
        return readExtrudedSurface(record, toWorld);
    case Entity::CurveBoundedPlane: {
        const Record plane(context_, record.reference(0));
        if (plane.entity() != Entity::Plane)
            plane.fail("this kind of surface is not supported");
        const Transform position = readAxisPlacement(context_, plane.reference(0));
        return addPoints(instance, readClosedCurve(context_, record.reference(1)), toWorld * position);
    }
    case Entity::CartesianPoint:
        return addPoints(instance, {readPoint(context_, instance)}, toWorld);
    case Entity::VertexPoint:
        return addPoints(instance, {readPoint(context_, record.reference(0))}, toWorld);
    default:
        record.fail("this kind of item is not supported");
    }
}

void ShapeReader::readBrep(const Record& record, const Transform& toWorld) {
    addFaces(record.instance(), readShell(context_, record.reference(0)), toWorld);
    if (record.entity() != Entity::FacetedBrepWithVoids && record.entity() != Entity::AdvancedBrepWithVoids)
        return;
    for (const Instance* hollow : record.references(1)) {
        const Faces faces = readShell(context_, *hollow);
        solid_ &= faces.plane;
        addSolid(*hollow, faces.body, toWorld, -1.0);
    }
}

void ShapeReader::readMappedItem(const Record& record, const Transform& toWorld) {
    const Record map(context_, record.reference(0));
    if (map.entity() != Entity::RepresentationMap)
        map.fail("stands where an IFCREPRESENTATIONMAP is expected");
    const Transform target = readOperator(context_, record.reference(1));
    const Transform origin = readAxisPlacement(context_, map.reference(0));
    const Record representation(context_, map.reference(1));
    readItems(representation, 3, toWorld * target * origin);
}

void ShapeReader::readBoolean(const Record& record, const Transform& toWorld) {
    solid_ = false;
    // The first operand stands for the result, of a union too. Cuts follow each other in long chains, so those are no
    // nesting.
    constexpr int longest = 10000;
    const Instance* operand = &record.instance();
    for (int steps = 0;; ++steps) {
        if (steps == longest)
            record.fail("its first operands do not end within " + std::to_string(longest) + " steps");
        const Record result(context_, *operand);
        if (result.entity() != Entity::BooleanResult && result.entity() != Entity::BooleanClippingResult)
            break;
        operand = &result.reference(1);
    }
    readItem(*operand, toWorld);
}

void ShapeReader::readBoundingBox(const Record& record, const Transform& toWorld) {
    const Vector3 corner = readPoint(context_, record.reference(0));
    const Vector3 size{record.positive(1), record.positive(2), record.positive(3)};
    std::vector<Vector3> points;
    points.reserve(8);
    for (int i = 0; i < 8; ++i)
        points.push_back(corner + Vector3{i & 1 ? size.x : 0.0, i & 2 ? size.y : 0.0, i & 4 ? size.z : 0.0});
    addPoints(record.instance(), points, toWorld);
}

void ShapeReader::readExtrudedSurface(const Record& record, const Transform& toWorld) {
    const Record profile(context_, record.reference(0));
    if (profile.entity() != Entity::ArbitraryOpenProfileDef && profile.entity() != Entity::ArbitraryClosedProfileDef)
        profile.fail("this kind of swept curve is not supported");
    std::vector<Vector3> points = readCurve(context_, profile.reference(2));
    const Vector3 way = readDirection(context_, record.reference(2)) * record.positive(3);
    const Transform position = readAxisPlacement(context_, record.optionalReference(1));
    addPoints(record.instance(), points, toWorld * position);
    addPoints(record.instance(), points, toWorld * position * Transform::translation(way));
}

void ShapeReader::addFaces(const Instance& instance, const Faces& faces, const Transform& toWorld) {
    solid_ &= faces.plane;
    addSolid(instance, faces.body, toWorld);
}

void ShapeReader::addSolid(const Instance& instance, const Polyhedron& body, const Transform& toWorld, double sign) {
    const std::vector<Vector3> moved = addVertexes(instance, body.points, toWorld);
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

void ShapeReader::addTriangles(const Instance& instance, const Polyhedron& body, const std::vector<Vector3>& moved,
                               bool turned) {
    std::vector<std::uint32_t> triangles;
    std::uint64_t work = mostTriangulation;
    const bool cut = body.triangulate(moved, triangles, work);
    context_.charge((mostTriangulation - work) / cornersPerWork);
    if (!cut) {
        context_.note(instance, "has faces with too many corners to be cut into triangles; its solid is not handed over");
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

void ShapeReader::addPoints(const Instance& instance, const std::vector<Vector3>& points, const Transform& toWorld) {
    solid_ = false;
    addVertexes(instance, points, toWorld);
}

std::vector<Vector3> ShapeReader::addVertexes(const Instance& instance, const std::vector<Vector3>& points,
                                              const Transform& toWorld) {
    if (points.empty())
        throw EntityError{&instance, "has no points"};
    context_.chargePoints(points.size());
    if (product_.vertices.size() / 3 + points.size() > context_.limits.verticesPerProduct)
        throw LimitExceeded{"the shape has more vertices than one product of a file of this size may have"};
    std::vector<Vector3> moved;
    moved.reserve(points.size());
    for (const Vector3& point : points) {
        const Vector3 at = toWorld.point(point);
        if (!(std::fabs(at.x) <= farthest && std::fabs(at.y) <= farthest && std::fabs(at.z) <= farthest))
            throw EntityError{&instance,
                              "has points farther than " + std::to_string(static_cast<long long>(farthest)) + " m away"};
        moved.push_back(at);
    }
    for (const Vector3& at : moved)
        product_.vertices.insert(product_.vertices.end(), {at.x, at.y, at.z});
    return moved;
}

int rankOf(const Record& representation) {
    const Value& identifier = representation[1];
    const std::string name = capitals(identifier.kind == ValueKind::Text ? identifier.text : std::string_view());
    const auto* found =
        std::find_if(std::begin(ranks), std::end(ranks), [&](const Rank& rank) { return rank.identifier == name; });
    return found == std::end(ranks) ? otherRank : found->rank;
}

} // namespace

void readShape(IfcContext& context, const Instance& productShape, const Transform& toWorld, Product& product) {
    const Record shape(context, productShape);
    if (shape.entity() != Entity::ProductDefinitionShape)
        shape.fail("stands where an IFCPRODUCTDEFINITIONSHAPE is expected");
    std::vector<std::pair<int, const Instance*>> representations;
    for (const Instance* instance : shape.references(2))
        representations.emplace_back(rankOf(Record(context, *instance)), instance);
    std::stable_sort(representations.begin(), representations.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [rank, instance] : representations) {
        ShapeReader reader(context, product);
        try {
            reader.readItems(Record(context, *instance), 3, toWorld);
        } catch (const EntityError& fault) {
            context.note(*fault.instance, fault.reason);
        }
        reader.finish(rank < firstPlaceOnly);
        if (product.shape != Shape::None)
            return;
    }
}

} // namespace importer::ifc
