#include "importer/host/Comparison.h"

#include "importer/host/ImporterRun.h"
#include "importer/host/Report.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace importer::host;
using namespace importer::exchange;
using Velmor::ExternalGUID;

namespace velmor_tests {

namespace {

// The record of a cube.
// @param x    center; y and z are 0.
// @param size half the length of an edge.
ObjectRecord object(const std::string& id, const std::string& className, double x, double size = 1.0, double volume = 1.0) {
    ObjectRecord record;
    if (!id.empty())
        record.globalId = ExternalGUID::fromIFCGlobalID((id + "0000000000000000000000").c_str());
    record.className = className;
    record.name = id;
    std::vector<double> vertices;
    for (int corner = 0; corner < 9; ++corner) { // a closed list: the last vertex repeats the first
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

// The record of an open shape. Its version contains no position.
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

// Compares imports without property sets.
Comparison compareObjects(const std::vector<ObjectRecord>& before, const std::vector<ObjectRecord>& now, bool byGeometry) {
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

TEST(Comparison, IsEmptyForEmptyImports) {
    const auto comparison = compareObjects({}, {}, false);
    EXPECT_TRUE(comparison.classes.empty());
    EXPECT_EQ(text(comparison.total), "0 0 0 0 0");
}

TEST(Comparison, ReportsAllObjectsOfAFirstImportAsNew) {
    const auto comparison = compareObjects({}, {object("a", "IFCBEAM", 0), object("b", "IFCWALL", 5)}, false);
    EXPECT_EQ(text(comparison.total), "2 2 0 0 0");
    EXPECT_EQ(text(comparison.classes.at("IFCBEAM")), "1 1 0 0 0");
}

TEST(Comparison, CountsNewUnchangedModifiedAndGoneByClass) {
    const auto comparison =
        compareObjects({object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5), object("c", "IFCWALL", 9)},
                       {object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5.1), object("d", "IFCBEAM", 20)}, false);
    EXPECT_EQ(text(comparison.classes.at("IFCBEAM")), "3 1 1 1 0");
    EXPECT_EQ(text(comparison.classes.at("IFCWALL")), "0 0 0 0 1");
    EXPECT_EQ(text(comparison.total), "3 1 1 1 1");
    // b has moved by 0.1; each of its eight distances is sqrt(3); nothing else differs.
    EXPECT_NEAR(comparison.total.lowestSimilarity, std::pow((1 - 0.1 / std::sqrt(3.0) - 0.7) / 0.3, 3), 1e-9);
}

TEST(Comparison, StoresTheLowestSimilarityOfEachClass) {
    const auto comparison = compareObjects(
        {object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5), object("c", "IFCWALL", 9)},
        {object("a", "IFCBEAM", 0, 1, 0.9), object("b", "IFCBEAM", 5, 1, 0.8), object("c", "IFCWALL", 9, 1, 0.9)}, false);
    EXPECT_NEAR(comparison.classes.at("IFCBEAM").lowestSimilarity, 0.216, 1e-9); // (0.8 - 0.5) * 2, cubed
    EXPECT_NEAR(comparison.classes.at("IFCWALL").lowestSimilarity, 0.512, 1e-9);
    EXPECT_NEAR(comparison.total.lowestSimilarity, 0.216, 1e-9);
}

TEST(Comparison, ReportsRenamedAndReclassifiedObjects) {
    auto renamed = object("a", "IFCBEAM", 0);
    renamed.name = "other";
    const auto comparison = compareObjects({object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5)},
                                           {renamed, object("b", "IFCMEMBER", 5, 1, 0.9)}, false);
    EXPECT_EQ(text(comparison.classes.at("IFCBEAM")), "1 0 1 0 0");
    EXPECT_EQ(text(comparison.classes.at("IFCMEMBER")), "1 0 0 1 0");
    EXPECT_EQ(countOf(comparison, Change::Renamed), 1u);
    EXPECT_EQ(countOf(comparison, Change::Reclassified), 1u);
    EXPECT_EQ(countOf(comparison, Change::Modified), 1u);
}

TEST(Comparison, ReportsAMovedOpenShapeAsUnchangedAndMoved) {
    const auto comparison = compareObjects({sheet("a", 0), sheet("b", 5)}, {sheet("a", 0.5), sheet("b", 5)}, false);
    EXPECT_EQ(text(comparison.total), "2 0 2 0 0");
    ASSERT_EQ(comparison.changes.size(), 1u);
    EXPECT_EQ(comparison.changes[0].kind, Change::Moved);
    EXPECT_EQ(comparison.changes[0].object, 0u);
}

TEST(Comparison, IdentifiesObjectsWithoutGlobalIdByGeometry) {
    const auto comparison = compareObjects({object("", "IFCBEAM", 0), object("", "IFCBEAM", 5)},
                                           {object("", "IFCBEAM", 5), object("", "IFCBEAM", 9)}, false);
    EXPECT_EQ(text(comparison.total), "2 1 1 0 1");
}

TEST(Comparison, ByGeometryIgnoresGlobalIds) {
    const std::vector<ObjectRecord> before = {object("a", "IFCBEAM", 0), object("b", "IFCBEAM", 5),
                                              object("c", "IFCBEAM", 9)};
    // Other GlobalIds. The second object has moved by more than the tolerance of versions, but by less than that of the
    // database; the third by more than both.
    const std::vector<ObjectRecord> now = {object("x", "IFCBEAM", 0), object("y", "IFCBEAM", 5.005),
                                           object("c", "IFCBEAM", 9.1)};
    EXPECT_EQ(text(compareObjects(before, now, true).total), "3 1 1 1 1");
    EXPECT_EQ(text(compareObjects(before, now, false).total), "3 2 0 1 2");
}

TEST(Comparison, ListsObjectsWithoutIdentityWithoutCountingThem) {
    const std::vector<ObjectRecord> objects = {withoutGeometry("", "IFCSITE"), withoutGeometry("b", "IFCBUILDING"),
                                               object("c", "IFCBEAM", 0)};
    const auto byId = compareObjects(objects, objects, false);
    EXPECT_EQ(byId.unidentified, (std::vector<std::size_t>{0}));
    EXPECT_EQ(text(byId.total), "2 0 2 0 0");
    const auto byGeometry = compareObjects(objects, objects, true);
    EXPECT_EQ(byGeometry.unidentified, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(text(byGeometry.total), "1 0 1 0 0");
}

TEST(Comparison, ReportsAnObjectWithGeometryInOneImportOnlyAsModified) {
    const auto bare = withoutGeometry("a", "IFCBEAM");
    const auto full = object("a", "IFCBEAM", 0);
    for (const bool isAdded : {true, false}) {
        const auto comparison = isAdded ? compareObjects({bare}, {full}, false) : compareObjects({full}, {bare}, false);
        EXPECT_EQ(text(comparison.total), "1 0 0 1 0");
        EXPECT_EQ(comparison.total.lowestSimilarity, 0.0);
    }
}

TEST(Comparison, PairsCopiesInTheSamePlaceOneToOne) {
    const auto wall = object("", "IFCWALL", 0);
    const auto space = object("", "IFCSPACE", 0);
    const auto heavy = object("", "IFCWALL", 0, 1, 0.9);
    EXPECT_EQ(text(compareObjects({wall, wall, space}, {space, wall, wall}, false).total), "3 0 3 0 0");
    EXPECT_EQ(text(compareObjects({wall, wall, wall}, {wall, wall}, false).total), "2 0 2 0 1");
    EXPECT_EQ(text(compareObjects({wall}, {wall, wall}, false).total), "2 1 1 0 0");
    // The equal copy is found in any order.
    EXPECT_EQ(text(compareObjects({heavy, wall}, {wall, heavy}, false).total), "2 0 2 0 0");
    EXPECT_EQ(text(compareObjects({wall, heavy}, {heavy}, false).total), "1 0 1 0 1");
    // Objects of different classes are paired only when no object of the same class is left.
    const auto across = compareObjects({wall, space}, {wall, wall}, false);
    EXPECT_EQ(text(across.classes.at("IFCWALL")), "2 0 2 0 0");
    EXPECT_EQ(countOf(across, Change::Reclassified), 1u);
    EXPECT_EQ(across.classes.count("IFCSPACE"), 0u);
}

TEST(Comparison, MatchesAReferenceModelForRandomRevisions) {
    Random random;
    for (int round = 0; round < 30; ++round) {
        std::vector<ObjectRecord> before;
        std::vector<ObjectRecord> now;
        ClassCounts expected;
        for (int i = 0; i < 300; ++i) {
            const auto id = "r" + std::to_string(i) + "x";
            const double x = 3.0 * i;
            switch (random.below(4)) {
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
        EXPECT_EQ(text(compareObjects(before, now, false).total), text(expected));
        // By geometry, a moved object is one gone and one new object.
        expected.added += expected.modified;
        expected.gone += expected.modified;
        expected.modified = 0;
        EXPECT_EQ(text(compareObjects(before, now, true).total), text(expected));
    }
}

TEST(Comparison, PairsALongRowOfEqualObjects) {
    std::vector<ObjectRecord> row;
    for (int i = 0; i < 20000; ++i)
        row.push_back(object("", "IFCBEAM", 3.0 * i));
    // Registered in the order of the row, the objects would make the spatial tree a list of 20000 nodes.
    EXPECT_EQ(text(compareObjects(row, row, true).total), "20000 0 20000 0 0");
}

TEST(Comparison, SearchesALimitedNumberOfCopiesInTheSamePlace) {
    const auto equal = object("", "IFCBEAM", 0);
    const auto different = object("", "IFCBEAM", 0, 1, 0.9);
    std::vector<ObjectRecord> before(maxCopiesSearched - 1, different);
    before.push_back(equal);
    EXPECT_EQ(text(compareObjects(before, {equal}, true).total), "1 0 1 0 63");
    before.insert(before.begin(), different);
    EXPECT_EQ(text(compareObjects(before, {equal}, true).total), "1 0 0 1 64");
}

TEST(Comparison, PairsThousandsOfModifiedCopiesInTheSamePlace) {
    std::vector<ObjectRecord> before(20000, object("", "IFCBEAM", 0));
    std::vector<ObjectRecord> now(20000, object("", "IFCBEAM", 0, 1, 0.9));
    EXPECT_EQ(text(compareObjects(before, now, true).total), "20000 0 0 20000 0");
}

TEST(Report, ContainsTableChangesAndProblems) {
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
              "changes: renamed 1, reclassified 0, moved without a change of shape 0, with changed properties 0\n"
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

} // namespace velmor_tests
