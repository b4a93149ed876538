// Property sets with the names of the fourteen common ones, which the library has structures for. They arrive as the file
// has them, like any other set.

#include "importer/ifc/property/PropertySupport.h"

#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

struct CommonSet {
    const char* name;
    std::vector<std::string> properties; ///< By the names of the IFC2x3 documentation.
};

const CommonSet commonSets[] = {
    {"Pset_BeamCommon", {"Reference", "Span", "Slope", "FireRating", "IsExternal", "LoadBearing"}},
    {"Pset_ColumnCommon", {"Reference", "Slope", "FireRating", "IsExternal", "LoadBearing"}},
    {"Pset_CurtainWallCommon",
     {"Reference", "FireRating", "SurfaceSpreadOfFlame", "ThermalTransmittance", "Combustible", "IsExternal"}},
    {"Pset_DoorCommon",
     {"Reference", "FireRating", "AcousticRating", "SecurityRating", "Infiltration", "ThermalTransmittance",
      "GlazingAreaFraction", "HandicapAccessible", "FireExit", "SelfClosing", "SmokeStop", "IsExternal"}},
    {"Pset_DoorWindowGlazingType",
     {"FillGas", "GlassColor", "GlassThickness1", "GlassThickness2", "GlassThickness3", "IsTempered", "IsLaminated",
      "IsCoated", "IsWired", "Translucency", "Reflectivity", "BeamRadiationTransmittance", "SolarHeatGainTransmittance",
      "ThermalTransmittanceSummer", "ThermalTransmittanceWinter", "GlassLayers"}},
    {"Pset_DoorWindowShadingType", {"ExternalShadingCoefficient", "InternalShadingCoefficient", "InsetShadingCoefficient"}},
    {"Pset_MemberCommon", {"Reference", "FireRating", "Span", "Slope", "IsExternal", "LoadBearing"}},
    {"Pset_RailingCommon", {"Reference", "Height", "Diameter", "IsExternal"}},
    {"Pset_RampCommon",
     {"Reference", "FireRating", "Slope", "RequiredHeadroom", "HasNonSkidSurface", "HandicapAccessible", "IsExternal",
      "FireExit"}},
    {"Pset_RoofCommon", {"Reference", "FireRating", "IsExternal"}},
    {"Pset_SlabCommon",
     {"Reference", "AcousticRating", "SurfaceSpreadOfFlame", "FireRating", "Compartmentation", "Combustible",
      "ThermalTransmittance", "PitchAngle", "IsExternal", "LoadBearing"}},
    {"Pset_StairCommon",
     {"Reference", "FireRating", "NumberOfRiser", "NumberOfTreads", "RiserHeight", "TreadLength", "RequiredHeadroom",
      "HandicapAccessible", "IsExternal", "FireExit", "HasNonSkidSurface"}},
    {"Pset_WallCommon",
     {"Reference", "AcousticRating", "FireRating", "SurfaceSpreadOfFlame", "ThermalTransmittance", "Combustible",
      "ExtendToStructure", "Compartmentation"}},
    {"Pset_WindowCommon",
     {"Reference", "FireRating", "AcousticRating", "SecurityRating", "Infiltration", "ThermalTransmittance",
      "GlazingAreaFraction", "SmokeStop", "IsExternal"}},
};

using Pair = std::pair<std::string, std::string>; // name and value, as in the file

/// The set of this name with these properties.
Velmor::IFC2X3_PSet_Custom_s read(const std::string& set, const std::vector<Pair>& properties,
                                  const std::string& description = "$") {
    std::string data;
    std::string list;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const std::string number = "#" + std::to_string(101 + i);
        list += (i == 0 ? "" : ",") + number;
        data += number + "=IFCPROPERTYSINGLEVALUE('" + properties[i].first + "'," + description + "," +
                properties[i].second + ",$);\n";
    }
    const Taken taken = readData(setOf(list, set) + data);
    EXPECT_EQ(taken.reasons(), "");
    return onlySet(taken);
}

/// Values as the file has them, and as `shown` returns them.
const Pair values[] = {
    {"IFCLABEL('x')", "string 'x'"},      {"IFCLABEL('')", "string ''"},        {"IFCBOOLEAN(.T.)", "boolean true"},
    {"IFCBOOLEAN(.F.)", "boolean false"}, {"IFCLOGICAL(.U.)", "logical 2"},     {"IFCINTEGER(0)", "integer 0"},
    {"IFCREAL(0.5)", "real 0.5"},         {"IFCLENGTHMEASURE(2.)", "length 2"}, {"IFCPLANEANGLEMEASURE(0.1)", "angle 0.1"},
    {"IFCMASSMEASURE(1.)", "mass 1"}};

TEST(CommonSets, EmptySetStaysEmpty) {
    for (const CommonSet& common : commonSets)
        EXPECT_EQ(shown(read(common.name, {})), std::string(common.name) + ": ");
}

TEST(CommonSets, PropertiesOfAnyTypeKeepNameValueAndOrder) {
    for (const CommonSet& common : commonSets) {
        for (const auto& [inFile, expected] : values) {
            std::vector<Pair> properties;
            std::string all;
            for (const std::string& property : common.properties) {
                properties.emplace_back(property, inFile);
                all += (all.empty() ? "" : ", ") + property + " = " + expected;
            }
            EXPECT_EQ(shown(read(common.name, properties)), common.name + (": " + all));
        }
    }
}

TEST(CommonSets, KeepTheirGlobalIdAndDescription) {
    const Taken taken = readData("#100=IFCPROPERTYSET('2DolU2$EL7fgr_cCQctE2n',#9,'Pset_RoofCommon','of roofs',());\n");
    EXPECT_EQ(taken.reasons(), "");
    const auto set = onlySet(taken);
    EXPECT_EQ(std::string(set.globalId, 22), "2DolU2$EL7fgr_cCQctE2n");
    EXPECT_EQ(utf8(set.description), "of roofs");
}

TEST(CommonSets, BeamKeepsOrderAndFurtherProperties) {
    EXPECT_EQ(shown(read("Pset_BeamCommon", {{"Mine", "IFCREAL(1.)"},
                                             {"LoadBearing", "IFCBOOLEAN(.T.)"},
                                             {"Slope", "IFCPLANEANGLEMEASURE(0.7)"},
                                             {"Span", "IFCPOSITIVELENGTHMEASURE(7.421299999999966)"},
                                             {"Yours", "IFCLABEL('y')"},
                                             {"Reference", "IFCIDENTIFIER('IPE 200')"}})),
              "Pset_BeamCommon: Mine = real 1, LoadBearing = boolean true, Slope = angle 0.7, "
              "Span = length 7.421299999999966, Yours = string 'y', Reference = string 'IPE 200'");
}

TEST(CommonSets, DoorKeepsItsFireExitAndGetsNoOther) {
    EXPECT_EQ(shown(read("Pset_DoorCommon", {{"IsExternal", "IFCBOOLEAN(.T.)"}, {"FireExit", "IFCBOOLEAN(.F.)"}})),
              "Pset_DoorCommon: IsExternal = boolean true, FireExit = boolean false");
    EXPECT_EQ(shown(read("Pset_DoorCommon", {{"IsExternal", "IFCBOOLEAN(.T.)"}})),
              "Pset_DoorCommon: IsExternal = boolean true");
}

TEST(CommonSets, StairKeepsHandicapAccessible) {
    EXPECT_EQ(shown(read("Pset_StairCommon", {{"HandicapAccessible", "IFCBOOLEAN(.T.)"},
                                              {"NumberOfRiser", "IFCCOUNTMEASURE(16)"},
                                              {"NumberOfTreads", "IFCINTEGER(15)"},
                                              {"RiserHeight", "IFCPOSITIVELENGTHMEASURE(0.19)"}})),
              "Pset_StairCommon: HandicapAccessible = boolean true, NumberOfRiser = integer 16, "
              "NumberOfTreads = integer 15, RiserHeight = length 0.19");
}

TEST(CommonSets, WallKeepsIsExternalAndLoadBearing) {
    EXPECT_EQ(shown(read("Pset_WallCommon", {{"ThermalTransmittance", "IFCTHERMALTRANSMITTANCEMEASURE(0.4)"},
                                             {"IsExternal", "IFCBOOLEAN(.T.)"},
                                             {"LoadBearing", "IFCBOOLEAN(.T.)"}})),
              "Pset_WallCommon: ThermalTransmittance = real 0.4, IsExternal = boolean true, LoadBearing = boolean true");
}

TEST(CommonSets, LoadBearingKeepsItsNameForAnyTypeAndDescription) {
    EXPECT_EQ(shown(read("Pset_SlabCommon", {{"LoadBearing", "IFCBOOLEAN(.T.)"}})),
              "Pset_SlabCommon: LoadBearing = boolean true");
    EXPECT_EQ(shown(read("Pset_SlabCommon", {{"LoadBearing", "IFCLOGICAL(.T.)"}})),
              "Pset_SlabCommon: LoadBearing = logical 1");
    EXPECT_EQ(shown(read("Pset_SlabCommon", {{"LoadBearing", "IFCBOOLEAN(.T.)"}}, "'as built'")),
              "Pset_SlabCommon: LoadBearing (as built) = boolean true");
}

TEST(CommonSets, LoadBearingAndIsLoadBearingBothArrive) {
    EXPECT_EQ(shown(read("Pset_ColumnCommon", {{"LoadBearing", "IFCBOOLEAN(.F.)"}, {"IsLoadBearing", "IFCBOOLEAN(.T.)"}})),
              "Pset_ColumnCommon: LoadBearing = boolean false, IsLoadBearing = boolean true");
}

TEST(CommonSets, PropertiesOfTheSameNameBothArrive) {
    EXPECT_EQ(shown(read("Pset_RoofCommon", {{"Reference", "IFCLABEL('a')"}, {"Reference", "IFCLABEL('b')"}})),
              "Pset_RoofCommon: Reference = string 'a', Reference = string 'b'");
}

TEST(CommonSets, LongTextsArriveWhole) {
    for (const std::size_t size : {254u, 255u, 256u, 5000u}) {
        const std::string text(size, 'r');
        EXPECT_EQ(shown(read("Pset_RoofCommon", {{"FireRating", "IFCLABEL('" + text + "')"}})),
                  "Pset_RoofCommon: FireRating = string '" + text + "'");
    }
    const auto set = read("Pset_RoofCommon", {{"FireRating", "IFCLABEL('a\\X2\\0000\\X0\\b')"}});
    EXPECT_EQ(set.properties.getProperty(0).getPropertySingleValue().getAsString().size(), 3u) << "with its NUL";
}

TEST(CommonSets, ComplexPropertyWithTheNameOfASingleValueArrives) {
    const Taken taken = readData(setOf("#101", "Pset_RoofCommon") + "#101=IFCCOMPLEXPROPERTY('FireRating',$,'u',(#102));\n"
                                                                    "#102=IFCPROPERTYSINGLEVALUE('P',$,IFCREAL(1.),$);\n");
    EXPECT_EQ(shown(onlySet(taken)), "Pset_RoofCommon: FireRating = complex 'u' {P = real 1}");
}

TEST(CommonSets, AnglesKeepTheirBits) {
    const unsigned seed = 31415;
    std::printf("seed %u\n", seed);
    std::mt19937_64 random(seed);
    for (int round = 0; round < 200; ++round) {
        const double angle = std::uniform_real_distribution<double>(-10, 10)(random);
        for (const char* name : {"Pset_BeamCommon", "Pset_ColumnCommon", "Pset_MemberCommon", "Pset_RampCommon"}) {
            const auto set = read(name, {{"Slope", "IFCPLANEANGLEMEASURE(" + shown(angle) + ")"}});
            EXPECT_EQ(set.properties.getProperty(0).getPropertySingleValue().getRealValue(), angle) << name;
        }
    }
}

TEST(CommonSets, NamesOfSetsArriveUnchanged) {
    for (const char* name : {"Pset_CurtainWallCommon", "Pset_IFC2X3_PSet_CurtainWallCommon", "Pset_SpaceCommon",
                             "Pset_beamCommon", "PSet_BeamCommon", "Pset_BeamCommo", "Pset_BeamCommon ", ""})
        EXPECT_EQ(shown(read(name, {{"LoadBearing", "IFCBOOLEAN(.T.)"}})),
                  std::string(name) + ": LoadBearing = boolean true");
}

TEST(CommonSets, EscapesInNamesAreDecoded) {
    EXPECT_EQ(shown(read("Pset_\\X2\\0052006F006F0066\\X0\\Common", {{"\\X2\\0049\\X0\\sExternal", "IFCBOOLEAN(.T.)"}})),
              "Pset_RoofCommon: IsExternal = boolean true");
}

TEST(CommonSets, RandomSetsArriveAsTheFileHasThem) {
    const unsigned seed = 27182;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 300; ++round) {
        const CommonSet& common = commonSets[random() % std::size(commonSets)];
        std::vector<Pair> properties;
        std::string all;
        for (auto i = random() % 12; i != 0; --i) {
            std::string name = common.properties[random() % common.properties.size()];
            name = random() % 5 == 0 ? "Is" + name : name;
            name = random() % 5 == 0 ? "Mine" + std::to_string(i) : name;
            const auto& [inFile, expected] = values[random() % std::size(values)];
            properties.emplace_back(name, inFile);
            all += (all.empty() ? "" : ", ") + name + " = " + expected;
        }
        ASSERT_EQ(shown(read(common.name, properties)), common.name + (": " + all));
    }
}

} // namespace
} // namespace velmor_tests
