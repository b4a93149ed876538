#include <Velmor/Identity.h>

#include "identity/Record.h"
#include "identity/SpatialTree.h"
#include "tabrix/tabrix.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

namespace Velmor {

namespace {

// A row of a key table, with room to spare: the runtime id at 0, the key behind it.
struct Row {
    alignas(8) unsigned char bytes[32] = {};

    explicit Row(std::uint32_t id) { std::memcpy(bytes, &id, sizeof id); }
};

std::uint32_t idOf(const void* row) {
    std::uint32_t id;
    std::memcpy(&id, row, sizeof id);
    return id;
}

// One kind of key: the type of the identities, the key field, and where an identity's payload goes in the row.
struct KeyKind {
    ExternalGUID::Type_t type;
    std::uint32_t fieldType;
    std::int32_t fieldSize;
    std::size_t rowOffset;
};

constexpr std::size_t keyOffset = 4; // of the key field, behind the id
constexpr std::size_t handleOffset = 8;
constexpr std::size_t longestKey = ifcGlobalIDSize;

static_assert(sizeof(Row) >= handleOffset + longestKey, "as much as the longest key is written wherever a key goes");
static_assert(std::endian::native == std::endian::little, "the low half of a handle comes first");

// In the order of the types. A DWG handle is placed at 8 on purpose: its field then holds four zero bytes and the handle's
// low half, so that handles are one identity when their low 32 bits agree.
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

// All null when there was no memory for it: the kind then takes no identities.
struct KeyTable {
    tabrix::Table* table;
    tabrix::Index* idIndex;
    tabrix::Index* keyIndex;
    std::uint32_t firstID; // of the first row
};

void destroy(KeyTable& keys) {
    if (keys.keyIndex)
        tabrix::destroyIndex(keys.keyIndex);
    if (keys.idIndex)
        tabrix::destroyIndex(keys.idIndex);
    if (keys.table)
        tabrix::destroyTable(keys.table);
    keys = {};
}

void build(KeyTable& keys, const KeyKind& kind) {
    const tabrix::FieldSpec fields[] = {{tabrix::fieldInt32, 4}, {kind.fieldType, kind.fieldSize}, {tabrix::fieldEnd, 0}};
    keys.table = tabrix::createTable(tableSpec, fields);
    if (!keys.table)
        return;
    const int idField[] = {0, -1};
    const int keyField[] = {1, -1};
    keys.idIndex = tabrix::createIndex(keys.table, indexSpec, idField);
    keys.keyIndex = tabrix::createIndex(keys.table, indexSpec, keyField);
    if (!keys.idIndex || !keys.keyIndex)
        destroy(keys);
}

// What the database reads of an identity.
class Identity {
public:
    explicit Identity(const ExternalGUID& guid) : record_(guid.getBytes(&size_)) {
        std::memcpy(&type_, record_ + tagOffset, sizeof type_);
    }

    bool isSpatial() const { return type_ == ExternalGUID::SpatialHash; }
    bool isKeyed() const { return kind() < keyKindCount; }

    /// Number of the kind of key.
    std::uint32_t kind() const { return type_ - firstKeyedType; }

    const double* spatialHash() const { return reinterpret_cast<const double*>(payload()); }

    Row keyRow(std::uint32_t id) const {
        Row row(id);
        // As much as the longest key: of a shorter one the store does not read what follows it.
        std::memcpy(row.bytes + keyKinds[kind()].rowOffset, payload(), longestKey);
        return row;
    }

private:
    const char* payload() const { return record_ + payloadOffset; }

    unsigned size_;
    const char* record_;
    std::uint32_t type_;
};

// Ids count down: as long as identities of one kind come in a row, the distance of an id from the first row's is the
// position of its row. The index answers for all others.
const void* rowInSequence(const KeyTable& keys, std::uint32_t id) {
    const void* row = keys.table ? tabrix::rowAtPosition(keys.table, keys.firstID - id) : nullptr;
    return row && idOf(row) == id ? row : nullptr;
}

const void* findRow(const KeyTable& keys, std::uint32_t id) {
    const void* row = rowInSequence(keys, id);
    return row || !keys.table ? row : tabrix::findInPlace(keys.idIndex, &id);
}

// A copy of a stored key.
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
    default:
        return ExternalGUID::fromDWGHandle(keyOf<std::uint64_t>(row) >> 32); // the low half, behind four zeros
    }
}

bool isKeyed(std::uint32_t id) {
    return static_cast<std::int32_t>(id) < 0;
}

ExternalGUID noIdentity() {
    return ExternalGUID::fromByteStream(0, nullptr);
}

ExternalGUID spatialIdentity(const SpatialTree& tree, std::uint32_t id) {
    ExternalGUID guid = noIdentity();
    if (const double* hash = spatialHashAt(tree, id))
        guid.fromSpatialHash(hash);
    return guid;
}

ExternalGUID keyedIdentity(const KeyTable* keys, std::uint32_t id) {
    for (const KeyKind& kind : keyKinds) {
        if (const void* row = findRow(*keys++, id))
            return identityOf(kind.type, row);
    }
    return noIdentity();
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
    addSpatialChunk(state_->tree); // a failure is made up for, or answered, by the first insertion
    state_->nextKeyedID = FirstKeyedRuntimeID;
    for (std::size_t i = 0; i < keyKindCount; ++i)
        build(state_->keys[i], keyKinds[i]);
}

ExternalGUIDDatabase::~ExternalGUIDDatabase() {
    freeSpatialTree(state_->tree);
    for (KeyTable& keys : state_->keys)
        destroy(keys);
    std::free(state_);
}

// The state is shared and the former one kept, on purpose: see the header.
ExternalGUIDDatabase& ExternalGUIDDatabase::operator=(const ExternalGUIDDatabase& other) {
    if (this != &other)
        state_ = other.state_;
    return *this;
}

ExternalGUIDRuntimeID_e ExternalGUIDDatabase::insertGUID(const ExternalGUID& guid) {
    const Identity identity(guid);
    if (identity.isSpatial())
        return runtimeID(insertSpatialHash(state_->tree, identity.spatialHash()));
    if (!identity.isKeyed())
        return NoRuntimeID;

    KeyTable& keys = state_->keys[identity.kind()];
    const std::uint32_t id = state_->nextKeyedID;
    Row row = identity.keyRow(id);
    const int status = keys.table ? tabrix::findOrInsert(keys.keyIndex, row.bytes) : tabrix::statusFailed;
    if (status == tabrix::statusOk)
        return runtimeID(idOf(row.bytes));
    // Used up even when the store refuses the row.
    --state_->nextKeyedID;
    if (status != tabrix::statusNotFound)
        return NoRuntimeID;
    if (keys.table->rowCount == 1)
        keys.firstID = id;
    return runtimeID(id);
}

ExternalGUIDRuntimeID_e ExternalGUIDDatabase::findGUID(const ExternalGUID& guid) {
    const Identity identity(guid);
    if (identity.isSpatial())
        return runtimeID(findSpatialHash(state_->tree, identity.spatialHash()));
    if (!identity.isKeyed())
        return NoRuntimeID;

    const KeyTable& keys = state_->keys[identity.kind()];
    const void* row = keys.table ? tabrix::findInPlace(keys.keyIndex, identity.keyRow(0).bytes) : nullptr;
    return row ? runtimeID(idOf(row)) : NoRuntimeID;
}

ExternalGUID ExternalGUIDDatabase::findGUID(ExternalGUIDRuntimeID_e id) {
    if (isKeyed(id)) [[likely]] {
        // The usual import has IFC identities alone.
        if (const void* row = rowInSequence(state_->keys[0], id)) [[likely]]
            return ExternalGUID::fromIFCGlobalID(static_cast<const char*>(row) + keyOffset);
        return keyedIdentity(state_->keys, id);
    }
    return spatialIdentity(state_->tree, id);
}

} // namespace Velmor
