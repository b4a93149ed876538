#include "tabrix/tabrix.h"

#include "tabrix/tabrixhash.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

// Tables, buckets and rows.
//
// Row: the fields in their order, each aligned for its type. A row occupies a slot, whose size is the row-data size rounded
// up to a multiple of 8.
//
// Bucket: storage for a fixed number of slots, a bitmap of the slots in use, and the first free slot. Rows are appended and
// never removed, so they fill the slots in ascending order.
//
// Table: an array of pointers to buckets. Buckets are created for the initial rows; later, one bucket is added when an
// insertion finds all buckets full. The array starts with 16 pointers and grows by a factor of 4. A row has the position
// bucket x rows per bucket + slot, which never changes.
//
// Indexes: the hash size of every index is at least the number of row positions. A new bucket can enlarge the hash, see
// tabrixhash.cpp. An insertion first searches all unique indexes for the key, then copies the row and links it into all
// indexes.
//
// Failure: an operation allocates all memory before it changes the table, or frees what it has built.

namespace Velmor::tabrix {

namespace {

constexpr std::uint32_t firstBucketCapacity = 16;
constexpr std::uint32_t bucketCapacityFactor = 4;

struct FieldLayout {
    std::size_t unit; ///< Width of one unit in bytes.
    std::size_t alignment;
    bool sized; ///< The field has as many units as its specification says; else it is one unit.
};

constexpr FieldLayout fieldLayouts[] = {
    {4, 4, false}, // fieldInt32
    {4, 4, false}, // fieldFloat
    {8, 8, false}, // fieldDouble
    {1, 1, true},  // fieldString
    {1, 1, true},  // fieldBytes
    {8, 8, false}, // fieldInt64
    {8, 8, false}, // fieldStringPointer
    {2, 2, true},  // fieldWideString
    {8, 8, false}, // fieldWideStringPointer
};

static_assert(sizeof(void*) == 8, "pointers in rows have 8 bytes");

constexpr std::size_t roundUp(std::size_t value, std::size_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

bool isValid(const FieldSpec& field) {
    return field.type < std::size(fieldLayouts) && (!fieldLayouts[field.type].sized || field.size >= 1);
}

std::size_t bitmapSize(const Table& table) {
    return (std::size_t{table.rowsPerBucket} + 31) / 8 / 4 * 4;
}

void destroyBucket(Bucket* bucket) {
    if (!bucket)
        return;
    std::free(bucket->rows);
    std::free(bucket->bitmap);
    std::free(bucket);
}

Bucket* createBucket(const Table& table) {
    Bucket* bucket = static_cast<Bucket*>(allocate(sizeof(Bucket), "bucket"));
    if (!bucket)
        return nullptr;
    bucket->rows = static_cast<unsigned char*>(allocate(table.rowsPerBucket * table.rowSlotSize, "bucket data"));
    if (bucket->rows)
        bucket->bitmap = static_cast<std::uint32_t*>(allocate(bitmapSize(table), "bucket free table"));
    if (!bucket->bitmap) {
        destroyBucket(bucket);
        return nullptr;
    }
    return bucket;
}

// Changes the table only after every allocation has succeeded.
bool addBucket(Table& table) {
    const std::size_t positions = (std::size_t{table.bucketCount} + 1) * table.rowsPerBucket;
    if (table.bucketCount == maxBuckets)
        return false;

    Bucket** buckets = table.buckets;
    std::uint32_t capacity = table.bucketCapacity;
    if (table.bucketCount == capacity) {
        capacity = capacity ? capacity * bucketCapacityFactor : firstBucketCapacity;
        buckets = static_cast<Bucket**>(allocate(capacity * sizeof(void*), "bucket pointer array"));
        if (!buckets)
            return false;
        std::copy_n(table.buckets, table.bucketCount, buckets);
    }

    Bucket* bucket = createBucket(table);
    if (!bucket || !resizeHash(table, positions)) {
        destroyBucket(bucket);
        if (buckets != table.buckets)
            std::free(buckets);
        return false;
    }

    if (buckets != table.buckets) {
        std::free(table.buckets);
        table.buckets = buckets;
        table.bucketCapacity = capacity;
    }
    if (table.firstFreeBucket < 0)
        table.firstFreeBucket = static_cast<std::int32_t>(table.bucketCount);
    table.buckets[table.bucketCount++] = bucket;
    return true;
}

bool layOutFields(Table& table, const FieldSpec* fields) {
    table.fields = static_cast<Field*>(allocate(table.fieldCount * sizeof(Field), "field struct array"));
    if (!table.fields)
        return false;
    std::size_t end = 0;
    for (std::uint32_t i = 0; i < table.fieldCount; ++i) {
        const FieldLayout& layout = fieldLayouts[fields[i].type];
        const std::size_t units = layout.sized ? static_cast<std::size_t>(fields[i].size) : 1;
        table.fields[i] = {fields[i].type, units * layout.unit, roundUp(end, layout.alignment)};
        end = table.fields[i].offset + table.fields[i].width;
    }
    table.rowDataSize = end;
    table.rowSlotSize = roundUp(end, 8);
    return true;
}

// Initializes a zeroed table.
bool buildTable(Table& table, const TableSpec& spec, const FieldSpec* fields) {
    if (spec.rowsPerBucket - 1 >= 65535 || spec.initialRows < 0)
        return false;
    table.initialRows = spec.initialRows;
    table.rowsPerBucket = spec.rowsPerBucket;
    table.firstFreeBucket = -1;
    while (fields[table.fieldCount].type != fieldEnd) {
        if (!isValid(fields[table.fieldCount]))
            return false;
        ++table.fieldCount;
    }
    if (!layOutFields(table, fields))
        return false;
    do {
        if (!addBucket(table))
            return false;
    } while (std::size_t{table.bucketCount} * table.rowsPerBucket < static_cast<std::size_t>(spec.initialRows));
    return true;
}

void markUsed(Table& table, std::size_t bucketNumber) {
    Bucket& bucket = *table.buckets[bucketNumber];
    std::size_t slot = static_cast<std::size_t>(bucket.nextFree);
    bucket.bitmap[slot / 32] |= std::uint32_t{1} << (slot % 32);
    ++bucket.used;
    ++table.rowCount;
    if (bucket.used < table.rowsPerBucket) {
        while (isUsed(bucket, slot))
            ++slot;
        bucket.nextFree = static_cast<std::int32_t>(slot);
        return;
    }
    bucket.nextFree = -1;
    std::size_t next = bucketNumber + 1;
    while (next < table.bucketCount && table.buckets[next]->used == table.rowsPerBucket)
        ++next;
    table.firstFreeBucket = next < table.bucketCount ? static_cast<std::int32_t>(next) : -1;
}

// Returns the number of fields of an index; 0 if a field number is invalid or repeated.
std::uint32_t checkFieldNumbers(const Table& table, const int* fieldNumbers) {
    bool* taken = static_cast<bool*>(allocate(table.fieldCount * sizeof(bool), "temp field array"));
    if (!taken)
        return 0;
    std::uint32_t count = 0;
    while (fieldNumbers[count] >= 0) {
        const std::uint32_t number = static_cast<std::uint32_t>(fieldNumbers[count]);
        if (number >= table.fieldCount || taken[number]) {
            count = 0;
            break;
        }
        taken[number] = true;
        ++count;
    }
    std::free(taken);
    return count;
}

bool copyFields(Index& index, const int* fieldNumbers) {
    index.fields = static_cast<Field*>(allocate(index.fieldCount * sizeof(Field), "index field array"));
    if (!index.fields)
        return false;
    for (std::uint32_t i = 0; i < index.fieldCount; ++i) {
        index.fields[i] = index.table->fields[fieldNumbers[i]];
        if (index.fields[i].type >= std::size(fieldLayouts))
            std::abort(); // Frozen: an invalid field type in an index ends the process.
    }
    const bool fast = index.fieldCount == 1 && index.fields[0].type == fieldInt32;
    index.fastPathOffset = fast ? static_cast<std::ptrdiff_t>(index.fields[0].offset) : -1;
    return true;
}

void freeIndex(Index* index) {
    dropNewChains(*index);
    std::free(index->entries);
    std::free(index->links);
    std::free(index->fields);
    std::free(index);
}

// Inserts a row. `checked` is an index that is known not to contain the key and already has the hash of the row; or null.
int checkAndAppend(Table& table, const unsigned char* row, const Index* checked) {
    for (Index* index = table.indexes; index; index = index->next) {
        if (index == checked)
            continue;
        index->rowHash = hashRow(*index, row);
        if (index->unique && findRow(*index, index->rowHash, row))
            return statusDuplicateKey;
    }
    if (table.firstFreeBucket < 0 && !addBucket(table))
        return statusFailed;
    const std::size_t bucket = static_cast<std::size_t>(table.firstFreeBucket);
    const std::size_t slot = static_cast<std::size_t>(table.buckets[bucket]->nextFree);
    std::memcpy(rowAt(table, bucket, slot), row, table.rowDataSize);
    for (Index* index = table.indexes; index; index = index->next)
        linkRow(*index, index->rowHash, bucket, slot);
    markUsed(table, bucket);
    return statusOk;
}

const unsigned char* bytesOf(const void* row) {
    return static_cast<const unsigned char*>(row);
}

} // namespace

Table* createTable(const TableSpec& spec, const FieldSpec* fields) {
    std::size_t specs = 1;
    while (fields[specs - 1].type < fieldEnd)
        ++specs;
    FieldSpec* copy = static_cast<FieldSpec*>(allocate(specs * sizeof(FieldSpec), "fieldspeccopy"));
    if (!copy)
        return nullptr;
    std::copy_n(fields, specs, copy);
    Table* table = static_cast<Table*>(allocate(sizeof(Table), "table struct"));
    if (table && !buildTable(*table, spec, copy)) {
        destroyTable(table);
        table = nullptr;
    }
    std::free(copy);
    return table;
}

int destroyTable(Table* table) {
    for (Index* index = table->indexes; index;) {
        Index* const next = index->next;
        if (destroyIndex(index) != statusOk)
            return statusFailed;
        index = next;
    }
    for (std::uint32_t i = 0; i < table->bucketCount; ++i)
        destroyBucket(table->buckets[i]);
    std::free(table->buckets);
    std::free(table->fields);
    std::free(table);
    return statusOk;
}

Index* createIndex(Table* table, const IndexSpec& spec, const int* fieldNumbers) {
    if (spec.kind != indexKindHash)
        return nullptr;
    const std::uint32_t fieldCount = checkFieldNumbers(*table, fieldNumbers);
    if (fieldCount == 0)
        return nullptr;
    Index* index = static_cast<Index*>(allocate(sizeof(Index), "index struct"));
    if (!index)
        return nullptr;
    index->kind = spec.kind;
    index->unique = spec.unique;
    index->table = table;
    index->fieldCount = fieldCount;
    index->lowestKey = 0xFFFFFFFFu;
    index->highestKey = 0;
    if (!copyFields(*index, fieldNumbers) || !allocateChains(*index, table->hashSize)) {
        freeIndex(index);
        return nullptr;
    }
    buildIndex(*index); // Frozen: equal keys of existing rows are accepted, also by a unique index.
    index->next = table->indexes;
    table->indexes = index;
    ++table->indexCount;
    return index;
}

int destroyIndex(Index* index) {
    Index** link = &index->table->indexes;
    while (*link != index)
        link = &(*link)->next;
    *link = index->next;
    --index->table->indexCount;
    freeIndex(index);
    return statusOk;
}

int insert(Table* table, const void* row) {
    return checkAndAppend(*table, bytesOf(row), nullptr);
}

int find(Index* index, void* row) {
    if (!index->unique)
        return statusNotUnique;
    const void* found = findInPlace(index, row);
    if (!found)
        return statusNotFound;
    std::memcpy(row, found, index->table->rowDataSize);
    return statusOk;
}

const void* findInPlace(const Index* index, const void* row) {
    return index->unique ? findRow(*index, hashRow(*index, bytesOf(row)), bytesOf(row)) : nullptr;
}

int findOrInsert(Index* index, void* row) {
    if (!index->unique)
        return statusNotUnique;
    index->rowHash = hashRow(*index, bytesOf(row));
    if (const unsigned char* found = findRow(*index, index->rowHash, bytesOf(row))) {
        std::memcpy(row, found, index->table->rowDataSize);
        return statusOk;
    }
    const int status = checkAndAppend(*index->table, bytesOf(row), index);
    return status == statusOk ? statusNotFound : status;
}

} // namespace Velmor::tabrix
