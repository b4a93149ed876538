#pragma once

// Names (of files, variables and modules) as the kernel has them, in bytes, and as the library has them, in UTF-16.
// Well-formed UTF-8 is converted. A byte b that is not part of well-formed UTF-8 is converted to U+DC00 + b (U+DC80 to
// U+DCFF) and back, so that every name that the system allows is preserved.

#include <Velmor/WideText.h>

#include <string>
#include <string_view>

namespace Velmor::os::posix {

/// Converts a name to UTF-16.
WideString wideName(std::string_view name);

/// Converts a name in UTF-16, which ends with a NUL, to bytes. A surrogate that is neither half of a pair nor an escaped
/// byte is encoded as three bytes.
std::string narrowName(const WideChar* name);

} // namespace Velmor::os::posix
