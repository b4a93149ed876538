#include "Text.h"

namespace importer {
namespace {

unsigned byteAt(std::string_view text, std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
}

// The surrogate that stands at i in three bytes, less its base; 0x400 and above when none does.
unsigned surrogateAt(std::string_view text, std::size_t i, unsigned secondByte) {
    const bool is =
        byteAt(text, i) == 0xED && (byteAt(text, i + 1) & 0xF0) == secondByte && (byteAt(text, i + 2) & 0xC0) == 0x80;
    return is ? (byteAt(text, i + 1) & 0x0F) << 6 | (byteAt(text, i + 2) & 0x3F) : 0x400u;
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const unsigned byte = byteAt(text, i);
        const unsigned high = surrogateAt(text, i, 0xA0);
        const unsigned low = surrogateAt(text, i + 3, 0xB0);
        if (high < 0x400 && low < 0x400) {
            const unsigned code = 0x10000 + (high << 10 | low);
            for (const unsigned unit :
                 {0xF0 | code >> 18, 0x80 | (code >> 12 & 0x3F), 0x80 | (code >> 6 & 0x3F), 0x80 | (code & 0x3F)}) {
                result.push_back(static_cast<char>(unit));
            }
            i += 6;
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
    if (text.size() <= bytes) {
        return std::string(text);
    }
    while (bytes > 0 && (byteAt(text, bytes) & 0xC0) == 0x80) {
        --bytes;
    }
    return std::string(text.substr(0, bytes)) + "...";
}

Velmor::WideString wide(const std::filesystem::path& path) {
    return path.string<Velmor::WideChar>();
}

std::string utf8(const std::filesystem::path& path) {
    const auto text = path.u8string();
    return printable(std::string(text.begin(), text.end()));
}

} // namespace importer
