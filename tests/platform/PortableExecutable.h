#pragma once

// Builds small program files with a version resource.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velmor_tests {

/// The four numbers of a version: major, minor, build, revision.
using VersionNumbers = std::array<std::uint16_t, 4>;

/// One version resource of a program file.
struct VersionResource {
    VersionNumbers product{3, 91, 0, 0};
    VersionNumbers file{7, 6, 5, 4};
    std::uint16_t language = 0x0409;
    std::uint32_t signature = 0xFEEF04BD; ///< Signature of the fixed part.
    std::uint16_t valueLength = 52;       ///< The length of the fixed part in the header of the block.
    std::string key = "VS_VERSION_INFO";  ///< Name of the block.
    std::vector<std::uint8_t> children;   ///< The bytes after the fixed part in the block.
};

/// A program file: headers and a resource section, optionally between a code section and a data section.
struct PortableExecutable {
    bool wide = true;                          ///< 64-bit (PE32+), else 32-bit.
    std::vector<VersionResource> resources{1}; ///< One for each language, in ascending order of the languages.
    std::uint32_t type = 16;                   ///< Resource type; 16 is RT_VERSION.
    std::uint32_t id = 1;                      ///< Resource id; 1 is VS_VERSION_INFO.
    bool otherSections = false;
    bool resourceDirectory = true; ///< Whether the headers have an entry for the resources.
};

/// The bytes of the file.
std::string bytesOf(const PortableExecutable& program);

/// The file of Velmor-3.91.dll: its headers and resources, which are stored in data/, and zeros instead of the rest.
struct LibraryFile {
    std::string content;
    std::size_t headersSize;
    std::size_t resourcesBegin;
    std::size_t resourcesSize;
};
LibraryFile libraryFile();

/// Finds the eight bytes of the product version by the signature of the fixed part.
/// @return `std::string::npos` if the file has no fixed part.
std::size_t productVersionOffset(const std::string& file);

} // namespace velmor_tests
