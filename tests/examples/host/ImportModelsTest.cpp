// Imports real models, of the folder that VELMOR_MODELS names. They are not part of the project: without the variable only
// the models of examples/models are imported here.

#include "HostRun.h"

#include "gmock/gmock.h"
#include "gtest/gtest.h"

#include <Velmor/Velmor.h>

#include <algorithm>
#include <filesystem>

using namespace velmor_tests;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace {

std::vector<fs::path> folders() {
    std::vector<fs::path> result = {exampleModel("")};
    const auto real = Velmor::EnvironmentVariables::GetString(VELMOR_WIDE("VELMOR_MODELS"));
    if (!real.empty()) {
        result.emplace_back(real);
    }
    return result;
}

std::vector<fs::path> models() {
    std::vector<fs::path> result;
    for (const auto& folder : folders()) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().extension() == ".ifc") {
                result.push_back(entry.path());
            }
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

// A model by its name; empty when it is not there.
fs::path model(const std::string& name) {
    for (const auto& folder : folders()) {
        if (fs::exists(folder / name)) {
            return folder / name;
        }
    }
    return {};
}

// How many products real models have, counted in the files: instances of subtypes of IfcProduct that are physical or spatial
// objects (an IfcAnnotation is neither). The two tessellations hold types and no occurrence of them.
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

std::string testName(const std::string& text) {
    std::string name = text;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name;
}

// Models that are revisions of one another, with what was found out about them from the files themselves: every product with
// its placement and its shape, followed down to the numbers and compared by GlobalId.
struct Counts {
    unsigned objects = 0; ///< Of the later model.
    unsigned bare = 0;    ///< Those of them without a representation, which geometry alone cannot identify.
    unsigned added = 0;   ///< Those that the earlier model does not have. Nothing is modified or gone in any of the pairs.
};

struct Revision {
    const char* before;
    const char* now;
    std::map<std::string, Counts> classes;
};

// One more IfcOpeningElement and the IfcDoor in it. The wall that it is cut out of keeps its placement and its shape: the
// opening takes effect by IfcRelVoidsElement, not in the wall's own geometry. So all four walls are unchanged.
const Revision comparedByGuid = {"compare_by_guid_rev_1.ifc",
                                 "compare_by_guid_rev_2.ifc",
                                 {{"IFCBUILDING", {1, 1, 0}},
                                  {"IFCBUILDINGSTOREY", {1, 1, 0}},
                                  {"IFCDOOR", {1, 0, 1}},
                                  {"IFCOPENINGELEMENT", {1, 0, 1}},
                                  {"IFCSITE", {1, 1, 0}},
                                  {"IFCWALLSTANDARDCASE", {4, 0, 0}}}};

// Two lines differ: a postal address and the name of the IfcProject, neither of them a product.
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

// All instances are renumbered, and the site has two property sets more, ePSet_MapConversion and ePSet_ProjectedCRS. They
// say where on earth the model lies; no placement, unit or context of the model itself differs.
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
                                 {"IFCSITE", {1, 1, 0}},
                                 {"IFCSLAB", {21, 0, 0}},
                                 {"IFCSPACE", {21, 0, 0}},
                                 {"IFCSTAIR", {2, 2, 0}},
                                 {"IFCSTAIRFLIGHT", {2, 0, 0}},
                                 {"IFCWALL", {1, 0, 0}},
                                 {"IFCWALLSTANDARDCASE", {56, 0, 0}},
                                 {"IFCWINDOW", {24, 0, 0}}}};

std::vector<Revision> revisions() {
    std::vector<Revision> present;
    for (const auto& revision : {comparedByGuid, houseAndItsCopy, georeferenced}) {
        if (!model(revision.before).empty() && !model(revision.now).empty()) {
            present.push_back(revision);
        }
    }
    return present;
}

} // namespace

class EachModel : public testing::TestWithParam<fs::path> {};

TEST_P(EachModel, ImportedTwiceIsUnchanged) {
    const TemporaryFolder folder;
    const auto file = GetParam().string();
    for (const bool byGeometry : {false, true}) {
        SCOPED_TRACE(byGeometry ? "by geometry" : "by GlobalId");
        std::vector<std::string> arguments = {file, "--state", (folder / (byGeometry ? "geometry" : "id")).string()};
        if (byGeometry) {
            arguments.emplace_back("--identify-by-geometry");
        }
        const auto first = runHost(arguments);
        ASSERT_EQ(first.exitCode, 0) << first.error;
        EXPECT_EQ(first.error, "");
        const auto total = first.table().at("total");
        EXPECT_EQ(total, (TableRow{total.objects, total.objects, 0, 0, "-", 0}));
        const auto known = products.find(GetParam().filename().string());
        if (known != products.end()) {
            EXPECT_THAT(first.output, HasSubstr(", " + std::to_string(known->second) + " objects, first import\n"));
        }

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

INSTANTIATE_TEST_SUITE_P(Models, EachModel, testing::ValuesIn(models()),
                         [](const auto& each) { return testName(each.param.stem().string()); });

class RevisionOf : public testing::TestWithParam<Revision> {};

TEST_P(RevisionOf, TellsWhatTheFilesSay) {
    const auto& revision = GetParam();
    for (const bool byGeometry : {false, true}) {
        SCOPED_TRACE(byGeometry ? "by geometry" : "by GlobalId");
        std::map<std::string, TableRow> expected;
        auto& total = expected["total"];
        total.lowestSimilarity = "-";
        for (const auto& [name, counts] : revision.classes) {
            const unsigned objects = counts.objects - (byGeometry ? counts.bare : 0);
            if (objects > 0) {
                expected[name] = {objects, counts.added, objects - counts.added, 0, "-", 0};
                total.objects += objects;
                total.added += counts.added;
                total.unchanged += objects - counts.added;
            }
        }
        const TemporaryFolder folder;
        std::vector<std::string> arguments = {model(revision.before).string(), model(revision.now).string(), "--state",
                                              (folder / "state").string()};
        if (byGeometry) {
            arguments.emplace_back("--identify-by-geometry");
        }
        const auto run = runHost(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.table(), expected);
    }
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RevisionOf);
INSTANTIATE_TEST_SUITE_P(Models, RevisionOf, testing::ValuesIn(revisions()),
                         [](const auto& each) { return testName(each.param.now); });
