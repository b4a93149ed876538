// The end of processes: exit codes, termination, closed and invalid handles.

#include "Processes.h"
#include "support/UnderDebugger.h"

#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <signal.h>
#endif

using namespace velmor_tests;
using Velmor::FileStream;
using Velmor::ProcessOperations;
using Velmor::ThreadOperations;
using Velmor::WideString;

namespace {

/// Whether hasEnded() returns false and does not change the exit code.
bool isReportedAsRunning(HANDLE process) {
    unsigned exitCode = untouched;
    return !ProcessOperations::hasEnded(process, &exitCode) && exitCode == untouched;
}

#if !defined(_WIN32)
/// Whether a process has ended. It may be a zombie.
bool isGone(const std::string& id) {
    std::string state;
    std::getline(std::ifstream("/proc/" + id + "/stat"), state);
    return state.empty() || state.substr(state.rfind(')') + 2, 1) == "Z";
}
#endif

/// Waits for the end of a child without a call of the library.
void awaitEnd([[maybe_unused]] HANDLE process, [[maybe_unused]] const std::string& id) {
#if defined(_WIN32)
    EXPECT_EQ(WaitForSingleObject(process, INFINITE), WAIT_OBJECT_0);
#else
    EXPECT_TRUE(eventually([&] { return isGone(id); }));
#endif
}

} // namespace

TEST(ProcessOperations, RunningProcessHasNotEnded) {
    Child child({"ready", "wait", "exit 5"});
    child.ready();
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(isReportedAsRunning(child.handle()));
    child.proceed();
    EXPECT_EQ(child.join(), 5u);
}

TEST(ProcessOperations, ReturnsTheExitCodeEachTime) {
    for (const unsigned code : {0u, 1u, 2u, 42u, 127u, 128u, 255u}) {
        const HANDLE process = startEnding(code);
        ASSERT_NE(process, noHandle());
        EXPECT_EQ(join(process), code);
        for (int i = 0; i < 3; ++i) {
            unsigned exitCode = untouched;
            EXPECT_TRUE(ProcessOperations::hasEnded(process, &exitCode));
            EXPECT_EQ(exitCode, code);
        }
        ProcessOperations::closeProcess(process);
    }
}

#if defined(_WIN32)
TEST(ProcessOperations, ExitCodesHave32Bits) {
    for (const unsigned code : {256u, 258u, 260u, 65536u, 0x80000000u, 0xFFFFFFFFu}) {
        const HANDLE process = startEnding(code);
        EXPECT_EQ(join(process), code);
        ProcessOperations::closeProcess(process);
    }
}

TEST(ProcessOperations, ExitCode259LooksLikeRunning) {
    const HANDLE process = startEnding(259);
    awaitEnd(process, "");
    EXPECT_TRUE(isReportedAsRunning(process));
    ProcessOperations::closeProcess(process);
}
#else
TEST(ProcessOperations, KilledProcessHasEnded) {
    for (const int signal : {SIGKILL, SIGSEGV}) {
        Child child({"describe", "ready", "wait"});
        kill(std::stoi(child.ready().value("process")), signal);
        const unsigned code = child.join();
        EXPECT_NE(code, 0u);
        unsigned again = untouched;
        EXPECT_TRUE(ProcessOperations::hasEnded(child.handle(), &again));
        EXPECT_EQ(again, code);
    }
}
#endif

TEST(ProcessOperations, EachChildHasItsOwnExitCode) {
    std::vector<HANDLE> processes;
    for (unsigned code = 0; code < 20; ++code)
        processes.push_back(startEnding(code));
    for (unsigned code = 20; code-- > 0;)
        EXPECT_EQ(join(processes[code]), code);
    for (const HANDLE process : processes)
        ProcessOperations::closeProcess(process);
}

TEST(ProcessOperations, TerminationSetsTheExitCode) {
    for (const unsigned code : {0u, 1u, 42u, 255u, 256u, 300u, 0x80000000u, 0xFFFFFFFFu}) {
        Child child({"ready", "wait"});
        child.ready();
        ProcessOperations::terminateProcess(child.handle(), code);
        EXPECT_EQ(child.join(), code);
        unsigned again = untouched;
        EXPECT_TRUE(ProcessOperations::hasEnded(child.handle(), &again));
        EXPECT_EQ(again, code);
    }
}

#if !defined(_WIN32)
TEST(ProcessOperations, TerminatedProcessIsReportedAsEndedOnlyAfterItsEnd) {
    for (int i = 0; i < 10; ++i) {
        Child child({"describe", "ready", "wait"});
        const std::string id = child.ready().value("process");
        ProcessOperations::terminateProcess(child.handle(), 42);
        EXPECT_EQ(child.join(), 42u);
        EXPECT_TRUE(isGone(id));
    }
}
#endif

TEST(ProcessOperations, TerminationWith259LooksLikeRunning) {
    Child child({"describe", "ready", "wait"});
    const std::string id = child.ready().value("process");
    ProcessOperations::terminateProcess(child.handle(), 259);
    awaitEnd(child.handle(), id);
    EXPECT_TRUE(isReportedAsRunning(child.handle()));
    child.close();
}

TEST(ProcessOperations, TerminatesAProcessThatHasJustStarted) {
    for (int i = 0; i < 10; ++i) {
        const HANDLE process = startEnding(5);
        ProcessOperations::terminateProcess(process, 42);
        const unsigned code = join(process);
        EXPECT_TRUE(code == 42 || code == 5) << code; // the child may end first
        ProcessOperations::closeProcess(process);
    }
}

TEST(ProcessOperations, TerminationAfterTheEndDoesNotChangeTheExitCode) {
    for (const bool queriedBefore : {false, true}) {
        Child child({"describe", "ready", "exit 7"});
        const std::string id = child.ready().value("process");
        awaitEnd(child.handle(), id);
        if (queriedBefore) {
            EXPECT_EQ(child.join(), 7u);
        }
        ProcessOperations::terminateProcess(child.handle(), 42);
        EXPECT_EQ(child.join(), 7u);
    }
    Child child({"ready", "wait"});
    child.ready();
    ProcessOperations::terminateProcess(child.handle(), 42);
    EXPECT_EQ(child.join(), 42u);
    ProcessOperations::terminateProcess(child.handle(), 43);
    EXPECT_EQ(child.join(), 42u);
}

TEST(ProcessOperations, ClosedProcessContinuesToRun) {
    Child child({"describe", "ready", "wait", "describe"});
    const std::string id = child.ready().value("process");
    child.close();
    EXPECT_EQ(child.report().values("process"), (std::vector<std::string>{id, id}));
#if !defined(_WIN32)
    // It leaves no zombie, although its exit code is never read.
    EXPECT_TRUE(eventually([&] { return !std::filesystem::exists("/proc/" + id); }));
#endif
}

#if !defined(_WIN32)
TEST(ProcessOperations, ClosingAnEndedProcessLeavesNoZombie) {
    for (const bool queried : {false, true}) {
        Child child({"describe", "ready"});
        const std::string id = child.ready().value("process");
        if (queried)
            child.join();
        else
            awaitEnd(child.handle(), id);
        child.close();
        EXPECT_TRUE(eventually([&] { return !std::filesystem::exists("/proc/" + id); }));
    }
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}
#endif

// ---- Invalid handles ----

TEST(ProcessOperations, InvalidHandleIsReportedAsRunning) {
    EXPECT_TRUE(isReportedAsRunning(ProcessOperations::InvalidHandle()));
    EXPECT_TRUE(isReportedAsRunning(nullptr));
    for (const HANDLE handle : invalidHandles()) {
        EXPECT_TRUE(isReportedAsRunning(handle)) << handle;
        ProcessOperations::terminateProcess(handle, 1);
        ProcessOperations::closeProcess(handle);
        EXPECT_TRUE(isReportedAsRunning(handle)) << handle;
    }
}

TEST(ProcessOperations, ClosedHandleIsReportedAsRunning) {
    const HANDLE process = startEnding(5);
    EXPECT_EQ(join(process), 5u);
    ProcessOperations::closeProcess(process);
    EXPECT_TRUE(isReportedAsRunning(process));
    ProcessOperations::terminateProcess(process, 1);
    ProcessOperations::closeProcess(process);
    EXPECT_TRUE(isReportedAsRunning(process));

    Child running({"ready", "wait"});
    running.ready();
    const HANDLE stale = running.handle();
    running.close();
    EXPECT_TRUE(isReportedAsRunning(stale));
    ProcessOperations::terminateProcess(stale, 1); // does not terminate the process
    running.report();
}

TEST(ProcessOperations, HandleOfAnotherKindIsReportedAsRunning) {
    const std::unique_ptr<FileStream> file(FileStream::createTemporaryFile());
    EXPECT_TRUE(isReportedAsRunning(file->getHandle()));
    ProcessOperations::terminateProcess(file->getHandle(), 1);
    EXPECT_TRUE(file->write(4, "text"));

    Velmor::Signal go;
    Velmor::Signal* argument = &go;
    const auto function = +[](void* data, std::uint64_t) -> unsigned {
        (*static_cast<Velmor::Signal**>(data))->wait();
        return 5;
    };
    unsigned* thread = ThreadOperations::createThread(function, &argument, sizeof argument, false);
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(isReportedAsRunning(thread));
    ProcessOperations::terminateProcess(thread, 1);
    go.raise();
    unsigned exitCode = untouched;
    EXPECT_TRUE(eventually([&] { return ThreadOperations::hasEnded(thread, &exitCode); }));
    EXPECT_EQ(exitCode, 5u);
    EXPECT_TRUE(isReportedAsRunning(thread));
    ThreadOperations::closeThread(thread);
}

// ---- Leaks and threads ----

namespace {

#if defined(_WIN32)
constexpr std::size_t leakOfOneProcess = 1; // the handle of its primary thread
#else
constexpr std::size_t leakOfOneProcess = 0;
#endif

/// Checks the number of handles that `count` rounds, each with one process, leave open. The rounds are repeated if a start
/// failed inside the system, because the system may leak handles then.
template <typename Round>
void expectLeakOfRounds(unsigned count, Round round) {
    for (unsigned i = 0; i < 4; ++i)
        round(i);
    unsigned retriesBefore = 0;
    std::size_t before = 0;
    do {
        retriesBefore = startRetries;
        before = openHandles();
        for (unsigned i = 0; i < count; ++i)
            round(i);
    } while (startRetries != retriesBefore);
    const std::size_t after = before + count * leakOfOneProcess;
    EXPECT_TRUE(eventually([&] { return openHandles() == after; })) << openHandles() << " open handles, expected " << after;
#if !defined(_WIN32)
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
#endif
}

} // namespace

TEST(ProcessOperations, LeaksOnlyThePrimaryThreadsOfProcesses) {
    const auto round = [](unsigned i) {
        const HANDLE process = startEnding(i % 100, i % 2 == 0);
        EXPECT_EQ(join(process), i % 100);
        ProcessOperations::closeProcess(process);
    };
    expectLeakOfRounds(200, round);
}

TEST(ProcessOperations, LeaksNothingElseForClosedRunningChildren) {
    const auto round = [](unsigned) { ProcessOperations::closeProcess(startEnding(0)); };
    expectLeakOfRounds(200, round);
}

TEST(ProcessOperations, ThreadsMayStartChildrenConcurrently) {
    std::vector<std::thread> threads;
    std::vector<unsigned> sums(4, 0);
    for (unsigned number = 0; number < 4; ++number) {
        threads.emplace_back([&sum = sums[number], number] {
            for (unsigned i = 0; i < 10; ++i) {
                const HANDLE process = startEnding(number + 1, i % 2 == 0);
                unsigned exitCode = 0;
                while (!ProcessOperations::hasEnded(process, &exitCode))
                    ThreadOperations::usleep(2);
                ProcessOperations::closeProcess(process);
                sum += exitCode;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sums, (std::vector<unsigned>{10, 20, 30, 40}));
}

VELMOR_SCENARIO(FailWithProcesses) {
    unsigned exitCode = 0;
    ProcessOperations::createProcess(wide("no-such-folder/program"), wide("program"), false);
    ProcessOperations::createProcess(WideString(), WideString(), true);
    ProcessOperations::hasEnded(nullptr, &exitCode);
    ProcessOperations::hasEnded(ProcessOperations::InvalidHandle(), &exitCode);
}

TEST(ProcessOperations, ReportsNothing) {
    const ScenarioRun run = runUnderDebugger("FailWithProcesses");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(run.breaks, 0);
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}
