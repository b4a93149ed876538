#pragma once

// The environment of this process in bytes.

#include <optional>
#include <string>
#include <vector>

namespace Velmor::os::posix {

/// Returns the value of a variable; nothing if it is missing.
std::optional<std::string> environmentValue(const char* name);

/// Returns all variables in the form "NAME=value".
std::vector<std::string> environmentEntries();

} // namespace Velmor::os::posix
