// The file name of the module that contains an address.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <dlfcn.h>
    #include <fcntl.h>
    #include <sys/mman.h>
    #include <unistd.h>
#endif

namespace {

using Velmor::DynamicLibrary;
using Velmor::FileOperations;
using velmor_tests::narrow;
using velmor_tests::TemporaryFolder;
using velmor_tests::wide;

int dataOfTheProgram = 1;
int zeroDataOfTheProgram;
const char constantOfTheProgram[] = "a constant";

void functionOfTheProgram() {}

template <class Function>
const void* addressOf(Function* function) {
    return reinterpret_cast<const void*>(function);
}

std::string module(const void* address) {
    return narrow(FileOperations::GetModuleByAddress(address));
}

std::filesystem::path programPath() {
    return velmor_tests::pathOf(velmor_tests::programPath());
}

using Library = std::unique_ptr<DynamicLibrary>;

void copyModule(const std::filesystem::path& path) {
    const std::string name = std::string("velmor_module") + velmor_tests::moduleEnding;
    std::filesystem::copy_file(programPath().parent_path() / "modules" / "first" / name, path);
}

/// Copies the test module to this path and loads the copy.
Library loadCopy(const std::filesystem::path& path) {
    copyModule(path);
    return Library(DynamicLibrary::loadDynamicLibrary(wide(path), wide(path.parent_path())));
}

TEST(FileOperationsModules, ReturnsTheProgramForItsAddresses) {
    const std::string program = narrow(programPath());
    EXPECT_TRUE(std::filesystem::path(program).is_absolute());
    EXPECT_EQ(module(addressOf(&functionOfTheProgram)), program);
    EXPECT_EQ(module(&dataOfTheProgram), program);
    EXPECT_EQ(module(&zeroDataOfTheProgram), program);
    EXPECT_EQ(module(constantOfTheProgram), program);
}

TEST(FileOperationsModules, ReturnsTheLibraryForItsAddresses) {
    const auto path = velmor_tests::pathOf(module(addressOf(&FileOperations::GetModuleByAddress)));
    EXPECT_TRUE(path.is_absolute());
    EXPECT_EQ(narrow(path.stem()), std::string(velmor_tests::programEnding).empty() ? "libVelmor-3.91" : "Velmor-3.91");
    EXPECT_EQ(narrow(path.extension()), velmor_tests::moduleEnding);
    EXPECT_TRUE(std::filesystem::equivalent(path.parent_path(), programPath().parent_path())) << path;
}

TEST(FileOperationsModules, ReturnsALoadedModuleForItsAddresses) {
    const TemporaryFolder folder;
    const auto path = folder / (std::string("Gr\u00FC\u00DFe \u6E2C") + velmor_tests::moduleEnding).c_str();
    const Library library = loadCopy(path);
    ASSERT_TRUE(library->isValid());
    EXPECT_EQ(module(library->getSymbolAddress("velmorModuleVariant")), narrow(path));
    EXPECT_EQ(module(library->getSymbolAddress("velmorModuleData")), narrow(path));
    EXPECT_EQ(module(static_cast<const char*>(library->getSymbolAddress("velmorModuleVariant")) + 1), narrow(path));
}

TEST(FileOperationsModules, ReturnsEmptyTextForAnUnloadedModule) {
    const TemporaryFolder folder;
    Library library = loadCopy(folder / (std::string("module") + velmor_tests::moduleEnding).c_str());
    ASSERT_TRUE(library->isValid());
    const void* address = library->getSymbolAddress("velmorModuleVariant");
    ASSERT_NE(module(address), "");
    library.reset(); // the query has not added a reference
    EXPECT_EQ(module(address), "");
}

/// A module that was loaded by a relative name. The current folder is a different one now.
class RelativelyLoaded {
public:
    RelativelyLoaded() {
        copyModule(path_);
        const auto old = std::filesystem::current_path();
        std::filesystem::current_path(folder_.path());
        library_.reset(DynamicLibrary::loadDynamicLibrary(wide("./" + narrow(path_.filename())), wide(".")));
        nameInside_ = name();
        std::filesystem::current_path(old);
    }

    const std::filesystem::path& path() const { return path_; }
    const std::string& nameInside() const { return nameInside_; } ///< The name before the change of the folder.
    std::string name() const { return module(library_->getSymbolAddress("velmorModuleVariant")); }

private:
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / (std::string("module") + velmor_tests::moduleEnding).c_str();
    Library library_;
    std::string nameInside_;
};

TEST(FileOperationsModules, NameIsAbsoluteAfterALoadByARelativeName) {
    const RelativelyLoaded loaded;
    EXPECT_EQ(loaded.nameInside(), narrow(loaded.path()));
}

TEST(FileOperationsModules, NameDoesNotChangeWithTheCurrentFolder) {
    const RelativelyLoaded loaded;
    EXPECT_EQ(loaded.name(), narrow(loaded.path()));
}

#if !defined(_WIN32)
TEST(FileOperationsModules, NameDoesNotChangeWhenTheFileIsDeleted) {
    const RelativelyLoaded loaded;
    std::filesystem::remove(loaded.path());
    EXPECT_EQ(loaded.name(), narrow(loaded.path()));
    velmor_tests::writeFile(loaded.path(), "another file");
    EXPECT_EQ(loaded.name(), narrow(loaded.path()));
}

VELMOR_SCENARIO(PrintTheNameOfTheDeletedProgram) {
    std::filesystem::remove(programPath());
    std::printf("%s\n", module(&dataOfTheProgram).c_str());
}

TEST(FileOperationsModules, NameDoesNotChangeWhenTheProgramIsDeleted) {
    const TemporaryFolder folder;
    for (const char* name : {"program", "program (deleted)"}) {
        const auto copy = folder / name;
        std::filesystem::copy_file(programPath(), copy);
        const std::string command =
            "\"" + narrow(copy) + "\" " + velmor_tests::scenarioArgument + "PrintTheNameOfTheDeletedProgram";
        FILE* const output = popen(command.c_str(), "r");
        ASSERT_NE(output, nullptr);
        char line[1000]{};
        EXPECT_NE(std::fgets(line, sizeof line, output), nullptr);
        EXPECT_EQ(pclose(output), 0);
        EXPECT_EQ(line, narrow(copy) + "\n");
        EXPECT_FALSE(std::filesystem::exists(copy));
    }
}
#endif

TEST(FileOperationsModules, ReturnsTheProgramForNull) {
    // GetModuleHandleEx returns the program for a null name.
    EXPECT_EQ(module(nullptr), narrow(programPath()));
}

TEST(FileOperationsModules, ReturnsEmptyTextForOtherAddresses) {
    const auto heap = std::make_unique<int>(1);
    const int local = 1;
    EXPECT_EQ(module(heap.get()), "");
    EXPECT_EQ(module(&local), "");
    for (const std::uintptr_t value : {std::uintptr_t{1}, std::uintptr_t{4096}, ~std::uintptr_t{0}, ~std::uintptr_t{0} / 2})
        EXPECT_EQ(module(reinterpret_cast<const void*>(value)), "") << value;
}

TEST(FileOperationsModules, ReturnsEmptyTextForAMappedFile) {
    const TemporaryFolder folder;
    const auto path = folder / "data";
    velmor_tests::writeFile(path, std::string(100'000, 'x'));
#if defined(_WIN32)
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    void* view = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(module(view), "");
    UnmapViewOfFile(view);
    CloseHandle(mapping);
    CloseHandle(file);
#else
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    void* view = mmap(nullptr, 100'000, PROT_READ, MAP_PRIVATE, descriptor, 0);
    ASSERT_NE(view, MAP_FAILED);
    EXPECT_EQ(module(view), "");
    munmap(view, 100'000);
    close(descriptor);
#endif
}

TEST(FileOperationsModules, ReturnsModulesOfTheSystem) {
#if defined(_WIN32)
    const auto path = velmor_tests::pathOf(module(addressOf(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "Sleep"))));
    EXPECT_EQ(narrow(path.stem()), "kernel32");
#else
    const auto path = velmor_tests::pathOf(module(dlsym(RTLD_DEFAULT, "getppid")));
    EXPECT_EQ(narrow(path.filename()).substr(0, 4), "libc");
#endif
    EXPECT_TRUE(path.is_absolute());
    EXPECT_TRUE(std::filesystem::exists(path)) << path;
}

TEST(FileOperationsModules, NameIsCutAt259Units) {
    const TemporaryFolder folder;
    auto path = folder.path();
    for (int i = 0; i < 3; ++i) {
        path /= std::string(80, 'd');
        std::filesystem::create_directory(path);
    }
    path /= std::string("module") + velmor_tests::moduleEnding;
    ASSERT_GT(wide(path).size(), 262u);
    const Library library = loadCopy(path);
    ASSERT_TRUE(library->isValid());
    const auto name = FileOperations::GetModuleByAddress(library->getSymbolAddress("velmorModuleVariant"));
    EXPECT_EQ(name.size(), 259u); // a buffer of 260 units, with the terminating NUL
    EXPECT_TRUE(name == wide(path).substr(0, name.size())) << narrow(name);
}

} // namespace
