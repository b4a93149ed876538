// import_host does not import again what it knows already.

#include "importer/host/HostRun.h"
#include "importer/host/State.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

using namespace velmor_tests;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

// The workshop, imported once by ifc_importer.
class Skip : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(folder / "whole");
        fs::copy_file(exampleModel("workshop.ifc"), model);
        ASSERT_THAT(run(model).output, StartsWith("model.ifc: IFC4, 30 objects, first import\n"));
        before = readFile(stateFile);
    }

    HostRun run(const fs::path& what, const std::vector<std::string>& options = {}, const std::string& shell = {}) const {
        std::vector<std::string> arguments = {what.string(), "--state", (folder / "state").string()};
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
    const fs::path model = folder / "whole" / "model.ifc"; // the stand-in importer hands it over whole
    const fs::path stateFile = folder / "state" / "import.state";
    const std::vector<std::string> standIn = {"--importer", program("standin_importer").string()};
    std::string before;
};

} // namespace

TEST_F(Skip, TellsAModelWithTheSameContent) {
    expectUnchanged(run(model));
    expectUnchanged(run(model));
}

TEST_F(Skip, GoesByTheContentAlone) {
    fs::last_write_time(model, fs::last_write_time(model) + std::chrono::hours(1));
    expectUnchanged(run(model));
    fs::copy_file(model, folder / "copy.ifc");
    expectUnchanged(run(folder / "copy.ifc"), "copy.ifc");
}

// The state has both identities of every object: the model would be unchanged by either.
TEST_F(Skip, DoesNotDependOnTheWayOfIdentifying) {
    expectUnchanged(run(model, {"--identify-by-geometry"}));
    EXPECT_EQ(run(commented(model, model), {"--identify-by-geometry"}).table().at("total"),
              (TableRow{27, 0, 27, 0, "-", 0}));
    before = readFile(stateFile);
    expectUnchanged(run(model));
}

#if !defined(_WIN32)
TEST_F(Skip, StartsNoImporter) {
    const std::string noTemporaryFiles = "TMPDIR=/nonexistent/folder; export TMPDIR;"; // no importer without its streams
    expectUnchanged(run(model, {}, noTemporaryFiles));
    EXPECT_EQ(run(commented(model, model), {}, noTemporaryFiles).exitCode, 1);
}

TEST_F(Skip, ThatCannotBeToldFails) {
    const auto omitted = run(model, {}, "intoFullDisk() { \"$@\" >/dev/full; }; intoFullDisk");
    EXPECT_EQ(omitted.exitCode, 1);
    EXPECT_THAT(omitted.error, HasSubstr("cannot write to standard output"));
}
#endif

TEST_F(Skip, DoesNotHideAnyChange) {
    const auto first = readFile(model);
    for (const auto& content : {first + '\n', replaced(first, "'Beam B1'", "'Beam B9'"), first}) {
        writeFile(model, content);
        EXPECT_THAT(run(model).output,
                    StartsWith("model.ifc: IFC4, 30 objects, compared with the 30 of the previous import\n"));
        before = readFile(stateFile);
        expectUnchanged(run(model));
    }
}

TEST_F(Skip, GivesWayToWhatOnlyAnImporterCanTell) {
    for (const auto& [options, told] : std::vector<std::pair<std::vector<std::string>, const char*>>{
             {{"--properties", "0Workshop0Beam000000B1"}, "\nproperties of 0Workshop0Beam000000B1: "},
             {{"--georeference"}, "\ngeoreference:\n"},
             {{"--export", (folder / "out").string()}, "\nexported to "}}) {
        const auto asked = run(model, options);
        EXPECT_EQ(asked.table().at("total"), (TableRow{30, 0, 30, 0, "-", 0}));
        EXPECT_THAT(asked.output, HasSubstr(told));
        EXPECT_EQ(readFile(stateFile), before);
        expectUnchanged(run(model));
    }
}

TEST_F(Skip, IsForTheSameImporterOnly) {
    EXPECT_THAT(run(model, standIn).output, StartsWith("model.ifc: STANDIN, 2 objects, compared with the 30 "));
    before = readFile(stateFile);
    expectUnchanged(run(model, standIn));
    EXPECT_THAT(run(model).output, StartsWith("model.ifc: IFC4, 30 objects, compared with the 2 "));
}

TEST_F(Skip, IsForTheLastImportThatSucceeded) {
    const auto content = readFile(model);
    writeFile(model, content.substr(0, content.size() / 2));
    EXPECT_EQ(run(model).exitCode, 1);
    EXPECT_EQ(run(model).exitCode, 1); // a failure is told each time
    writeFile(model, content);
    expectUnchanged(run(model));
}

TEST_F(Skip, IsNotForAModelThatChangedWhileItWasRead) {
    const auto content = readFile(model);
    const auto changing = folder / "change" / "model.ifc";
    writeFile(changing, content);
    EXPECT_THAT(run(changing, standIn).output, StartsWith("model.ifc: STANDIN, 2 objects, compared with the 30 "));
    ASSERT_NE(readFile(changing), content);
    const auto kept = readFile(stateFile);
    EXPECT_EQ(importer::host::State(folder / "state").read().origin, std::nullopt);
    // Nobody knows which of the two contents the importer saw.
    for (const auto& each : {content, readFile(changing)}) {
        writeFile(stateFile, kept);
        writeFile(model, each);
        EXPECT_THAT(run(model, standIn).output, StartsWith("model.ifc: STANDIN, 2 objects, compared with the 2 "));
    }
}

TEST_F(Skip, IsNotForAModelThatCannotBeRead) {
    // As the library says of each file that it cannot open.
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
