// Small texts that describe shapes of any size, or that would take any time to read. Without a limit, or in quadratic time,
// reading one takes hours: the time limit of the suite ends it, and no test measures time.

#include "importer/ifc/ReaderSupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// Mapped items that map two further mapped items each, 40 levels deep: 2^40 blocks.
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

TEST(Limits, EndsExponentialNestingSoonAndReportsIt) {
    const Taken taken =
        readData(beamOf("#20") + doubling() + "#11000=IFCWALL('x',$,$,$,$,$,#11);\n#12000=IFCSLAB('y',$,$,$,$,$,$);\n");
    ASSERT_EQ(taken.products.size(), 3u) << "the import continues";
    for (const Product& product : taken.products) {
        EXPECT_EQ(product.shape, Shape::None);
        EXPECT_TRUE(product.vertices.empty());
    }
    ASSERT_EQ(taken.problems.size(), 2u) << taken.reasons();
    EXPECT_EQ(taken.problems[0].instance, 10u);
    EXPECT_NE(taken.problems[0].reason.find("more work than the limit for one object"), std::string::npos);
    EXPECT_EQ(taken.problems[1].instance, 11000u);
}

TEST(Limits, BoundsTheWorkOfAllProducts) {
    std::string data = beamOf("#20") + doubling();
    for (int i = 0; i < 20; ++i)
        data += "#" + std::to_string(20000 + i) + "=IFCWALL('x',$,$,$,$,$,#11);\n";
    const Taken taken = readWithin({1 << 20, 1 << 18, 1 << 20}, data);
    EXPECT_EQ(taken.products.size(), 21u);
    ASSERT_EQ(taken.problems.size(), 21u);
    EXPECT_NE(taken.problems.front().reason.find("for one object"), std::string::npos);
    EXPECT_NE(taken.problems.back().reason.find("the objects of the file take more work"), std::string::npos);
}

TEST(Limits, BoundsTheVerticesOfAProduct) {
    const std::string disk =
        "#30=IFCPOLYLINE((#8,#31));\n#31=IFCCARTESIANPOINT((2.,0.,0.));\n#20=IFCSWEPTDISKSOLID(#30,0.5,$,$,$);\n";
    EXPECT_EQ(readWithin({127, 1 << 20, 1 << 20}, beamOf("#20") + disk).products.at(0).shape, Shape::None);
    EXPECT_NE(readWithin({127, 1 << 20, 1 << 20}, beamOf("#20") + disk).reasons().find("more vertices"), std::string::npos);
    EXPECT_EQ(readWithin({128, 1 << 20, 1 << 20}, beamOf("#20") + disk).products.at(0).shape, Shape::Solid);
}

TEST(Limits, ReportsItemsThatContainThemselves) {
    const std::string map = "#20=IFCMAPPEDITEM(#40,#50);\n#40=IFCREPRESENTATIONMAP(#9,#41);\n"
                            "#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#8,1.,$);\n#30=IFCBLOCK(#9,1.,1.,1.);\n";
    const Taken taken = readData(beamOf("#20") + map + "#41=IFCSHAPEREPRESENTATION($,'Body','any',(#30,#20));\n");
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].shape, Shape::Points) << "the block is read";
    EXPECT_EQ(taken.reasons(), "IFCMAPPEDITEM: contains itself (in IFCBEAM #10)\n");
    const Taken set = readData(beamOf("#20") + "#20=IFCGEOMETRICSET((#20,#8));\n");
    EXPECT_EQ(set.reasons(), "IFCGEOMETRICSET: contains itself (in IFCBEAM #10)\n");
}

TEST(Limits, ReportsDeepNesting) {
    const auto sets = [](int depth) {
        std::string data;
        for (int i = 0; i < depth; ++i)
            data += "#" + std::to_string(100 + i) + "=IFCGEOMETRICSET((#" + std::to_string(101 + i) + "));\n";
        return data + "#" + std::to_string(100 + depth) + "=IFCCARTESIANPOINT((1.,2.,3.));\n";
    };
    EXPECT_EQ(onlyProduct(readData(beamOf("#100") + sets(60))).shape, Shape::Points);
    const Taken deep = readData(beamOf("#100") + sets(100000));
    EXPECT_NE(deep.reasons().find("is nested more than 64 levels deep"), std::string::npos);
}

TEST(Limits, BoundsTheLengthOfPlacementChains) {
    std::string data = "#5=IFCCARTESIANPOINT((0.,0.,0.));\n#6=IFCAXIS2PLACEMENT3D(#5,$,$);\n#100=IFCLOCALPLACEMENT($,#6);\n";
    for (int i = 1; i < 5000; ++i)
        data += "#" + std::to_string(100 + i) + "=IFCLOCALPLACEMENT(#" + std::to_string(99 + i) + ",#6);\n#" +
                std::to_string(10000 + i) + "=IFCWALL($,$,$,$,$,#" + std::to_string(100 + i) + ",$);\n";
    const Taken taken = readData(data);
    EXPECT_EQ(taken.products.size(), 4999u);
    EXPECT_EQ(taken.problems.size(), 4999u - 255u) << "a chain may have 256 placements";
}

/// Fifty walls whose body is a polyline of one point, repeated 20000 times.
std::string repeatedPoint(const std::string& point) {
    std::string data = point + "#21=IFCPOLYLINE((#20";
    for (int i = 1; i < 20000; ++i)
        data += ",#20";
    data += "));\n#12=IFCSHAPEREPRESENTATION($,'Body','any',(#21));\n#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n";
    for (int i = 0; i < 50; ++i)
        data += "#" + std::to_string(100 + i) + "=IFCWALL('x',$,$,$,$,$,#11);\n";
    return data;
}

TEST(Limits, ReadsCommentsBetweenTokensOnce) {
    // A million references: 2 TB if each of them read the comment.
    const std::string comment = "/*" + std::string(2000000, 'x') + "*/";
    const std::string coordinates = "((1.,2.,3.));\n";
    for (const std::string& point :
         {"#20" + comment + "=IFCCARTESIANPOINT" + coordinates, "#20=" + comment + "IFCCARTESIANPOINT" + coordinates,
          "#20=IFCCARTESIANPOINT" + comment + coordinates}) {
        const Taken taken = readData(repeatedPoint(point));
        EXPECT_EQ(taken.reasons(), "");
        ASSERT_EQ(taken.products.size(), 50u);
        EXPECT_EQ(taken.products.back().vertices.size(), 60000u);
    }
}

TEST(Limits, ReportsInstancesWithLongCommentsOrNamesQuickly) {
    const std::string rest = std::string(2000000, 'X');
    std::string walls;
    for (int i = 0; i < 20000; ++i)
        walls += "#" + std::to_string(100 + i) + "=IFCWALL('x',$,$,$,$,$,#11);\n";
    for (const std::string& shape : {"#11=/*" + rest + "*/IFCWHATEVER($);\n", "#11=IFCWHATEVER" + rest + "($);\n"}) {
        const Taken taken = readData(shape + walls);
        ASSERT_EQ(taken.problems.size(), 20000u);
        EXPECT_EQ(taken.problems.back().reason.find("IFCWHATEVER"), 0u);
        EXPECT_LT(taken.problems.back().reason.size(), 300u);
    }
}

TEST(Limits, ReportsAThousandDamagedInstancesAndCountsTheRest) {
    std::string damage;
    std::string again = "#9=IFCX();\n";
    for (int i = 0; i < 1500; ++i) {
        damage += "# ;\n";
        again += "#9=IFCX();\n";
    }
    for (const std::string& data : {damage, again}) {
        const step::File file = fileOf(stepFile(data));
        ASSERT_EQ(file.problems().size(), 1001u);
        EXPECT_EQ(file.problems().back().reason, "and 500 more damaged instances from this line on");
        EXPECT_EQ(file.problems().back().line, file.problems()[999].line + 1);
        EXPECT_EQ(file.problems().back().instance, 0u);
    }
}

TEST(Limits, ReportsAHundredThousandProblemsAndCountsTheRest) {
    std::string data;
    for (int i = 0; i < 100005; ++i)
        data += "#" + std::to_string(100 + i) + "=IFCWALL('x',$,$,$,$,$,#1);\n";
    const Taken taken = readData(data);
    EXPECT_EQ(taken.products.size(), 100005u);
    ASSERT_EQ(taken.problems.size(), 100001u);
    EXPECT_NE(taken.problems[99999].reason.find("IFCPROJECT"), std::string::npos);
    EXPECT_EQ(taken.problems.back().reason, "and 5 more problems");
}

/// `piece`, repeated `count` times and separated by commas.
std::string listOf(const std::string& piece, int count) {
    std::string list = piece;
    for (int i = 1; i < count; ++i)
        list += "," + piece;
    return list;
}

TEST(Limits, ChargesPointsAndCornersBeforeCreatingThem) {
    const std::string points = "#31=IFCCARTESIANPOINTLIST3D(((0.,0.,0.),(1.,0.,0.),(0.,1.,0.)));\n";
    const std::string line = "#30=IFCINDEXEDPOLYCURVE(#31,(IFCLINEINDEX((" + listOf("1,2", 500) + "))),$);\n" + points;
    const std::string segment = "#29=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.,#30);\n";
    const std::string curve = "#20=IFCCOMPOSITECURVE((" + listOf("#29", 10) + "),.F.);\n" + segment + line;
    const std::string longList =
        "#20=IFCINDEXEDPOLYCURVE(#31,$,$);\n#31=IFCCARTESIANPOINTLIST3D((" + listOf("(0.,0.,0.)", 2000) + "));\n";
    for (const std::string& data : {curve, longList}) {
        const Taken few = readWithin({1500, 1 << 24, 1 << 24}, beamOf("#20") + data);
        EXPECT_EQ(few.products.at(0).shape, Shape::None);
        EXPECT_NE(few.reasons().find("more vertices"), std::string::npos) << few.reasons();
        EXPECT_EQ(readWithin({10000, 1 << 24, 1 << 24}, beamOf("#20") + data).products.at(0).shape, Shape::Points);
    }
    const std::string faces = "#20=IFCPOLYGONALFACESET(#31,.T.,(" + listOf("#30", 10) +
                              "),$);\n#30=IFCINDEXEDPOLYGONALFACE((" + listOf("1,2", 500) + "));\n" + points;
    // Ten thousand corners of three points: only the corners cost much work.
    const Taken taken = readWithin({1500, 100000, 1 << 24}, beamOf("#20") + faces);
    EXPECT_EQ(taken.products.at(0).shape, Shape::None);
    EXPECT_NE(taken.reasons().find("more work than the limit for one object"), std::string::npos) << taken.reasons();
    EXPECT_EQ(readWithin({1500, 1 << 20, 1 << 24}, beamOf("#20") + faces).products.at(0).shape, Shape::Points);
}

/// Reads a text. A FileError is allowed.
void tryRead(const std::string& text) {
    try {
        readText(text);
    } catch (const step::FileError& error) {
        EXPECT_NE(std::string(error.what()).find("expected"), std::string::npos);
    }
}

TEST(Limits, ReadsLongListsAndTextsInLinearTime) {
    // Quadratic time would be hours.
    const std::size_t size = 4000000;
    for (const std::string& hostile :
         {std::string(size, '('), std::string(size, ','), std::string(size, '\''), std::string(size, '/'),
          std::string(size, '#'), std::string(size, '"'), std::string(size, '.')}) {
        EXPECT_THROW(fileOf("ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;#1=IFCWALL(" + hostile), step::FileError);
        tryRead(stepFile("#1=IFCWALL(" + hostile + ");\n"));
        tryRead(stepFile("#1=IFCWALL((" + hostile + "));\n"));
        tryRead(stepFile("#1=IFCWALL('" + hostile + "');\n"));
        tryRead(stepFile(hostile + ";\n"));
    }
    std::string pieces;
    for (std::size_t i = 0; i < size / 8; ++i)
        pieces += "\\S\\''/*'";
    tryRead(stepFile("#1=IFCWALL('" + pieces + "');\n';"));
}

} // namespace
} // namespace velmor_tests
