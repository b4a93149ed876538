#include "importer/ifc/property/PropertySupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

using Velmor::IFC4_MapConversion;
using Velmor::IFC4_MapProjection;

const std::string context = "#20=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,1.E-5,#21,$);\n"
                            "#21=IFCAXIS2PLACEMENT3D(#22,$,$);\n#22=IFCCARTESIANPOINT((1.5,-2.,3.25));\n";
const std::string target = "#30=IFCPROJECTEDCRS('EPSG:25832','UTM in band 32','ETRS89','DHHN92','UTM','UTM32',#31);\n"
                           "#31=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n";
const std::string conversion = "#40=IFCMAPCONVERSION(#20,#30,458657.3,5438232.25,113.7,0.25,-0.75,1000.);\n";

/// The only georeference of a model. Expects that there was no problem.
IFC4_MapConversion only(const std::string& data) {
    const Taken taken = readData(data);
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(taken.georeferences.size(), 1u);
    return taken.georeferences.empty() ? IFC4_MapConversion() : taken.georeferences.front();
}

TEST(Georeference, ReadsEveryAttribute) {
    const IFC4_MapConversion read = only(context + target + conversion + "#50=IFCWALL('x',$,$,$,$,$,$);\n");
    EXPECT_EQ(read.getSourceOrigin().x, 1.5);
    EXPECT_EQ(read.getSourceOrigin().y, -2.0);
    EXPECT_EQ(read.getSourceOrigin().z, 3.25);
    EXPECT_EQ(read.getEastings(), 458657.3);
    EXPECT_EQ(read.getNorthings(), 5438232.25);
    EXPECT_EQ(read.getOrthogonalHeight(), 113.7);
    EXPECT_EQ(read.getXAxisAbscissa(), 0.25);
    EXPECT_EQ(read.getXAxisOrdinate(), -0.75);
    EXPECT_EQ(read.getScaleToMapProjection(), 1000.0);
    const IFC4_MapProjection& projection = read.getMapProjection();
    EXPECT_EQ(utf8(projection.getName()), "EPSG:25832");
    EXPECT_EQ(utf8(projection.getDescription()), "UTM in band 32");
    EXPECT_EQ(utf8(projection.getGeodeticDatum()), "ETRS89");
    EXPECT_EQ(utf8(projection.getVerticalDatum()), "DHHN92");
    EXPECT_EQ(utf8(projection.getProjectionType()), "UTM");
    EXPECT_EQ(utf8(projection.getZone()), "UTM32");
    EXPECT_EQ(utf8(projection.getUnitName()), "METRE");
    EXPECT_EQ(projection.getScaleToMetric(), 1.0);
}

TEST(Georeference, OmittedAttributesHaveTheDefaultsOfTheLibrary) {
    const IFC4_MapConversion read =
        only("#20=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,$,$,$);\n#30=IFCPROJECTEDCRS($,$,$,$,$,$,$);\n"
             "#40=IFCMAPCONVERSION(#20,#30,$,$,$,$,$,$);\n");
    EXPECT_EQ(read.getSourceOrigin().x, 0.0);
    EXPECT_EQ(read.getEastings(), 0.0);
    EXPECT_EQ(read.getNorthings(), 0.0);
    EXPECT_EQ(read.getOrthogonalHeight(), 0.0);
    EXPECT_EQ(read.getXAxisAbscissa(), 0.0);
    EXPECT_EQ(read.getXAxisOrdinate(), 0.0);
    EXPECT_EQ(read.getScaleToMapProjection(), 1.0);
    EXPECT_TRUE(read.getMapProjection().getName().empty());
    EXPECT_TRUE(read.getMapProjection().getUnitName().empty());
    EXPECT_EQ(read.getMapProjection().getScaleToMetric(), 1.0);
}

TEST(Georeference, ReadsNameAndSizeOfTheMapUnit) {
    struct {
        const char* unit;
        const char* name;
        double factor;
    } const cases[] = {
        {"#31=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n", "METRE", 1.0},
        {"#31=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n", "MILLIMETRE", 0.001},
        {"#31=IFCSIUNIT(*,.LENGTHUNIT.,.KILO.,.METRE.);\n", "KILOMETRE", 1000.0},
        {"#31=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'US survey foot',#32);\n#32=IFCMEASUREWITHUNIT(IFCLENGTHMEASURE(304.8),"
         "#33);\n#33=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n",
         "US survey foot", 304.8 * 0.001},
    };
    for (const auto& [unit, name, factor] : cases) {
        const IFC4_MapConversion read = only(context + "#30=IFCPROJECTEDCRS('x',$,$,$,$,$,#31);\n" + unit + conversion);
        EXPECT_EQ(utf8(read.getMapProjection().getUnitName()), name);
        EXPECT_EQ(read.getMapProjection().getScaleToMetric(), factor) << name;
    }
}

TEST(Georeference, SourceOriginIsThatOfTheContext) {
    struct {
        const char* source;
        double x, y, z;
    } const cases[] = {
        {"#20=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Plan',2,$,#21,$);\n#21=IFCAXIS2PLACEMENT2D(#22,$);\n"
         "#22=IFCCARTESIANPOINT((7.,8.));\n",
         7, 8, 0},
        {"#20=IFCGEOMETRICREPRESENTATIONSUBCONTEXT('Body','Model',*,*,*,*,#23,$,.MODEL_VIEW.,$);\n"
         "#23=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,$,#21,$);\n#21=IFCAXIS2PLACEMENT3D(#22,$,$);\n"
         "#22=IFCCARTESIANPOINT((1.,2.,3.));\n",
         1, 2, 3},
        {"#20=IFCPROJECTEDCRS('another map',$,$,$,$,$,$);\n", 0, 0, 0},
    };
    for (const auto& [source, x, y, z] : cases) {
        const IFC4_MapConversion read = only(source + target + conversion);
        EXPECT_EQ(read.getSourceOrigin().x, x);
        EXPECT_EQ(read.getSourceOrigin().y, y);
        EXPECT_EQ(read.getSourceOrigin().z, z);
    }
}

TEST(Georeference, KeepsTheNumbersOfTheFileInItsUnits) {
    const Taken taken =
        readText(stepFile("#1=IFCPROJECT('0000000000000000000000',$,$,$,$,$,$,$,#2);\n#2=IFCUNITASSIGNMENT((#3));\n"
                          "#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n" +
                          context + target + conversion));
    ASSERT_EQ(taken.georeferences.size(), 1u);
    EXPECT_EQ(taken.georeferences[0].getSourceOrigin().x, 1.5);
    EXPECT_EQ(taken.georeferences[0].getEastings(), 458657.3);
}

TEST(Georeference, UsesTheFirstValidConversionOfSeveral) {
    const Taken taken =
        readData("#39=IFCMAPCONVERSION(#20,#30,'east',$,$,$,$,$);\n" + context + target + conversion +
                 "#41=IFCMAPCONVERSION(#20,#30,2.,$,$,$,$,$);\n#42=IFCMAPCONVERSION(#20,#30,3.,$,$,$,$,$);\n");
    ASSERT_EQ(taken.georeferences.size(), 1u);
    EXPECT_EQ(taken.georeferences[0].getEastings(), 458657.3);
    ASSERT_EQ(taken.problems.size(), 3u) << taken.reasons();
    EXPECT_EQ(taken.problems[0].instance, 39u);
    EXPECT_EQ(taken.problems[1].instance, 41u);
    EXPECT_EQ(taken.problems[2].instance, 42u);
    EXPECT_EQ(taken.problems[2].reason, "IFCMAPCONVERSION: is a further map conversion and is ignored; the first valid one "
                                        "is used (in the model's georeference)");
}

TEST(Georeference, ReportsFactorsOfSingleAxes) {
    const std::string scaled = "#40=IFCMAPCONVERSIONSCALED(#20,#30,1.,2.,3.,1.,0.,1.,";
    EXPECT_EQ(only(context + target + scaled + "1.,1.,1.);\n").getNorthings(), 2.0);
    const Taken taken = readData(context + target + scaled + "1.,1.,0.5);\n");
    EXPECT_EQ(taken.georeferences.size(), 1u);
    EXPECT_NE(taken.reasons().find("its factors for single axes are not imported"), std::string::npos);
}

TEST(Georeference, ModelWithoutMapConversionHasNoGeoreference) {
    EXPECT_TRUE(readData(context + target).georeferences.empty());
}

TEST(Georeference, ReportsInvalidConversionAndDoesNotImportIt) {
    const std::pair<std::string, const char*> cases[] = {
        {context + conversion, "refers to #30"},
        {target + conversion, "refers to #20"},
        {context + target + "#40=IFCMAPCONVERSION($,#30,1.,1.,1.,1.,1.,1.);\n", "a reference to an instance"},
        {context + target + "#40=IFCMAPCONVERSION(#20,#30,1.,.T.,1.,1.,1.,1.);\n",
         "argument 4 is invalid; expected a number"},
        {context + target + "#40=IFCMAPCONVERSION(#20,#30,1.,1E400,1.,1.,1.,1.);\n",
         "argument 4 is invalid; expected a number"},
        {context + "#30=IFCWALL('x',$,$,$,$,$,$);\n" + conversion, "is not a projected coordinate reference system"},
        {context + "#30=IFCPROJECTEDCRS($,$,$,$,$,$,#31);\n#31=IFCSIUNIT(*,.AREAUNIT.,$,.SQUARE_METRE.);\n" + conversion,
         "is not a unit of the expected type LENGTHUNIT"},
        {context + "#30=IFCPROJECTEDCRS($,$,$,$,$,$,#31);\n#31=IFCMONETARYUNIT('EUR');\n" + conversion, "is not supported"},
        {"#20=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,$,#21,$);\n#21=IFCAXIS2PLACEMENT3D(#22,$,$);\n"
         "#22=IFCCARTESIANPOINT(('x'));\n" +
             target + conversion,
         "IFCCARTESIANPOINT"},
        {"#20=IFCGEOMETRICREPRESENTATIONSUBCONTEXT('Body','Model',*,*,*,*,#20,$,.MODEL_VIEW.,$);\n" + target + conversion,
         "contains itself"},
    };
    for (const auto& [data, reason] : cases) {
        const Taken taken = readData(data);
        EXPECT_TRUE(taken.georeferences.empty()) << data;
        EXPECT_NE(taken.reasons().find(reason), std::string::npos) << data << taken.reasons();
        EXPECT_NE(taken.reasons().find("(in the model's georeference)"), std::string::npos) << data;
    }
}

} // namespace
} // namespace velmor_tests
