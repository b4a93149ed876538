#include "text/Decimal.h"

#include <algorithm>
#include <iterator>

namespace Velmor::text {

namespace {

struct CharacterRange {
    WideChar first;
    WideChar last;
};

/// White space before a number. The functions of the C library are not used, because their result depends on the locale.
constexpr CharacterRange spaces[] = {{0x0009, 0x000D}, {0x0020, 0x0020}, {0x00A0, 0x00A0},
                                     {0x1680, 0x1680}, {0x2000, 0x200A}, {0x2028, 0x2029},
                                     {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000}};

/// The digit zero of each script whose decimal digits are accepted. The digits one to nine follow it.
constexpr WideChar zeros[] = {0x0030, 0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66,
                              0x0CE6, 0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810, 0xFF10};

bool isSpace(WideChar character) {
    return std::any_of(std::begin(spaces), std::end(spaces), [character](const CharacterRange& range) {
        return character >= range.first && character <= range.last;
    });
}

/// The value of a decimal digit; -1 for any other character.
int digitOf(WideChar character) {
    for (const WideChar zero : zeros) {
        if (character >= zero && character <= zero + 9)
            return character - zero;
    }
    return -1;
}

} // namespace

std::int64_t integerFromText(const WideChar* text, std::int64_t largest) {
    while (isSpace(*text))
        ++text;
    const bool negative = *text == VELMOR_WIDE('-');
    if (negative || *text == VELMOR_WIDE('+'))
        ++text;
    const std::uint64_t limit = static_cast<std::uint64_t>(largest) + (negative ? 1 : 0);
    std::uint64_t value = 0;
    for (int digit = digitOf(*text); digit >= 0; digit = digitOf(*++text)) {
        const std::uint64_t added = static_cast<std::uint64_t>(digit);
        value = value > (limit - added) / 10 ? limit : value * 10 + added;
    }
    return static_cast<std::int64_t>(negative ? std::uint64_t{0} - value : value);
}

} // namespace Velmor::text
