#pragma once

#include <cstddef>
#include <cstdint>

// A small in-memory table store: plain records, functions over them, integer status codes.
//
// A table holds rows of one fixed layout in buckets of equal size. Any number of hash indexes over chosen fields find rows
// by key. Rows are never removed one by one. Everything is allocated zero-filled; an allocation that fails prints
// "libtabrix: cannot allocate memory (%d bytes) for %s\n" on standard error, and the operation undoes what it built.
//
// The records are open for reading; only the functions below write them. A table and its indexes belong to one thread at a
// time.

namespace Velmor::tabrix {

// Status codes
// -----------------------------------------------------------------------------------------------------------------

inline constexpr int statusOk = 0;           ///< Done: inserted, found, destroyed.
inline constexpr int statusNotFound = 1;     ///< No row has the key.
inline constexpr int statusDuplicateKey = 2; ///< A unique index already holds the key.
inline constexpr int statusNotUnique = 3;    ///< Find serves unique indexes only.
inline constexpr int statusFailed = 4;       ///< No room could be made, or an index could not be destroyed.

// Specifications
// ---------------------------------------------------------------------------------------------------------------

/// Field types. Strings end at their first zero unit or, inline, with their field. Pointers in rows are never null; the row
/// holds the pointer, and its text must outlive the row. All fields are compared and hashed by what they hold. A zero and a
/// negative zero of a floating type are equal; as the last field of a key they hash apart and are not found for each other,
/// before another field they hash alike (the sign is shifted out).
inline constexpr std::uint32_t fieldInt32 = 0;             ///< 4 bytes
inline constexpr std::uint32_t fieldFloat = 1;             ///< 4 bytes; a NaN equals nothing
inline constexpr std::uint32_t fieldDouble = 2;            ///< 8 bytes; a NaN equals nothing
inline constexpr std::uint32_t fieldString = 3;            ///< `size` bytes of text in the row
inline constexpr std::uint32_t fieldBytes = 4;             ///< `size` bytes in the row
inline constexpr std::uint32_t fieldInt64 = 5;             ///< 8 bytes
inline constexpr std::uint32_t fieldStringPointer = 6;     ///< `const char*`
inline constexpr std::uint32_t fieldWideString = 7;        ///< `size` 16-bit units of text in the row
inline constexpr std::uint32_t fieldWideStringPointer = 8; ///< `const char16_t*`
inline constexpr std::uint32_t fieldEnd = 100;             ///< Ends an array of field specifications.

/// One field of a row. An array of them ends with one of type `fieldEnd`.
struct FieldSpec {
    std::uint32_t type; ///< One of the types above.
    std::int32_t size;  ///< At least 1 for types 3, 4 and 7; not looked at for the others.
};

struct TableSpec {
    std::int32_t initialRows;    ///< Rows to have room for from the beginning; at least 0.
    std::uint32_t rowsPerBucket; ///< 1..65535
};

struct IndexSpec {
    std::uint32_t kind;   ///< Must be `indexKindHash`.
    std::uint32_t unique; ///< Not 0: no two rows may have equal keys, and `find` may be used.
};

inline constexpr std::uint32_t indexKindHash = 1;

// Records
// ----------------------------------------------------------------------------------------------------------------------

/// Where a field lies in the row.
struct Field {
    std::uint32_t type;
    std::size_t width;  ///< Bytes.
    std::size_t offset; ///< From the beginning of the row, aligned as the type demands.
};

struct Bucket {
    unsigned char* rows;   ///< rows per bucket x row-slot size bytes.
    std::uint32_t* bitmap; ///< Bit i (word i / 32, bit i % 32) = slot i is in use.
    std::uint32_t used;    ///< Number of slots in use.
    std::int32_t nextFree; ///< First free slot, -1 when full.
};

struct Index;

struct Table {
    std::int32_t initialRows;
    std::uint32_t rowsPerBucket;
    std::uint32_t fieldCount;
    Field* fields;
    std::size_t rowDataSize; ///< End of the last field.
    std::size_t rowSlotSize; ///< The same, rounded up to a multiple of 8.
    Bucket** buckets;
    std::uint32_t bucketCapacity; ///< Of the array of bucket pointers.
    std::uint32_t bucketCount;    ///< At most `maxBuckets`.
    std::uint32_t rowCount;       ///< Rows fill the positions 0 .. row count - 1.
    std::int32_t firstFreeBucket; ///< First bucket with a free slot, -1: none.
    std::uint32_t hashSize;       ///< Of every index; a power of two, at least the number of row positions.
    std::uint32_t hashBits;       ///< log2 of the hash size.
    std::uint32_t hashMask;       ///< Hash size - 1.
    Index* indexes;               ///< List, the newest first.
    std::uint32_t indexCount;
};

inline constexpr std::uint32_t maxBuckets = 65534;

/// Member of a chain of rows with the same hash value: one per row position = bucket x rows per bucket + slot.
struct Link {
    std::uint16_t bucket;
    std::uint16_t slot;
    std::int32_t previous; ///< Position of the previous member; of the first one: -2 - hash value.
    std::int32_t next;     ///< Position of the next member; of the last one: `endOfChain`.
};

static_assert(sizeof(Link) == 12, "links are packed without holes");

inline constexpr std::int32_t endOfChain = -2;

struct Index {
    std::uint32_t kind;
    std::uint32_t unique;
    Table* table;
    std::uint32_t fieldCount;
    Field* fields;                 ///< Copies of the table's, in the order of the key.
    std::ptrdiff_t fastPathOffset; ///< Of the field, when it is the only one and of type 0; else -1.
    std::int32_t* entries;         ///< Hash size positions of the chains' heads, `endOfChain` = empty.
    Link* links;                   ///< Hash size links; of positions not in use every byte is 0xFF.
    Index* next;                   ///< Of the same table.
    std::uint32_t lowestKey;       ///< On the fast path, bounds of the keys held: one outside needs no search.
    std::uint32_t highestKey;      ///< Below the lowest while there is none.
    std::uint32_t rowHash;         ///< Of the row that is being inserted.
    std::int32_t* newEntries;      ///< Taken while the hash grows, until all indexes have theirs; else null.
    Link* newLinks;
};

// Operations
// -------------------------------------------------------------------------------------------------------------------

/// Makes a table.
/// @param fields ended by `fieldEnd`; copied.
/// @return the table, or null for an invalid specification or without memory.
Table* createTable(const TableSpec& spec, const FieldSpec* fields);

/// Destroys a table and, before it, all its indexes.
/// @return `statusOk`, or `statusFailed` when destroying one of its indexes failed.
int destroyTable(Table* table);

/// Makes an index over fields of a table, with all rows that the table holds. A unique index may be made over rows that
/// already have equal keys: find gives the newest.
/// @param fieldNumbers numbers of the table's fields in the order of the key, none twice, at least one, ended by a negative
///                     number.
/// @return the index, or null for an invalid specification or without memory.
Index* createIndex(Table* table, const IndexSpec& spec, const int* fieldNumbers);

/// Destroys an index and takes it from its table.
/// @return `statusOk`.
int destroyIndex(Index* index);

/// Copies a row into the table.
/// @param row row-data bytes.
/// @return `statusOk`, `statusDuplicateKey` or `statusFailed`; nothing has changed unless it is `statusOk`.
int insert(Table* table, const void* row);

/// Finds the row with a key.
/// @param[in,out] row row-data bytes with the fields of the index filled in; overwritten by the row that was found.
/// @return `statusOk`, `statusNotFound` or `statusNotUnique`.
int find(Index* index, void* row);

/// `find` without copying.
/// @return the row in the table; null when it is not found, or when the index is not unique.
const void* findInPlace(const Index* index, const void* row);

/// The row at a position, which is the number of rows inserted before it; null beyond the last row.
inline const void* rowAtPosition(const Table* table, std::uint32_t position) {
    if (position >= table->rowCount)
        return nullptr;
    return table->buckets[position / table->rowsPerBucket]->rows + position % table->rowsPerBucket * table->rowSlotSize;
}

/// `find`, and `insert` when it finds nothing, in one search.
/// @param[in,out] row row-data bytes; overwritten by the row that was found.
/// @return `statusOk` when it was found, `statusNotFound` when it was not and has been inserted; else as `find` and
/// `insert`.
int findOrInsert(Index* index, void* row);

} // namespace Velmor::tabrix
