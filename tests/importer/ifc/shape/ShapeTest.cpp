#include "importer/ifc/ReaderSupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

const std::string block = "#30=IFCBLOCK(#9,1.,2.,3.);\n";
const std::string map = "#40=IFCREPRESENTATIONMAP(#9,#41);\n#41=IFCSHAPEREPRESENTATION($,'Body','any',(#30));\n";

TEST(MappedItems, ApplyTheirTarget) {
    const Product moved = beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#51,2.,$);\n"
                               "#51=IFCCARTESIANPOINT((10.,0.,0.));\n" +
                               block + map);
    expectSolid(moved, 48.0, 11, 2, 3);
    const Product rotated =
        beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D(#6,$,#8,1.,#7);\n" + block + map);
    expectSolid(rotated, 6.0, -1, 0.5, 1.5);
    const Product nonUniform =
        beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3DNONUNIFORM($,$,#8,2.,$,3.,0.5);\n" +
             block + map);
    expectSolid(nonUniform, 18.0, 1, 3, 0.75);
}

TEST(MappedItems, UseDefaultsForOmittedScales) {
    expectSolid(beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3DNONUNIFORM($,$,#8,2.,$,$,$);\n" +
                     block + map),
                48.0, 1, 2, 3);
    expectSolid(beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#8,$,$);\n" + block + map),
                6.0, 0.5, 1, 1.5);
}

TEST(MappedItems, AreSolidsWhenMirrored) {
    const Product mirrored = beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D(#5,#51,#8,1.,#7);\n"
                                  "#51=IFCDIRECTION((0.,-1.,0.));\n" +
                                  block + map);
    expectSolid(mirrored, 6.0, 0.5, -1, 1.5);
}

TEST(MappedItems, ApplyTwoDimensionalOperators) {
    const Product plan =
        beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR2D(#6,$,#51,2.);\n"
             "#51=IFCCARTESIANPOINT((10.,0.));\n#30=IFCPOLYLINE((#31,#32));\n#31=IFCCARTESIANPOINT((1.,0.));\n"
             "#32=IFCCARTESIANPOINT((1.,1.));\n" +
             map);
    EXPECT_EQ(plan.vertices, (std::vector<double>{10, 2, 0, 8, 2, 0}));
}

TEST(MappedItems, ApplyTheOriginOfTheMap) {
    const Product product = beam("#20=IFCMAPPEDITEM(#40,#50);\n#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#8,2.,$);\n"
                                 "#40=IFCREPRESENTATIONMAP(#52,#41);\n#41=IFCSHAPEREPRESENTATION($,'Body','any',(#30));\n"
                                 "#52=IFCAXIS2PLACEMENT3D(#53,$,$);\n#53=IFCCARTESIANPOINT((0.,0.,5.));\n" +
                                 block);
    expectSolid(product, 48.0, 1, 2, 13);
}

TEST(MappedItems, AreReportedWhenInvalid) {
    const std::pair<const char*, const char*> cases[] = {
        {"#20=IFCMAPPEDITEM(#9,#50);", "is used where an IFCREPRESENTATIONMAP is expected"},
        {"#20=IFCMAPPEDITEM(#40,#9);", "is used where a transformation operator is expected"},
        {"#20=IFCMAPPEDITEM(#40,#50);#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#8,0.,$);", "a positive number"},
        {"#20=IFCMAPPEDITEM(#40,#50);#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D(#7,$,#8,1.,#7);", "its axes are parallel"},
        {"#20=IFCMAPPEDITEM(#40,#50);#50=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,$,1.,$);", "a reference to an instance"},
    };
    for (const auto& [data, expected] : cases) {
        const Taken taken = readData(beamOf("#20") + data + "\n" + block + map);
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << data << ": " << taken.problems[0].reason;
        EXPECT_EQ(taken.products[0].shape, Shape::None);
    }
}

TEST(Booleans, FirstOperandHasVerticesAndNoVolume) {
    const std::string other = "#21=IFCHALFSPACESOLID(#22,.F.);\n#22=IFCPLANE(#9);\n";
    for (const char* entity : {"IFCBOOLEANCLIPPINGRESULT(.DIFFERENCE.", "IFCBOOLEANRESULT(.DIFFERENCE.",
                               "IFCBOOLEANRESULT(.INTERSECTION.", "IFCBOOLEANRESULT(.UNION."}) {
        const Product product = beam("#20=" + std::string(entity) + ",#30,#21);\n" + other + block);
        EXPECT_EQ(product.shape, Shape::Points) << entity;
        EXPECT_EQ(product.volume, 0.0);
        expectBox(product, 0, 0, 0, 1, 2, 3);
    }
}

TEST(Booleans, UnionsUseTheFirstOperandOnly) {
    const Product product =
        beam("#20=IFCCSGSOLID(#21);\n#21=IFCBOOLEANRESULT(.UNION.,#30,#31);\n#31=IFCBLOCK(#9,4.,1.,1.);\n" + block);
    EXPECT_EQ(product.shape, Shape::Points);
    expectBox(product, 0, 0, 0, 1, 2, 3);
}

TEST(Booleans, FollowLongChains) {
    std::string data = "#20=IFCBOOLEANRESULT(.DIFFERENCE.,#1000,#30);\n" + block;
    for (int i = 0; i < 5000; ++i)
        data += "#" + std::to_string(1000 + i) + "=IFCBOOLEANRESULT(.DIFFERENCE.,#" +
                (i == 4999 ? "30" : std::to_string(1001 + i)) + ",#30);\n";
    expectBox(beam(data), 0, 0, 0, 1, 2, 3);
}

TEST(Booleans, CyclesAreReported) {
    const Taken cut = readData(beamOf("#20") + "#20=IFCBOOLEANRESULT(.DIFFERENCE.,#20,#30);\n" + block);
    EXPECT_NE(cut.reasons().find("its chain of first operands has more than 10000 members"), std::string::npos)
        << cut.reasons();
    const Taken csg = readData(beamOf("#20") + "#20=IFCCSGSOLID(#20);\n");
    EXPECT_NE(csg.reasons().find("contains itself"), std::string::npos) << csg.reasons();
}

TEST(Items, SolidsAddUpUnlessOneItemIsNotASolid) {
    const std::string two =
        "#21=IFCBLOCK(#22,2.,2.,2.);\n#22=IFCAXIS2PLACEMENT3D(#23,$,$);\n#23=IFCCARTESIANPOINT((10.,0.,0.));\n";
    // A volume of 6 at x = 0.5 and one of 8 at x = 11.
    expectSolid(onlyProduct(readData(beamOf("#30,#21") + two + block)), 14.0, (3.0 + 88.0) / 14.0, (6.0 + 8.0) / 14.0,
                (9.0 + 8.0) / 14.0);
    const Product mixed = onlyProduct(
        readData(beamOf("#30,#24") + "#24=IFCPOLYLINE((#8,#25));\n#25=IFCCARTESIANPOINT((0.,0.,7.));\n" + block));
    EXPECT_EQ(mixed.shape, Shape::Points);
    EXPECT_EQ(mixed.volume, 0.0);
    expectBox(mixed, 0, 0, 0, 1, 2, 7);
}

TEST(Items, InvalidItemsAreReportedAndTheOthersRead) {
    const Taken taken = readData(beamOf("#21,#30,#99,$") + "#21=IFCSECTIONEDSPINE(#8,(),());\n" + block);
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].shape, Shape::Points);
    expectBox(taken.products[0], 0, 0, 0, 1, 2, 3);
    ASSERT_EQ(taken.problems.size(), 3u);
    EXPECT_EQ(taken.problems[0].instance, 21u);
    EXPECT_EQ(taken.problems[0].line, 20u);
    EXPECT_EQ(taken.problems[0].reason, "IFCSECTIONEDSPINE: this kind of item is not supported (in IFCBEAM #10)");
    EXPECT_EQ(taken.problems[1].reason,
              "IFCSHAPEREPRESENTATION: refers to #99, which does not exist in the file (in IFCBEAM #10)");
    EXPECT_EQ(taken.problems[2].reason, "IFCSHAPEREPRESENTATION: '$' is not a reference to an instance (in IFCBEAM #10)");
}

TEST(Items, SetsSurfacesAndBoxesHaveVertices) {
    const Product set =
        beam("#20=IFCGEOMETRICSET((#8,#21,#30));\n#21=IFCPOLYLINE((#22,#23));\n#22=IFCCARTESIANPOINT((5.,0.));\n"
             "#23=IFCCARTESIANPOINT((0.,6.));\n" +
             block);
    EXPECT_EQ(set.shape, Shape::Points);
    expectBox(set, 0, 0, 0, 5, 6, 3);
    expectBox(beam("#20=IFCBOUNDINGBOX(#8,1.,2.,3.);\n"), 0, 0, 0, 1, 2, 3);
    expectBox(beam("#20=IFCSURFACEOFLINEAREXTRUSION(#21,#9,#7,3.);\n#21=IFCARBITRARYOPENPROFILEDEF(.CURVE.,$,#22);\n"
                   "#22=IFCPOLYLINE((#8,#23));\n#23=IFCCARTESIANPOINT((1.,2.));\n"),
              0, 0, 0, 1, 2, 3);
    expectBox(beam("#20=IFCCURVEBOUNDEDPLANE(#21,#22,());\n#21=IFCPLANE(#24);\n#24=IFCAXIS2PLACEMENT3D(#25,#5,#6);\n"
                   "#25=IFCCARTESIANPOINT((9.,0.,0.));\n#22=IFCPOLYLINE((#8,#26,#27,#8));\n#26=IFCCARTESIANPOINT((1.,0.));\n"
                   "#27=IFCCARTESIANPOINT((0.,2.));\n"),
              9, 0, 0, 9, 1, 2);
}

// A beam with representations of these identifiers, in this order: number n, from 0, is a block of n + 1 by 1 by 1.
Product withRepresentations(const std::vector<std::string>& identifiers) {
    std::string list;
    std::string data = "#8=IFCCARTESIANPOINT((0.,0.,0.));\n#9=IFCAXIS2PLACEMENT3D(#8,$,$);\n"
                       "#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#11,$,$);\n";
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        const std::string number = std::to_string(100 + i);
        list += (i ? ",#" : "#") + number;
        data += "#" + number + "=IFCSHAPEREPRESENTATION($," + identifiers[i] + ",'any',(#" + std::to_string(200 + i) +
                "));\n#" + std::to_string(200 + i) + "=IFCBLOCK(#9," + std::to_string(i + 1) + ".,1.,1.);\n";
    }
    return onlyProduct(readData(data + "#11=IFCPRODUCTDEFINITIONSHAPE($,$,(" + list + "));\n"));
}

TEST(Representations, BodyIsPreferredInAnyPosition) {
    expectSolid(withRepresentations({"'Axis'", "'Box'", "'Body'"}), 3.0, 1.5, 0.5, 0.5);
    expectSolid(withRepresentations({"'Facetation'", "'body'"}), 2.0, 1, 0.5, 0.5);
    expectSolid(withRepresentations({"'FootPrint'", "'Facetation'"}), 2.0, 1, 0.5, 0.5);
    expectSolid(withRepresentations({"$", "'Box'"}), 1.0, 0.5, 0.5, 0.5);
    expectSolid(withRepresentations({"'Body'", "'Body'"}), 1.0, 0.5, 0.5, 0.5);
}

TEST(Representations, RepresentationsOfThePlaceAreNoSolids) {
    for (const char* identifier : {"'Box'", "'FootPrint'", "'Axis'", "'Plan'", "'Anything'"}) {
        const Product product = withRepresentations({identifier});
        EXPECT_EQ(product.shape, Shape::Points) << identifier;
        expectBox(product, 0, 0, 0, 1, 1, 1);
    }
    expectBox(withRepresentations({"'Axis'", "'Box'"}), 0, 0, 0, 2, 1, 1);
}

TEST(Representations, InvalidBodyIsReportedAndTheNextRepresentationUsed) {
    const Taken taken =
        readData("#8=IFCCARTESIANPOINT((0.,0.,0.));\n#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#11,$,$);\n"
                 "#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#12,#13));\n#12=IFCSHAPEREPRESENTATION($,'Body','any',(#14));\n"
                 "#13=IFCSHAPEREPRESENTATION($,'Box','BoundingBox',(#15));\n#14=IFCHALFSPACESOLID($,.T.);\n"
                 "#15=IFCBOUNDINGBOX(#8,1.,2.,3.);\n");
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].shape, Shape::Points);
    expectBox(taken.products[0], 0, 0, 0, 1, 2, 3);
    EXPECT_EQ(taken.reasons(), "IFCHALFSPACESOLID: this kind of item is not supported (in IFCBEAM #10)\n");
}

TEST(Representations, InvalidOnesAreReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#8,$,$);",
         "is used where an IFCPRODUCTDEFINITIONSHAPE is expected"},
        {"#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#99,$,$);", "refers to #99"},
        {"#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,'x',$,$);", "argument 7 is invalid; expected a reference"},
        {"#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#11,$,$);#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#99));",
         "refers to #99"},
        {"#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#11,$,$);#11=IFCPRODUCTDEFINITIONSHAPE($,$,$);", "a list"},
        {"#10=IFCBEAM('1234567890123456789012',$,$,$,$,$,#11,$,$);#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#8));", "a list"},
    };
    for (const auto& [data, expected] : cases) {
        const Taken taken = readData("#8=IFCCARTESIANPOINT((0.,0.,0.));\n" + std::string(data) + "\n");
        ASSERT_EQ(taken.products.size(), 1u) << data;
        EXPECT_EQ(taken.products[0].globalId, "1234567890123456789012");
        EXPECT_EQ(taken.products[0].shape, Shape::None);
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << data << ": " << taken.problems[0].reason;
    }
}

} // namespace
} // namespace velmor_tests
