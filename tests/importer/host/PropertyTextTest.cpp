#include "importer/host/PropertyText.h"

#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/PropertySamples.h"
#include "importer/host/ImporterRun.h"
#include "importer/host/Report.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

using namespace importer::host;
using namespace importer::exchange;

namespace velmor_tests {

TEST(FormatNumber, ReturnsTheShortestTextThatParsesBack) {
    const std::pair<double, const char*> cases[] = {{0.0, "0"},
                                                    {-0.0, "-0"},
                                                    {6200, "6200"},
                                                    {500000, "500000"},
                                                    {5334765.5, "5334765.5"},
                                                    {0.1, "0.1"},
                                                    {-0.00012, "-0.00012"},
                                                    {1.0 / 3, "0.3333333333333333"},
                                                    {1e15, "1000000000000000"},
                                                    {1e16, "1e+16"},
                                                    {1e-7, "1e-07"},
                                                    {1e300, "1e+300"},
                                                    {5e-324, "5e-324"},
                                                    {std::numeric_limits<double>::infinity(), "inf"},
                                                    {-std::numeric_limits<double>::infinity(), "-inf"}};
    for (const auto& [number, text] : cases)
        EXPECT_EQ(formatNumber(number), text);
}

TEST(FormatNumber, PreservesEveryBit) {
    Random random;
    for (int round = 0; round < 100000; ++round) {
        const std::uint64_t bits = random.bits();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        const auto text = formatNumber(number);
        if (std::isnan(number)) {
            EXPECT_EQ(std::strtoull(text.substr(4).c_str(), nullptr, 16), bits) << text;
        } else {
            const double back = std::strtod(text.c_str(), nullptr);
            EXPECT_EQ(std::memcmp(&back, &number, sizeof number), 0) << text;
        }
    }
}

TEST(FormatPropertySet, ContainsEveryTypeAndValue) {
    const auto all = onePropertyOfEachType();
    const auto set =
        propertySet("a set", {complexProperty("outer", "its usage", {complexProperty("inner", "", all)}), all[0]},
                    "0123456789012345678901", "its description");
    const std::string nested = "        text: text 'T\xC3\xBCr \xE2\x82\xAC', described as 'a d\xC3\xA9scription'\n"
                               "        real 0: real 0\n"
                               "        real 4: number 0.4\n"
                               "        real 5: length 0.5\n"
                               "        real 6: area 0.6000000000000001\n"
                               "        real 7: volume 0.7000000000000001\n"
                               "        real 8: mass 0.8\n"
                               "        real 9: plane angle 0.9\n"
                               "        yes: boolean true\n"
                               "        no: boolean false\n"
                               "        integer: integer -2147483648\n"
                               "        long: 64-bit integer -9223372036854775808\n"
                               "        logical: logical false\n"
                               "        logical: logical true\n"
                               "        logical: logical unknown\n"
                               "        logical: logical 7\n"
                               "        angle: compound plane angle (-48, -8, -14, -520000)\n";
    EXPECT_EQ(formatPropertySet(set), "  a set (0123456789012345678901), described as 'its description'\n"
                                      "    outer: complex 'its usage'\n"
                                      "      inner: complex ''\n" +
                                          nested +
                                          "    text: text 'T\xC3\xBCr \xE2\x82\xAC', described as 'a d\xC3\xA9scription'\n");
}

TEST(FormatPropertySet, ReplacesControlCharacters) {
    const auto set = propertySet("s\x1B[1m", {textProperty("n\r\n", "v\t", "d\x7F"), complexProperty("c\b", "u\v", {})},
                                 "\x1B\n34567890123456789012");
    EXPECT_EQ(formatPropertySet(set), "  s?[1m (??34567890123456789012)\n"
                                      "    n??: text 'v?', described as 'd?'\n"
                                      "    c?: complex 'u?'\n");
}

TEST(ReportProperties, FindsAnObjectByItsGlobalId) {
    Model model;
    model.objects.resize(3);
    model.objects[1].globalId = Velmor::ExternalGUID::fromIFCGlobalID("1$_aB67890123456789012");
    model.objects[1].className = "IFCBEAM";
    model.objects[1].name = std::string(10000, 'n');
    model.objects[1].line = 7;
    model.objects[1].instance = 8;
    model.objects[1].propertySets = {1, 0};
    model.propertySets = {encode(propertySet("A", {textProperty("P", std::string(10000, 'v'))})),
                          encode(propertySet("B", {}))};
    EXPECT_EQ(reportProperties(model, "1$_aB67890123456789012"), "properties of 1$_aB67890123456789012: IFCBEAM '" +
                                                                     std::string(10000, 'n') +
                                                                     "' (line 7, #8), 2 property sets\n"
                                                                     "  B (0123456789012345678901)\n"
                                                                     "  A (0123456789012345678901)\n"
                                                                     "    P: text '" +
                                                                     std::string(10000, 'v') + "'\n");
    for (const char* const unknown : {"1$_aB67890123456789013", "1$_ab67890123456789012", "1$_aB6789012345678901", ""})
        EXPECT_THROW(reportProperties(model, unknown), ImportError) << unknown;
}

TEST(ReportGeoreference, ListsAllFields) {
    ImportResult result;
    EXPECT_EQ(reportGeoreference(result), "no georeference\n");
    result.georeference.emplace(Plexor::Vertex(1, 2, -3), 458657.3, 5438232.25, 113.7, 0.8, -0.6, 0.001,
                                Velmor::IFC4_MapProjection(VELMOR_WIDE("EPSG:25832"), VELMOR_WIDE("a\nb"),
                                                           VELMOR_WIDE("ETRS89"), VELMOR_WIDE("NN"), VELMOR_WIDE("UTM"),
                                                           VELMOR_WIDE("32N"), VELMOR_WIDE("FOOT"), 0.3048));
    EXPECT_EQ(reportGeoreference(result), "georeference:\n"
                                          "  projected system: 'EPSG:25832'\n"
                                          "  description: 'a?b'\n"
                                          "  geodetic datum: 'ETRS89'\n"
                                          "  vertical datum: 'NN'\n"
                                          "  projection: 'UTM'\n"
                                          "  zone: '32N'\n"
                                          "  map unit: 'FOOT' of 0.3048 m\n"
                                          "  origin in the model: 1, 2, -3\n"
                                          "  eastings: 458657.3\n"
                                          "  northings: 5438232.25\n"
                                          "  orthogonal height: 113.7\n"
                                          "  x axis in the map: 0.8, -0.6\n"
                                          "  scale: 0.001\n");
}

namespace {

Model modelOf(const PropertySet& set) {
    Model model;
    model.objects.resize(1);
    model.objects[0].globalId = Velmor::ExternalGUID::fromIFCGlobalID("0123456789012345678901");
    model.objects[0].className = "IFCBEAM";
    model.objects[0].name = "B";
    model.objects[0].propertySets = {0};
    model.propertySets = {encode(set)};
    return model;
}

// The line about the only object in the list of changes; the whole report if it has no such line.
std::string changeLine(const PropertySet& before, const PropertySet& now) {
    const auto old = modelOf(before);
    ImportResult result;
    result.model = modelOf(now);
    const auto text = report("m.ifc", result, &old, compare(old, result.model, false));
    const std::string begin = "  modified      IFCBEAM 'B' (line 0), ";
    const auto at = text.find(begin);
    if (at == std::string::npos || text.find(", with changed properties 1\n") == std::string::npos)
        return text;
    return text.substr(at + begin.size(), text.find('\n', at) - at - begin.size());
}

std::string changeLine(const Velmor::IFC2X3Property& before, const Velmor::IFC2X3Property& now) {
    return changeLine(propertySet("S", {before}), propertySet("S", {now}));
}

} // namespace

TEST(PropertyChange, ContainsOldAndNewValues) {
    EXPECT_EQ(changeLine(realProperty("P", 6000), realProperty("P", 6200)), "S.P 6000 -> 6200");
    EXPECT_EQ(changeLine(textProperty("P", "R30"), textProperty("P", "R60")), "S.P 'R30' -> 'R60'");
    EXPECT_EQ(changeLine(realProperty("P", 0.0), realProperty("P", -0.0)), "S.P 0 -> -0");
    EXPECT_EQ(changeLine(integerProperty("P", 5), realProperty("P", 5)), "S.P integer 5 -> length 5");
    EXPECT_EQ(changeLine(complexProperty("P", "a", {}), complexProperty("P", "b", {})), "S.P complex 'a' -> complex 'b'");
    EXPECT_EQ(changeLine(complexProperty("P", "a", {}), textProperty("P", "a")), "S.P complex 'a' -> text 'a'");
    EXPECT_EQ(changeLine(textProperty("P", "1"), textProperty("Q", "2")), "S.P '1' removed; S.Q '2' added");
    EXPECT_EQ(changeLine(complexProperty("P", "a", {}), complexProperty("Q", "", {})),
              "S.P complex 'a' removed; S.Q complex '' added");
    EXPECT_EQ(changeLine(propertySet("S", {textProperty("P", "1")}), propertySet("T", {textProperty("P", "1")})),
              "property set S removed; property set T added");
    EXPECT_EQ(
        changeLine(complexProperty("C", "", {textProperty("P", "1")}), complexProperty("C", "", {textProperty("P", "2")})),
        "S.C.P '1' -> '2'");
}

TEST(PropertyChange, ListsFivePropertiesAndCountsTheRest) {
    std::vector<Velmor::IFC2X3Property> before;
    std::vector<Velmor::IFC2X3Property> now;
    const auto addChange = [&](int i) {
        before.push_back(integerProperty("P" + std::to_string(i), 0));
        now.push_back(integerProperty("P" + std::to_string(i), 1));
    };
    for (int i = 1; i <= 5; ++i)
        addChange(i);
    const std::string five = "S.P1 0 -> 1; S.P2 0 -> 1; S.P3 0 -> 1; S.P4 0 -> 1; S.P5 0 -> 1";
    EXPECT_EQ(changeLine(propertySet("S", before), propertySet("S", now)), five);
    for (int i = 6; i <= 9; ++i)
        addChange(i);
    EXPECT_EQ(changeLine(propertySet("S", before), propertySet("S", now)), five + "; ... and 4 more");
}

TEST(PropertyChange, CutsLongTextsAndReplacesControlCharacters) {
    EXPECT_EQ(changeLine(textProperty(std::string(10000, 'n'), "a\n"),
                         textProperty(std::string(10000, 'n'), std::string(10000, 'v'))),
              "S." + std::string(60, 'n') + "... 'a?' -> '" + std::string(60, 'v') + "...'");
    EXPECT_EQ(changeLine(propertySet("S\x1B", {}), propertySet("T\x7F", {})),
              "property set S? removed; property set T? added");
}

TEST(PropertyChange, ContainsThePositionOfADifferenceThatIsNotVisible) {
    EXPECT_EQ(changeLine(textProperty("P", "a\tb"), textProperty("P", "a\nb")),
              "S.P 'a?b' -> 'a?b' (first difference at byte 2)");
    const std::string start(100, 'x');
    EXPECT_EQ(changeLine(textProperty("P", start), textProperty("P", start + "y")),
              "S.P '" + start.substr(0, 60) + "...' -> '" + start.substr(0, 60) + "...' (first difference at byte 101)");
}

TEST(Report, ContainsTheNumberOfObjectsWithoutClass) {
    ImportResult result;
    result.objectsWithoutClass = 3;
    EXPECT_EQ(report("m.ifc", result, nullptr, Comparison()),
              "m.ifc: , 0 objects, first import\n"
              "  class  objects  new  unchanged  modified  lowest similarity  gone\n"
              "  total        0    0          0         0                  -     0\n"
              "objects of entities without a class name, reported as IFCINVALID: 3\n");
}

} // namespace velmor_tests
