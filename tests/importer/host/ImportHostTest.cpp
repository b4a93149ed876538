// import_host with ifc_importer, started as a user starts them.

#include "importer/host/HostRun.h"
#include "importer/host/Models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

const std::string workshop = exampleModel("workshop.ifc").string();
const std::string revised = exampleModel("workshop-revised.ifc").string();

} // namespace

TEST(ImportHost, ReportsAFirstImport) {
    const TemporaryFolder folder;
    const auto first = runHost({workshop, "--state", (folder / "state").string()});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.error, "");
    EXPECT_THAT(first.output, StartsWith("workshop.ifc: IFC4, 30 objects, first import\n"));
    EXPECT_THAT(first.output, Not(HasSubstr("problems")));
    EXPECT_EQ(first.table().at("total"), (TableRow{30, 30, 0, 0, "-", 0}));
    EXPECT_EQ(first.table().at("IFCBEAM"), (TableRow{7, 7, 0, 0, "-", 0}));
}

// The similarities were computed by hand. S is the mean distance of the eight corners from the center. A move by x * S gives
// the factor ((1 - x - 0.7) / 0.3) cubed, or 0 if x exceeds 0.3; a ratio R of the volumes gives the factor (2 R - 1) cubed.
TEST(ImportHost, CountsTheChangesOfTheWorkshop) {
    const TemporaryFolder folder;
    const auto state = (folder / "state").string();
    ASSERT_EQ(runHost({workshop, "--state", state}).exitCode, 0);
    const auto second = runHost({revised, "--state", state});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.error, "");
    EXPECT_THAT(second.output,
                StartsWith("workshop-revised.ifc: IFC4, 31 objects, compared with the 30 of the previous import\n"));
    const std::map<std::string, TableRow> expected = {
        // B2: area 7548 mm2 instead of 5246 and 100 mm deeper, similarity 0.041; B7 is gone, B8 is new.
        // B3: only the fire rating differs.
        {"IFCBEAM", {7, 1, 4, 2, "0.040", 1}},
        {"IFCBUILDING", {1, 0, 1, 0, "-", 0}},
        {"IFCBUILDINGSTOREY", {1, 0, 1, 0, "-", 0}},
        // C3: area 7530 mm2 instead of 6208, similarity 0.273; C6: moved 0.1 m, S = 2.005 m, similarity 0.580; C1 is only
        // renamed.
        {"IFCCOLUMN", {6, 0, 4, 2, "0.273", 0}},
        {"IFCDOOR", {1, 1, 0, 0, "-", 1}},
        // The previous class was IfcBuildingElementProxy.
        {"IFCFOOTING", {1, 0, 1, 0, "-", 0}},
        // F1: a property is removed; F2: moved 0.4 m, S = 1.06 m: more than 0.3 of it; F3 is new.
        {"IFCFURNITURE", {3, 1, 0, 2, "0.000", 0}},
        // N1: moved 0.2 m, S = 0.972 m.
        {"IFCOPENINGELEMENT", {2, 0, 1, 1, "0.031", 0}},
        // The canopy is an open sheet: its version contains no position.
        {"IFCPLATE", {1, 0, 1, 0, "-", 0}},
        {"IFCSITE", {1, 0, 1, 0, "-", 0}},
        // The floor: volume ratio 0.8, center 25 mm lower, 50 mm thicker, S = 6.98 m. The roof has a new property set.
        {"IFCSLAB", {2, 0, 0, 2, "0.193", 0}},
        // W2: two values differ; W4: moved 1 m, S = 3.09 m: more than 0.3 of it.
        {"IFCWALL", {4, 0, 2, 2, "0.000", 0}},
        // N1: moved 0.2 m with its opening, S = 0.947 m.
        {"IFCWINDOW", {1, 0, 0, 1, "0.025", 0}},
        {"total", {31, 3, 16, 12, "0.000", 2}}};
    EXPECT_EQ(second.table(), expected);

    const auto third = runHost({copyWithComment(revised, folder / "third.ifc"), "--state", state});
    EXPECT_EQ(third.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
    EXPECT_THAT(third.output, Not(HasSubstr("changes")));
}

TEST(ImportHost, ListsTheChangesOfTheWorkshop) {
    const TemporaryFolder folder;
    const auto second = runHost({workshop, revised, "--state", (folder / "state").string()});
    EXPECT_THAT(
        second.output,
        HasSubstr("changes: renamed 1, reclassified 1, moved without a change of shape 1, with changed properties 5\n"));
    EXPECT_THAT(second.output, HasSubstr("renamed       IFCCOLUMN 'Column A1' ("));
    EXPECT_THAT(second.output, HasSubstr(", was 'Column C1'\n"));
    EXPECT_THAT(second.output, HasSubstr("reclassified  IFCFOOTING 'Machine base M1' ("));
    EXPECT_THAT(second.output, HasSubstr("moved         IFCPLATE 'Canopy P1' ("));
    EXPECT_THAT(second.output, HasSubstr("gone          IFCDOOR 'Stahlt\xC3\xBCr D1' ("));
    EXPECT_THAT(second.output, HasSubstr("modified      IFCCOLUMN 'Column C6' (" + place(readFile(revised), "#173") +
                                         "), similarity 0.579\n"));
    const auto at = [text = readFile(revised)](const std::string& instance) { return " (" + place(text, instance) + "), "; };
    for (const auto& line :
         {"modified      IFCBEAM 'Beam B2'" + at("#233") +
              "similarity 0.040, Pset_BeamCommon.Reference 'beam 300' -> 'beam 400'; Pset_BeamCommon.Span 6000 -> 6200; "
              "Workshop_Fabrication.Coating.Layers 1 -> 2; Workshop_Fabrication.Mass 253.25 -> 364.5\n",
          "modified      IFCBEAM 'Beam B3'" + at("#243") + "Pset_BeamCommon.FireRating 'R30' -> 'R60'\n",
          "modified      IFCWALL 'Wall W2'" + at("#337") +
              "Pset_WallCommon.AcousticRating '52 dB' added; Pset_WallCommon.ThermalTransmittance 0.35 -> 0.24\n",
          "modified      IFCSLAB 'Roof'" + at("#533") + "property set Workshop_Snow added\n",
          "modified      IFCFURNITURE 'Bench F1'" + at("#626") + "Workshop_Bench.Vice true removed\n"})
        EXPECT_THAT(second.output, HasSubstr(line));
}

TEST(ImportHost, ReportsTheChangesOfTheWorkshopByGeometry) {
    const TemporaryFolder folder;
    const auto state = (folder / "state").string();
    const auto run = runHost({workshop, revised, "--state", state, "--identify-by-geometry"});
    EXPECT_EQ(run.exitCode, 0);
    const std::map<std::string, TableRow> expected = {
        {"IFCBEAM", {7, 2, 4, 1, "1.000", 2}},   // B2 has other corners; B7 is gone, B8 is new; B3 has other properties
        {"IFCCOLUMN", {6, 1, 4, 1, "0.273", 1}}, // C3 has the same bounding box; C6 has moved
        {"IFCDOOR", {1, 0, 1, 0, "-", 0}},       // the new door is in the place of the old one
        {"IFCFOOTING", {1, 0, 1, 0, "-", 0}},        {"IFCFURNITURE", {3, 2, 0, 1, "1.000", 1}}, // F1 lacks a property
        {"IFCOPENINGELEMENT", {2, 1, 1, 0, "-", 1}}, {"IFCPLATE", {1, 1, 0, 0, "-", 1}},
        {"IFCSLAB", {2, 1, 0, 1, "1.000", 1}}, // the roof has a new property set
        {"IFCWALL", {4, 1, 2, 1, "1.000", 1}}, // W2 has other values
        {"IFCWINDOW", {1, 1, 0, 0, "-", 1}},         {"total", {28, 10, 13, 5, "0.273", 9}}};
    EXPECT_EQ(run.table(), expected);
    // Site, building and storey have no geometry.
    EXPECT_THAT(run.output, HasSubstr("not identified (not compared and not counted above): 3\n  IFCSITE 'Site' ("));

    // The state can be used with both kinds of identities.
    const auto third = copyWithComment(revised, folder / "third.ifc");
    const auto byId = runHost({third, "--state", state});
    EXPECT_EQ(byId.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
    const auto fourth = copyWithComment(third, folder / "fourth.ifc");
    const auto byGeometry = runHost({fourth, "--state", state, "--identify-by-geometry"});
    EXPECT_EQ(byGeometry.table().at("total"), (TableRow{28, 0, 28, 0, "-", 0}));
}

TEST(ImportHost, StoresAStateForEachModelByDefault) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "current");
    const auto before = fs::current_path();
    fs::current_path(folder / "current");
    const auto first = runHost({workshop, revised});
    // The file name selects the state, not the folder.
    const auto second = runHost({copyWithComment(workshop, folder / "other" / "workshop.ifc"),
                                 copyWithComment(revised, folder / "other" / "workshop-revised.ifc")});
    fs::current_path(before);
    EXPECT_THAT(first.output, HasSubstr("\nworkshop-revised.ifc: IFC4, 31 objects, first import\n"));
    EXPECT_THAT(second.output, StartsWith("workshop.ifc: IFC4, 30 objects, compared with the 30 "));
    EXPECT_EQ(second.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
    EXPECT_TRUE(fs::exists(folder / "current" / "import-state" / "workshop.ifc" / "import.state"));
}

TEST(ImportHost, AcceptsBlanksAndNonAsciiCharactersInPaths) {
    const TemporaryFolder folder;
    const auto model = folder / fs::path(u8"W\u00E4nde (1) & more") / "a model.ifc";
    fs::create_directories(model.parent_path());
    fs::copy_file(workshop, model);
    const auto before = fs::current_path();
    fs::current_path(model.parent_path()); // the code page of the shell may not contain the characters of the folder
    const auto run = runHost({"a model.ifc", "--state", "a state"});
    fs::current_path(before);
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("total").objects, 30u);
}

TEST(ImportHost, PrintsThePropertiesOfObjectsOnRequest) {
    const TemporaryFolder folder;
    const auto run = runHost({workshop, "--properties", "0Workshop0Beam000000B1", "--state", (folder / "state").string(),
                              "--properties", "0Workshop0Door000000D1", "--properties", "0Workshop0Site00000000",
                              "--properties", "0Workshop0Column0000C1"});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    const auto text = readFile(workshop);
    const auto begin = run.output.find("properties of ");
    ASSERT_NE(begin, std::string::npos) << run.output;
    EXPECT_EQ(run.output.substr(begin),
              "properties of 0Workshop0Beam000000B1: IFCBEAM 'Beam B1' (" + place(text, "#223") +
                  "), 2 property sets\n"
                  "  Pset_BeamCommon (0Workshop0Pset0000B000)\n"
                  "    Reference: text 'beam 300'\n"
                  "    Span: length 6000, described as 'Clear span'\n"
                  "    Slope: plane angle 0\n"
                  "    FireRating: text 'R30'\n"
                  "    IsExternal: boolean false\n"
                  "    LoadBearing: boolean true\n"
                  "  Workshop_Fabrication (0Workshop0Pset000TB300), described as 'Of all beams of the type'\n"
                  "    Coating: complex 'Workshop_Coating', described as 'Against corrosion'\n"
                  "      System: text 'hot-dip galvanised, ISO 1461'\n"
                  "      Thickness: length 0.085\n"
                  "      Layers: integer 1\n"
                  "    Mass: mass 253.25\n"
                  "    Surface: area 6.98\n"
                  "    Volume: volume 0.0322\n"
                  "    Inspected: logical unknown\n"
                  "properties of 0Workshop0Door000000D1: IFCDOOR 'Stahlt\xC3\xBCr D1' (" +
                  place(text, "#427") +
                  "), 1 property set\n"
                  "  Pset_DoorCommon (0Workshop0Pset0000D000)\n"
                  "    FireExit: boolean true\n"
                  "    HandicapAccessible: boolean true\n"
                  "properties of 0Workshop0Site00000000: IFCSITE 'Site' (" +
                  place(text, "#21") +
                  "), 1 property set\n"
                  "  Workshop_Survey (0Workshop0Pset0000Site)\n"
                  "    Latitude: compound plane angle (48, 8, 14, 520000)\n"
                  "    Points: integer 12\n"
                  "    Surveyor: text 'Vermessung M\xC3\xBCller'\n"
                  "properties of 0Workshop0Column0000C1: IFCCOLUMN 'Column C1' (" +
                  place(text, "#123") + "), 0 property sets\n");
}

TEST(ImportHost, PrintsTheGeoreferenceOnRequest) {
    const TemporaryFolder folder;
    writeFile(folder / "walls.ifc", manyWalls(1));
    const auto run =
        runHost({workshop, (folder / "walls.ifc").string(), "--georeference", "--state", (folder / "s").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_THAT(run.output,
                HasSubstr("  total                         30   30          0         0                  -     0\n"
                          "georeference:\n"
                          "  projected system: 'EPSG:25832'\n"
                          "  description: 'UTM zone 32N'\n"
                          "  geodetic datum: 'ETRS89'\n"
                          "  vertical datum: 'DHHN2016'\n"
                          "  projection: 'UTM'\n"
                          "  zone: '32N'\n"
                          "  map unit: 'METRE' of 1 m\n"
                          "  origin in the model: 0, 0, 0\n"
                          "  eastings: 691608.25\n"
                          "  northings: 5334765.5\n"
                          "  orthogonal height: 519.125\n"
                          "  x axis in the map: 0.8, 0.6\n"
                          "  scale: 0.001\n"
                          "walls.ifc: "));
    EXPECT_TRUE(run.output.ends_with("\nno georeference\n")) << run.output;
    const auto withoutOption = runHost({workshop, "--state", (folder / "other").string()});
    EXPECT_THAT(withoutOption.output, Not(HasSubstr("georeference")));
    EXPECT_THAT(withoutOption.output, Not(HasSubstr("properties of")));
}

TEST(ImportHost, ReportsEntitiesWithoutClassOnceAndCountsTheirObjects) {
    const TemporaryFolder folder;
    const auto text = replaced(replaced(readFile(workshop), "=IFCFURNITURE(", "=IFCBEARING("), "=IFCPLATE(", "=IFCVEHICLE(");
    writeFile(folder / "model.ifc", text);
    const auto run = runHost({(folder / "model.ifc").string(), "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("IFCINVALID"), (TableRow{3, 3, 0, 0, "-", 0}));
    EXPECT_EQ(run.table().at("total").objects, 30u);
    EXPECT_THAT(run.output, HasSubstr("objects of entities without a class name, reported as IFCINVALID: 3\n"
                                      "problems: 2\n  " +
                                      place(text, "#626") +
                                      ": IFCBEARING has no row in the class tables; objects imported as IFCINVALID: 2\n  " +
                                      place(text, "#807") +
                                      ": IFCVEHICLE has no row in the class tables; objects imported as IFCINVALID: 1\n"));
    EXPECT_THAT(runHost({workshop, "--state", (folder / "other").string()}).output, Not(HasSubstr("IFCINVALID")));
}

TEST(ImportHost, IgnoresGlobalIdsOfSetsAndTheOrderOfProperties) {
    const TemporaryFolder folder;
    const auto model = changedWorkshop(folder / "other.ifc", "(#1010,#1011,#1012,#1013,#1014,#1015)",
                                       "(#1015,#1013,#1011,#1014,#1012,#1010)");
    writeFile(model, replaced(readFile(model), "(#1033,#1034,#1035,#1036,#1037)", "(#1037,#1034,#1036,#1033,#1035)"));
    writeFile(model, replaced(readFile(model), "(#1030,#1031,#1032)", "(#1032,#1031,#1030)"));
    writeFile(model, replaced(readFile(model), "'0Workshop0Pset", "'1Workshop0Pset"));
    writeFile(model, replaced(readFile(model), "'Clear span'", "'Span'"));
    const auto run = runHost({workshop, model, "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("total"), (TableRow{30, 0, 30, 0, "-", 0}));
}

TEST(ImportHost, ImportsAHundredThousandPropertiesAndLongNames) {
    const TemporaryFolder folder;
    const std::string longText(10000, 'x');
    std::string sets;
    std::string list;
    for (int i = 0; i < 100000; ++i) {
        const auto id = "#" + std::to_string(1000 + i);
        sets += id + "=IFCPROPERTYSINGLEVALUE('P" + std::to_string(i) + "',$,IFCINTEGER(" + std::to_string(i) + "),$);\n";
        list += id + ',';
    }
    sets += "#200000=IFCPROPERTYSINGLEVALUE('" + longText + "','" + longText + "',IFCTEXT('" + longText + "'),$);\n" +
            "#200001=IFCPROPERTYSET('0Many000Pset0000000001',$,'" + longText + "','" + longText + "',(" + list +
            "#200000));\n#200002=IFCRELDEFINESBYPROPERTIES('0Many000Rel00000000001',$,$,$,(#103,#113),#200001);\n";
    const auto text =
        replaced(replaced(manyWalls(2), "'Wall 0'", '\'' + longText + '\''), "ENDSEC;\nEND-ISO", sets + "ENDSEC;\nEND-ISO");
    writeFile(folder / "large.ifc", text);
    writeFile(folder / "changed.ifc", replaced(text, "'P77777',$,IFCINTEGER(77777)", "'P77777',$,IFCINTEGER(-1)"));
    const auto large = (folder / "large.ifc").string();
    const auto changed = (folder / "changed.ifc").string();
    const auto state = (folder / "state").string();

    const auto twice = runHost({large, large, "--properties", "0Many000Wall0000000000", "--state", state});
    EXPECT_EQ(twice.exitCode, 0) << twice.error;
    EXPECT_EQ(twice.table().at("total"), (TableRow{2, 0, 2, 0, "-", 0}));
    EXPECT_EQ(occurrences(twice.output, "    P99999: integer 99999\n"), 2u);
    // Names of properties are cut after 255 characters; values are not.
    EXPECT_EQ(occurrences(twice.output, "    " + longText.substr(0, 255) + ": text '" + longText + "', described as '" +
                                            longText.substr(0, 255) + "'\n"),
              2u);
    EXPECT_EQ(occurrences(twice.output, "properties of 0Many000Wall0000000000: IFCWALL '" + longText + "' ("), 2u);

    const auto then = runHost({changed, "--state", state});
    EXPECT_EQ(then.table().at("total"), (TableRow{2, 0, 0, 2, "1.000", 0}));
    EXPECT_EQ(occurrences(then.output, ", " + longText.substr(0, 60) + "....P77777 77777 -> -1\n"), 2u) << then.output;
}

TEST(ImportHost, PrintsItsUsage) {
    const auto help = runHost({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.output, StartsWith("usage: import_host MODEL..."));
    for (const auto& arguments : std::vector<std::vector<std::string>>{{}, {"--state"}, {workshop, "--no-such-option"}}) {
        const auto run = runHost(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.output, "");
        EXPECT_THAT(run.error, HasSubstr("usage: import_host MODEL..."));
    }
}

TEST(ImportHost, StopsAtTheFirstModelThatFails) {
    const TemporaryFolder folder;
    const auto run = runHost({workshop, (folder / "missing.ifc").string(), revised, "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, StartsWith("workshop.ifc: "));
    EXPECT_THAT(run.output, Not(HasSubstr("workshop-revised.ifc: ")));
    EXPECT_THAT(run.error, StartsWith("import_host: "));
    EXPECT_EQ(occurrences(run.error, "missing.ifc"), 1u) << run.error;
}

TEST(ImportHost, ReplacesControlCharactersOfAModel) {
    const TemporaryFolder folder;
    writeFile(folder / "success" / "model.ifc", "");
    const auto run = runHost({(folder / "success" / "model.ifc").string(), "--importer",
                              program("standin_importer").string(), "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.output, "model.ifc: STANDIN, 2 objects, first import\n"
                          "  class     objects  new  unchanged  modified  lowest similarity  gone\n"
                          "  IFC?[31m        1    1          0         0                  -     0\n"
                          "  IFCBEAM         1    1          0         0                  -     0\n"
                          "  total           2    2          0         0                  -     0\n"
                          "problems: 1\n"
                          "  line 7, #8: a reason?with a tab\n");
}

TEST(ImportHost, ImportsAModelOfManyObjects) {
    const TemporaryFolder folder;
    writeFile(folder / "many.ifc", manyWalls(20000));
    const auto model = (folder / "many.ifc").string();
    const auto again = copyWithComment(model, folder / "again.ifc");
    for (const char* const identify : {"--state", "--identify-by-geometry"}) {
        std::vector<std::string> arguments = {model, again, "--state", (folder / identify).string()};
        if (std::string(identify) != "--state")
            arguments.emplace_back(identify);
        const auto run = runHost(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.table().at("total"), (TableRow{20000, 0, 20000, 0, "-", 0}));
    }
}

} // namespace velmor_tests
