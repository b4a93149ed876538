#include "importer/ifc/ReaderSupport.h"

#include <cmath>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

// The vertices of the curve #20.
std::vector<double> curve(const std::string& data) {
    const Product product = beam(data);
    EXPECT_EQ(product.shape, Shape::Points);
    return product.vertices;
}

void expectEnds(const std::vector<double>& points, double x0, double y0, double x1, double y1) {
    ASSERT_GE(points.size(), 6u);
    EXPECT_NEAR(points[0], x0, 1e-12);
    EXPECT_NEAR(points[1], y0, 1e-12);
    EXPECT_NEAR(points[points.size() - 3], x1, 1e-12);
    EXPECT_NEAR(points[points.size() - 2], y1, 1e-12);
}

const std::string circle = "#30=IFCCIRCLE(#31,2.);\n#31=IFCAXIS2PLACEMENT2D(#32,$);\n#32=IFCCARTESIANPOINT((1.,0.));\n";

TEST(Curves, PolylinesKeepTheirPoints) {
    EXPECT_EQ(curve("#20=IFCPOLYLINE((#30,#31));\n#30=IFCCARTESIANPOINT((1.,2.));\n#31=IFCCARTESIANPOINT((3.,4.,5.));\n"),
              (std::vector<double>{1, 2, 0, 3, 4, 5}));
}

TEST(Curves, CirclesAndEllipsesMakeOneTurn) {
    const std::vector<double> round =
        curve("#20=IFCCIRCLE(#31,2.);\n#31=IFCAXIS2PLACEMENT2D(#32,$);\n#32=IFCCARTESIANPOINT((1.,0.));\n");
    EXPECT_EQ(round.size(), 65u * 3u);
    expectEnds(round, 3, 0, 3, 0);
    for (std::size_t i = 0; i < round.size(); i += 3)
        EXPECT_NEAR(std::hypot(round[i] - 1.0, round[i + 1]), 2.0, 1e-12);
    const std::vector<double> oval =
        curve("#20=IFCELLIPSE(#31,2.,1.);\n#31=IFCAXIS2PLACEMENT2D(#32,#6);\n#32=IFCCARTESIANPOINT((0.,0.));\n");
    for (std::size_t i = 0; i < oval.size(); i += 3)
        EXPECT_NEAR(oval[i + 1] * oval[i + 1] / 4.0 + oval[i] * oval[i], 1.0, 1e-12);
}

TEST(Curves, TrimsByParameterFollowTheSense) {
    // From 0 to 90 degrees: a quarter turn with the sense, three quarters against it.
    const std::vector<double> quarter =
        curve("#20=IFCTRIMMEDCURVE(#30,(IFCPARAMETERVALUE(0.)),(IFCPARAMETERVALUE(1.5707963267948966)),.T.,.PARAMETER.);\n" +
              circle);
    EXPECT_EQ(quarter.size(), 17u * 3u);
    expectEnds(quarter, 3, 0, 1, 2);
    const std::vector<double> other =
        curve("#20=IFCTRIMMEDCURVE(#30,(IFCPARAMETERVALUE(0.)),(IFCPARAMETERVALUE(1.5707963267948966)),.F.,.PARAMETER.);\n" +
              circle);
    EXPECT_EQ(other.size(), 49u * 3u);
    expectEnds(other, 3, 0, 1, 2);
}

TEST(Curves, MasterRepresentationSelectsPointOrParameter) {
    const std::string points = "#33=IFCCARTESIANPOINT((3.,0.));\n#34=IFCCARTESIANPOINT((-1.,0.));\n";
    const std::vector<double> half = curve("#20=IFCTRIMMEDCURVE(#30,(#33),(#34),.T.,.CARTESIAN.);\n" + circle + points);
    EXPECT_EQ(half.size(), 33u * 3u);
    expectEnds(half, 3, 0, -1, 0);
    const std::string both = "#20=IFCTRIMMEDCURVE(#30,(#33,IFCPARAMETERVALUE(1.5707963267948966)),"
                             "(#34,IFCPARAMETERVALUE(4.71238898038469)),.T.,";
    expectEnds(curve(both + ".CARTESIAN.);\n" + circle + points), 3, 0, -1, 0);
    expectEnds(curve(both + ".PARAMETER.);\n" + circle + points), 1, 2, 1, -2);
}

TEST(Curves, EqualEndsAreAFullCircle) {
    EXPECT_EQ(
        curve("#20=IFCTRIMMEDCURVE(#30,(IFCPARAMETERVALUE(1.)),(IFCPARAMETERVALUE(1.)),.T.,.PARAMETER.);\n" + circle).size(),
        65u * 3u);
}

TEST(Curves, TrimmedLinesAreMeasuredByTheirVector) {
    const std::string line = "#30=IFCLINE(#31,#32);\n#31=IFCCARTESIANPOINT((1.,1.));\n#32=IFCVECTOR(#5,2.);\n";
    EXPECT_EQ(curve("#20=IFCTRIMMEDCURVE(#30,(IFCPARAMETERVALUE(1.)),(IFCPARAMETERVALUE(3.)),.T.,.PARAMETER.);\n" + line),
              (std::vector<double>{3, 1, 0, 7, 1, 0}));
}

TEST(Curves, CompositeCurvesJoinSegmentsByTheirSense) {
    // A reversed line along x, a quarter of the circle, and a line along y.
    const std::vector<double> joined =
        curve("#20=IFCCOMPOSITECURVE((#21,#22,#23),.F.);\n#21=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.F.,#40);\n"
              "#22=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.,#41);\n#23=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.,#42);\n"
              "#40=IFCPOLYLINE((#50,#51));\n#50=IFCCARTESIANPOINT((3.,0.));\n#51=IFCCARTESIANPOINT((8.,0.));\n"
              "#41=IFCTRIMMEDCURVE(#30,(IFCPARAMETERVALUE(0.)),(IFCPARAMETERVALUE(1.5707963267948966)),.T.,.PARAMETER.);\n"
              "#42=IFCPOLYLINE((#52,#53));\n#52=IFCCARTESIANPOINT((1.,2.));\n#53=IFCCARTESIANPOINT((1.,9.));\n" +
              circle);
    EXPECT_EQ(joined.size(), (2u + 16u + 1u) * 3u) << "a point that two segments share occurs once";
    expectEnds(joined, 8, 0, 1, 9);
}

const std::string list = "#30=IFCCARTESIANPOINTLIST2D(((0.,0.),(2.,0.),(3.,1.),(2.,2.),(0.,2.)));\n";

TEST(Curves, IndexedPolyCurvesHaveLinesAndArcs) {
    EXPECT_EQ(curve("#20=IFCINDEXEDPOLYCURVE(#30,$,.F.);\n" + list).size(), 5u * 3u);
    // A line, a half circle around (2, 1) through (3, 1), and two lines back to the start.
    const std::vector<double> segments =
        curve("#20=IFCINDEXEDPOLYCURVE(#30,(IFCLINEINDEX((1,2)),IFCARCINDEX((2,3,4)),IFCLINEINDEX((4,5,1))),.F.);\n" + list);
    EXPECT_EQ(segments.size(), (2u + 32u + 2u) * 3u);
    expectEnds(segments, 0, 0, 0, 0);
    for (std::size_t i = 3; i < 3 + 33 * 3 - 3; i += 3)
        EXPECT_NEAR(std::hypot(segments[i] - 2.0, segments[i + 1] - 1.0), 1.0, 1e-12);
}

TEST(Curves, ArcThroughCollinearPointsIsStraight) {
    EXPECT_EQ(curve("#20=IFCINDEXEDPOLYCURVE(#30,(IFCARCINDEX((1,2,3))),.F.);\n"
                    "#30=IFCCARTESIANPOINTLIST3D(((0.,0.,0.),(1.,0.,0.),(2.,0.,0.)));\n"),
              (std::vector<double>{0, 0, 0, 1, 0, 0, 2, 0, 0}));
}

TEST(Curves, InvalidCurvesAreReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"#20=IFCPOLYLINE((#5,#8));", "is used where an IFCCARTESIANPOINT is expected"},
        {"#20=IFCPOLYLINE((#99));", "refers to #99"},
        {"#20=IFCPOLYLINE((1));", "'1' is not a reference"},
        {"#20=IFCPOLYLINE($);", "argument 1 is invalid; expected a list"},
        {"#20=IFCPOLYLINE((#30));#30=IFCCARTESIANPOINT((1.));", "has invalid coordinates; expected two or three numbers"},
        {"#20=IFCPOLYLINE((#30));#30=IFCCARTESIANPOINT((1.,2.,3.,4.));",
         "has invalid coordinates; expected two or three numbers"},
        {"#20=IFCPOLYLINE((#30));#30=IFCCARTESIANPOINT((1.,NAN));",
         "has invalid coordinates; expected two or three numbers"},
        {"#20=IFCPOLYLINE((#30));#30=IFCCARTESIANPOINT((1.,1E400));",
         "has invalid coordinates; expected two or three numbers"},
        {"#20=IFCPOLYLINE((#30));#30=IFCCARTESIANPOINT((1.,1E13));", "has points more than 1000000000000 m from the origin"},
        {"#20=IFCTRIMMEDCURVE(#9,(#8),(#8),.T.,.CARTESIAN.);", "this kind of basis curve is not supported"},
        {"#20=IFCTRIMMEDCURVE(#30,(),(#8),.T.,.CARTESIAN.);#30=IFCCIRCLE(#9,1.);", "neither a point nor a parameter"},
        {"#20=IFCTRIMMEDCURVE(#30,(#8),(#8),.X.,.CARTESIAN.);#30=IFCCIRCLE(#9,1.);", ".T. or .F."},
        {"#20=IFCCIRCLE(#9,0.);", "a positive number"},
        {"#20=IFCCOMPOSITECURVE((#21),.F.);#21=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.,#20);", "contains itself"},
        {"#20=IFCCOMPOSITECURVE((#8),.F.);", "this kind of segment is not supported"},
        {"#20=IFCINDEXEDPOLYCURVE(#30,(IFCLINEINDEX((1,3))),.F.);#30=IFCCARTESIANPOINTLIST2D(((0.,0.),(1.,1.)));",
         "does not exist in the list of points"},
        {"#20=IFCINDEXEDPOLYCURVE(#30,(IFCLINEINDEX((0,1))),.F.);#30=IFCCARTESIANPOINTLIST2D(((0.,0.),(1.,1.)));",
         "does not exist in the list of points"},
        {"#20=IFCINDEXEDPOLYCURVE(#30,(IFCARCINDEX((1,2))),.F.);#30=IFCCARTESIANPOINTLIST2D(((0.,0.),(1.,1.)));",
         "IFCARCINDEX of three"},
        {"#20=IFCINDEXEDPOLYCURVE(#30,((1,2)),.F.);#30=IFCCARTESIANPOINTLIST2D(((0.,0.),(1.,1.)));",
         "neither IFCLINEINDEX nor"},
        {"#20=IFCINDEXEDPOLYCURVE(#30,$,.F.);#30=IFCCARTESIANPOINTLIST3D(((0.,0.)));", "point 1 does not have 3 numbers"},
        {"#20=IFCBSPLINECURVEWITHKNOTS(1,(#8,#8),.UNSPECIFIED.,.F.,.F.,(2,2),(0.,1.),.UNSPECIFIED.);",
         "this kind of item is not supported"},
    };
    for (const auto& [data, expected] : cases) {
        const Taken taken = readData(beamOf("#20") + data);
        ASSERT_EQ(taken.products.size(), 1u) << data;
        EXPECT_EQ(taken.products[0].shape, Shape::None) << data;
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << data << ": " << taken.problems[0].reason;
    }
}

} // namespace
} // namespace velmor_tests
