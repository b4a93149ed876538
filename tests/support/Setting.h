#pragma once

#include <cstdlib>
#include <string>

namespace velmor_tests {

/// An environment variable, by which a test tells its scenario what to do; empty when it is not set.
inline std::string setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace velmor_tests
