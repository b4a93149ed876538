// File operations if memory is exhausted or a call of the system fails.

#include <Velmor/Platform.h>

#include "PortableExecutable.h"
#include "Tools.h"
#include "support/FailingAllocation.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

// Replaces os::getModuleFileName (see CMakeLists.txt); always fails.
#if defined(_WIN32)
    #define VELMOR_WRAPPED __wrap__ZN6Velmor2os17getModuleFileNameEPvPwj
    #define VELMOR_VERSION(kind) __##kind##__ZN6Velmor2os18getFileVersionInfoEPKwjPv
#else
    #define VELMOR_WRAPPED __wrap__ZN6Velmor2os17getModuleFileNameEPvPDsj
    #define VELMOR_VERSION(kind) __##kind##__ZN6Velmor2os18getFileVersionInfoEPKDsjPv
#endif
#define VELMOR_QUERY(kind) __##kind##__ZN6Velmor2os19queryProductVersionEPKvjPjS3_

static int nameQueries = 0;

extern "C" unsigned VELMOR_WRAPPED(void*, Velmor::WideChar*, unsigned);
extern "C" unsigned VELMOR_WRAPPED(void*, Velmor::WideChar*, unsigned) {
    ++nameQueries;
    return 0;
}

// Replace os::getFileVersionInfo and os::queryProductVersion; the calls fail as the test specifies.
enum class Failing { nothing, reading, query };
static Failing failing = Failing::nothing;
static void* versionBlock = nullptr;
static std::optional<velmor_tests::WatchFree> blockWatch;

extern "C" bool VELMOR_VERSION(real)(const Velmor::WideChar*, std::uint32_t, void*);
extern "C" bool VELMOR_VERSION(wrap)(const Velmor::WideChar*, std::uint32_t, void*);
extern "C" bool VELMOR_VERSION(wrap)(const Velmor::WideChar* path, std::uint32_t size, void* block) {
    versionBlock = block;
    blockWatch.emplace(block);
    return failing != Failing::reading && VELMOR_VERSION(real)(path, size, block);
}

extern "C" bool VELMOR_QUERY(real)(const void*, std::uint32_t, std::uint32_t*, std::uint32_t*);
extern "C" bool VELMOR_QUERY(wrap)(const void*, std::uint32_t, std::uint32_t*, std::uint32_t*);
extern "C" bool VELMOR_QUERY(wrap)(const void* block, std::uint32_t size, std::uint32_t* high, std::uint32_t* low) {
    return failing != Failing::query && VELMOR_QUERY(real)(block, size, high, low);
}

namespace {

using Velmor::FileOperations;
using velmor_tests::FailAllocation;
using velmor_tests::runAlone;
using velmor_tests::runUnderDebugger;
using velmor_tests::ScenarioRun;
using velmor_tests::wide;

TEST(FileOperationsFailures, ReturnsEmptyTextForAModuleWithoutName) {
    const int before = nameQueries;
    EXPECT_TRUE(FileOperations::GetModuleByAddress(&nameQueries).empty());
    EXPECT_EQ(nameQueries, before + 1);
}

VELMOR_SCENARIO(QueryAModuleWithoutNameTwice) {
    FileOperations::GetModuleByAddress(&nameQueries);
    FileOperations::GetModuleByAddress(&nameQueries);
}

TEST(FileOperationsFailures, ModuleWithoutANameIsReportedOnce) {
    const ScenarioRun run = runUnderDebugger("QueryAModuleWithoutNameTwice");
    EXPECT_EQ(run.reports, std::vector<std::string>{"Invalid module"});
    EXPECT_EQ(run.breaks, 1);
    EXPECT_EQ(run.reportsBeforeBreak, std::vector<std::size_t>{1});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(runAlone("QueryAModuleWithoutNameTwice").output, "");
}

TEST(FileOperationsFailures, DoesNotQueryTheNameForAnAddressOutsideOfModules) {
    const int local = 0;
    const int before = nameQueries;
    EXPECT_TRUE(FileOperations::GetModuleByAddress(&local).empty());
    EXPECT_EQ(nameQueries, before);
}

TEST(FileOperationsFailures, GetProductVersionFailsIfTheAllocationFails) {
    const velmor_tests::TemporaryFolder folder;
    const auto path = folder / "program.dll";
    velmor_tests::writeFile(path, bytesOf(velmor_tests::PortableExecutable()));
    const auto widePath = wide(path);
    std::array<unsigned, 4> numbers{9, 9, 9, 9};
    auto& [major, minor, build, revision] = numbers;
    bool known = true;
    bool happened = false;
    {
        const FailAllocation failure(1);
        known = FileOperations::GetProductVersion(widePath, &major, &minor, &build, &revision);
        happened = failure.happened();
    }
    EXPECT_TRUE(happened);
    EXPECT_FALSE(known);
    EXPECT_EQ(numbers, (std::array<unsigned, 4>{}));
    EXPECT_TRUE(FileOperations::GetProductVersion(widePath, &major, &minor, &build, &revision));
    EXPECT_EQ(numbers, (std::array<unsigned, 4>{3, 91, 0, 0}));
}

TEST(FileOperationsFailures, GetProductVersionDoesNotFreeTheBlockOnFailure) {
    const velmor_tests::TemporaryFolder folder;
    velmor_tests::writeFile(folder / "program.dll", bytesOf(velmor_tests::PortableExecutable()));
    const auto path = wide(folder / "program.dll");
    for (const Failing step : {Failing::reading, Failing::query, Failing::nothing}) {
        const bool fails = step != Failing::nothing;
        std::array<unsigned, 4> numbers{9, 9, 9, 9};
        auto& [major, minor, build, revision] = numbers;
        versionBlock = nullptr;
        failing = step;
        const long before = velmor_tests::liveAllocations();
        const bool known = FileOperations::GetProductVersion(path, &major, &minor, &build, &revision);
        const long leaked = velmor_tests::liveAllocations() - before;
        failing = Failing::nothing;
        ASSERT_TRUE(blockWatch);
        const unsigned freed = blockWatch->times();
        blockWatch.reset();
        EXPECT_EQ(known, !fails);
        EXPECT_EQ(numbers, fails ? (std::array<unsigned, 4>{}) : (std::array<unsigned, 4>{3, 91, 0, 0}));
        EXPECT_NE(versionBlock, nullptr);
        EXPECT_EQ(freed, fails ? 0u : 1u);
        EXPECT_EQ(leaked, fails ? 1 : 0);
        if (fails)
            std::free(versionBlock);
    }
}

} // namespace
