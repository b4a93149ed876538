// Reports of DynamicLibrary to an attached debugger.

#include "DynamicLibraries.h"
#include "support/UnderDebugger.h"

#include <cstdlib>
#include <optional>
#include <vector>

using namespace velmor_tests;
using Velmor::DynamicLibrary;

namespace {

/// Ends the scenario with an error unless the condition is true.
void require(bool condition) {
    if (!condition)
        std::_Exit(1);
}

} // namespace

VELMOR_SCENARIO(LoadMissingModules) {
    setVariable("PATH", "some/where");
    require(!load("velmor_no_such_module", "folder")->isValid());
    require(variable("PATH") == "some/where");
    require(!load("velmor_no_such_module", "folder")->isValid());
    require(!load("velmor_another_module.so", "folder")->isValid());
    require(variable("PATH") == "some/where");
    setVariable("PATH", std::nullopt);
    require(!load("velmor_no_such_module", "folder")->isValid());
    require(variable("PATH") == "");
}

VELMOR_SCENARIO(LoadFilesThatAreNotModules) {
    const TemporaryFolder folder;
    writeFile(folder / file("velmor_text").c_str(), "plain text");
    copy("dependent", "velmor_dependent", folder.path());
    require(!load("velmor_text", folder.path())->isValid());
    require(!load("velmor_dependent", folder.path())->isValid());
}

VELMOR_SCENARIO(LoadMissingModuleOfOneCharacter) {
    require(!load("?", "folder")->isValid());
    require(!load("?", "folder")->isValid());
}

VELMOR_SCENARIO(LoadModules) {
    const Library library = load("velmor_module", built("first"));
    require(library->isValid());
    require(library->getSymbolAddress("velmorNoSuchSymbol") == nullptr);
    require(Library(DynamicLibrary::getExecutable())->isValid());
    require(AnyLibrary(nullptr).getSymbolAddress("velmorModuleVariant") == nullptr);
}

TEST(DynamicLibrary, EachFailedLoadIsReported) {
    const ScenarioRun run = runUnderDebugger("LoadMissingModules");
    const std::string missing = "LoadLibraryEx(velmor_no_such_module) failed with GetLastError 126\n"; // ERROR_MOD_NOT_FOUND
    const std::string another = "LoadLibraryEx(velmor_another_module.so) failed with GetLastError 126\n";
    EXPECT_EQ(run.reports, (std::vector<std::string>{missing, missing, another, missing}));
    EXPECT_EQ(run.output, missing + missing + another + missing);
    EXPECT_EQ(run.breaks, 0); // no break follows the report
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, ReportHasTheErrorCode) {
    const ScenarioRun run = runUnderDebugger("LoadFilesThatAreNotModules");
    EXPECT_EQ(run.reports,
              (std::vector<std::string>{"LoadLibraryEx(velmor_text) failed with GetLastError 193\n", // ERROR_BAD_EXE_FORMAT
                                        "LoadLibraryEx(velmor_dependent) failed with GetLastError 126\n"}));
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, ReportHasAnEmptyNameIfTheConversionFails) {
    const ScenarioRun run = runUnderDebugger("LoadMissingModuleOfOneCharacter");
    ASSERT_EQ(run.reports.size(), 3u);
    EXPECT_EQ(run.reports[0], "StringOperations::ConvertToCurrentLocale, Invalid Conversion.");
    for (const std::size_t i : {1u, 2u})
        EXPECT_TRUE(run.reports[i].starts_with("LoadLibraryEx() failed with GetLastError ")) << run.reports[i];
    EXPECT_EQ(run.breaks, 1); // from the report of the conversion
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, SuccessIsNotReported) {
    const ScenarioRun run = runUnderDebugger("LoadModules");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, IsSilentWithoutADebugger) {
    for (const char* scenario : {"LoadMissingModules", "LoadFilesThatAreNotModules", "LoadMissingModuleOfOneCharacter"}) {
        const ScenarioRun run = runAlone(scenario);
        EXPECT_TRUE(run.exited) << scenario;
        EXPECT_EQ(run.exitCode, 0u) << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.error, "") << scenario;
    }
}

#if defined(_WIN32)

// Only Windows lets a module reject its own load.
VELMOR_SCENARIO(LoadModuleThatFailsOnce) {
    setVariable("PATH", "some/where");
    setVariable("VELMOR_MODULE_REFUSALS", "1");
    const Library library = load("velmor_module", built("first"));
    require(!library->isValid()); // the result is that of the first load
    require(library->getSymbolAddress("velmorModuleVariant") == nullptr);
    require(variable("VELMOR_MODULE_REFUSALS") == "0");
    require(!isLoaded(built("first") / file("velmor_module"))); // the second load was only for the report
    require(variable("PATH") == "some/where");
}

VELMOR_SCENARIO(LoadModuleThatFailsTwice) {
    setVariable("VELMOR_MODULE_REFUSALS", "2");
    require(!load("velmor_module", built("first"))->isValid());
    require(variable("VELMOR_MODULE_REFUSALS") == (IsDebuggerPresent() ? "0" : "1")); // no second load without a debugger
}

VELMOR_SCENARIO(LoadMissingModuleInAnErrorMode) {
    const UINT mode = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;
    SetErrorMode(mode);
    require(!load("velmor_no_such_module", "folder")->isValid());
    require(GetErrorMode() == mode);
}

TEST(DynamicLibrary, SecondLoadIsOnlyForTheReport) {
    const ScenarioRun once = runUnderDebugger("LoadModuleThatFailsOnce");
    EXPECT_EQ(once.exitCode, 0u);
    ASSERT_EQ(once.reports.size(), 1u);
    EXPECT_TRUE(once.channel.starts_with("LoadLibraryEx(velmor_module) failed with GetLastError ")) << once.channel;
    EXPECT_EQ(runAlone("LoadModuleThatFailsOnce").exitCode, 0u);

    const ScenarioRun twice = runUnderDebugger("LoadModuleThatFailsTwice");
    EXPECT_EQ(twice.exitCode, 0u);
    EXPECT_EQ(twice.channel, "LoadLibraryEx(velmor_module) failed with GetLastError 1114\n"); // ERROR_DLL_INIT_FAILED
    EXPECT_EQ(runAlone("LoadModuleThatFailsTwice").exitCode, 0u);
}

TEST(DynamicLibrary, ErrorModeIsRestored) {
    EXPECT_EQ(runUnderDebugger("LoadMissingModuleInAnErrorMode").exitCode, 0u);
    EXPECT_EQ(runAlone("LoadMissingModuleInAnErrorMode").exitCode, 0u);
}

#endif
