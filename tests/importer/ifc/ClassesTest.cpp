#include "importer/ifc/Classes.h"

#include "importer/ifc/ReaderSupport.h"

namespace velmor_tests {

using namespace importer::ifc;

namespace {

using Velmor::AttributeClassIFC_e;

TEST(Classes, FindsEveryClassByName) {
    for (std::uint32_t value = 0; value < 243; ++value) {
        char name[64];
        Velmor::ReferenceObjectClass::asString(static_cast<AttributeClassIFC_e>(value), name, sizeof(name));
        const std::uint32_t expected = value == 195 ? 194 : value; // these two have the same name
        EXPECT_EQ(classNamed(name), static_cast<AttributeClassIFC_e>(expected)) << name;
    }
}

TEST(Classes, ReturnsInvalidForOtherNames) {
    for (const char* name : {"", "IFC", "IFCWAL", "IFCWALLS", "ifcwall", "IFCRAILWAYPART", "cadmatic", "DGNCELL"})
        EXPECT_EQ(classNamed(name), AttributeClassIFC_e::IFCINVALID) << name;
}

TEST(Classes, ProductHasTheClassOfItsEntity) {
    const std::pair<const char*, AttributeClassIFC_e> cases[] = {
        {"IFCBEAM", AttributeClassIFC_e::IFCBEAM},
        {"IFCWALLSTANDARDCASE", AttributeClassIFC_e::IFCWALLSTANDARDCASE},
        {"IFCSPACE", AttributeClassIFC_e::IFCSPACE},
        {"IFCALIGNMENT", AttributeClassIFC_e::IFCALIGNMENT},
        {"IFCSENSOR", AttributeClassIFC_e::IFCSENSOR},
        {"IFCWATERSTRATUM", AttributeClassIFC_e::IFCWATERSTRATUM},
        {"IFCRAILWAYPART", AttributeClassIFC_e::IFCINVALID},
    };
    for (const auto& [entity, objectClass] : cases) {
        const Product product = onlyProduct(readData("#10=" + std::string(entity) + "('x',$,$,$,$,$,$);\n"));
        EXPECT_EQ(product.objectClass, objectClass) << entity;
        EXPECT_EQ(product.className, entity);
    }
}

} // namespace
} // namespace velmor_tests
