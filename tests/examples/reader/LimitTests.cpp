// Small texts that describe shapes of any size, or take any time.

#include "ReaderSupport.h"

#include <chrono>
#include <string>

namespace importer {
namespace {

using namespace importer::testing;

Taken readWithin(const Limits& limits, const std::string& data) {
    const StepFile file = fileOf(stepFile(inMetres + data));
    Taken taken;
    readProducts(file, limits, taken);
    return taken;
}

/// Mapped items that map two mapped items each, and so on: 2 to the power of 40 blocks.
std::string doubling() {
    std::string data = "#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#8,1.,$);\n#20=IFCMAPPEDITEM(#1000,#50);\n";
    for (int level = 0; level < 40; ++level) {
        const int base = 1000 + 10 * level;
        const std::string next = std::to_string(base + 10);
        data += "#" + std::to_string(base) + "=IFCREPRESENTATIONMAP(#9,#" + std::to_string(base + 1) + ");\n#" +
                std::to_string(base + 1) + "=IFCSHAPEREPRESENTATION($,'Body','any',(#" + std::to_string(base + 2) + ",#" +
                std::to_string(base + 3) + "));\n";
        for (int i = 2; i < 4; ++i)
            data += "#" + std::to_string(base + i) +
                    (level == 39 ? "=IFCBLOCK(#9,1.,1.,1.);\n" : "=IFCMAPPEDITEM(#" + next + ",#50);\n");
    }
    return data;
}

TEST(Limits, AnExponentialFanOutEndsSoonAndIsTold) {
    const auto begin = std::chrono::steady_clock::now();
    const Taken taken =
        readData(beamOf("#20") + doubling() + "#11000=IFCWALL('x',$,$,$,$,$,#11);\n#12000=IFCSLAB('y',$,$,$,$,$,$);\n");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
    ASSERT_EQ(taken.products.size(), 3u) << "the import goes on";
    for (const Product& product : taken.products) {
        EXPECT_EQ(product.shape, Shape::None);
        EXPECT_TRUE(product.vertexes.empty());
    }
    ASSERT_EQ(taken.problems.size(), 2u) << taken.reasons();
    EXPECT_EQ(taken.problems[0].instance, 10u);
    EXPECT_NE(taken.problems[0].reason.find("one product of a file of this size may"), std::string::npos);
    EXPECT_EQ(taken.problems[1].instance, 11000u);
}

TEST(Limits, TheWorkOfAllProductsTogetherIsBoundedToo) {
    std::string data = beamOf("#20") + doubling();
    for (int i = 0; i < 20; ++i)
        data += "#" + std::to_string(20000 + i) + "=IFCWALL('x',$,$,$,$,$,#11);\n";
    const Taken taken = readWithin({1 << 20, 1 << 18, 1 << 20}, data);
    EXPECT_EQ(taken.products.size(), 21u);
    ASSERT_EQ(taken.problems.size(), 21u);
    EXPECT_NE(taken.problems.front().reason.find("one product"), std::string::npos);
    EXPECT_NE(taken.problems.back().reason.find("the shapes of the file take more work"), std::string::npos);
}

TEST(Limits, VerticesOfAProductAreBounded) {
    const std::string disk =
        "#30=IFCPOLYLINE((#8,#31));\n#31=IFCCARTESIANPOINT((2.,0.,0.));\n#20=IFCSWEPTDISKSOLID(#30,0.5,$,$,$);\n";
    EXPECT_EQ(readWithin({127, 1 << 20, 1 << 20}, beamOf("#20") + disk).products.at(0).shape, Shape::None);
    EXPECT_NE(readWithin({127, 1 << 20, 1 << 20}, beamOf("#20") + disk).reasons().find("more vertices"), std::string::npos);
    EXPECT_EQ(readWithin({128, 1 << 20, 1 << 20}, beamOf("#20") + disk).products.at(0).shape, Shape::Solid);
}

TEST(Limits, ItemsThatContainThemselvesAreTold) {
    const std::string map = "#20=IFCMAPPEDITEM(#40,#50);\n#40=IFCREPRESENTATIONMAP(#9,#41);\n"
                            "#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#8,1.,$);\n#30=IFCBLOCK(#9,1.,1.,1.);\n";
    const Taken taken = readData(beamOf("#20") + map + "#41=IFCSHAPEREPRESENTATION($,'Body','any',(#30,#20));\n");
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].shape, Shape::Points) << "the block counts";
    EXPECT_EQ(taken.reasons(), "IFCMAPPEDITEM: contains itself (in IFCBEAM #10)\n");
    const Taken set = readData(beamOf("#20") + "#20=IFCGEOMETRICSET((#20,#8));\n");
    EXPECT_EQ(set.reasons(), "IFCGEOMETRICSET: contains itself (in IFCBEAM #10)\n");
}

TEST(Limits, DeepNestingIsTold) {
    const auto sets = [](int depth) {
        std::string data;
        for (int i = 0; i < depth; ++i)
            data += "#" + std::to_string(100 + i) + "=IFCGEOMETRICSET((#" + std::to_string(101 + i) + "));\n";
        return data + "#" + std::to_string(100 + depth) + "=IFCCARTESIANPOINT((1.,2.,3.));\n";
    };
    EXPECT_EQ(onlyProduct(readData(beamOf("#100") + sets(60))).shape, Shape::Points);
    const Taken deep = readData(beamOf("#100") + sets(100000));
    EXPECT_NE(deep.reasons().find("lies within more than 64 others"), std::string::npos);
}

TEST(Limits, ChainsOfPlacementsOfAllProductsTogetherAreBounded) {
    std::string data = "#5=IFCCARTESIANPOINT((0.,0.,0.));\n#6=IFCAXIS2PLACEMENT3D(#5,$,$);\n#100=IFCLOCALPLACEMENT($,#6);\n";
    for (int i = 1; i < 5000; ++i)
        data += "#" + std::to_string(100 + i) + "=IFCLOCALPLACEMENT(#" + std::to_string(99 + i) + ",#6);\n#" +
                std::to_string(10000 + i) + "=IFCWALL($,$,$,$,$,#" + std::to_string(100 + i) + ",$);\n";
    const Taken taken = readData(data);
    EXPECT_EQ(taken.products.size(), 4999u);
    EXPECT_EQ(taken.problems.size(), 4999u - 255u) << "256 placements are a chain, more are too many";
}

/// Reads a text that may well be refused.
void readOrRefuse(const std::string& text) {
    try {
        readText(text);
    } catch (const ModelError& error) {
        EXPECT_NE(std::string(error.what()).find("expected"), std::string::npos);
    }
}

TEST(Limits, LongListsAndTextsAreReadOnce) {
    // Quadratic behaviour would take hours.
    const std::size_t size = 4000000;
    const auto begin = std::chrono::steady_clock::now();
    for (const std::string& hostile :
         {std::string(size, '('), std::string(size, ','), std::string(size, '\''), std::string(size, '/'),
          std::string(size, '#'), std::string(size, '"'), std::string(size, '.')}) {
        EXPECT_THROW(fileOf("ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;#1=IFCWALL(" + hostile), ModelError);
        readOrRefuse(stepFile("#1=IFCWALL(" + hostile + ");\n"));
        readOrRefuse(stepFile("#1=IFCWALL((" + hostile + "));\n"));
        readOrRefuse(stepFile("#1=IFCWALL('" + hostile + "');\n"));
        readOrRefuse(stepFile(hostile + ";\n"));
    }
    std::string pieces;
    for (std::size_t i = 0; i < size / 8; ++i)
        pieces += "\\S\\''/*'";
    readOrRefuse(stepFile("#1=IFCWALL('" + pieces + "');\n';"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(120));
}

} // namespace
} // namespace importer
