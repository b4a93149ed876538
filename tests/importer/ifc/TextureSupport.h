#pragma once

// Images for models in tests. To the reader they are bytes behind a signature.

#include "importer/ifc/ReaderSupport.h"

#include <string>
#include <string_view>

namespace velmor_tests {

using namespace importer::ifc;

/// A PNG image, as far as its beginning tells.
inline std::string png(const std::string& tail) {
    return std::string("\x89PNG\r\n\x1A\n") + tail;
}

inline std::string bytesOf(const Texture& texture) {
    return {texture.png.begin(), texture.png.end()};
}

/// Bytes as a binary of the exchange structure.
inline std::string binaryOf(const std::string& bytes) {
    std::string binary = "\"0";
    for (const char byte : bytes) {
        constexpr const char* digits = "0123456789ABCDEF";
        binary += digits[static_cast<unsigned char>(byte) >> 4];
        binary += digits[byte & 0xF];
    }
    return binary + "\"";
}

/// What is read of a model in metres within these limits.
inline Taken readWithin(const Limits& limits, const std::string& data, const Velmor::WideString& folder = {}) {
    const step::File file = fileOf(stepFile(inMetres + data));
    Taken taken;
    readProducts(file, limits, taken, folder);
    return taken;
}

} // namespace velmor_tests
