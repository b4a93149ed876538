#include "ReferenceStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>

using namespace Velmor::tabrix;

namespace velmor_tests {

namespace {

template <class T>
T get(const Bytes& row, std::size_t offset) {
    T value;
    std::memcpy(&value, row.data() + offset, sizeof value);
    return value;
}

/// The units of a field that are compared: all of fixed bytes, those before the first zero of a string.
std::vector<std::uint32_t> unitsOf(const ReferenceField& field, const Bytes& row) {
    std::vector<std::uint32_t> units;
    switch (field.type) {
    case 3:
        for (std::size_t i = 0; i < field.width && row[field.offset + i] != 0; ++i)
            units.push_back(row[field.offset + i]);
        break;
    case 4:
        for (std::size_t i = 0; i < field.width; ++i)
            units.push_back(row[field.offset + i]);
        break;
    case 6:
        for (const char* c = get<const char*>(row, field.offset); *c; ++c)
            units.push_back(static_cast<unsigned char>(*c));
        break;
    case 7:
        for (std::size_t i = 0; i < field.width; i += 2) {
            const auto unit = get<char16_t>(row, field.offset + i);
            if (unit == 0)
                break;
            units.push_back(unit);
        }
        break;
    case 8:
        for (const char16_t* c = get<const char16_t*>(row, field.offset); *c; ++c)
            units.push_back(*c);
        break;
    default:
        ADD_FAILURE() << "not a text field";
    }
    return units;
}

std::uint32_t fieldHash(const ReferenceField& field, const Bytes& row) {
    if (field.type <= 1)
        return get<std::uint32_t>(row, field.offset);
    if (field.type == 2 || field.type == 5)
        return get<std::uint32_t>(row, field.offset) ^ get<std::uint32_t>(row, field.offset + 4);
    std::uint64_t f = 0; // 64-bit arithmetic with explicit reduction to 32 bits
    for (std::uint32_t c : unitsOf(field, row)) {
        const std::uint64_t t = ((c ^ f) + f * 0x4000000u) % 0x100000000u;
        f = (f / 64 + t) % 0x100000000u;
    }
    return static_cast<std::uint32_t>(f);
}

bool fieldsEqual(const ReferenceField& field, const Bytes& a, const Bytes& b) {
    switch (field.type) {
    case 0:
        return get<std::uint32_t>(a, field.offset) == get<std::uint32_t>(b, field.offset);
    case 1:
        return get<float>(a, field.offset) == get<float>(b, field.offset);
    case 2:
        return get<double>(a, field.offset) == get<double>(b, field.offset);
    case 5:
        return get<std::uint64_t>(a, field.offset) == get<std::uint64_t>(b, field.offset);
    default:
        return unitsOf(field, a) == unitsOf(field, b);
    }
}

Bytes bytesAt(const void* memory, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(memory);
    return Bytes(bytes, bytes + size);
}

} // namespace

ReferenceLayout layOut(const std::vector<FieldSpec>& fields) {
    struct {
        std::size_t unit, alignment;
        bool sized;
    } const types[] = {{4, 4, false}, {4, 4, false}, {8, 8, false}, {1, 1, true}, {1, 1, true},
                       {8, 8, false}, {8, 8, false}, {2, 2, true},  {8, 8, false}};
    ReferenceLayout layout;
    std::size_t end = 0;
    for (const FieldSpec& field : fields) {
        const auto& type = types[field.type];
        while (end % type.alignment != 0)
            ++end;
        const std::size_t width = type.sized ? type.unit * static_cast<std::size_t>(field.size) : type.unit;
        layout.fields.push_back({field.type, width, end});
        end += width;
    }
    layout.rowDataSize = end;
    layout.rowSlotSize = (end + 7) / 8 * 8;
    return layout;
}

std::uint32_t keyHash(const ReferenceLayout& layout, const std::vector<int>& keyFields, const Bytes& row) {
    std::uint64_t h = 0;
    for (int field : keyFields)
        h = (h * 2 % 0x100000000u) ^ fieldHash(layout.fields[static_cast<std::size_t>(field)], row);
    return static_cast<std::uint32_t>(h);
}

std::uint32_t chainOf(std::uint32_t hash, std::uint32_t hashBits) {
    const std::uint64_t product = std::uint64_t{hash} * 2654435769u % 0x100000000u;
    return static_cast<std::uint32_t>(product / (std::uint64_t{1} << (32 - hashBits)));
}

bool keysEqual(const ReferenceLayout& layout, const std::vector<int>& keyFields, const Bytes& a, const Bytes& b) {
    return std::all_of(keyFields.begin(), keyFields.end(),
                       [&](int field) { return fieldsEqual(layout.fields[static_cast<std::size_t>(field)], a, b); });
}

std::uint32_t hashSizeOf(std::uint32_t buckets, std::uint32_t rowsPerBucket) {
    std::uint64_t size = 0;
    for (std::uint64_t count = 1; count <= buckets; ++count) {
        const std::uint64_t capacity = count * rowsPerBucket;
        if (size < capacity)
            for (size = 16; size < 2 * capacity;)
                size *= 2;
    }
    return static_cast<std::uint32_t>(size);
}

std::uint32_t log2Of(std::uint32_t powerOfTwo) {
    std::uint32_t bits = 0;
    while ((std::uint64_t{1} << bits) < powerOfTwo)
        ++bits;
    EXPECT_EQ(std::uint64_t{1} << bits, powerOfTwo) << "not a power of two";
    return bits;
}

std::vector<FieldSpec> ended(std::vector<FieldSpec> fields) {
    fields.push_back({fieldEnd, 0});
    return fields;
}

ReferenceStore::ReferenceStore(TableSpec spec, std::vector<FieldSpec> fields)
    : spec_(spec), layout_(layOut(fields)), table_(createTable(spec, ended(std::move(fields)).data())) {
    if (!table_)
        throw std::runtime_error("the table cannot be created");
}

ReferenceStore::~ReferenceStore() {
    EXPECT_EQ(destroyTable(table_), 0);
}

Index* ReferenceStore::createIndex(bool unique, const std::vector<int>& keyFields) {
    std::vector<int> numbers = keyFields;
    numbers.push_back(-1);
    Index* index = Velmor::tabrix::createIndex(table_, {indexKindHash, unique ? 1u : 0u}, numbers.data());
    if (!index)
        throw std::runtime_error("the index cannot be created");
    indexes_.insert(indexes_.begin(), {index, unique, keyFields});
    return index;
}

void ReferenceStore::destroyIndex(std::size_t number) {
    EXPECT_EQ(Velmor::tabrix::destroyIndex(indexes_[number].index), 0);
    indexes_.erase(indexes_.begin() + static_cast<std::ptrdiff_t>(number));
}

const Bytes* ReferenceStore::expectedFind(const ReferenceIndex& index, const Bytes& row) const {
    // Equal keys can have different hash values (zero and negative zero). The row is then found only if both values have the
    // same chain.
    const std::uint32_t bits = log2Of(table_->hashSize);
    const std::uint32_t chain = chainOf(keyHash(layout_, index.keyFields, row), bits);
    for (auto candidate = rows_.rbegin(); candidate != rows_.rend(); ++candidate)
        if (keysEqual(layout_, index.keyFields, *candidate, row) &&
            chainOf(keyHash(layout_, index.keyFields, *candidate), bits) == chain)
            return &*candidate;
    return nullptr;
}

int ReferenceStore::expectedInsert(const Bytes& row) const {
    for (const ReferenceIndex& index : indexes_)
        if (index.unique && expectedFind(index, row))
            return 2;
    return 0;
}

void ReferenceStore::insert(const Bytes& row) {
    const int expected = expectedInsert(row);
    ASSERT_EQ(Velmor::tabrix::insert(table_, row.data()), expected);
    if (expected == 0)
        rows_.push_back(row);
}

void ReferenceStore::insertNew(const Bytes& row) {
    ASSERT_EQ(Velmor::tabrix::insert(table_, row.data()), 0);
    rows_.push_back(row);
}

void ReferenceStore::find(const ReferenceIndex& index, const Bytes& row) const {
    Bytes found = row;
    const int status = Velmor::tabrix::find(index.index, found.data());
    if (!index.unique) {
        EXPECT_EQ(status, 3);
        EXPECT_EQ(found, row);
        return;
    }
    const Bytes* expected = expectedFind(index, row);
    EXPECT_EQ(status, expected ? 0 : 1);
    EXPECT_EQ(found, expected ? *expected : row);
}

void ReferenceStore::verify() const {
    const auto rowCount = static_cast<std::uint32_t>(rows_.size());
    const std::uint32_t perBucket = spec_.rowsPerBucket;
    const std::uint32_t slots = std::max({rowCount, static_cast<std::uint32_t>(spec_.initialRows), 1u});
    const std::uint32_t bucketCount = (slots + perBucket - 1) / perBucket;
    ASSERT_EQ(table_->initialRows, spec_.initialRows);
    ASSERT_EQ(table_->rowsPerBucket, perBucket);
    ASSERT_EQ(table_->fieldCount, layout_.fields.size());
    for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
        ASSERT_EQ(table_->fields[i].type, layout_.fields[i].type);
        ASSERT_EQ(table_->fields[i].width, layout_.fields[i].width);
        ASSERT_EQ(table_->fields[i].offset, layout_.fields[i].offset);
    }
    ASSERT_EQ(table_->rowDataSize, layout_.rowDataSize);
    ASSERT_EQ(table_->rowSlotSize, layout_.rowSlotSize);

    ASSERT_EQ(table_->bucketCount, bucketCount);
    std::uint32_t capacity = 16;
    while (capacity < bucketCount)
        capacity *= 4;
    ASSERT_EQ(table_->bucketCapacity, capacity);
    const std::uint32_t hashSize = hashSizeOf(bucketCount, perBucket);
    ASSERT_EQ(table_->hashSize, hashSize);
    ASSERT_EQ(table_->hashBits, log2Of(hashSize));
    ASSERT_EQ(table_->hashMask, hashSize - 1);
    const bool full = rowCount == bucketCount * perBucket;
    ASSERT_EQ(table_->firstFreeBucket, full ? -1 : static_cast<std::int32_t>(rowCount / perBucket));

    const std::size_t bitmapSize = (perBucket + 31) / 8 / 4 * 4;
    for (std::uint32_t b = 0; b < bucketCount; ++b) {
        const Bucket& bucket = *table_->buckets[b];
        const std::uint32_t before = std::min(rowCount, b * perBucket);
        const std::uint32_t used = std::min(rowCount - before, perBucket);
        ASSERT_EQ(bucket.used, used);
        ASSERT_EQ(bucket.nextFree, used == perBucket ? -1 : static_cast<std::int32_t>(used));
        Bytes storage(perBucket * layout_.rowSlotSize);
        Bytes bitmap(bitmapSize);
        for (std::uint32_t slot = 0; slot < used; ++slot) {
            const Bytes& row = rows_[before + slot];
            std::copy(row.begin(), row.end(), storage.begin() + static_cast<std::ptrdiff_t>(slot * layout_.rowSlotSize));
            bitmap[slot / 8] = static_cast<unsigned char>(bitmap[slot / 8] | 1u << slot % 8);
        }
        ASSERT_TRUE(bytesAt(bucket.rows, storage.size()) == storage) << "rows of bucket " << b;
        ASSERT_TRUE(bytesAt(bucket.bitmap, bitmap.size()) == bitmap) << "bitmap of bucket " << b;
    }

    ASSERT_EQ(table_->indexCount, indexes_.size());
    const Index* index = table_->indexes;
    for (const ReferenceIndex& expected : indexes_) {
        ASSERT_EQ(index, expected.index);
        ASSERT_NO_FATAL_FAILURE(verifyIndex(expected));
        index = index->next;
    }
    ASSERT_EQ(index, nullptr);
}

void ReferenceStore::verifyIndex(const ReferenceIndex& expected) const {
    const Index& index = *expected.index;
    ASSERT_EQ(index.kind, 1u);
    ASSERT_EQ(index.unique != 0, expected.unique);
    ASSERT_EQ(index.table, table_);
    ASSERT_EQ(index.fieldCount, expected.keyFields.size());
    for (std::size_t i = 0; i < expected.keyFields.size(); ++i) {
        const ReferenceField& field = layout_.fields[static_cast<std::size_t>(expected.keyFields[i])];
        ASSERT_EQ(index.fields[i].type, field.type);
        ASSERT_EQ(index.fields[i].width, field.width);
        ASSERT_EQ(index.fields[i].offset, field.offset);
    }
    const ReferenceField& first = layout_.fields[static_cast<std::size_t>(expected.keyFields[0])];
    const bool fast = expected.keyFields.size() == 1 && first.type == 0;
    ASSERT_EQ(index.fastPathOffset, fast ? static_cast<std::ptrdiff_t>(first.offset) : -1);

    // In each chain newer rows precede older ones.
    std::map<std::uint32_t, std::vector<std::int32_t>> chains;
    for (std::size_t position = rows_.size(); position-- > 0;)
        chains[chainOf(keyHash(layout_, expected.keyFields, rows_[position]), table_->hashBits)].push_back(
            static_cast<std::int32_t>(position));
    std::vector<std::int32_t> entries(table_->hashSize, -2);
    Bytes links(table_->hashSize * sizeof(Link), 0xFF);
    for (const auto& [chain, positions] : chains) {
        entries[chain] = positions.front();
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const auto position = static_cast<std::uint32_t>(positions[i]);
            Link link;
            link.bucket = static_cast<std::uint16_t>(position / spec_.rowsPerBucket);
            link.slot = static_cast<std::uint16_t>(position % spec_.rowsPerBucket);
            link.previous = i == 0 ? -2 - static_cast<std::int32_t>(chain) : positions[i - 1];
            link.next = i + 1 == positions.size() ? -2 : positions[i + 1];
            std::memcpy(links.data() + position * sizeof(Link), &link, sizeof link);
        }
    }
    ASSERT_TRUE(std::equal(entries.begin(), entries.end(), index.entries)) << "chain heads";
    ASSERT_TRUE(bytesAt(index.links, links.size()) == links) << "links";
}

} // namespace velmor_tests
