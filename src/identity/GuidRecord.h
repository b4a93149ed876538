#pragma once

#include "identity/SpatialHash.h"

#include <cstddef>

// Layout of the record of an ExternalGUID, which is also its byte stream: the type tag at 0, four reserved bytes at 4, the
// payload at 8.

namespace Velmor::identity {

inline constexpr std::size_t guidRecordSize = 96;
inline constexpr std::size_t tagOffset = 0;
inline constexpr std::size_t payloadOffset = 8;

inline constexpr std::size_t spatialHashSize = spatialHashDimension * sizeof(double);
inline constexpr std::size_t ifcGlobalIDSize = 22;

static_assert(sizeof(int) == 4 && sizeof(unsigned long long) == 8 && sizeof(double) == 8, "sizes of the payloads");
static_assert(payloadOffset + spatialHashSize == guidRecordSize, "a spatial hash is the longest payload");

} // namespace Velmor::identity
