#include "identity/SpatialTree.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

// A binary tree over points of eleven dimensions, in the manner of a k-d tree without balancing.
//
// Nodes: each holds a key (the eleven numbers of a spatial hash) and two children. The id of a node is its ordinal; node 0
// is the root. Nodes are never removed or moved.
//
// Chunks: nodes are stored in chunks of 1024, which form a singly linked list. An id therefore gives the chunk number and
// the slot. A chunk is allocated by the insertion that follows the 1024th node of the last chunk.
//
// Walk: a key starts at the root, depth 0. It matches a node if the sum of the eleven absolute differences is less than
// 0.01; the walk ends there. Otherwise the axis (depth mod 11) selects the child: high if the key is not more than 0.04
// below the node on this axis, else low. The walk ends without a match where the child is missing, and an insertion attaches
// the new node there.
//
// The bound of -0.04 makes the rule asymmetric: a key slightly below a node goes to the same side as one above it. A walk
// does not go back, so it does not see nodes on the other side of a bound, even if they match.
//
// Cost: one comparison per node on the path. Sorted keys give a path of linear length.

namespace Velmor::identity {

namespace {

constexpr double matchDistance = 0.01;
// Frozen: a key up to 0.04 below a node goes to the high child.
constexpr double highBound = -0.04;

double addDistances(double sum, const double* a, const double* b, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i)
        sum += std::fabs(a[i] - b[i]);
    return sum;
}

// The partial sum never decreases, and a NaN never matches. Therefore a node whose center alone is too far away, which is
// the usual case, needs no further terms.
bool matches(const SpatialNode& node, const double* key) {
    const double center = addDistances(0.0, node.key, key, 0, 3);
    if (center >= matchDistance)
        return false;
    return matchDistance > addDistances(center, node.key, key, 3, spatialHashDimension);
}

// Walks from the node in `*link`. Returns the link to the matching node, or the empty link where the walk ended.
SpatialNode** walk(SpatialNode** link, const double* key) {
    std::size_t axis = 0;
    while (SpatialNode* node = *link) {
        // Frozen: the first match on the path is used, not the nearest node.
        if (matches(*node, key))
            break;
        // Frozen: a NaN goes to the low child.
        link = key[axis] - node->key[axis] >= highBound ? &node->high : &node->low;
        axis = axis + 1 < spatialHashDimension ? axis + 1 : 0;
    }
    return link;
}

} // namespace

bool addSpatialChunk(SpatialTree& tree) {
    SpatialChunk* chunk = static_cast<SpatialChunk*>(std::calloc(1, sizeof(SpatialChunk)));
    if (!chunk)
        return false;
    chunk->nodes = static_cast<SpatialNode*>(std::calloc(spatialChunkSize, sizeof(SpatialNode)));
    if (!chunk->nodes) {
        std::free(chunk);
        return false;
    }
    (tree.last ? tree.last->next : tree.first) = chunk;
    tree.last = chunk;
    return true;
}

void freeSpatialTree(SpatialTree& tree) {
    while (SpatialChunk* chunk = tree.first) {
        tree.first = chunk->next;
        std::free(chunk->nodes);
        std::free(chunk);
    }
}

std::uint32_t insertSpatialHash(SpatialTree& tree, const double* key) {
    // Frozen: 0 is returned when a chunk cannot be allocated, even if the key is already stored.
    if ((!tree.last || tree.last->used == spatialChunkSize) && !addSpatialChunk(tree))
        return 0;

    // Frozen: the key is written to the next free slot before the search, so `spatialHashAt` can return it.
    SpatialNode* candidate = tree.last->nodes + tree.last->used;
    candidate->id = tree.count;
    candidate->high = nullptr;
    candidate->low = nullptr;
    std::copy_n(key, spatialHashDimension, candidate->key);

    if (tree.count > 0) {
        SpatialNode* root = tree.first->nodes;
        SpatialNode** link = walk(&root, key);
        if (*link)
            return (*link)->id;
        *link = candidate;
    }
    ++tree.count;
    ++tree.last->used;
    return candidate->id;
}

std::uint32_t findSpatialHash(const SpatialTree& tree, const double* key) {
    if (tree.count == 0)
        return noSpatialNode;
    SpatialNode* root = tree.first->nodes;
    const SpatialNode* node = *walk(&root, key);
    return node ? node->id : noSpatialNode;
}

const double* spatialHashAt(const SpatialTree& tree, std::uint32_t id) {
    const SpatialChunk* chunk = tree.first;
    for (std::uint32_t number = id / spatialChunkSize; chunk && number > 0; --number)
        chunk = chunk->next;
    // Frozen: the id is not compared with the number of committed nodes.
    return chunk ? chunk->nodes[id % spatialChunkSize].key : nullptr;
}

} // namespace Velmor::identity
