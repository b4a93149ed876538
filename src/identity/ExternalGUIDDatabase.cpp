#include "identity/SpatialTree.h"
#include "tabrix/tabrix.h"

#include <Velmor/Identity.h>

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

    std::uint32_t id() const {
        std::uint32_t id;
        std::memcpy(&id, bytes, sizeof id);
        return id;
    }
};

// One kind of key: the type of the identities, the key field, and where an identity's payload goes in the row.
struct KeyKind {
    ExternalGUID::Type_t type;
    std::uint32_t fieldType;
    std::int32_t fieldSize;
    std::size_t payloadSize;
    std::size_t payloadOffset;
};

// In the order of the types. The key field begins at 4. A DWG handle is placed at 8 on purpose: its field then holds four
// zero bytes and the handle's low half, so that handles are one identity when their low 32 bits agree.
constexpr KeyKind keyKinds[] = {
    {ExternalGUID::IFCGlobalID, tabrix::fieldBytes, 22, 22, 4},
    {ExternalGUID::KXGUID, tabrix::fieldBytes, 16, 16, 4},
    {ExternalGUID::CadmaticObi, tabrix::fieldInt32, 4, 4, 4},
    {ExternalGUID::DWGHandle, tabrix::fieldBytes, 8, 8, 8},
};

constexpr std::size_t keyKindCount = std::size(keyKinds);
constexpr std::uint32_t firstKeyedType = keyKinds[0].type;

constexpr tabrix::TableSpec tableSpec = {2000, 2000};
constexpr tabrix::IndexSpec indexSpec = {tabrix::indexKindHash, 1};

struct KeyTable {
    tabrix::Table* table;
    tabrix::Index* idIndex;
    tabrix::Index* keyIndex;

    // Without memory for all three the kind takes no identities.
    bool usable() const { return idIndex && keyIndex; }
};

void build(KeyTable& keys, const KeyKind& kind) {
    const tabrix::FieldSpec fields[] = {{tabrix::fieldInt32, 4}, {kind.fieldType, kind.fieldSize}, {tabrix::fieldEnd, 0}};
    keys.table = tabrix::createTable(tableSpec, fields);
    if (!keys.table)
        return;
    const int idField[] = {0, -1};
    const int keyField[] = {1, -1};
    keys.idIndex = tabrix::createIndex(keys.table, indexSpec, idField);
    keys.keyIndex = tabrix::createIndex(keys.table, indexSpec, keyField);
}

void destroy(KeyTable& keys) {
    if (keys.keyIndex)
        tabrix::destroyIndex(keys.keyIndex);
    if (keys.idIndex)
        tabrix::destroyIndex(keys.idIndex);
    if (keys.table)
        tabrix::destroyTable(keys.table);
}

// What the database reads of an identity.
class Identity {
public:
    explicit Identity(const ExternalGUID& guid) : record_(guid.getBytes(&size_)) {
        std::memcpy(&type_, record_, sizeof type_);
    }

    bool isSpatial() const { return type_ == ExternalGUID::SpatialHash; }
    bool isKeyed() const { return kind() < keyKindCount; }

    /// Number of the kind of key.
    std::uint32_t kind() const { return type_ - firstKeyedType; }

    const double* spatialHash() const { return reinterpret_cast<const double*>(payload()); }

    Row keyRow(std::uint32_t id) const {
        Row row(id);
        const KeyKind& keyKind = keyKinds[kind()];
        std::memcpy(row.bytes + keyKind.payloadOffset, payload(), keyKind.payloadSize);
        return row;
    }

private:
    const char* payload() const { return record_ + 8; }

    unsigned size_;
    const char* record_;
    std::uint32_t type_;
};

ExternalGUID identityOf(const KeyKind& kind, const Row& row) {
    const unsigned char* payload = row.bytes + kind.payloadOffset;
    switch (kind.type) {
    case ExternalGUID::IFCGlobalID:
        return ExternalGUID::fromIFCGlobalID(reinterpret_cast<const char*>(payload));
    case ExternalGUID::KXGUID: {
        KXGUID_t guid;
        std::memcpy(&guid, payload, sizeof guid);
        return ExternalGUID::fromKX(guid);
    }
    case ExternalGUID::CadmaticObi: {
        int obi;
        std::memcpy(&obi, payload, sizeof obi);
        return ExternalGUID::fromCadmaticObi(obi);
    }
    default: {
        unsigned long long handle;
        std::memcpy(&handle, payload, sizeof handle);
        return ExternalGUID::fromDWGHandle(handle);
    }
    }
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
    state_ = other.state_;
    return *this;
}

ExternalGUIDRuntimeID_e ExternalGUIDDatabase::insertGUID(const ExternalGUID& guid) {
    const Identity identity(guid);
    if (identity.isSpatial())
        return runtimeID(insertSpatialHash(state_->tree, identity.spatialHash()));
    if (!identity.isKeyed())
        return NoRuntimeID;

    const KeyTable& keys = state_->keys[identity.kind()];
    const std::uint32_t id = state_->nextKeyedID;
    Row row = identity.keyRow(id);
    const int status = keys.usable() ? tabrix::findOrInsert(keys.keyIndex, row.bytes) : tabrix::statusFailed;
    if (status == tabrix::statusOk)
        return runtimeID(row.id());
    // Used up even when the store refuses the row.
    --state_->nextKeyedID;
    return status == tabrix::statusNotFound ? runtimeID(id) : NoRuntimeID;
}

ExternalGUIDRuntimeID_e ExternalGUIDDatabase::findGUID(const ExternalGUID& guid) {
    const Identity identity(guid);
    if (identity.isSpatial())
        return runtimeID(findSpatialHash(state_->tree, identity.spatialHash()));
    if (!identity.isKeyed())
        return NoRuntimeID;

    const KeyTable& keys = state_->keys[identity.kind()];
    Row row = identity.keyRow(0);
    if (!keys.usable() || tabrix::find(keys.keyIndex, row.bytes) != tabrix::statusOk)
        return NoRuntimeID;
    return runtimeID(row.id());
}

ExternalGUID ExternalGUIDDatabase::findGUID(ExternalGUIDRuntimeID_e id) {
    const std::uint32_t number = id;
    const bool keyed = static_cast<std::int32_t>(number) < 0;
    if (keyed) {
        for (std::size_t i = 0; i < keyKindCount; ++i) {
            Row row(number);
            if (state_->keys[i].usable() && tabrix::find(state_->keys[i].idIndex, row.bytes) == tabrix::statusOk)
                return identityOf(keyKinds[i], row);
        }
    }
    ExternalGUID guid = ExternalGUID::fromByteStream(0, nullptr);
    const double* hash = keyed ? nullptr : spatialHashAt(state_->tree, number);
    if (hash)
        guid.fromSpatialHash(hash);
    return guid;
}

} // namespace Velmor
