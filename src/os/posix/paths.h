#pragma once

// Paths. Slashes and backslashes separate the parts of a path. A path that begins with a drive letter or two backslashes is
// normalized by the rules of Windows, every other path by the rules of this system. There are no drives: a path with a drive
// letter refers to no file.

#include <Velmor/WideText.h>

#include <optional>
#include <string>

namespace Velmor::os::posix {

/// Whether a code unit separates the parts of a path.
constexpr bool isSeparator(WideChar unit) {
    return unit == VELMOR_WIDE('/') || unit == VELMOR_WIDE('\\');
}

/// Returns the bytes of a path for a system call.
/// @return nothing, with the last error set, for an empty path and for one with a drive letter.
std::optional<std::string> systemPath(const WideChar* path);

/// Makes a path of this system absolute and removes its empty, "." and ".." parts. Does not access the file system, so links
/// are not resolved.
/// @param path with slashes only.
/// @return nothing, with the last error set, if the current folder is not available.
std::optional<WideString> absolutePath(WideString path);

} // namespace Velmor::os::posix
