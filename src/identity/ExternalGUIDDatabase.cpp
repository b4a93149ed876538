#include <Velmor/Identity.h>

#include "identity/GuidRecord.h"
#include "identity/SpatialTree.h"
#include "tabrix/tabrix.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

// The database combines two stores:
//
// Keyed identities: one table of the hash-table store (tabrix) per key type. A row is {id, key}; one unique index finds it
// by id, another one by key. All types draw their ids from one counter that starts at 0xFFFFFFFE and counts down.
//
// Spatial hashes: a tree that matches with a tolerance (SpatialTree.cpp). The ordinal of a node is its id, so these ids
// count up from 0. The sign bit of an id selects the store.
//
// An id is usually found without its index: rows of one type that are inserted one after another have consecutive ids, so
// the distance from the id of the first row is the position of the row. The id in that row confirms it; if it differs, the
// index is searched.

namespace Velmor {

using namespace identity;

namespace {

constexpr std::size_t keyOffset = 4; // of the key field, after the id
constexpr std::size_t handleOffset = 8;
constexpr std::size_t longestKey = ifcGlobalIDSize;

// A row of a key table: the runtime id at 0, then the key. It is larger than any stored row, so that a key of any type can
// be copied with the size of the longest one.
struct Row {
    alignas(8) unsigned char bytes[32] = {};

    explicit Row(std::uint32_t id) { std::memcpy(bytes, &id, sizeof id); }
};

static_assert(sizeof(Row) >= handleOffset + longestKey, "the longest key fits at the largest offset");
static_assert(std::endian::native == std::endian::little, "the low half of a handle is stored first");

std::uint32_t idOf(const void* row) {
    std::uint32_t id;
    std::memcpy(&id, row, sizeof id);
    return id;
}

struct KeyKind {
    ExternalGUID::Type_t type;
    std::uint32_t fieldType; ///< Of the key field.
    std::int32_t fieldSize;
    std::size_t rowOffset; ///< Where the payload of an identity is copied to.
};

// Frozen: only the low 32 bits of a DWG handle are stored and compared.
// The handle is copied to offset 8 although its field begins at 4: the field holds four zero bytes and the low half.
constexpr KeyKind keyKinds[] = {
    {ExternalGUID::IFCGlobalID, tabrix::fieldBytes, longestKey, keyOffset},
    {ExternalGUID::KXGUID, tabrix::fieldBytes, 16, keyOffset},
    {ExternalGUID::CadmaticObi, tabrix::fieldInt32, 4, keyOffset},
    {ExternalGUID::DWGHandle, tabrix::fieldBytes, 8, handleOffset},
};

constexpr std::size_t keyKindCount = std::size(keyKinds);
constexpr std::uint32_t firstKeyedType = keyKinds[0].type;

constexpr tabrix::TableSpec tableSpec = {2000, 2000};
constexpr tabrix::IndexSpec indexSpec = {tabrix::indexKindHash, 1};

// All pointers are null if memory was exhausted; the kind then accepts no identities.
struct KeyTable {
    tabrix::Table* table;
    tabrix::Index* idIndex;
    tabrix::Index* keyIndex;
    std::uint32_t firstID; ///< Id of the first row.
};

void destroyKeyTable(KeyTable& keys) {
    if (keys.keyIndex)
        tabrix::destroyIndex(keys.keyIndex);
    if (keys.idIndex)
        tabrix::destroyIndex(keys.idIndex);
    if (keys.table)
        tabrix::destroyTable(keys.table);
    keys = {};
}

void createKeyTable(KeyTable& keys, const KeyKind& kind) {
    const tabrix::FieldSpec fields[] = {{tabrix::fieldInt32, 4}, {kind.fieldType, kind.fieldSize}, {tabrix::fieldEnd, 0}};
    keys.table = tabrix::createTable(tableSpec, fields);
    if (!keys.table)
        return;
    const int idField[] = {0, -1};
    const int keyField[] = {1, -1};
    keys.idIndex = tabrix::createIndex(keys.table, indexSpec, idField);
    keys.keyIndex = tabrix::createIndex(keys.table, indexSpec, keyField);
    if (!keys.idIndex || !keys.keyIndex)
        destroyKeyTable(keys);
}

// Reads the record of an identity in place.
class GuidRecord {
public:
    explicit GuidRecord(const ExternalGUID& guid) : record_(guid.getBytes(&size_)) {
        std::memcpy(&type_, record_ + tagOffset, sizeof type_);
    }

    bool isSpatial() const { return type_ == ExternalGUID::SpatialHash; }
    bool isKeyed() const { return kind() < keyKindCount; }

    /// Index into `keyKinds`; out of range for other types.
    std::uint32_t kind() const { return type_ - firstKeyedType; }

    const double* spatialHash() const { return reinterpret_cast<const double*>(payload()); }

    Row keyRow(std::uint32_t id) const {
        Row row(id);
        // A constant size is faster. The store ignores the bytes after a shorter key.
        std::memcpy(row.bytes + keyKinds[kind()].rowOffset, payload(), longestKey);
        return row;
    }

private:
    const char* payload() const { return record_ + payloadOffset; }

    unsigned size_;
    const char* record_;
    std::uint32_t type_;
};

// Finds a row by the distance of its id from the first id of the table; null if another row is at that position.
const void* rowInSequence(const KeyTable& keys, std::uint32_t id) {
    const void* row = keys.table ? tabrix::rowAtPosition(keys.table, keys.firstID - id) : nullptr;
    return row && idOf(row) == id ? row : nullptr;
}

const void* findRow(const KeyTable& keys, std::uint32_t id) {
    const void* row = rowInSequence(keys, id);
    return row || !keys.table ? row : tabrix::findInPlace(keys.idIndex, &id);
}

// Copies the key out of a row, where it can be unaligned.
template <class Key>
Key keyOf(const void* row) {
    Key key;
    std::memcpy(&key, static_cast<const char*>(row) + keyOffset, sizeof key);
    return key;
}

ExternalGUID identityOf(ExternalGUID::Type_t type, const void* row) {
    switch (type) {
    case ExternalGUID::IFCGlobalID:
        return ExternalGUID::fromIFCGlobalID(static_cast<const char*>(row) + keyOffset);
    case ExternalGUID::KXGUID:
        return ExternalGUID::fromKX(keyOf<KXGUID_t>(row));
    case ExternalGUID::CadmaticObi:
        return ExternalGUID::fromCadmaticObi(keyOf<int>(row));
    default: // the upper half of the key field is the low half of the handle
        return ExternalGUID::fromDWGHandle(keyOf<std::uint64_t>(row) >> 32);
    }
}

bool isKeyedID(std::uint32_t id) {
    return static_cast<std::int32_t>(id) < 0;
}

ExternalGUID invalidIdentity() {
    return ExternalGUID::fromByteStream(0, nullptr);
}

ExternalGUID spatialIdentity(const SpatialTree& tree, std::uint32_t id) {
    ExternalGUID guid = invalidIdentity();
    if (const double* hash = spatialHashAt(tree, id))
        guid.fromSpatialHash(hash);
    return guid;
}

ExternalGUID keyedIdentity(const KeyTable* keys, std::uint32_t id) {
    for (const KeyKind& kind : keyKinds) {
        if (const void* row = findRow(*keys++, id))
            return identityOf(kind.type, row);
    }
    return invalidIdentity();
}

ExternalGUIDRuntimeID_e runtimeID(std::uint32_t id) {
    return static_cast<ExternalGUIDRuntimeID_e>(id);
}

static_assert(noSpatialNode == static_cast<std::uint32_t>(NoRuntimeID));

} // namespace

struct ExternalGUIDDatabase::State {
    SpatialTree tree;
    KeyTable keys[keyKindCount];
    std::uint32_t nextKeyedID;
};

ExternalGUIDDatabase::ExternalGUIDDatabase() : state_(static_cast<State*>(std::calloc(1, sizeof(State)))) {
    if (!state_)
        throw std::bad_alloc();
    addSpatialChunk(state_->tree); // if this fails, the first insertion tries again
    state_->nextKeyedID = FirstKeyedRuntimeID;
    for (std::size_t i = 0; i < keyKindCount; ++i)
        createKeyTable(state_->keys[i], keyKinds[i]);
}

ExternalGUIDDatabase::~ExternalGUIDDatabase() {
    freeSpatialTree(state_->tree);
    for (KeyTable& keys : state_->keys)
        destroyKeyTable(keys);
    std::free(state_);
}

ExternalGUIDDatabase& ExternalGUIDDatabase::operator=(const ExternalGUIDDatabase& other) {
    // Frozen: only the pointer is copied; both databases share one state, and the former state is not freed.
    if (this != &other)
        state_ = other.state_;
    return *this;
}

ExternalGUIDRuntimeID_e ExternalGUIDDatabase::insertGUID(const ExternalGUID& guid) {
    const GuidRecord record(guid);
    if (record.isSpatial())
        return runtimeID(insertSpatialHash(state_->tree, record.spatialHash()));
    if (!record.isKeyed())
        return NoRuntimeID;

    KeyTable& keys = state_->keys[record.kind()];
    const std::uint32_t id = state_->nextKeyedID;
    Row row = record.keyRow(id);
    const int status = keys.table ? tabrix::findOrInsert(keys.keyIndex, row.bytes) : tabrix::statusFailed;
    if (status == tabrix::statusOk)
        return runtimeID(idOf(row.bytes));
    // Frozen: the id is consumed even if the row cannot be stored.
    // Frozen: the counter is not stopped at 0x80000000, where the ids of spatial hashes begin.
    --state_->nextKeyedID;
    if (status != tabrix::statusNotFound)
        return NoRuntimeID;
    if (keys.table->rowCount == 1)
        keys.firstID = id;
    return runtimeID(id);
}

ExternalGUIDRuntimeID_e ExternalGUIDDatabase::findGUID(const ExternalGUID& guid) {
    const GuidRecord record(guid);
    if (record.isSpatial())
        return runtimeID(findSpatialHash(state_->tree, record.spatialHash()));
    if (!record.isKeyed())
        return NoRuntimeID;

    const KeyTable& keys = state_->keys[record.kind()];
    const void* row = keys.table ? tabrix::findInPlace(keys.keyIndex, record.keyRow(0).bytes) : nullptr;
    return row ? runtimeID(idOf(row)) : NoRuntimeID;
}

ExternalGUID ExternalGUIDDatabase::findGUID(ExternalGUIDRuntimeID_e id) {
    if (isKeyedID(id)) [[likely]] {
        // Most imports contain IFC identities only.
        if (const void* row = rowInSequence(state_->keys[0], id)) [[likely]]
            return ExternalGUID::fromIFCGlobalID(static_cast<const char*>(row) + keyOffset);
        return keyedIdentity(state_->keys, id);
    }
    return spatialIdentity(state_->tree, id);
}

} // namespace Velmor
