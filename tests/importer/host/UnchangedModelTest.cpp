// import_host does not import a model again that has not changed.

#include "importer/host/HostRun.h"
#include "importer/host/State.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

// The workshop, imported once by ifc_importer.
class UnchangedModel : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(folder / "success");
        fs::copy_file(exampleModel("workshop.ifc"), model);
        ASSERT_THAT(run(model).output, StartsWith("model.ifc: IFC4, 30 objects, first import\n"));
        before = readFile(stateFile);
    }

    HostRun run(const fs::path& file, const std::vector<std::string>& options = {}, const std::string& shell = {}) const {
        std::vector<std::string> arguments = {file.string(), "--state", (folder / "state").string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return runHost(arguments, shell);
    }

    void expectUnchanged(const HostRun& run, const std::string& name = "model.ifc") const {
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.error, "");
        EXPECT_EQ(run.output, name + ": unchanged since the last import\n");
        EXPECT_EQ(readFile(stateFile), before);
    }

    const TemporaryFolder folder;
    const fs::path model = folder / "success" / "model.ifc"; // for "success", the stand-in importer succeeds
    const fs::path stateFile = folder / "state" / "import.state";
    const std::vector<std::string> standIn = {"--importer", program("standin_importer").string()};
    std::string before; // the content of the state file
};

} // namespace

TEST_F(UnchangedModel, IsNotImportedAgain) {
    expectUnchanged(run(model));
    expectUnchanged(run(model));
}

TEST_F(UnchangedModel, IsRecognizedByItsContentOnly) {
    fs::last_write_time(model, fs::last_write_time(model) + std::chrono::hours(1));
    expectUnchanged(run(model));
    fs::copy_file(model, folder / "copy.ifc");
    expectUnchanged(run(folder / "copy.ifc"), "copy.ifc");
}

// The state contains both identities of every object.
TEST_F(UnchangedModel, IsRecognizedWithEitherKindOfIdentity) {
    expectUnchanged(run(model, {"--identify-by-geometry"}));
    EXPECT_EQ(run(copyWithComment(model, model), {"--identify-by-geometry"}).table().at("total"),
              (TableRow{27, 0, 27, 0, "-", 0}));
    before = readFile(stateFile);
    expectUnchanged(run(model));
}

#if !defined(_WIN32)
TEST_F(UnchangedModel, StartsNoImporter) {
    const std::string noTemporaryFiles =
        "TMPDIR=/nonexistent/folder; export TMPDIR;"; // an import would fail to create its streams
    expectUnchanged(run(model, {}, noTemporaryFiles));
    EXPECT_EQ(run(copyWithComment(model, model), {}, noTemporaryFiles).exitCode, 1);
}

TEST_F(UnchangedModel, FailsIfItsReportCannotBePrinted) {
    const auto failed = run(model, {}, outputToFullDisk);
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.error, HasSubstr("cannot write to standard output"));
}
#endif

TEST_F(UnchangedModel, IsImportedAfterEveryChange) {
    const auto first = readFile(model);
    for (const auto& content : {first + '\n', replaced(first, "'Beam B1'", "'Beam B9'"), first}) {
        writeFile(model, content);
        EXPECT_THAT(run(model).output,
                    StartsWith("model.ifc: IFC4, 30 objects, compared with the 30 of the previous import\n"));
        before = readFile(stateFile);
        expectUnchanged(run(model));
    }
}

TEST_F(UnchangedModel, IsImportedForOutputThatNeedsAnImport) {
    for (const auto& [options, expected] : std::vector<std::pair<std::vector<std::string>, const char*>>{
             {{"--properties", "0Workshop0Beam000000B1"}, "\nproperties of 0Workshop0Beam000000B1: "},
             {{"--georeference"}, "\ngeoreference:\n"},
             {{"--export", (folder / "out").string()}, "\nexported to "}}) {
        const auto imported = run(model, options);
        EXPECT_EQ(imported.table().at("total"), (TableRow{30, 0, 30, 0, "-", 0}));
        EXPECT_THAT(imported.output, HasSubstr(expected));
        EXPECT_EQ(readFile(stateFile), before);
        expectUnchanged(run(model));
    }
}

TEST_F(UnchangedModel, IsImportedByAnotherImporter) {
    EXPECT_THAT(run(model, standIn).output, StartsWith("model.ifc: STANDIN, 2 objects, compared with the 30 "));
    before = readFile(stateFile);
    expectUnchanged(run(model, standIn));
    EXPECT_THAT(run(model).output, StartsWith("model.ifc: IFC4, 30 objects, compared with the 2 "));
}

TEST_F(UnchangedModel, IsComparedWithTheLastSuccessfulImport) {
    const auto content = readFile(model);
    writeFile(model, content.substr(0, content.size() / 2));
    EXPECT_EQ(run(model).exitCode, 1);
    EXPECT_EQ(run(model).exitCode, 1); // each failure is reported
    writeFile(model, content);
    expectUnchanged(run(model));
}

TEST_F(UnchangedModel, IsImportedIfItChangedDuringTheLastImport) {
    const auto content = readFile(model);
    const auto changing = folder / "change" / "model.ifc";
    writeFile(changing, content);
    EXPECT_THAT(run(changing, standIn).output, StartsWith("model.ifc: STANDIN, 2 objects, compared with the 30 "));
    ASSERT_NE(readFile(changing), content);
    const auto state = readFile(stateFile);
    EXPECT_EQ(importer::host::State(folder / "state").read().origin, std::nullopt);
    // It is unknown which of the two contents the importer has read.
    for (const auto& each : {content, readFile(changing)}) {
        writeFile(stateFile, state);
        writeFile(model, each);
        EXPECT_THAT(run(model, standIn).output, StartsWith("model.ifc: STANDIN, 2 objects, compared with the 2 "));
    }
}

TEST_F(UnchangedModel, MustBeReadable) {
    // Sha1::FromFile returns this digest for every file that cannot be opened.
    const Velmor::Sha1::Digest unreadable(std::vector<unsigned char>(20));
    importer::host::State(folder / "state").write({}, importer::exchange::Origin{unreadable, unreadable});
    fs::remove(model);
    const auto failed = run(model, {"--importer", (folder / "missing").string()});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.output, "");
    EXPECT_THAT(failed.error, HasSubstr("cannot start the importer"));
    const auto missing = run(model);
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.output, "");
    EXPECT_THAT(missing.error, HasSubstr("model.ifc"));
}

} // namespace velmor_tests
