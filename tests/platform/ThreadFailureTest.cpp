// What createThread() does if memory is exhausted or the system starts no thread.

#include <Velmor/Platform.h>

#include "Threads.h"
#include "support/FailingAllocation.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#if !defined(_WIN32)
    #include <pthread.h>
#endif

using namespace velmor_tests;
using Velmor::Signal;
using Velmor::ThreadOperations;

namespace {

std::atomic<bool> ran;

unsigned noteRun(void*, std::uint64_t) {
    ran = true;
    return 0;
}

} // namespace

TEST(ThreadOperations, ReturnsNullIfTheStartBlockCannotBeAllocated) {
    ran = false;
    unsigned* thread = nullptr;
    {
        const FailAllocation fail(1);
        thread = ThreadOperations::createThread(&noteRun, nullptr, 0, false);
        EXPECT_TRUE(fail.happened());
    }
    EXPECT_EQ(thread, nullptr);
    ThreadOperations::usleep(20);
    EXPECT_FALSE(ran);
}

TEST(ThreadOperations, ReturnsNullIfTheSignalCannotBeAllocated) {
    ran = false;
    unsigned* thread = nullptr;
    std::size_t failedSize = 0;
    {
        const FailAllocation fail(2, false, Allocations::All); // the second allocation; the first is the start block
        thread = ThreadOperations::createThread(&noteRun, nullptr, 0, false);
        failedSize = fail.failedSize();
    }
    EXPECT_EQ(failedSize, sizeof(Signal));
    EXPECT_EQ(thread, nullptr);
    ThreadOperations::usleep(20);
    EXPECT_FALSE(ran);
}

#if !defined(_WIN32)
VELMOR_SCENARIO(StartAThreadWithoutAddressSpace) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{1} << 47); // the whole address space
    if (pthread_setattr_default_np(&attributes) != 0)
        std::_Exit(1);
    std::puts("waiting");
    std::fflush(stdout);
    ThreadOperations::createThread([](void*, std::uint64_t) -> unsigned { return 0; }, nullptr, 0, false);
    std::_Exit(2);
}

TEST(ThreadOperations, WaitsForeverIfTheThreadCannotBeStarted) {
    ScenarioRun run;
    // On a busy machine the scenario may reach a short limit before it prints.
    for (int limit = 1; limit <= 64 && run.output.empty(); limit *= 4) {
        run = runAlone("StartAThreadWithoutAddressSpace", {}, std::chrono::seconds(limit));
        EXPECT_FALSE(run.exited);
    }
    EXPECT_EQ(run.output, "waiting\n");
}
#endif

VELMOR_SCENARIO(StartAThreadWithATooLargeArgument) {
    static const char small[8] = "small";
    unsigned* thread = ThreadOperations::createThread(
        [](void* data, std::uint64_t size) -> unsigned { return data == nullptr && size == std::uint64_t{1} << 62 ? 7 : 8; },
        small, std::uint64_t{1} << 62, false);
    std::printf("%u", joinAndClose(thread));
}

TEST(ThreadOperations, FunctionReceivesNullIfTheCopyCannotBeAllocated) {
    const ScenarioRun run = runAlone("StartAThreadWithATooLargeArgument", {"ASAN_OPTIONS=allocator_may_return_null=1",
                                                                           "TSAN_OPTIONS=allocator_may_return_null=1"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "7");
}
