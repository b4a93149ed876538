#pragma once

// The variable that most tests of EnvironmentVariables use. Each test sets it and removes it at its end.

#include <Velmor/WideText.h>

#include "Tools.h"

#include <cstddef>
#include <string>

namespace velmor_tests {

inline constexpr const char* name = "VELMOR_TEST_VARIABLE";
inline const Velmor::WideString wideName = wide(name);

/// A number with leading zeros.
inline std::string padded(std::size_t length, const std::string& digits) {
    return std::string(length - digits.size(), '0') + digits;
}

} // namespace velmor_tests
