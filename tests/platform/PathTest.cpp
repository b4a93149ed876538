// Absolute paths and their parts. tests/differential has more cases for paths that all systems treat in the same way.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <type_traits>
#include <utility>

#if !defined(_WIN32)
    #include <sys/wait.h>
    #include <unistd.h>
#endif

namespace {

using Velmor::FileOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::wide;

static_assert(!std::is_polymorphic_v<FileOperations>);
static_assert(std::is_empty_v<FileOperations>);
static_assert(std::is_copy_assignable_v<FileOperations>);
static_assert(std::is_move_assignable_v<FileOperations>);

struct Split {
    const char* path;
    const char* full;
    const char* folder; ///< Empty if the path has no file part.
    const char* file;
    const char* stem;
};

void expectSplit(const Split& split) {
    SCOPED_TRACE(split.path);
    const WideString path = wide(split.path);
    EXPECT_EQ(narrow(FileOperations::GetFullPath(path)), split.full);
    EXPECT_EQ(narrow(FileOperations::GetFullFolder(path)), split.folder);
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(path)), split.file);
    if (*split.folder != 0) {
        EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(path)), split.stem);
    }
}

/// A path with a drive, of the given length in units, to the file "n.e".
WideString driveLongPath(std::size_t length) {
    const std::string path = "C:\\" + std::string(length - 7, 'f') + "\\n.e";
    EXPECT_EQ(path.size(), length);
    return wide(path);
}

/// A path of the given length in the native form of the system, to the file "n.e".
WideString nativeLongPath(std::size_t length) {
#if defined(_WIN32)
    return driveLongPath(length);
#else
    return wide("/" + std::string(length - 5, 'f') + "/n.e");
#endif
}

TEST(FileOperationsPaths, NormalizesDrivePathsByTheRulesOfWindows) {
    const Split splits[]{
        {"C:\\x\\y.txt", "C:\\x\\y.txt", "C:\\x\\", "y.txt", "y"},
        {"C:/x/y.txt", "C:\\x\\y.txt", "C:\\x\\", "y.txt", "y"},
        {"C:/x/../y.txt", "C:\\y.txt", "C:\\", "y.txt", "y"},
        {"C:\\x\\.\\y.txt", "C:\\x\\y.txt", "C:\\x\\", "y.txt", "y"},
        {"C:\\x\\\\y.txt", "C:\\x\\y.txt", "C:\\x\\", "y.txt", "y"},
        {"C:\\..\\..\\y.txt", "C:\\y.txt", "C:\\", "y.txt", "y"},
        {"c:\\x\\archive.tar.gz", "c:\\x\\archive.tar.gz", "c:\\x\\", "archive.tar.gz", "archive"},
        {"C:\\x\\archive", "C:\\x\\archive", "C:\\x\\", "archive", "archive"},
        {"C:\\x\\.hidden", "C:\\x\\.hidden", "C:\\x\\", ".hidden", ""},
        {"C:\\x.y\\z", "C:\\x.y\\z", "C:\\x.y\\", "z", "z"},
        {"C:\\x\\y.", "C:\\x\\y", "C:\\x\\", "y", "y"},
        {"C:\\x\\y ", "C:\\x\\y", "C:\\x\\", "y", "y"},
        {"C:\\x\\", "C:\\x\\", "", "", ""},
        {"C:\\x/", "C:\\x\\", "", "", ""},
        {"C:\\", "C:\\", "", "", ""},
        {"C:\\x\\..", "C:\\", "", "", ""},
        {"C:\\x\\y\\..", "C:\\x", "C:\\", "x", "x"},
        {"\\\\server\\share\\x\\y.txt", "\\\\server\\share\\x\\y.txt", "\\\\server\\share\\x\\", "y.txt", "y"},
        {"\\\\server\\share\\x\\..\\..\\y.txt", "\\\\server\\share\\y.txt", "\\\\server\\share\\", "y.txt", "y"},
        {"\\\\server/share/y.txt", "\\\\server\\share\\y.txt", "\\\\server\\share\\", "y.txt", "y"},
        {"C:\\Gr\u00FC\u00DFe\\\u6E2C\u8A66.\U0001F600", "C:\\Gr\u00FC\u00DFe\\\u6E2C\u8A66.\U0001F600",
         "C:\\Gr\u00FC\u00DFe\\", "\u6E2C\u8A66.\U0001F600", "\u6E2C\u8A66"},
    };
    for (const Split& split : splits)
        expectSplit(split);
}

TEST(FileOperationsPaths, PathEndsAtItsFirstNul) {
    WideString path = wide("C:\\x\\y.txt");
    path += WideChar{0};
    path += wide("\\z");
    EXPECT_EQ(narrow(FileOperations::GetFullPath(path)), "C:\\x\\y.txt");
    EXPECT_EQ(narrow(FileOperations::GetFullFolder(path)), "C:\\x\\");
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(path)), "y.txt");
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(path)), "y");
}

TEST(FileOperationsPaths, ReturnsEmptyTextForAnEmptyPath) {
    for (const WideString& path : {WideString(), WideString(1, WideChar{0})}) {
        EXPECT_EQ(narrow(FileOperations::GetFullPath(path)), "");
        EXPECT_EQ(narrow(FileOperations::GetFullFolder(path)), "");
        EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(path)), "");
    }
}

TEST(FileOperationsPaths, RelativePathsAreRelativeToTheCurrentFolder) {
    std::string current = narrow(std::filesystem::current_path());
    const std::string separator(1, static_cast<char>(std::filesystem::path::preferred_separator));
    const std::string above = narrow(std::filesystem::current_path().parent_path());
    for (const char* path :
         {"model.ifc", ".\\model.ifc", "./model.ifc", "x\\..\\model.ifc", "x/../model.ifc", "x\\/..//model.ifc"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(path))), current + separator + "model.ifc");
        EXPECT_EQ(narrow(FileOperations::GetFullFolder(wide(path))), current + separator);
        EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(wide(path))), "model.ifc");
        EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(wide(path))), "model");
    }
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide("."))), current);
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(".."))), above);
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide("x\\y/"))), current + separator + "x" + separator + "y" + separator);
    EXPECT_EQ(narrow(FileOperations::GetFullFolder(wide("x/y\\"))), "");
}

#if !defined(_WIN32)
TEST(FileOperationsPaths, NormalizesNativePathsWithSlashes) {
    const Split splits[]{
        {"/x/y.txt", "/x/y.txt", "/x/", "y.txt", "y"},
        {"\\x\\y.txt", "/x/y.txt", "/x/", "y.txt", "y"},
        {"/x/../y.txt", "/y.txt", "/", "y.txt", "y"},
        {"/x\\..\\y.txt", "/y.txt", "/", "y.txt", "y"},
        {"/x/./y.txt", "/x/y.txt", "/x/", "y.txt", "y"},
        {"/x//y.txt", "/x/y.txt", "/x/", "y.txt", "y"},
        {"/../../y.txt", "/y.txt", "/", "y.txt", "y"},
        {"/x/y/..", "/x", "/", "x", "x"},
        {"/x/y/.", "/x/y", "/x/", "y", "y"},
        {"/x/archive.tar.gz", "/x/archive.tar.gz", "/x/", "archive.tar.gz", "archive"},
        {"/x.y/.hidden", "/x.y/.hidden", "/x.y/", ".hidden", ""},
        {"/x/", "/x/", "", "", ""},
        {"/x\\", "/x/", "", "", ""},
        {"//server/share/y.txt", "/server/share/y.txt", "/server/share/", "y.txt", "y"},
        {"\\/server\\share\\y.txt", "/server/share/y.txt", "/server/share/", "y.txt", "y"},
        {"/\\server\\..\\y.txt", "/y.txt", "/", "y.txt", "y"},
        {"//./y.txt", "/y.txt", "/", "y.txt", "y"},
        {"//?/C:/y.txt", "/?/C:/y.txt", "/?/C:/", "y.txt", "y"},
        {"////x", "/x", "/", "x", "x"},
        {"//", "/", "", "", ""},
        {"\\/", "/", "", "", ""},
        {"/\\", "/", "", "", ""},
        {"/", "/", "", "", ""},
        {"\\", "/", "", "", ""},
        {"/..", "/", "", "", ""},
        {"/Gr\u00FC\u00DFe/\u6E2C\u8A66.\U0001F600", "/Gr\u00FC\u00DFe/\u6E2C\u8A66.\U0001F600", "/Gr\u00FC\u00DFe/",
         "\u6E2C\u8A66.\U0001F600", "\u6E2C\u8A66"},
    };
    for (const Split& split : splits)
        expectSplit(split);
}

TEST(FileOperationsPaths, RelativePathsAreInvalidWithoutACurrentFolder) {
    const pid_t child = fork();
    if (child == 0) {
        {
            const velmor_tests::TemporaryFolder folder;
            std::filesystem::current_path(folder.path());
        }
        char current[4096];
        int wrong = getcwd(current, sizeof current) != nullptr ? 1 : 0;
        wrong |= FileOperations::GetFullPath(wide("model.ifc")).empty() ? 0 : 2;
        wrong |= FileOperations::GetFullFolder(wide("model.ifc")).empty() ? 0 : 4;
        wrong |= FileOperations::GetFileWithoutPath(wide("model.ifc")).empty() ? 0 : 8;
        wrong |= narrow(FileOperations::GetFullPath(wide("/x/model.ifc"))) == "/x/model.ifc" ? 0 : 16;
        _exit(wrong);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(FileOperationsPaths, DoesNotFollowLinks) {
    const velmor_tests::TemporaryFolder folder;
    std::filesystem::create_directories(folder / "real" / "deep");
    std::filesystem::create_directory_symlink(folder / "real" / "deep", folder / "link");
    const std::string base = narrow(folder.path());
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(base + "/link/../x"))), base + "/x");
}

TEST(FileOperationsPaths, NamesMayHaveBytesThatAreNotUtf8) {
    // A byte that is not part of valid UTF-8 is represented by U+DC00 plus its value.
    const WideString path = wide("/x/") + WideString{WideChar{0xDCFF}, WideChar{'.'}, WideChar{0xDC80}};
    EXPECT_TRUE(FileOperations::GetFullPath(path) == path);
    EXPECT_TRUE(FileOperations::GetFileWithoutPath(path) == path.substr(3));
    EXPECT_TRUE(FileOperations::GetFileWithoutExtenstion(path) == path.substr(3, 1));
}
#endif

// The limits: a buffer of 260 units (258 for the file name), and a maximum return value of 520, the size of the buffer in
// bytes. FileOperationsReportTest.cpp tests the reports.

TEST(FileOperationsPaths, FullPathHasAtMost259Units) {
    for (const auto& make : {driveLongPath, nativeLongPath}) {
        for (std::size_t length = 250; length <= 262; ++length) {
            const WideString path = make(length);
            EXPECT_TRUE(FileOperations::GetFullPath(path) == (length <= 259 ? path : WideString())) << length;
        }
        for (std::size_t length = 515; length <= 525; ++length)
            EXPECT_TRUE(FileOperations::GetFullPath(make(length)).empty()) << length;
        for (const std::size_t length : {300u, 1000u, 20000u})
            EXPECT_TRUE(FileOperations::GetFullPath(make(length)).empty()) << length;
    }
}

TEST(FileOperationsPaths, FullFolderIsEmptyForPathsOver259Units) {
    for (const auto& make : {driveLongPath, nativeLongPath}) {
        for (std::size_t length = 250; length <= 262; ++length) {
            const WideString path = make(length);
            EXPECT_TRUE(FileOperations::GetFullFolder(path) == (length <= 259 ? path.substr(0, length - 3) : WideString()))
                << length;
        }
        for (const std::size_t length : {300u, 518u, 519u, 520u, 521u, 522u, 1000u})
            EXPECT_TRUE(FileOperations::GetFullFolder(make(length)).empty()) << length;
    }
}

TEST(FileOperationsPaths, FileWithoutPathIsEmptyForPathsOver257Units) {
    for (const auto& make : {driveLongPath, nativeLongPath}) {
        for (std::size_t length = 250; length <= 262; ++length)
            EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(make(length))), length <= 257 ? "n.e" : "") << length;
        for (const std::size_t length : {300u, 518u, 519u, 520u, 521u, 522u, 1000u})
            EXPECT_TRUE(FileOperations::GetFileWithoutPath(make(length)).empty()) << length;
    }
}

TEST(FileOperationsPaths, FileWithoutExtensionWorksForPathsUpTo259Units) {
    for (const auto& make : {driveLongPath, nativeLongPath})
        for (std::size_t length = 250; length <= 259; ++length)
            EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(make(length))), "n") << length;
}

TEST(FileOperationsPaths, LimitsApplyToTheNormalizedPath) {
    const std::string removed = "\\x\\..";
    const std::string folder = "C:\\" + std::string(200, 'f');
    std::string path = folder;
    for (int i = 0; i < 100; ++i)
        path += removed;
    path += "\\n.e";
    ASSERT_GT(path.size(), 520u);
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(path))), folder + "\\n.e");
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(wide(path))), "n.e");

    // The current folder, which is added to a relative path, counts too.
    const std::size_t current = wide(std::filesystem::current_path()).size();
    ASSERT_LT(current, 250u);
    const auto relative = [&](std::size_t full) { return WideString(full - current - 1, VELMOR_WIDE('r')); };
    EXPECT_EQ(FileOperations::GetFullPath(relative(259)).size(), 259u);
    EXPECT_EQ(FileOperations::GetFullPath(relative(260)).size(), 0u);
    EXPECT_EQ(FileOperations::GetFileWithoutPath(relative(257)).size(), 257 - current - 1);
    EXPECT_EQ(FileOperations::GetFileWithoutPath(relative(258)).size(), 0u);
}

TEST(FileOperationsPaths, LimitsAreInUtf16Units) {
    // One character of two UTF-16 units, and one of three UTF-8 bytes.
    for (const std::string& character : {std::string("\U0001F600"), std::string("\u6E2C")}) {
        const std::size_t units = wide(character).size();
        std::string path = "C:\\";
        while (wide(path).size() + units <= 259)
            path += character;
        EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(path))), path);
        path += character;
        EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(path))), "");
#if !defined(_WIN32)
        std::string native = "/";
        while (wide(native).size() + units <= 259)
            native += character;
        EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(native))), native);
        EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(native + character))), "");
#endif
    }
}

// ---- InsertEndingDirectorySlash ----

TEST(FileOperationsPaths, AppendsABackslashUnlessThePathEndsWithASeparator) {
    const std::pair<const char*, const char*> cases[]{
        {"", ""},
        {"C:\\data", "C:\\data\\"},
        {"C:\\data\\", "C:\\data\\"},
        {"C:/data/", "C:/data/"},
        {"/", "/"},
        {"\\", "\\"},
        {"a\\\\", "a\\\\"},
        {"x", "x\\"},
        {"/home", "/home\\"},
        {"C:", "C:\\"},
        {" ", " \\"},
        {"\u00E9", "\u00E9\\"},
        {"..", "..\\"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(narrow(FileOperations::InsertEndingDirectorySlash(wide(path))), expected) << path;
}

TEST(FileOperationsPaths, AppendsTheBackslashAfterTheWholeText) {
    // A NUL does not end the path here, and its length is not limited.
    WideString path = wide("a");
    path += WideChar{0};
    EXPECT_TRUE(FileOperations::InsertEndingDirectorySlash(path) == path + VELMOR_WIDE('\\'));
    const WideString longPath(100000, VELMOR_WIDE('d'));
    EXPECT_TRUE(FileOperations::InsertEndingDirectorySlash(longPath) == longPath + VELMOR_WIDE('\\'));
}

} // namespace
