#include "importer/exchange/Text.h"

namespace importer::exchange {

namespace {

unsigned byteAt(std::string_view text, std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
}

// The UTF-16 unit that the three bytes at i encode; 0 when they encode none.
unsigned unitAt(std::string_view text, std::size_t i) {
    const unsigned bytes[] = {byteAt(text, i), byteAt(text, i + 1), byteAt(text, i + 2)};
    const bool isUnit = (bytes[0] & 0xF0) == 0xE0 && (bytes[1] & 0xC0) == 0x80 && (bytes[2] & 0xC0) == 0x80;
    return isUnit ? (bytes[0] & 0x0F) << 12 | (bytes[1] & 0x3F) << 6 | (bytes[2] & 0x3F) : 0u;
}

bool isHighSurrogate(unsigned unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(unsigned unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// Marks that change the direction of the text around them can make a line read as another one.
bool isDirectionMark(unsigned unit) {
    return unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const unsigned byte = byteAt(text, i);
        const unsigned unit = unitAt(text, i);
        const unsigned next = isHighSurrogate(unit) ? unitAt(text, i + 3) : 0u;
        if (isLowSurrogate(next)) {
            const unsigned code = 0x10000 + ((unit - 0xD800) << 10 | (next - 0xDC00));
            for (const unsigned out :
                 {0xF0 | code >> 18, 0x80 | (code >> 12 & 0x3F), 0x80 | (code >> 6 & 0x3F), 0x80 | (code & 0x3F)})
                result.push_back(static_cast<char>(out));
            i += 6;
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit) || isDirectionMark(unit)) {
            result.push_back('?');
            i += 3;
        } else if (byte == 0xC2 && byteAt(text, i + 1) >= 0x80 && byteAt(text, i + 1) < 0xA0) { // U+0080 to U+009F
            result.push_back('?');
            i += 2;
        } else {
            result.push_back(byte < 0x20 || byte == 0x7F ? '?' : text[i]);
            ++i;
        }
    }
    return result;
}

std::string shortened(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes)
        return std::string(text);
    while (bytes > 0 && (byteAt(text, bytes) & 0xC0) == 0x80)
        --bytes;
    return std::string(text.substr(0, bytes)) + "...";
}

Velmor::WideString wide(const std::filesystem::path& path) {
    return path.string<Velmor::WideChar>();
}

std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return printable(std::string(text.begin(), text.end()));
}

} // namespace importer::exchange
