#pragma once

// Names as the kernel has them (bytes) and as the library has them (UTF-16). Well-formed UTF-8 is converted; a byte that is
// no part of such stands for itself as U+DC80..U+DCFF, both ways, so that every name there can be passes through unchanged.

#include <Velmor/WideText.h>

#include <string>
#include <string_view>

namespace Velmor::os::posix {

/// The UTF-16 form of a name.
WideString wideName(std::string_view name);

/// The bytes of a name in UTF-16, NUL-terminated. A surrogate that is neither half of a pair nor stands for a byte is
/// encoded by itself.
std::string narrowName(const WideChar* name);

} // namespace Velmor::os::posix
