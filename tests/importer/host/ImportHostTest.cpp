// import_host and ifc_importer together, started as a user starts them.

#include "importer/exchange/Streams.h"
#include "importer/host/HostRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

using namespace velmor_tests;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const std::string workshop = exampleModel("workshop.ifc").string();
const std::string revised = exampleModel("workshop-revised.ifc").string();

// A model of the test's own, made of the workshop by replacing a part.
std::string changedWorkshop(const fs::path& file, const std::string& part, const std::string& by) {
    writeFile(file, replaced(readFile(workshop), part, by));
    return file.string();
}

// How often a part occurs in a text.
std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

// "line 50, #123": where an instance stands in the workshop.
std::string place(const std::string& text, const std::string& instance) {
    const auto at = text.find('\n' + instance + '=');
    EXPECT_NE(at, std::string::npos) << instance;
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 2;
    return "line " + std::to_string(line) + ", " + instance;
}

#if !defined(_WIN32)
// Whether a process is there and has not ended.
bool isRunning(std::string pid) {
    pid.erase(pid.find_last_not_of('\n') + 1);
    try {
        const auto status = readFile("/proc/" + pid + "/stat"); // "123 (name) S ..."
        return status.find(") Z ") == std::string::npos && status.find(") X ") == std::string::npos;
    } catch (const std::exception&) {
        return false;
    }
}
#endif

// A model of many walls, by name "many", of about 350 bytes each.
std::string manyWalls(unsigned count) {
    std::string text =
        "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n"
        "FILE_NAME('many','2026-02-02T08:00:00',(''),(''),'','','');\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n"
        "#1=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n#2=IFCUNITASSIGNMENT((#1));\n"
        "#3=IFCCARTESIANPOINT((0.,0.,0.));\n#4=IFCAXIS2PLACEMENT3D(#3,$,$);\n"
        "#5=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,0.01,#4,$);\n"
        "#6=IFCPROJECT('0Many000Project0000000',$,$,$,$,$,$,(#5),#2);\n"
        "#7=IFCCARTESIANPOINT((0.,0.));\n#8=IFCAXIS2PLACEMENT2D(#7,$);\n#9=IFCDIRECTION((0.,0.,1.));\n"
        "#10=IFCRECTANGLEPROFILEDEF(.AREA.,$,#8,1.,0.2);\n#11=IFCEXTRUDEDAREASOLID(#10,#4,#9,3.);\n"
        "#12=IFCSHAPEREPRESENTATION(#5,'Body','SweptSolid',(#11));\n"
        "#13=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n";
    for (unsigned i = 0; i < count; ++i) {
        const auto id = [i](unsigned k) { return '#' + std::to_string(100 + 10 * i + k); };
        char guid[23];
        std::snprintf(guid, sizeof guid, "0Many000Wall%010u", i);
        text += id(0) + "=IFCCARTESIANPOINT((" + std::to_string(2 * i) + ".,0.,0.));\n" + id(1) + "=IFCAXIS2PLACEMENT3D(" +
                id(0) + ",$,$);\n" + id(2) + "=IFCLOCALPLACEMENT($," + id(1) + ");\n" + id(3) + "=IFCWALL('" + guid +
                "',$,'Wall " + std::to_string(i) + "',$,$," + id(2) + ",#13,$,$);\n";
    }
    return text + "ENDSEC;\nEND-ISO-10303-21;\n";
}

} // namespace

// The result of every change in the revision, worked out by hand: S is the mean distance of the eight corners from the
// centre, close(x) = ((1 - x - 0.7) / 0.3) cubed, and the volume factor (2 R - 1) cubed with the ratio R of the volumes.
TEST(ImportHost, TellsWhatChangedInTheWorkshop) {
    const TemporaryFolder folder;
    const auto state = (folder / "state").string();
    const auto first = runHost({workshop, "--state", state});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.error, "");
    EXPECT_THAT(first.output, StartsWith("workshop.ifc: IFC4, 30 objects, first import\n"));
    EXPECT_THAT(first.output, Not(HasSubstr("problems")));
    EXPECT_EQ(first.table().at("total"), (TableRow{30, 30, 0, 0, "-", 0}));
    EXPECT_EQ(first.table().at("IFCBEAM"), (TableRow{7, 7, 0, 0, "-", 0}));

    const auto second = runHost({revised, "--state", state});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.error, "");
    EXPECT_THAT(second.output,
                StartsWith("workshop-revised.ifc: IFC4, 31 objects, compared with the 30 of the previous import\n"));
    const std::map<std::string, TableRow> expected = {
        // B2: area 7548 mm2 instead of 5246 and 100 mm deeper, 0.041 in all; B7 gone, B8 new.
        // B3 has only another fire rating.
        {"IFCBEAM", {7, 1, 4, 2, "0.040", 1}},
        {"IFCBUILDING", {1, 0, 1, 0, "-", 0}},
        {"IFCBUILDINGSTOREY", {1, 0, 1, 0, "-", 0}},
        // C3: area 7530 mm2 instead of 6208, 0.273; C6: 0.1 m to S = 2.005 m, 0.580; C1 is only renamed.
        {"IFCCOLUMN", {6, 0, 4, 2, "0.273", 0}},
        {"IFCDOOR", {1, 1, 0, 0, "-", 1}},
        // Was a proxy: not a new object, but one of another class.
        {"IFCFOOTING", {1, 0, 1, 0, "-", 0}},
        // F1 has a property less; F2: 0.4 m to S = 1.06 m is more than 0.3; F3 is new.
        {"IFCFURNITURE", {3, 1, 0, 2, "0.000", 0}},
        // N1: 0.2 m to S = 0.972 m.
        {"IFCOPENINGELEMENT", {2, 0, 1, 1, "0.031", 0}},
        // The canopy is an open sheet: its place is not part of its version.
        {"IFCPLATE", {1, 0, 1, 0, "-", 0}},
        {"IFCSITE", {1, 0, 1, 0, "-", 0}},
        // The floor: volume 0.8 of it, centre 25 mm lower, 50 mm thicker, S = 6.98 m. The roof has a property set more.
        {"IFCSLAB", {2, 0, 0, 2, "0.193", 0}},
        // W2 has two other values; W4: 1 m to S = 3.09 m is more than 0.3.
        {"IFCWALL", {4, 0, 2, 2, "0.000", 0}},
        // N1: moves with its opening, 0.2 m to S = 0.947 m.
        {"IFCWINDOW", {1, 0, 0, 1, "0.025", 0}},
        {"total", {31, 3, 16, 12, "0.000", 2}}};
    EXPECT_EQ(second.table(), expected);
    EXPECT_THAT(
        second.output,
        HasSubstr("changes: renamed 1, reclassified 1, moved without a change of shape 1, with other properties 5\n"));
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
              "Pset_WallCommon.AcousticRating '' -> '52 dB'; Pset_WallCommon.ThermalTransmittance 0.35 -> 0.24\n",
          "modified      IFCSLAB 'Roof'" + at("#533") + "property set Workshop_Snow added\n",
          "modified      IFCFURNITURE 'Bench F1'" + at("#626") + "Workshop_Bench.Vice true removed\n"})
        EXPECT_THAT(second.output, HasSubstr(line));

    const auto third = runHost({commented(revised, folder / "third.ifc"), "--state", state});
    EXPECT_EQ(third.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
    EXPECT_THAT(third.output, Not(HasSubstr("changes")));
}

TEST(ImportHost, TellsWhatChangedInTheWorkshopByGeometryAlone) {
    const TemporaryFolder folder;
    const auto state = (folder / "state").string();
    const auto run = runHost({workshop, revised, "--state", state, "--identify-by-geometry"});
    EXPECT_EQ(run.exitCode, 0);
    const std::map<std::string, TableRow> expected = {
        {"IFCBEAM", {7, 2, 4, 1, "1.000", 2}},   // B2 has other corners, B7 and B8 as before, B3 other properties
        {"IFCCOLUMN", {6, 1, 4, 1, "0.273", 1}}, // C3 has the same outline, C6 is elsewhere
        {"IFCDOOR", {1, 0, 1, 0, "-", 0}},       // the new door is where the old one was
        {"IFCFOOTING", {1, 0, 1, 0, "-", 0}},
        {"IFCFURNITURE", {3, 2, 0, 1, "1.000", 1}}, // F1 is where it was, with a property less
        {"IFCOPENINGELEMENT", {2, 1, 1, 0, "-", 1}},
        {"IFCPLATE", {1, 1, 0, 0, "-", 1}},
        {"IFCSLAB", {2, 1, 0, 1, "1.000", 1}}, // the roof has a property set more
        {"IFCWALL", {4, 1, 2, 1, "1.000", 1}}, // W2 has other values
        {"IFCWINDOW", {1, 1, 0, 0, "-", 1}},
        {"total", {28, 10, 13, 5, "0.273", 9}}};
    EXPECT_EQ(run.table(), expected);
    // Site, building and storey have no geometry.
    EXPECT_THAT(run.output, HasSubstr("not identified, neither compared nor counted above: 3\n  IFCSITE 'Site' ("));

    // The state serves either way of identifying.
    const auto third = commented(revised, folder / "third.ifc");
    const auto byId = runHost({third, "--state", state});
    EXPECT_EQ(byId.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
    const auto fourth = commented(third, folder / "fourth.ifc");
    const auto byGeometry = runHost({fourth, "--state", state, "--identify-by-geometry"});
    EXPECT_EQ(byGeometry.table().at("total"), (TableRow{28, 0, 28, 0, "-", 0}));
}

TEST(ImportHost, KeepsAStateForEachModelWhenNoneIsNamed) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "here");
    const auto before = fs::current_path();
    fs::current_path(folder / "here");
    const auto first = runHost({workshop, revised});
    // The name counts, not the folder.
    const auto second = runHost({commented(workshop, folder / "elsewhere" / "workshop.ifc"),
                                 commented(revised, folder / "elsewhere" / "workshop-revised.ifc")});
    fs::current_path(before);
    EXPECT_THAT(first.output, HasSubstr("\nworkshop-revised.ifc: IFC4, 31 objects, first import\n"));
    EXPECT_THAT(second.output, StartsWith("workshop.ifc: IFC4, 30 objects, compared with the 30 "));
    EXPECT_EQ(second.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
    EXPECT_TRUE(fs::exists(folder / "here" / "import-state" / "workshop.ifc" / "import.state"));
}

TEST(ImportHost, TakesModelsWithBlanksAndForeignCharactersInTheirNames) {
    const TemporaryFolder folder;
    const auto model = folder / fs::path(u8"W\u00E4nde (1) & more") / "a model.ifc";
    fs::create_directories(model.parent_path());
    fs::copy_file(workshop, model);
    const auto before = fs::current_path();
    fs::current_path(model.parent_path()); // the shell of the test knows only what its code page can say
    const auto run = runHost({"a model.ifc", "--state", "a state"});
    fs::current_path(before);
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("total").objects, 30u);
}

TEST(ImportHost, ShowsThePropertiesOfObjectsOnRequest) {
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
                  "    IsLoadBearing: boolean true\n"
                  "  Workshop_Fabrication (0Workshop0Pset000TB300), described as 'Of all beams of the type'\n"
                  "    Coating: complex 'Workshop_Coating', described as 'Against corrosion'\n"
                  "      System: text 'hot-dip galvanised, ISO 1461'\n"
                  "      Thickness: length 0.085\n"
                  "      Layers: integer 1\n"
                  "    Mass: mass 253.25\n"
                  "    Surface: area 6.98\n"
                  "    Volume: volume 0.0322\n"
                  "    Inspected: logical unknown\n"
                  // The common set of doors always writes its texts and flags.
                  "properties of 0Workshop0Door000000D1: IFCDOOR 'Stahlt\xC3\xBCr D1' (" +
                  place(text, "#427") +
                  "), 1 property set\n"
                  "  Pset_DoorCommon (0Workshop0Pset0000D000)\n"
                  "    Reference: text ''\n"
                  "    FireRating: text ''\n"
                  "    AcousticRating: text ''\n"
                  "    SecurityRating: text ''\n"
                  "    HandicapAccessible: boolean true\n"
                  "    FireExit: boolean true\n"
                  "    SelfClosing: boolean false\n"
                  "    SmokeStop: boolean false\n"
                  "    IsExternal: boolean false\n"
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

TEST(ImportHost, ShowsTheGeoreferenceOnRequest) {
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
    const auto unasked = runHost({workshop, "--state", (folder / "other").string()});
    EXPECT_THAT(unasked.output, Not(HasSubstr("georeference")));
    EXPECT_THAT(unasked.output, Not(HasSubstr("properties of")));
}

TEST(ImportHost, TellsEntitiesWithoutAClassOnceAndCountsTheirObjects) {
    const TemporaryFolder folder;
    const auto text = replaced(replaced(readFile(workshop), "=IFCFURNITURE(", "=IFCBEARING("), "=IFCPLATE(", "=IFCVEHICLE(");
    writeFile(folder / "model.ifc", text);
    const auto run = runHost({(folder / "model.ifc").string(), "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("IFCINVALID"), (TableRow{3, 3, 0, 0, "-", 0}));
    EXPECT_EQ(run.table().at("total").objects, 30u);
    EXPECT_THAT(run.output, HasSubstr("of entities without a class of their own, taken as IFCINVALID: 3\n"
                                      "problems: 2\n  " +
                                      place(text, "#626") +
                                      ": IFCBEARING has no row in the class tables; objects imported as IFCINVALID: 2\n  " +
                                      place(text, "#807") +
                                      ": IFCVEHICLE has no row in the class tables; objects imported as IFCINVALID: 1\n"));
    EXPECT_THAT(runHost({workshop, "--state", (folder / "other").string()}).output, Not(HasSubstr("IFCINVALID")));
}

TEST(ImportHost, TakesOtherGlobalIdsAndOtherOrdersOfPropertiesAsUnchanged) {
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

TEST(ImportHost, CarriesAHundredThousandPropertiesAndLongNames) {
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
    // A name ends at 255 characters by its record; a value does not.
    EXPECT_EQ(occurrences(twice.output, "    " + longText.substr(0, 255) + ": text '" + longText + "', described as '" +
                                            longText.substr(0, 255) + "'\n"),
              2u);
    EXPECT_EQ(occurrences(twice.output, "properties of 0Many000Wall0000000000: IFCWALL '" + longText + "' ("), 2u);

    const auto then = runHost({changed, "--state", state});
    EXPECT_EQ(then.table().at("total"), (TableRow{2, 0, 0, 2, "1.000", 0}));
    EXPECT_EQ(occurrences(then.output, ", " + longText.substr(0, 60) + "....P77777 77777 -> -1\n"), 2u) << then.output;
}

TEST(ImportHost, ExplainsItsUsage) {
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

// Whatever makes an import meaningless leaves the previous state as it was.
class FailingImport : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(runHost({workshop, "--state", state}).exitCode, 0);
        before = readFile(stateFile);
    }

    void TearDown() override {
        EXPECT_EQ(readFile(stateFile), before);
        EXPECT_FALSE(fs::exists(folder / "state" / "import.state.new"));
    }

    HostRun expectFailure(const std::vector<std::string>& arguments, const std::string& reason,
                          const std::string& shell = {}) {
        auto all = arguments;
        all.insert(all.end(), {"--state", state});
        auto run = runHost(all, shell);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.output, "");
        EXPECT_THAT(run.error, StartsWith("import_host: "));
        EXPECT_THAT(run.error, HasSubstr(reason));
        return run;
    }

    const TemporaryFolder folder;
    const std::string state = (folder / "state").string();
    const fs::path stateFile = folder / "state" / "import.state";
    std::string before;
};

TEST_F(FailingImport, OfAMissingModel) {
    const auto run = expectFailure({(folder / "missing.ifc").string()}, "missing.ifc");
    EXPECT_EQ(occurrences(run.error, "missing.ifc"), 1u) << run.error;
}

TEST_F(FailingImport, OfAFolder) {
    expectFailure({(folder / "state").string()}, "state");
}

TEST_F(FailingImport, OfWhatIsNoStepFile) {
    for (const char* const content : {"", "\n", "no STEP file\n", "ISO-10303-22;\n", "PK\3\4"}) {
        writeFile(folder / "other.ifc", content);
        expectFailure({(folder / "other.ifc").string()}, "other.ifc");
    }
}

TEST_F(FailingImport, OfAFileThatIsCutOff) {
    const auto whole = readFile(workshop);
    for (std::size_t length = 20; length + 30 < whole.size(); length += whole.size() / 12) {
        writeFile(folder / "cut.ifc", whole.substr(0, length));
        expectFailure({(folder / "cut.ifc").string()}, "cut.ifc");
    }
}

TEST_F(FailingImport, OfAnotherSchema) {
    expectFailure({changedWorkshop(folder / "other.ifc", "'IFC4'", "'AP242_MANAGED_MODEL_BASED_3D_ENGINEERING'")}, "AP242");
}

TEST_F(FailingImport, WithPropertiesAskedForOfAnObjectThatIsNotThere) {
    expectFailure({revised, "--properties", "0Workshop0Beam000000B2", "--properties", "0Workshop0Beam000000B7"},
                  "workshop-revised.ifc: the model has no object with the GlobalId '0Workshop0Beam000000B7'\n");
    expectFailure({workshop, "--properties", "B7"}, "no object with the GlobalId 'B7'");
}

TEST_F(FailingImport, ByAnImporterThatIsNotThere) {
    expectFailure({workshop, "--importer", (folder / "missing").string()}, "cannot be started");
}

TEST_F(FailingImport, ByAnImporterThatFailsInEveryWay) {
    const struct {
        const char* how;
        const char* reason;
    } cases[] = {
        {"silent", "ended with code 0; it did not come to its end"},
        {"crash", "it did not come to its end"},
        {"nonsense", "what it handed over is incomplete: the info stream: byte 0: expected a record of 4294967295 bytes"},
        {"refuse", "line 3: expected?something else"},
        {"exit-3", "ended with code 3; what it handed over is not trusted"},
        {"missing-object", "the objects stream: byte "},
        {"surplus-object", "the objects stream: byte 238: expected the end of the file after 1 record, found more"},
        {"altered-object", "the objects stream: byte 238: expected the checksum "},
        {"missing-set", "the attributes stream: byte "},
        {"surplus-set", "expected the end of the file after 1 record, found more"},
        {"altered-set", "expected the checksum "},
        {"unknown-set", "expected a property set number below 1, found 1"},
        {"old", "does not fit this program: expected format version 3, found 1; both must come from one build"},
        {"missing-solid", "the solids stream: byte "},
        {"surplus-solid", "the solids stream: byte 172: expected the end of the file after 1 record, found more"},
        {"altered-solid", "the solids stream: byte 0: expected the checksum "},
        {"wild-solid", "the solids stream: byte 172: expected a vertex index below 3 in triangle 1, found 3"},
        {"other-solid", "the solids stream: byte 172: expected a solid of type 1, found 7"},
        {"missing-texture", "the textures stream: byte "},
        {"surplus-texture", "the textures stream: byte 0: expected the end of the file after 0 records, found more"},
        {"altered-texture", "the textures stream: byte 0: expected the checksum "},
        {"missing-problem", "the log stream: expected 2 problems"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.how);
        writeFile(folder / each.how / "model.ifc", "");
        expectFailure({(folder / each.how / "model.ifc").string(), "--importer", program("standin_importer").string()},
                      each.reason);
    }
}

TEST_F(FailingImport, ByAnImporterThatIsKilledHalfWay) {
    writeFile(folder / "kill" / "model.ifc", manyWalls(80000));
    const auto model = (folder / "kill" / "model.ifc").string();
    expectFailure({model, "--importer", program("standin_importer").string()},
                  "ended with code 77; it did not come to its end");
}

TEST_F(FailingImport, OntoAStateThatIsDamaged) {
    auto damaged = before;
    damaged[damaged.size() / 2] ^= 1;
    writeFile(stateFile, damaged);
    const auto run = expectFailure({workshop}, "workshop.ifc: the state file is damaged: ");
    EXPECT_THAT(run.error, HasSubstr("import.state: byte "));
    EXPECT_THAT(run.error, HasSubstr("expected the checksum "));
    EXPECT_EQ(readFile(stateFile), damaged);
    writeFile(stateFile, "something else");
    expectFailure({workshop}, "the state file is damaged: ");
    EXPECT_EQ(readFile(stateFile), "something else");
    writeFile(stateFile, before);
}

TEST_F(FailingImport, IntoAStateThatCannotBeKept) {
    writeFile(folder / "state" / "import.state.new" / "in the way", "x");
    expectFailure({revised}, "the state is not kept: ");
    fs::remove_all(folder / "state" / "import.state.new");
}

#if !defined(_WIN32)
// A limit on the size of files does to a writer what a full disk does.
TEST_F(FailingImport, IntoAStateForWhichThereIsNoRoom) {
    // The objects fill whole blocks exactly, so that the importer still has room; the state is their bytes and a header. No
    // property sets are added to that.
    const auto walls = manyWalls(30);
    writeFile(folder / "walls.ifc", walls);
    const auto size = [&](const fs::path& file) {
        EXPECT_EQ(runHost({file.string(), "--state", (folder / "other").string()}).exitCode, 0);
        return readFile(folder / "other" / "import.state").size();
    };
    const std::size_t header = 4 + 8 + 4 + 4 + 2 * 20 + 24 + 24 + 8;
    const auto padding = 512 - (size(folder / "walls.ifc") - header) % 512;
    writeFile(folder / "padded.ifc", replaced(walls, "'Wall 17'", "'Wall 17" + std::string(padding, '.') + '\''));
    const auto model = (folder / "padded.ifc").string();
    const auto objects = size(model) - header;
    ASSERT_EQ(objects % 512, 0u);
    const auto limit = [](std::size_t blocks) { return "trap '' XFSZ; ulimit -f " + std::to_string(blocks) + ';'; };

    expectFailure({model}, "the state is not kept: the new state file ", limit(objects / 512));
    expectFailure({model}, "the objects stream cannot be written; is the disk full?", limit(objects / 512 - 1));
}

TEST_F(FailingImport, WhosePropertySetsHaveNoRoom) {
    const auto model = changedWorkshop(folder / "long.ifc", "'hot-dip", '\'' + std::string(40000, 'x'));
    expectFailure({model}, "the attributes stream cannot be written; is the disk full?", "trap '' XFSZ; ulimit -f 64;");
}

TEST_F(FailingImport, WhoseLogHasNoRoom) {
    std::string twice;
    for (int i = 0; i < 100; ++i)
        twice += "#1=IFCDIRECTION((1.,0.,0.));\n"; // a number that is given again is a problem, and makes no object
    writeFile(folder / "full.ifc", replaced(manyWalls(0), "ENDSEC;\nEND-ISO", twice + "ENDSEC;\nEND-ISO"));
    const auto model = (folder / "full.ifc").string();
    const auto roomy = runHost({model, "--state", (folder / "other").string()});
    ASSERT_THAT(roomy.output, HasSubstr("problems: 100\n"));
    expectFailure({model}, "the log stream cannot be written; is the disk full?", "trap '' XFSZ; ulimit -f 4;");
}

TEST_F(FailingImport, WhoseLastWordsHaveNoRoom) {
    writeFile(folder / "talkative" / "model.ifc", "");
    expectFailure({(folder / "talkative" / "model.ifc").string(), "--importer", program("standin_importer").string()},
                  "the info stream: byte 0: expected a record of ", "trap '' XFSZ; ulimit -f 4;");
}

TEST_F(FailingImport, WhoseReportCannotBeWritten) {
    const auto shell = "intoFullDisk() { \"$@\" >/dev/full; }; intoFullDisk";
    expectFailure({revised}, "standard output cannot be written", shell);
    EXPECT_EQ(runHost({"--help"}, shell).exitCode, 1);
    // What could not be told is told by the next import.
    const auto next = runHost({revised, "--state", state});
    EXPECT_EQ(next.table().at("total"), (TableRow{31, 3, 16, 12, "0.000", 2}));
    writeFile(stateFile, before);
}

TEST_F(FailingImport, ThatIsInterruptedTakesItsImporterAlong) {
    writeFile(folder / "sleep" / "model.ifc", "");
    const auto pidFile = folder / "sleep" / "pid";
    for (const std::string signal : {"TERM", "HUP", "INT"}) {
        SCOPED_TRACE(signal);
        fs::remove(pidFile);
        // The shell becomes the host, and keeps its process id. Whoever runs the tests may ignore these signals.
        const auto shell = "( for i in $(seq 1200); do sleep 0.05; [ -e '" + pidFile.string() + "' ] && kill -" + signal +
                           " $$ && break; done ) & exec env --default-signal=HUP,INT,TERM";
        const auto run =
            expectFailure({(folder / "sleep" / "model.ifc").string(), "--importer", program("standin_importer").string()},
                          "interrupted", shell);
        ASSERT_TRUE(fs::exists(pidFile)) << run.error;
        const auto pid = readFile(pidFile);
        for (int attempt = 0; attempt < 1000 && isRunning(pid); ++attempt)
            Velmor::ThreadOperations::usleep(10); // it has been ended, but the system may take its time
        EXPECT_FALSE(isRunning(pid)) << pid;
    }
}

TEST_F(FailingImport, WithoutATemporaryFolder) {
    expectFailure({revised}, "a temporary file cannot be created", "TMPDIR=/nonexistent/folder; export TMPDIR;");
}
#endif

// What spoils one object is told and counted, and the import goes on.
TEST(SpoiledObject, WithAGlobalIdGivenTwiceGoesByItsGeometry) {
    const TemporaryFolder folder;
    const auto model = changedWorkshop(folder / "twice.ifc", "0Workshop0Column0000C2", "0Workshop0Column0000C1");
    const auto run = runHost({model, "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.table().at("IFCCOLUMN").objects, 6u);
    EXPECT_THAT(run.output, HasSubstr("problems: 1\n  " + place(readFile(model), "#133") +
                                      ": its GlobalId '0Workshop0Column0000C1' is already used by #123; "
                                      "identified by its geometry\n"));
    const auto again = runHost({commented(model, folder / "again.ifc"), "--state", (folder / "state").string()});
    EXPECT_EQ(again.table().at("total"), (TableRow{30, 0, 30, 0, "-", 0}));
}

TEST(SpoiledObject, WithAnUnusableGlobalIdGoesByItsGeometry) {
    const std::string no = " is not a GlobalId of 22 characters (0-9, A-Z, a-z, _, $)";
    const std::string umlaut = "\xC3\xBC";
    const struct {
        const char* id;
        std::string reason;
    } cases[] = {{"''", "it has no GlobalId"},
                 {"$", "it has no GlobalId"},
                 {"'0Workshop0Column0000C'", "'0Workshop0Column0000C'" + no},
                 {"'0Workshop0Column0000C22'", "'0Workshop0Column0000C22'" + no},
                 {"'0Workshop0Column 000C2'", "'0Workshop0Column 000C2'" + no},
                 // 22 bytes, and 22 characters.
                 {"'0Workshop0Column000\\X2\\00FC\\X0\\2'", "'0Workshop0Column000" + umlaut + "2'" + no},
                 {"'0Workshop0Column0000\\X2\\00FC\\X0\\2'", "'0Workshop0Column0000" + umlaut + "2'" + no}};
    for (const auto& each : cases) {
        const TemporaryFolder folder;
        const auto state = (folder / "state").string();
        ASSERT_EQ(runHost({workshop, "--state", state}).exitCode, 0);
        const auto model = changedWorkshop(folder / "bad.ifc", "'0Workshop0Column0000C2'", each.id);
        const auto run = runHost({model, "--state", state});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_THAT(run.output, HasSubstr("problems: 1\n  " + place(readFile(model), "#133") + ": " + each.reason +
                                          "; identified by its geometry\n"));
        // What was known by its GlobalId is gone, and what has none now is new.
        EXPECT_EQ(run.table().at("IFCCOLUMN"), (TableRow{6, 1, 5, 0, "-", 1}));
    }
}

TEST(SpoiledObject, WithNeitherGlobalIdNorGeometryIsNotCompared) {
    const TemporaryFolder folder;
    const auto first = changedWorkshop(folder / "bad.ifc", "0Workshop0Storey000000", "");
    for (const auto& model : {first, commented(first, folder / "again.ifc")}) {
        const auto run = runHost({model, "--state", (folder / "state").string()});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.table().at("total").objects, 29u);
        EXPECT_EQ(run.table().at("total").gone, 0u);
        EXPECT_THAT(
            run.output,
            HasSubstr("not identified, neither compared nor counted above: 1\n  IFCBUILDINGSTOREY 'Ground floor' ("));
        EXPECT_THAT(run.output, HasSubstr(place(readFile(model), "#27") +
                                          ": it has no GlobalId; without geometry it cannot be identified\n"));
    }
}

TEST(SpoiledObject, WithAShapeOrAPlacementThatCannotBeHadIsTold) {
    const TemporaryFolder folder;
    const struct {
        const char* part;
        const char* by;
        const char* instance;
        const char* reason;
        const char* owner;
    } cases[] = {{"#171=IFCAXIS2PLACEMENT3D(#170,$,$)", "#171=IFCAXIS2PLACEMENT3D(#99999,$,$)", "#171",
                  "refers to #99999, which the file does not have", "IFCCOLUMN #173"},
                 {"#172=IFCLOCALPLACEMENT(#26,#171)", "#172=IFCLOCALPLACEMENT(#172,#171)", "#172", "leads back to itself",
                  "IFCCOLUMN #173"},
                 // The section of the sixth beam alone.
                 {"#203=IFCEXTRUDEDAREASOLID(#42,#8,#7,6000.)", "#203=IFCSECTIONEDSPINE(#8,(#42),(#8))", "#203",
                  "not supported", "IFCBEAM #273"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.instance);
        const auto model = changedWorkshop(folder / "bad.ifc", each.part, each.by);
        const auto run = runHost({model, "--state", (folder / "state").string()});
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.table().at("total").objects, 30u);
        EXPECT_EQ(occurrences(run.output, "problems: 1\n"), 1u);
        const auto begin = run.output.find("problems: 1\n") + 12;
        const auto told = run.output.substr(std::min(begin, run.output.size()));
        EXPECT_THAT(told, StartsWith("  " + place(readFile(model), each.instance) + ": "));
        EXPECT_THAT(told, HasSubstr(each.reason));
        EXPECT_THAT(told, HasSubstr(std::string("(in ") + each.owner + ")"));
        EXPECT_EQ(occurrences(told, "\n"), 1u);
    }
}

TEST(SpoiledObjects, AreAllCountedAndTheFirstTold) {
    const TemporaryFolder folder;
    const auto model = changedWorkshop(folder / "bad.ifc", "'0Workshop0Co", "'Co");
    const auto run = runHost({model, "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, HasSubstr("problems: 6\n"));
    const auto none = changedWorkshop(folder / "worse.ifc", "'0Workshop0", "'");
    const auto worse = runHost({none, "--state", (folder / "state").string()});
    EXPECT_EQ(worse.exitCode, 0);
    EXPECT_THAT(worse.output, HasSubstr("problems: 37\n")); // 30 products and 7 property sets
    EXPECT_THAT(worse.output, HasSubstr("  ... and 27 more\n"));
}

TEST(SpoiledObjects, AreCountedBeyondWhatTheLogTakes) {
    const TemporaryFolder folder;
    const unsigned count = 10003;
    writeFile(folder / "bad.ifc", replaced(manyWalls(count), "'0Many000Wall", "'Many000Wall"));
    const auto run = runHost({(folder / "bad.ifc").string(), "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("total").objects, count);
    EXPECT_THAT(run.output, HasSubstr("problems: 10003\n"));
    EXPECT_THAT(run.output, HasSubstr("  ... and 9993 more\n"));
}

TEST(ImportHost, PrintsNoControlCharactersOfAModel) {
    const TemporaryFolder folder;
    writeFile(folder / "whole" / "model.ifc", "");
    const auto run = runHost({(folder / "whole" / "model.ifc").string(), "--importer", program("standin_importer").string(),
                              "--state", (folder / "state").string()});
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
    const auto again = commented(model, folder / "again.ifc");
    for (const char* const identify : {"--state", "--identify-by-geometry"}) {
        std::vector<std::string> arguments = {model, again, "--state", (folder / identify).string()};
        if (std::string(identify) != "--state")
            arguments.emplace_back(identify);
        const auto run = runHost(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.table().at("total"), (TableRow{20000, 0, 20000, 0, "-", 0}));
    }
}
