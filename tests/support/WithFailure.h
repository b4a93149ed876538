#pragma once

// Runs a function while an allocation fails, and returns what happened (INTERNAL suites only, as FailingAllocation.h).

#include "support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

namespace velmor_tests {

/// Runs a function and returns what it printed on standard error.
template <class Function>
std::string errorOf(Function function) {
    testing::internal::CaptureStderr();
    function();
    std::string text = testing::internal::GetCapturedStderr();
    std::erase(text, '\r');
    return text;
}

/// What one attempt with a failing allocation did.
struct Attempt {
    bool failed = false;  ///< Whether the allocation was reached.
    std::size_t size = 0; ///< The requested size in bytes.
    std::string error;    ///< The text on standard error.
};

/// Runs a function while its n-th allocation on the C heap fails, optionally with all later ones.
template <class Function>
Attempt withFailure(unsigned n, bool andAllLater, Function function) {
    Attempt attempt;
    attempt.error = errorOf([&] {
        const FailAllocation fail(n, andAllLater);
        function();
        attempt.failed = fail.happened();
        attempt.size = fail.failedSize();
    });
    return attempt;
}

/// What an operation did while one of its allocations failed, by malloc or by `operator new`.
struct Outcome {
    bool failed = false;  ///< Whether the allocation was reached.
    std::size_t size = 0; ///< The requested size in bytes.
    bool threw = false;   ///< Whether it threw std::bad_alloc.
    long leaked = 0;      ///< Number of blocks that it allocated and did not free.
};

/// Throws an exception while malloc fails, so that the runtime allocates now what it needs for exceptions: per-thread data,
/// and on Windows the mutex of its emergency pool. Otherwise that data would count as a leak, and the first exception
/// without any memory would fail to lock the mutex, throw again, and overflow the stack.
inline void throwOnce() {
    const FailAllocation fail(1);
    try {
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
    }
}

/// Runs an operation while its n-th allocation, by malloc or by `operator new`, fails, optionally with all later ones.
template <class Operation>
Outcome outcomeOf(unsigned n, bool andAllLater, Operation operation) {
    throwOnce();
    Outcome outcome;
    const long before = liveAllocations();
    {
        const FailAllocation fail(n, andAllLater, Allocations::All);
        try {
            operation();
        } catch (const std::bad_alloc&) {
            outcome.threw = true;
        }
        outcome.failed = fail.happened();
        outcome.size = fail.failedSize();
    }
    outcome.leaked = liveAllocations() - before;
    return outcome;
}

/// Whether a function throws std::bad_alloc when its n-th allocation fails.
template <class Function>
bool throwsBadAlloc(unsigned n, Function function) {
    const FailAllocation fail(n);
    try {
        function();
    } catch (const std::bad_alloc&) {
        return true;
    }
    return false;
}

/// The line that the hash-table store prints for an allocation that failed.
inline std::string message(std::size_t size, const std::string& label) {
    return "libtabrix: cannot allocate memory (" + std::to_string(size) + " bytes) for " + label + "\n";
}

} // namespace velmor_tests
