#include "support/UnderDebugger.h"

#include "support/Eventually.h"
#include "support/Setting.h"
#include "support/TemporaryFolder.h"
#include "support/Utf16.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <sys/wait.h>
    #include <unistd.h>
#endif

namespace {

using testing::ElementsAre;
using velmor_tests::runAlone;
using velmor_tests::runUnderDebugger;

#if defined(_WIN32)
void report(const std::string& text) {
    OutputDebugStringA(text.c_str());
}

void breakIn() {
    DebugBreak();
}

bool isDebugged() {
    return IsDebuggerPresent() != FALSE;
}

constexpr unsigned crashCode = 0xC0000094; // EXCEPTION_INT_DIVIDE_BY_ZERO

[[noreturn]] void crash() {
    RaiseException(crashCode, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    std::abort();
}

constexpr unsigned breakCode = 0x80000003; // EXCEPTION_BREAKPOINT
#else
void report(const std::string& text) {
    if (write(-1, text.data(), text.size()) != -1)
        std::abort();
}

void breakIn() {
    std::raise(SIGTRAP);
}

bool isDebugged() {
    std::FILE* const status = std::fopen("/proc/self/status", "r");
    char line[256];
    int tracer = 0;
    while (std::fgets(line, sizeof line, status) != nullptr)
        if (std::sscanf(line, "TracerPid: %d", &tracer) == 1)
            break;
    std::fclose(status);
    return tracer != 0;
}

constexpr unsigned crashCode = SIGABRT;

[[noreturn]] void crash() {
    std::abort();
}

constexpr unsigned breakCode = SIGTRAP;
#endif

VELMOR_SCENARIO(Nothing) {}

TEST(UnderDebugger, EmptyScenarioHasNoOutputReportsOrBreaks) {
    for (const auto& run : {runUnderDebugger("Nothing"), runAlone("Nothing")}) {
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u);
        EXPECT_EQ(run.breaks, 0);
        EXPECT_TRUE(run.reports.empty());
        EXPECT_EQ(run.channel, "");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.error, "");
    }
}

VELMOR_SCENARIO(PrintWhetherDebugged) {
    std::puts(isDebugged() ? "debugged" : "alone");
}

TEST(UnderDebugger, OnlyRunUnderDebuggerAttachesADebugger) {
    EXPECT_EQ(runUnderDebugger("PrintWhetherDebugged").output, "debugged\n");
    EXPECT_EQ(runAlone("PrintWhetherDebugged").output, "alone\n");
}

VELMOR_SCENARIO(ReportAndBreak) {
    report("first");
    breakIn();
    report("second\n");
    breakIn();
    breakIn();
    report(std::string(8191, 'x'));
    std::puts("output");
    std::fputs("error\n", stderr);
}

TEST(UnderDebugger, RecordsEachReportAndBreakAndContinues) {
    const auto run = runUnderDebugger("ReportAndBreak");
    EXPECT_EQ(run.breaks, 3);
    EXPECT_THAT(run.reportsBeforeBreak, ElementsAre(1u, 2u, 2u));
    EXPECT_THAT(run.reports, ElementsAre("first", "second\n", std::string(8191, 'x')));
    EXPECT_EQ(run.channel, "firstsecond\n" + std::string(8191, 'x'));
    EXPECT_EQ(run.output, "output\n");
    EXPECT_EQ(run.error, "error\n");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}

VELMOR_SCENARIO(ReportFromThreads) {
    const auto work = [] {
        for (int i = 0; i < 50; ++i)
            report("r");
        breakIn();
    };
    std::thread threads[4];
    for (std::thread& thread : threads)
        thread = std::thread(work);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(UnderDebugger, RecordsTheReportsOfAllThreads) {
    const auto run = runUnderDebugger("ReportFromThreads");
    EXPECT_EQ(run.breaks, 4);
    EXPECT_EQ(run.reports.size(), 200u);
    EXPECT_EQ(run.channel, std::string(200, 'r'));
    EXPECT_TRUE(run.exited);
}

VELMOR_SCENARIO(WriteMuch) {
    for (int i = 0; i < 40000; ++i) {
        std::puts("a line of the output, thirty-nine bytes");
        std::fputs("a line of the error, thirty-seven bytes\n", stderr);
    }
}

TEST(UnderDebugger, CollectsLargeOutputOfBothStreams) {
    for (const auto& run : {runUnderDebugger("WriteMuch"), runAlone("WriteMuch")}) {
        EXPECT_EQ(run.output.size(), 40000u * 40);
        EXPECT_EQ(run.error.size(), 40000u * 40);
        EXPECT_TRUE(run.exited);
    }
}

VELMOR_SCENARIO(CarriageReturns) {
    std::fputs("a\rb\r\nc\n", stdout);
    std::fputs("d\r\n", stderr);
}

TEST(UnderDebugger, RemovesCarriageReturns) {
    const auto run = runAlone("CarriageReturns");
    EXPECT_EQ(run.output, "ab\nc\n");
    EXPECT_EQ(run.error, "d\n");
}

VELMOR_SCENARIO(ExitWithSeven) {
    std::exit(7);
}

TEST(UnderDebugger, ReturnsTheExitCode) {
    for (const auto& run : {runUnderDebugger("ExitWithSeven"), runAlone("ExitWithSeven")}) {
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 7u);
    }
}

VELMOR_SCENARIO(Crash) {
    std::puts("before");
    std::fflush(stdout);
    crash();
}

TEST(UnderDebugger, CrashIsNotAnExit) {
    for (const auto& run : {runUnderDebugger("Crash"), runAlone("Crash")}) {
        EXPECT_FALSE(run.exited);
        EXPECT_EQ(run.exitCode, crashCode);
        EXPECT_EQ(run.output, "before\n");
    }
}

VELMOR_SCENARIO(Break) {
    breakIn();
}

TEST(UnderDebugger, BreakWithoutDebuggerIsACrash) {
    const auto run = runAlone("Break");
    EXPECT_FALSE(run.exited);
    EXPECT_EQ(run.exitCode, breakCode);
    EXPECT_EQ(run.breaks, 0);
}

VELMOR_SCENARIO(Report) {
    report("without a debugger");
}

TEST(UnderDebugger, ReportWithoutDebuggerHasNoEffect) {
    const auto run = runAlone("Report");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(ShowVariables) {
    for (const char* name : {"VELMOR_TEST_GIVEN", "VELMOR_TEST_EMPTY", "VELMOR_TEST_ABSENT"}) {
        const char* const value = std::getenv(name);
        std::printf("%s\n", value == nullptr ? "none" : value);
    }
    std::puts(std::getenv("PATH") == nullptr ? "no path" : "path");
}

TEST(UnderDebugger, ScenarioHasGivenAndInheritedVariables) {
    for (const auto& run : {runUnderDebugger("ShowVariables", {"VELMOR_TEST_GIVEN=a=b", "VELMOR_TEST_EMPTY="}),
                            runAlone("ShowVariables", {"VELMOR_TEST_GIVEN=a=b", "VELMOR_TEST_EMPTY="})})
        EXPECT_EQ(run.output, "a=b\n\nnone\npath\n");
}

VELMOR_SCENARIO(ReadInput) {
    std::printf("%d\n", std::getchar());
}

TEST(UnderDebugger, StandardInputIsEmpty) {
    EXPECT_EQ(runAlone("ReadInput").output, std::to_string(EOF) + "\n");
}

VELMOR_SCENARIO(NeverEnd) {
    std::puts("started");
    std::fflush(stdout);
    for (;;)
        std::this_thread::sleep_for(std::chrono::seconds(1));
}

TEST(UnderDebugger, TerminatesAScenarioAtTheTimeLimit) {
    for (const auto& start : {runUnderDebugger, runAlone}) {
        velmor_tests::ScenarioRun run;
        // On a busy machine the scenario may reach a short limit before it prints.
        for (int limit = 1; limit <= 64 && run.output.empty(); limit *= 4) {
            run = start("NeverEnd", {}, std::chrono::seconds(limit));
            EXPECT_FALSE(run.exited);
            EXPECT_THAT(run.error, testing::HasSubstr("did not end in time"));
        }
        EXPECT_EQ(run.output, "started\n");
    }
}

TEST(UnderDebugger, UnknownScenarioPrintsAnError) {
    const auto run = runAlone("NoSuchScenario");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 126u);
    EXPECT_EQ(run.error, "no scenario is named NoSuchScenario\n");
}

TEST(UnderDebugger, RunsScenariosConcurrently) {
    std::thread threads[3];
    bool right[3]{};
    for (int i = 0; i < 3; ++i)
        threads[i] = std::thread([&right, i] {
            const auto run = runUnderDebugger("ReportAndBreak");
            right[i] = run.breaks == 3 && run.reports.size() == 3 && run.output == "output\n";
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(right[0] && right[1] && right[2]);
}

#if !defined(_WIN32)
TEST(UnderDebugger, DoesNotWaitForOtherChildrenOfTheSuite) {
    const pid_t other = fork();
    if (other == 0)
        _exit(9);
    EXPECT_EQ(runUnderDebugger("ReportAndBreak").breaks, 3);
    int status = 0;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 9);
}
#endif

/// Runs until the test writes the file "proceed", then writes the file "ended".
VELMOR_SCENARIO(WaitForTheTest) {
    const auto folder = velmor_tests::pathOf(velmor_tests::setting("VELMOR_TEST_FOLDER"));
    if (velmor_tests::eventually([&] { return std::filesystem::exists(folder / "proceed"); }))
        velmor_tests::writeFile(folder / "ended", "");
}

/// Ends while a child process still runs and holds the output streams.
VELMOR_SCENARIO(LeaveARunningChild) {
#if defined(_WIN32)
    std::wstring line =
        velmor_tests::wide("\"" + velmor_tests::programPath() + "\" " + velmor_tests::scenarioArgument + "WaitForTheTest");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        std::exit(1);
#else
    if (fork() == 0) {
        breakIn(); // ends only this child; a debugger that followed it would count a break
        _exit(0);
    }
    if (fork() == 0) {
        velmorScenarioWaitForTheTest();
        _exit(0);
    }
#endif
}

TEST(UnderDebugger, DoesNotWaitForChildrenOfAScenario) {
    const velmor_tests::TemporaryFolder folder;
    const auto run = runUnderDebugger("LeaveARunningChild", {"VELMOR_TEST_FOLDER=" + velmor_tests::narrow(folder.path())});
    EXPECT_FALSE(std::filesystem::exists(folder / "ended"));
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    velmor_tests::writeFile(folder / "proceed", "");
    EXPECT_TRUE(velmor_tests::eventually([&] { return std::filesystem::exists(folder / "ended"); }));
}

} // namespace
