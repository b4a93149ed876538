#pragma once

#include "tabrix/tabrix.h"

// The indexing part of the store: hash values, key comparison and chains. Internal to tabrix; users of the store include
// tabrix.h.

namespace Velmor::tabrix {

/// Allocates a zero-filled block, to be freed with `free`. All allocations of the store use this function.
/// @param label describes the block in the message that is printed to standard error if the allocation fails.
/// @return the block; null if memory is exhausted.
void* allocate(std::size_t bytes, const char* label);

inline unsigned char* rowAt(const Table& table, std::size_t bucket, std::size_t slot) {
    return table.buckets[bucket]->rows + slot * table.rowSlotSize;
}

inline bool isUsed(const Bucket& bucket, std::size_t slot) {
    return (bucket.bitmap[slot / 32] >> (slot % 32) & 1) != 0;
}

/// Returns the hash of a row's key, before it is reduced to a chain number.
std::uint32_t hashRow(const Index& index, const unsigned char* row);

/// Returns the newest row with the same key as `row`, or null.
/// @param hash the result of `hashRow` for `row`.
const unsigned char* findRow(const Index& index, std::uint32_t hash, const unsigned char* row);

/// Makes the row in a slot the head of its chain.
void linkRow(Index& index, std::uint32_t hash, std::size_t bucket, std::size_t slot);

/// Allocates new chain arrays, which `buildIndex` puts in place.
/// @return false if memory is exhausted; `dropNewChains` then frees what was allocated.
bool allocateChains(Index& index, std::size_t hashSize);
void dropNewChains(Index& index);

/// Replaces the chains of an index by the new arrays, which have the hash size of the table, and links all rows.
void buildIndex(Index& index);

/// Enlarges the hash of a table and its indexes for a number of row positions, if it is too small.
/// @return false if memory is exhausted or the hash would exceed 2^30; nothing has changed then.
bool resizeHash(Table& table, std::size_t capacity);

} // namespace Velmor::tabrix
