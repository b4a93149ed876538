// Paths made absolute and split. What every system treats alike is asked in the table of tests/differential as well; here
// are the statements one by one, and the paths of each system itself.

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
    const char* folder; ///< Empty: there is no file part.
    const char* file;
    const char* stem;
};

void expectSplit(const Split& split) {
    SCOPED_TRACE(split.path);
    const WideString path = wide(split.path);
    EXPECT_EQ(narrow(FileOperations::GetFullPath(path)), split.full);
    EXPECT_EQ(narrow(FileOperations::GetFullFolder(path)), split.folder);
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(path)), split.file);
    if (*split.folder != 0)
        EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(path)), split.stem);
}

/// A path of that many units below a drive, with the file "n.e".
WideString driveLongPath(std::size_t length) {
    const std::string path = "C:\\" + std::string(length - 7, 'f') + "\\n.e";
    EXPECT_EQ(path.size(), length);
    return wide(path);
}

/// The same below the root that paths without a drive have.
WideString nativeLongPath(std::size_t length) {
#if defined(_WIN32)
    return driveLongPath(length);
#else
    return wide("/" + std::string(length - 5, 'f') + "/n.e");
#endif
}

TEST(FileOperationsPaths, DrivePathsAreNormalisedByWindowsRules) {
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

TEST(FileOperationsPaths, PathEndsAtItsFirstZero) {
    WideString path = wide("C:\\x\\y.txt");
    path += WideChar{0};
    path += wide("\\z");
    EXPECT_EQ(narrow(FileOperations::GetFullPath(path)), "C:\\x\\y.txt");
    EXPECT_EQ(narrow(FileOperations::GetFullFolder(path)), "C:\\x\\");
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(path)), "y.txt");
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(path)), "y");
}

TEST(FileOperationsPaths, EmptyPathGivesNothing) {
    for (const WideString& path : {WideString(), WideString(1, WideChar{0})}) {
        EXPECT_EQ(narrow(FileOperations::GetFullPath(path)), "");
        EXPECT_EQ(narrow(FileOperations::GetFullFolder(path)), "");
        EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(path)), "");
    }
}

TEST(FileOperationsPaths, RelativePathsStartInTheCurrentFolder) {
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
TEST(FileOperationsPaths, SystemsPathsAreMadeAbsoluteWithSlashes) {
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

TEST(FileOperationsPaths, WithoutACurrentFolderRelativePathsAreInvalid) {
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

TEST(FileOperationsPaths, LinksAreNotFollowed) {
    const velmor_tests::TemporaryFolder folder;
    std::filesystem::create_directories(folder / "real" / "deep");
    std::filesystem::create_directory_symlink(folder / "real" / "deep", folder / "link");
    const std::string base = narrow(folder.path());
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(base + "/link/../x"))), base + "/x");
}

TEST(FileOperationsPaths, NamesThatAreNoTextPass) {
    // A byte that is no part of UTF-8 stands for itself behind U+DC00.
    const WideString path = wide("/x/") + WideString{WideChar{0xDCFF}, WideChar{'.'}, WideChar{0xDC80}};
    EXPECT_TRUE(FileOperations::GetFullPath(path) == path);
    EXPECT_TRUE(FileOperations::GetFileWithoutPath(path) == path.substr(3));
    EXPECT_TRUE(FileOperations::GetFileWithoutExtenstion(path) == path.substr(3, 1));
}
#endif

// The limits: a buffer of 260 units (258 for the file name), and a return value of at most 520 that is the size of the
// buffer in bytes. All on purpose; what is reported is told in FileOperationsReportTest.cpp.

TEST(FileOperationsPaths, FullPathFitsUpTo259Units) {
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

TEST(FileOperationsPaths, FullFolderNeedsAPathOfUpTo259Units) {
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

TEST(FileOperationsPaths, FileWithoutPathNeedsAPathOfUpTo257Units) {
    for (const auto& make : {driveLongPath, nativeLongPath}) {
        for (std::size_t length = 250; length <= 262; ++length)
            EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(make(length))), length <= 257 ? "n.e" : "") << length;
        for (const std::size_t length : {300u, 518u, 519u, 520u, 521u, 522u, 1000u})
            EXPECT_TRUE(FileOperations::GetFileWithoutPath(make(length)).empty()) << length;
    }
}

TEST(FileOperationsPaths, FileWithoutExtensionNeedsAPathOfUpTo259Units) {
    for (const auto& make : {driveLongPath, nativeLongPath})
        for (std::size_t length = 250; length <= 259; ++length)
            EXPECT_EQ(narrow(FileOperations::GetFileWithoutExtenstion(make(length))), "n") << length;
}

TEST(FileOperationsPaths, LimitsCountTheNormalisedPath) {
    const std::string vanishing = "\\gone\\..";
    const std::string folder = "C:\\" + std::string(200, 'f');
    std::string path = folder;
    for (int i = 0; i < 100; ++i)
        path += vanishing;
    path += "\\n.e";
    ASSERT_GT(path.size(), 520u);
    EXPECT_EQ(narrow(FileOperations::GetFullPath(wide(path))), folder + "\\n.e");
    EXPECT_EQ(narrow(FileOperations::GetFileWithoutPath(wide(path))), "n.e");

    // What is added to a relative path counts.
    const std::size_t current = wide(std::filesystem::current_path()).size();
    ASSERT_LT(current, 250u);
    const auto relative = [&](std::size_t full) { return WideString(full - current - 1, VELMOR_WIDE('r')); };
    EXPECT_EQ(FileOperations::GetFullPath(relative(259)).size(), 259u);
    EXPECT_EQ(FileOperations::GetFullPath(relative(260)).size(), 0u);
    EXPECT_EQ(FileOperations::GetFileWithoutPath(relative(257)).size(), 257 - current - 1);
    EXPECT_EQ(FileOperations::GetFileWithoutPath(relative(258)).size(), 0u);
}

TEST(FileOperationsPaths, LimitsCountUtf16Units) {
    // A character of two units: the second of four bytes in UTF-8, the first of three.
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

// The ending separator
// ------------------------------------------------------------------------------------------------------------

TEST(FileOperationsPaths, EndingSlashIsABackslashUnlessThereIsOne) {
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

TEST(FileOperationsPaths, EndingSlashFollowsTheWholeText) {
    // The path is a text with a length here: a zero within it does not end it, and there is no limit.
    WideString path = wide("a");
    path += WideChar{0};
    EXPECT_TRUE(FileOperations::InsertEndingDirectorySlash(path) == path + VELMOR_WIDE('\\'));
    const WideString longOne(100000, VELMOR_WIDE('d'));
    EXPECT_TRUE(FileOperations::InsertEndingDirectorySlash(longOne) == longOne + VELMOR_WIDE('\\'));
}

} // namespace
