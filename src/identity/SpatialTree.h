#pragma once

#include "identity/SpatialHash.h"

#include <cstdint>

// Binary tree over spatial hashes, searched with a tolerance. SpatialTree.cpp describes nodes, chunks and the walk.

namespace Velmor::identity {

struct SpatialNode {
    std::uint32_t id; ///< Ordinal of the node.
    SpatialNode* high;
    SpatialNode* low;
    double key[spatialHashDimension];
};

inline constexpr std::uint32_t spatialChunkSize = 1024;

/// Storage of 1024 nodes: node k is in slot k mod 1024 of chunk number k div 1024.
struct SpatialChunk {
    SpatialChunk* next;
    SpatialNode* nodes; ///< 1024 slots, zero until first written.
    std::uint32_t used; ///< Number of committed nodes.
};

/// A zeroed tree is valid: it has no chunk yet.
struct SpatialTree {
    SpatialChunk* first;
    SpatialChunk* last;
    std::uint32_t count; ///< Number of committed nodes. Node 0 is the root.
};

inline constexpr std::uint32_t noSpatialNode = 0xFFFFFFFFu;

/// Appends a chunk.
/// @return false if memory is exhausted; the tree is then unchanged.
bool addSpatialChunk(SpatialTree& tree);

/// Frees all chunks.
void freeSpatialTree(SpatialTree& tree);

/// Returns the id of the first node on the path of `key` that matches, else adds a node and returns its id.
/// @return the id; 0 if memory is exhausted.
std::uint32_t insertSpatialHash(SpatialTree& tree, const double* key);

/// Returns the id of the first node on the path of `key` that matches, or `noSpatialNode`.
std::uint32_t findSpatialHash(const SpatialTree& tree, const double* key);

/// Returns the key in the slot of an id, committed or not; null if the chunk of the id does not exist.
const double* spatialHashAt(const SpatialTree& tree, std::uint32_t id);

} // namespace Velmor::identity
