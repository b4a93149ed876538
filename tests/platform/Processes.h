#pragma once

// Shared by the tests of ProcessOperations.

#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <string>

#if !defined(_WIN32)
    #include <sys/wait.h>
#endif

namespace velmor_tests {

/// The value of an output argument that a function must not change.
inline constexpr unsigned untouched = 0xDEADBEEF;

/// Starts a child that ends at once with this exit code.
inline HANDLE startEnding(unsigned exitCode, bool inheritHandles = false) {
    return startProcess(childProgram(), wide("child " + std::to_string(exitCode)), inheritHandles);
}

#if !defined(_WIN32)
/// Whether this process has a child that runs or has not been waited for.
inline bool hasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}
#endif

} // namespace velmor_tests
