#pragma once

/// @file
/// The wide text of the interface: UTF-16 on every system.

#include <string>

namespace Velmor {

/// One UTF-16 code unit. On Windows this is `wchar_t` itself, elsewhere a 16-bit type of the same layout.
#if defined(_WIN32)
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif

/// Owned wide text. On Windows this is `std::wstring` itself.
using WideString = std::basic_string<WideChar>;

static_assert(sizeof(WideChar) == 2, "wide text is UTF-16 on every system");

} // namespace Velmor

/// A wide string or character literal of the interface's type: `VELMOR_WIDE("PATH")`, `VELMOR_WIDE('%')`.
#if defined(_WIN32)
    #define VELMOR_WIDE(literal) L##literal
#else
    #define VELMOR_WIDE(literal) u##literal
#endif
