#include "DynamicLibraries.h"
#include "TestModule.h"

#include <optional>
#include <type_traits>

using namespace velmor_tests;
using Velmor::DynamicLibrary;

/// A symbol of the program.
VELMOR_TEST_MODULE int velmorProgramValue() {
    return 31;
}

static_assert(sizeof(DynamicLibrary) == sizeof(void*));
static_assert(!std::is_polymorphic_v<DynamicLibrary>);

// ---- Loading ----

TEST(DynamicLibrary, LoadsAModuleFromAFolder) {
    for (const std::string& name : {std::string("velmor_module"), file("velmor_module")}) {
        const Library library = load(name, built("first"));
        ASSERT_NE(library, nullptr);
        ASSERT_TRUE(library->isValid()) << name;
        EXPECT_EQ(call(library, "velmorModuleVariant"), 1);
    }
}

TEST(DynamicLibrary, LoadsTheModuleOfTheGivenFolder) {
    for (const int variant : {1, 2, 1}) {
        const Library library = load("velmor_module", built(variant == 1 ? "first" : "second"));
        ASSERT_TRUE(library->isValid());
        EXPECT_EQ(call(library, "velmorModuleVariant"), variant);
    }
}

TEST(DynamicLibrary, FolderHasPriorityOverThePath) {
    const VariableSetting path("PATH", narrow(built("first")));
    const Library library = load("velmor_module", built("second"));
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorModuleVariant"), 2);
}

TEST(DynamicLibrary, PathIsAlsoSearched) {
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

TEST(DynamicLibrary, FolderAndNameMayHaveAnyCharacter) {
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
        EXPECT_EQ(call(library, "velmorDependentValue"), 111);
    }
}

TEST(DynamicLibrary, DependenciesOfAModuleInAnotherFolderAreFoundInTheFolder) {
    const TemporaryFolder apart;
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", apart.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    const Library library = load(apart.path() / file("velmor_dependent"), folder.path());
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(call(library, "velmorDependentValue"), 111);
}

TEST(DynamicLibrary, LoadFailsWithoutADependency) {
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

TEST(DynamicLibrary, LoadFailsForFilesThatAreNotModules) {
    const TemporaryFolder folder;
    writeFile(folder / file("text").c_str(), "plain text");
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

// ---- The search path ----

TEST(DynamicLibrary, FolderIsFirstInThePathDuringTheLoad) {
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

TEST(DynamicLibrary, EmptyFolderIsAlsoAddedToThePath) {
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

TEST(DynamicLibrary, MissingPathIsEmptyAfterTheLoad) {
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

// ---- The module ----

TEST(DynamicLibrary, FindsSymbolsByName) {
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

TEST(DynamicLibrary, DoesNotFindSymbolsOfDependencies) {
    const TemporaryFolder folder;
    copy("dependent", "velmor_dependent", folder.path());
    copy("dependency", "velmor_dependency", folder.path());
    copy("foundation", "velmor_foundation", folder.path());
    const Library library = load("velmor_dependent", folder.path());
    ASSERT_TRUE(library->isValid());
    EXPECT_NE(library->getSymbolAddress("velmorDependentValue"), nullptr);
    EXPECT_EQ(library->getSymbolAddress("velmorDependencyValue"), nullptr);
    EXPECT_EQ(library->getSymbolAddress("velmorProgramValue"), nullptr);
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

TEST(DynamicLibrary, DependenciesAreUnloadedWithTheirModule) {
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

TEST(DynamicLibrary, ProtectedConstructorStoresTheHandle) {
    AnyLibrary none(nullptr);
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(none.getSymbolAddress("velmorModuleVariant"), nullptr);
}

TEST(DynamicLibrary, GetExecutableReturnsTheProgram) {
    for (int i = 0; i < 10; ++i) { // deleting the object does not unload the program
        const Library program(DynamicLibrary::getExecutable());
        ASSERT_NE(program, nullptr);
        EXPECT_TRUE(program->isValid());
        EXPECT_EQ(call(program, "velmorProgramValue"), 31);
        EXPECT_EQ(program->getSymbolAddress("velmorNoSuchSymbol"), nullptr);
    }
}

TEST(DynamicLibrary, LeaksNothing) {
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
