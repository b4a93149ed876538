#include "importer/ifc/ReaderSupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

const std::string point =
    "#10=IFCWALL('1234567890123456789012',$,$,$,$,$,#11,$,$);\n#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n"
    "#12=IFCSHAPEREPRESENTATION($,'Body','any',(#13));\n#13=IFCCARTESIANPOINT((1.,0.,0.));\n";

Taken withUnits(const std::string& units) {
    return readText(stepFile("#1=IFCPROJECT('0000000000000000000000',$,$,$,$,$,$,$,#2);\n" + units + point));
}

/// The length unit of the file, in meters.
double meters(const std::string& units) {
    const Product product = onlyProduct(withUnits(units));
    return product.vertices.empty() ? 0.0 : product.vertices[0];
}

TEST(Units, ReadsSiUnitsWithPrefixes) {
    const std::pair<const char*, double> cases[] = {
        {"$", 1.0},       {".MILLI.", 1e-3}, {".CENTI.", 1e-2},  {".DECI.", 1e-1},  {".KILO.", 1e3},
        {".HECTO.", 1e2}, {".DECA.", 1e1},   {".MICRO.", 1e-6},  {".NANO.", 1e-9},  {".PICO.", 1e-12},
        {".MEGA.", 1e6},  {".GIGA.", 1e9},   {".FEMTO.", 1e-15}, {".ATTO.", 1e-18}, {".TERA.", 1e12}};
    for (const auto& [prefix, factor] : cases)
        EXPECT_DOUBLE_EQ(meters("#2=IFCUNITASSIGNMENT((#4,#3));\n#3=IFCSIUNIT(*,.LENGTHUNIT.," + std::string(prefix) +
                                ",.METRE.);\n#4=IFCSIUNIT(*,.AREAUNIT.,.KILO.,.SQUARE_METRE.);\n"),
                         factor)
            << prefix;
}

TEST(Units, ReadsConvertedUnitsSuchAsFootAndInch) {
    const std::string unit = "#2=IFCUNITASSIGNMENT((#3));\n#3=IFCCONVERSIONBASEDUNIT(#4,.LENGTHUNIT.,'any name',#5);\n"
                             "#4=IFCDIMENSIONALEXPONENTS(1,0,0,0,0,0,0);\n";
    EXPECT_DOUBLE_EQ(
        meters(unit + "#5=IFCMEASUREWITHUNIT(IFCLENGTHMEASURE(0.3048),#6);\n#6=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n"),
        0.3048);
    EXPECT_DOUBLE_EQ(
        meters(unit + "#5=IFCMEASUREWITHUNIT(IFCRATIOMEASURE(25.4),#6);\n#6=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n"),
        0.0254);
    // A foot of twelve inches.
    EXPECT_DOUBLE_EQ(
        meters(unit + "#5=IFCMEASUREWITHUNIT(12.,#6);\n#6=IFCCONVERSIONBASEDUNIT(#4,.LENGTHUNIT.,'inch',#7);\n"
                      "#7=IFCMEASUREWITHUNIT(IFCLENGTHMEASURE(0.0254),#8);\n#8=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n"),
        12 * 0.0254);
}

TEST(Units, VolumesAreInCubicMeters) {
    const Taken taken =
        readText(stepFile("#1=IFCPROJECT('0000000000000000000000',$,$,$,$,$,$,$,#2);\n#2=IFCUNITASSIGNMENT((#3));\n"
                          "#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n" +
                          beamOf("#20") + "#20=IFCBLOCK(#9,1000.,2000.,3000.);\n"));
    expectSolid(onlyProduct(taken), 6.0, 0.5, 1, 1.5);
}

TEST(Units, AnglesAreInTheUnitOfTheProject) {
    const Taken taken = readText(
        stepFile("#1=IFCPROJECT('0000000000000000000000',$,$,$,$,$,$,$,#2);\n#2=IFCUNITASSIGNMENT((#3,#4));\n"
                 "#3=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n#4=IFCCONVERSIONBASEDUNIT($,.PLANEANGLEUNIT.,'DEGREE',#40);\n"
                 "#40=IFCMEASUREWITHUNIT(IFCPLANEANGLEMEASURE(0.017453292519943295),#41);\n"
                 "#41=IFCSIUNIT(*,.PLANEANGLEUNIT.,$,.RADIAN.);\n" +
                 beamOf("#20") +
                 "#20=IFCTRIMMEDCURVE(#21,(IFCPARAMETERVALUE(0.)),(IFCPARAMETERVALUE(90.)),.T.,.PARAMETER.);\n#21=IFCCIRCLE("
                 "#9,1.);\n"));
    expectBox(onlyProduct(taken), 0, 0, 0, 1, 1, 0);
}

TEST(Units, UsesTheFirstAssignmentWithoutAProject) {
    const Taken taken = readText(stepFile("#2=IFCUNITASSIGNMENT((#3));\n#3=IFCSIUNIT(*,.LENGTHUNIT.,.CENTI.,.METRE.);\n"
                                          "#4=IFCUNITASSIGNMENT(());\n" +
                                          point));
    EXPECT_DOUBLE_EQ(onlyProduct(taken).vertices[0], 0.01);
}

TEST(Units, ReportsInvalidUnitsAndAssumesMetres) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "refers to #2, which does not exist in the file"},
        {"#2=IFCUNITASSIGNMENT(());\n", "no usable length unit is defined; meters are assumed (in the model's units)"},
        {"#2=IFCUNITASSIGNMENT($);\n", "a list"},
        {"#2=IFCUNITASSIGNMENT((#99));\n", "refers to #99"},
        {"#2=IFCUNITASSIGNMENT((#3));\n#3=IFCSIUNIT(*,.LENGTHUNIT.,.DOZEN.,.METRE.);\n", "unknown SI prefix: DOZEN"},
        {"#2=IFCUNITASSIGNMENT((#3));\n#3=IFCCONTEXTDEPENDENTUNIT($,.LENGTHUNIT.,'step');\n", "meters are assumed"},
        {"#2=IFCUNITASSIGNMENT((#3));\n#3=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'x',#4);\n#4=IFCMEASUREWITHUNIT(0.,#3);\n",
         "a positive number"},
        {"#2=IFCUNITASSIGNMENT((#3));\n#3=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'x',#4);\n#4=IFCMEASUREWITHUNIT(2.,#3);\n",
         "contains itself"},
        {"#2=IFCUNITASSIGNMENT((#3));\n#3=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'x',#4);\n#4=IFCMEASUREWITHUNIT(1E308,#5);\n"
         "#5=IFCSIUNIT(*,.LENGTHUNIT.,.EXA.,.METRE.);\n",
         "the factor of the unit is out of range"},
    };
    for (const auto& [units, expected] : cases) {
        const Taken taken = withUnits(units);
        EXPECT_NE(taken.reasons().find(expected), std::string::npos) << units << ": " << taken.reasons();
        EXPECT_NE(taken.reasons().find("meters are assumed"), std::string::npos) << units;
        ASSERT_EQ(taken.products.size(), 1u);
        EXPECT_EQ(taken.products[0].vertices, (std::vector<double>{1, 0, 0})) << units;
    }
    EXPECT_NE(readText(stepFile(point)).reasons().find("no usable length unit is defined"), std::string::npos);
}

TEST(Units, InvalidUnitDoesNotAffectTheOthers) {
    const Taken taken = withUnits("#2=IFCUNITASSIGNMENT((#98,#4,#3));\n#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n"
                                  "#4=IFCSIUNIT(*,.PLANEANGLEUNIT.,.DOZEN.,.RADIAN.);\n");
    EXPECT_EQ(taken.problems.size(), 2u) << taken.reasons();
    EXPECT_DOUBLE_EQ(taken.products.at(0).vertices.at(0), 0.001);
}

} // namespace
} // namespace velmor_tests
