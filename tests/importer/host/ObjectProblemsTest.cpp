// Problems of single objects: they are reported and counted, and the import continues.

#include "importer/host/HostRun.h"
#include "importer/host/Models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace velmor_tests {

namespace {

const std::string workshop = exampleModel("workshop.ifc").string();

} // namespace

TEST(ObjectProblem, DuplicateGlobalIdIsReplacedByGeometry) {
    const TemporaryFolder folder;
    const auto model = changedWorkshop(folder / "twice.ifc", "0Workshop0Column0000C2", "0Workshop0Column0000C1");
    const auto run = runHost({model, "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.table().at("IFCCOLUMN").objects, 6u);
    EXPECT_THAT(run.output,
                HasSubstr("problems: 1\n  " + place(readFile(model), "#133") + ": its GlobalId '0Workshop0Column0000C1' "));
    EXPECT_THAT(run.output, HasSubstr(" #123"));
    EXPECT_THAT(run.output, EndsWith("; identified by its geometry\n"));
    const auto again = runHost({copyWithComment(model, folder / "again.ifc"), "--state", (folder / "state").string()});
    EXPECT_EQ(again.table().at("total"), (TableRow{30, 0, 30, 0, "-", 0}));
}

TEST(ObjectProblem, InvalidGlobalIdIsReplacedByGeometry) {
    const std::string invalid = " is not a GlobalId of 22 characters (0-9, A-Z, a-z, _, $)";
    const std::string umlaut = "\xC3\xBC";
    const struct {
        const char* id;
        std::string reason;
    } cases[] = {{"''", "it has no GlobalId"},
                 {"$", "it has no GlobalId"},
                 {"'0Workshop0Column0000C'", "'0Workshop0Column0000C'" + invalid},
                 {"'0Workshop0Column0000C22'", "'0Workshop0Column0000C22'" + invalid},
                 {"'0Workshop0Column 000C2'", "'0Workshop0Column 000C2'" + invalid},
                 // 22 bytes in UTF-8, and 22 characters.
                 {"'0Workshop0Column000\\X2\\00FC\\X0\\2'", "'0Workshop0Column000" + umlaut + "2'" + invalid},
                 {"'0Workshop0Column0000\\X2\\00FC\\X0\\2'", "'0Workshop0Column0000" + umlaut + "2'" + invalid}};
    for (const auto& each : cases) {
        const TemporaryFolder folder;
        const auto state = (folder / "state").string();
        ASSERT_EQ(runHost({workshop, "--state", state}).exitCode, 0);
        const auto model = changedWorkshop(folder / "bad.ifc", "'0Workshop0Column0000C2'", each.id);
        const auto run = runHost({model, "--state", state});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_THAT(run.output, HasSubstr("problems: 1\n  " + place(readFile(model), "#133") + ": " + each.reason +
                                          "; identified by its geometry\n"));
        // The object with the old GlobalId is gone; the object without one is new.
        EXPECT_EQ(run.table().at("IFCCOLUMN"), (TableRow{6, 1, 5, 0, "-", 1}));
    }
}

TEST(ObjectProblem, ObjectWithoutGlobalIdAndGeometryIsNotCompared) {
    const TemporaryFolder folder;
    const auto first = changedWorkshop(folder / "bad.ifc", "0Workshop0Storey000000", "");
    for (const auto& model : {first, copyWithComment(first, folder / "again.ifc")}) {
        const auto run = runHost({model, "--state", (folder / "state").string()});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.table().at("total").objects, 29u);
        EXPECT_EQ(run.table().at("total").gone, 0u);
        EXPECT_THAT(
            run.output,
            HasSubstr("not identified (not compared and not counted above): 1\n  IFCBUILDINGSTOREY 'Ground floor' ("));
        EXPECT_THAT(run.output, HasSubstr(place(readFile(model), "#27") +
                                          ": it has no GlobalId; without geometry it cannot be identified\n"));
    }
}

TEST(ObjectProblem, InvalidShapeOrPlacementIsReported) {
    const TemporaryFolder folder;
    const struct {
        const char* part;
        const char* by;
        const char* instance;
        const char* reason;
        const char* owner;
    } cases[] = {
        {"#171=IFCAXIS2PLACEMENT3D(#170,$,$)", "#171=IFCAXIS2PLACEMENT3D(#99999,$,$)", "#171",
         "refers to #99999, which does not exist in the file", "IFCCOLUMN #173"},
        {"#172=IFCLOCALPLACEMENT(#26,#171)", "#172=IFCLOCALPLACEMENT(#172,#171)", "#172", "is circular", "IFCCOLUMN #173"},
        // The profile of the sixth beam only.
        {"#203=IFCEXTRUDEDAREASOLID(#42,#8,#7,6000.)", "#203=IFCSECTIONEDSPINE(#8,(#42),(#8))", "#203", "not supported",
         "IFCBEAM #273"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.instance);
        const auto model = changedWorkshop(folder / "bad.ifc", each.part, each.by);
        const auto run = runHost({model, "--state", (folder / "state").string()});
        EXPECT_EQ(run.exitCode, 0) << run.error;
        EXPECT_EQ(run.table().at("total").objects, 30u);
        EXPECT_EQ(occurrences(run.output, "problems: 1\n"), 1u);
        const auto begin = run.output.find("problems: 1\n") + 12;
        const auto problem = run.output.substr(std::min(begin, run.output.size()));
        EXPECT_THAT(problem, StartsWith("  " + place(readFile(model), each.instance) + ": "));
        EXPECT_THAT(problem, HasSubstr(each.reason));
        EXPECT_THAT(problem, HasSubstr(std::string("(in ") + each.owner + ")"));
        EXPECT_EQ(occurrences(problem, "\n"), 1u);
    }
}

TEST(ObjectProblem, TheFirstTenAreListedAndAllCounted) {
    const TemporaryFolder folder;
    const auto model = changedWorkshop(folder / "bad.ifc", "'0Workshop0Co", "'Co");
    const auto run = runHost({model, "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, HasSubstr("problems: 6\n"));
    const auto withoutGlobalIds = changedWorkshop(folder / "worse.ifc", "'0Workshop0", "'");
    const auto many = runHost({withoutGlobalIds, "--state", (folder / "state").string()});
    EXPECT_EQ(many.exitCode, 0);
    EXPECT_THAT(many.output, HasSubstr("problems: 37\n")); // 30 products and 7 property sets
    EXPECT_THAT(many.output, HasSubstr("  ... and 27 more\n"));
}

TEST(ObjectProblem, MoreThanTheLogCanHoldAreCounted) {
    const TemporaryFolder folder;
    const unsigned count = 10003;
    writeFile(folder / "bad.ifc", replaced(manyWalls(count), "'0Many000Wall", "'Many000Wall"));
    const auto run = runHost({(folder / "bad.ifc").string(), "--state", (folder / "state").string()});
    EXPECT_EQ(run.exitCode, 0) << run.error;
    EXPECT_EQ(run.table().at("total").objects, count);
    EXPECT_THAT(run.output, HasSubstr("problems: 10003\n"));
    EXPECT_THAT(run.output, HasSubstr("  ... and 9993 more\n"));
}

} // namespace velmor_tests
