#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "TestModule.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <dlfcn.h>
#endif

using namespace velmor_tests;
using Velmor::DynamicLibrary;
using Velmor::WideString;

/// A symbol of the program itself.
VELMOR_TEST_MODULE int velmorProgramAnswer() {
    return 31;
}

namespace {

static_assert(sizeof(DynamicLibrary) == sizeof(void*));
static_assert(!std::is_polymorphic_v<DynamicLibrary>);

using Library = std::unique_ptr<DynamicLibrary>;

Library load(const std::filesystem::path& name, const std::filesystem::path& folder) {
    return Library(DynamicLibrary::loadDynamicLibrary(wide(name), wide(folder)));
}

/// Where the build puts the module of a name; each lies in a folder of its own, and none beside the program.
std::filesystem::path built(const char* folder) {
    return programFolder() / "modules" / folder;
}

std::string file(const char* module) {
    return std::string(module) + moduleEnding;
}

void copy(const char* fromFolder, const char* module, const std::filesystem::path& folder) {
    std::filesystem::copy_file(built(fromFolder) / file(module), folder / file(module));
}

template <typename Result = int>
Result call(const Library& library, const char* symbol) {
    void* address = library->getSymbolAddress(symbol);
    if (address == nullptr) {
        ADD_FAILURE() << "no symbol " << symbol;
        return Result();
    }
    Result (*function)() = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function();
}

/// "PATH" as the module saw it when it was loaded.
std::string pathAtLoad(const Library& library) {
    const void* text = call<const void*>(library, "velmorModulePath");
#if defined(_WIN32)
    return narrow(std::wstring(static_cast<const wchar_t*>(text)));
#else
    return static_cast<const char*>(text);
#endif
}

bool isLoaded(const std::filesystem::path& path) {
#if defined(_WIN32)
    return GetModuleHandleW(path.filename().c_str()) != nullptr;
#else
    void* module = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (module != nullptr)
        dlclose(module);
    return module != nullptr;
#endif
}

void demand(bool condition) {
    if (!condition)
        std::_Exit(1);
}

/// Makes the protected constructor callable.
struct AnyLibrary : DynamicLibrary {
    explicit AnyLibrary(void* module) : DynamicLibrary(module) {}
};

} // namespace

// Loading
// ---------------------------------------------------------------------------------------------------------------------

TEST(DynamicLibrary, LoadsAModuleFromAFolder) {
    for (const std::string& name : {std::string("velmor_module"), file("velmor_module")}) {
        const Library library = load(name, built("first"));
        ASSERT_NE(library, nullptr);
        ASSERT_TRUE(library->isValid()) << name;
        EXPECT_EQ(call(library, "velmorModuleVariant"), 1);
    }
}

TEST(DynamicLibrary, FolderDecidesWhichModuleIsLoaded) {
    for (const int variant : {1, 2, 1}) {
        const Library library = load("velmor_module", built(variant == 1 ? "first" : "second"));
        ASSERT_TRUE(library->isValid());
        EXPECT_EQ(call(library, "velmorModuleVariant"), variant);
    }
}

TEST(DynamicLibrary, FolderStandsBeforeTheOldPath) {
    const VariableSetting path("PATH", narrow(built("first")));
    const Library library = load("velmor_module", built("second"));
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorModuleVariant"), 2);
}

TEST(DynamicLibrary, OldPathIsSearchedToo) {
    const TemporaryFolder empty;
    const VariableSetting path("PATH", narrow(built("second")));
    const Library library = load("velmor_module", empty.path());
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorModuleVariant"), 2);
}

TEST(DynamicLibrary, LoadsAModuleByItsPath) {
    const TemporaryFolder empty;
    const Library library = load(built("second") / file("velmor_module"), empty.path());
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorModuleVariant"), 2);
}

TEST(DynamicLibrary, NamesMayHoldAnyCharacter) {
    const TemporaryFolder folder;
    const auto inner = folder / "Gr\xC3\xBC\xC3\x9F"
                                "e \xE6\xB8\xAC\xE8\xA9\xA6";
    std::filesystem::create_directory(inner);
    const auto name = pathOf(file("Modul \xC3\xBC \xF0\x9F\x98\x80"));
    std::filesystem::copy_file(built("first") / file("velmor_module"), inner / name);
    const Library library = load(name, inner);
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorModuleVariant"), 1);
}

TEST(DynamicLibrary, DependenciesAreFoundInTheFolder) {
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", folder.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    for (const std::filesystem::path& name :
         {std::filesystem::path("velmor_dependent"), std::filesystem::path(file("velmor_dependent")),
          folder.path() / file("velmor_dependent")}) {
        const Library library = load(name, folder.path());
        ASSERT_TRUE(library->isValid()) << name;
        EXPECT_EQ(call(library, "velmorDependentAnswer"), 111);
    }
}

TEST(DynamicLibrary, DependenciesOfAModuleElsewhereAreFoundInTheFolder) {
    const TemporaryFolder apart;
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", apart.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    const Library library = load(apart.path() / file("velmor_dependent"), folder.path());
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorDependentAnswer"), 111);
}

TEST(DynamicLibrary, MissingDependencyGivesNoModule) {
    const TemporaryFolder folder;
    const VariableSetting path("PATH", "some/where");
    copy("dependent", "velmor_dependent", folder.path());
    EXPECT_FALSE(load("velmor_dependent", folder.path())->isValid());
    copy("dependency", "velmor_dependency", folder.path());
    EXPECT_FALSE(load("velmor_dependent", folder.path())->isValid());
    EXPECT_EQ(variable("PATH"), "some/where");
    copy("foundation", "velmor_foundation", folder.path());
    EXPECT_TRUE(load("velmor_dependent", folder.path())->isValid());
}

TEST(DynamicLibrary, WhatIsNoModuleGivesNoModule) {
    const TemporaryFolder folder;
    writeFile(folder / file("text").c_str(), "plain text, and no module");
    writeFile(folder / file("empty").c_str(), "");
    std::filesystem::create_directory(folder / file("folder").c_str());
    for (const std::filesystem::path& name :
         {std::filesystem::path("velmor_no_such_module"), std::filesystem::path("text"), std::filesystem::path("empty"),
          std::filesystem::path("folder"), std::filesystem::path(), folder / "missing" / file("module"), folder.path(),
          folder / file("text").c_str()}) {
        const Library library = load(name, folder.path());
        ASSERT_NE(library, nullptr);
        EXPECT_FALSE(library->isValid()) << name;
        EXPECT_EQ(library->getSymbolAddress("velmorModuleVariant"), nullptr);
        EXPECT_EQ(library->getSymbolAddress(""), nullptr);
    }
    EXPECT_FALSE(load("velmor_module", folder / "missing")->isValid());
    EXPECT_FALSE(load("velmor_module", "")->isValid());
}

// The search path
// -------------------------------------------------------------------------------------------------------------

TEST(DynamicLibrary, FolderStandsFirstInThePathWhileLoading) {
    const std::string folder = narrow(built("first"));
    for (const char* old : {"a", "a b/c d", "", "50%/%PATH%", "a;b:c;;",
                            "Gr\xC3\xBC\xC3\x9F"
                            "e"}) {
        const VariableSetting path("PATH", std::string(old));
        const Library library = load("velmor_module", built("first"));
        ASSERT_TRUE(library->isValid()) << old;
        EXPECT_EQ(pathAtLoad(library), folder + pathSeparator + old);
        EXPECT_EQ(variable("PATH"), old);
    }
}

TEST(DynamicLibrary, EmptyFolderIsLentAsWell) {
    // No check for an empty folder: the path begins with the separator.
    const std::string old = narrow(built("first"));
    const VariableSetting path("PATH", old);
    const Library library = load("velmor_module", "");
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(pathAtLoad(library), pathSeparator + old);
    EXPECT_EQ(variable("PATH"), old);
}

TEST(DynamicLibrary, PathIsRestoredAfterAFailure) {
    const TemporaryFolder folder;
    for (const char* old : {"a", "a b/c d", "", "50%/%PATH%", "a;b:c;;",
                            "Gr\xC3\xBC\xC3\x9F"
                            "e"}) {
        const VariableSetting path("PATH", std::string(old));
        EXPECT_FALSE(load("velmor_no_such_module", folder.path())->isValid());
        EXPECT_EQ(variable("PATH"), old);
    }
}

TEST(DynamicLibrary, MissingPathIsLeftEmpty) {
    {
        const VariableSetting path("PATH", std::nullopt);
        EXPECT_FALSE(load("velmor_no_such_module", "folder")->isValid());
        EXPECT_EQ(variable("PATH"), "");
    }
    const VariableSetting path("PATH", std::nullopt);
    const Library library = load("velmor_module", built("first"));
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(pathAtLoad(library), narrow(built("first")) + pathSeparator);
    EXPECT_EQ(variable("PATH"), "");
}

// The module
// ------------------------------------------------------------------------------------------------------------------

TEST(DynamicLibrary, SymbolsAreFoundByName) {
    const Library library = load("velmor_module", built("first"));
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorModuleVariant"), 1);
    const void* data = library->getSymbolAddress("velmorModuleData");
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(*static_cast<const int*>(data), 4711);
    EXPECT_EQ(library->getSymbolAddress("velmorModuleVariant"), library->getSymbolAddress("velmorModuleVariant"));
    for (const char* missing : {"velmorNoSuchSymbol", "VelmorModuleVariant", "velmorModule", ""})
        EXPECT_EQ(library->getSymbolAddress(missing), nullptr) << missing;
}

TEST(DynamicLibrary, SymbolsOfADependencyAreNotTheModules) {
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", folder.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    const Library library = load("velmor_dependent", folder.path());
    ASSERT_TRUE(library->isValid());
    EXPECT_NE(library->getSymbolAddress("velmorDependentAnswer"), nullptr);
    EXPECT_EQ(library->getSymbolAddress("velmorDependencyAnswer"), nullptr);
    EXPECT_EQ(library->getSymbolAddress("velmorProgramAnswer"), nullptr);
}

TEST(DynamicLibrary, ModuleStaysLoadedUntilItsObjectIsDeleted) {
    const auto path = built("first") / file("velmor_module");
    EXPECT_FALSE(isLoaded(path));
    Library first = load("velmor_module", built("first"));
    Library second = load("velmor_module", built("first"));
    ASSERT_TRUE(first->isValid());
    ASSERT_TRUE(second->isValid());
    EXPECT_EQ(call(first, "velmorModuleCalls"), 1);
    EXPECT_EQ(call(second, "velmorModuleCalls"), 2); // one module, loaded twice
    first.reset();
    EXPECT_TRUE(isLoaded(path));
    EXPECT_EQ(call(second, "velmorModuleCalls"), 3);
    second.reset();
    EXPECT_FALSE(isLoaded(path));
    const Library third = load("velmor_module", built("first"));
    EXPECT_EQ(call(third, "velmorModuleCalls"), 1);
}

TEST(DynamicLibrary, DependenciesLeaveWithTheirModule) {
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", folder.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    Library library = load("velmor_dependent", folder.path());
    ASSERT_TRUE(library->isValid());
    for (const char* module : {"velmor_dependent", "velmor_dependency", "velmor_foundation"})
        EXPECT_TRUE(isLoaded(folder / file(module).c_str())) << module;
    library.reset();
    for (const char* module : {"velmor_dependent", "velmor_dependency", "velmor_foundation"})
        EXPECT_FALSE(isLoaded(folder / file(module).c_str())) << module;
}

TEST(DynamicLibrary, ProtectedConstructorTakesAHandle) {
    AnyLibrary none(nullptr);
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(none.getSymbolAddress("velmorModuleVariant"), nullptr);
}

TEST(DynamicLibrary, ExecutableIsTheProgramItself) {
    for (int i = 0; i < 10; ++i) { // deleting the object does not unload the program
        const Library program(DynamicLibrary::getExecutable());
        ASSERT_NE(program, nullptr);
        EXPECT_TRUE(program->isValid());
        EXPECT_EQ(call(program, "velmorProgramAnswer"), 31);
        EXPECT_EQ(program->getSymbolAddress("velmorNoSuchSymbol"), nullptr);
    }
}

TEST(DynamicLibrary, RoundsLeakNothing) {
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", folder.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    const auto round = [&] {
        EXPECT_TRUE(load("velmor_module", built("first"))->isValid());
        EXPECT_TRUE(load("velmor_dependent", folder.path())->isValid());
        EXPECT_FALSE(load("velmor_no_such_module", folder.path())->isValid());
        EXPECT_TRUE(Library(DynamicLibrary::getExecutable())->isValid());
    };
    round();
    const std::size_t before = openHandles();
    for (int i = 0; i < 100; ++i)
        round();
    EXPECT_EQ(openHandles(), before);
}

// Reports
// ---------------------------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(LoadMissingModules) {
    setVariable("PATH", "some/where");
    demand(!load("velmor_no_such_module", "folder")->isValid());
    demand(variable("PATH") == "some/where");
    demand(!load("velmor_no_such_module", "folder")->isValid());
    demand(!load("velmor_another_module.so", "folder")->isValid());
    demand(variable("PATH") == "some/where");
    setVariable("PATH", std::nullopt);
    demand(!load("velmor_no_such_module", "folder")->isValid());
    demand(variable("PATH") == "");
}

VELMOR_SCENARIO(LoadWhatIsNoModule) {
    const TemporaryFolder folder;
    writeFile(folder / file("velmor_text").c_str(), "plain text, and no module");
    copy("dependent", "velmor_dependent", folder.path());
    demand(!load("velmor_text", folder.path())->isValid());
    demand(!load("velmor_dependent", folder.path())->isValid());
}

VELMOR_SCENARIO(LoadMissingModuleOfOneCharacter) {
    demand(!load("?", "folder")->isValid());
    demand(!load("?", "folder")->isValid());
}

VELMOR_SCENARIO(LoadModules) {
    const Library library = load("velmor_module", built("first"));
    demand(library->isValid());
    demand(library->getSymbolAddress("velmorNoSuchSymbol") == nullptr);
    demand(Library(DynamicLibrary::getExecutable())->isValid());
    demand(AnyLibrary(nullptr).getSymbolAddress("velmorModuleVariant") == nullptr);
}

TEST(DynamicLibrary, EachFailedLoadIsReported) {
    const ScenarioRun run = runUnderDebugger("LoadMissingModules");
    const std::string missing = "LoadLibraryEx(velmor_no_such_module) failed with GetLastError 126\n"; // ERROR_MOD_NOT_FOUND
    const std::string another = "LoadLibraryEx(velmor_another_module.so) failed with GetLastError 126\n";
    EXPECT_EQ(run.reports, (std::vector<std::string>{missing, missing, another, missing}));
    EXPECT_EQ(run.output, missing + missing + another + missing);
    EXPECT_EQ(run.breaks, 0); // told, but not stopped at
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, ReportHoldsTheSystemsCode) {
    const ScenarioRun run = runUnderDebugger("LoadWhatIsNoModule");
    EXPECT_EQ(run.reports,
              (std::vector<std::string>{"LoadLibraryEx(velmor_text) failed with GetLastError 193\n", // ERROR_BAD_EXE_FORMAT
                                        "LoadLibraryEx(velmor_dependent) failed with GetLastError 126\n"}));
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, NameThatDoesNotConvertIsReportedEmpty) {
    const ScenarioRun run = runUnderDebugger("LoadMissingModuleOfOneCharacter");
    ASSERT_EQ(run.reports.size(), 3u);
    EXPECT_EQ(run.reports[0], "StringOperations::ConvertToCurrentLocale, Invalid Conversion.");
    for (const std::size_t i : {1u, 2u})
        EXPECT_TRUE(run.reports[i].starts_with("LoadLibraryEx() failed with GetLastError ")) << run.reports[i];
    EXPECT_EQ(run.breaks, 1); // the conversion's own
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, SuccessIsSilent) {
    const ScenarioRun run = runUnderDebugger("LoadModules");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(DynamicLibrary, NothingIsReportedWithoutADebugger) {
    for (const char* scenario : {"LoadMissingModules", "LoadWhatIsNoModule", "LoadMissingModuleOfOneCharacter"}) {
        const ScenarioRun run = runAlone(scenario);
        EXPECT_TRUE(run.exited) << scenario;
        EXPECT_EQ(run.exitCode, 0u) << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.error, "") << scenario;
    }
}

#if defined(_WIN32)

// Only there can a module refuse to be loaded.
VELMOR_SCENARIO(LoadModuleThatRefusesOnce) {
    setVariable("PATH", "some/where");
    setVariable("VELMOR_MODULE_REFUSALS", "1");
    const Library library = load("velmor_module", built("first"));
    demand(!library->isValid()); // what counts is the first load
    demand(library->getSymbolAddress("velmorModuleVariant") == nullptr);
    demand(variable("VELMOR_MODULE_REFUSALS") == "0");
    demand(!isLoaded(built("first") / file("velmor_module"))); // the second load, made for the report, is undone
    demand(variable("PATH") == "some/where");
}

VELMOR_SCENARIO(LoadModuleThatRefusesTwice) {
    setVariable("VELMOR_MODULE_REFUSALS", "2");
    demand(!load("velmor_module", built("first"))->isValid());
    demand(variable("VELMOR_MODULE_REFUSALS") == (IsDebuggerPresent() ? "0" : "1")); // no second load without a debugger
}

VELMOR_SCENARIO(LoadMissingModuleInAnErrorMode) {
    const UINT mode = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;
    SetErrorMode(mode);
    demand(!load("velmor_no_such_module", "folder")->isValid());
    demand(GetErrorMode() == mode);
}

TEST(DynamicLibrary, SecondLoadIsForTheReportOnly) {
    const ScenarioRun once = runUnderDebugger("LoadModuleThatRefusesOnce");
    EXPECT_EQ(once.exitCode, 0u);
    ASSERT_EQ(once.reports.size(), 1u);
    EXPECT_TRUE(once.channel.starts_with("LoadLibraryEx(velmor_module) failed with GetLastError ")) << once.channel;
    EXPECT_EQ(runAlone("LoadModuleThatRefusesOnce").exitCode, 0u);

    const ScenarioRun twice = runUnderDebugger("LoadModuleThatRefusesTwice");
    EXPECT_EQ(twice.exitCode, 0u);
    EXPECT_EQ(twice.channel, "LoadLibraryEx(velmor_module) failed with GetLastError 1114\n"); // ERROR_DLL_INIT_FAILED
    EXPECT_EQ(runAlone("LoadModuleThatRefusesTwice").exitCode, 0u);
}

TEST(DynamicLibrary, ErrorModeIsRestored) {
    EXPECT_EQ(runUnderDebugger("LoadMissingModuleInAnErrorMode").exitCode, 0u);
    EXPECT_EQ(runAlone("LoadMissingModuleInAnErrorMode").exitCode, 0u);
}

#endif
