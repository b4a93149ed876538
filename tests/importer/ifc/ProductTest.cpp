#include "importer/ifc/ReaderSupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

TEST(Products, HaveDecodedAttributes) {
    const Taken taken = readData("\n#10=IFCBEAM('1234567890123456789012',$,'Tr\\X2\\00E4\\X0\\ger ''A''',$,$,$,$,$,$);\n");
    const Product product = onlyProduct(taken);
    EXPECT_EQ(product.instance, 10u);
    EXPECT_EQ(product.line, 13u);
    EXPECT_EQ(product.globalId, "1234567890123456789012");
    EXPECT_EQ(product.className, "IFCBEAM");
    EXPECT_EQ(product.name, VELMOR_WIDE("Tr\u00E4ger 'A'"));
    EXPECT_EQ(product.shape, Shape::None);
    EXPECT_TRUE(product.vertices.empty());
}

TEST(Products, PassGlobalIdsOfAnyLengthOn) {
    EXPECT_EQ(onlyProduct(readData("#10=IFCBEAM('',$,$,$,$,$,$);\n")).globalId, "");
    EXPECT_EQ(onlyProduct(readData("#10=IFCBEAM($,$,$,$,$,$,$);\n")).globalId, "");
    EXPECT_EQ(onlyProduct(readData("#10=IFCBEAM('short',$,$,$,$,$,$);\n")).globalId, "short");
    EXPECT_EQ(onlyProduct(readData("#10=IFCBEAM('" + std::string(100, 'x') + "',$,$,$,$,$,$);\n")).globalId,
              std::string(100, 'x'));
    EXPECT_EQ(onlyProduct(readData("#10=IFCBEAM('\\X2\\00E4\\X0\\',$,$,$,$,$,$);\n")).globalId, "\xC3\xA4");
}

TEST(Products, FollowTheSchemaInTheOrderOfTheFile) {
    const Taken taken =
        readText(stepFile("#90=IFCWALL('b',$,$,$,$,$,$);\n#30=IFCSLAB('a',$,$,$,$,$,$);\n" + inMeters, "IFC2X3"));
    EXPECT_EQ(taken.schemas, std::vector<std::string>{"IFC2X3"});
    ASSERT_EQ(taken.products.size(), 2u);
    EXPECT_EQ(taken.products[0].globalId, "b");
    EXPECT_EQ(taken.products[1].globalId, "a");
    EXPECT_EQ(taken.reasons(), "");
}

TEST(Products, AreElementsSpacesPortsAndGridsButNotAnnotations) {
    for (const char* name :
         {"IFCWALL", "IFCWALLSTANDARDCASE", "IFCBUILTELEMENT", "IFCSITE", "IFCSPACE", "IFCFACILITYPART",
          "IFCDISTRIBUTIONPORT", "IFCGRID", "IFCALIGNMENT", "IFCREFERENT", "IFCPROXY", "IFCOPENINGELEMENT",
          "IFCVIRTUALELEMENT", "IFCREINFORCINGBAR", "IFCELECTRICDISTRIBUTIONPOINT", "IFCACTUATOR", "IFCWINDOW"})
        EXPECT_EQ(entityNamed(name), Entity::Product) << name;
    for (const char* name : {"IFCBEAMTYPE", "IFCANNOTATION", "IFCSTRUCTURALCURVEMEMBER", "IFCALIGNMENTSEGMENT", "IFCPROJECT",
                             "IFCDOORSTYLE", "IFCZONE", "IFCGROUP", "IFCWAL", "IFCWALLS", "IFC", "", "ZZZ", "A"})
        EXPECT_NE(entityNamed(name), Entity::Product) << name;
}

TEST(Products, WithInvalidArgumentsAreReportedAndPassedOn) {
    const Taken few = readData("#10=IFCBEAM('1234567890123456789012',$,'n');\n");
    ASSERT_EQ(few.products.size(), 1u);
    EXPECT_EQ(few.products[0].globalId, "1234567890123456789012");
    EXPECT_EQ(few.reasons(), "IFCBEAM: has 3 arguments; expected 7 or more (in IFCBEAM #10)\n");
    const Taken none = readData("#10=IFCBEAM();\n");
    ASSERT_EQ(none.products.size(), 1u);
    EXPECT_EQ(none.problems.size(), 3u);
    const Taken wrong = readData("#10=IFCBEAM(5,$,#1,$,$,$,$);\n");
    ASSERT_EQ(wrong.products.size(), 1u);
    EXPECT_EQ(wrong.products[0].globalId, "");
    EXPECT_EQ(wrong.reasons(),
              "IFCBEAM: its GlobalId is not a text (in IFCBEAM #10)\nIFCBEAM: its name is not a text (in IFCBEAM #10)\n");
}

TEST(Products, AreReportedAfterDamagedInstancesOfTheFile) {
    const Taken taken = readData("#10=IFCBEAM($,$,$,$,$,$,#99);\n#11 damaged;\n");
    ASSERT_EQ(taken.problems.size(), 2u);
    EXPECT_EQ(taken.problems[0].line, 13u);
    EXPECT_EQ(taken.problems[1].line, 12u);
    EXPECT_EQ(taken.problems[1].instance, 10u);
}

TEST(Products, ProgressNeverDecreasesAndEndsAtOne) {
    std::string data;
    for (int i = 0; i < 1000; ++i)
        data += "#" + std::to_string(100 + i) + "=IFCWALL($,$,$,$,$,$,$);\n";
    for (const Taken& taken : {readData(data), readData("")}) {
        ASSERT_FALSE(taken.steps.empty());
        for (std::size_t i = 1; i < taken.steps.size(); ++i)
            EXPECT_GE(taken.steps[i], taken.steps[i - 1]);
        EXPECT_GE(taken.steps.front(), 0.0);
        EXPECT_EQ(taken.steps.back(), 1.0);
        EXPECT_LE(taken.steps.size(), 210u);
    }
}

TEST(Products, WithManyProblemsReportTheFirstAndCountTheOthers) {
    std::string items;
    for (int i = 0; i < 100; ++i)
        items += (i ? ",#" : "#") + std::to_string(1000 + i);
    const Taken taken = readData(beamOf(items));
    EXPECT_EQ(taken.problems.size(), 17u);
    EXPECT_EQ(taken.problems.back().reason, "and 84 more problems (in IFCBEAM #10)");
}

TEST(Products, ExceptionsOfTheSinkArePassedOn) {
    class Throwing : public Taken {
        void problem(const Problem&) override { throw 7; }
    } sink;
    const step::File file = fileOf(stepFile(inMeters + "#10=IFCBEAM(5,$,$,$,$,$,$);\n"));
    EXPECT_THROW(readProducts(file, Limits::forFile(file.size()), sink), int);
}

} // namespace
} // namespace velmor_tests
