#pragma once

#include "tabrix/tabrix.h"

// The indexing half of the store: hashes, key comparison, chains. For tabrix.cpp; users of the store include tabrix.h.

namespace Velmor::tabrix {

/// The one allocation routine of the store: zero-filled, released with free. On failure it prints the label and answers
/// null.
void* allocate(std::size_t bytes, const char* label);

inline unsigned char* rowAt(const Table& table, std::size_t bucket, std::size_t slot) {
    return table.buckets[bucket]->rows + slot * table.rowSlotSize;
}

inline bool isUsed(const Bucket& bucket, std::size_t slot) {
    return (bucket.bitmap[slot / 32] >> (slot % 32) & 1) != 0;
}

/// Hash of a row's key, before it is reduced to the number of a chain.
std::uint32_t hashRow(const Index& index, const unsigned char* row);

/// The newest row with the key of `row`, whose hash is given; null if there is none.
const unsigned char* findRow(const Index& index, std::uint32_t hash, const unsigned char* row);

/// Makes the row in a slot the head of the chain of its hash.
void linkRow(Index& index, std::uint32_t hash, std::size_t bucket, std::size_t slot);

/// Takes memory for the chains of `buildIndex`.
/// @return false without memory; `dropNewChains` then releases what there is.
bool allocateChains(Index& index, std::size_t hashSize);
void dropNewChains(Index& index);

/// Replaces the index's chains by those allocated, for the hash size of its table, and links all rows of the table.
void buildIndex(Index& index);

/// Makes the hash of a table and of all its indexes large enough for a number of row positions.
/// @return false without memory or beyond 2^30, and then nothing has changed.
bool resizeHash(Table& table, std::size_t capacity);

} // namespace Velmor::tabrix
