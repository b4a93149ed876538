// import_host with a folder instead of a model.

#include "importer/host/HostRun.h"
#include "importer/host/Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#if !defined(_WIN32)
    #include <sys/stat.h>
#endif

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

// A folder with models, and the current folder of the host, where it stores the states.
class FolderImport : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(models);
        fs::create_directory(current);
    }

    void addModel(const std::string& name, const std::string& example = "workshop.ifc") const {
        fs::copy_file(exampleModel(example), models / name);
    }

    void addOtherFile(const std::string& name) const { writeFile(models / name, "not a STEP file\n"); }

    HostRun run(const std::vector<std::string>& arguments, const std::string& shell = {}) const {
        const auto before = fs::current_path();
        fs::current_path(current);
        auto result = runHost(arguments, shell);
        fs::current_path(before);
        return result;
    }

    bool hasState(const std::string& name) const { return fs::exists(current / "import-state" / name / "import.state"); }

    const TemporaryFolder folder;
    const fs::path models = folder / "models";
    const fs::path current = folder / "current";
};

// The first line of each report, up to the second comma.
std::vector<std::string> reports(const std::string& output) {
    std::vector<std::string> result;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        if (line.find(".ifc: ") != std::string::npos || line.find(".IFC: ") != std::string::npos)
            result.push_back(line.substr(0, line.find(", ", line.find(", ") + 1)));
    return result;
}

} // namespace

TEST_F(FolderImport, FindsModelsByTheirExtensionSortedByName) {
    const char8_t* const names[] = {u8"x.ifc", u8"b.ifc", u8"a.IFC", u8"C.Ifc", u8"a b.ifc", u8"\u00FC.ifc", u8"b.ifc.ifc",
                                    // In UTF-16, U+1F528 begins with D83D, which sorts before U+FF21.
                                    u8"\uFF21.ifc", u8"\U0001F528.ifc",
                                    // MatchExtension accepts these names; modelsIn does not.
                                    u8"ifc", u8"f", u8"c", u8"fc", u8"xifc", u8".ifc",
                                    // Other files.
                                    u8"notes.txt", u8"a.ifczip", u8"b.ifc.bak", u8"aifc.x", u8"longifc"};
    for (const auto* const name : names)
        writeFile(models / fs::path(name), "");
    fs::create_directories(models / "folder.ifc");
    writeFile(models / "folder.ifc" / "inner.ifc", "");
    EXPECT_EQ(importer::host::modelsIn(models),
              (std::vector<Velmor::WideString>{VELMOR_WIDE("C.Ifc"), VELMOR_WIDE("a b.ifc"), VELMOR_WIDE("a.IFC"),
                                               VELMOR_WIDE("b.ifc"), VELMOR_WIDE("b.ifc.ifc"), VELMOR_WIDE("x.ifc"),
                                               VELMOR_WIDE("\u00FC.ifc"), VELMOR_WIDE("\U0001F528.ifc"),
                                               VELMOR_WIDE("\uFF21.ifc")}));
    EXPECT_TRUE(importer::host::modelsIn(folder / "missing").empty());
}

TEST_F(FolderImport, ImportsEachModel) {
    addModel("b.IFC", "workshop-revised.ifc");
    addModel("a.ifc");
    addModel("c.ifc");
    addOtherFile("ifc");
    addOtherFile("notes.txt");
    const auto first = run({models.string()});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.error, "");
    EXPECT_EQ(reports(first.output),
              (std::vector<std::string>{"a.ifc: IFC4, 30 objects", "b.IFC: IFC4, 31 objects", "c.ifc: IFC4, 30 objects"}));
    EXPECT_TRUE(hasState("a.ifc") && hasState("b.IFC") && hasState("c.ifc"));

    copyWithComment(models / "b.IFC", models / "b.IFC");
    const auto second = run({models.string()});
    EXPECT_EQ(second.exitCode, 0) << second.error;
    EXPECT_EQ(reports(second.output),
              (std::vector<std::string>{"a.ifc: unchanged since the last import", "b.IFC: IFC4, 31 objects",
                                        "c.ifc: unchanged since the last import"}));
    EXPECT_EQ(second.table().at("total"), (TableRow{31, 0, 31, 0, "-", 0}));
}

TEST_F(FolderImport, TreatsModelsAsRevisionsIfTheyShareAState) {
    addModel("2.ifc", "workshop-revised.ifc");
    addModel("1.ifc");
    const auto both = run({models.string(), "--state", "state"});
    EXPECT_EQ(both.exitCode, 0) << both.error;
    EXPECT_EQ(both.table().at("total"), (TableRow{31, 3, 16, 12, "0.000", 2}));
}

TEST_F(FolderImport, AcceptsEveryFormOfThePath) {
    addModel("a.ifc");
    for (const auto& path :
         {models.string() + '/', std::string("../models"), std::string("./../models/."), std::string("../models//")}) {
        const auto imported = run({path, "--state", "state"});
        EXPECT_EQ(imported.exitCode, 0) << imported.error;
        EXPECT_EQ(reports(imported.output).size(), 1u) << path;
    }
    fs::rename(models / "a.ifc", current / "a.ifc");
    EXPECT_EQ(reports(run({"."}).output), std::vector<std::string>{"a.ifc: IFC4, 30 objects"});
}

TEST_F(FolderImport, FailsIfTheFolderContainsNoModel) {
    for (const char* const name : {"", "x", "notes.txt"}) {
        if (*name != '\0')
            addOtherFile(name);
        const auto failed = run({models.string(), exampleModel("workshop.ifc").string()});
        EXPECT_EQ(failed.exitCode, 1);
        EXPECT_EQ(failed.output, "");
        EXPECT_EQ(failed.error,
                  "import_host: " + models.string() + ": the folder contains no model (*.ifc) or cannot be read\n");
    }
}

TEST_F(FolderImport, ContinuesAfterAModelThatFails) {
    addOtherFile("a.ifc");
    addModel("b.ifc");
    addOtherFile("c.ifc");
    addModel("d.ifc");
    const auto all = run({models.string(), exampleModel("workshop.ifc").string()});
    EXPECT_EQ(all.exitCode, 1);
    // The folder counts as failed: the next argument is not imported.
    EXPECT_EQ(reports(all.output), (std::vector<std::string>{"b.ifc: IFC4, 30 objects", "d.ifc: IFC4, 30 objects"}));
    EXPECT_TRUE(hasState("b.ifc") && hasState("d.ifc"));
    EXPECT_FALSE(hasState("a.ifc") || hasState("c.ifc") || hasState("workshop.ifc"));
    std::istringstream errors(all.error);
    std::vector<std::string> lines;
    for (std::string line; std::getline(errors, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 3u) << all.error;
    EXPECT_THAT(lines[0], StartsWith("import_host: "));
    EXPECT_THAT(lines[0], HasSubstr("a.ifc, line 1: "));
    EXPECT_THAT(lines[1], HasSubstr("c.ifc, line 1: "));
    EXPECT_EQ(lines[2], "import_host: " + models.string() + ": 2 of 4 models failed: a.ifc, c.ifc");
}

#if !defined(_WIN32)
TEST_F(FolderImport, ReportsAFileNameThatIsNotUtf8) {
    addModel("a\xFF.ifc");
    addModel("b.ifc");
    const auto both = run({models.string()});
    EXPECT_EQ(both.exitCode, 1);
    EXPECT_EQ(reports(both.output), std::vector<std::string>{"b.ifc: IFC4, 30 objects"});
    EXPECT_EQ(both.error, "import_host: " + models.string() + ": the file name a?.ifc is not UTF-8 text\nimport_host: " +
                              models.string() + ": 1 of 2 models failed: a?.ifc\n");
}

// No process writes to the pipe: opening it for reading would block forever.
TEST_F(FolderImport, ReportsPipesAndDevicesAsFailures) {
    ASSERT_EQ(mkfifo((models / "a.ifc").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", models / "b.ifc");
    fs::create_symlink("a.ifc", models / "c.ifc");
    addModel("d.ifc");
    fs::create_symlink("d.ifc", models / "e.ifc"); // its target is a regular file
    const std::string reason = ": not a regular file; expected a STEP file (ISO 10303-21)\n";
    const auto all = run({models.string()});
    EXPECT_EQ(all.exitCode, 1);
    EXPECT_EQ(reports(all.output), (std::vector<std::string>{"d.ifc: IFC4, 30 objects", "e.ifc: IFC4, 30 objects"}));
    std::istringstream errors(all.error);
    std::string line;
    for (const char* const name : {"a.ifc", "b.ifc", "c.ifc"}) {
        std::getline(errors, line);
        EXPECT_THAT(line + '\n', StartsWith("import_host: " + (models / name).string() + ": "));
        EXPECT_THAT(line + '\n', EndsWith(reason));
        EXPECT_FALSE(hasState(name));
    }
    std::getline(errors, line);
    EXPECT_EQ(line, "import_host: " + models.string() + ": 3 of 5 models failed: a.ifc, b.ifc, c.ifc");
    EXPECT_FALSE(std::getline(errors, line));

    for (const auto& named : {(models / "a.ifc").string(), std::string("..\\models\\a.ifc")}) {
        const auto alone = run({named});
        EXPECT_EQ(alone.exitCode, 1);
        EXPECT_EQ(alone.output, "");
        EXPECT_THAT(alone.error, HasSubstr(reason));
    }
}

TEST_F(FolderImport, StopsWhenItsReportsCannotBePrinted) {
    addModel("a.ifc");
    addModel("b.ifc");
    const auto failed = run({models.string()}, outputToFullDisk);
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.error, "import_host: " + models.string() +
                                ": cannot store the state: cannot write to standard output; check that the disk is not full "
                                "and its reader is still running\n");
    EXPECT_FALSE(hasState("a.ifc") || hasState("b.ifc"));
}

TEST_F(FolderImport, StopsWhenItIsInterrupted) {
    const auto interrupting = folder / "interrupt-TERM"; // the stand-in importer sends the host this signal
    writeFile(interrupting / "a.ifc", "");
    writeFile(interrupting / "b.ifc", "");
    const auto ended = run({interrupting.string(), "--importer", program("standin_importer").string()}, defaultSignals);
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(ended.error, "import_host: " + interrupting.string() + ": interrupted\n");
}
#endif

} // namespace velmor_tests
