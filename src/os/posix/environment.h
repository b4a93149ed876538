#pragma once

// The environment of this process in bytes, for the other files of this system.

#include <optional>
#include <string>
#include <vector>

namespace Velmor::os::posix {

/// The value of a variable; nothing if it is missing.
std::optional<std::string> environmentValue(const char* name);

/// All variables, each as "NAME=value".
std::vector<std::string> environmentEntries();

} // namespace Velmor::os::posix
