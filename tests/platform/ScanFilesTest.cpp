// The files of one folder.

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

/// Goes to another current folder, and back.
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

TEST(FileOperationsScan, GivesBareNamesOfFilesAndNoFolders) {
    const TemporaryFolder folder;
    writeFile(folder / "model.ifc", "x");
    writeFile(folder / "empty", "");
    writeFile(folder / "no ending.", "x");
    std::filesystem::create_directory(folder / "folder.ifc");
    writeFile(folder / "folder.ifc" / "deep.ifc", "x");
#if defined(_WIN32)
    EXPECT_THAT(scan(folder.path()), UnorderedElementsAre("model.ifc", "empty", "no ending")); // Win32 cuts the dot
#else
    EXPECT_THAT(scan(folder.path()), UnorderedElementsAre("model.ifc", "empty", "no ending."));
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

TEST(FileOperationsScan, EmptyFolderHasNone) {
    const TemporaryFolder folder;
    EXPECT_THAT(scan(folder.path()), IsEmpty());
    std::filesystem::create_directory(folder / "a");
    EXPECT_THAT(scan(folder.path()), IsEmpty());
}

TEST(FileOperationsScan, WhatIsNoFolderHasNone) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    for (const auto& path : {folder / "missing", folder / "file", folder / "file" / "below", folder / "missing" / "below"}) {
        EXPECT_THAT(scan(path), IsEmpty()) << path;
        EXPECT_THAT(scan(narrow(path) + "/"), IsEmpty()) << path;
    }
    EXPECT_THAT(scan(wide(std::string(5000, 'x'))), IsEmpty());
}

TEST(FileOperationsScan, NameEndsAtItsFirstZero) {
    // The asterisk lies behind the zero then: what is found is the one thing that the name leads to, if it is a file.
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "below");
    writeFile(folder / "below" / "deep", "x");
    const auto cut = [](const std::string& name, const char* behind) { return wide(name) + WideChar{0} + wide(behind); };
    const std::string base = narrow(folder.path());
    for (const char* behind : {"", "more", "*", "/", "\\*"}) {
        EXPECT_THAT(scan(cut(base, behind)), IsEmpty()) << behind;
        EXPECT_THAT(scan(cut(base + "/", behind)), IsEmpty()) << behind;
        EXPECT_THAT(scan(cut(base + "\\below", behind)), IsEmpty()) << behind;
        EXPECT_THAT(scan(cut(base + "/missing", behind)), IsEmpty()) << behind;
        EXPECT_THAT(scan(cut(base + "/file", behind)), ElementsAre("file")) << behind;
        EXPECT_THAT(scan(cut(base + "\\below\\deep", behind)), ElementsAre("deep")) << behind;
        EXPECT_THAT(scan(cut(base + "/*", behind)), ElementsAre("file")) << behind;
        const CurrentFolder current(folder.path());
        EXPECT_THAT(scan(cut("", behind)), IsEmpty()) << behind;
        EXPECT_THAT(scan(cut("below", behind)), IsEmpty()) << behind;
        EXPECT_THAT(scan(cut("file", behind)), ElementsAre("file")) << behind;
    }
}

TEST(FileOperationsScan, EndingSeparatorsMakeNoDifference) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "below");
    writeFile(folder / "below" / "deep", "x");
    for (const char* ending : {"", "\\", "/"}) {
        EXPECT_THAT(scan(wide(narrow(folder.path()) + ending)), ElementsAre("file")) << ending;
        EXPECT_THAT(scan(wide(narrow(folder.path()) + "/below" + ending)), ElementsAre("deep")) << ending;
        EXPECT_THAT(scan(wide(narrow(folder.path()) + "\\below" + ending)), ElementsAre("deep")) << ending;
    }
}

TEST(FileOperationsScan, EmptyNameIsTheCurrentFolder) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "below");
    writeFile(folder / "below" / "deep", "x");
    const CurrentFolder current(folder.path());
    EXPECT_THAT(scan(WideString()), ElementsAre("file"));
    EXPECT_THAT(scan(wide(".")), ElementsAre("file"));
    EXPECT_THAT(scan(wide("below")), ElementsAre("deep"));
    EXPECT_THAT(scan(wide("below\\..")), ElementsAre("file"));
}

TEST(FileOperationsScan, NamesMayHoldAnyCharacter) {
    const TemporaryFolder folder;
    const std::string names[]{"Gr\u00FC\u00DFe.ifc", "\u6E2C\u8A66", "\U0001F600.dwg",
                              "with blank",          "semi;colon",   "percent%s"};
    for (const std::string& name : names)
        writeFile(folder / name.c_str(), "x");
    EXPECT_THAT(scan(folder.path()), testing::UnorderedElementsAreArray(names));
}

TEST(FileOperationsScan, ManyFilesComeInTheSystemsOrder) {
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

TEST(FileOperationsScan, LeavesNoHandleBehind) {
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
TEST(FileOperationsScan, NamesThatAreNoTextCanBeUsed) {
    const TemporaryFolder folder;
    const std::string bytes = "m\xFF\xC3.ifc"; // two bytes that are no part of UTF-8
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

    const std::filesystem::path below = folder.path() / "f\x80";
    std::filesystem::create_directory(below);
    writeFile(below / "file", "x");
    const WideString wideBelow = wide(folder.path()) + VELMOR_WIDE('/') + WideString{WideChar{'f'}, WideChar{0xDC80}};
    EXPECT_TRUE(FileOperations::IsDirectory(wideBelow));
    EXPECT_THAT(scan(wideBelow), ElementsAre("file"));
}

TEST(FileOperationsScan, NamesOfTheSystemNeedNotBeWindowsNames) {
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
    // Only as a name of its own is an asterisk more than a letter.
    EXPECT_THAT(scan(wide(folder.path() / "a*b?") + WideChar{0}), ElementsAre("a*b?"));
    writeFile(folder.path() / "ends in *", "x");
    EXPECT_THAT(scan(wide(folder.path() / "ends in *") + WideChar{0}), ElementsAre("ends in *"));
}

TEST(FileOperationsScan, LinksAreWhatTheyLeadTo) {
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
