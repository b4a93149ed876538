// Imports that fail: invalid models, importers that fail, damaged states, full disks, interruptions.

#include "importer/host/HostRun.h"
#include "importer/host/Models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#if !defined(_WIN32)
    #include <fcntl.h>
    #include <sys/stat.h>
    #include <unistd.h>
#endif

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

const std::string workshop = exampleModel("workshop.ifc").string();
const std::string revised = exampleModel("workshop-revised.ifc").string();

#if !defined(_WIN32)
// A named pipe that another process writes to.
class Pipe {
public:
    explicit Pipe(const fs::path& file) {
        // O_NONBLOCK: opening does not wait for a writer.
        if (mkfifo(file.c_str(), 0600) == 0)
            descriptor_ = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_NE(descriptor_, -1) << file;
    }

    ~Pipe() { close(descriptor_); }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    // Waits until every process that has opened the pipe for writing has closed it or ended.
    // @return everything that was written; empty if no process has opened the pipe.
    std::string readToEnd() const {
        fcntl(descriptor_, F_SETFL, 0); // from here on, reading blocks
        std::string text;
        char buffer[100];
        for (ssize_t size = 0; (size = read(descriptor_, buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<std::size_t>(size));
        return text;
    }

private:
    int descriptor_ = -1;
};
#endif

// A failed import leaves the state of the previous import unchanged.
class ImportFails : public testing::Test {
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
    std::string before; // the content of the state file
};

} // namespace

TEST_F(ImportFails, ForAMissingModel) {
    const auto run = expectFailure({(folder / "missing.ifc").string()}, "missing.ifc");
    EXPECT_EQ(occurrences(run.error, "missing.ifc"), 1u) << run.error;
}

TEST_F(ImportFails, ForAFolderWithoutModels) {
    expectFailure({(folder / "state").string()}, "state");
}

TEST_F(ImportFails, ForAnotherKindOfFile) {
    for (const char* const content : {"", "\n", "not a STEP file\n", "ISO-10303-22;\n", "PK\3\4"}) {
        writeFile(folder / "other.ifc", content);
        expectFailure({(folder / "other.ifc").string()}, "other.ifc");
    }
}

TEST_F(ImportFails, ForATruncatedFile) {
    const auto whole = readFile(workshop);
    for (std::size_t length = 20; length + 30 < whole.size(); length += whole.size() / 12) {
        writeFile(folder / "truncated.ifc", whole.substr(0, length));
        expectFailure({(folder / "truncated.ifc").string()}, "truncated.ifc");
    }
}

TEST_F(ImportFails, ForAnUnsupportedSchema) {
    expectFailure({changedWorkshop(folder / "other.ifc", "'IFC4'", "'AP242_MANAGED_MODEL_BASED_3D_ENGINEERING'")}, "AP242");
}

TEST_F(ImportFails, ForPropertiesOfAMissingObject) {
    expectFailure({revised, "--properties", "0Workshop0Beam000000B2", "--properties", "0Workshop0Beam000000B7"},
                  "workshop-revised.ifc: the model has no object with the GlobalId '0Workshop0Beam000000B7'\n");
    expectFailure({workshop, "--properties", "B7"}, "no object with the GlobalId 'B7'");
}

TEST_F(ImportFails, IfTheImporterCannotBeStarted) {
    expectFailure({workshop, "--importer", (folder / "missing").string()}, "cannot start the importer");
}

TEST_F(ImportFails, IfTheOutputOfTheImporterIsInvalid) {
    const struct {
        const char* mode;
        const char* reason;
    } cases[] = {
        {"no-output", "ended with code 0; it did not finish"},
        {"crash", "it did not finish"},
        {"invalid-info", "its output is incomplete: the info stream: byte 0: expected a record of 4294967295 bytes"},
        {"reject", "line 3: expected?something else"},
        {"exit-3", "ended with code 3; its output is discarded"},
        {"missing-object", "the objects stream: byte "},
        {"surplus-object", "the objects stream: byte 238: expected the end of the file"},
        {"altered-object", "the objects stream: byte 238: expected the checksum "},
        {"missing-set", "the attributes stream: byte "},
        {"surplus-set", "the attributes stream: byte 67: expected the end of the file"},
        {"altered-set", "expected the checksum "},
        {"unknown-set", "expected a property set number below 1, found 1"},
        {"old-version",
         "is not compatible with this program: expected format version 3, found 1; use programs of the same build"},
        {"missing-solid", "the solids stream: byte "},
        {"surplus-solid", "the solids stream: byte 172: expected the end of the file"},
        {"altered-solid", "the solids stream: byte 0: expected the checksum "},
        {"invalid-solid", "the solids stream: byte 172: expected a vertex index below 3 in triangle 1, found 3"},
        {"unknown-solid", "the solids stream: byte 172: expected a solid of type 1, found 7"},
        {"missing-texture", "the textures stream: byte "},
        {"surplus-texture", "the textures stream: byte 0: expected the end of the file"},
        {"altered-texture", "the textures stream: byte 0: expected the checksum "},
        {"missing-problem", "the log stream: expected 2 problems"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.mode);
        writeFile(folder / each.mode / "model.ifc", "");
        expectFailure({(folder / each.mode / "model.ifc").string(), "--importer", program("standin_importer").string()},
                      each.reason);
    }
}

TEST_F(ImportFails, IfTheImporterIsKilled) {
    writeFile(folder / "kill" / "model.ifc", manyWalls(80000));
    const auto model = (folder / "kill" / "model.ifc").string();
    expectFailure({model, "--importer", program("standin_importer").string()}, "ended with code 77; it did not finish");
}

TEST_F(ImportFails, IfTheStateIsDamaged) {
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

TEST_F(ImportFails, IfTheStateCannotBeWritten) {
    writeFile(folder / "state" / "import.state.new" / "file", "x");
    expectFailure({revised}, "cannot store the state: ");
    fs::remove_all(folder / "state" / "import.state.new");
}

#if !defined(_WIN32)
// A limit on the size of files has the same effect as a full disk.
TEST_F(ImportFails, WithoutDiskSpaceForTheState) {
    // The objects fill whole blocks exactly: the importer can write them within the limit, but the state consists of a
    // header and the same bytes. The model has no property sets.
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

    expectFailure({model}, "cannot store the state: the new state file ", limit(objects / 512));
    expectFailure({model}, "the objects stream cannot be written; check that the disk is not full",
                  limit(objects / 512 - 1));
}

TEST_F(ImportFails, WithoutDiskSpaceForPropertySets) {
    const auto model = changedWorkshop(folder / "long.ifc", "'hot-dip", '\'' + std::string(40000, 'x'));
    expectFailure({model}, "the attributes stream cannot be written; check that the disk is not full",
                  "trap '' XFSZ; ulimit -f 64;");
}

TEST_F(ImportFails, WithoutDiskSpaceForTheLog) {
    std::string duplicates;
    for (int i = 0; i < 100; ++i)
        duplicates += "#1=IFCDIRECTION((1.,0.,0.));\n"; // each duplicate number is a problem; no object is created
    writeFile(folder / "full.ifc", replaced(manyWalls(0), "ENDSEC;\nEND-ISO", duplicates + "ENDSEC;\nEND-ISO"));
    const auto model = (folder / "full.ifc").string();
    const auto unlimited = runHost({model, "--state", (folder / "other").string()});
    ASSERT_THAT(unlimited.output, HasSubstr("problems: 100\n"));
    expectFailure({model}, "the log stream cannot be written; check that the disk is not full",
                  "trap '' XFSZ; ulimit -f 4;");
}

TEST_F(ImportFails, WithoutDiskSpaceForTheInfoRecord) {
    writeFile(folder / "long-error" / "model.ifc", "");
    expectFailure({(folder / "long-error" / "model.ifc").string(), "--importer", program("standin_importer").string()},
                  "the info stream: byte 0: expected a record of ", "trap '' XFSZ; ulimit -f 4;");
}

TEST_F(ImportFails, WithoutDiskSpaceForTheReport) {
    expectFailure({revised}, "cannot write to standard output", outputToFullDisk);
    EXPECT_EQ(runHost({"--help"}, outputToFullDisk).exitCode, 1);
    // The next import reports the same changes.
    const auto next = runHost({revised, "--state", state});
    EXPECT_EQ(next.table().at("total"), (TableRow{31, 3, 16, 12, "0.000", 2}));
    writeFile(stateFile, before);
}

TEST_F(ImportFails, AndTerminatesTheImporterWhenInterrupted) {
    for (const std::string signal : {"TERM", "HUP", "INT"}) {
        SCOPED_TRACE(signal);
        const auto subfolder = folder / ("interrupt-" + signal);
        writeFile(subfolder / "model.ifc", "");
        const Pipe running(subfolder / "running");
        expectFailure({(subfolder / "model.ifc").string(), "--importer", program("standin_importer").string()},
                      "interrupted", defaultSignals);
        EXPECT_EQ(running.readToEnd(), "started");
    }
}

TEST_F(ImportFails, WithoutATemporaryFolder) {
    expectFailure({revised}, "cannot create a temporary file", "TMPDIR=/nonexistent/folder; export TMPDIR;");
}
#endif

} // namespace velmor_tests
