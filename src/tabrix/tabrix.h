#pragma once

#include <cstddef>
#include <cstdint>

// A small in-memory table store: plain records, functions over them, integer status codes. tabrix.cpp describes tables,
// buckets and rows, tabrixhash.cpp the hash indexes.
//
// A table holds rows of one fixed layout. Any number of hash indexes over chosen fields find rows by key. Single rows
// cannot be removed.
//
// Failure: operations return a status code or null. A failed allocation also prints
// "libtabrix: cannot allocate memory (%d bytes) for %s\n" to standard error, and the operation undoes what it has built.
//
// Ownership: a table owns its buckets and indexes. The records are public for reading; only the functions below change them.
//
// Threads: a table and its indexes must be used by one thread at a time.

namespace Velmor::tabrix {

// Status codes

inline constexpr int statusOk = 0;           ///< Inserted, found or destroyed.
inline constexpr int statusNotFound = 1;     ///< No row has the key.
inline constexpr int statusDuplicateKey = 2; ///< A unique index already contains the key.
inline constexpr int statusNotUnique = 3;    ///< The operation requires a unique index.
inline constexpr int statusFailed = 4;       ///< Memory or bucket numbers are exhausted; an index was not destroyed.

// Specifications

/// Field types. A string ends at its first zero unit or, if it is stored in the row, at the end of its field. Pointers in
/// rows must not be null; the row stores the pointer, and the text must live as long as the row. Fields are compared and
/// hashed by content.
///
/// Zero and negative zero of a floating-point field compare as equal. As the last field of a key their hash values differ,
/// so a search for one does not find the other. Before another field their hash values are equal, because the sign bit is
/// shifted out.
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

/// One field of a row. An array of specifications ends with one of type `fieldEnd`.
struct FieldSpec {
    std::uint32_t type; ///< One of the types above.
    std::int32_t size;  ///< At least 1 for types 3, 4 and 7; ignored for the others.
};

struct TableSpec {
    std::int32_t initialRows;    ///< Number of rows for which buckets are created at once; at least 0.
    std::uint32_t rowsPerBucket; ///< 1..65535
};

struct IndexSpec {
    std::uint32_t kind;   ///< Must be `indexKindHash`.
    std::uint32_t unique; ///< Not 0: keys must differ, and `find` is available.
};

inline constexpr std::uint32_t indexKindHash = 1;

// Records

/// Position of a field in the row.
struct Field {
    std::uint32_t type;
    std::size_t width;  ///< In bytes.
    std::size_t offset; ///< From the beginning of the row, aligned for the type.
};

struct Bucket {
    unsigned char* rows;   ///< Rows per bucket x row-slot size bytes.
    std::uint32_t* bitmap; ///< Bit i (word i / 32, bit i % 32) is set if slot i is in use.
    std::uint32_t used;    ///< Number of slots in use.
    std::int32_t nextFree; ///< First free slot; -1 if the bucket is full.
};

struct Index;

struct Table {
    std::int32_t initialRows;
    std::uint32_t rowsPerBucket;
    std::uint32_t fieldCount;
    Field* fields;
    std::size_t rowDataSize; ///< End of the last field.
    std::size_t rowSlotSize; ///< Row-data size rounded up to a multiple of 8.
    Bucket** buckets;
    std::uint32_t bucketCapacity; ///< Capacity of the array `buckets`.
    std::uint32_t bucketCount;    ///< At most `maxBuckets`.
    std::uint32_t rowCount;       ///< The rows fill positions 0 .. rowCount - 1.
    std::int32_t firstFreeBucket; ///< First bucket with a free slot; -1 if there is none.
    std::uint32_t hashSize;       ///< Of every index: a power of two, at least the number of row positions.
    std::uint32_t hashBits;       ///< log2 of the hash size.
    std::uint32_t hashMask;       ///< Hash size - 1.
    Index* indexes;               ///< Linked list, newest first.
    std::uint32_t indexCount;
};

inline constexpr std::uint32_t maxBuckets = 65534;

/// Member of a hash chain. There is one link per row position = bucket x rows per bucket + slot.
struct Link {
    std::uint16_t bucket;
    std::uint16_t slot;
    std::int32_t previous; ///< Position of the previous member; for the head: -2 - hash value.
    std::int32_t next;     ///< Position of the next member; for the last one: `endOfChain`.
};

static_assert(sizeof(Link) == 12, "links have no padding");

inline constexpr std::int32_t endOfChain = -2;

struct Index {
    std::uint32_t kind;
    std::uint32_t unique;
    Table* table;
    std::uint32_t fieldCount;
    Field* fields;                 ///< Copies of the table's fields, in the order of the key.
    std::ptrdiff_t fastPathOffset; ///< Offset of the field if the key is a single field of type 0; else -1.
    std::int32_t* entries;         ///< Per hash value the position of the chain's head; `endOfChain` if empty.
    Link* links;                   ///< Hash size links; all bytes of an unused link are 0xFF.
    Index* next;                   ///< Next index of the same table.
    std::uint32_t lowestKey;       ///< Fast path: bounds of the stored keys. A key outside needs no search.
    std::uint32_t highestKey;      ///< Less than the lowest if there are no keys.
    std::uint32_t rowHash;         ///< Hash of the row that is being inserted.
    std::int32_t* newEntries;      ///< Not null only while the hash grows, until all indexes have new arrays.
    Link* newLinks;
};

// Operations

/// Creates a table.
/// @param fields ended by `fieldEnd`; copied.
/// @return the table; null if a specification is invalid or memory is exhausted.
Table* createTable(const TableSpec& spec, const FieldSpec* fields);

/// Destroys all indexes of a table, then the table.
/// @return `statusOk`; `statusFailed` if an index could not be destroyed.
int destroyTable(Table* table);

/// Creates an index over fields of a table, including the rows that the table already contains. These rows may have equal
/// keys even if the index is unique; `find` then returns the newest one.
///
/// Complexity: linear in the number of rows and the hash size.
/// @param fieldNumbers numbers of the table's fields in the order of the key: at least one, all different, ended by a
///                     negative number.
/// @return the index; null if the specification is invalid or memory is exhausted.
Index* createIndex(Table* table, const IndexSpec& spec, const int* fieldNumbers);

/// Removes an index from its table and destroys it.
/// @return `statusOk`.
int destroyIndex(Index* index);

/// Copies a row into the table.
///
/// Complexity: constant on average per index. An insertion that enlarges the hash is linear in the number of rows.
/// @param row row-data bytes.
/// @return `statusOk`, `statusDuplicateKey` or `statusFailed`. The table changes only if the result is `statusOk`.
int insert(Table* table, const void* row);

/// Finds the row with a key.
///
/// Complexity: constant on average, linear in the number of rows if all keys have the same hash value.
/// @param[in,out] row row-data bytes with the fields of the index filled in; overwritten by the row if it is found.
/// @return `statusOk`, `statusNotFound` or `statusNotUnique`.
int find(Index* index, void* row);

/// Like `find`, but without a copy.
/// @return the row in the table; null if it is not found or the index is not unique.
const void* findInPlace(const Index* index, const void* row);

/// Returns the row at a position, which is the number of rows inserted before it; null after the last row.
inline const void* rowAtPosition(const Table* table, std::uint32_t position) {
    if (position >= table->rowCount)
        return nullptr;
    return table->buckets[position / table->rowsPerBucket]->rows + position % table->rowsPerBucket * table->rowSlotSize;
}

/// Combines `find` and, if the row is not found, `insert`. The key is hashed and searched once.
/// @param[in,out] row row-data bytes; overwritten by the row if it is found.
/// @return `statusOk` if the row was found, `statusNotFound` if it was not found and has been inserted; else the status of
///         `find` or `insert`.
int findOrInsert(Index* index, void* row);

} // namespace Velmor::tabrix
