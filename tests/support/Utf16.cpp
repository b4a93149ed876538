#include "support/Utf16.h"

namespace velmor_tests {

Velmor::WideString wide(const std::filesystem::path& path) {
    return path.string<Velmor::WideChar>();
}

Velmor::WideString wide(const char* utf8) {
    return wide(pathOf(utf8));
}

std::string narrow(const Velmor::WideString& text) {
    return narrow(std::filesystem::path(text));
}

std::string narrow(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::filesystem::path pathOf(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

} // namespace velmor_tests
