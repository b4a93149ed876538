// Real models. Expected values of known models come from the files by other means: from their quantities, and from an
// independent scan of their text.

#include "importer/ifc/ReaderSupport.h"
#include "importer/ifc/RealModels.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// The number of instances per entity. An instance is recognized only by its beginning: "#12= IFCWALL(" at the start of a
/// line.
std::map<std::string, std::size_t> countEntities(const std::string& text) {
    std::map<std::string, std::size_t> counts;
    for (std::size_t line = 0; line < text.size();) {
        std::size_t at = line;
        line = std::min(text.find('\n', line), text.size() - 1) + 1;
        if (text[at] != '#')
            continue;
        at = text.find('=', at);
        if (at == std::string::npos || at >= line)
            continue;
        at = text.find_first_not_of(' ', at + 1);
        ++counts[text.substr(at, text.find('(', at) - at)];
    }
    return counts;
}

/// Entities of the models that are products; a list independent of the table of the reader.
const std::set<std::string> commonProducts = {"IFCBEAM",
                                              "IFCBUILDING",
                                              "IFCBUILDINGELEMENTPROXY",
                                              "IFCBUILDINGSTOREY",
                                              "IFCCOLUMN",
                                              "IFCCOVERING",
                                              "IFCCURTAINWALL",
                                              "IFCDISTRIBUTIONFLOWELEMENT",
                                              "IFCDISTRIBUTIONPORT",
                                              "IFCDOOR",
                                              "IFCELEMENTASSEMBLY",
                                              "IFCFLOWCONTROLLER",
                                              "IFCFLOWFITTING",
                                              "IFCFLOWSEGMENT",
                                              "IFCFLOWTERMINAL",
                                              "IFCFOOTING",
                                              "IFCFURNISHINGELEMENT",
                                              "IFCFURNITURE",
                                              "IFCGRID",
                                              "IFCMEMBER",
                                              "IFCOPENINGELEMENT",
                                              "IFCPILE",
                                              "IFCPLATE",
                                              "IFCRAILING",
                                              "IFCRAMP",
                                              "IFCREINFORCINGBAR",
                                              "IFCROOF",
                                              "IFCSITE",
                                              "IFCSLAB",
                                              "IFCSPACE",
                                              "IFCSTAIR",
                                              "IFCSTAIRFLIGHT",
                                              "IFCVIRTUALELEMENT",
                                              "IFCWALL",
                                              "IFCWALLSTANDARDCASE",
                                              "IFCWINDOW"};

TEST(Models, HaveTheNumberOfProductsPerClassOfTheirText) {
    for (const auto& path : realModels()) {
        const std::string name = path.filename().string();
        const std::string text = readFile(path);
        const Taken taken = readText(text);
        std::map<std::string, std::size_t> read;
        for (const Product& product : taken.products)
            ++read[product.className];
        const std::map<std::string, std::size_t> counted = countEntities(text);
        for (const auto& [entity, count] : counted) {
            const bool product = commonProducts.count(entity) != 0 || read.count(entity) != 0;
            EXPECT_EQ(read.count(entity) != 0 ? read.at(entity) : 0, product ? count : 0) << name << " " << entity;
        }
        for (const auto& [entity, count] : read)
            EXPECT_EQ(counted.count(entity), 1u) << name << " " << entity << " " << count;
        EXPECT_EQ(read.count("IFCANNOTATION"), 0u) << name;
    }
}

TEST(Models, HaveValidShapes) {
    for (const auto& path : realModels()) {
        const std::string name = path.filename().string();
        for (const Product& product : readText(readFile(path)).products) {
            EXPECT_EQ(product.shape == Shape::None, product.vertices.empty()) << name << " #" << product.instance;
            if (product.shape != Shape::Solid)
                continue;
            // The centroid is in the bounding box. The volume may exceed that of the box: overlapping solids count twice.
            const Box box = boxOf(product);
            for (int i = 0; i < 3; ++i) {
                EXPECT_GE(product.centroid[i], box.low[i]) << name << " #" << product.instance;
                EXPECT_LE(product.centroid[i], box.high[i]) << name << " #" << product.instance;
            }
        }
    }
}

const Product* find(const Taken& taken, const std::string& globalId) {
    const auto found =
        std::find_if(taken.products.begin(), taken.products.end(), [&](const Product& p) { return p.globalId == globalId; });
    return found == taken.products.end() ? nullptr : &*found;
}

TEST(Models, KnownModelHasTheVolumesOfItsQuantities) {
    const auto path = realModel("AC11-FZK-Haus-IFC.ifc");
    if (path.empty())
        return;
    const Taken taken = readText(readFile(path));
    EXPECT_EQ(taken.products.size(), 142u);
    EXPECT_EQ(taken.reasons(), "");
    const std::pair<const char*, double> grossVolumes[] = {
        {"3rPX_Juz59peXXY6wDJl18", 7.857},       {"16DNNqzfP2thtfaOflvsKA", 9.477},
        {"2ptk1k7qn8_Qk22vjh$0DE", 2.226},       {"3jjW3rL656ex34Gws22EfM", 4.266},
        {"1pPHnf7cXCpPsNEnQf8_6B", 24.0},        {"17JZcMFrf5tOftUTidA0d3", 43.545773},
        {"0Lt8gR_E9ESeGH5uY_g9e9", 62.188875},   {"347jFE2yX7IhCEIALmupEH", 55.18125},
        {"0e_hbkIQ5DMQlIJ$2V3j_m", 31.25675},    {"2RSCzLOBz4FAK$_wE8VckM", 32.4625},
        {"0oTQ6V1VbChulreA_hfmUa", 0.081290914}, {"3tCgZT92j6fw8fXgwCL3Jm", 0.19583811}};
    for (const auto& [globalId, volume] : grossVolumes) {
        const Product* product = find(taken, globalId);
        ASSERT_NE(product, nullptr) << globalId;
        EXPECT_EQ(product->shape, Shape::Solid) << globalId;
        EXPECT_NEAR(product->volume, volume, 1e-5 * volume) << globalId;
    }
    // The ground slab: 12 m by 10 m by 0.2 m, with its top at the level of the ground floor.
    expectBox(*find(taken, "1pPHnf7cXCpPsNEnQf8_6B"), 0, 0, -0.2, 12, 10, 0);
}

TEST(Models, KnownSteelBeamsHaveTheirPlacementAndSection) {
    const auto path = realModel("beam-varying-profiles.ifc");
    if (path.empty())
        return;
    const Taken taken = readText(readFile(path));
    EXPECT_EQ(taken.schemas, std::vector<std::string>{"IFC4X3_ADD2"});
    // An IPE 200 of 1 m along y: section tables give 28.5 cm2.
    const Product* ipe = find(taken, "0uo2yx7G19uwCu9sIjn6DQ");
    ASSERT_NE(ipe, nullptr);
    EXPECT_NEAR(ipe->volume, 28.5e-4, 0.01e-4);
    expectBox(*ipe, -0.05, 0, -0.1, 0.05, 1, 0.1);
    // A pipe 219.1 x 6.3 next to it: pi (109.55^2 - 103.25^2) mm2, less the difference between circles and polygons of 64
    // corners.
    const Product* pipe = find(taken, "3_NFDdmqr7mxekvlvcgwa7");
    ASSERT_NE(pipe, nullptr);
    EXPECT_NEAR(pipe->volume, 42.118e-4, 0.08e-4);
    expectBox(*pipe, 0.39045, 0, -0.10955, 0.60955, 1, 0.10955);
}

TEST(Models, KnownRevisionsKeepUnchangedProducts) {
    const auto before = realModel("compare_by_guid_rev_1.ifc");
    const auto after = realModel("compare_by_guid_rev_2.ifc");
    if (before.empty() || after.empty())
        return;
    const Taken one = readText(readFile(before));
    const Taken two = readText(readFile(after));
    EXPECT_EQ(one.products.size(), 7u);
    EXPECT_EQ(two.products.size(), 9u) << "a door and its opening were added";
    for (const Product& product : one.products) {
        const Product* again = find(two, product.globalId);
        ASSERT_NE(again, nullptr) << product.globalId;
        EXPECT_EQ(again->className, product.className);
        EXPECT_EQ(again->name, product.name);
    }
}

TEST(Models, TheFolderIsReadOrNotNamed) {
    if (!std::getenv("VELMOR_MODELS"))
        std::puts("VELMOR_MODELS is not set: no real model was read");
    EXPECT_EQ(realModels().empty(), std::getenv("VELMOR_MODELS") == nullptr);
}

TEST(Models, SolidsAreBoundedByTheirTriangles) {
    for (const auto& path : realModels()) {
        const std::string name = path.filename().string();
        SCOPED_TRACE(name);
        std::size_t solids = 0;
        std::size_t triangles = 0;
        for (const Product& product : readText(readFile(path)).products) {
            if (product.shape != Shape::Solid) {
                EXPECT_TRUE(product.triangles.empty());
                continue;
            }
            SCOPED_TRACE("#" + std::to_string(product.instance));
            expectTriangles(product, 1e-7);
            ++solids;
            triangles += product.triangles.size() / 3;
        }
        std::printf("%s: %zu solids, %zu triangles\n", name.c_str(), solids, triangles);
    }
}

} // namespace
} // namespace velmor_tests
