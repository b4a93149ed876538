#include "importer/ifc/ReaderSupport.h"

#include <string>
#include <utility>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

// The profile #30, extruded by 1 along z: the volume is its area, the centroid its center.
std::string extruded(const std::string& data) {
    return beamOf("#20") + "#20=IFCEXTRUDEDAREASOLID(#30,$,#7,1.);\n" + data;
}

Product profile(const std::string& data, const std::string& schema = "IFC4") {
    return onlyProduct(readText(stepFile(inMeters + extruded(data), schema)));
}

void expectProfile(const std::string& data, double area, double x, double y, double width, double height) {
    SCOPED_TRACE(data);
    const Product product = profile(data);
    expectSolid(product, area, x, y, 0.5);
    expectBox(product, -width / 2, -height / 2, 0, width / 2, height / 2, 1);
}

constexpr double p = polygonOfUnitCircle;

TEST(Profiles, RectanglesMayBeRoundedAndHollow) {
    expectProfile("#30=IFCRECTANGLEPROFILEDEF(.AREA.,$,$,3.,4.);", 12.0, 0, 0, 3, 4);
    expectProfile("#30=IFCROUNDEDRECTANGLEPROFILEDEF(.AREA.,$,$,3.,4.,0.5);", 12.0 - (4.0 - p) * 0.25, 0, 0, 3, 4);
    expectProfile("#30=IFCRECTANGLEHOLLOWPROFILEDEF(.AREA.,$,$,10.,6.,1.,$,$);", 60.0 - 32.0, 0, 0, 10, 6);
    expectProfile("#30=IFCRECTANGLEHOLLOWPROFILEDEF(.AREA.,$,$,10.,6.,1.,1.,2.);",
                  60.0 - (4.0 - p) * 4.0 - 32.0 + (4.0 - p) * 1.0, 0, 0, 10, 6);
}

TEST(Profiles, FilletsMayMeet) {
    expectProfile("#30=IFCROUNDEDRECTANGLEPROFILEDEF(.AREA.,$,$,4.,4.,2.);", 4.0 * p, 0, 0, 4, 4);
}

TEST(Profiles, CirclesAndEllipsesHave64Corners) {
    expectProfile("#30=IFCCIRCLEPROFILEDEF(.AREA.,$,$,2.);", 4.0 * p, 0, 0, 4, 4);
    expectProfile("#30=IFCCIRCLEHOLLOWPROFILEDEF(.AREA.,$,$,2.,0.5);", (4.0 - 2.25) * p, 0, 0, 4, 4);
    expectProfile("#30=IFCELLIPSEPROFILEDEF(.AREA.,$,$,3.,1.);", 3.0 * p, 0, 0, 6, 2);
    EXPECT_EQ(profile("#30=IFCCIRCLEPROFILEDEF(.AREA.,$,$,2.);").vertices.size(), 2u * 64u * 3u);
}

TEST(Profiles, IShapesHaveFilletsEdgesAndSlopes) {
    expectProfile("#30=IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,$,$,$);", 2 * 12.0 + 6.0, 0, 0, 6, 10);
    // Each of the four fillets adds (1 - pi / 4) r^2.
    expectProfile("#30=IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,0.5,$,$);", 30.0 + (4.0 - p) * 0.25, 0, 0, 6, 10);
    // Each of the four rounded edges removes as much.
    expectProfile("#30=IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,0.5,0.25,$);",
                  30.0 + (4.0 - p) * 0.25 - (4.0 - p) * 0.0625, 0, 0, 6, 10);
    // The thickness of a sloping flange is measured in its middle, so the area is the same.
    expectProfile("#30=IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,$,$,0.1);", 30.0, 0, 0, 6, 10);
    // IFC2X3 ends with the fillet.
    expectProfile("#30=IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,$);", 30.0, 0, 0, 6, 10);
}

TEST(Profiles, AsymmetricIShapesFollowBothSchemas) {
    // Flanges of 10 by 2 at the bottom and 6 by 1 at the top, a web of 1 by 7: the center is at
    // (20 * -4 + 6 * 4.5 + 7 * 0.5) / 33.
    expectProfile("#30=IFCASYMMETRICISHAPEPROFILEDEF(.AREA.,$,$,10.,10.,1.,2.,$,6.,1.,$,$,$,$,$);", 33.0, 0, -49.5 / 33.0,
                  10, 10);
    expectProfile("#30=IFCASYMMETRICISHAPEPROFILEDEF(.AREA.,$,$,10.,10.,1.,2.,$,6.,1.,$,5.);", 33.0, 0, -49.5 / 33.0, 10,
                  10);
    // An omitted thickness of the top flange is that of the bottom flange: (20 * -4 + 12 * 4 + 6 * 0) / 38.
    expectProfile("#30=IFCASYMMETRICISHAPEPROFILEDEF(.AREA.,$,$,10.,10.,1.,2.,$,6.,$,$,$);", 38.0, 0, -32.0 / 38.0, 10, 10);
}

TEST(Profiles, LShapesHaveFilletsEdgesAndSlopes) {
    // A leg of 1 by 6 at x = -1.5, and one of 3 by 1 at (0.5, -2.5).
    expectProfile("#30=IFCLSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,$,$,$);", 9.0, -7.5 / 9.0, -7.5 / 9.0, 4, 6);
    expectProfile("#30=IFCLSHAPEPROFILEDEF(.AREA.,$,$,4.,$,1.,$,$,$,$,$);", 7.0, (4 * -1.5 + 3 * 0.5) / 7, (3 * -1.5) / 7, 4,
                  4);
    // Inner faces with a slope of 1 in 10 intersect at (1.474747, 1.252525) from the outer corner.
    const Product sloping = profile("#30=IFCLSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,$,$,0.09966865249116204);");
    EXPECT_NEAR(sloping.volume, 10.565656565656566, 1e-9);
    const Product rounded = profile("#30=IFCLSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,0.5,0.25,$);");
    EXPECT_NEAR(rounded.volume, 9.0 + (1.0 - p / 4.0) * 0.25 - 2.0 * (1.0 - p / 4.0) * 0.0625, 1e-9);
}

TEST(Profiles, TShapesHaveSlopes) {
    expectProfile("#30=IFCTSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,$,$,$,$,$);", 9.0, 0, 7.5 / 9.0, 4, 6);
    // The thickness of sloping parts is measured in their middle, so the area is the same.
    EXPECT_NEAR(profile("#30=IFCTSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,$,$,$,$,0.1);").volume, 9.0, 1e-9);
}

TEST(Profiles, UShapesHaveFilletsEdgesAndSlopes) {
    expectProfile("#30=IFCUSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,$,$,$);", 12.0, -0.5, 0, 4, 6);
    const Product sloping = profile("#30=IFCUSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,$,$,0.1,$);");
    EXPECT_NEAR(sloping.volume, 12.0, 1e-9);
    const Product rounded = profile("#30=IFCUSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,0.5,0.5,$);");
    EXPECT_NEAR(rounded.volume, 12.0, 1e-9) << "two fillets add what two rounded edges remove";
}

TEST(Profiles, CShapesHaveLipsAndBends) {
    // A web of 10, two flanges of 5 and two lips of 2, all 1 thick.
    expectProfile("#30=IFCCSHAPEPROFILEDEF(.AREA.,$,$,10.,6.,1.,3.,$);", 24.0, -10.0 / 24.0, 0, 6, 10);
    // Four bends with inner radius 0.5 and outer radius 1.5.
    const Product bent = profile("#30=IFCCSHAPEPROFILEDEF(.AREA.,$,$,10.,6.,1.,3.,0.5,$);");
    EXPECT_NEAR(bent.volume, 24.0 - (4.0 - p) * 2.25 + (4.0 - p) * 0.25, 1e-9);
}

TEST(Profiles, ZShapesHaveTheTopFlangeOnTheLeft) {
    expectProfile("#30=IFCZSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,$,$);", 12.0, 0, 0, 7, 6);
    const Product z = profile("#30=IFCZSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,1.,$,$);");
    bool topLeft = false;
    bool topRight = false;
    for (std::size_t i = 0; i < z.vertices.size(); i += 3) {
        topLeft |= z.vertices[i] == -3.5 && z.vertices[i + 1] == 3.0;
        topRight |= z.vertices[i] == 3.5 && z.vertices[i + 1] == 3.0;
    }
    EXPECT_TRUE(topLeft);
    EXPECT_FALSE(topRight);
}

TEST(Profiles, TrapeziumsHaveTheirAreaAndCenter) {
    // The center of the area is (b + 2t) / (b + t) h / 3 above the bottom.
    expectProfile("#30=IFCTRAPEZIUMPROFILEDEF(.AREA.,$,$,4.,2.,3.,1.);", 9.0, 0, -1.5 + 4.0 / 3.0, 4, 3);
}

TEST(Profiles, ParameterizedProfilesApplyTheirPosition) {
    const Product product = profile("#30=IFCRECTANGLEPROFILEDEF(.AREA.,$,#31,4.,2.);\n#31=IFCAXIS2PLACEMENT2D(#32,#33);\n"
                                    "#32=IFCCARTESIANPOINT((10.,20.));\n#33=IFCDIRECTION((0.,2.));\n");
    expectSolid(product, 8.0, 10, 20, 0.5);
    expectBox(product, 9, 18, 0, 11, 22, 1);
}

const std::string square =
    "#40=IFCPOLYLINE((#41,#42,#43,#44,#41));\n#41=IFCCARTESIANPOINT((0.,0.));\n#42=IFCCARTESIANPOINT((4.,0.));\n"
    "#43=IFCCARTESIANPOINT((4.,4.));\n#44=IFCCARTESIANPOINT((0.,4.));\n";
const std::string hole =
    "#50=IFCPOLYLINE((#51,#52,#53));\n#51=IFCCARTESIANPOINT((1.,1.));\n#52=IFCCARTESIANPOINT((3.,1.));\n"
    "#53=IFCCARTESIANPOINT((1.,3.));\n";

TEST(Profiles, ArbitraryProfilesMayHaveVoids) {
    const Product closed = profile("#30=IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$,#40);\n" + square);
    expectSolid(closed, 16.0, 2, 2, 0.5);
    EXPECT_EQ(closed.vertices.size(), 8u * 3u) << "the repeated corner occurs once";
    // Without a triangle of area 2 around (5/3, 5/3): the center is at (32 - 10/3) / 14.
    const Product hollow = profile("#30=IFCARBITRARYPROFILEDEFWITHVOIDS(.AREA.,$,#40,(#50));\n" + square + hole);
    expectSolid(hollow, 14.0, (32.0 - 10.0 / 3.0) / 14.0, (32.0 - 10.0 / 3.0) / 14.0, 0.5);
}

TEST(Profiles, DerivedProfilesApplyTheirOperator) {
    const std::string l = "#31=IFCLSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,$,$,$);\n";
    const Product derived =
        profile("#30=IFCDERIVEDPROFILEDEF(.AREA.,$,#31,#32,$);\n#32=IFCCARTESIANTRANSFORMATIONOPERATOR2D($,$,#33,2.);\n"
                "#33=IFCCARTESIANPOINT((10.,0.));\n" +
                l);
    expectSolid(derived, 36.0, 10.0 - 15.0 / 9.0, -15.0 / 9.0, 0.5);
    const Product mirrored = profile("#30=IFCMIRROREDPROFILEDEF(.AREA.,$,#31,*,$);\n" + l);
    expectSolid(mirrored, 9.0, 7.5 / 9.0, -7.5 / 9.0, 0.5);
    const Product nonUniform = profile("#30=IFCDERIVEDPROFILEDEF(.AREA.,$,#31,#32,$);\n"
                                       "#32=IFCCARTESIANTRANSFORMATIONOPERATOR2DNONUNIFORM($,$,#33,2.,3.);\n"
                                       "#33=IFCCARTESIANPOINT((0.,0.));\n" +
                                       l);
    expectSolid(nonUniform, 54.0, -15.0 / 9.0, -22.5 / 9.0, 0.5);
}

TEST(Profiles, CompositeProfilesAddTheirParts) {
    const Product product =
        profile("#30=IFCCOMPOSITEPROFILEDEF(.AREA.,$,(#31,#32),$);\n#31=IFCRECTANGLEPROFILEDEF(.AREA.,$,$,1.,1.);\n"
                "#32=IFCRECTANGLEPROFILEDEF(.AREA.,$,#33,1.,2.);\n#33=IFCAXIS2PLACEMENT2D(#34,$);\n"
                "#34=IFCCARTESIANPOINT((3.,0.));\n");
    expectSolid(product, 3.0, 2, 0, 0.5);
}

TEST(Profiles, CenterLineProfilesHaveMiteredBends) {
    // Along (0,0) (4,0) (4,3), 1 wide: rectangles of 4.5 by 1 and 1 by 2.5.
    const Product open =
        profile("#30=IFCCENTERLINEPROFILEDEF(.CURVE.,$,#31,1.);\n#31=IFCPOLYLINE((#32,#33,#34));\n"
                "#32=IFCCARTESIANPOINT((0.,0.));\n#33=IFCCARTESIANPOINT((4.,0.));\n#34=IFCCARTESIANPOINT((4.,3.));\n");
    expectSolid(open, 7.0, (4.5 * 2.25 + 2.5 * 4) / 7.0, (2.5 * 1.75) / 7.0, 0.5);
    // Around a square of 4 by 4: a frame of 5 by 5 outside and 3 by 3 inside.
    const Product closed = profile("#30=IFCCENTERLINEPROFILEDEF(.CURVE.,$,#40,1.);\n" + square);
    expectSolid(closed, 16.0, 2, 2, 0.5);
    expectBox(closed, -0.5, -0.5, 0, 4.5, 4.5, 1);
}

TEST(Profiles, FilletsThatDoNotFitAreReportedAndOmitted) {
    const Taken taken = readData(extruded("#30=IFCROUNDEDRECTANGLEPROFILEDEF(.AREA.,$,$,3.,4.,2.);"));
    ASSERT_EQ(taken.products.size(), 1u);
    expectSolid(taken.products[0], 12.0, 0, 0, 0.5);
    EXPECT_NE(taken.reasons().find("a fillet does not fit between the neighboring corners"), std::string::npos);
}

TEST(Profiles, InvalidDimensionsAreReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"IFCRECTANGLEPROFILEDEF(.AREA.,$,$,0.,4.)", "argument 4 is invalid; expected a positive number"},
        {"IFCRECTANGLEPROFILEDEF(.AREA.,$,$,-3.,4.)", "a positive number"},
        {"IFCRECTANGLEPROFILEDEF(.AREA.,$,$,1E400,4.)", "a number"},
        {"IFCRECTANGLEPROFILEDEF(.AREA.,$,$,'3',4.)", "a number"},
        {"IFCRECTANGLEPROFILEDEF(.AREA.,$,$,3.)", "argument 5 is missing"},
        {"IFCRECTANGLEHOLLOWPROFILEDEF(.AREA.,$,$,10.,6.,3.,$,$)", "contradict each other"},
        {"IFCCIRCLEHOLLOWPROFILEDEF(.AREA.,$,$,2.,2.)", "contradict each other"},
        {"IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,4.,1.,2.,$,$,$)", "contradict each other"},
        {"IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,6.,2.,$,$,$)", "contradict each other"},
        {"IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,-1.,$,$)", "not negative"},
        {"IFCISHAPEPROFILEDEF(.AREA.,$,$,6.,10.,1.,2.,$,$,1.57)", "its slope is out of range"},
        {"IFCLSHAPEPROFILEDEF(.AREA.,$,$,6.,4.,4.,$,$,$)", "contradict each other"},
        {"IFCTSHAPEPROFILEDEF(.AREA.,$,$,1.,4.,1.,1.,$,$,$,$,$)", "contradict each other"},
        {"IFCUSHAPEPROFILEDEF(.AREA.,$,$,2.,4.,1.,1.,$,$,$)", "contradict each other"},
        {"IFCCSHAPEPROFILEDEF(.AREA.,$,$,10.,6.,1.,5.,$)", "contradict each other"},
        {"IFCZSHAPEPROFILEDEF(.AREA.,$,$,2.,4.,1.,1.,$,$)", "contradict each other"},
        {"IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$,#8)", "this kind of curve is not supported"},
        {"IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$,#99)", "refers to #99, which does not exist in the file"},
        {"IFCARBITRARYOPENPROFILEDEF(.CURVE.,$,#8)", "this kind of profile is not supported"},
        {"IFCCOMPOSITEPROFILEDEF(.AREA.,$,(),$)", "has no parts"},
        {"IFCCOMPOSITEPROFILEDEF(.AREA.,$,(#30),$)", "contains itself"},
        {"IFCMIRROREDPROFILEDEF(.AREA.,$,#30,*,$)", "contains itself"},
        {"IFCCRANERAILASHAPEPROFILEDEF(.AREA.,$,$,1.)", "this kind of profile is not supported"},
    };
    for (const auto& [text, expected] : cases) {
        const Taken taken = readData(extruded("#30=" + std::string(text) + ";\n"));
        ASSERT_EQ(taken.products.size(), 1u) << text;
        EXPECT_EQ(taken.products[0].shape, Shape::None) << text;
        ASSERT_EQ(taken.problems.size(), 1u) << text;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << text << ": " << taken.problems[0].reason;
        EXPECT_NE(taken.problems[0].reason.find("(in IFCBEAM #10)"), std::string::npos);
        EXPECT_TRUE(taken.problems[0].instance == 30 || std::string(expected).find("curve") != std::string::npos) << text;
    }
}

TEST(Profiles, ProfilesWithoutAreaAreReported) {
    const Taken taken =
        readData(extruded("#30=IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$,#31);\n#31=IFCPOLYLINE((#32,#33,#34));\n"
                          "#32=IFCCARTESIANPOINT((0.,0.));\n#33=IFCCARTESIANPOINT((1.,0.));\n"
                          "#34=IFCCARTESIANPOINT((2.,0.));\n"));
    EXPECT_NE(taken.reasons().find("encloses no area"), std::string::npos);
    const Taken twoPoints =
        readData(extruded("#30=IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$,#31);\n#31=IFCPOLYLINE((#32,#33,#32));\n"
                          "#32=IFCCARTESIANPOINT((0.,0.));\n#33=IFCCARTESIANPOINT((1.,0.));\n"));
    EXPECT_NE(twoPoints.reasons().find("fewer than three points"), std::string::npos);
}

} // namespace
} // namespace velmor_tests
