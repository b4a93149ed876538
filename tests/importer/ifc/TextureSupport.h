#pragma once

// Images for models in tests. For the reader, an image is the PNG signature and any bytes after it.

#include "importer/ifc/ReaderSupport.h"

#include <string>
#include <string_view>

namespace velmor_tests {

using namespace importer::ifc;

/// The PNG signature, followed by `tail`.
inline std::string png(const std::string& tail) {
    return std::string("\x89PNG\r\n\x1A\n") + tail;
}

inline std::string bytesOf(const Texture& texture) {
    return {texture.png.begin(), texture.png.end()};
}

/// The bytes as a binary of the exchange structure.
inline std::string binaryOf(const std::string& bytes) {
    std::string binary = "\"0";
    for (const char byte : bytes) {
        constexpr const char* digits = "0123456789ABCDEF";
        binary += digits[static_cast<unsigned char>(byte) >> 4];
        binary += digits[byte & 0xF];
    }
    return binary + "\"";
}

} // namespace velmor_tests
