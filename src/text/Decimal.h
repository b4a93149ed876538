#pragma once

#include <Velmor/WideText.h>

#include <cstdint>

namespace Velmor::text {

/// Reads the decimal number at the beginning of a text: white space, an optional sign, then digits up to the first other
/// character. White space and digits are those that Windows accepts, also of other scripts, in every locale.
/// @param text    NUL-terminated.
/// @param largest the largest number of the result's type.
/// @return the number, limited to the range from -largest - 1 to largest; 0 for a text without digits.
std::int64_t integerFromText(const WideChar* text, std::int64_t largest);

} // namespace Velmor::text
