#pragma once

/// @file
/// The wide text of the interface: UTF-16 on every system.

#include <string>

namespace Velmor {

/// One UTF-16 code unit: `wchar_t` on Windows, `char16_t` elsewhere.
#if defined(_WIN32)
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif

/// Owned wide text: `std::wstring` on Windows, `std::u16string` elsewhere.
using WideString = std::basic_string<WideChar>;

static_assert(sizeof(WideChar) == 2, "wide text is UTF-16 on every system");

} // namespace Velmor

/// A wide string or character literal: `VELMOR_WIDE("PATH")`, `VELMOR_WIDE('%')`.
#if defined(_WIN32)
    #define VELMOR_WIDE(literal) L##literal
#else
    #define VELMOR_WIDE(literal) u##literal
#endif
