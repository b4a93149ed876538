#include "identity/SpatialTree.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Velmor {

namespace {

constexpr double matchingDistance = 0.01;
// Asymmetric on purpose: a key a little below the node still goes high.
constexpr double highFrom = -0.04;

double addDistances(double sum, const double* a, const double* b, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i)
        sum += std::fabs(a[i] - b[i]);
    return sum;
}

// The sum of all eleven differences decides. It never falls on the way (or becomes a NaN, which never matches): once the
// three of the centre are too much, as for most nodes, the others need not be added.
bool matches(const SpatialNode& node, const double* key) {
    const double centre = addDistances(0.0, node.key, key, 0, 3);
    if (centre >= matchingDistance)
        return false;
    return matchingDistance > addDistances(centre, node.key, key, 3, identity::spatialHashDimension);
}

// Walks from the node in `*link` until one matches or there is none; answers the place of the one or the other.
SpatialNode** walk(SpatialNode** link, const double* key) {
    std::size_t axis = 0;
    while (SpatialNode* node = *link) {
        if (matches(*node, key))
            break;
        link = key[axis] - node->key[axis] >= highFrom ? &node->high : &node->low;
        axis = axis + 1 < identity::spatialHashDimension ? axis + 1 : 0;
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
    if ((!tree.last || tree.last->used == spatialChunkSize) && !addSpatialChunk(tree))
        return 0;

    // Written before it is known whether it is needed: what the slot then holds can be asked for by its id.
    SpatialNode* candidate = tree.last->nodes + tree.last->used;
    candidate->id = tree.count;
    candidate->high = nullptr;
    candidate->low = nullptr;
    std::copy_n(key, identity::spatialHashDimension, candidate->key);

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
    return chunk ? chunk->nodes[id % spatialChunkSize].key : nullptr;
}

} // namespace Velmor
