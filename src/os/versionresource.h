#pragma once

// The version resource of a PE file. Both systems read it with the same code, which validates each offset and count of the
// file before it is used.

#include "os/os.h"

#include <vector>

namespace Velmor::os {

/// The result of reading a version resource.
enum class VersionResource {
    unknown, ///< The file cannot be opened, or is not a PE file.
    invalid, ///< A PE file without a version resource, or a damaged one.
    valid,   ///< A valid version resource.
};

/// Reads the version resource of a PE file of 32 or 64 bits.
/// @param[out] block receives the resource if it is valid; otherwise its content is unspecified.
VersionResource readVersionResource(const WideChar* path, std::vector<unsigned char>& block);

/// Reads the product version from a version resource.
/// @param[out] high,low dwProductVersionMS and dwProductVersionLS; not changed on failure.
/// @return false if the resource is damaged.
bool readProductVersion(const unsigned char* block, std::size_t size, std::uint32_t* high, std::uint32_t* low);

} // namespace Velmor::os
