// What the file operations report to a debugger: each message of each function once per process, and a break behind it.

#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Velmor::FileOperations;
using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::runAlone;
using velmor_tests::runUnderDebugger;
using velmor_tests::ScenarioRun;
using velmor_tests::TemporaryFolder;
using velmor_tests::wide;

const std::string invalidDirectory = "Invalid directory.";
const std::string pathFailed = "Invalid pathName, GetFullPathName failed.";
const std::string invalidPath = "Invalid pathName.";
const std::string cacheFile = "Invalid cache file name; filename = ";

/// A path with a drive whose full form has that many units, and which names a file.
WideString drivePath(std::size_t length) {
    return wide("C:\\" + std::string(length - 5, 'f') + "\\n");
}

/// The same of the system's own kind.
WideString ownPath(std::size_t length) {
#if defined(_WIN32)
    return drivePath(length);
#else
    return wide("/" + std::string(length - 3, 'f') + "/n");
#endif
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "wrong: %s\n", what);
        std::exit(1);
    }
}

void expectReports(const ScenarioRun& run, const std::vector<std::string>& reports) {
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(run.reports, reports);
    EXPECT_EQ(run.breaks, static_cast<int>(reports.size()));
    for (std::size_t i = 0; i < run.reportsBeforeBreak.size(); ++i)
        EXPECT_EQ(run.reportsBeforeBreak[i], i + 1); // each break right behind its report
}

constexpr const char* pathVariable = "VELMOR_TEST_PATH";

/// The path that a test told its scenario: "drive 300", "own 300" or the path itself.
WideString toldPath() {
    const std::string telling = velmor_tests::variable(pathVariable).value_or("");
    if (telling.starts_with("drive "))
        return drivePath(std::stoul(telling.substr(6)));
    if (telling.starts_with("own "))
        return ownPath(std::stoul(telling.substr(4)));
    return wide(telling);
}

std::vector<std::string> withPath(const std::string& telling) {
    return {std::string(pathVariable) + "=" + telling};
}

// Which paths are reported
// ------------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(FullPathTwice) {
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFullPath(toldPath()).empty(), "GetFullPath");
}

VELMOR_SCENARIO(FullFolderTwice) {
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFullFolder(toldPath()).empty(), "GetFullFolder");
}

VELMOR_SCENARIO(FileWithoutPathTwice) {
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFileWithoutPath(toldPath()).empty(), "GetFileWithoutPath");
}

struct Case {
    std::string path;
    std::vector<std::string> fullPath;
    std::vector<std::string> fullFolder;
    std::vector<std::string> fileWithoutPath;
};

TEST(FileOperationsReports, PathFunctionsReportWhatTheyRefuse) {
    std::vector<Case> cases{
        {"", {invalidDirectory}, {invalidDirectory}, {pathFailed}},
    };
    for (const std::string kind : {"drive ", "own "}) {
        // One that does not fit and needs at most 520 units: empty, and no fault of the path's as a whole.
        for (const char* length : {"260", "261", "300", "518", "519"})
            cases.push_back({kind + length, {}, {invalidDirectory}, {invalidPath}});
        for (const char* length : {"520", "521", "1000"})
            cases.push_back({kind + length, {invalidDirectory}, {invalidDirectory}, {pathFailed}});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        expectReports(runUnderDebugger("FullPathTwice", withPath(c.path)), c.fullPath);
        expectReports(runUnderDebugger("FullFolderTwice", withPath(c.path)), c.fullFolder);
        expectReports(runUnderDebugger("FileWithoutPathTwice", withPath(c.path)), c.fileWithoutPath);
    }
}

TEST(FileOperationsReports, FolderIsNoFile) {
    for (const char* path : {"C:\\x\\", "C:\\", "\\\\server\\share\\", "x/"}) {
        SCOPED_TRACE(path);
        expectReports(runUnderDebugger("FullFolderTwice", withPath(path)), {invalidDirectory});
        expectReports(runUnderDebugger("FileWithoutPathTwice", withPath(path)), {invalidPath});
    }
}

TEST(FileOperationsReports, FileNameHasABufferOf258Units) {
    for (const char* kind : {"drive ", "own "}) {
        for (const char* length : {"258", "259"}) {
            SCOPED_TRACE(std::string(kind) + length);
            expectReports(runUnderDebugger("FileWithoutPathTwice", withPath(std::string(kind) + length)), {invalidPath});
        }
    }
}

VELMOR_SCENARIO(PathsThatFit) {
    for (const auto& path : {drivePath, ownPath}) {
        require(!FileOperations::GetFullPath(path(259)).empty(), "GetFullPath");
        require(!FileOperations::GetFullFolder(path(259)).empty(), "GetFullFolder");
        require(!FileOperations::GetFileWithoutPath(path(257)).empty(), "GetFileWithoutPath");
        require(!FileOperations::GetFileWithoutExtenstion(path(259)).empty(), "GetFileWithoutExtenstion");
    }
    require(!FileOperations::GetFullPath(wide("C:\\x\\")).empty(), "GetFullPath of a folder");
    for (const std::size_t length : {260u, 300u, 519u}) {
        require(FileOperations::GetFullPath(drivePath(length)).empty(), "GetFullPath too long");
        require(FileOperations::GetFullPath(ownPath(length)).empty(), "GetFullPath too long");
    }
}

TEST(FileOperationsReports, GoodPathsAndFullPathsUpTo519UnitsAreNotReported) {
    expectReports(runUnderDebugger("PathsThatFit"), {});
}

VELMOR_SCENARIO(EveryPathFunction) {
    for (int i = 0; i < 3; ++i) {
        FileOperations::GetFullPath(WideString());
        FileOperations::GetFullFolder(wide("C:\\x\\"));
        FileOperations::GetFileWithoutPath(WideString());
        FileOperations::GetFileWithoutPath(wide("C:\\x\\"));
        FileOperations::GetFullPath(drivePath(600));
        FileOperations::GetFullFolder(drivePath(300));
    }
}

TEST(FileOperationsReports, EachFunctionAndMessageHasItsOwnFlag) {
    const ScenarioRun run = runUnderDebugger("EveryPathFunction");
    expectReports(run, {invalidDirectory, invalidDirectory, pathFailed, invalidPath});
    EXPECT_EQ(run.output, run.channel); // standard output sees them, too
}

TEST(FileOperationsReports, NothingIsReportedWithoutADebugger) {
    const ScenarioRun run = runAlone("EveryPathFunction");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

#if !defined(_WIN32)
// A relative path has no full form when nobody knows the folder that it starts from.
VELMOR_SCENARIO(FullPathInAFolderThatIsGone) {
    {
        const velmor_tests::TemporaryFolder folder;
        std::filesystem::current_path(folder.path());
    }
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFullPath(wide("name")).empty(), "GetFullPath");
}

TEST(FileOperationsReports, APathThatStartsNowhereIsReported) {
    expectReports(runUnderDebugger("FullPathInAFolderThatIsGone"), {invalidDirectory});
}
#endif

// The file name of a cache
// ------------------------------------------------------------------------------------------------------

// What becomes of the call is not defined: it may end the scenario in any way. What is reported before, is.
VELMOR_SCENARIO(FileWithoutExtensionTwice) {
    for (int i = 0; i < 2; ++i) {
        try {
            FileOperations::GetFileWithoutExtenstion(toldPath());
        } catch (...) {
        }
    }
}

TEST(FileOperationsReports, FileWithoutExtensionReportsAPathOutOfRange) {
    // Of the wide path the message shows what comes before its first zero byte, on purpose: the first of ASCII characters.
    for (const char* path : {"drive 520", "drive 1000"}) {
        const ScenarioRun run = runUnderDebugger("FileWithoutExtensionTwice", withPath(path));
        EXPECT_EQ(run.reports, std::vector<std::string>{cacheFile + "C"}) << path;
        EXPECT_EQ(run.breaks, 1);
    }
    const ScenarioRun empty = runUnderDebugger("FileWithoutExtensionTwice", withPath(""));
    EXPECT_EQ(empty.reports, std::vector<std::string>{cacheFile});
    EXPECT_EQ(empty.breaks, 1);
}

TEST(FileOperationsReports, FileWithoutExtensionReportsTheBytesOfUtf16) {
    // U+2D2E is the bytes ".-", U+4142 is "BA"; the letter behind them ends with a zero byte.
    std::string path = "\u2D2E\u4142z";
    path += std::string(600, 'f');
    const ScenarioRun run = runUnderDebugger("FileWithoutExtensionTwice", withPath(path));
    EXPECT_EQ(run.reports, std::vector<std::string>{cacheFile + ".-BAz"});
    EXPECT_EQ(run.breaks, 1);
}

TEST(FileOperationsReports, FileWithoutExtensionReportsNoMissingFile) {
    for (const char* path : {"C:\\x\\", "drive 300", "drive 519"}) {
        const ScenarioRun run = runUnderDebugger("FileWithoutExtensionTwice", withPath(path));
        EXPECT_EQ(run.reports, std::vector<std::string>{}) << path;
        EXPECT_EQ(run.breaks, 0) << path;
    }
}

// Deleting
// ----------------------------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(DeleteTwice) {
    for (int i = 0; i < 2; ++i)
        require(!FileOperations::Delete(toldPath()), "Delete");
    require(!FileOperations::Delete(wide("another missing file")), "Delete");
}

TEST(FileOperationsReports, DeletingReportsTheFirstFailure) {
    const TemporaryFolder folder;
    for (const std::string& path : {std::string("missing file"), narrow(folder / "missing"), narrow(folder.path()),
                                    std::string(), narrow(folder / "Gr\u00FC\u00DFe")}) {
        SCOPED_TRACE(path);
        const std::string shown = StringOperations::ConvertToCurrentLocale(wide(path));
        const ScenarioRun run = runUnderDebugger("DeleteTwice", withPath(path));
        expectReports(run, {"Unable to delete file " + shown + "\n"});
        EXPECT_EQ(run.output, run.channel);
    }
    EXPECT_EQ(runAlone("DeleteTwice", withPath("missing")).output, "");
}

// What is never reported
// --------------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(QuietFailures) {
    const TemporaryFolder folder;
    velmor_tests::writeFile(folder / "file", "x");
    const WideString missing = wide(folder / "missing");
    const WideString file = wide(folder / "file");
    require(!FileOperations::Exists(missing), "Exists");
    require(!FileOperations::IsDirectory(missing), "IsDirectory");
    require(!FileOperations::MakeDirectory(wide(folder / "missing" / "below")), "MakeDirectory");
    require(!FileOperations::MakeDirectory(wide(folder.path())), "MakeDirectory");
    require(!FileOperations::DeleteDirectory(missing), "DeleteDirectory");
    require(!FileOperations::DeleteDirectory(file), "DeleteDirectory");
    require(FileOperations::GetFileSize(missing) == 0, "GetFileSize");
    require(FileOperations::GetFileLastWriteTime(missing) == 0, "GetFileLastWriteTime");
    require(FileOperations::GetFreeBytesAvailable(missing) == 0, "GetFreeBytesAvailable");
    require(FileOperations::ScanFilesInDirectory(missing).empty(), "ScanFilesInDirectory");
    require(!FileOperations::HasReadAccess(missing), "HasReadAccess");
    require(!FileOperations::HasWriteAccess(missing), "HasWriteAccess");
    const int local = 0;
    require(FileOperations::GetModuleByAddress(&local).empty(), "GetModuleByAddress");
    unsigned number = 0;
    require(!FileOperations::GetProductVersion(file, &number, &number, &number, &number), "GetProductVersion");
    require(FileOperations::ConvertToSystemTime(~std::uint64_t{0}).year == 0, "ConvertToSystemTime");
    require(FileOperations::ConvertSystemTimeToDateString({1, 1, 1, 1, 24, 1}).empty(), "ConvertSystemTimeToDateString");
    require(FileOperations::ConvertSystemTimeToTimeString({1, 1, 1, 1, 1, 60}).empty(), "ConvertSystemTimeToTimeString");
    require(!FileOperations::MatchExtension(WideString(), wide("*.ifc")), "MatchExtension");
    require(FileOperations::InsertEndingDirectorySlash(WideString()).empty(), "InsertEndingDirectorySlash");
    require(FileOperations::Delete(file), "Delete");
}

TEST(FileOperationsReports, OtherFailuresAreQuiet) {
    expectReports(runUnderDebugger("QuietFailures"), {});
}

} // namespace
