#include "importer/ifc/shape/Shape.h"

#include "importer/ifc/shape/Attributes.h"
#include "importer/ifc/shape/RepresentationReader.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A product has several representations. They are ranked by their identifiers (table below, the lower the better) and tried
// in the order of their ranks, representations of equal rank in the order of the file. The first one with a vertex is used.

namespace importer::ifc {

using namespace attribute;

namespace {

struct Rank {
    std::string_view identifier; // in capitals
    int rank;
};

constexpr int firstPlaceOnly = 10; // from this rank on, a representation describes the place of the product, not its form

constexpr Rank ranks[] = {{"BODY", 0},    {"FACETATION", 1}, {"TESSELLATION", 1},  {"BODY-FALLBACK", 2},
                          {"SURFACE", 3}, {"REFERENCE", 4},  {"MESH", 4},          {"", 5},
                          {"BOX", 10},    {"PROFILE", 11},   {"SURVEYPOINTS", 11}, {"FOOTPRINT", 12},
                          {"PLAN", 12},   {"BOUNDARY", 12},  {"AXIS", 13}};

constexpr int otherRank = 14;

int rankOf(const Record& representation) {
    const Value& identifier = representation[IfcShapeRepresentation::RepresentationIdentifier];
    const std::string name = capitals(identifier.kind == ValueKind::Text ? identifier.text : std::string_view());
    const Rank* const found =
        std::find_if(std::begin(ranks), std::end(ranks), [&](const Rank& rank) { return rank.identifier == name; });
    return found == std::end(ranks) ? otherRank : found->rank;
}

} // namespace

void readShape(IfcContext& context, const Instance& productShape, const Transform& toWorld, Product& product) {
    const Record shape(context, productShape);
    if (shape.entity() != Entity::ProductDefinitionShape)
        shape.fail("is used where an IFCPRODUCTDEFINITIONSHAPE is expected");
    std::vector<std::pair<int, const Instance*>> representations;
    for (const Instance* const instance : shape.references(IfcProductDefinitionShape::Representations))
        representations.emplace_back(rankOf(Record(context, *instance)), instance);
    std::stable_sort(representations.begin(), representations.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [rank, instance] : representations) {
        RepresentationReader reader(context, product);
        reader.read(*instance, toWorld);
        reader.finish(rank < firstPlaceOnly);
        if (product.shape != Shape::None)
            return;
    }
}

} // namespace importer::ifc
