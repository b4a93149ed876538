// Reports of the file operations to an attached debugger: each message of each function once per process, then a break.

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

/// A path of a file with a drive. Its full path has the given length in units.
WideString drivePath(std::size_t length) {
    return wide("C:\\" + std::string(length - 5, 'f') + "\\n");
}

/// A path of a file in the native form of the system. Its full path has the given length in units.
WideString nativePath(std::size_t length) {
#if defined(_WIN32)
    return drivePath(length);
#else
    return wide("/" + std::string(length - 3, 'f') + "/n");
#endif
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "wrong result: %s\n", what);
        std::exit(1);
    }
}

void expectReports(const ScenarioRun& run, const std::vector<std::string>& reports) {
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(run.reports, reports);
    EXPECT_EQ(run.breaks, static_cast<int>(reports.size()));
    for (std::size_t i = 0; i < run.reportsBeforeBreak.size(); ++i)
        EXPECT_EQ(run.reportsBeforeBreak[i], i + 1); // each break directly after its report
}

constexpr const char* pathVariable = "VELMOR_TEST_PATH";

/// The path that the test passes to the scenario: "drive 300", "native 300" or a path.
WideString pathOfScenario() {
    const std::string text = velmor_tests::setting(pathVariable);
    if (text.starts_with("drive "))
        return drivePath(std::stoul(text.substr(6)));
    if (text.starts_with("native "))
        return nativePath(std::stoul(text.substr(7)));
    return wide(text);
}

std::vector<std::string> withPath(const std::string& text) {
    return {std::string(pathVariable) + "=" + text};
}

// ---- Paths ----

VELMOR_SCENARIO(FullPathTwice) {
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFullPath(pathOfScenario()).empty(), "GetFullPath");
}

VELMOR_SCENARIO(FullFolderTwice) {
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFullFolder(pathOfScenario()).empty(), "GetFullFolder");
}

VELMOR_SCENARIO(FileWithoutPathTwice) {
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFileWithoutPath(pathOfScenario()).empty(), "GetFileWithoutPath");
}

struct Case {
    std::string path;
    std::vector<std::string> fullPath;
    std::vector<std::string> fullFolder;
    std::vector<std::string> fileWithoutPath;
};

TEST(FileOperationsReports, PathFunctionsReportInvalidPaths) {
    std::vector<Case> cases{
        {"", {invalidDirectory}, {invalidDirectory}, {pathFailed}},
    };
    for (const std::string kind : {"drive ", "native "}) {
        // A path that does not fit the buffer but needs at most 520 units: the result is empty without a report.
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

TEST(FileOperationsReports, PathOfAFolderIsReported) {
    for (const char* path : {"C:\\x\\", "C:\\", "\\\\server\\share\\", "x/"}) {
        SCOPED_TRACE(path);
        expectReports(runUnderDebugger("FullFolderTwice", withPath(path)), {invalidDirectory});
        expectReports(runUnderDebugger("FileWithoutPathTwice", withPath(path)), {invalidPath});
    }
}

TEST(FileOperationsReports, FileWithoutPathReportsPathsOver257Units) {
    for (const char* kind : {"drive ", "native "}) {
        for (const char* length : {"258", "259"}) {
            SCOPED_TRACE(std::string(kind) + length);
            expectReports(runUnderDebugger("FileWithoutPathTwice", withPath(std::string(kind) + length)), {invalidPath});
        }
    }
}

VELMOR_SCENARIO(PathsThatFit) {
    for (const auto& path : {drivePath, nativePath}) {
        require(!FileOperations::GetFullPath(path(259)).empty(), "GetFullPath");
        require(!FileOperations::GetFullFolder(path(259)).empty(), "GetFullFolder");
        require(!FileOperations::GetFileWithoutPath(path(257)).empty(), "GetFileWithoutPath");
        require(!FileOperations::GetFileWithoutExtenstion(path(259)).empty(), "GetFileWithoutExtenstion");
    }
    require(!FileOperations::GetFullPath(wide("C:\\x\\")).empty(), "GetFullPath of a folder");
    for (const std::size_t length : {260u, 300u, 519u}) {
        require(FileOperations::GetFullPath(drivePath(length)).empty(), "GetFullPath too long");
        require(FileOperations::GetFullPath(nativePath(length)).empty(), "GetFullPath too long");
    }
}

TEST(FileOperationsReports, ValidPathsAndFullPathsUpTo519UnitsAreNotReported) {
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
    EXPECT_EQ(run.output, run.channel); // standard output has the same text
}

TEST(FileOperationsReports, IsSilentWithoutADebugger) {
    const ScenarioRun run = runAlone("EveryPathFunction");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

#if !defined(_WIN32)
// A relative path has no full path if the current folder does not exist.
VELMOR_SCENARIO(FullPathInARemovedFolder) {
    {
        const velmor_tests::TemporaryFolder folder;
        std::filesystem::current_path(folder.path());
    }
    for (int i = 0; i < 2; ++i)
        require(FileOperations::GetFullPath(wide("name")).empty(), "GetFullPath");
}

TEST(FileOperationsReports, RelativePathInARemovedFolderIsReported) {
    expectReports(runUnderDebugger("FullPathInARemovedFolder"), {invalidDirectory});
}
#endif

// ---- GetFileWithoutExtenstion ----

// The call has no defined result and may end the process. The report precedes this.
VELMOR_SCENARIO(FileWithoutExtensionTwice) {
    for (int i = 0; i < 2; ++i) {
        try {
            FileOperations::GetFileWithoutExtenstion(pathOfScenario());
        } catch (...) {
        }
    }
}

TEST(FileOperationsReports, FileWithoutExtensionReportsAPathOutOfRange) {
    // The message has the bytes of the wide path up to the first zero byte: one character of an ASCII path.
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
    // U+2D2E has the bytes ".-" and U+4142 the bytes "BA"; the second byte of the letter after them is zero.
    std::string path = "\u2D2E\u4142z";
    path += std::string(600, 'f');
    const ScenarioRun run = runUnderDebugger("FileWithoutExtensionTwice", withPath(path));
    EXPECT_EQ(run.reports, std::vector<std::string>{cacheFile + ".-BAz"});
    EXPECT_EQ(run.breaks, 1);
}

TEST(FileOperationsReports, FileWithoutExtensionDoesNotReportAMissingFilePart) {
    for (const char* path : {"C:\\x\\", "drive 300", "drive 519"}) {
        const ScenarioRun run = runUnderDebugger("FileWithoutExtensionTwice", withPath(path));
        EXPECT_EQ(run.reports, std::vector<std::string>{}) << path;
        EXPECT_EQ(run.breaks, 0) << path;
    }
}

// ---- Delete ----

VELMOR_SCENARIO(DeleteTwice) {
    for (int i = 0; i < 2; ++i)
        require(!FileOperations::Delete(pathOfScenario()), "Delete");
    require(!FileOperations::Delete(wide("another missing file")), "Delete");
}

TEST(FileOperationsReports, DeleteReportsTheFirstFailure) {
    const TemporaryFolder folder;
    for (const std::string& path : {std::string("missing file"), narrow(folder / "missing"), narrow(folder.path()),
                                    std::string(), narrow(folder / "Gr\u00FC\u00DFe")}) {
        SCOPED_TRACE(path);
        const std::string converted = StringOperations::ConvertToCurrentLocale(wide(path));
        const ScenarioRun run = runUnderDebugger("DeleteTwice", withPath(path));
        expectReports(run, {"Unable to delete file " + converted + "\n"});
        EXPECT_EQ(run.output, run.channel);
    }
    EXPECT_EQ(runAlone("DeleteTwice", withPath("missing")).output, "");
}

// ---- Failures without a report ----

VELMOR_SCENARIO(FailWithoutReport) {
    const TemporaryFolder folder;
    velmor_tests::writeFile(folder / "file", "x");
    const WideString missing = wide(folder / "missing");
    const WideString file = wide(folder / "file");
    require(!FileOperations::Exists(missing), "Exists");
    require(!FileOperations::IsDirectory(missing), "IsDirectory");
    require(!FileOperations::MakeDirectory(wide(folder / "missing" / "child")), "MakeDirectory");
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

TEST(FileOperationsReports, OtherFailuresAreNotReported) {
    expectReports(runUnderDebugger("FailWithoutReport"), {});
}

} // namespace
