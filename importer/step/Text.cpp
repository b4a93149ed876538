// A text is decoded from left to right, one unit at a time: a directive, a doubled apostrophe, a UTF-8 sequence, or a single
// byte. The only state is the code page of \S\, which \P?\ sets and which begins as ISO 8859-1. A directive that is invalid
// or cut off decodes to its own characters: nothing is lost, and decoding cannot fail.

#include "importer/step/Text.h"

#include <Velmor/Text.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace importer::step {

namespace {

using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;

/// Reads `digits` hexadecimal digits at `offset`.
/// @return false if there are fewer.
bool readHex(std::string_view text, std::size_t offset, std::size_t digits, std::uint32_t& value) {
    if (text.size() - offset < digits)
        return false;
    value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        const int digit = hexDigit(text[offset + i]);
        if (digit < 0)
            return false;
        value = value << 4 | static_cast<std::uint32_t>(digit);
    }
    return true;
}

void append(WideString& text, std::uint32_t character) {
    if (character >= 0x10000) {
        text += static_cast<WideChar>(0xD800 + ((character - 0x10000) >> 10));
        text += static_cast<WideChar>(0xDC00 + (character & 0x3FF));
    } else {
        text += static_cast<WideChar>(character);
    }
}

/// The length of the UTF-8 sequence at the beginning of `text`; 0 if it is not a valid one of 2 to 4 bytes.
std::size_t readUtf8(std::string_view text, std::uint32_t& character) {
    static constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || text.size() < length)
        return 0;
    character = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80)
            return 0;
        character = character << 6 | (next & 0x3Fu);
    }
    const bool valid = character >= smallest[length] && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    return valid ? length : 0;
}

/// Decodes the directive at the beginning of `text`, which is a backslash.
/// @return its length; 0 if it is not a valid directive.
std::size_t readDirective(std::string_view text, StringOperations::CharSet_e& page, WideString& result) {
    std::uint32_t value = 0;
    if (text.starts_with("\\\\")) {
        result += static_cast<WideChar>('\\');
        return 2;
    }
    if (text.starts_with("\\N\\") || text.starts_with("\\F\\"))
        return 3;
    if (text.starts_with("\\X\\") && readHex(text, 3, 2, value)) {
        append(result, value);
        return 5;
    }
    if (text.starts_with("\\S\\") && text.size() > 3) {
        result += StringOperations::ConvertIsoLatinToWideChar(page, static_cast<char>(text[3] | '\x80'));
        return text.substr(3).starts_with("''") ? 5 : 4;
    }
    if (text.size() > 3 && text.starts_with("\\P") && text[2] >= 'A' && text[2] <= 'I' && text[3] == '\\') {
        page = static_cast<StringOperations::CharSet_e>(StringOperations::ISO_8859_1 + static_cast<unsigned>(text[2] - 'A'));
        return 4;
    }
    if (text.starts_with("\\X2\\") || text.starts_with("\\X4\\")) {
        const std::size_t digits = text[2] == '2' ? 4 : 8;
        WideString run;
        std::size_t offset = 4;
        for (; readHex(text, offset, digits, value); offset += digits) {
            if (value > 0x10FFFF)
                return 0;
            append(run, value);
        }
        if (!text.substr(offset).starts_with("\\X0\\"))
            return 0;
        result += run;
        return offset + 4;
    }
    return 0;
}

bool isLineBreak(char c) {
    return c == '\n' || c == '\r';
}

/// Decodes the UTF-8 sequence at the beginning of `bytes`, or else its first byte as ISO 8859-1.
/// @return the number of bytes decoded.
std::size_t decodeOne(std::string_view bytes, WideString& result) {
    std::uint32_t character = 0;
    const std::size_t length = readUtf8(bytes, character);
    append(result, length != 0 ? character : static_cast<unsigned char>(bytes[0]));
    return length != 0 ? length : 1;
}

} // namespace

WideString decodeText(std::string_view encoded) {
    WideString result;
    result.reserve(encoded.size());
    StringOperations::CharSet_e page = StringOperations::ISO_8859_1;
    for (std::size_t i = 0; i < encoded.size();) {
        const std::string_view rest = encoded.substr(i);
        const char c = rest[0];
        std::size_t length = 0;
        if (c == '\\') {
            length = readDirective(rest, page, result);
        } else if (c == '\'' && rest.starts_with("''")) {
            result += static_cast<WideChar>('\'');
            length = 2;
        } else if (isLineBreak(c)) {
            length = 1;
        }
        i += length != 0 ? length : decodeOne(rest, result);
    }
    return result;
}

WideString decodeUtf8(std::string_view bytes) {
    WideString result;
    while (!bytes.empty())
        bytes.remove_prefix(decodeOne(bytes, result));
    return result;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

std::optional<std::vector<char>> decodeBinary(std::string_view encoded) {
    if (!encoded.starts_with('0'))
        return std::nullopt;
    std::vector<char> bytes;
    bytes.reserve(encoded.size() / 2);
    int high = -1; // first digit of a byte whose second digit has not been read
    for (const char c : encoded.substr(1)) {
        if (isLineBreak(c))
            continue;
        const int digit = hexDigit(c);
        if (digit < 0)
            return std::nullopt;
        if (high >= 0)
            bytes.push_back(static_cast<char>(high << 4 | digit));
        high = high < 0 ? digit : -1;
    }
    return high < 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

} // namespace importer::step
