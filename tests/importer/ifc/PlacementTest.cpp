#include "importer/ifc/ReaderSupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// A wall whose placement is #20 and whose body is the point (1, 2, 3).
Taken placed(const std::string& data) {
    return readData("#10=IFCWALL('1234567890123456789012',$,$,$,$,#20,#11,$,$);\n#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n"
                    "#12=IFCSHAPEREPRESENTATION($,'Body','any',(#13));\n#13=IFCCARTESIANPOINT((1.,2.,3.));\n"
                    "#5=IFCDIRECTION((1.,0.,0.));\n#6=IFCDIRECTION((0.,2.,0.));\n#7=IFCDIRECTION((0.,0.,3.));\n"
                    "#8=IFCCARTESIANPOINT((0.,0.,0.));\n#9=IFCCARTESIANPOINT((10.,20.,30.));\n" +
                    data);
}

void expectPoint(const std::string& data, double x, double y, double z) {
    SCOPED_TRACE(data);
    const Product product = onlyProduct(placed(data));
    ASSERT_EQ(product.vertices.size(), 3u);
    EXPECT_NEAR(product.vertices[0], x, 1e-12);
    EXPECT_NEAR(product.vertices[1], y, 1e-12);
    EXPECT_NEAR(product.vertices[2], z, 1e-12);
}

TEST(Placements, OmittedAxesHaveTheirDefaults) {
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#9,$,$);", 11, 22, 33);
    // Only the x axis is given: y is perpendicular to it.
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,$,#6);", -2, 1, 3);
    // Only the z axis is given: x is the part of the x axis of the world that is perpendicular to it.
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,#6,$);", 1, 3, -2);
    // z is the x axis of the world: the reference direction is its y axis.
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,#5,$);", 3, 1, 2);
}

TEST(Placements, MakesTheXAxisPerpendicular) {
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,#7,#22);#22=IFCDIRECTION((0.,1.,5.));", -2, 1, 3);
}

TEST(Placements, TwoDimensionalPlacementsRotateAroundZ) {
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT2D(#22,#23);#22=IFCCARTESIANPOINT((10.,20.));"
                "#23=IFCDIRECTION((0.,1.));",
                8, 21, 3);
    expectPoint("#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT2D(#22,$);#22=IFCCARTESIANPOINT((10.,20.));", 11, 22, 3);
}

TEST(Placements, AppliesChainsFromTheWorldInward) {
    // Translated by (10, 20, 30) within a placement that is rotated by 90 degrees around z.
    expectPoint("#20=IFCLOCALPLACEMENT(#21,#23);#21=IFCLOCALPLACEMENT($,#22);#22=IFCAXIS2PLACEMENT3D(#8,#7,#6);"
                "#23=IFCAXIS2PLACEMENT3D(#9,$,$);",
                -22, 11, 33);
}

TEST(Placements, ProductWithoutPlacementIsInTheWorld) {
    const Product product =
        onlyProduct(readData("#10=IFCWALL('1234567890123456789012',$,$,$,$,$,#11,$,$);\n"
                             "#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n"
                             "#12=IFCSHAPEREPRESENTATION($,'Body','any',(#13));\n#13=IFCCARTESIANPOINT((1.,2.,3.));\n"));
    EXPECT_EQ(product.vertices, (std::vector<double>{1, 2, 3}));
}

TEST(Placements, ReportsCycleWithTheInstanceThatClosesIt) {
    const std::string axes = "#21=IFCAXIS2PLACEMENT3D(#8,$,$);\n";
    const std::pair<const char*, std::uint64_t> cases[] = {
        {"#20=IFCLOCALPLACEMENT(#20,#21);", 20},
        {"#20=IFCLOCALPLACEMENT(#22,#21);#22=IFCLOCALPLACEMENT(#20,#21);", 22},
        {"#20=IFCLOCALPLACEMENT(#22,#21);#22=IFCLOCALPLACEMENT(#23,#21);#23=IFCLOCALPLACEMENT(#22,#21);", 23},
    };
    for (const auto& [data, closing] : cases) {
        const Taken taken = placed(data + axes);
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_EQ(taken.problems[0].instance, closing);
        EXPECT_EQ(taken.problems[0].reason, "IFCLOCALPLACEMENT: its chain of placements is circular (in IFCWALL #10)");
    }
}

TEST(Placements, InvalidPlacementLeavesTheProductWithoutShape) {
    const std::pair<const char*, const char*> cases[] = {
        {"#20=IFCLOCALPLACEMENT(#20,#21);#21=IFCAXIS2PLACEMENT3D(#8,$,$);", "its chain of placements is circular"},
        {"#20=IFCLOCALPLACEMENT(#22,#21);#22=IFCLOCALPLACEMENT(#20,#21);#21=IFCAXIS2PLACEMENT3D(#8,$,$);", "is circular"},
        {"#20=IFCLOCALPLACEMENT(#22,#21);#22=IFCLOCALPLACEMENT(#22,#21);#21=IFCAXIS2PLACEMENT3D(#8,$,$);", "is circular"},
        {"#20=IFCGRIDPLACEMENT(#8,$);", "IFCGRIDPLACEMENT: this kind of placement is not supported"},
        {"#20=IFCLINEARPLACEMENT($,#8,$);", "IFCLINEARPLACEMENT: this kind of placement is not supported"},
        {"#20=IFCLOCALPLACEMENT($,#8);", "this kind of placement is not supported"},
        {"#20=IFCLOCALPLACEMENT($,$);", "a reference to an instance"},
        {"#20=IFCLOCALPLACEMENT(#99,#21);#21=IFCAXIS2PLACEMENT3D(#8,$,$);", "refers to #99"},
        {"#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#5,$,$);", "is used where an IFCCARTESIANPOINT is expected"},
        {"#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,#22,$);#22=IFCDIRECTION((0.,0.,0.));", "has no direction"},
        {"#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,#22,$);#22=IFCDIRECTION((1E-320,0.,0.));",
         "has no direction"},
        {"#20=IFCLOCALPLACEMENT($,#21);#21=IFCAXIS2PLACEMENT3D(#8,#6,#6);", "its axes are parallel"},
        {"#99=IFCX();", "refers to #20, which does not exist in the file"},
    };
    for (const auto& [data, expected] : cases) {
        const Taken taken = placed(std::string(data) + "\n");
        ASSERT_EQ(taken.products.size(), 1u) << data;
        EXPECT_EQ(taken.products[0].globalId, "1234567890123456789012");
        EXPECT_EQ(taken.products[0].shape, Shape::None) << data;
        EXPECT_TRUE(taken.products[0].vertices.empty());
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << data << ": " << taken.problems[0].reason;
    }
}

} // namespace
} // namespace velmor_tests
