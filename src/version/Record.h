#pragma once

#include <Velmor/Version.h>

#include <cstddef>
#include <cstdlib>
#include <new>

// The record of a version: how many numbers it holds, and how it is allocated.

namespace Velmor {

inline constexpr std::size_t coordinates = 3;
inline constexpr std::size_t distances = 8;

static_assert(sizeof(CExternalVersion::bb) == coordinates * sizeof(double));
static_assert(sizeof(CExternalVersion::d) == distances * sizeof(double));

/// A record of type `Invalid`, all numbers 0, to be freed with `free`.
inline CExternalVersion* allocateRecord() {
    void* record = std::calloc(1, sizeof(CExternalVersion));
    if (!record)
        throw std::bad_alloc();
    return static_cast<CExternalVersion*>(record);
}

} // namespace Velmor
