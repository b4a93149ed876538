// What the file operations do when the system gives them no memory, or no name for a module that it knows.

#include "PortableExecutable.h"
#include "Tools.h"

#include <Velmor/Platform.h>

#include "support/FailingAllocation.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

// The library's question for the name of a module comes here (see CMakeLists.txt), and finds none.
#if defined(_WIN32)
    #define VELMOR_WRAPPED __wrap__ZN6Velmor2os17getModuleFileNameEPvPwj
#else
    #define VELMOR_WRAPPED __wrap__ZN6Velmor2os17getModuleFileNameEPvPDsj
#endif

static int namesAsked = 0;

extern "C" unsigned VELMOR_WRAPPED(void*, Velmor::WideChar*, unsigned);
extern "C" unsigned VELMOR_WRAPPED(void*, Velmor::WideChar*, unsigned) {
    ++namesAsked;
    return 0;
}

namespace {

using Velmor::FileOperations;
using velmor_tests::FailAllocation;
using velmor_tests::runAlone;
using velmor_tests::runUnderDebugger;
using velmor_tests::ScenarioRun;
using velmor_tests::wide;

TEST(FileOperationsFailures, ModuleWithoutANameIsEmpty) {
    const int before = namesAsked;
    EXPECT_TRUE(FileOperations::GetModuleByAddress(&namesAsked).empty());
    EXPECT_EQ(namesAsked, before + 1);
}

VELMOR_SCENARIO(ModuleWithoutANameTwice) {
    FileOperations::GetModuleByAddress(&namesAsked);
    FileOperations::GetModuleByAddress(&namesAsked);
}

TEST(FileOperationsFailures, ModuleWithoutANameIsReportedOnce) {
    const ScenarioRun run = runUnderDebugger("ModuleWithoutANameTwice");
    EXPECT_EQ(run.reports, std::vector<std::string>{"Invalid module"});
    EXPECT_EQ(run.breaks, 1);
    EXPECT_EQ(run.reportsBeforeBreak, std::vector<std::size_t>{1});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(runAlone("ModuleWithoutANameTwice").output, "");
}

TEST(FileOperationsFailures, AddressInNoModuleAsksForNoName) {
    const int local = 0;
    const int before = namesAsked;
    EXPECT_TRUE(FileOperations::GetModuleByAddress(&local).empty());
    EXPECT_EQ(namesAsked, before);
}

TEST(FileOperationsFailures, WithoutMemoryThereIsNoVersion) {
    const velmor_tests::Folder folder;
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

} // namespace
