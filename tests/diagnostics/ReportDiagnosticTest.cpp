// Messages on the debugger channel and on standard output, and breaks.

#include "ScenarioTexts.h"
#include "diagnostics/Diagnostics.h"
#include "support/UnderDebugger.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#endif

namespace {

using namespace velmor_tests;
using testing::ElementsAre;
using testing::StartsWith;
using Velmor::diagnostics::breakIntoDebugger;
using Velmor::diagnostics::reportDiagnostic;
using Velmor::diagnostics::ReportOnce;

// ---- Without a debugger ----

// An invalid address: formatting it crashes.
const char* unreadable() {
    static volatile std::uintptr_t address = 8;
    return reinterpret_cast<const char*>(address);
}

VELMOR_SCENARIO(ReportAndBreakWithoutDebugger) {
    reportDiagnostic(4, "a message\n");
    reportDiagnostic(4, "never formatted: %s", unreadable());
    breakIntoDebugger();
    static ReportOnce once;
    once([] { reportDiagnostic(4, "once"); });
    once();
    std::fputs("continued", stderr);
}

TEST(Diagnostics, AreNeitherFormattedNorPrintedWithoutADebugger) {
    const ScenarioRun run = runAlone("ReportAndBreakWithoutDebugger");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "continued");
}

#if defined(_WIN32)
VELMOR_SCENARIO(PrintControlText) {
    OutputDebugStringA("control");
}

// Any program can read the debugger channel of a process that no debugger is attached to.
TEST(Diagnostics, DoNotReachASystemWideListenerWithoutADebugger) {
    const HANDLE ready = CreateEventW(nullptr, FALSE, TRUE, L"DBWIN_BUFFER_READY");
    const HANDLE filled = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
    const HANDLE section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER");
    ASSERT_TRUE(ready != nullptr && filled != nullptr && section != nullptr);
    runAlone("ReportAndBreakWithoutDebugger");
    EXPECT_EQ(WaitForSingleObject(filled, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    runAlone("PrintControlText");
    EXPECT_EQ(WaitForSingleObject(filled, 120000), WAIT_OBJECT_0);
    for (const HANDLE handle : {ready, filled, section})
        CloseHandle(handle);
}
#endif

// ---- Under a debugger ----

VELMOR_SCENARIO(ReportPlainTexts) {
    reportDiagnostic(4, "first");
    reportDiagnostic(4, "second\n");
    reportDiagnostic(4, "\n\tthird ");
}

TEST(ReportDiagnostic, PrintsTheUnchangedTextOnBothChannels) {
    const ScenarioRun run = runUnderDebugger("ReportPlainTexts");
    EXPECT_THAT(run.reports, ElementsAre("first", "second\n", "\n\tthird "));
    EXPECT_EQ(run.output, "firstsecond\n\n\tthird ");
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(run.breaks, 0);
    EXPECT_TRUE(run.exited);
}

VELMOR_SCENARIO(ReportEmptyText) {
    std::string empty;
    reportDiagnostic(4, "%s", empty.c_str());
}

TEST(ReportDiagnostic, EmptyMessagePrintsNothing) {
    const ScenarioRun run = runUnderDebugger("ReportEmptyText");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.exited);
}

VELMOR_SCENARIO(ReportAtLevels) {
    for (const int level : {INT_MIN, -1, 0, 1, 3, 4, 5, INT_MAX})
        reportDiagnostic(level, "x");
}

TEST(ReportDiagnostic, IgnoresItsLevel) {
    const ScenarioRun run = runUnderDebugger("ReportAtLevels");
    EXPECT_EQ(run.channel, "xxxxxxxx");
    EXPECT_EQ(run.output, "xxxxxxxx");
}

VELMOR_SCENARIO(ReportArguments) {
    reportDiagnostic(4, "%d|%s|%c|%5u|%-4x|%04X|%.2f|%lld|%zu|%i%%", -7, "text", 'c', 42u, 0xabu, 0xcdu, 2.5,
                     -9223372036854775807LL, static_cast<std::size_t>(12), 100);
}

TEST(ReportDiagnostic, FormatsItsArgumentsLikePrintf) {
    const std::string before = "-7|text|c|   42|ab  |00CD|2.50|-9223372036854775807|12|100";
    const ScenarioRun run = runUnderDebugger("ReportArguments");
    EXPECT_EQ(run.channel, before + "%");
    EXPECT_THAT(run.output, StartsWith(before)); // the second formatting reads the single percent sign
}

VELMOR_SCENARIO(ReportBetweenPrints) {
    std::printf("a");
    reportDiagnostic(4, "b");
    std::printf("c");
    reportDiagnostic(4, "d");
}

TEST(ReportDiagnostic, UsesTheBufferOfStandardOutput) {
    EXPECT_EQ(runUnderDebugger("ReportBetweenPrints").output, "abcd");
}

std::string allBytesButPercent() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '%' && byte != '\r' && byte != separator) // the test support removes carriage returns
            bytes.push_back(static_cast<char>(byte));
    return bytes;
}

VELMOR_SCENARIO(ReportAllBytes) {
    reportDiagnostic(4, "%s", allBytesButPercent().c_str());
}

TEST(ReportDiagnostic, PrintsEveryByteUnchanged) {
    const ScenarioRun run = runUnderDebugger("ReportAllBytes");
    EXPECT_EQ(run.channel, allBytesButPercent());
    EXPECT_EQ(run.output, allBytesButPercent());
}

const std::vector<std::size_t>& lengths() {
    static const std::vector<std::size_t> values{8190, 8191, 8192, 9000, 100000};
    return values;
}

VELMOR_SCENARIO(ReportLongTexts) {
    for (const std::size_t length : lengths())
        reportEach({std::string(length - 1, 'x') + 'e'});
}

TEST(ReportDiagnostic, CutsAfter8191Characters) {
    const ScenarioRun run = runUnderDebugger("ReportLongTexts");
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(run.reports.size(), lengths().size());
    ASSERT_EQ(outputs.size(), lengths().size() + 1);
    for (std::size_t i = 0; i < lengths().size(); ++i) {
        const std::string whole = std::string(lengths()[i] - 1, 'x') + 'e';
        EXPECT_EQ(run.reports[i], whole.substr(0, 8191));
        EXPECT_EQ(outputs[i], whole.substr(0, 8191));
    }
}

VELMOR_SCENARIO(ReportLongLiteralPart) {
    const std::string padding(8000, 'p');
    reportDiagnostic(4, "%s and %d and %s\n", padding.c_str(), 12345, std::string(500, 'q').c_str());
}

TEST(ReportDiagnostic, CutsTheFormattedTextAnywhere) {
    const std::string whole = std::string(8000, 'p') + " and 12345 and " + std::string(500, 'q') + "\n";
    const ScenarioRun run = runUnderDebugger("ReportLongLiteralPart");
    EXPECT_EQ(run.channel, whole.substr(0, 8191));
    EXPECT_EQ(run.output, whole.substr(0, 8191));
}

VELMOR_SCENARIO(ReportFromThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 50; ++j)
                reportDiagnostic(4, "%s", "ab");
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ReportDiagnostic, MayBeCalledFromSeveralThreads) {
    const ScenarioRun run = runUnderDebugger("ReportFromThreads");
    EXPECT_EQ(run.reports, std::vector<std::string>(200, "ab"));
    EXPECT_EQ(run.output.size(), 400u); // the texts may interleave
    EXPECT_TRUE(run.exited);
}

VELMOR_SCENARIO(BreakThreeTimes) {
    breakIntoDebugger();
    reportDiagnostic(4, "between");
    breakIntoDebugger();
    breakIntoDebugger();
}

TEST(BreakIntoDebugger, BreaksEachTimeUnderADebugger) {
    const ScenarioRun run = runUnderDebugger("BreakThreeTimes");
    EXPECT_EQ(run.breaks, 3);
    EXPECT_THAT(run.reportsBeforeBreak, ElementsAre(0u, 1u, 1u));
    EXPECT_EQ(run.channel, "between");
    EXPECT_TRUE(run.exited);
}

} // namespace
