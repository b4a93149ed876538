#pragma once

#include <Velmor/WideText.h>

#include <cstdint>

namespace Velmor {

/// The decimal number that a text begins with: white space, an optional sign, digits up to the first other character.
/// @param largest the largest number of the result's type. The result is held at the ends of its range, -largest - 1 and
///                largest.
/// @return the number; 0 for text without digits.
std::int64_t integerFromText(const WideChar* text, std::int64_t largest);

} // namespace Velmor
