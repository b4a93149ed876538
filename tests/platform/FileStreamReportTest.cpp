// Reports of FileStream to an attached debugger.

#include "FileStreams.h"
#include "support/UnderDebugger.h"

#include <cstdlib>

#if !defined(_WIN32)
    #include <fcntl.h>
#endif

using namespace velmor_tests;
using Velmor::FileStream;

namespace {

/// For each break, the number of reports before it.
using Order = std::vector<std::size_t>;

} // namespace

VELMOR_SCENARIO(OpenMissingFiles) {
    openFile("no-such-folder/first.bin");
    openFile("no-such-folder/second.bin");
}

VELMOR_SCENARIO(CreateInMissingFolder) {
    createFile("no-such-folder/first.bin");
    createFile("no-such-folder/second.bin");
}

VELMOR_SCENARIO(OpenAndCreateMissingFiles) {
    createFile("no-such-folder/first.bin");
    openFile("no-such-folder/second.bin");
    createFile("no-such-folder/third.bin");
    openFile("no-such-folder/fourth.bin");
}

VELMOR_SCENARIO(CreateTemporaryInMissingFolder) {
    for (int i = 0; i < 3; ++i) {
        const Stream stream = createTemporary();
        if (stream == nullptr || holdsFile(stream))
            std::_Exit(1);
    }
}

VELMOR_SCENARIO(WriteToNoHandle) {
    for (int i = 0; i < 2; ++i)
        put(Stream(new FileStream), "text");
}

VELMOR_SCENARIO(WriteToAReader) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream stream = openFile(folder / "file");
    put(stream, "text");
    put(stream, "text");
    put(Stream(new FileStream), "text");
}

VELMOR_SCENARIO(ReadSeekAndQueryWithoutHandle) {
    FileStream stream;
    std::vector<char> block;
    stream.read(10, block);
    stream.seekToBegin();
    stream.seekToOffset(5);
    stream.isValid();
}

VELMOR_SCENARIO(SucceedWithFiles) {
    const TemporaryFolder folder;
    put(createFile(folder / "file"), "content");
    take(openFile(folder / "file"), 10);
    put(createTemporary(), "content");
}

VELMOR_SCENARIO(OpenMissingFileOfOneCharacter) {
    openFile("?");
    openFile("?");
}

VELMOR_SCENARIO(OpenMissingFileOfOneCharacterLater) {
    openFile("no-such-folder/first.bin");
    openFile("?");
}

TEST(FileStream, OpeningIsReportedOnce) {
    const ScenarioRun run = runUnderDebugger("OpenMissingFiles");
    EXPECT_EQ(run.channel, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.output, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.reportsBeforeBreak, Order{1});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(FileStream, CreatingIsReportedOnceWithTheMessageForReading) {
    const ScenarioRun run = runUnderDebugger("CreateInMissingFolder");
    EXPECT_EQ(run.channel, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.reportsBeforeBreak, Order{1});
}

TEST(FileStream, OpeningAndCreatingAreReportedSeparately) {
    const ScenarioRun run = runUnderDebugger("OpenAndCreateMissingFiles");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"opening of file no-such-folder/first.bin for reading failed.",
                                                     "opening of file no-such-folder/second.bin for reading failed."}));
    EXPECT_EQ(run.reportsBeforeBreak, (Order{1, 2}));
}

TEST(FileStream, FailedTemporaryFileIsReportedOnce) {
    const TemporaryFolder folder;
    const std::string missing = std::string(temporaryFolderVariable) + "=" + narrow(folder / "missing");
    const ScenarioRun run = runUnderDebugger("CreateTemporaryInMissingFolder", {missing});
    EXPECT_EQ(run.channel, "creation of temporary file failed.");
    EXPECT_EQ(run.output, "creation of temporary file failed.");
    EXPECT_EQ(run.reportsBeforeBreak, Order{1});
    EXPECT_EQ(run.exitCode, 0u);
    const ScenarioRun alone = runAlone("CreateTemporaryInMissingFolder", {missing});
    EXPECT_EQ(alone.output, "");
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.exitCode, 0u);
}

TEST(FileStream, FailedWriteIsReportedOnceWithTheErrorCode) {
    const ScenarioRun invalid = runUnderDebugger("WriteToNoHandle");
    EXPECT_EQ(invalid.channel, "Error writing to file, 6\n"); // ERROR_INVALID_HANDLE
    EXPECT_EQ(invalid.reportsBeforeBreak, Order{1});
    const ScenarioRun denied = runUnderDebugger("WriteToAReader");
    EXPECT_EQ(denied.channel, "Error writing to file, 5\n"); // ERROR_ACCESS_DENIED
    EXPECT_EQ(denied.output, "Error writing to file, 5\n");
    EXPECT_EQ(denied.reportsBeforeBreak, Order{1});
}

#if !defined(_WIN32)
VELMOR_SCENARIO(WriteToAFullDisk) {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    const Stream stream(FileStream::createFromHandle(reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(full))));
    if (full < 0 || put(stream, "text"))
        std::_Exit(1);
}

TEST(FileStream, FullDiskIsReportedWithItsErrorCode) {
    const ScenarioRun run = runUnderDebugger("WriteToAFullDisk");
    EXPECT_EQ(run.channel, "Error writing to file, 112\n"); // ERROR_DISK_FULL
    EXPECT_EQ(run.exitCode, 0u);
}

VELMOR_SCENARIO(OpenMissingFileWithUmlaut) {
    openFile(pathOf("no-such-folder/Gr\xC3\xBC\xC3\x9F"
                    "e.bin"));
}

TEST(FileStream, ReportHasThePathInTheCodePageOfTheLocale) {
    EXPECT_EQ(runUnderDebugger("OpenMissingFileWithUmlaut", {"LC_ALL=C.UTF-8"}).channel,
              "opening of file no-such-folder/Gr\xC3\xBC\xC3\x9F"
              "e.bin for reading failed.");
}
#endif

TEST(FileStream, ReportHasAnEmptyPathIfTheConversionFails) {
    // The conversion of a text of one character fails, with its own report.
    const ScenarioRun run = runUnderDebugger("OpenMissingFileOfOneCharacter");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"StringOperations::ConvertToCurrentLocale, Invalid Conversion.",
                                                     "opening of file  for reading failed."}));
    EXPECT_EQ(run.reportsBeforeBreak, (Order{1, 2}));
}

TEST(FileStream, PathIsConvertedOnlyForTheReport) {
    const ScenarioRun run = runUnderDebugger("OpenMissingFileOfOneCharacterLater");
    EXPECT_EQ(run.channel, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.breaks, 1);
}

TEST(FileStream, OtherOperationsReportNothing) {
    for (const char* scenario : {"ReadSeekAndQueryWithoutHandle", "SucceedWithFiles"}) {
        const ScenarioRun run = runUnderDebugger(scenario);
        EXPECT_EQ(run.channel, "") << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.breaks, 0) << scenario;
    }
}

TEST(FileStream, IsSilentWithoutADebugger) {
    for (const char* scenario : {"OpenAndCreateMissingFiles", "WriteToNoHandle", "WriteToAReader"}) {
        const ScenarioRun run = runAlone(scenario);
        EXPECT_TRUE(run.exited) << scenario;
        EXPECT_EQ(run.exitCode, 0u) << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.error, "") << scenario;
    }
}
