#include "importer/ifc/ReaderSupport.h"

#include <cmath>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

constexpr double p = polygonOfUnitCircle;

const std::string unitSquare = "#30=IFCRECTANGLEPROFILEDEF(.AREA.,$,$,1.,1.);\n";

TEST(Sweeps, ExtrusionsFollowTheirDirection) {
    expectSolid(beam("#20=IFCEXTRUDEDAREASOLID(#30,$,#7,3.);\n" + unitSquare), 3.0, 0, 0, 1.5);
    // As long as the diagonal of a unit square, and inclined by 45 degrees: the height is 1.
    const Product inclined =
        beam("#20=IFCEXTRUDEDAREASOLID(#30,#9,#21,1.4142135623730951);\n#21=IFCDIRECTION((1.,0.,1.));\n" + unitSquare);
    expectSolid(inclined, 1.0, 0.5, 0, 0.5);
    expectBox(inclined, -0.5, -0.5, 0, 1.5, 0.5, 1);
    // Downward extrusions are solids too.
    expectSolid(beam("#20=IFCEXTRUDEDAREASOLID(#30,$,#21,3.);\n#21=IFCDIRECTION((0.,0.,-1.));\n" + unitSquare), 3.0, 0, 0,
                -1.5);
}

TEST(Sweeps, ExtrusionsApplyTheirPosition) {
    const Product product = beam("#20=IFCEXTRUDEDAREASOLID(#30,#21,#7,3.);\n#21=IFCAXIS2PLACEMENT3D(#22,#5,#6);\n"
                                 "#22=IFCCARTESIANPOINT((10.,20.,30.));\n" +
                                 unitSquare);
    expectSolid(product, 3.0, 11.5, 20, 30);
    expectBox(product, 10, 19.5, 29.5, 13, 20.5, 30.5);
}

TEST(Sweeps, TaperedExtrusionsEndAtTheSecondProfile) {
    // A frustum from A = 4 to B = 1, h = 3 high: volume h/3 (A + sqrt(AB) + B) = 7, centroid at
    // h/4 (A + 2 sqrt(AB) + 3B) / (A + sqrt(AB) + B).
    const Product product = beam(
        "#20=IFCEXTRUDEDAREASOLIDTAPERED(#31,$,#7,3.,#30);\n#31=IFCRECTANGLEPROFILEDEF(.AREA.,$,$,2.,2.);\n" + unitSquare);
    expectSolid(product, 7.0, 0, 0, 0.75 * 11.0 / 7.0);
    const Taken different = readData(
        beamOf("#20") + "#20=IFCEXTRUDEDAREASOLIDTAPERED(#31,$,#7,3.,#30);\n#31=IFCCIRCLEPROFILEDEF(.AREA.,$,$,2.);\n" +
        unitSquare);
    EXPECT_NE(different.reasons().find("do not have the same number of corners"), std::string::npos);
}

// A unit square at x = 2.5, revolved around the y axis.
std::string revolved(const std::string& angle) {
    return "#20=IFCREVOLVEDAREASOLID(#30,$,#21," + angle +
           ");\n#21=IFCAXIS1PLACEMENT(#8,#6);\n"
           "#30=IFCRECTANGLEPROFILEDEF(.AREA.,$,#31,1.,1.);\n#31=IFCAXIS2PLACEMENT2D(#32,$);\n#32=IFCCARTESIANPOINT((2.5,0.)"
           ");\n";
}

TEST(Sweeps, RevolutionsTurnByTheirAngle) {
    // A ring of radius 2 to 3, approximated by a polygon.
    expectSolid(beam(revolved("6.283185307179586")), 5.0 * p, 0, 0, 0);
    const Product quarter = beam(revolved("1.5707963267948966"));
    EXPECT_EQ(quarter.shape, Shape::Solid);
    EXPECT_NEAR(quarter.volume, 5.0 * p / 4.0, 1e-9);
    expectBox(quarter, 0, -0.5, -3, 3, 0.5, 0);
    expectBox(beam(revolved("-1.5707963267948966")), 0, -0.5, 0, 3, 0.5, 3);
    EXPECT_NEAR(beam(revolved("-1.5707963267948966")).volume, 5.0 * p / 4.0, 1e-9);
    for (const char* angle : {"0.", "7.", "-7."})
        EXPECT_NE(readData(beamOf("#20") + revolved(angle)).reasons().find("its angle is zero or more than a full turn"),
                  std::string::npos)
            << angle;
}

TEST(Sweeps, ProfilesThatTouchTheAxisMakeSolids) {
    const Product cylinder = beam("#20=IFCREVOLVEDAREASOLID(#30,$,#21,6.283185307179586);\n#21=IFCAXIS1PLACEMENT(#8,#6);\n"
                                  "#30=IFCRECTANGLEPROFILEDEF(.AREA.,$,#31,1.,1.);\n#31=IFCAXIS2PLACEMENT2D(#32,$);\n"
                                  "#32=IFCCARTESIANPOINT((0.5,0.));\n");
    expectSolid(cylinder, p, 0, 0, 0);
}

TEST(Sweeps, SweptDisksAreClosedPipes) {
    const std::string straight = "#30=IFCPOLYLINE((#8,#31));\n#31=IFCCARTESIANPOINT((2.,0.,0.));\n";
    expectSolid(beam("#20=IFCSWEPTDISKSOLID(#30,0.5,$,$,$);\n" + straight), 0.25 * p * 2, 1, 0, 0);
    expectSolid(beam("#20=IFCSWEPTDISKSOLID(#30,0.5,0.25,$,$);\n" + straight), (0.25 - 0.0625) * p * 2, 1, 0, 0);
    // Around a corner: the cut by the bisecting plane preserves the volume of the two segments.
    const Product bent = beam("#20=IFCSWEPTDISKSOLIDPOLYGONAL(#30,0.5,$,$,$,$);\n#30=IFCPOLYLINE((#8,#31,#32));\n"
                              "#31=IFCCARTESIANPOINT((2.,0.,0.));\n#32=IFCCARTESIANPOINT((2.,3.,0.));\n");
    EXPECT_EQ(bent.shape, Shape::Solid);
    EXPECT_NEAR(bent.volume, 0.25 * p * 5, 1e-9);
    expectBox(bent, 0, -0.5, -0.5, 2.5, 3, 0.5);
    // Around a square: no lids.
    const Product ring =
        beam("#20=IFCSWEPTDISKSOLID(#30,0.5,$,$,$);\n#30=IFCPOLYLINE((#8,#31,#32,#33,#8));\n"
             "#31=IFCCARTESIANPOINT((4.,0.,0.));\n#32=IFCCARTESIANPOINT((4.,4.,0.));\n#33=IFCCARTESIANPOINT((0.,4.,0.));\n");
    expectSolid(ring, 0.25 * p * 16, 2, 2, 0);
}

TEST(Sweeps, PrimitiveSolidsHaveTheirVolume) {
    expectSolid(beam("#20=IFCBLOCK(#9,1.,2.,3.);"), 6.0, 0.5, 1, 1.5);
    expectSolid(beam("#20=IFCRECTANGULARPYRAMID(#9,2.,2.,3.);"), 4.0, 1, 1, 0.75);
    expectSolid(beam("#20=IFCRIGHTCIRCULARCYLINDER(#9,3.,2.);"), 12.0 * p, 0, 0, 1.5);
    expectSolid(beam("#20=IFCRIGHTCIRCULARCONE(#9,3.,2.);"), 4.0 * p, 0, 0, 0.75);
    // A sphere is 32 slices, each the frustum of a pyramid on a polygon.
    double volume = 0.0;
    for (int i = 0; i < 32; ++i) {
        const double a = std::acos(-1.0) * i / 32;
        const double b = std::acos(-1.0) * (i + 1) / 32;
        const double height = std::cos(a) - std::cos(b);
        volume +=
            8.0 * p * height / 3.0 * (std::sin(a) * std::sin(a) + std::sin(a) * std::sin(b) + std::sin(b) * std::sin(b));
    }
    const Product sphere = beam("#20=IFCSPHERE(#9,2.);");
    expectSolid(sphere, volume, 0, 0, 0);
    expectBox(sphere, -2, -2, -2, 2, 2, 2);
}

TEST(Sweeps, InvalidSweepsAreReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"#20=IFCEXTRUDEDAREASOLID(#30,$,#7,0.);", "a positive number"},
        {"#20=IFCEXTRUDEDAREASOLID(#30,$,#7,$);", "a number"},
        {"#20=IFCEXTRUDEDAREASOLID(#30,$,$,1.);", "a reference to an instance"},
        {"#20=IFCEXTRUDEDAREASOLID($,$,#7,1.);", "a reference to an instance"},
        {"#20=IFCEXTRUDEDAREASOLID(#30,$,#8,1.);", "is used where an IFCDIRECTION is expected"},
        {"#20=IFCEXTRUDEDAREASOLID(#30,$,#21,1.);#21=IFCDIRECTION((0.,0.,0.));", "has no direction"},
        {"#20=IFCEXTRUDEDAREASOLID(#30,#8,#7,1.);", "this kind of placement is not supported"},
        {"#20=IFCEXTRUDEDAREASOLID(#30,#21,#7,1.);#21=IFCAXIS2PLACEMENT3D(#8,#7,#7);", "its axes are parallel"},
        {"#20=IFCSWEPTDISKSOLID(#21,0.5,0.5,$,$);#21=IFCPOLYLINE((#8,#22));#22=IFCCARTESIANPOINT((1.,0.));",
         "not less than its radius"},
        {"#20=IFCSWEPTDISKSOLID(#21,0.5,$,$,$);#21=IFCPOLYLINE((#8,#8));", "fewer than two points"},
        {"#20=IFCSWEPTDISKSOLID(#21,0.5,$,$,$);#21=IFCPOLYLINE((#8,#22,#8));#22=IFCCARTESIANPOINT((1.,0.));",
         "has no direction"},
        {"#20=IFCSURFACECURVESWEPTAREASOLID(#30,$,#8,0.,1.,#8);",
         "IFCSURFACECURVESWEPTAREASOLID: this kind of item is not supported"},
    };
    for (const auto& [data, expected] : cases) {
        const Taken taken = readData(beamOf("#20") + data + "\n" + unitSquare);
        ASSERT_EQ(taken.products.size(), 1u) << data;
        EXPECT_EQ(taken.products[0].shape, Shape::None) << data;
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << data << ": " << taken.problems[0].reason;
    }
}

} // namespace
} // namespace velmor_tests
