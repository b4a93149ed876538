// Imports all models of examples/models, and of the folder that the environment variable VELMOR_MODELS names: real models
// that are not part of the project.

#include <Velmor/Velmor.h>

#include "importer/exchange/PropertyRecords.h"
#include "importer/host/ExportedFiles.h"
#include "importer/host/HostRun.h"
#include "importer/host/State.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

std::vector<fs::path> folders() {
    std::vector<fs::path> result = {exampleModel("")};
    const auto real = Velmor::EnvironmentVariables::GetString(VELMOR_WIDE("VELMOR_MODELS"));
    if (!real.empty())
        result.emplace_back(real);
    return result;
}

std::vector<fs::path> models() {
    std::vector<fs::path> result;
    for (const auto& folder : folders()) {
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().extension() == ".ifc")
                result.push_back(entry.path());
    }
    std::sort(result.begin(), result.end());
    return result;
}

// The path of a model; empty if no folder contains it.
fs::path model(const std::string& name) {
    for (const auto& folder : folders())
        if (fs::exists(folder / name))
            return folder / name;
    return {};
}

// The number of products in real models, counted in the files: instances of subtypes of IfcProduct that are physical or
// spatial objects (an IfcAnnotation is neither). The two tessellations contain types without occurrences.
const std::map<std::string, unsigned> products = {{"AC11-FZK-Haus-IFC-Alt.ifc", 142},
                                                  {"AC11-FZK-Haus-IFC.ifc", 142},
                                                  {"Duplex_A_20110907.ifc", 295},
                                                  {"Duplex_A_20110907_georeferenced.ifc", 295},
                                                  {"beam-varying-profiles.ifc", 3},
                                                  {"compare_by_guid_rev_1.ifc", 7},
                                                  {"compare_by_guid_rev_2.ifc", 9},
                                                  {"geographic-referencing-utm.ifc", 4},
                                                  {"tessellation-with-blob-texture.ifc", 0},
                                                  {"tessellation-with-image-texture.ifc", 0}};

// The number of these that are closed solids. All of them can be triangulated.
const std::map<std::string, unsigned> closedSolids = {{"AC11-FZK-Haus-IFC-Alt.ifc", 104},
                                                      {"AC11-FZK-Haus-IFC.ifc", 104},
                                                      {"Duplex_A_20110907.ifc", 215},
                                                      {"Duplex_A_20110907_georeferenced.ifc", 215},
                                                      {"tessellation-with-blob-texture.ifc", 0},
                                                      {"tessellation-with-image-texture.ifc", 0}};

std::string testName(const std::string& text) {
    std::string name = text;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name;
}

// The expected comparison of two revisions of a model. The numbers come from the files: each product, its placement and its
// shape were compared by GlobalId, down to the coordinates.
struct Counts {
    unsigned objects = 0;      ///< Of the later model.
    unsigned bare = 0;         ///< Of these, without a representation: they cannot be identified by geometry.
    unsigned added = 0;        ///< Only in the later model. In all pairs of models, no object is gone.
    unsigned modified = 0;     ///< With other properties, without the bare ones. No shape differs.
    unsigned modifiedBare = 0; ///< Bare, with other properties.
};

struct Revision {
    const char* before;
    const char* now;
    std::map<std::string, Counts> classes;
};

// An IfcOpeningElement and an IfcDoor in it are added. The opening refers to its wall by IfcRelVoidsElement; the geometry of
// the wall does not change. So the shapes of all four walls are unchanged; the property "Surface (All)" of the wall with the
// door lists its two paints in the opposite order.
const Revision comparedByGuid = {"compare_by_guid_rev_1.ifc",
                                 "compare_by_guid_rev_2.ifc",
                                 {{"IFCBUILDING", {1, 1, 0}},
                                  {"IFCBUILDINGSTOREY", {1, 1, 0}},
                                  {"IFCDOOR", {1, 0, 1}},
                                  {"IFCOPENINGELEMENT", {1, 0, 1}},
                                  {"IFCSITE", {1, 1, 0}},
                                  {"IFCWALLSTANDARDCASE", {4, 0, 0, 1}}}};

// Two lines differ: a postal address and the name of the IfcProject. Neither is a product.
const Revision houseAndItsCopy = {"AC11-FZK-Haus-IFC.ifc",
                                  "AC11-FZK-Haus-IFC-Alt.ifc",
                                  {{"IFCBEAM", {51, 0, 0}},
                                   {"IFCBUILDING", {1, 1, 0}},
                                   {"IFCBUILDINGSTOREY", {2, 2, 0}},
                                   {"IFCCOLUMN", {1, 0, 0}},
                                   {"IFCDISTRIBUTIONFLOWELEMENT", {1, 0, 0}},
                                   {"IFCDOOR", {5, 0, 0}},
                                   {"IFCFLOWTERMINAL", {6, 0, 0}},
                                   {"IFCFURNISHINGELEMENT", {15, 0, 0}},
                                   {"IFCOPENINGELEMENT", {17, 0, 0}},
                                   {"IFCRAILING", {2, 0, 0}},
                                   {"IFCSITE", {1, 0, 0}},
                                   {"IFCSLAB", {4, 0, 0}},
                                   {"IFCSPACE", {7, 0, 0}},
                                   {"IFCSTAIR", {1, 0, 0}},
                                   {"IFCVIRTUALELEMENT", {4, 4, 0}},
                                   {"IFCWALLSTANDARDCASE", {13, 0, 0}},
                                   {"IFCWINDOW", {11, 0, 0}}}};

// All instances are renumbered, and the site has two new property sets, ePSet_MapConversion and ePSet_ProjectedCRS. They
// contain the georeference; no placement, unit or context differs.
const Revision georeferenced = {"Duplex_A_20110907.ifc",
                                "Duplex_A_20110907_georeferenced.ifc",
                                {{"IFCBEAM", {8, 0, 0}},
                                 {"IFCBUILDING", {1, 1, 0}},
                                 {"IFCBUILDINGSTOREY", {4, 4, 0}},
                                 {"IFCCOVERING", {13, 0, 0}},
                                 {"IFCDOOR", {14, 0, 0}},
                                 {"IFCFOOTING", {7, 0, 0}},
                                 {"IFCFURNISHINGELEMENT", {61, 0, 0}},
                                 {"IFCMEMBER", {4, 0, 0}},
                                 {"IFCOPENINGELEMENT", {50, 0, 0}},
                                 {"IFCRAILING", {4, 0, 0}},
                                 {"IFCROOF", {1, 1, 0}},
                                 {"IFCSITE", {1, 1, 0, 0, 1}},
                                 {"IFCSLAB", {21, 0, 0}},
                                 {"IFCSPACE", {21, 0, 0}},
                                 {"IFCSTAIR", {2, 2, 0}},
                                 {"IFCSTAIRFLIGHT", {2, 0, 0}},
                                 {"IFCWALL", {1, 0, 0}},
                                 {"IFCWALLSTANDARDCASE", {56, 0, 0}},
                                 {"IFCWINDOW", {24, 0, 0}}}};

std::vector<Revision> revisions() {
    std::vector<Revision> present;
    for (const auto& revision : {comparedByGuid, houseAndItsCopy, georeferenced})
        if (!model(revision.before).empty() && !model(revision.now).empty())
            present.push_back(revision);
    return present;
}

// The arguments of an instance as text.
std::vector<std::string> argumentsOf(const std::string& line) {
    std::vector<std::string> arguments(1);
    int depth = 0;
    bool inText = false;
    for (auto at = line.find('(') + 1; at < line.size() && depth >= 0; ++at) {
        const char c = line[at];
        inText = inText != (c == '\'');
        depth += inText ? 0 : c == '(' ? 1 : c == ')' ? -1 : 0;
        if (c == ',' && depth == 0 && !inText)
            arguments.emplace_back();
        else if (depth >= 0)
            arguments.back() += c;
    }
    return arguments;
}

// A property set as text.
struct SetInFile {
    std::string globalId;
    std::string name;
    std::vector<std::pair<std::string, std::string>> properties; // name and value
};

// The part between the apostrophes or brackets of an argument.
std::string innerText(const std::string& argument) {
    std::string inner = argument.size() < 2 ? "" : argument.substr(1, argument.size() - 2);
    for (auto at = inner.find("''"); at != std::string::npos; at = inner.find("''", at + 1))
        inner.erase(at, 1);
    return inner;
}

// Adds the properties of a list. Those within a complex property follow it.
void addProperties(const std::map<std::string, std::string>& lines, const std::string& list, SetInFile& set) {
    std::istringstream numbers(list);
    for (std::string number; std::getline(numbers, number, ',');) {
        const auto& line = lines.at(number);
        const auto arguments = argumentsOf(line);
        const bool isComplex = line.find("IFCCOMPLEXPROPERTY(") != std::string::npos;
        set.properties.emplace_back(innerText(arguments.at(0)), isComplex ? std::string() : arguments.at(2));
        if (isComplex)
            addProperties(lines, innerText(arguments.at(3)), set);
    }
}

// The property sets of a file that has each instance on a line of its own, in their order.
std::vector<SetInFile> setsInFile(const fs::path& file) {
    std::map<std::string, std::string> properties;
    std::vector<std::vector<std::string>> sets;
    std::istringstream lines(readFile(file));
    for (std::string line; std::getline(lines, line);)
        if (line.find("IFCPROPERTYSET(") != std::string::npos)
            sets.push_back(argumentsOf(line));
        else if (line.starts_with('#'))
            properties[line.substr(0, line.find('='))] = line;
    std::vector<SetInFile> result;
    for (const auto& set : sets) {
        SetInFile inFile{innerText(set.at(0)), innerText(set.at(2)), {}};
        addProperties(properties, innerText(set.at(4)), inFile);
        result.push_back(inFile);
    }
    return result;
}

// Whether a stored value is the value in the file. Plane angles (converted to radians) and texts with escapes are not
// compared.
bool isValueInFile(const std::string& inFile, const importer::exchange::EncodedProperty& property) {
    const auto begin = inFile.find('(');
    if (begin == std::string::npos || property.isComplex || inFile.starts_with("IFCPLANEANGLEMEASURE"))
        return true;
    const auto value = inFile.substr(begin + 1, inFile.size() - begin - 2);
    const auto decoded = importer::exchange::decodeSingleValue(property);
    const auto& single = decoded.getPropertySingleValue();
    using Value = Velmor::IFC2X3PropertySingleValue;
    switch (single.getValueType()) {
    case Value::String:
        return value.find('\\') != std::string::npos || value.find("\'\'") != std::string::npos || value == "''" ||
               '\'' + std::string(property.value) + '\'' == value;
    case Value::Boolean:
        return value == (single.getBooleanValue() ? ".T." : ".F.");
    case Value::Logical:
        return value == (single.getLogicalValue() == Value::LogicalTrue    ? ".T."
                         : single.getLogicalValue() == Value::LogicalFalse ? ".F."
                                                                           : ".U.");
    case Value::Integer:
        return value == std::to_string(single.getIntValue());
    case Value::Integer64:
        return value == std::to_string(single.getInt64Value());
    case Value::CompoundPlaneAngle:
        return true;
    default:
        return std::strtod(value.c_str(), nullptr) == single.getRealValue();
    }
}

} // namespace

class EachModel : public testing::TestWithParam<fs::path> {};

TEST_P(EachModel, ImportedTwiceIsUnchanged) {
    const TemporaryFolder folder;
    const auto file = GetParam().string();
    for (const bool byGeometry : {false, true}) {
        SCOPED_TRACE(byGeometry ? "by geometry" : "by GlobalId");
        std::vector<std::string> arguments = {file, "--state", (folder / (byGeometry ? "geometry" : "id")).string()};
        if (byGeometry)
            arguments.emplace_back("--identify-by-geometry");
        const auto first = runHost(arguments);
        ASSERT_EQ(first.exitCode, 0) << first.error;
        EXPECT_EQ(first.error, "");
        const auto total = first.table().at("total");
        EXPECT_EQ(total, (TableRow{total.objects, total.objects, 0, 0, "-", 0}));
        const auto known = products.find(GetParam().filename().string());
        if (known != products.end()) {
            EXPECT_THAT(first.output, HasSubstr(", " + std::to_string(known->second) + " objects, first import\n"));
        }

        const auto skipped = runHost(arguments);
        EXPECT_EQ(skipped.exitCode, 0) << skipped.error;
        EXPECT_EQ(skipped.output, GetParam().filename().string() + ": unchanged since the last import\n");

        arguments.front() = copyWithComment(file, folder / "again.ifc");
        const auto second = runHost(arguments);
        ASSERT_EQ(second.exitCode, 0) << second.error;
        auto expected = first.table();
        for (auto& [name, row] : expected) {
            row.unchanged = row.objects;
            row.added = 0;
        }
        EXPECT_EQ(second.table(), expected);
        EXPECT_THAT(second.output, Not(HasSubstr("changes")));
    }
}

// The state contains every property set in the order of the file, with its GlobalId, its name and its values.
TEST_P(EachModel, StoresEveryPropertySetAndValue) {
    const TemporaryFolder folder;
    const auto run = runHost({GetParam().string(), "--state", (folder / "state").string()});
    ASSERT_EQ(run.exitCode, 0) << run.error;
    const auto stored = importer::host::State(folder / "state").read().model.propertySets;
    const auto expected = setsInFile(GetParam());
    ASSERT_EQ(stored.size(), expected.size());
    std::size_t values = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto set = importer::exchange::parsePropertySet(stored[i]);
        EXPECT_EQ(set.globalId, expected[i].globalId);
        if (expected[i].name.find('\\') == std::string::npos) {
            EXPECT_EQ(set.name, expected[i].name);
        }
        ASSERT_EQ(set.properties.size(), expected[i].properties.size()) << set.globalId << ' ' << set.name;
        for (std::size_t j = 0; j < set.properties.size(); ++j) {
            const auto& [name, value] = expected[i].properties[j];
            const auto& property = set.properties[j];
            EXPECT_EQ(property.isComplex, value.empty()) << property.name;
            EXPECT_TRUE(property.name == name || name.find('\\') != std::string::npos) << property.name << ' ' << name;
            EXPECT_TRUE(isValueInFile(value, property)) << set.globalId << ' ' << set.name << '.' << name << ' ' << value;
            ++values;
        }
    }
    RecordProperty("sets", std::to_string(expected.size()));
    RecordProperty("values", std::to_string(values));
}

// The exported file of each solid is closed and has the volume of the version.
TEST_P(EachModel, ExportsItsClosedSolids) {
    const TemporaryFolder folder;
    const auto out = folder / "out";
    const auto run = runHost({GetParam().string(), "--state", (folder / "state").string(), "--export", out.string()});
    ASSERT_EQ(run.exitCode, 0) << run.error;
    std::map<std::string, fs::path> files; // by the number of the instance
    for (const auto& entry : fs::directory_iterator(out)) {
        if (entry.path().extension() == ".obj") {
            const auto name = entry.path().filename().string();
            const auto instance = name.substr(name.find('_') + 1); // follows the name of the model
            EXPECT_TRUE(files.emplace(instance.substr(0, instance.find_first_of("_.")), entry.path()).second) << name;
        }
    }
    const auto known = closedSolids.find(GetParam().filename().string());
    if (known != closedSolids.end()) {
        EXPECT_EQ(files.size(), known->second);
    }
    EXPECT_THAT(run.output, HasSubstr(": solids " + std::to_string(files.size()) + ", textures "));
    // A solid without a file must be reported as a problem: "...; its solid is not ... (in IFCWALL #12)".
    std::set<std::string> notExported;
    std::istringstream lines(run.output);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("; its solid is not ") != std::string::npos) {
            const auto number = line.substr(line.rfind('#') + 1);
            notExported.insert(number.substr(0, number.find(')')));
        }
    }
    std::size_t solids = 0;
    for (const auto& object : importer::host::State(folder / "state").read().model.objects) {
        const auto instance = std::to_string(object.instance);
        const auto file = files.find(instance);
        if (file == files.end()) {
            EXPECT_TRUE(object.version.getType() != Velmor::ExternalVersion::Solid || notExported.count(instance) > 0)
                << object.className << " #" << instance << " is a solid without a file";
            continue;
        }
        SCOPED_TRACE(file->second.filename().string());
        ++solids;
        ASSERT_EQ(object.version.getType(), Velmor::ExternalVersion::Solid);
        const auto obj = parseObj(readFile(file->second));
        EXPECT_TRUE(obj.isClosed());
        // Faces with many corners are planar only within the precision of their coordinates, eight or more digits in these
        // files; the volume depends on the triangulation by as much.
        EXPECT_NEAR(obj.volume(), object.version.getVolume(), 1e-9 * object.version.getVolume() + 1e-8 * obj.area());
    }
    EXPECT_EQ(solids, files.size());
    RecordProperty("solids", std::to_string(solids));
}

INSTANTIATE_TEST_SUITE_P(Models, EachModel, testing::ValuesIn(models()),
                         [](const auto& each) { return testName(each.param.stem().string()); });

class RevisedModel : public testing::TestWithParam<Revision> {};

TEST_P(RevisedModel, HasTheChangesFoundInTheFiles) {
    const auto& revision = GetParam();
    for (const bool byGeometry : {false, true}) {
        SCOPED_TRACE(byGeometry ? "by geometry" : "by GlobalId");
        std::map<std::string, TableRow> expected;
        auto& total = expected["total"];
        total.lowestSimilarity = "-";
        for (const auto& [name, counts] : revision.classes) {
            const unsigned objects = counts.objects - (byGeometry ? counts.bare : 0);
            const unsigned modified = counts.modified + (byGeometry ? 0 : counts.modifiedBare);
            const unsigned unchanged = objects - counts.added - modified;
            if (objects > 0) {
                expected[name] = {objects, counts.added, unchanged, modified, modified > 0 ? "1.000" : "-", 0};
                total.objects += objects;
                total.added += counts.added;
                total.unchanged += unchanged;
                total.modified += modified;
                total.lowestSimilarity = total.modified > 0 ? "1.000" : "-";
            }
        }
        const TemporaryFolder folder;
        std::vector<std::string> arguments = {model(revision.before).string(), model(revision.now).string(), "--state",
                                              (folder / "state").string()};
        if (byGeometry)
            arguments.emplace_back("--identify-by-geometry");
        const auto run = runHost(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.table(), expected);
    }
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RevisedModel);
INSTANTIATE_TEST_SUITE_P(Models, RevisedModel, testing::ValuesIn(revisions()),
                         [](const auto& each) { return testName(each.param.now); });

TEST(RealModel, ExportsItsTexture) {
    const auto textured = model("tessellation-with-blob-texture.ifc");
    if (textured.empty())
        GTEST_SKIP() << "the model is not available; set VELMOR_MODELS to its folder";
    const TemporaryFolder folder;
    const auto run =
        runHost({textured.string(), "--state", (folder / "state").string(), "--export", (folder / "out").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    std::size_t images = 0;
    for (const auto& entry : fs::directory_iterator(folder / "out")) {
        const auto header = parsePng(readFile(entry.path()));
        EXPECT_EQ(header.width, 256u);
        EXPECT_EQ(header.height, 256u);
        EXPECT_EQ(header.bitDepth, 8u);
        EXPECT_EQ(header.colorType, 6u);
        ++images;
    }
    EXPECT_EQ(images, 1u);
}

TEST(RealModel, PrintsItsGeoreference) {
    const auto utm = model("geographic-referencing-utm.ifc");
    if (utm.empty())
        GTEST_SKIP() << "the model is not available; set VELMOR_MODELS to its folder";
    const TemporaryFolder folder;
    const auto run = runHost({utm.string(), "--georeference", "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_THAT(run.output, HasSubstr("\ngeoreference:\n"
                                      "  projected system: 'EPSG:25832'\n"
                                      "  description: 'UTM in band 32'\n"
                                      "  geodetic datum: 'ETRS89'\n"
                                      "  vertical datum: ''\n"
                                      "  projection: 'UTM'\n"
                                      "  zone: 'UTM32'\n"
                                      "  map unit: 'METRE' of 1 m\n"
                                      "  origin in the model: 0, 0, 0\n"
                                      "  eastings: 458657.3\n"
                                      "  northings: 5438232.25\n"
                                      "  orthogonal height: 113.7\n"
                                      "  x axis in the map: 0.270600445976, 0.962691746426\n"
                                      "  scale: 1000\n"));
}

TEST(RealModel, ReportsTheChangedPropertyOfAWall) {
    const auto before = model(comparedByGuid.before);
    const auto now = model(comparedByGuid.now);
    if (before.empty() || now.empty())
        GTEST_SKIP() << "the models are not available; set VELMOR_MODELS to their folder";
    const TemporaryFolder folder;
    const auto run = runHost(
        {before.string(), now.string(), "--properties", "0_Rrjj1cQfGvssbqo29La7", "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_THAT(run.output,
                HasSubstr("modified      IFCWALLSTANDARDCASE 'SW - 010' (line 118, #215), ArchiCADProperties.Surface "
                          "(All) 'Paint - Light Gray; Paint - Sand Beige' -> 'Paint - Sand Beige; Paint - Light "
                          "Gray'\n"));
    EXPECT_THAT(run.output, HasSubstr("\nproperties of 0_Rrjj1cQfGvssbqo29La7: IFCWALLSTANDARDCASE 'SW - 010' (line 118, "));
    EXPECT_THAT(run.output, HasSubstr("\n  Pset_ConcreteElementGeneral (1SCOSAcLPia2wDuahDo089)\n"));
    EXPECT_THAT(run.output, HasSubstr("\n    Surface (All): text 'Paint - Light Gray; Paint - Sand Beige'\n"));
}

} // namespace velmor_tests
