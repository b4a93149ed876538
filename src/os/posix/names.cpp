#include "os/posix/names.h"

#include "os/posix/unicode.h"

namespace Velmor::os::posix {

namespace {

constexpr char32_t byteEscape = 0xDC00; // added to a byte of 0x80 or more

} // namespace

WideString wideName(std::string_view name) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(name.data());
    WideString wide;
    wide.reserve(name.size());
    for (std::size_t position = 0; position < name.size();) {
        const DecodedCharacter character = decodeUtf8(bytes + position, name.size() - position);
        WideChar units[2];
        wide.append(units, encodeUtf16(character.isValid ? character.value : byteEscape + bytes[position], units));
        position += character.isValid ? character.length : 1;
    }
    return wide;
}

std::string narrowName(const WideChar* name) {
    const std::size_t length = std::char_traits<WideChar>::length(name);
    std::string narrow;
    for (std::size_t position = 0; position < length;) {
        const DecodedCharacter character = decodeUtf16(name + position, length - position);
        position += character.length;
        if (character.value >= byteEscape + 0x80 && character.value <= byteEscape + 0xFF) {
            narrow.push_back(static_cast<char>(character.value - byteEscape));
        } else {
            char bytes[4];
            narrow.append(bytes, encodeUtf8(character.value, bytes));
        }
    }
    return narrow;
}

} // namespace Velmor::os::posix
