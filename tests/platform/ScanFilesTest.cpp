// The list of the files in a folder.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <unistd.h>
#endif

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Velmor::FileOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::TemporaryFolder;
using velmor_tests::wide;
using velmor_tests::writeFile;

std::vector<std::string> scan(const WideString& folder) {
    std::vector<std::string> names;
    for (const WideString& name : FileOperations::ScanFilesInDirectory(folder))
        names.push_back(narrow(name));
    return names;
}

std::vector<std::string> scan(const std::filesystem::path& folder) {
    return scan(wide(folder));
}

/// Changes the current folder, and restores it.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder) : old_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~CurrentFolder() { std::filesystem::current_path(old_); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    std::filesystem::path old_;
};

TEST(FileOperationsScan, ReturnsTheNamesOfFilesWithoutFolders) {
    const TemporaryFolder folder;
    writeFile(folder / "model.ifc", "x");
    writeFile(folder / "empty", "");
    writeFile(folder / "final dot.", "x");
    std::filesystem::create_directory(folder / "folder.ifc");
    writeFile(folder / "folder.ifc" / "deep.ifc", "x");
#if defined(_WIN32)
    EXPECT_THAT(scan(folder.path()), UnorderedElementsAre("model.ifc", "empty", "final dot")); // Win32 removes the dot
#else
    EXPECT_THAT(scan(folder.path()), UnorderedElementsAre("model.ifc", "empty", "final dot."));
#endif
    EXPECT_THAT(scan(folder / "folder.ifc"), ElementsAre("deep.ifc"));
}

TEST(FileOperationsScan, HiddenAndSystemFilesAreIncluded) {
    const TemporaryFolder folder;
    writeFile(folder / ".hidden", "x");
    writeFile(folder / "..two", "x");
    writeFile(folder / "system", "x");
    std::filesystem::create_directory(folder / ".folder");
#if defined(_WIN32)
    ASSERT_TRUE(SetFileAttributesW((folder / ".hidden").c_str(), FILE_ATTRIBUTE_HIDDEN));
    ASSERT_TRUE(SetFileAttributesW((folder / "system").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
#endif
    EXPECT_THAT(scan(folder.path()), UnorderedElementsAre(".hidden", "..two", "system"));
}

TEST(FileOperationsScan, EmptyFolderHasNoFiles) {
    const TemporaryFolder folder;
    EXPECT_THAT(scan(folder.path()), IsEmpty());
    std::filesystem::create_directory(folder / "a");
    EXPECT_THAT(scan(folder.path()), IsEmpty());
}

TEST(FileOperationsScan, MissingFolderHasNoFiles) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    for (const auto& path : {folder / "missing", folder / "file", folder / "file" / "child", folder / "missing" / "child"}) {
        EXPECT_THAT(scan(path), IsEmpty()) << path;
        EXPECT_THAT(scan(narrow(path) + "/"), IsEmpty()) << path;
    }
    EXPECT_THAT(scan(wide(std::string(5000, 'x'))), IsEmpty());
}

TEST(FileOperationsScan, FolderNameEndsAtItsFirstNul) {
    // The asterisk is after the NUL, so the pattern is the name itself; the result is that name if it is a file.
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "child");
    writeFile(folder / "child" / "deep", "x");
    const auto withNul = [](const std::string& name, const char* tail) { return wide(name) + WideChar{0} + wide(tail); };
    const std::string base = narrow(folder.path());
    for (const char* tail : {"", "more", "*", "/", "\\*"}) {
        EXPECT_THAT(scan(withNul(base, tail)), IsEmpty()) << tail;
        EXPECT_THAT(scan(withNul(base + "/", tail)), IsEmpty()) << tail;
        EXPECT_THAT(scan(withNul(base + "\\child", tail)), IsEmpty()) << tail;
        EXPECT_THAT(scan(withNul(base + "/missing", tail)), IsEmpty()) << tail;
        EXPECT_THAT(scan(withNul(base + "/file", tail)), ElementsAre("file")) << tail;
        EXPECT_THAT(scan(withNul(base + "\\child\\deep", tail)), ElementsAre("deep")) << tail;
        EXPECT_THAT(scan(withNul(base + "/*", tail)), ElementsAre("file")) << tail;
        const CurrentFolder current(folder.path());
        EXPECT_THAT(scan(withNul("", tail)), IsEmpty()) << tail;
        EXPECT_THAT(scan(withNul("child", tail)), IsEmpty()) << tail;
        EXPECT_THAT(scan(withNul("file", tail)), ElementsAre("file")) << tail;
    }
}

TEST(FileOperationsScan, FolderMayEndWithASeparator) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "child");
    writeFile(folder / "child" / "deep", "x");
    for (const char* ending : {"", "\\", "/"}) {
        EXPECT_THAT(scan(wide(narrow(folder.path()) + ending)), ElementsAre("file")) << ending;
        EXPECT_THAT(scan(wide(narrow(folder.path()) + "/child" + ending)), ElementsAre("deep")) << ending;
        EXPECT_THAT(scan(wide(narrow(folder.path()) + "\\child" + ending)), ElementsAre("deep")) << ending;
    }
}

TEST(FileOperationsScan, EmptyNameIsTheCurrentFolder) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "child");
    writeFile(folder / "child" / "deep", "x");
    const CurrentFolder current(folder.path());
    EXPECT_THAT(scan(WideString()), ElementsAre("file"));
    EXPECT_THAT(scan(wide(".")), ElementsAre("file"));
    EXPECT_THAT(scan(wide("child")), ElementsAre("deep"));
    EXPECT_THAT(scan(wide("child\\..")), ElementsAre("file"));
}

TEST(FileOperationsScan, NamesMayHaveAnyCharacter) {
    const TemporaryFolder folder;
    const std::string names[]{"Gr\u00FC\u00DFe.ifc", "\u6E2C\u8A66", "\U0001F600.dwg",
                              "with blank",          "semi;colon",   "percent%s"};
    for (const std::string& name : names)
        writeFile(folder / name.c_str(), "x");
    EXPECT_THAT(scan(folder.path()), testing::UnorderedElementsAreArray(names));
}

TEST(FileOperationsScan, ReturnsManyFilesInTheOrderOfTheSystem) {
    const TemporaryFolder folder;
    std::set<std::string> expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string name = "file " + std::to_string(i * 7919 % 1000) + (i % 2 == 0 ? ".ifc" : ".dwg");
        writeFile(folder / name.c_str(), "");
        expected.insert(name);
    }
    for (int i = 0; i < 50; ++i)
        std::filesystem::create_directory(folder / ("folder " + std::to_string(i)).c_str());
    std::vector<std::string> inOrder;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        if (!entry.is_directory())
            inOrder.push_back(narrow(entry.path().filename()));
    const std::vector<std::string> names = scan(folder.path());
    EXPECT_EQ(names, inOrder);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), expected);
    EXPECT_EQ(names.size(), 1000u);
}

TEST(FileOperationsScan, LeaksNoHandle) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    const auto round = [&] {
        scan(folder.path());
        scan(folder / "file");
        scan(folder / "missing");
    };
    round();
    const std::size_t before = velmor_tests::openHandles();
    for (int i = 0; i < 300; ++i)
        round();
    EXPECT_EQ(velmor_tests::openHandles(), before);
}

#if !defined(_WIN32)
TEST(FileOperationsScan, NamesMayHaveBytesThatAreNotUtf8) {
    const TemporaryFolder folder;
    const std::string bytes = "m\xFF\xC3.ifc"; // two bytes that are not part of valid UTF-8
    const std::filesystem::path path = folder.path() / bytes;
    writeFile(path, "four");
    const std::vector<WideString> names = FileOperations::ScanFilesInDirectory(wide(folder.path()));
    ASSERT_EQ(names.size(), 1u);
    EXPECT_TRUE(names[0] == (WideString{WideChar{'m'}, WideChar{0xDCFF}, WideChar{0xDCC3}} + wide(".ifc")));
    const WideString full = wide(folder.path()) + VELMOR_WIDE('/') + names[0];
    EXPECT_TRUE(FileOperations::Exists(full));
    EXPECT_EQ(FileOperations::GetFileSize(full), 4);
    EXPECT_TRUE(FileOperations::Delete(full));
    EXPECT_FALSE(std::filesystem::exists(path));

    const std::filesystem::path child = folder.path() / "f\x80";
    std::filesystem::create_directory(child);
    writeFile(child / "file", "x");
    const WideString wideChild = wide(folder.path()) + VELMOR_WIDE('/') + WideString{WideChar{'f'}, WideChar{0xDC80}};
    EXPECT_TRUE(FileOperations::IsDirectory(wideChild));
    EXPECT_THAT(scan(wideChild), ElementsAre("file"));
}

TEST(FileOperationsScan, NamesMayBeInvalidOnWindows) {
    const TemporaryFolder folder;
    const std::string names[]{"a*b?", "q\"uote", "back\\slash", "colon:", "new\nline", "trailing. "};
    for (const std::string& name : names)
        writeFile(folder.path() / name, "x");
    EXPECT_THAT(scan(folder.path()), testing::UnorderedElementsAreArray(names));
    std::filesystem::create_directory(folder.path() / "we*rd?");
    writeFile(folder.path() / "we*rd?" / "file", "x");
    std::filesystem::create_directory(folder.path() / "we-rd-");
    writeFile(folder.path() / "we-rd-" / "other", "x");
    EXPECT_THAT(scan(folder.path() / "we*rd?"), ElementsAre("file"));
    EXPECT_THAT(scan(folder.path() / "*"), IsEmpty());
    // An asterisk is a wildcard only as the whole name.
    EXPECT_THAT(scan(wide(folder.path() / "a*b?") + WideChar{0}), ElementsAre("a*b?"));
    writeFile(folder.path() / "ends in *", "x");
    EXPECT_THAT(scan(wide(folder.path() / "ends in *") + WideChar{0}), ElementsAre("ends in *"));
}

TEST(FileOperationsScan, FollowsLinks) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder");
    writeFile(folder / "folder" / "file", "x");
    std::filesystem::create_symlink("folder/file", folder / "link to file");
    std::filesystem::create_directory_symlink("folder", folder / "link to folder");
    std::filesystem::create_symlink("nowhere", folder / "link to nothing");
    std::filesystem::create_symlink("link to itself", folder / "link to itself");
    EXPECT_THAT(scan(folder.path()), ElementsAre("link to file"));
    EXPECT_THAT(scan(folder / "link to folder"), ElementsAre("file"));
}
#endif

} // namespace
