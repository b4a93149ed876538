#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace velmor_tests {

inline constexpr unsigned threadCount = 8;

/// Calls a function on `threadCount` threads that start together, and waits for all of them.
/// @param function receives the index of its thread.
template <class Function>
void onThreads(Function function) {
    std::atomic<unsigned> waiting{threadCount};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < threadCount; ++i)
        threads.emplace_back([&, i] {
            --waiting;
            while (waiting != 0)
                std::this_thread::yield();
            function(i);
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace velmor_tests
