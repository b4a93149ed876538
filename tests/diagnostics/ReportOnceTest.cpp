#include "diagnostics/Diagnostics.h"
#include "support/UnderDebugger.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
    #include <winternl.h>
#else
    #include <sys/ptrace.h>
#endif

namespace {

using namespace velmor_tests;
using testing::ElementsAre;
using Velmor::diagnostics::reportDiagnostic;
using Velmor::diagnostics::ReportOnce;

void failAtFirstSite() {
    static ReportOnce once;
    once([] {
        reportDiagnostic(4, "first site\n");
        std::fputs("called ", stderr);
    });
}

void failAtSecondSite() {
    static ReportOnce once;
    once([] { reportDiagnostic(4, "second site\n"); });
}

void failAtSiteWithoutMessage() {
    static ReportOnce once;
    once();
}

VELMOR_SCENARIO(FailManyTimes) {
    for (int i = 0; i < 5; ++i) {
        failAtFirstSite();
        failAtSecondSite();
        failAtSiteWithoutMessage();
    }
}

TEST(ReportOnce, ReportsAndBreaksOncePerSite) {
    const ScenarioRun run = runUnderDebugger("FailManyTimes");
    EXPECT_EQ(run.breaks, 3);
    EXPECT_THAT(run.reports, ElementsAre("first site\n", "second site\n"));
    EXPECT_THAT(run.reportsBeforeBreak, ElementsAre(1u, 2u, 2u));
    EXPECT_EQ(run.output, "first site\nsecond site\n");
    EXPECT_EQ(run.error, "called ");
}

TEST(ReportOnce, DoesNotCallTheReportWithoutADebugger) {
    const ScenarioRun run = runAlone("FailManyTimes");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(FailOnSeveralThreads) {
    for (int i = 0; i < 5; ++i)
        std::thread(failAtFirstSite).join();
    failAtFirstSite();
}

TEST(ReportOnce, FlagIsSharedByAllThreads) {
    const ScenarioRun run = runUnderDebugger("FailOnSeveralThreads");
    EXPECT_EQ(run.breaks, 1);
    EXPECT_EQ(run.channel, "first site\n");
}

VELMOR_SCENARIO(FailOnSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 100; ++j)
                failAtSecondSite();
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ReportOnce, ConcurrentThreadsReportAtMostOnceEach) {
    const ScenarioRun run = runUnderDebugger("FailOnSeveralThreadsAtOnce");
    EXPECT_TRUE(run.exited);
    EXPECT_GE(run.breaks, 1);
    EXPECT_LE(run.breaks, 8);
    EXPECT_EQ(run.reports, std::vector<std::string>(static_cast<std::size_t>(run.breaks), "second site\n"));
    EXPECT_TRUE(runAlone("FailOnSeveralThreadsAtOnce").exited);
}

/// Makes the process look debugged. A break then ends the process.
void pretendDebugger() {
#if defined(_WIN32)
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const auto getBlock =
        reinterpret_cast<PEB*(WINAPI*)()>(reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetCurrentPeb")));
    getBlock()->BeingDebugged = 1;
#else
    // Makes the waiting suite the tracer. The process stops at a break.
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
#endif
}

[[noreturn]] void endAtOnce() {
    std::fflush(stdout);
    std::_Exit(0);
}

VELMOR_SCENARIO(FailBeforeTheDebuggerIsAttached) {
    failAtFirstSite();
    failAtSiteWithoutMessage();
    pretendDebugger();
    failAtFirstSite();
    failAtSiteWithoutMessage();
    endAtOnce();
}

VELMOR_SCENARIO(FailAfterTheDebuggerIsAttached) {
    pretendDebugger();
    failAtSiteWithoutMessage();
    endAtOnce();
}

TEST(ReportOnce, FirstOccurrenceSetsTheFlagAlsoWithoutADebugger) {
    const ScenarioRun late = runAlone("FailBeforeTheDebuggerIsAttached");
    EXPECT_TRUE(late.exited);
    EXPECT_EQ(late.breaks, 0);
    EXPECT_EQ(late.output, "");
    EXPECT_EQ(late.error, "");

    const ScenarioRun control = runAlone("FailAfterTheDebuggerIsAttached");
    EXPECT_TRUE(!control.exited || control.breaks > 0);
}

} // namespace
