// What the locks and signals do when the system gives them nothing, and when two signals share one event.

#include <Velmor/Platform.h>

#include "os/os.h"
#include "support/FailingAllocation.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

#if !defined(_WIN32)
    #include <sys/resource.h>
    #include <unistd.h>
#endif

namespace {

using Velmor::CriticalSection;
using Velmor::Signal;
using velmor_tests::FailAllocation;

/// Storage in which a test makes and destroys an object at the points that it chooses.
template <class Object>
class Place {
public:
    Object* make() { return new (bytes_) Object; }

private:
    alignas(Object) char bytes_[sizeof(Object)]{};
};

void* firstWord(const void* object) {
    void* value = nullptr;
    std::memcpy(&value, object, sizeof value);
    return value;
}

void* secondWord(const void* object) {
    return firstWord(static_cast<const char*>(object) + sizeof(void*));
}

TEST(CriticalSection, TakesOneBlockFromTheRuntimeHeap) {
    Place<CriticalSection> place;
    unsigned seen = 0;
    CriticalSection* section = nullptr;
    {
        const FailAllocation failure(1000);
        section = place.make();
        seen = failure.seen();
    }
    EXPECT_EQ(seen, 1u);
    section->~CriticalSection();
}

TEST(CriticalSection, WithoutMemoryItHoldsNothing) {
    Place<CriticalSection> place;
    bool happened = false;
    std::size_t size = 0;
    CriticalSection* section = nullptr;
    {
        const FailAllocation failure(1, true);
        section = place.make();
        happened = failure.happened();
        size = failure.failedSize();
    }
    EXPECT_TRUE(happened);
    EXPECT_EQ(size, Velmor::os::lockSize());
    EXPECT_EQ(firstWord(section), nullptr);
    EXPECT_EQ(secondWord(section), nullptr);
    section->~CriticalSection();
}

VELMOR_SCENARIO(SectionWithoutMemory) {
    Place<CriticalSection> place;
    CriticalSection* section = nullptr;
    {
        const FailAllocation failure(1, true);
        section = place.make();
        if (!failure.happened())
            std::exit(1);
    }
    section->~CriticalSection();
}

TEST(CriticalSection, WithoutMemoryNothingIsReported) {
    const auto run = velmor_tests::runUnderDebugger("SectionWithoutMemory");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
}

TEST(Signal, IsOneEventHandle) {
    Signal signal;
    EXPECT_NE(firstWord(&signal), nullptr);
    EXPECT_NE(firstWord(&signal), Velmor::os::invalidHandle());
    Velmor::os::setEvent(firstWord(&signal));
    signal.wait();
}

TEST(Signal, ClosesItsEventInTheEnd) {
    HANDLE event = nullptr;
    {
        Signal signal;
        event = firstWord(&signal);
    }
    EXPECT_FALSE(Velmor::os::closeHandle(event));
}

/// Puts another handle in the place of a signal's own.
void replaceHandle(Signal& signal, HANDLE handle) {
    std::memcpy(static_cast<void*>(&signal), &handle, sizeof handle);
}

VELMOR_SCENARIO(SignalWithoutEvent) {
    Place<Signal> place;
    Signal* const signal = place.make();
    Velmor::os::closeHandle(firstWord(signal));
    replaceHandle(*signal, nullptr);
    signal->wait();
    signal->raise();
    signal->wait();
    signal->~Signal();
    std::puts("done");
}

TEST(Signal, WithoutAnEventDoesNothing) {
    const auto run = velmor_tests::runAlone("SignalWithoutEvent", {}, std::chrono::seconds(20));
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output, "done\n");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(SignalWithoutEventUnderDebugger) {
    Place<Signal> place;
    Signal* const signal = place.make();
    const HANDLE own = firstWord(signal);
    replaceHandle(*signal, nullptr);
    signal->raise();
    signal->wait();
    replaceHandle(*signal, own);
    signal->~Signal();
}

TEST(Signal, WithoutAnEventNothingIsReported) {
    const auto run = velmor_tests::runUnderDebugger("SignalWithoutEventUnderDebugger", {}, std::chrono::seconds(20));
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
}

TEST(Signal, AssignmentSharesTheEvent) {
    Place<Signal> firstPlace;
    Place<Signal> secondPlace;
    Signal* const first = firstPlace.make();
    Signal* const second = secondPlace.make();
    const HANDLE before = firstWord(first);
    Signal& result = *first = *second;
    EXPECT_EQ(&result, first);
    EXPECT_EQ(firstWord(first), firstWord(second));
    EXPECT_NE(firstWord(first), before);

    std::atomic<bool> returned{false};
    std::thread waiter([&] {
        first->wait();
        returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(returned);
    second->raise();
    waiter.join();

    EXPECT_TRUE(Velmor::os::closeHandle(before)); // the handle that the target held was left open
    second->~Signal();
    replaceHandle(*first, nullptr); // already closed by the other
    first->~Signal();
}

TEST(Signal, SelfAssignmentChangesNothing) {
    Signal signal;
    Signal& same = signal;
    const HANDLE before = firstWord(&signal);
    signal = same;
    EXPECT_EQ(firstWord(&signal), before);
    signal.raise();
    signal.wait();
}

VELMOR_SCENARIO(UseASignalThatTheOtherClosed) {
    Place<Signal> firstPlace;
    Place<Signal> secondPlace;
    Signal* const first = firstPlace.make();
    Signal* const second = secondPlace.make();
    Velmor::os::closeHandle(firstWord(first));
    *first = *second;
    second->~Signal();
    first->raise();
    first->wait(); // fails, and returns
    first->~Signal();
    std::puts("done");
}

TEST(Signal, AClosedEventIsHarmless) {
    const auto run = velmor_tests::runAlone("UseASignalThatTheOtherClosed", {}, std::chrono::seconds(20));
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "done\n");
    EXPECT_EQ(run.error, "");
}

#if !defined(_WIN32)
// Windows may have given the number to another object meanwhile; here the second close never hits one.
TEST(Signal, TheSecondCloseHitsNoOtherHandle) {
    for (int i = 0; i < 300; ++i) {
        Place<Signal> firstPlace;
        Place<Signal> secondPlace;
        Signal* const first = firstPlace.make();
        Signal* const second = secondPlace.make();
        Velmor::os::closeHandle(firstWord(first));
        *first = *second;
        second->~Signal();
        Signal newer;
        const int file = dup(STDERR_FILENO);
        first->~Signal();
        EXPECT_EQ(close(file), 0);
        std::atomic<bool> returned{false};
        std::thread waiter([&] {
            newer.wait();
            returned = true;
        });
        EXPECT_FALSE(returned);
        newer.raise();
        waiter.join();
        EXPECT_TRUE(returned);
        EXPECT_TRUE(Velmor::os::closeHandle(firstWord(&newer)));
        replaceHandle(newer, nullptr);
    }
}

TEST(Signal, AStaleHandleDoesNotReachANewerSignal) {
    for (int i = 0; i < 300; ++i) {
        Place<Signal> firstPlace;
        Place<Signal> secondPlace;
        Signal* const first = firstPlace.make();
        Signal* const second = secondPlace.make();
        Velmor::os::closeHandle(firstWord(first));
        *first = *second;
        second->~Signal();
        Signal newer;
        first->raise();
        std::atomic<bool> returned{false};
        std::thread waiter([&] {
            newer.wait();
            returned = true;
        });
        if (i < 3)
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_FALSE(returned);
        newer.raise();
        waiter.join();
        first->~Signal();
    }
}
#endif

} // namespace
