#pragma once

// The version resource of a PE file, read on both systems by the library itself. Nothing that the file says of itself is
// trusted: each offset and count is looked at before it is used.

#include "os/os.h"

#include <vector>

namespace Velmor::os {

/// What was found in a file.
enum class VersionResource {
    unknown, ///< The file cannot be read, or is no PE file.
    none,    ///< A PE file without a version, or a damaged one.
    sound,   ///< A version resource that can be read.
};

/// Reads the version resource of a PE file, of 32 or 64 bits.
/// @param[out] block receives the resource, if it is sound.
VersionResource readVersionResource(const WideChar* path, std::vector<unsigned char>& block);

/// Reads the product version from a version resource.
/// @return false if it is damaged.
bool readProductVersion(const unsigned char* block, std::size_t size, std::uint32_t* high, std::uint32_t* low);

} // namespace Velmor::os
