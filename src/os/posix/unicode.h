#pragma once

// UTF-8 and UTF-16, one character at a time. The callers decide what an ill-formed sequence becomes: names.cpp preserves its
// bytes, codepages.cpp replaces it as Win32 does.

#include <Velmor/WideText.h>

#include <cstddef>

namespace Velmor::os::posix {

/// Whether a code unit is the first half of a surrogate pair.
constexpr bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

/// Whether a code unit is the second half of a surrogate pair.
constexpr bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// A decoded character.
struct DecodedCharacter {
    char32_t value;     ///< The code point; unspecified if it is not valid.
    std::size_t length; ///< Number of bytes or code units of the source.
    bool isValid;
};

constexpr bool isContinuationByte(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/// Returns the number of continuation bytes after a lead byte; 0 for a byte that is not a valid lead.
constexpr std::size_t continuationCount(unsigned char lead) {
    return lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
}

/// Whether a second byte after its lead excludes an overlong form, a surrogate, and a value above U+10FFFF.
constexpr bool isValidSecondByte(unsigned char lead, unsigned char byte) {
    switch (lead) {
    case 0xE0:
        return byte >= 0xA0;
    case 0xED:
        return byte < 0xA0;
    case 0xF0:
        return byte >= 0x90;
    case 0xF4:
        return byte < 0x90;
    default:
        return true;
    }
}

/// Decodes the first character of a UTF-8 text.
/// @param length of the text in bytes, at least 1.
/// @return the character; for an ill-formed sequence, which is not valid, the number of bytes that Win32 replaces by one
///         replacement character. A sequence that the end of the text truncates extends to the end.
constexpr DecodedCharacter decodeUtf8(const unsigned char* text, std::size_t length) {
    const unsigned char lead = text[0];
    if (lead < 0x80)
        return {lead, 1, true};
    const std::size_t continuations = continuationCount(lead);
    if (continuations >= length)
        return {0, length, false};
    if (continuations == 0 || !isContinuationByte(text[1]))
        return {0, 1, false};
    if (!isValidSecondByte(lead, text[1]))
        return {0, 2, false};
    char32_t value = lead & (0x3Fu >> continuations);
    for (std::size_t i = 1; i <= continuations; ++i) {
        if (!isContinuationByte(text[i]))
            return {0, i, false};
        value = value << 6 | (text[i] & 0x3Fu);
    }
    return {value, continuations + 1, true};
}

/// Decodes the first character of a UTF-16 text.
/// @param length of the text in code units, at least 1.
/// @return the character. A surrogate that is not part of a pair is returned as its value and is not valid.
constexpr DecodedCharacter decodeUtf16(const WideChar* text, std::size_t length) {
    const char32_t unit = text[0];
    if (isHighSurrogate(unit) && length > 1 && isLowSurrogate(text[1]))
        return {0x10000 + ((unit & 0x3FF) << 10 | (text[1] & 0x3FFu)), 2, true};
    return {unit, 1, !isHighSurrogate(unit) && !isLowSurrogate(unit)};
}

/// Encodes a code point in UTF-8. A surrogate becomes three bytes, like every code point of its range.
/// @param[out] bytes has a capacity of 4.
/// @return the number of bytes.
constexpr std::size_t encodeUtf8(char32_t value, char* bytes) {
    const auto continuation = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (value < 0x80) {
        bytes[0] = static_cast<char>(value);
        return 1;
    }
    if (value < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | value >> 6);
        bytes[1] = continuation(value);
        return 2;
    }
    if (value < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | value >> 12);
        bytes[1] = continuation(value >> 6);
        bytes[2] = continuation(value);
        return 3;
    }
    bytes[0] = static_cast<char>(0xF0 | value >> 18);
    bytes[1] = continuation(value >> 12);
    bytes[2] = continuation(value >> 6);
    bytes[3] = continuation(value);
    return 4;
}

/// Encodes a code point in UTF-16.
/// @param[out] units has a capacity of 2.
/// @return the number of code units.
constexpr std::size_t encodeUtf16(char32_t value, WideChar* units) {
    if (value < 0x10000) {
        units[0] = static_cast<WideChar>(value);
        return 1;
    }
    units[0] = static_cast<WideChar>(0xD800 + ((value - 0x10000) >> 10));
    units[1] = static_cast<WideChar>(0xDC00 + (value & 0x3FF));
    return 2;
}

} // namespace Velmor::os::posix
