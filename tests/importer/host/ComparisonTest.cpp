#include "importer/host/Comparison.h"

#include "importer/host/ImporterRun.h"
#include "importer/host/Report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

using namespace importer::host;
using namespace importer::exchange;
using Velmor::ExternalGUID;

namespace {

// An object of box shape with its centre at x, y, z: what the importer makes of one.
ObjectRecord object(const std::string& id, const std::string& className, double x, double size = 1.0, double volume = 1.0) {
    ObjectRecord record;
    if (!id.empty())
        record.globalId = ExternalGUID::fromIFCGlobalID((id + "0000000000000000000000").c_str());
    record.className = className;
    record.name = id;
    std::vector<double> vertices;
    for (int corner = 0; corner < 9; ++corner) { // the last one is the first one again
        vertices.insert(vertices.end(), {x + ((corner & 1) != 0 ? size : -size), (corner & 2) != 0 ? size : -size,
                                         (corner & 4) != 0 ? size : -size});
    }
    record.spatialHash = ExternalGUID::spatialHashFromVertexes(9, vertices.data());
    double d[8];
    std::copy_n(record.spatialHash.getSpatialHash() + 3, 8, d);
    double c[3] = {x, 0, 0};
    record.version = Velmor::createFromSolid(2 * size, 2 * size, 2 * size, d, volume, c);
    return record;
}

// The same as an open shape: its version knows no place.
ObjectRecord sheet(const std::string& id, double x) {
    auto record = object(id, "IFCPLATE", x);
    double d[8];
    record.version.getDistances(d);
    record.version = Velmor::createFromGeometry(2, 2, 2, d);
    return record;
}

ObjectRecord withoutGeometry(const std::string& id, const std::string& className) {
    auto record = object(id, className, 0);
    record.spatialHash = noIdentity();
    record.version = Velmor::ExternalVersion();
    return record;
}

// Imports without property sets.
Comparison compared(const std::vector<ObjectRecord>& before, const std::vector<ObjectRecord>& now, bool byGeometry) {
    return compare(Model{before, {}}, Model{now, {}}, byGeometry);
}

// "objects new unchanged modified gone"
std::string text(const ClassCounts& counts) {
    return std::to_string(counts.objects) + ' ' + std::to_string(counts.added) + ' ' + std::to_string(counts.unchanged) +
           ' ' + std::to_string(counts.modified) + ' ' + std::to_string(counts.gone);
}

std::size_t countOf(const Comparison& comparison, Change::Kind kind) {
    return static_cast<std::size_t>(std::count_if(comparison.changes.begin(), comparison.changes.end(),
                                                  [kind](const Change& change) { return change.kind == kind; }));
}

} // namespace

TEST(Comparison, OfNothingIsEmpty) {
    const auto comparison = compared({}, {}, false);
    EXPECT_TRUE(comparison.classes.empty());
    EXPECT_EQ(text(comparison.total), "0 0 0 0 0");
}

TEST(Comparison, AtTheFirstImportFindsAllNew) {
    const auto comparison = compared({}, {object("a", "IFCBEAM", 0), object("b", "IFCWALL", 5)}, false);
    EXPECT_EQ(text(comparison.total), "2 2 0 0 0");
    EXPECT_EQ(text(comparison.classes.at("IFCBEAM")), "1 1 0 0 0");
}

TEST(Comparison, TellsNewUnchangedModifiedAndGonePerClass) {
    const auto comparison =
        compared({object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5), object("c", "IFCWALL", 9)},
                 {object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5.1), object("d", "IFCBEAM", 20)}, false);
    EXPECT_EQ(text(comparison.classes.at("IFCBEAM")), "3 1 1 1 0");
    EXPECT_EQ(text(comparison.classes.at("IFCWALL")), "0 0 0 0 1");
    EXPECT_EQ(text(comparison.total), "3 1 1 1 1");
    // Moved by 0.1 with all eight distances sqrt(3); nothing else differs.
    EXPECT_NEAR(comparison.total.lowestSimilarity, std::pow((1 - 0.1 / std::sqrt(3.0) - 0.7) / 0.3, 3), 1e-9);
}

TEST(Comparison, KeepsTheLowestSimilarityOfAClass) {
    const auto comparison = compared(
        {object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5), object("c", "IFCWALL", 9)},
        {object("a", "IFCBEAM", 0, 1, 0.9), object("b", "IFCBEAM", 5, 1, 0.8), object("c", "IFCWALL", 9, 1, 0.9)}, false);
    EXPECT_NEAR(comparison.classes.at("IFCBEAM").lowestSimilarity, 0.216, 1e-9); // (0.8 - 0.5) * 2, cubed
    EXPECT_NEAR(comparison.classes.at("IFCWALL").lowestSimilarity, 0.512, 1e-9);
    EXPECT_NEAR(comparison.total.lowestSimilarity, 0.216, 1e-9);
}

TEST(Comparison, TellsRenamedAndReclassifiedBesideTheVersion) {
    auto renamed = object("a", "IFCBEAM", 0);
    renamed.name = "other";
    const auto comparison = compared({object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5)},
                                     {renamed, object("b", "IFCMEMBER", 5, 1, 0.9)}, false);
    EXPECT_EQ(text(comparison.classes.at("IFCBEAM")), "1 0 1 0 0");
    EXPECT_EQ(text(comparison.classes.at("IFCMEMBER")), "1 0 0 1 0");
    EXPECT_EQ(countOf(comparison, Change::Renamed), 1u);
    EXPECT_EQ(countOf(comparison, Change::Reclassified), 1u);
    EXPECT_EQ(countOf(comparison, Change::Modified), 1u);
}

TEST(Comparison, TellsAnOpenShapeThatMovedThoughItsVersionIsUnchanged) {
    const auto comparison = compared({sheet("a", 0), sheet("b", 5)}, {sheet("a", 0.5), sheet("b", 5)}, false);
    EXPECT_EQ(text(comparison.total), "2 0 2 0 0");
    ASSERT_EQ(comparison.changes.size(), 1u);
    EXPECT_EQ(comparison.changes[0].kind, Change::Moved);
    EXPECT_EQ(comparison.changes[0].object, 0u);
}

TEST(Comparison, WithoutGlobalIdGoesByGeometry) {
    const auto comparison = compared({object("", "IFCBEAM", 0), object("", "IFCBEAM", 5)},
                                     {object("", "IFCBEAM", 5), object("", "IFCBEAM", 9)}, false);
    EXPECT_EQ(text(comparison.total), "2 1 1 0 1");
}

TEST(Comparison, ByGeometryIgnoresGlobalIds) {
    const std::vector<ObjectRecord> before = {object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5),
                                              object("c", "IFCBEAM", 9)};
    // Other ids, one moved by less than the database's tolerance and more than the version's, one by more than both.
    const std::vector<ObjectRecord> now = {object("x", "IFCBEAM", 0), object("y", "IFCBEAM", 5.005),
                                           object("c", "IFCBEAM", 9.1)};
    EXPECT_EQ(text(compared(before, now, true).total), "3 1 1 1 1");
    EXPECT_EQ(text(compared(before, now, false).total), "3 2 0 1 2");
}

TEST(Comparison, LeavesObjectsWithoutAnIdentityOut) {
    const std::vector<ObjectRecord> objects = {withoutGeometry("", "IFCSITE"), withoutGeometry("b", "IFCBUILDING"),
                                               object("c", "IFCBEAM", 0)};
    const auto byId = compared(objects, objects, false);
    EXPECT_EQ(byId.unidentified, (std::vector<std::size_t>{0}));
    EXPECT_EQ(text(byId.total), "2 0 2 0 0");
    const auto byGeometry = compared(objects, objects, true);
    EXPECT_EQ(byGeometry.unidentified, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(text(byGeometry.total), "1 0 1 0 0");
}

TEST(Comparison, WithGeometryOnOneSideOnlyIsModified) {
    const auto bare = withoutGeometry("a", "IFCBEAM");
    const auto full = object("a", "IFCBEAM", 0);
    for (const bool gains : {true, false}) {
        const auto comparison = gains ? compared({bare}, {full}, false) : compared({full}, {bare}, false);
        EXPECT_EQ(text(comparison.total), "1 0 0 1 0");
        EXPECT_EQ(comparison.total.lowestSimilarity, 0.0);
    }
}

TEST(Comparison, PairsCopiesInOnePlaceOneToOne) {
    const auto wall = object("", "IFCWALL", 0);
    const auto space = object("", "IFCSPACE", 0);
    const auto heavy = object("", "IFCWALL", 0, 1, 0.9);
    EXPECT_EQ(text(compared({wall, wall, space}, {space, wall, wall}, false).total), "3 0 3 0 0");
    EXPECT_EQ(text(compared({wall, wall, wall}, {wall, wall}, false).total), "2 0 2 0 1");
    EXPECT_EQ(text(compared({wall}, {wall, wall}, false).total), "2 1 1 0 0");
    // The equal one is found whichever stands first.
    EXPECT_EQ(text(compared({heavy, wall}, {wall, heavy}, false).total), "2 0 2 0 0");
    EXPECT_EQ(text(compared({wall, heavy}, {heavy}, false).total), "1 0 1 0 1");
    // A pair across classes only when nothing of the own class is left.
    const auto across = compared({wall, space}, {wall, wall}, false);
    EXPECT_EQ(text(across.classes.at("IFCWALL")), "2 0 2 0 0");
    EXPECT_EQ(countOf(across, Change::Reclassified), 1u);
    EXPECT_EQ(across.classes.count("IFCSPACE"), 0u);
}

TEST(Comparison, AgreesWithAPlainModelOverRandomRevisions) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 30; ++round) {
        std::vector<ObjectRecord> before;
        std::vector<ObjectRecord> now;
        ClassCounts expected;
        for (int i = 0; i < 300; ++i) {
            const auto id = "r" + std::to_string(i) + "x";
            const double x = 3.0 * i;
            switch (random() % 4) {
            case 0:
                before.push_back(object(id, "IFCBEAM", x));
                now.push_back(object(id, "IFCBEAM", x));
                ++expected.objects, ++expected.unchanged;
                break;
            case 1:
                before.push_back(object(id, "IFCBEAM", x));
                now.push_back(object(id, "IFCBEAM", x + 0.2));
                ++expected.objects, ++expected.modified;
                break;
            case 2:
                now.push_back(object(id, "IFCBEAM", x));
                ++expected.objects, ++expected.added;
                break;
            default:
                before.push_back(object(id, "IFCBEAM", x));
                ++expected.gone;
            }
        }
        std::shuffle(now.begin(), now.end(), random);
        EXPECT_EQ(text(compared(before, now, false).total), text(expected));
        // By geometry a move is an object gone and a new one.
        expected.added += expected.modified;
        expected.gone += expected.modified;
        expected.modified = 0;
        EXPECT_EQ(text(compared(before, now, true).total), text(expected));
    }
}

TEST(Comparison, OfALongRowOfEqualObjectsTakesNoLongTime) {
    std::vector<ObjectRecord> row;
    for (int i = 0; i < 20000; ++i)
        row.push_back(object("", "IFCBEAM", 3.0 * i));
    // In the order of the row the spatial tree would be one branch of 20000 nodes.
    EXPECT_EQ(text(compared(row, row, true).total), "20000 0 20000 0 0");
}

TEST(Comparison, OfManyUnequalCopiesInOnePlaceTakesNoLongTime) {
    std::vector<ObjectRecord> before(20000, object("", "IFCBEAM", 0));
    std::vector<ObjectRecord> now(20000, object("", "IFCBEAM", 0, 1, 0.9));
    EXPECT_EQ(text(compared(before, now, true).total), "20000 0 0 20000 0");
}

TEST(Report, ShowsTableChangesAndProblems) {
    ImportResult result;
    result.schema = "IFC4";
    result.model.objects = {object("a", "IFCBEAM", 0, 1, 0.9999), object("b", "IFCWALL", 5)};
    result.model.objects[0].line = 12;
    result.model.objects[0].instance = 34;
    result.model.objects[1].name = "new\nname";
    result.problemCount = 2;
    result.problems = {{7, 8, "a reason"}};
    const Model before = {{object("a", "IFCBEAM", 0), object("b", "IFCWALL", 5), object("c", "IFCWALL", 9)}, {}};
    const auto comparison = compare(before, result.model, false);
    EXPECT_EQ(report("folder/model.ifc", result, &before, comparison),
              "model.ifc: IFC4, 2 objects, compared with the 3 of the previous import\n"
              "  class    objects  new  unchanged  modified  lowest similarity  gone\n"
              "  IFCBEAM        1    0          0         1              0.999     0\n"
              "  IFCWALL        1    0          1         0                  -     1\n"
              "  total          2    0          1         1              0.999     1\n"
              "changes: renamed 1, reclassified 0, moved without a change of shape 0, with other properties 0\n"
              "  modified      IFCBEAM 'a' (line 12, #34), similarity 0.999\n"
              "  renamed       IFCWALL 'new?name' (line 0), was 'b'\n"
              "  gone          IFCWALL 'c' (line 0) of the previous model\n"
              "problems: 2\n"
              "  line 7, #8: a reason\n"
              "  ... and 1 more\n");
    EXPECT_EQ(report("model.ifc", ImportResult(), nullptr, Comparison()),
              "model.ifc: , 0 objects, first import\n"
              "  class  objects  new  unchanged  modified  lowest similarity  gone\n"
              "  total        0    0          0         0                  -     0\n");
}
