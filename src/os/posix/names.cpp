#include "os/posix/names.h"

#include "os/posix/utf16.h"

#include <cstddef>
#include <cstdint>

namespace Velmor::os::posix {

namespace {

constexpr std::uint32_t byteEscape = 0xDC00; // a byte b that is no UTF-8 stands as U+DC00 + b, which begins at U+DC80

/// Reads one character of well-formed UTF-8, surrogates and overlong forms excluded.
/// @return its length in bytes; 0 if there is none.
std::size_t decodeCharacter(std::string_view bytes, std::uint32_t& character) {
    const auto at = [&](std::size_t index) { return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index])); };
    const std::uint32_t lead = at(0);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    const std::size_t length = lead >= 0xF0 && lead < 0xF8   ? 4
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xC0 && lead < 0xE0 ? 2
                                                             : 0;
    if (length == 0 || length > bytes.size())
        return 0;
    character = lead & (0x7Fu >> length);
    for (std::size_t index = 1; index < length; ++index) {
        if ((at(index) & 0xC0) != 0x80)
            return 0;
        character = character << 6 | (at(index) & 0x3F);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool wellFormed =
        character >= smallest[length] && character <= 0x10FFFF && !isHighSurrogate(character) && !isLowSurrogate(character);
    return wellFormed ? length : 0;
}

void appendCharacter(std::string& out, std::uint32_t character) {
    const auto append = [&](std::uint32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0 | character >> 6);
        append(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        append(0xE0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3F));
        append(0x80 | (character & 0x3F));
    } else {
        append(0xF0 | character >> 18);
        append(0x80 | (character >> 12 & 0x3F));
        append(0x80 | (character >> 6 & 0x3F));
        append(0x80 | (character & 0x3F));
    }
}

} // namespace

WideString wideName(std::string_view name) {
    WideString wide;
    wide.reserve(name.size());
    while (!name.empty()) {
        std::uint32_t character = 0;
        std::size_t length = decodeCharacter(name, character);
        if (length == 0) {
            character = byteEscape + static_cast<unsigned char>(name[0]);
            length = 1;
        }
        if (character >= 0x10000) {
            wide.push_back(static_cast<WideChar>(0xD800 + (character - 0x10000) / 0x400));
            wide.push_back(static_cast<WideChar>(0xDC00 + (character - 0x10000) % 0x400));
        } else {
            wide.push_back(static_cast<WideChar>(character));
        }
        name.remove_prefix(length);
    }
    return wide;
}

std::string narrowName(const WideChar* name) {
    std::string narrow;
    for (; *name != 0; ++name) {
        std::uint32_t character = *name;
        if (isHighSurrogate(character) && isLowSurrogate(name[1])) {
            character = 0x10000 + (character - 0xD800) * 0x400 + (name[1] - 0xDC00u);
            ++name;
        } else if (character >= byteEscape + 0x80 && character <= byteEscape + 0xFF) {
            narrow.push_back(static_cast<char>(static_cast<unsigned char>(character - byteEscape)));
            continue;
        }
        appendCharacter(narrow, character);
    }
    return narrow;
}

} // namespace Velmor::os::posix
