#pragma once

#include "identity/SpatialHash.h"

#include <cstdint>

// Space-partitioning tree over spatial hashes, matched with a tolerance. It only grows.

namespace Velmor {

struct SpatialNode {
    std::uint32_t id; ///< Ordinal of the node.
    SpatialNode* high;
    SpatialNode* low;
    double key[identity::spatialHashDimension];
};

inline constexpr std::uint32_t spatialChunkSize = 1024;

/// Node k lies in slot k mod 1024 of chunk number k div 1024.
struct SpatialChunk {
    SpatialChunk* next;
    SpatialNode* nodes; ///< 1024, zeroed.
    std::uint32_t used; ///< Slots of committed nodes.
};

/// All zero is a tree without memory.
struct SpatialTree {
    SpatialChunk* first;
    SpatialChunk* last;
    std::uint32_t count; ///< Of committed nodes; the first of them is the root.
};

inline constexpr std::uint32_t noSpatialNode = 0xFFFFFFFFu;

/// Takes memory for another 1024 nodes.
bool addSpatialChunk(SpatialTree& tree);

void freeSpatialTree(SpatialTree& tree);

/// The id of the first node on the key's way that matches it, or that of a new node; 0 without memory.
std::uint32_t insertSpatialHash(SpatialTree& tree, const double* key);

/// The id of the first node on the key's way that matches it, or `noSpatialNode`.
std::uint32_t findSpatialHash(const SpatialTree& tree, const double* key);

/// The key in the slot of an id, committed or not; null beyond the last chunk.
const double* spatialHashAt(const SpatialTree& tree, std::uint32_t id);

} // namespace Velmor
