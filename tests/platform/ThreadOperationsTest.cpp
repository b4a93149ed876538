#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <sys/resource.h>
    #include <sys/syscall.h>
    #include <unistd.h>
#endif

using namespace velmor_tests;
using Velmor::FileStream;
using Velmor::ProcessOperations;
using Velmor::Signal;
using Velmor::ThreadOperations;

namespace {

static_assert(std::is_empty_v<ThreadOperations>);
static_assert(std::is_copy_assignable_v<ThreadOperations> && std::is_move_assignable_v<ThreadOperations>);

/// The argument of a thread that waits for a signal and ends with this exit code.
struct Waiting {
    Signal* go;
    unsigned exitCode;
};

unsigned waitAndEnd(void* data, std::uint64_t) {
    const Waiting waiting = *static_cast<Waiting*>(data);
    waiting.go->wait();
    return waiting.exitCode;
}

unsigned* startWaiting(Signal& go, unsigned exitCode, bool lowerPriority = false) {
    const Waiting waiting{&go, exitCode};
    return ThreadOperations::createThread(&waitAndEnd, &waiting, sizeof waiting, lowerPriority);
}

#if defined(_WIN32)
int ownPriority() {
    return GetThreadPriority(GetCurrentThread());
}
#else
int ownPriority() {
    return -getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)));
}

std::size_t threadsOfTheProcess() {
    return entries("/proc/self/task");
}
#endif

} // namespace

// ---- The argument ----

namespace {

struct Argument {
    Signal* go;
    char text[64];
    std::string* seenText;
    std::uint64_t* seenSize;
    const void** seenData;
};

unsigned lookAtArgument(void* data, std::uint64_t size) {
    Argument* argument = static_cast<Argument*>(data);
    argument->go->wait();
    *argument->seenText = argument->text;
    *argument->seenSize = size;
    *argument->seenData = data;
    std::memset(argument->text, 0, sizeof argument->text); // changes only the thread's copy
    return 1;
}

} // namespace

TEST(ThreadOperations, ThreadReceivesACopyOfTheArgument) {
    Signal go;
    std::string text;
    std::uint64_t size = 0;
    const void* data = nullptr;
    Argument argument{&go, "argument", &text, &size, &data};
    unsigned* thread = ThreadOperations::createThread(&lookAtArgument, &argument, sizeof argument, false);
    ASSERT_NE(thread, nullptr);
    std::memset(&argument, 0xCC, sizeof argument);
    go.raise();
    EXPECT_EQ(joinAndClose(thread), 1u);
    EXPECT_EQ(text, "argument");
    EXPECT_EQ(size, sizeof argument);
    EXPECT_NE(data, &argument);
    EXPECT_EQ(static_cast<unsigned char>(argument.text[0]), 0xCC);
}

TEST(ThreadOperations, CopiesLargeArguments) {
    std::vector<unsigned char> block(5u << 20);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<unsigned char>(i * 2654435761u >> 11);
    const auto sum = [](void* data, std::uint64_t size) -> unsigned {
        unsigned total = 0;
        for (std::uint64_t i = 0; i < size; ++i)
            total = total * 31 + static_cast<unsigned char*>(data)[i];
        return total & 0xFFFF;
    };
    const unsigned expected = sum(block.data(), block.size());
    unsigned* thread = ThreadOperations::createThread(sum, block.data(), block.size(), false);
    std::vector<unsigned char>().swap(block);
    EXPECT_EQ(joinAndClose(thread), expected);
}

TEST(ThreadOperations, EmptyArgumentHasSizeZero) {
    const auto function = [](void*, std::uint64_t size) -> unsigned { return size == 0 ? 7 : 8; };
    const char nothing = 0;
    EXPECT_EQ(joinAndClose(ThreadOperations::createThread(function, &nothing, 0, false)), 7u);
    EXPECT_EQ(joinAndClose(ThreadOperations::createThread(function, nullptr, 0, true)), 7u);
}

TEST(ThreadOperations, FunctionRunsOnAnotherThread) {
    static std::thread::id id;
    id = std::this_thread::get_id();
    EXPECT_EQ(
        joinAndClose(ThreadOperations::createThread(
            [](void*, std::uint64_t) -> unsigned { return id != std::this_thread::get_id() ? 1 : 0; }, nullptr, 0, false)),
        1u);
}

// ---- Ends ----

TEST(ThreadOperations, RunningThreadHasNotEnded) {
    Signal go;
    unsigned* thread = startWaiting(go, 5);
    for (int i = 0; i < 3; ++i) {
        unsigned exitCode = untouched;
        EXPECT_FALSE(ThreadOperations::hasEnded(thread, &exitCode));
        EXPECT_EQ(exitCode, stillActive); // the function for processes does not change the code
    }
    go.raise();
    EXPECT_EQ(joinAndClose(thread), 5u);
}

TEST(ThreadOperations, ReturnsTheExitCodeEachTime) {
    for (const unsigned code : {0u, 1u, 255u, 256u, 258u, 260u, 65536u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        unsigned* thread = startEnding(code);
        ASSERT_NE(thread, nullptr);
        EXPECT_EQ(joinThread(thread), code);
        for (int i = 0; i < 3; ++i) {
            unsigned exitCode = untouched;
            EXPECT_TRUE(ThreadOperations::hasEnded(thread, &exitCode));
            EXPECT_EQ(exitCode, code);
        }
        ThreadOperations::closeThread(thread);
    }
}

TEST(ThreadOperations, ExitCode259LooksLikeRunning) {
    static std::atomic<bool> ran;
    ran = false;
    unsigned* thread = ThreadOperations::createThread(
        [](void*, std::uint64_t) -> unsigned {
            ran = true;
            return stillActive;
        },
        nullptr, 0, false);
    EXPECT_TRUE(eventually([] { return ran.load(); }));
    for (int i = 0; i < 20; ++i) {
        unsigned exitCode = untouched;
        EXPECT_FALSE(ThreadOperations::hasEnded(thread, &exitCode));
        EXPECT_EQ(exitCode, stillActive);
        ThreadOperations::usleep(2);
    }
    ThreadOperations::closeThread(thread);
}

TEST(ThreadOperations, EndOfTheThreadSynchronizesItsWrites) {
    int value = 0;
    int* argument = &value;
    unsigned* thread = ThreadOperations::createThread(
        [](void* data, std::uint64_t) -> unsigned {
            **static_cast<int**>(data) = 42; // not atomic: hasEnded() synchronizes with the end of the thread
            return 0;
        },
        &argument, sizeof argument, false);
    joinThread(thread);
    EXPECT_EQ(value, 42);
    ThreadOperations::closeThread(thread);
}

TEST(ThreadOperations, TerminationDoesNothing) {
    Signal go;
    unsigned* thread = startWaiting(go, 5);
    ThreadOperations::terminateThread(thread, 42);
    ThreadOperations::usleep(20);
    unsigned exitCode = untouched;
    EXPECT_FALSE(ThreadOperations::hasEnded(thread, &exitCode));
    go.raise();
    EXPECT_EQ(joinThread(thread), 5u);
    ThreadOperations::terminateThread(thread, 42);
    EXPECT_EQ(joinAndClose(thread), 5u);
    ThreadOperations::terminateThread(nullptr, 42);
}

TEST(ThreadOperations, ClosedThreadContinuesToRun) {
    static Signal& go = *new Signal; // never destroyed: the thread may use them until its end
    static Signal& done = *new Signal;
    Signal* signals[] = {&go, &done};
    unsigned* thread = ThreadOperations::createThread(
        [](void* data, std::uint64_t) -> unsigned {
            Signal** both = static_cast<Signal**>(data);
            both[0]->wait();
            both[1]->raise();
            return 0;
        },
        signals, sizeof signals, false);
    ThreadOperations::closeThread(thread);
    go.raise();
    done.wait();
}

// ---- Invalid handles ----

namespace {

bool isReportedAsEnded(void* handle) {
    unsigned exitCode = untouched;
    return ThreadOperations::hasEnded(static_cast<unsigned*>(handle), &exitCode) && exitCode == 0;
}

} // namespace

TEST(ThreadOperations, InvalidHandleIsReportedAsEndedWithZero) {
    EXPECT_TRUE(isReportedAsEnded(nullptr));
    EXPECT_TRUE(isReportedAsEnded(noHandle()));
    unsigned local = 5;
    std::vector<HANDLE> handles = invalidHandles();
    handles.push_back(&local);
    for (const HANDLE handle : handles) {
        EXPECT_TRUE(isReportedAsEnded(handle)) << handle;
        ThreadOperations::closeThread(static_cast<unsigned*>(handle));
        ThreadOperations::terminateThread(static_cast<unsigned*>(handle), 1);
    }
    EXPECT_EQ(local, 5u);
}

TEST(ThreadOperations, ClosedHandleIsReportedAsEndedWithZero) {
    unsigned* thread = startEnding(5);
    EXPECT_EQ(joinAndClose(thread), 5u);
    EXPECT_TRUE(isReportedAsEnded(thread));
    ThreadOperations::closeThread(thread);
    EXPECT_TRUE(isReportedAsEnded(thread));

    static Signal& go = *new Signal; // never destroyed: the thread may use it until its end
    unsigned* running = startWaiting(go, 5);
    ThreadOperations::closeThread(running);
    EXPECT_TRUE(isReportedAsEnded(running));
    go.raise();
}

TEST(ThreadOperations, HandleOfAnotherKindIsReportedAsEndedWithZero) {
    const std::unique_ptr<FileStream> file(FileStream::createTemporaryFile());
    EXPECT_TRUE(isReportedAsEnded(file->getHandle()));
    EXPECT_TRUE(file->write(4, "text"));

    const HANDLE process = startProcess(childProgram(), wide("child 5"), false);
    ASSERT_NE(process, noHandle());
    EXPECT_TRUE(isReportedAsEnded(process));
    unsigned exitCode = untouched;
    EXPECT_TRUE(eventually([&] { return ProcessOperations::hasEnded(process, &exitCode); }));
    EXPECT_EQ(exitCode, 5u);
    EXPECT_TRUE(isReportedAsEnded(process));
    ProcessOperations::closeProcess(process);
}

// ---- Priority and sleep ----

TEST(ThreadOperations, LowersThePriorityOnRequest) {
    for (const bool lower : {false, true}) {
        static std::atomic<int> priority;
        Signal go;
        Signal* argument = &go;
        unsigned* thread = ThreadOperations::createThread(
            [](void* data, std::uint64_t) -> unsigned {
                (*static_cast<Signal**>(data))->wait(); // the thread may start before its priority is set
                priority = ownPriority();
                return 0;
            },
            &argument, sizeof argument, lower);
#if defined(_WIN32)
        EXPECT_EQ(GetThreadPriority(thread), lower ? THREAD_PRIORITY_BELOW_NORMAL : THREAD_PRIORITY_NORMAL);
#endif
        go.raise();
        joinAndClose(thread);
#if defined(_WIN32)
        EXPECT_EQ(priority, lower ? THREAD_PRIORITY_BELOW_NORMAL : THREAD_PRIORITY_NORMAL);
#else
        if (lower)
            EXPECT_LT(priority, ownPriority());
        else
            EXPECT_EQ(priority, ownPriority());
#endif
    }
}

TEST(ThreadOperations, UsleepSleepsForMilliseconds) {
    const auto start = std::chrono::steady_clock::now();
    ThreadOperations::usleep(0);
    ThreadOperations::usleep(200);
    const auto time = std::chrono::steady_clock::now() - start;
    EXPECT_GE(time, std::chrono::milliseconds(190));
    EXPECT_LT(time, std::chrono::seconds(150)); // a loaded machine may be slow, but 200 would be seconds
}

// ---- Leaks and many threads ----

TEST(ThreadOperations, LeaksNothing) {
    for (unsigned i = 0; i < 4; ++i)
        joinAndClose(startEnding(i));
    const std::size_t before = openHandles();
#if !defined(_WIN32)
    const std::size_t threads = threadsOfTheProcess();
#endif
    for (unsigned i = 0; i < 200; ++i) {
        unsigned* thread = startEnding(i % 200);
        EXPECT_EQ(joinAndClose(thread), i % 200);
    }
    for (int i = 0; i < 200; ++i)
        ThreadOperations::closeThread(startEnding(0)); // may still run when it is closed
    EXPECT_TRUE(eventually([&] { return openHandles() == before; })) << openHandles() << " handles, before " << before;
#if !defined(_WIN32)
    EXPECT_TRUE(eventually([&] { return threadsOfTheProcess() == threads; }));
#endif
}

TEST(ThreadOperations, ManyThreadsRunConcurrently) {
    Signal go;
    std::vector<unsigned*> threads;
    for (unsigned code = 0; code < 50; ++code) {
        threads.push_back(startWaiting(go, code, code % 2 == 0));
        ASSERT_NE(threads.back(), nullptr);
    }
    for (unsigned* thread : threads) {
        unsigned exitCode = untouched;
        EXPECT_FALSE(ThreadOperations::hasEnded(thread, &exitCode));
    }
    go.raise();
    for (unsigned code = 50; code-- > 0;)
        EXPECT_EQ(joinAndClose(threads[code]), code);
}

TEST(ThreadOperations, ThreadsMayStartThreadsConcurrently) {
    std::vector<std::thread> starters;
    std::atomic<unsigned> sum{0};
    for (unsigned number = 0; number < 4; ++number) {
        starters.emplace_back([&sum, number] {
            for (unsigned i = 0; i < 50; ++i) {
                unsigned* thread = startEnding(number * 50 + i);
                unsigned exitCode = 0;
                while (!ThreadOperations::hasEnded(thread, &exitCode))
                    ThreadOperations::usleep(1);
                ThreadOperations::closeThread(thread);
                sum += exitCode;
            }
        });
    }
    for (std::thread& starter : starters)
        starter.join();
    EXPECT_EQ(sum, 199u * 200 / 2);
}
