#pragma once

// Shared by the tests of ThreadOperations.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace velmor_tests {

/// The value of an output argument that a function must not change.
inline constexpr unsigned untouched = 0xDEADBEEF;

inline constexpr unsigned stillActive = 259;

/// Waits until a thread has ended, and returns its exit code.
inline unsigned joinThread(unsigned* thread) {
    unsigned exitCode = untouched;
    EXPECT_TRUE(eventually([&] { return Velmor::ThreadOperations::hasEnded(thread, &exitCode); }))
        << "the thread has not ended";
    return exitCode;
}

inline unsigned joinAndClose(unsigned* thread) {
    const unsigned exitCode = joinThread(thread);
    Velmor::ThreadOperations::closeThread(thread);
    return exitCode;
}

/// Starts a thread that ends at once with this exit code.
inline unsigned* startEnding(unsigned exitCode) {
    return Velmor::ThreadOperations::createThread([](void* data, std::uint64_t) { return *static_cast<unsigned*>(data); },
                                                  &exitCode, sizeof exitCode, false);
}

} // namespace velmor_tests
