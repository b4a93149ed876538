// CriticalSection and Signal without memory or without an event, and two signals with the same event.

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

/// Storage for an object that the test creates and destroys explicitly.
template <class Object>
class Storage {
public:
    Object* create() { return new (bytes_) Object; }

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

TEST(CriticalSection, AllocatesOneBlockOnTheRuntimeHeap) {
    Storage<CriticalSection> storage;
    unsigned seen = 0;
    CriticalSection* section = nullptr;
    {
        const FailAllocation failure(1000);
        section = storage.create();
        seen = failure.seen();
    }
    EXPECT_EQ(seen, 1u);
    section->~CriticalSection();
}

TEST(CriticalSection, HasNoSystemLockIfTheAllocationFails) {
    Storage<CriticalSection> storage;
    bool happened = false;
    std::size_t size = 0;
    CriticalSection* section = nullptr;
    {
        const FailAllocation failure(1, true);
        section = storage.create();
        happened = failure.happened();
        size = failure.failedSize();
    }
    EXPECT_TRUE(happened);
    EXPECT_EQ(size, Velmor::os::lockSize());
    EXPECT_EQ(firstWord(section), nullptr);
    EXPECT_EQ(secondWord(section), nullptr);
    section->~CriticalSection();
}

VELMOR_SCENARIO(CreateASectionWithoutMemory) {
    Storage<CriticalSection> storage;
    CriticalSection* section = nullptr;
    {
        const FailAllocation failure(1, true);
        section = storage.create();
        if (!failure.happened())
            std::exit(1);
    }
    section->~CriticalSection();
}

TEST(CriticalSection, FailedAllocationIsNotReported) {
    const auto run = velmor_tests::runUnderDebugger("CreateASectionWithoutMemory");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
}

TEST(Signal, HoldsOneEventHandle) {
    Signal signal;
    EXPECT_NE(firstWord(&signal), nullptr);
    EXPECT_NE(firstWord(&signal), Velmor::os::invalidHandle());
    Velmor::os::setEvent(firstWord(&signal));
    signal.wait();
}

TEST(Signal, DestructorClosesTheEvent) {
    HANDLE event = nullptr;
    {
        Signal signal;
        event = firstWord(&signal);
    }
    EXPECT_FALSE(Velmor::os::closeHandle(event));
}

/// Replaces the handle of a signal.
void replaceHandle(Signal& signal, HANDLE handle) {
    std::memcpy(static_cast<void*>(&signal), &handle, sizeof handle);
}

VELMOR_SCENARIO(UseASignalWithoutEvent) {
    Storage<Signal> storage;
    Signal* const signal = storage.create();
    Velmor::os::closeHandle(firstWord(signal));
    replaceHandle(*signal, nullptr);
    signal->wait();
    signal->raise();
    signal->wait();
    signal->~Signal();
    std::puts("done");
}

TEST(Signal, HasNoEffectWithoutAnEvent) {
    const auto run = velmor_tests::runAlone("UseASignalWithoutEvent");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output, "done\n");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(UseASignalWithoutEventUnderDebugger) {
    Storage<Signal> storage;
    Signal* const signal = storage.create();
    const HANDLE original = firstWord(signal);
    replaceHandle(*signal, nullptr);
    signal->raise();
    signal->wait();
    replaceHandle(*signal, original);
    signal->~Signal();
}

TEST(Signal, MissingEventIsNotReported) {
    const auto run = velmor_tests::runUnderDebugger("UseASignalWithoutEventUnderDebugger");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
}

TEST(Signal, AssignmentSharesTheEvent) {
    Storage<Signal> firstStorage;
    Storage<Signal> secondStorage;
    Signal* const first = firstStorage.create();
    Signal* const second = secondStorage.create();
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

    EXPECT_TRUE(Velmor::os::closeHandle(before)); // the assignment has not closed the handle of the target
    second->~Signal();
    replaceHandle(*first, nullptr); // the other signal has closed it
    first->~Signal();
}

TEST(Signal, SelfAssignmentHasNoEffect) {
    Signal signal;
    Signal& same = signal;
    const HANDLE before = firstWord(&signal);
    signal = same;
    EXPECT_EQ(firstWord(&signal), before);
    signal.raise();
    signal.wait();
}

VELMOR_SCENARIO(UseASignalWithAClosedEvent) {
    Storage<Signal> firstStorage;
    Storage<Signal> secondStorage;
    Signal* const first = firstStorage.create();
    Signal* const second = secondStorage.create();
    Velmor::os::closeHandle(firstWord(first));
    *first = *second;
    second->~Signal();
    first->raise();
    first->wait(); // fails and returns
    first->~Signal();
    std::puts("done");
}

TEST(Signal, ClosedEventIsHarmless) {
    const auto run = velmor_tests::runAlone("UseASignalWithAClosedEvent");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "done\n");
    EXPECT_EQ(run.error, "");
}

#if !defined(_WIN32)
// Windows may reuse the value of a handle for another object. The POSIX implementation does not.
TEST(Signal, SecondCloseDoesNotCloseAnotherHandle) {
    for (int i = 0; i < 300; ++i) {
        Storage<Signal> firstStorage;
        Storage<Signal> secondStorage;
        Signal* const first = firstStorage.create();
        Signal* const second = secondStorage.create();
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

TEST(Signal, StaleHandleDoesNotRaiseANewerSignal) {
    for (int i = 0; i < 300; ++i) {
        Storage<Signal> firstStorage;
        Storage<Signal> secondStorage;
        Signal* const first = firstStorage.create();
        Signal* const second = secondStorage.create();
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
