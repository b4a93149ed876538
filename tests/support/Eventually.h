#pragma once

#include <chrono>
#include <thread>

namespace velmor_tests {

/// Polls a condition until it is true. The limit only ends a test that would hang.
/// @return false at the limit.
template <typename Condition>
bool eventually(Condition condition, std::chrono::seconds limit = std::chrono::seconds(120)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace velmor_tests
