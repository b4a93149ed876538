#pragma once

#include "identity/SpatialHash.h"

#include <cstddef>

// Layout of an identity's record, which is also its byte stream: the type tag at 0, four reserved bytes, the payload.

namespace Velmor {

inline constexpr std::size_t recordSize = 96;
inline constexpr std::size_t tagOffset = 0;
inline constexpr std::size_t payloadOffset = 8;

inline constexpr std::size_t spatialHashSize = identity::spatialHashDimension * sizeof(double);
inline constexpr std::size_t ifcGlobalIDSize = 22;

static_assert(payloadOffset + spatialHashSize == recordSize, "a spatial hash is the longest payload");

} // namespace Velmor
