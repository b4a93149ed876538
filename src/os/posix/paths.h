#pragma once

// Paths as the library takes them on this system. A backslash separates the parts of a path as a slash does. One with a
// drive letter or two backslashes at its head is normalised by Windows' rules, every other by the system's. No drive is
// there: a path with a drive letter names nothing.

#include <Velmor/WideText.h>

#include <optional>
#include <string>

namespace Velmor::os::posix {

/// Whether a unit separates the parts of a path.
constexpr bool isSeparator(WideChar unit) {
    return unit == VELMOR_WIDE('/') || unit == VELMOR_WIDE('\\');
}

/// The bytes of a path for a system call.
/// @return nothing, with the last error set, for an empty path and for one with a drive letter.
std::optional<std::string> systemPath(const WideChar* path);

/// A path of the system made absolute and freed of its empty, "." and ".." parts, which is done in the text alone.
/// @param path with slashes only.
/// @return nothing, with the last error set, if the current folder cannot be had.
std::optional<WideString> absolutePath(WideString path);

} // namespace Velmor::os::posix
