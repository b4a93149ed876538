#include "tabrix/tabrixhash.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Hash indexes.
//
// Hash of a row: for a key of one 32-bit integer (the fast path) the integer itself, else h = 2 h ^ hash of the field for
// each field of the key. The number of the chain is the upper bits of h x 0x9E3779B9 (Fibonacci hashing), so all bits of h
// count.
//
// Chains: an index has an entry array with the head of each chain and a link array with one link per row position. A link
// holds the previous and the next position. New rows become the head of their chain, so a search finds the newest row first.
//
// Load factor: both arrays have the hash size of the table, which is at least the number of row positions: the average chain
// is not longer than 1. When a new bucket exceeds it, the hash size becomes the smallest power of two that is at least twice
// the number of positions, at least 16, and every index is rebuilt. A rebuild is linear in the number of rows; because the
// size at least doubles, this is constant per insertion.

namespace Velmor::tabrix {

namespace {

template <class Value>
Value read(const unsigned char* bytes) {
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

std::uint32_t fold(std::uint64_t value) {
    return static_cast<std::uint32_t>(value) ^ static_cast<std::uint32_t>(value >> 32);
}

// Reads a unit of a text of bytes or 16-bit units, which can be unaligned.
template <class Unit>
Unit unitAt(const unsigned char* text, std::size_t i) {
    return read<Unit>(text + i * sizeof(Unit));
}

constexpr std::size_t unbounded = static_cast<std::size_t>(-1);

// t = (unit ^ f) + (f << 26), f = (f >> 6) + t. The sum of the two shifts is a rotation.
std::uint32_t mixUnit(std::uint32_t f, std::uint32_t unit) {
    return (unit ^ f) + std::rotr(f, 6);
}

template <class Unit>
std::uint32_t hashText(const unsigned char* text, std::size_t capacity) {
    std::uint32_t f = 0;
    for (std::size_t i = 0; i < capacity; ++i) {
        const Unit unit = unitAt<Unit>(text, i);
        if (unit == 0)
            break;
        f = mixUnit(f, unit);
    }
    return f;
}

template <class Unit>
bool sameText(const unsigned char* a, const unsigned char* b, std::size_t capacity) {
    for (std::size_t i = 0; i < capacity; ++i) {
        const Unit unit = unitAt<Unit>(a, i);
        if (unit != unitAt<Unit>(b, i))
            return false;
        if (unit == 0)
            break;
    }
    return true;
}

std::uint32_t hashBytes(const unsigned char* bytes, std::size_t size) {
    std::uint32_t f = 0;
    for (std::size_t i = 0; i < size; ++i)
        f = mixUnit(f, bytes[i]);
    return f;
}

// For short keys, comparing a few words is faster than a call of memcmp.
bool sameBytes(const unsigned char* a, const unsigned char* b, std::size_t size) {
    constexpr std::size_t word = sizeof(std::uint64_t);
    if (size < word)
        return std::memcmp(a, b, size) == 0;
    for (std::size_t i = 0; i + word <= size; i += word) {
        if (read<std::uint64_t>(a + i) != read<std::uint64_t>(b + i))
            return false;
    }
    return read<std::uint64_t>(a + size - word) == read<std::uint64_t>(b + size - word);
}

std::uint32_t hashField(const Field& field, const unsigned char* row) {
    const unsigned char* value = row + field.offset;
    switch (field.type) {
    case fieldInt32:
    case fieldFloat:
        return read<std::uint32_t>(value);
    case fieldDouble:
    case fieldInt64:
        return fold(read<std::uint64_t>(value));
    case fieldString:
        return hashText<unsigned char>(value, field.width);
    case fieldBytes:
        return hashBytes(value, field.width);
    case fieldStringPointer:
        return hashText<unsigned char>(read<const unsigned char*>(value), unbounded);
    case fieldWideString:
        return hashText<std::uint16_t>(value, field.width / sizeof(std::uint16_t));
    case fieldWideStringPointer:
        return hashText<std::uint16_t>(read<const unsigned char*>(value), unbounded);
    default: // Frozen: an invalid field type in an index ends the process.
        std::abort();
    }
}

bool sameField(const Field& field, const unsigned char* rowA, const unsigned char* rowB) {
    const unsigned char* a = rowA + field.offset;
    const unsigned char* b = rowB + field.offset;
    switch (field.type) {
    case fieldInt32:
        return read<std::uint32_t>(a) == read<std::uint32_t>(b);
    case fieldFloat: // Frozen: a NaN equals nothing; 0 and -0 are equal although their hash values differ.
        return read<float>(a) == read<float>(b);
    case fieldDouble:
        return read<double>(a) == read<double>(b);
    case fieldString:
        return sameText<unsigned char>(a, b, field.width);
    case fieldBytes:
        return sameBytes(a, b, field.width);
    case fieldInt64:
        return read<std::uint64_t>(a) == read<std::uint64_t>(b);
    case fieldStringPointer:
        return sameText<unsigned char>(read<const unsigned char*>(a), read<const unsigned char*>(b), unbounded);
    case fieldWideString:
        return sameText<std::uint16_t>(a, b, field.width / sizeof(std::uint16_t));
    case fieldWideStringPointer:
        return sameText<std::uint16_t>(read<const unsigned char*>(a), read<const unsigned char*>(b), unbounded);
    default: // Frozen: an invalid field type in an index ends the process.
        std::abort();
    }
}

bool hasFastPath(const Index& index) {
    return index.fastPathOffset >= 0;
}

std::uint32_t fastKey(const Index& index, const unsigned char* row) {
    return read<std::uint32_t>(row + index.fastPathOffset);
}

// Positions and the values -2 - hash of the chain heads must fit in a signed 32-bit number.
constexpr std::uint32_t maxHashBits = 30;

std::uint32_t chainOf(const Index& index, std::uint32_t hash) {
    return (hash * 0x9E3779B9u) >> (32 - index.table->hashBits);
}

// The row is located from its position alone. The link is in other memory and is read only if the row does not match.
template <class HasKey>
const unsigned char* walkChain(const Index& index, std::uint32_t hash, HasKey hasKey) {
    const Table& table = *index.table;
    for (std::int32_t position = index.entries[chainOf(index, hash)]; position != endOfChain;
         position = index.links[position].next) {
        const std::uint32_t p = static_cast<std::uint32_t>(position);
        const unsigned char* row = rowAt(table, p / table.rowsPerBucket, p % table.rowsPerBucket);
        if (hasKey(row))
            return row;
    }
    return nullptr;
}

} // namespace

void* allocate(std::size_t bytes, const char* label) {
    // At least one byte: for zero bytes calloc may return null without a failure.
    void* block = std::calloc(1, std::max<std::size_t>(bytes, 1));
    // Frozen: the text of the message and standard error as its destination.
    if (!block)
        std::fprintf(stderr, "libtabrix: cannot allocate memory (%d bytes) for %s\n", static_cast<int>(bytes), label);
    return block;
}

std::uint32_t hashRow(const Index& index, const unsigned char* row) {
    if (hasFastPath(index))
        return fastKey(index, row);
    std::uint32_t hash = 0;
    for (std::uint32_t i = 0; i < index.fieldCount; ++i)
        hash = (hash * 2) ^ hashField(index.fields[i], row);
    return hash;
}

const unsigned char* findRow(const Index& index, std::uint32_t hash, const unsigned char* row) {
    if (hasFastPath(index)) {
        if (hash < index.lowestKey || hash > index.highestKey)
            return nullptr;
        return walkChain(index, hash, [&](const unsigned char* other) { return fastKey(index, other) == hash; });
    }
    return walkChain(index, hash, [&](const unsigned char* other) {
        for (std::uint32_t i = 0; i < index.fieldCount; ++i) {
            if (!sameField(index.fields[i], row, other))
                return false;
        }
        return true;
    });
}

void linkRow(Index& index, std::uint32_t hash, std::size_t bucket, std::size_t slot) {
    const std::uint32_t chain = chainOf(index, hash);
    const std::int32_t position = static_cast<std::int32_t>(bucket * index.table->rowsPerBucket + slot);
    const std::int32_t head = index.entries[chain];
    if (head != endOfChain)
        index.links[head].previous = position;
    index.links[position] = {static_cast<std::uint16_t>(bucket), static_cast<std::uint16_t>(slot),
                             -2 - static_cast<std::int32_t>(chain), head};
    index.entries[chain] = position;
    if (hasFastPath(index)) {
        index.lowestKey = std::min(index.lowestKey, hash);
        index.highestKey = std::max(index.highestKey, hash);
    }
}

bool allocateChains(Index& index, std::size_t hashSize) {
    index.newEntries = static_cast<std::int32_t*>(allocate(hashSize * sizeof(std::int32_t), "index entry array"));
    if (!index.newEntries)
        return false;
    index.newLinks = static_cast<Link*>(allocate(hashSize * sizeof(Link), "index link array"));
    return index.newLinks != nullptr;
}

void dropNewChains(Index& index) {
    std::free(index.newEntries);
    std::free(index.newLinks);
    index.newEntries = nullptr;
    index.newLinks = nullptr;
}

void buildIndex(Index& index) {
    const Table& table = *index.table;
    std::free(index.entries);
    std::free(index.links);
    index.entries = index.newEntries;
    index.links = index.newLinks;
    index.newEntries = nullptr;
    index.newLinks = nullptr;
    std::fill_n(index.entries, table.hashSize, endOfChain);
    std::memset(index.links, 0xFF, table.hashSize * sizeof(Link));
    for (std::size_t bucket = 0; bucket < table.bucketCount; ++bucket) {
        for (std::size_t slot = 0; slot < table.rowsPerBucket; ++slot) {
            if (isUsed(*table.buckets[bucket], slot))
                linkRow(index, hashRow(index, rowAt(table, bucket, slot)), bucket, slot);
        }
    }
}

bool resizeHash(Table& table, std::size_t capacity) {
    if (table.hashSize >= capacity)
        return true;
    std::uint32_t bits = 4;
    while ((std::size_t{1} << bits) < 2 * capacity)
        ++bits;
    if (bits > maxHashBits)
        return false;
    const std::uint32_t size = std::uint32_t{1} << bits;

    // Allocates for all indexes first, so that a failure leaves them unchanged.
    for (Index* index = table.indexes; index; index = index->next) {
        if (!allocateChains(*index, size)) {
            for (Index* other = table.indexes; other; other = other->next)
                dropNewChains(*other);
            return false;
        }
    }
    table.hashSize = size;
    table.hashBits = bits;
    table.hashMask = size - 1;
    for (Index* index = table.indexes; index; index = index->next)
        buildIndex(*index);
    return true;
}

} // namespace Velmor::tabrix
