#pragma once

// Conversions between UTF-8, UTF-16 and paths.

#include <Velmor/WideText.h>

#include <filesystem>
#include <string>

namespace velmor_tests {

/// A path, or text in UTF-8, as UTF-16.
Velmor::WideString wide(const std::filesystem::path& path);
Velmor::WideString wide(const char* utf8);
inline Velmor::WideString wide(const std::string& utf8) {
    return wide(utf8.c_str());
}

/// UTF-16 text, or a path, as UTF-8.
std::string narrow(const Velmor::WideString& text);
std::string narrow(const std::filesystem::path& path);

/// Text in UTF-8 as a path.
std::filesystem::path pathOf(const std::string& utf8);

} // namespace velmor_tests
