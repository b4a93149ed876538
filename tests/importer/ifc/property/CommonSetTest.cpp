#include "importer/ifc/property/CommonSets.h"
#include "importer/ifc/property/PropertySupport.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;
namespace {

/// A template: what the file calls the set, what the library does, and all properties in the order of the template; those
/// that it always writes have a +.
struct Template {
    const char* name;
    const char* carriedAs;
    std::vector<std::string> properties;
};

const Template templates[] = {
    {"Pset_BeamCommon", "Pset_BeamCommon", {"+Reference", "Span", "Slope", "+FireRating", "+IsExternal", "+IsLoadBearing"}},
    {"Pset_ColumnCommon", "Pset_ColumnCommon", {"+Reference", "Slope", "+FireRating", "+IsExternal", "+IsLoadBearing"}},
    {"Pset_CurtainWallCommon",
     "Pset_IFC2X3_PSet_CurtainWallCommon",
     {"+Reference", "+FireRating", "+SurfaceSpreadOfFlame", "ThermalTransmittance", "Combustible", "+IsExternal"}},
    {"Pset_DoorCommon",
     "Pset_DoorCommon",
     {"+Reference", "+FireRating", "+AcousticRating", "+SecurityRating", "Infiltration", "ThermalTransmittance",
      "GlazingAreaFraction", "HandicapAccessible", "+FireExit", "+SelfClosing", "+SmokeStop", "+IsExternal"}},
    {"Pset_DoorWindowGlazingType",
     "Pset_DoorWindowGlazingType",
     {"+FillGas", "+GlassColor", "GlassThickness1", "GlassThickness2", "GlassThickness3", "IsTempered", "IsLaminated",
      "IsCoated", "IsWired", "Translucency", "Reflectivity", "BeamRadiationTransmittance", "SolarHeatGainTransmittance",
      "ThermalTransmittanceSummer", "ThermalTransmittanceWinter", "+GlassLayers"}},
    {"Pset_DoorWindowShadingType",
     "Pset_DoorWindowShadingType",
     {"ExternalShadingCoefficient", "InternalShadingCoefficient", "InsetShadingCoefficient"}},
    {"Pset_MemberCommon",
     "Pset_MemberCommon",
     {"+Reference", "+FireRating", "Span", "Slope", "+IsExternal", "+IsLoadBearing"}},
    {"Pset_RailingCommon", "Pset_RailingCommon", {"+Reference", "Height", "Diameter", "+IsExternal"}},
    {"Pset_RampCommon",
     "Pset_RampCommon",
     {"+Reference", "+FireRating", "Slope", "RequiredHeadroom", "HasNonSkidSurface", "+IsHandicapAccessible", "+IsExternal",
      "+FireExit"}},
    {"Pset_RoofCommon", "Pset_RoofCommon", {"+Reference", "+FireRating", "+IsExternal"}},
    {"Pset_SlabCommon",
     "Pset_SlabCommon",
     {"+Reference", "+AcousticRating", "+SurfaceSpreadOfFlame", "+FireRating", "Compartmentation", "Combustible",
      "ThermalTransmittance", "PitchAngle", "+IsExternal", "+IsLoadBearing"}},
    {"Pset_StairCommon",
     "Pset_StairCommon",
     {"+Reference", "+FireRating", "NumberOfRiser", "NumberOfTreads", "RiserHeight", "TreadLength", "RequiredHeadroom",
      "+IsHandicapAccessible", "+IsExternal", "+FireExit", "+HasNonSkidSurface"}},
    {"Pset_WallCommon",
     "Pset_WallCommon",
     {"+Reference", "+AcousticRating", "+FireRating", "+SurfaceSpreadOfFlame", "ThermalTransmittance", "Combustible",
      "ExtendToStructure", "Compartmentation"}},
    {"Pset_WindowCommon",
     "Pset_WindowCommon",
     {"+Reference", "+FireRating", "+AcousticRating", "+SecurityRating", "Infiltration", "ThermalTransmittance",
      "GlazingAreaFraction", "SmokeStop", "+IsExternal"}},
};

std::string nameOf(const std::string& property) {
    return property[0] == '+' ? property.substr(1) : property;
}

/// The set of this name and these properties: their names and values by turns.
Velmor::IFC2X3_PSet_Custom_s read(const std::string& set, const std::vector<std::pair<std::string, std::string>>& properties,
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

TEST(CommonSets, AnEmptyOneHasWhatItsTemplateAlwaysWrites) {
    for (const Template& common : templates) {
        std::vector<std::string> always;
        for (const std::string& property : common.properties) {
            if (property[0] == '+')
                always.push_back(nameOf(property));
        }
        const auto set = read(common.name, {});
        EXPECT_EQ(utf8(set.name), common.carriedAs);
        EXPECT_EQ(names(set), always) << common.name;
    }
}

TEST(CommonSets, EveryPropertyTakesItsPlaceWhateverItsType) {
    for (const Template& common : templates) {
        for (const char* value : {"IFCLABEL('x')", "IFCBOOLEAN(.T.)", "IFCINTEGER(1)", "IFCREAL(1.)", "IFCLENGTHMEASURE(1.)",
                                  "IFCPLANEANGLEMEASURE(1.)", "IFCMASSMEASURE(1.)", "IFCLOGICAL(.U.)"}) {
            std::vector<std::pair<std::string, std::string>> properties;
            std::vector<std::string> expected;
            for (const std::string& property : common.properties) {
                properties.insert(properties.begin(), {nameOf(property), value});
                expected.push_back(nameOf(property));
            }
            const auto set = read(common.name, properties);
            EXPECT_EQ(names(set), expected) << common.name << " " << value;
            const std::string one = read("any", {{"P", value}}).properties.getCount() == 1
                                        ? shown(read("any", {{"P", value}}).properties).substr(4)
                                        : "";
            for (unsigned i = 0; i < set.properties.getCount(); ++i)
                EXPECT_EQ(shown(set.properties.getProperty(i).getPropertySingleValue()), one) << common.name << " " << value;
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

TEST(CommonSets, OfABeamInOrder) {
    EXPECT_EQ(shown(read("Pset_BeamCommon", {{"Mine", "IFCREAL(1.)"},
                                             {"LoadBearing", "IFCBOOLEAN(.T.)"},
                                             {"Slope", "IFCPLANEANGLEMEASURE(0.7)"},
                                             {"Span", "IFCPOSITIVELENGTHMEASURE(7.421299999999966)"},
                                             {"Yours", "IFCLABEL('y')"},
                                             {"Reference", "IFCIDENTIFIER('IPE 200')"}})),
              "Pset_BeamCommon: Reference = string 'IPE 200', Span = length 7.421299999999966, Slope = angle 0.7, "
              "FireRating = string '', IsExternal = boolean false, IsLoadBearing = boolean true, Mine = real 1, "
              "Yours = string 'y'");
}

TEST(CommonSets, OfADoorWhoseFireExitIsItsOwn) {
    EXPECT_EQ(
        shown(read("Pset_DoorCommon", {{"IsExternal", "IFCBOOLEAN(.T.)"}, {"FireExit", "IFCBOOLEAN(.F.)"}})),
        "Pset_DoorCommon: Reference = string '', FireRating = string '', AcousticRating = string '', "
        "SecurityRating = string '', FireExit = boolean false, SelfClosing = boolean false, SmokeStop = boolean false, "
        "IsExternal = boolean true");
    EXPECT_EQ(shown(read("Pset_DoorCommon", {{"FireExit", "IFCBOOLEAN(.T.)"}}).properties.getProperty(4)),
              "FireExit = boolean true");
    EXPECT_EQ(shown(read("Pset_DoorCommon", {{"IsExternal", "IFCBOOLEAN(.T.)"}}).properties.getProperty(4)),
              "FireExit = boolean true")
        << "the template's, since the file has none";
}

TEST(CommonSets, OfAStairByTheNamesOfTheStandard) {
    EXPECT_EQ(shown(read("Pset_StairCommon", {{"HandicapAccessible", "IFCBOOLEAN(.T.)"},
                                              {"NumberOfRiser", "IFCCOUNTMEASURE(16)"},
                                              {"NumberOfTreads", "IFCINTEGER(15)"},
                                              {"RiserHeight", "IFCPOSITIVELENGTHMEASURE(0.19)"}})),
              "Pset_StairCommon: Reference = string '', FireRating = string '', NumberOfRiser = integer 16, "
              "NumberOfTreads = integer 15, RiserHeight = length 0.19, IsHandicapAccessible = boolean true, "
              "IsExternal = boolean false, FireExit = boolean false, HasNonSkidSurface = boolean false");
}

TEST(CommonSets, OfAWallWhichKeepsWhatItsTemplateDoesNotKnow) {
    EXPECT_EQ(shown(read("Pset_WallCommon", {{"ThermalTransmittance", "IFCTHERMALTRANSMITTANCEMEASURE(0.4)"},
                                             {"IsExternal", "IFCBOOLEAN(.T.)"},
                                             {"LoadBearing", "IFCBOOLEAN(.T.)"}})),
              "Pset_WallCommon: Reference = string '', AcousticRating = string '', FireRating = string '', "
              "SurfaceSpreadOfFlame = string '', ThermalTransmittance = real 0.4, IsExternal = boolean true, "
              "LoadBearing = boolean true");
}

TEST(CommonSets, AnAliasKeepsItsNameWhereTheTemplateCannotCarryIt) {
    const auto last = [](const Velmor::IFC2X3_PSet_Custom_s& set) {
        return shown(set.properties.getProperty(set.properties.getCount() - 1));
    };
    EXPECT_EQ(last(read("Pset_SlabCommon", {{"LoadBearing", "IFCLOGICAL(.T.)"}})), "LoadBearing = logical 1");
    EXPECT_EQ(last(read("Pset_SlabCommon", {{"LoadBearing", "IFCBOOLEAN(.T.)"}}, "'says who'")),
              "LoadBearing (says who) = boolean true");
}

TEST(CommonSets, BothNamesOfAPropertyArrive) {
    EXPECT_EQ(shown(read("Pset_ColumnCommon", {{"LoadBearing", "IFCBOOLEAN(.F.)"}, {"IsLoadBearing", "IFCBOOLEAN(.T.)"}})),
              "Pset_ColumnCommon: Reference = string '', FireRating = string '', IsExternal = boolean false, "
              "IsLoadBearing = boolean true, LoadBearing = boolean false");
}

TEST(CommonSets, APropertyGivenTwiceArrivesTwice) {
    EXPECT_EQ(shown(read("Pset_RoofCommon", {{"Reference", "IFCLABEL('a')"}, {"Reference", "IFCLABEL('b')"}})),
              "Pset_RoofCommon: Reference = string 'a', FireRating = string '', IsExternal = boolean false, "
              "Reference = string 'b'");
}

TEST(CommonSets, TextsBeyondWhatAFieldHoldsArriveWhole) {
    for (const std::size_t size : {254u, 255u, 256u, 5000u}) {
        const std::string text(size, 'r');
        EXPECT_EQ(shown(read("Pset_RoofCommon", {{"FireRating", "IFCLABEL('" + text + "')"}}).properties.getProperty(1)),
                  "FireRating = string '" + text + "'");
    }
    const auto set = read("Pset_RoofCommon", {{"FireRating", "IFCLABEL('a\\X2\\0000\\X0\\b')"}});
    EXPECT_EQ(set.properties.getProperty(1).getPropertySingleValue().getAsString().size(), 3u) << "a NUL too";
}

TEST(CommonSets, AComplexPropertyStandsInThePlaceOfItsName) {
    const Taken taken = readData(setOf("#101", "Pset_RoofCommon") + "#101=IFCCOMPLEXPROPERTY('FireRating',$,'u',(#102));\n"
                                                                    "#102=IFCPROPERTYSINGLEVALUE('P',$,IFCREAL(1.),$);\n");
    EXPECT_EQ(shown(onlySet(taken)), "Pset_RoofCommon: Reference = string '', FireRating = complex 'u' {P = real 1}, "
                                     "IsExternal = boolean false");
}

TEST(CommonSets, AnglesKeepTheirBits) {
    const unsigned seed = 31415;
    std::printf("seed %u\n", seed);
    std::mt19937_64 random(seed);
    for (int round = 0; round < 200; ++round) {
        const double angle = std::uniform_real_distribution<double>(-10, 10)(random);
        for (const char* set : {"Pset_BeamCommon", "Pset_ColumnCommon", "Pset_MemberCommon", "Pset_RampCommon"}) {
            const auto read_ = read(set, {{"Slope", "IFCPLANEANGLEMEASURE(" + shown(angle) + ")"}});
            const auto place = static_cast<unsigned>(
                std::string(set) == "Pset_MemberCommon" || std::string(set) == "Pset_RampCommon" ? 2 : 1);
            EXPECT_EQ(read_.properties.getProperty(place).getPropertySingleValue().getRealValue(), angle) << set;
        }
    }
}

TEST(CommonSets, OtherNamesAreNoneOfThem) {
    for (const char* name : {"Pset_SpaceCommon", "Pset_beamCommon", "PSet_BeamCommon", "Pset_BeamCommo", "Pset_BeamCommon ",
                             "Pset_IFC2X3_PSet_CurtainWallCommon", ""}) {
        EXPECT_EQ(shown(read(name, {{"LoadBearing", "IFCBOOLEAN(.T.)"}})),
                  std::string(name) + ": LoadBearing = boolean true");
    }
}

TEST(CommonSets, ANameWithEscapesIsDecodedFirst) {
    EXPECT_EQ(shown(read("Pset_\\X2\\0052006F006F0066\\X0\\Common", {{"\\X2\\0049\\X0\\sExternal", "IFCBOOLEAN(.T.)"}})),
              "Pset_RoofCommon: Reference = string '', FireRating = string '', IsExternal = boolean true");
}

TEST(CommonSets, NothingIsLostWhateverASetHolds) {
    const unsigned seed = 27182;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    const std::string values[] = {"IFCLABEL('x')", "IFCBOOLEAN(.T.)",      "IFCBOOLEAN(.F.)",           "IFCINTEGER(0)",
                                  "IFCREAL(0.5)",  "IFCLENGTHMEASURE(2.)", "IFCPLANEANGLEMEASURE(0.1)", "IFCLABEL('')"};
    const std::pair<std::string, std::string> standard[] = {{"IsLoadBearing", "LoadBearing"},
                                                            {"IsHandicapAccessible", "HandicapAccessible"}};
    for (int round = 0; round < 300; ++round) {
        const Template& common = templates[random() % std::size(templates)];
        std::vector<std::pair<std::string, std::string>> properties;
        for (auto i = random() % 12; i != 0; --i) {
            std::string name = nameOf(common.properties[random() % common.properties.size()]);
            for (const auto& [ofTemplate, ofStandard] : standard)
                name = name == ofTemplate && random() % 2 ? ofStandard : name;
            properties.emplace_back(random() % 5 == 0 ? "Mine" + std::to_string(i) : name,
                                    values[random() % std::size(values)]);
        }
        const auto plain = read("plain", properties);
        const auto set = read(common.name, properties);
        std::vector<std::string> rest;
        for (unsigned i = 0; i < set.properties.getCount(); ++i)
            rest.push_back(shown(set.properties.getProperty(i)));
        for (unsigned i = 0; i < plain.properties.getCount(); ++i) {
            const std::string property = shown(plain.properties.getProperty(i));
            auto found = std::find(rest.begin(), rest.end(), property);
            if (found == rest.end())
                found = std::find(rest.begin(), rest.end(), "Is" + property);
            ASSERT_NE(found, rest.end()) << common.name << ": " << property << " of " << shown(plain.properties) << " in "
                                         << shown(set.properties);
            rest.erase(found);
        }
        for (const std::string& written : rest) {
            const std::string name = "+" + written.substr(0, written.find(' '));
            EXPECT_EQ(std::count(common.properties.begin(), common.properties.end(), name), 1) << written;
        }
    }
}

} // namespace
} // namespace velmor_tests
