#pragma once

#include <Velmor/Version.h>

#include <cstddef>
#include <cstdlib>
#include <new>

// The record of a version: the number of its fields, and its allocation. <Velmor/Version.h> pins the layout.

namespace Velmor::version {

inline constexpr std::size_t coordinateCount = 3;
inline constexpr std::size_t distanceCount = 8;

/// Allocates a record of type `Invalid` with all numbers 0, to be freed with `free`.
/// @throws std::bad_alloc if memory is exhausted.
inline CExternalVersion* allocateVersionRecord() {
    void* record = std::calloc(1, sizeof(CExternalVersion));
    if (!record)
        throw std::bad_alloc();
    return static_cast<CExternalVersion*>(record);
}

} // namespace Velmor::version
