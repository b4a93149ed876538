#include <Velmor/Platform.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <pthread.h>
    #include <signal.h>
#endif

namespace {

using Velmor::Signal;
using velmor_tests::eventually;
using velmor_tests::openHandles;

static_assert(sizeof(Signal) == 8);
static_assert(!std::is_polymorphic_v<Signal>);

/// A thread that waits for a signal.
class Waiter {
public:
    explicit Waiter(Signal& signal)
        : thread_([this, &signal] {
              started_ = true;
              signal.wait();
              returned_ = true;
          }) {}

    bool started() const { return started_; }
    bool returned() const { return returned_; }
    std::thread::native_handle_type thread() { return thread_.native_handle(); }
    void join() { thread_.join(); }

private:
    std::atomic<bool> started_{false};
    std::atomic<bool> returned_{false};
    std::thread thread_;
};

TEST(Signal, WaitReturnsOnlyAfterRaise) {
    Signal signal;
    Waiter waiter(signal);
    std::this_thread::sleep_for(std::chrono::milliseconds(80));
    EXPECT_FALSE(waiter.returned());
    signal.raise();
    waiter.join();
    EXPECT_TRUE(waiter.returned());
}

TEST(Signal, StaysRaised) {
    Signal signal;
    signal.raise();
    for (int i = 0; i < 1000; ++i)
        signal.wait();
    Waiter waiter(signal);
    waiter.join();
    EXPECT_TRUE(waiter.returned());
}

TEST(Signal, RepeatedRaiseHasNoEffect) {
    Signal signal;
    signal.raise();
    signal.raise();
    signal.wait();
    signal.raise();
    signal.wait();
    signal.wait();
}

TEST(Signal, RaiseReleasesAllWaiters) {
    Signal signal;
    std::vector<std::unique_ptr<Waiter>> waiters;
    for (int i = 0; i < 16; ++i)
        waiters.push_back(std::make_unique<Waiter>(signal));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (const auto& waiter : waiters)
        EXPECT_FALSE(waiter->returned());
    signal.raise();
    for (const auto& waiter : waiters)
        waiter->join();
}

TEST(Signal, RaiseSynchronizesWithWait) {
    for (int i = 0; i < 200; ++i) {
        Signal signal;
        int value = 0; // not atomic: the signal orders the accesses
        std::thread thread([&] {
            value = i;
            signal.raise();
        });
        signal.wait();
        EXPECT_EQ(value, i);
        thread.join();
    }
}

TEST(Signal, ManyThreadsMayRaiseIt) {
    Signal signal;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            signal.raise();
            signal.wait();
        });
    signal.wait();
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Signal, MayBeDestroyedWhenWaitReturns) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 1000; ++i) {
        auto signal = std::make_unique<Signal>();
        Signal* const raised = signal.get();
        std::thread thread([raised] { raised->raise(); });
        signal->wait();
        signal.reset(); // the other thread may still be in raise()
        thread.join();
    }
}

std::atomic<int> interruptions{0};

#if defined(_WIN32)
void CALLBACK interruption(ULONG_PTR) {
    ++interruptions;
}

/// Queues a call to the waiting thread. Only an alertable wait would execute it.
void interrupt(Waiter& waiter) {
    const HANDLE thread = static_cast<HANDLE>(pthread_gethandle(waiter.thread()));
    ASSERT_NE(QueueUserAPC(&interruption, thread, 0), 0u);
}

constexpr int interruptionsWhileWaiting = 0;
#else
extern "C" void interruption(int) {
    ++interruptions;
}

void interrupt(Waiter& waiter) {
    struct sigaction action {};
    action.sa_handler = &interruption;
    sigaction(SIGUSR1, &action, nullptr);
    ASSERT_EQ(pthread_kill(waiter.thread(), SIGUSR1), 0);
}

constexpr int interruptionsWhileWaiting = 1;
#endif

TEST(Signal, InterruptionsDoNotEndAWait) {
    Signal signal;
    Waiter waiter(signal);
    ASSERT_TRUE(eventually([&] { return waiter.started(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(40)); // usually the thread waits now
    interrupt(waiter);
    EXPECT_TRUE(eventually([] { return interruptions == interruptionsWhileWaiting; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(waiter.returned());
    EXPECT_EQ(interruptions, interruptionsWhileWaiting);
    signal.raise();
    waiter.join();
}

TEST(Signal, SignalsAreIndependent) {
    Signal first;
    Signal second;
    first.raise();
    first.wait();
    Waiter waiter(second);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(waiter.returned());
    second.raise();
    waiter.join();
}

TEST(Signal, TwoThreadsMayAlternate) {
    for (int i = 0; i < 200; ++i) {
        Signal there;
        Signal back;
        std::thread thread([&] {
            there.wait();
            back.raise();
        });
        there.raise();
        back.wait();
        thread.join();
    }
}

TEST(Signal, LeaksNoHandle) {
    const auto round = [] {
        Signal signal;
        Waiter waiter(signal);
        signal.raise();
        waiter.join();
    };
    round();
    const std::size_t before = openHandles();
    for (int i = 0; i < 200; ++i)
        round();
    EXPECT_EQ(openHandles(), before);
}

} // namespace
