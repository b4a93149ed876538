#include <Velmor/ForeignObject.h>
#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using namespace velmor_tests;
using Velmor::EnvironmentVariables;
using Velmor::FileStream;
using Velmor::ProcessOperations;
using Velmor::WideString;

namespace {

// The environment that host and importer share, written out a second time as the expected values.
constexpr const char* versionName = "fo_handle_version";
constexpr const char* filenameName = "fo_string_filename";
constexpr const char* moduleName = "fo_string_module";
constexpr const char* pathName = "fo_string_path";
constexpr std::size_t streamCount = 16;
constexpr const char* streamNames[streamCount] = {
    "fo_handle_foreignobjects", "fo_handle_objects",   "fo_handle_materials",   "fo_handle_layers",
    "fo_handle_zkit",           "fo_handle_polygons",  "fo_handle_attributes",  "fo_handle_solids",
    "fo_handle_xrefs",          "fo_handle_log",       "fo_handle_info",        "fo_handle_hierarchy",
    "fo_handle_progress",       "fo_handle_instances", "fo_handle_definitions", "fo_handle_textures"};

static_assert(std::is_same_v<decltype(ForeignObjectEnv_t::version), int> && sizeof(int) == 4);
static_assert(std::is_same_v<decltype(ForeignObjectEnv_t::filename), WideString>);
static_assert(std::is_same_v<decltype(ForeignObjectEnv_t::module), WideString>);
static_assert(std::is_same_v<decltype(ForeignObjectEnv_t::path), WideString>);
static_assert(std::is_same_v<decltype(ForeignObjectEnv_t::handles), HANDLE[streamCount]>);
static_assert(std::is_aggregate_v<ForeignObjectEnv_t>, "a constructor or destructor would change the record");
static_assert(std::is_standard_layout_v<ForeignObjectEnv_t>);
static_assert(sizeof(ForeignObjectEnv_t) == 8 + 3 * sizeof(WideString) + streamCount * sizeof(void*));

static_assert(Velmor::ForeignObjectStreamCount == streamCount);
static_assert(Velmor::ForeignObjectsStream == 0 && Velmor::ObjectsStream == 1 && Velmor::MaterialsStream == 2 &&
              Velmor::LayersStream == 3 && Velmor::ZkitStream == 4 && Velmor::PolygonsStream == 5 &&
              Velmor::AttributesStream == 6 && Velmor::SolidsStream == 7 && Velmor::XrefsStream == 8 &&
              Velmor::LogStream == 9 && Velmor::InfoStream == 10 && Velmor::HierarchyStream == 11 &&
              Velmor::ProgressStream == 12 && Velmor::InstancesStream == 13 && Velmor::DefinitionsStream == 14 &&
              Velmor::TexturesStream == 15);

HANDLE handleOf(std::int64_t value) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(value));
}

/// Removes the variables of the environment and restores them at the end of its life.
class CleanEnvironment {
public:
    CleanEnvironment() {
        for (const char* name : {versionName, filenameName, moduleName, pathName})
            settings_.emplace_back(name, std::nullopt);
        for (const char* name : streamNames)
            settings_.emplace_back(name, std::nullopt);
    }

private:
    std::list<VariableSetting> settings_;
};

/// A record with a value in every field.
ForeignObjectEnv_t filledRecord() {
    ForeignObjectEnv_t env{77, wide("old file"), wide("old module"), wide("old path"), {}};
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        env.handles[slot] = handleOf(static_cast<std::int64_t>(5000 + slot));
    return env;
}

void expectOnlyVersionChanged(const ForeignObjectEnv_t& env, int version) {
    const ForeignObjectEnv_t old = filledRecord();
    EXPECT_EQ(env.version, version);
    EXPECT_EQ(env.filename, old.filename);
    EXPECT_EQ(env.module, old.module);
    EXPECT_EQ(env.path, old.path);
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        EXPECT_EQ(env.handles[slot], old.handles[slot]) << slot;
}

} // namespace

TEST(ForeignObjectEnv, HeaderListsVariablesInSlotOrder) {
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        EXPECT_EQ(WideString(Velmor::ForeignObjectStreamVariables[slot]), wide(streamNames[slot]));
}

// Version

TEST(ForeignObjectEnv, ReturnsFalseForMissingVersion) {
    const CleanEnvironment clean;
    setVariable(filenameName, "file");
    setVariable(streamNames[0], "452");
    ForeignObjectEnv_t env = filledRecord();
    EXPECT_FALSE(foreignobject_env_deserialize(env));
    expectOnlyVersionChanged(env, 0);
}

TEST(ForeignObjectEnv, ReturnsTrueForVersionOneOnly) {
    const CleanEnvironment clean;
    setVariable(filenameName, "file");
    setVariable(streamNames[0], "452");
    const struct {
        const char* text;
        int version;
    } cases[] = {{"2", 2},
                 {"0", 0},
                 {"-1", -1},
                 {"11", 11},
                 {"", 0},
                 {"one", 0},
                 {"0x1", 0},
                 {"4294967297", 2147483647},
                 {"00000000000000000001", 0}, // texts of 20 characters and more are not read
                 {"1", 1},
                 {"+1", 1},
                 {" 1", 1},
                 {"1.5", 1},
                 {"1abc", 1},
                 {"0000000000000000001", 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        setVariable(versionName, c.text);
        ForeignObjectEnv_t env = filledRecord();
        EXPECT_EQ(foreignobject_env_deserialize(env), c.version == 1);
        if (c.version == 1) {
            EXPECT_EQ(env.version, 1);
            EXPECT_EQ(env.filename, wide("file"));
            EXPECT_EQ(env.handles[0], handleOf(452));
        } else {
            expectOnlyVersionChanged(env, c.version);
        }
    }
}

TEST(ForeignObjectEnv, MissingStringsAreEmptyAndMissingHandlesInvalid) {
    const CleanEnvironment clean;
    setVariable(versionName, "1");
    ForeignObjectEnv_t env = filledRecord();
    EXPECT_TRUE(foreignobject_env_deserialize(env));
    EXPECT_EQ(env.version, 1);
    EXPECT_EQ(env.filename, WideString());
    EXPECT_EQ(env.module, WideString());
    EXPECT_EQ(env.path, WideString());
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        EXPECT_EQ(env.handles[slot], noHandle()) << slot;
}

// Strings and handles

TEST(ForeignObjectEnv, ReadsStringsUnchanged) {
    const CleanEnvironment clean;
    EnvironmentVariables::SetInt(wide(versionName), 1);
    const std::string filename = "C:\\models\\Gr\xC3\xBC\xC3\x9F"
                                 "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80.ifc";
    const std::string module = "\"quoted\" 'text' %PATH% 50% a=b";
    const std::string path(32766, 'p');
    EnvironmentVariables::SetString(wide(filenameName), wide(filename));
    EnvironmentVariables::SetString(wide(moduleName), wide(module));
    EnvironmentVariables::SetString(wide(pathName), wide(path));
    ForeignObjectEnv_t env{};
    EXPECT_TRUE(foreignobject_env_deserialize(env));
    EXPECT_EQ(env.filename, wide(filename));
    EXPECT_EQ(env.module, wide(module));
    EXPECT_TRUE(env.path == wide(path));
}

TEST(ForeignObjectEnv, ReadsEachHandleIntoItsSlot) {
    for (std::size_t published = 0; published < streamCount; ++published) {
        const CleanEnvironment clean;
        EnvironmentVariables::SetInt(wide(versionName), 1);
        EnvironmentVariables::SetFileStreamHandle(wide(streamNames[published]), handleOf(1234));
        ForeignObjectEnv_t env{};
        EXPECT_TRUE(foreignobject_env_deserialize(env));
        for (std::size_t slot = 0; slot < streamCount; ++slot)
            EXPECT_EQ(env.handles[slot], slot == published ? handleOf(1234) : noHandle()) << streamNames[published];
    }
}

TEST(ForeignObjectEnv, StoresInvalidHandlesUnchanged) {
    const CleanEnvironment clean;
    setVariable(versionName, "1");
    const struct {
        const char* text;
        std::int64_t value;
    } cases[streamCount] = {{"0", 0},
                            {"4", 4},
                            {"99999999", 99999999},
                            {"2147483648", 2147483648},
                            {"-1", -1},
                            {"-2", -2},
                            {"9223372036854775807", 9223372036854775807},
                            {"9223372036854775808", 9223372036854775807},
                            {"no number", 0},
                            {"452abc", 452},
                            {" 452", 452},
                            {"+452", 452},
                            {"0452", 452},
                            {"0x452", 0},
                            {"", -1},
                            {"16", 16}};
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        setVariable(streamNames[slot], cases[slot].text);
    ForeignObjectEnv_t env{};
    EXPECT_TRUE(foreignobject_env_deserialize(env));
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        EXPECT_EQ(env.handles[slot], handleOf(cases[slot].value)) << cases[slot].text;
}

TEST(ForeignObjectEnv, LeavesHandlesOpen) {
    const CleanEnvironment clean;
    const std::unique_ptr<FileStream> stream(FileStream::createTemporaryFile());
    EnvironmentVariables::SetInt(wide(versionName), 1);
    EnvironmentVariables::SetFileStreamHandle(wide(streamNames[15]), stream->getHandle());
    for (int i = 0; i < 2; ++i) {
        ForeignObjectEnv_t env{};
        EXPECT_TRUE(foreignobject_env_deserialize(env));
        EXPECT_EQ(env.handles[15], stream->getHandle());
    }
    EXPECT_TRUE(isOpenFile(stream->getHandle()));
}

// A host and its importer

namespace {

/// A host with an environment and sixteen streams, each with a question in it.
class Host {
public:
    explicit Host(int version) {
        EnvironmentVariables::SetInt(wide(versionName), version);
        EnvironmentVariables::SetString(wide(filenameName), wide("model.ifc"));
        EnvironmentVariables::SetString(wide(moduleName), wide("reader"));
        EnvironmentVariables::SetString(wide(pathName), wide("some folder"));
        for (std::size_t slot = 0; slot < streamCount; ++slot) {
            streams_.emplace_back(FileStream::createTemporaryFile());
            const std::string question = "question " + std::to_string(slot) + "\n";
            EXPECT_TRUE(streams_[slot]->write(question.size(), question.data()));
            streams_[slot]->seekToBegin();
            EnvironmentVariables::SetFileStreamHandle(wide(streamNames[slot]), streams_[slot]->getHandle());
        }
    }

    /// Runs the importer.
    /// @return its exit code.
    static unsigned import(bool inheritHandles) {
        const auto program = programFolder() / (std::string("foreign_child") + programEnding);
        const HANDLE process = startProcess(program, wide("foreign_child"), inheritHandles);
        const unsigned exitCode = join(process);
        ProcessOperations::closeProcess(process);
        return exitCode;
    }

    /// The complete content of a stream.
    std::string content(std::size_t slot) const {
        std::vector<char> block;
        EXPECT_TRUE(streams_[slot]->read(100, block));
        EXPECT_TRUE(block.empty()) << "the importer moved the shared file position to the end";
        streams_[slot]->seekToBegin();
        EXPECT_TRUE(streams_[slot]->read(1000, block));
        return std::string(block.begin(), block.end());
    }

private:
    CleanEnvironment clean_;
    std::vector<std::unique_ptr<FileStream>> streams_;
};

} // namespace

TEST(ForeignObjectEnv, ImporterReadsAndWritesAllStreams) {
    const TemporaryFolder temporaries;
    const VariableSetting setting(temporaryFolderVariable, narrow(temporaries.path()));
    {
        const Host host(1);
        ASSERT_EQ(Host::import(true), 0u);
        for (std::size_t slot = 0; slot < streamCount; ++slot) {
            const std::string number = std::to_string(slot);
            EXPECT_EQ(host.content(slot),
                      "question " + number + "\nanswer " + number + " to model.ifc,reader,some folder\nend\n");
        }
    }
    EXPECT_TRUE(eventually([&] { return entries(temporaries.path()) == 0; }));
}

TEST(ForeignObjectEnv, ImporterRejectsUnsupportedVersion) {
    const Host host(2);
    EXPECT_EQ(Host::import(true), 12u);
}

TEST(ForeignObjectEnv, ImporterWithoutInheritedHandlesCannotUseThem) {
    const Host host(1);
    const unsigned exitCode = Host::import(false);
    EXPECT_GE(exitCode, 40u); // the record was read, but a stream failed
    EXPECT_LT(exitCode, 40u + streamCount);
}

// Reports

VELMOR_SCENARIO(ReadWithoutHandles) {
    setVariable(versionName, "1");
    ForeignObjectEnv_t env{};
    foreignobject_env_deserialize(env);
    foreignobject_env_deserialize(env);
}

VELMOR_SCENARIO(ReadWithTwoMissingHandles) {
    setVariable(versionName, "1");
    for (std::size_t slot = 0; slot < streamCount; ++slot)
        setVariable(streamNames[slot], slot == 12 || slot == 15 ? std::nullopt : std::optional<std::string>("452"));
    ForeignObjectEnv_t env{};
    foreignobject_env_deserialize(env);
}

VELMOR_SCENARIO(ReadWithAllHandlesButNoStrings) {
    setVariable(versionName, "1");
    for (const char* name : streamNames)
        setVariable(name, "452");
    ForeignObjectEnv_t env{};
    foreignobject_env_deserialize(env);
}

VELMOR_SCENARIO(ReadUnsupportedVersion) {
    setVariable(versionName, "2");
    ForeignObjectEnv_t env{};
    foreignobject_env_deserialize(env);
    setVariable(versionName, std::nullopt);
    foreignobject_env_deserialize(env);
}

TEST(ForeignObjectEnv, ReportsFirstMissingHandleOnly) {
    const ScenarioRun none = runUnderDebugger("ReadWithoutHandles");
    EXPECT_EQ(none.channel, "No handle for fo_handle_foreignobjects\n");
    EXPECT_EQ(none.output, "No handle for fo_handle_foreignobjects\n");
    EXPECT_EQ(none.breaks, 1);
    EXPECT_EQ(none.exitCode, 0u);
    const ScenarioRun two = runUnderDebugger("ReadWithTwoMissingHandles");
    EXPECT_EQ(two.channel, "No handle for fo_handle_progress\n");
    EXPECT_EQ(two.breaks, 1);
}

TEST(ForeignObjectEnv, DoesNotReportMissingStringsOrUnsupportedVersion) {
    for (const char* scenario : {"ReadWithAllHandlesButNoStrings", "ReadUnsupportedVersion"}) {
        const ScenarioRun run = runUnderDebugger(scenario);
        EXPECT_EQ(run.channel, "") << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.breaks, 0) << scenario;
    }
    const ScenarioRun alone = runAlone("ReadWithoutHandles");
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.output, "");
    EXPECT_EQ(alone.error, "");
}
