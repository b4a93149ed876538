#pragma once

// Small program files, made by hand, with a version resource.

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
    std::uint32_t signature = 0xFEEF04BD; ///< Of the fixed part.
    std::uint16_t valueLength = 52;       ///< What the block says of the fixed part's length.
    std::string key = "VS_VERSION_INFO";  ///< Name of the block.
    std::vector<std::uint8_t> behind;     ///< What follows the fixed part within the block.
};

/// A program file: headers, a section of code before and one of data behind the resources if asked for.
struct PortableExecutable {
    bool wide = true;                          ///< 64-bit (PE32+), else 32-bit.
    std::vector<VersionResource> resources{1}; ///< One of each language; in ascending order of the languages.
    std::uint32_t type = 16;                   ///< Of the resources; 16 is the version's.
    std::uint32_t id = 1;                      ///< Of the resources; 1 is the version's.
    bool otherSections = false;
    bool resourceDirectory = true; ///< Whether the headers tell of the resources.
};

/// The bytes of the file.
std::string bytesOf(const PortableExecutable& program);

/// A file of Velmor-3.91.dll itself: its headers and its resources, which are kept in data/, and zeros in the place of all
/// else.
struct LibraryFile {
    std::string content;
    std::size_t headersSize;
    std::size_t resourcesBegin;
    std::size_t resourcesSize;
};
LibraryFile libraryFile();

/// Finds the eight bytes of the product version's numbers: by the signature of the fixed part that they stand in.
/// @return `std::string::npos` if there are none.
std::size_t productVersionPlace(const std::string& file);

} // namespace velmor_tests
