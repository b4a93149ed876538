#include "tabrix/tabrix.h"

#include "PlainStore.h"
#include "support/UnderDebugger.h"
#include "support/WithFailure.h"
#include "tabrix/tabrixhash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace Velmor::tabrix;
using namespace velmor_tests;

namespace {

Table* makeTable(TableSpec spec, std::vector<FieldSpec> fields) {
    return createTable(spec, ended(std::move(fields)).data());
}

std::vector<unsigned char> inlineText(std::size_t width, const std::string& text) {
    std::vector<unsigned char> bytes(width, 0);
    std::copy_n(text.begin(), std::min(width, text.size()), bytes.begin());
    return bytes;
}

void putBytes(const PlainLayout& layout, Bytes& row, std::size_t field, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), row.begin() + static_cast<std::ptrdiff_t>(layout.fields[field].offset));
}

template <class T>
Bytes bytesOf(const T& value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

/// One field and, behind it, a number that tells rows apart.
struct OneKey {
    explicit OneKey(FieldSpec key) : store({0, 10}, {key, {fieldInt32, 4}}), index(store.createIndex(true, {0})) {}

    Bytes row(const Bytes& key, std::uint32_t number = 0) const {
        Bytes bytes = store.emptyRow();
        putBytes(store.layout(), bytes, 0, key);
        put(store.layout(), bytes, 1, number);
        return bytes;
    }

    int insert(const Bytes& key, std::uint32_t number = 0) {
        return Velmor::tabrix::insert(store.table(), row(key, number).data());
    }

    /// The number of the row that has a key, or -1.
    int find(const Bytes& key) const {
        Bytes bytes = row(key, 999);
        const int status = Velmor::tabrix::find(index, bytes.data());
        if (status != 0) {
            EXPECT_EQ(status, 1);
            EXPECT_EQ(bytes, row(key, 999)) << "a row that is not found stays as it is";
            return -1;
        }
        std::uint32_t number;
        std::memcpy(&number, bytes.data() + store.layout().fields[1].offset, sizeof number);
        return static_cast<int>(number);
    }

    PlainStore store;
    Index* index;
};

} // namespace

// Layout
// -----------------------------------------------------------------------------------------------------------------------

TEST(TabrixTable, LaysFieldsOutAtTheirAlignment) {
    struct Case {
        std::vector<FieldSpec> fields;
        std::vector<std::size_t> widths, offsets;
        std::size_t rowDataSize, rowSlotSize;
    };
    const Case cases[] = {
        {{{0, 4}, {4, 22}}, {4, 22}, {0, 4}, 26, 32},
        {{{0, 4}, {4, 16}}, {4, 16}, {0, 4}, 20, 24},
        {{{0, 4}, {0, 4}}, {4, 4}, {0, 4}, 8, 8},
        {{{0, 4}, {4, 8}}, {4, 8}, {0, 4}, 12, 16},
        {{{4, 1}}, {1}, {0}, 1, 8},
        {{{4, 1}, {0, 0}, {4, 1}, {1, -1}}, {1, 4, 1, 4}, {0, 4, 8, 12}, 16, 16},
        {{{4, 1}, {2, 1}, {3, 3}, {5, 999}}, {1, 8, 3, 8}, {0, 8, 16, 24}, 32, 32},
        {{{3, 5}, {6, 0}, {4, 1}, {8, INT_MIN}}, {5, 8, 1, 8}, {0, 8, 16, 24}, 32, 32},
        {{{3, 1}, {7, 3}, {3, 1}, {7, 1}}, {1, 6, 1, 2}, {0, 2, 8, 10}, 12, 16},
        {{{0, 4}, {7, 2}, {4, 3}, {2, 8}, {4, 1}}, {4, 4, 3, 8, 1}, {0, 4, 8, 16, 24}, 25, 32},
        {{{1, 0}, {5, 0}}, {4, 8}, {0, 8}, 16, 16},
        {{{4, 8}}, {8}, {0}, 8, 8},
        {{{4, 9}}, {9}, {0}, 9, 16},
    };
    for (const Case& c : cases) {
        Table* table = makeTable({0, 3}, c.fields);
        ASSERT_NE(table, nullptr);
        ASSERT_EQ(table->fieldCount, c.fields.size());
        for (std::size_t i = 0; i < c.fields.size(); ++i) {
            EXPECT_EQ(table->fields[i].type, c.fields[i].type);
            EXPECT_EQ(table->fields[i].width, c.widths[i]);
            EXPECT_EQ(table->fields[i].offset, c.offsets[i]);
        }
        EXPECT_EQ(table->rowDataSize, c.rowDataSize);
        EXPECT_EQ(table->rowSlotSize, c.rowSlotSize);
        EXPECT_EQ(destroyTable(table), 0);
    }
}

TEST(TabrixTable, CopiesTheFieldSpecification) {
    std::vector<FieldSpec> fields = ended({{fieldInt32, 4}, {fieldBytes, 5}});
    Table* table = createTable({0, 3}, fields.data());
    ASSERT_NE(table, nullptr);
    fields.assign(fields.size(), {9, -1});
    EXPECT_EQ(table->fields[1].type, fieldBytes);
    EXPECT_EQ(table->fields[1].width, 5u);
    EXPECT_EQ(destroyTable(table), 0);
}

TEST(TabrixTable, StartsWithZeroedStorage) {
    const PlainStore store({0, 50}, {{fieldInt32, 4}, {fieldBytes, 13}});
    store.verify();
}

TEST(TabrixTable, RefusesABadSpecificationSilently) {
    struct Case {
        TableSpec table;
        std::vector<FieldSpec> fields;
    };
    const Case cases[] = {
        {{0, 0}, {{0, 4}}},          {{0, 65536}, {{0, 4}}},      {{0, 0xFFFFFFFF}, {{0, 4}}},  {{0, 0x80000000}, {{0, 4}}},
        {{-1, 10}, {{0, 4}}},        {{INT_MIN, 10}, {{0, 4}}},   {{0, 10}, {{9, 4}}},          {{0, 10}, {{10, 4}}},
        {{0, 10}, {{99, 4}}},        {{0, 10}, {{101, 4}}},       {{0, 10}, {{0xFFFFFFFF, 4}}}, {{0, 10}, {{0x80000000, 4}}},
        {{0, 10}, {{3, 0}}},         {{0, 10}, {{4, 0}}},         {{0, 10}, {{7, 0}}},          {{0, 10}, {{3, -1}}},
        {{0, 10}, {{4, INT_MIN}}},   {{0, 10}, {{7, -2}}},        {{0, 10}, {{0, 4}, {9, 4}}},  {{0, 10}, {{9, 4}, {0, 4}}},
        {{0, 10}, {{0, 4}, {4, 0}}}, {{0, 10}, {{4, 4}, {7, 0}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(errorOf([&] { EXPECT_EQ(makeTable(c.table, c.fields), nullptr) << c.fields[0].type; }), "");
}

TEST(TabrixTable, AcceptsTheEndsOfItsRanges) {
    for (std::uint32_t rowsPerBucket : {1u, 2u, 31u, 32u, 33u, 65535u}) {
        PlainStore store({0, rowsPerBucket}, {{fieldBytes, 1}});
        store.verify();
        store.insert({7});
        store.verify();
    }
}

TEST(TabrixTable, MakesRoomForItsInitialRows) {
    struct Case {
        std::int32_t rows;
        std::uint32_t buckets, capacity, hashSize, hashBits;
    };
    for (const Case& c :
         {Case{0, 1, 16, 4096, 12}, Case{1, 1, 16, 4096, 12}, Case{2000, 1, 16, 4096, 12}, Case{2001, 2, 16, 4096, 12},
          Case{4000, 2, 16, 4096, 12}, Case{4001, 3, 16, 16384, 14}, Case{32001, 17, 64, 65536, 16}}) {
        const PlainStore store({c.rows, 2000}, {{fieldInt32, 4}});
        EXPECT_EQ(store.table()->bucketCount, c.buckets);
        EXPECT_EQ(store.table()->bucketCapacity, c.capacity);
        EXPECT_EQ(store.table()->hashSize, c.hashSize);
        EXPECT_EQ(store.table()->hashBits, c.hashBits);
        EXPECT_EQ(store.table()->hashMask, c.hashSize - 1);
        EXPECT_EQ(store.table()->firstFreeBucket, 0);
        store.verify();
    }
}

TEST(TabrixTable, HashSizeIsAtLeastSixteen) {
    struct Case {
        std::uint32_t rowsPerBucket, hashSize;
    };
    for (const Case& c :
         {Case{1, 16}, Case{7, 16}, Case{8, 16}, Case{9, 32}, Case{16, 32}, Case{17, 64}, Case{65535, 131072}}) {
        const PlainStore store({0, c.rowsPerBucket}, {{fieldInt32, 4}});
        EXPECT_EQ(store.table()->hashSize, c.hashSize) << c.rowsPerBucket;
    }
}

TEST(TabrixTable, WithoutFieldsIsMadeButTakesNoIndex) {
    Table* table = makeTable({0, 10}, {});
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->fieldCount, 0u);
    EXPECT_EQ(table->rowDataSize, 0u);
    EXPECT_EQ(table->rowSlotSize, 0u);
    for (const std::vector<int>& fields : {std::vector<int>{-1}, {0, -1}})
        EXPECT_EQ(createIndex(table, {1, 1}, fields.data()), nullptr);
    EXPECT_EQ(table->indexCount, 0u);
    EXPECT_EQ(destroyTable(table), 0);
}

// Growth
// -----------------------------------------------------------------------------------------------------------------------

TEST(TabrixTable, GrowsWhenABucketIsFullAndRehashesOnlyBeyondItsHashSize) {
    PlainStore store({2000, 2000}, {{fieldInt32, 4}, {fieldBytes, 22}});
    store.createIndex(true, {0});
    store.createIndex(true, {1});
    struct Point {
        std::uint32_t rows, buckets, hashSize, hashBits;
    };
    const Point points[] = {{0, 1, 4096, 12},      {1, 1, 4096, 12},      {1999, 1, 4096, 12},   {2000, 1, 4096, 12},
                            {2001, 2, 4096, 12},   {4000, 2, 4096, 12},   {4001, 3, 16384, 14},  {6000, 3, 16384, 14},
                            {6001, 4, 16384, 14},  {16000, 8, 16384, 14}, {16001, 9, 65536, 16}, {32000, 16, 65536, 16},
                            {32001, 17, 65536, 16}};
    std::uint32_t rows = 0;
    for (const Point& point : points) {
        for (; rows < point.rows; ++rows) {
            Bytes row = store.emptyRow();
            put(store.layout(), row, 0, 0xFFFFFFFEu - rows);
            putBytes(store.layout(), row, 1, inlineText(22, std::to_string(rows * 7919u) + "########"));
            store.insertNew(row);
        }
        SCOPED_TRACE(rows);
        EXPECT_EQ(store.table()->bucketCount, point.buckets);
        EXPECT_EQ(store.table()->hashSize, point.hashSize);
        EXPECT_EQ(store.table()->hashBits, point.hashBits);
        EXPECT_EQ(store.table()->bucketCapacity, point.buckets <= 16 ? 16u : 64u);
        ASSERT_NO_FATAL_FAILURE(store.verify());
    }
    for (const Bytes& row : store.rows()) {
        Bytes byNumber = store.emptyRow();
        std::copy_n(row.begin(), 4, byNumber.begin());
        ASSERT_EQ(find(store.indexes()[1].index, byNumber.data()), 0);
        ASSERT_EQ(byNumber, row);
        Bytes byText = store.emptyRow();
        std::copy(row.begin() + 4, row.end(), byText.begin() + 4);
        ASSERT_EQ(find(store.indexes()[0].index, byText.data()), 0);
        ASSERT_EQ(byText, row);
    }
}

TEST(TabrixTable, FirstFreeBucketMovesThroughTheInitialBuckets) {
    PlainStore store({10, 3}, {{fieldInt32, 4}});
    store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 30; ++i) {
        store.insertNew(bytesOf(i));
        ASSERT_NO_FATAL_FAILURE(store.verify());
    }
}

TEST(TabrixTable, FillsTheLargestBucket) {
    PlainStore store({0, 65535}, {{fieldInt32, 4}});
    store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 65535; ++i)
        store.insertNew(bytesOf(i * 0x10001u));
    store.verify();
    EXPECT_EQ(store.table()->bucketCount, 1u);
    EXPECT_EQ(store.table()->firstFreeBucket, -1);
    store.insertNew(bytesOf(0xFFFFFFFFu));
    EXPECT_EQ(store.table()->bucketCount, 2u);
    store.verify();
}

TEST(TabrixTable, RefusesMoreThan65534BucketsSilently) {
    PlainStore store({0, 1}, {{fieldInt32, 4}});
    store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 65534; ++i)
        store.insertNew(bytesOf(i));
    store.verify();
    for (std::uint32_t i = 65534; i < 65540; ++i) {
        EXPECT_EQ(errorOf([&] { EXPECT_EQ(insert(store.table(), &i), 4); }), "");
        std::uint32_t row = i;
        EXPECT_EQ(find(store.indexes()[0].index, &row), 1);
    }
    store.verify();
    std::uint32_t last = 65533;
    EXPECT_EQ(find(store.indexes()[0].index, &last), 0);
    EXPECT_EQ(insert(store.table(), &last), 2) << "a key that is held is told before the missing room";
}

TEST(TabrixTable, RefusesMoreInitialRowsThan65534BucketsHold) {
    const PlainStore most({65534, 1}, {{fieldBytes, 1}});
    EXPECT_EQ(most.table()->bucketCount, 65534u);
    EXPECT_EQ(makeTable({65535, 1}, {{fieldBytes, 1}}), nullptr);
}

TEST(TabrixTable, HashGrowsToThirtyBitsAndNoFurther) {
    // Without an index nothing is allocated for it.
    Table* table = makeTable({0, 1}, {{fieldInt32, 4}});
    ASSERT_NE(table, nullptr);
    EXPECT_FALSE(resizeHash(*table, (std::size_t{1} << 29) + 1)) << "twice as much takes 31 bits";
    EXPECT_EQ(table->hashBits, 4u);
    EXPECT_TRUE(resizeHash(*table, std::size_t{1} << 29));
    EXPECT_EQ(table->hashBits, 30u);
    EXPECT_EQ(table->hashSize, 1u << 30);
    EXPECT_EQ(table->hashMask, (1u << 30) - 1);
    EXPECT_TRUE(resizeHash(*table, std::size_t{1} << 30)) << "it is that large already";
    EXPECT_FALSE(resizeHash(*table, (std::size_t{1} << 30) + 1));
    EXPECT_EQ(table->hashBits, 30u);
    EXPECT_EQ(destroyTable(table), 0);
}

// Indexes
// ----------------------------------------------------------------------------------------------------------------------

TEST(TabrixIndex, RefusesABadSpecificationSilently) {
    PlainStore store({0, 10}, {{fieldInt32, 4}, {fieldBytes, 3}, {fieldDouble, 8}});
    const std::vector<std::vector<int>> badFields = {{-1},       {-5},       {INT_MIN},     {3, -1},          {INT_MAX, -1},
                                                     {0, 3, -1}, {0, 0, -1}, {1, 2, 1, -1}, {0, 1, 2, 0, -1}, {2, 2, 2, -1}};
    for (const auto& fields : badFields)
        EXPECT_EQ(errorOf([&] { EXPECT_EQ(createIndex(store.table(), {1, 1}, fields.data()), nullptr); }), "");
    const int good[] = {0, -1};
    for (std::uint32_t kind : {0u, 2u, 3u, 257u, 0xFFFFFFFFu})
        EXPECT_EQ(errorOf([&] { EXPECT_EQ(createIndex(store.table(), {kind, 1}, good), nullptr); }), "") << kind;
    store.verify();
}

TEST(TabrixIndex, FieldNumbersEndAtAnyNegativeNumber) {
    PlainStore store({0, 10}, {{fieldInt32, 4}, {fieldBytes, 3}, {fieldDouble, 8}});
    for (int end : {-1, -2, INT_MIN}) {
        const int fields[] = {2, 0, end, 1, 1, 7};
        Index* index = createIndex(store.table(), {1, 1}, fields);
        ASSERT_NE(index, nullptr);
        EXPECT_EQ(index->fieldCount, 2u);
        EXPECT_EQ(index->fields[0].offset, 8u);
        EXPECT_EQ(index->fields[1].offset, 0u);
        EXPECT_EQ(destroyIndex(index), 0);
    }
}

TEST(TabrixIndex, OnlyASingle32BitIntegerTakesTheFastPath) {
    PlainStore store({0, 10}, {{fieldBytes, 3}, {fieldInt32, 4}, {fieldFloat, 4}, {fieldInt32, 4}, {fieldInt64, 8}});
    EXPECT_EQ(store.createIndex(true, {1})->fastPathOffset, 4);
    EXPECT_EQ(store.createIndex(true, {3})->fastPathOffset, 12);
    EXPECT_EQ(store.createIndex(true, {0})->fastPathOffset, -1);
    EXPECT_EQ(store.createIndex(true, {2})->fastPathOffset, -1);
    EXPECT_EQ(store.createIndex(true, {4})->fastPathOffset, -1);
    EXPECT_EQ(store.createIndex(true, {1, 3})->fastPathOffset, -1);
    store.verify();
}

TEST(TabrixIndex, StandsAtTheHeadOfItsTablesListUntilDestroyed) {
    PlainStore store({0, 10}, {{fieldInt32, 4}, {fieldBytes, 3}});
    for (int round = 0; round < 5; ++round)
        store.createIndex(round % 2 == 0, {round % 2});
    store.verify();
    store.destroyIndex(2); // amid the list
    store.verify();
    store.destroyIndex(0); // its head
    store.verify();
    store.destroyIndex(2); // its end
    store.verify();
    store.destroyIndex(0);
    store.destroyIndex(0);
    store.verify();
    store.createIndex(true, {1, 0});
    store.verify();
}

TEST(TabrixIndex, HoldsTheRowsThatWereThereBefore) {
    PlainStore store({0, 7}, {{fieldInt32, 4}, {fieldString, 4}});
    for (std::uint32_t i = 0; i < 100; ++i) {
        Bytes row = store.emptyRow();
        put(store.layout(), row, 0, i);
        putBytes(store.layout(), row, 1, inlineText(4, std::to_string(i)));
        store.insertNew(row);
    }
    store.createIndex(true, {0});
    store.createIndex(true, {1});
    store.createIndex(false, {1, 0});
    store.verify();
    for (const Bytes& row : store.rows())
        for (const PlainIndex& index : store.indexes())
            store.find(index, row);
}

TEST(TabrixIndex, UniqueOverEqualKeysGivesTheNewest) {
    PlainStore store({0, 4}, {{fieldInt32, 4}, {fieldInt32, 4}});
    for (std::uint32_t i = 0; i < 40; ++i) {
        Bytes row = store.emptyRow();
        put(store.layout(), row, 0, i % 3);
        put(store.layout(), row, 1, i);
        store.insertNew(row);
    }
    store.createIndex(true, {0});
    store.verify();
    for (std::uint32_t key = 0; key < 3; ++key) {
        std::uint32_t row[2] = {key, 0};
        ASSERT_EQ(find(store.indexes()[0].index, row), 0);
        EXPECT_EQ(row[1], key == 0 ? 39u : 36 + key);
    }
    std::uint32_t row[2] = {1, 1000};
    EXPECT_EQ(insert(store.table(), row), 2);
    store.verify();
}

TEST(TabrixIndex, UniqueOverEqualKeysGivesTheNewestAfterTheHashGrew) {
    PlainStore store({0, 4}, {{fieldInt32, 4}, {fieldInt32, 4}});
    const auto row = [](std::uint32_t key, std::uint32_t number) {
        return bytesOf(std::array<std::uint32_t, 2>{key, number});
    };
    for (std::uint32_t i = 0; i < 40; ++i)
        store.insertNew(row(i % 3, i));
    Index* index = store.createIndex(true, {0});
    const std::uint32_t hashSize = store.table()->hashSize;
    for (std::uint32_t i = 40; store.table()->hashSize == hashSize; ++i)
        store.insertNew(row(1000 + i, i));
    store.verify();
    for (std::uint32_t key = 0; key < 3; ++key) {
        Bytes found = row(key, 0);
        ASSERT_EQ(find(index, found.data()), 0);
        EXPECT_EQ(found, row(key, key == 0 ? 39u : 36 + key));
    }
}

TEST(TabrixIndex, AnyFlagButZeroMeansUnique) {
    for (const std::uint32_t unique : {2u, 0xFFFFFFFFu}) {
        PlainStore store({0, 4}, {{fieldInt32, 4}});
        const int fields[] = {0, -1};
        Index* index = createIndex(store.table(), {1, unique}, fields);
        ASSERT_NE(index, nullptr);
        std::uint32_t row = 5;
        EXPECT_EQ(insert(store.table(), &row), 0);
        EXPECT_EQ(insert(store.table(), &row), 2);
        EXPECT_EQ(find(index, &row), 0);
    }
}

TEST(TabrixIndex, ChainsAreLinkedBothWaysNewestFirst) {
    // Four keys that the multiplication sends to chain 11 of 16.
    PlainStore store({0, 4}, {{fieldInt32, 4}});
    Index* index = store.createIndex(true, {0});
    ASSERT_EQ(store.table()->hashBits, 4u);
    std::vector<std::uint32_t> keys;
    for (std::uint32_t key = 0; keys.size() < 4; ++key)
        if (((key * 0x9E3779B9u) >> 28) == 11)
            keys.push_back(key);
    for (std::uint32_t key : keys)
        store.insertNew(bytesOf(key));
    EXPECT_EQ(index->entries[11], 3);
    EXPECT_EQ(index->links[3].previous, -13);
    EXPECT_EQ(index->links[3].next, 2);
    EXPECT_EQ(index->links[2].previous, 3);
    EXPECT_EQ(index->links[2].next, 1);
    EXPECT_EQ(index->links[1].previous, 2);
    EXPECT_EQ(index->links[1].next, 0);
    EXPECT_EQ(index->links[0].previous, 1);
    EXPECT_EQ(index->links[0].next, -2);
    EXPECT_EQ(index->links[2].bucket, 0);
    EXPECT_EQ(index->links[2].slot, 2);
    for (int chain = 0; chain < 16; ++chain)
        if (chain != 11) {
            EXPECT_EQ(index->entries[chain], -2);
        }
    store.verify();
}

// Hashes worked out by hand, each as the chain among 2^12.
TEST(TabrixIndex, HashesAreTheDefinedOnes) {
    const auto chain = [](std::uint32_t hash) { return static_cast<std::int32_t>((hash * 0x9E3779B9u) >> 20); };
    const auto check = [&](std::vector<FieldSpec> fields, const std::vector<Bytes>& values, std::uint32_t hash) {
        PlainStore store({0, 2000}, fields);
        std::vector<int> key;
        Bytes row = store.emptyRow();
        for (std::size_t i = 0; i < fields.size(); ++i) {
            key.push_back(static_cast<int>(i));
            putBytes(store.layout(), row, i, values[i]);
        }
        const Index* index = store.createIndex(true, key);
        store.insertNew(row);
        ASSERT_EQ(store.table()->hashBits, 12u);
        EXPECT_EQ(index->links[0].previous, -2 - chain(hash)) << fields[0].type;
        EXPECT_EQ(index->entries[chain(hash)], 0);
    };
    check({{0, 4}}, {bytesOf(0x12345678u)}, 0x12345678);
    check({{1, 4}}, {bytesOf(1.0f)}, 0x3F800000);
    check({{2, 8}}, {bytesOf(1.0)}, 0x3FF00000);
    check({{2, 8}}, {bytesOf(std::uint64_t{0x3FF00000000000FF})}, 0x3FF000FF);
    check({{5, 8}}, {bytesOf(std::uint64_t{0x1111111122222222})}, 0x33333333);
    // "a": f = 0x61. "ab": t = (0x62 ^ 0x61) + (0x61 << 26) = 3 + 0x84000000, f = (0x61 >> 6) + t = 0x84000004.
    check({{3, 8}}, {inlineText(8, "a")}, 0x61);
    check({{3, 8}}, {inlineText(8, "ab")}, 0x84000004);
    check({{3, 2}}, {inlineText(2, "ab")}, 0x84000004);
    // A third byte 0: t = (0 ^ 0x84000004) + (0x84000004 << 26) = 0x84000004 + 0x10000000, f = 0x02100000 + t.
    check({{4, 3}}, {inlineText(3, "ab")}, 0x96100004);
    check({{4, 2}}, {inlineText(2, "ab")}, 0x84000004);
    // Bytes are unsigned: f = 0xFF.
    check({{4, 1}}, {{0xFF}}, 0xFF);
    check({{3, 4}}, {{0xFF, 0, 1, 2}}, 0xFF);
    // Units u"\xFFFE": f = 0xFFFE. u"\xFFFE\x1234": t = (0x1234 ^ 0xFFFE) + (0xFFFE << 26) = 0xEDCA + 0xF8000000,
    // f = 0x3FF + t.
    check({{7, 3}}, {bytesOf(std::array<char16_t, 3>{0xFFFE, 0x1234, 0})}, 0xF800F1C9);
    check({{7, 2}}, {bytesOf(std::array<char16_t, 2>{0xFFFE, 0x1234})}, 0xF800F1C9);
    const char16_t wide[] = {0xFFFE, 0x1234, 0};
    check({{8, 0}}, {bytesOf(static_cast<const char16_t*>(wide))}, 0xF800F1C9);
    check({{6, 0}}, {bytesOf(static_cast<const char*>("ab"))}, 0x84000004);
    check({{6, 0}}, {bytesOf(static_cast<const char*>(""))}, 0);
    // Several fields: (0x80000001 x 2) ^ 0x61 = 2 ^ 0x61 = 0x63; (0x63 x 2) ^ 5 = 0xC3.
    check({{0, 4}, {3, 4}}, {bytesOf(0x80000001u), inlineText(4, "a")}, 0x63);
    check({{0, 4}, {3, 4}, {0, 4}}, {bytesOf(0x80000001u), inlineText(4, "a"), bytesOf(5u)}, 0xC3);
}

// Keys of each type
// ------------------------------------------------------------------------------------------------------------

TEST(TabrixKeys, IntegersAreEqualByValue) {
    for (std::uint32_t type : {fieldInt32, fieldInt64}) {
        OneKey keys({type, 0});
        const auto key = [&](std::uint64_t value) {
            return type == fieldInt32 ? bytesOf(static_cast<std::uint32_t>(value)) : bytesOf(value);
        };
        EXPECT_EQ(keys.find(key(0)), -1);
        EXPECT_EQ(keys.insert(key(0), 1), 0);
        EXPECT_EQ(keys.insert(key(0x80000000), 2), 0);
        EXPECT_EQ(keys.insert(key(0xFFFFFFFF), 3), 0);
        EXPECT_EQ(keys.find(key(0)), 1);
        EXPECT_EQ(keys.find(key(0x80000000)), 2);
        EXPECT_EQ(keys.find(key(0xFFFFFFFF)), 3);
        EXPECT_EQ(keys.find(key(1)), -1);
        EXPECT_EQ(keys.insert(key(0), 4), 2);
        EXPECT_EQ(keys.find(key(0)), 1);
    }
    OneKey wide({fieldInt64, 8});
    EXPECT_EQ(wide.insert(bytesOf(std::uint64_t{0x100000002}), 1), 0);
    EXPECT_EQ(wide.insert(bytesOf(std::uint64_t{0x200000001}), 2), 0) << "same hash, other value";
    EXPECT_EQ(wide.find(bytesOf(std::uint64_t{0x100000002})), 1);
    EXPECT_EQ(wide.find(bytesOf(std::uint64_t{0x200000001})), 2);
    EXPECT_EQ(wide.find(bytesOf(std::uint64_t{0x300000000})), -1);
}

TEST(TabrixKeys, NaNIsNeverEqual) {
    const float floats[] = {std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN()};
    const double doubles[] = {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN()};
    OneKey floatKeys({fieldFloat, 0});
    OneKey doubleKeys({fieldDouble, 0});
    for (int round = 0; round < 20; ++round)
        for (int sign = 0; sign < 2; ++sign) {
            EXPECT_EQ(floatKeys.insert(bytesOf(floats[sign])), 0);
            EXPECT_EQ(floatKeys.find(bytesOf(floats[sign])), -1);
            EXPECT_EQ(doubleKeys.insert(bytesOf(doubles[sign])), 0);
            EXPECT_EQ(doubleKeys.find(bytesOf(doubles[sign])), -1);
        }
}

TEST(TabrixKeys, FloatingNumbersAreEqualByValue) {
    const double values[] = {0.5,
                             -0.5,
                             1e-300,
                             1e300,
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::denorm_min(),
                             0.0};
    OneKey doubles({fieldDouble, 0});
    for (std::uint32_t i = 0; i < 8; ++i)
        EXPECT_EQ(doubles.insert(bytesOf(values[i]), i), 0);
    for (std::uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(doubles.insert(bytesOf(values[i]), 100), 2);
        EXPECT_EQ(doubles.find(bytesOf(values[i])), static_cast<int>(i));
    }
    OneKey floats({fieldFloat, 0});
    EXPECT_EQ(floats.insert(bytesOf(0.5f), 1), 0);
    EXPECT_EQ(floats.insert(bytesOf(0.5f), 2), 2);
    EXPECT_EQ(floats.insert(bytesOf(std::numeric_limits<float>::infinity()), 3), 0);
    EXPECT_EQ(floats.find(bytesOf(std::numeric_limits<float>::infinity())), 3);
    EXPECT_EQ(floats.find(bytesOf(0.25f)), -1);
}

TEST(TabrixKeys, ZeroAndNegativeZeroHashApart) {
    OneKey doubles({fieldDouble, 0});
    EXPECT_EQ(doubles.insert(bytesOf(0.0), 1), 0);
    EXPECT_EQ(doubles.find(bytesOf(-0.0)), -1);
    EXPECT_EQ(doubles.insert(bytesOf(-0.0), 2), 0);
    EXPECT_EQ(doubles.find(bytesOf(0.0)), 1);
    EXPECT_EQ(doubles.find(bytesOf(-0.0)), 2);
}

TEST(TabrixKeys, ZeroAndNegativeZeroBeforeAnotherFieldAreOneKey) {
    PlainStore store({0, 10}, {{fieldDouble, 0}, {fieldInt32, 0}, {fieldInt32, 0}});
    Index* index = store.createIndex(true, {0, 1});
    const auto row = [&](double key, std::uint32_t number) {
        Bytes bytes = store.emptyRow();
        put(store.layout(), bytes, 0, key);
        put(store.layout(), bytes, 1, 1u);
        put(store.layout(), bytes, 2, number);
        return bytes;
    };
    EXPECT_EQ(insert(store.table(), row(0.0, 7).data()), 0);
    EXPECT_EQ(insert(store.table(), row(-0.0, 8).data()), 2);
    Bytes found = row(-0.0, 9);
    EXPECT_EQ(find(index, found.data()), 0);
    EXPECT_EQ(found, row(0.0, 7));
}

TEST(TabrixKeys, InlineStringEndsAtItsFirstNul) {
    OneKey keys({fieldString, 4});
    EXPECT_EQ(keys.insert({'a', 'b', 0, 'x'}, 1), 0);
    EXPECT_EQ(keys.insert({'a', 'b', 0, 'y'}, 2), 2);
    EXPECT_EQ(keys.find({'a', 'b', 0, 0xFF}), 1);
    EXPECT_EQ(keys.find({'a', 'b', 'c', 0}), -1);
    EXPECT_EQ(keys.find({'a', 0, 'b', 0}), -1);
    EXPECT_EQ(keys.insert({0, 'q', 'q', 'q'}, 3), 0);
    EXPECT_EQ(keys.find({0, 0, 0, 0}), 3);
}

TEST(TabrixKeys, InlineStringWithoutANulEndsWithItsField) {
    // The number behind the field differs, and is not part of the key.
    OneKey keys({fieldString, 4});
    EXPECT_EQ(keys.insert({'a', 'b', 'c', 'd'}, 0x61616161), 0);
    EXPECT_EQ(keys.insert({'a', 'b', 'c', 'd'}, 0x62626262), 2);
    EXPECT_EQ(keys.find({'a', 'b', 'c', 'd'}), 0x61616161);
    EXPECT_EQ(keys.find({'a', 'b', 'c', 0}), -1);
    EXPECT_EQ(keys.insert({'a', 'b', 'c', 0}, 5), 0);
    OneKey last({fieldString, 1});
    EXPECT_EQ(last.insert({'a'}, 1), 0);
    EXPECT_EQ(last.find({'a'}), 1);
}

TEST(TabrixKeys, InlineWideStringEndsAtItsFirstZeroUnitOrWithItsField) {
    OneKey keys({fieldWideString, 3});
    const auto key = [](char16_t a, char16_t b, char16_t c) { return bytesOf(std::array<char16_t, 3>{a, b, c}); };
    EXPECT_EQ(keys.insert(key(0x100, 0, 'x'), 1), 0); // neither byte of a unit ends it
    EXPECT_EQ(keys.insert(key(0x100, 0, 'y'), 2), 2);
    EXPECT_EQ(keys.insert(key(0x100, 0x100, 0), 3), 0);
    EXPECT_EQ(keys.insert(key(1, 2, 3), 0x40404040), 0);
    EXPECT_EQ(keys.insert(key(1, 2, 3), 0x41414141), 2);
    EXPECT_EQ(keys.find(key(1, 2, 3)), 0x40404040);
    EXPECT_EQ(keys.find(key(0x100, 0, 0xFFFF)), 1);
    EXPECT_EQ(keys.find(key(0x100, 0x100, 0)), 3);
    EXPECT_EQ(keys.find(key(0x200, 0, 0)), -1);
}

TEST(TabrixKeys, FixedBytesAreEqualInAllTheirBytes) {
    OneKey keys({fieldBytes, 3});
    EXPECT_EQ(keys.insert({'a', 0, 'x'}, 1), 0);
    EXPECT_EQ(keys.insert({'a', 0, 'y'}, 2), 0);
    EXPECT_EQ(keys.insert({0, 0, 0}, 3), 0);
    EXPECT_EQ(keys.insert({'a', 0, 'x'}, 4), 2);
    EXPECT_EQ(keys.find({'a', 0, 'y'}), 2);
    EXPECT_EQ(keys.find({'a', 0, 'z'}), -1);
    EXPECT_EQ(keys.find({0, 0, 0}), 3);
}

TEST(TabrixKeys, PointerStringsAreEqualByTheirText) {
    const char first[] = "text";
    const char second[] = "text";
    const char longer[] = "text!";
    OneKey keys({fieldStringPointer, 0});
    const auto key = [](const char* text) { return bytesOf(text); };
    EXPECT_EQ(keys.insert(key(first), 1), 0);
    EXPECT_EQ(keys.insert(key(second), 2), 2);
    EXPECT_EQ(keys.find(key(second)), 1);
    EXPECT_EQ(keys.find(key(longer)), -1);
    Bytes row = keys.row(key(second));
    ASSERT_EQ(find(keys.index, row.data()), 0);
    EXPECT_EQ(row, keys.row(key(first), 1)) << "the whole row is overwritten, its pointer too";

    const char16_t wideFirst[] = u"text";
    const char16_t wideSecond[] = u"text";
    const char16_t wideOther[] = u"text\u0174";
    OneKey wide({fieldWideStringPointer, 0});
    const auto wideKey = [](const char16_t* text) { return bytesOf(text); };
    EXPECT_EQ(wide.insert(wideKey(wideFirst), 1), 0);
    EXPECT_EQ(wide.insert(wideKey(wideSecond), 2), 2);
    EXPECT_EQ(wide.find(wideKey(wideSecond)), 1);
    EXPECT_EQ(wide.find(wideKey(wideOther)), -1);
}

TEST(TabrixKeys, AllFieldsOfAKeyCount) {
    PlainStore store({0, 10}, {{fieldBytes, 1}, {fieldInt32, 4}, {fieldDouble, 8}});
    Index* index = store.createIndex(true, {2, 0});
    const auto row = [&](unsigned char a, std::uint32_t b, double c) {
        Bytes bytes = store.emptyRow();
        put(store.layout(), bytes, 0, a);
        put(store.layout(), bytes, 1, b);
        put(store.layout(), bytes, 2, c);
        return bytes;
    };
    EXPECT_EQ(insert(store.table(), row(1, 1, 1.0).data()), 0);
    EXPECT_EQ(insert(store.table(), row(2, 1, 1.0).data()), 0);
    EXPECT_EQ(insert(store.table(), row(1, 1, 2.0).data()), 0);
    EXPECT_EQ(insert(store.table(), row(1, 2, 1.0).data()), 2) << "field 1 is no part of the key";
    EXPECT_EQ(insert(store.table(), row(1, 1, std::numeric_limits<double>::quiet_NaN()).data()), 0);
    EXPECT_EQ(insert(store.table(), row(1, 1, std::numeric_limits<double>::quiet_NaN()).data()), 0);
    Bytes key = row(2, 9, 1.0);
    EXPECT_EQ(find(index, key.data()), 0);
    EXPECT_EQ(key, row(2, 1, 1.0));
    key = row(2, 9, 2.0);
    EXPECT_EQ(find(index, key.data()), 1);
}

// Insert and find
// --------------------------------------------------------------------------------------------------------------

TEST(TabrixInsert, EqualKeyOfAnyUniqueIndexIsRefusedAndChangesNothing) {
    PlainStore store({0, 5}, {{fieldInt32, 4}, {fieldInt32, 4}});
    store.createIndex(true, {0});
    store.createIndex(false, {0});
    store.createIndex(true, {1});
    const auto row = [](std::uint32_t a, std::uint32_t b) { return bytesOf(std::array<std::uint32_t, 2>{a, b}); };
    for (std::uint32_t i = 0; i < 5; ++i)
        store.insertNew(row(i, 100 + i));
    // The bucket is full: a refusal comes before any new bucket.
    for (std::uint32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(insert(store.table(), row(i, 200).data()), 2);
        EXPECT_EQ(insert(store.table(), row(200, 100 + i).data()), 2);
        EXPECT_EQ(insert(store.table(), row(i, 100 + i).data()), 2);
    }
    store.verify();
    EXPECT_EQ(store.table()->bucketCount, 1u);
    store.insertNew(row(200, 200));
    store.verify();
}

TEST(TabrixInsert, WithoutAUniqueIndexEqualKeysAreAccepted) {
    PlainStore store({0, 5}, {{fieldInt32, 4}});
    for (int i = 0; i < 7; ++i)
        store.insertNew(bytesOf(1u));
    store.createIndex(false, {0});
    for (int i = 0; i < 20; ++i)
        store.insertNew(bytesOf(1u));
    store.verify();
}

TEST(TabrixInsert, RowsMayLieAtAnyAddress) {
    PlainStore store({0, 5}, {{fieldInt32, 4}, {fieldDouble, 8}, {fieldInt64, 8}, {fieldFloat, 4}, {fieldWideString, 3}});
    for (int field = 0; field < 5; ++field)
        store.createIndex(field == 0, {field});
    store.createIndex(true, {4, 3, 2, 1});
    Bytes row = store.emptyRow();
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<unsigned char>(i + 1);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        put(store.layout(), row, 0, static_cast<std::uint32_t>(shift));
        put(store.layout(), row, 2, static_cast<std::uint64_t>(shift));
        Bytes shifted(shift);
        shifted.insert(shifted.end(), row.begin(), row.end());
        EXPECT_EQ(insert(store.table(), shifted.data() + shift), 0);
        EXPECT_EQ(insert(store.table(), shifted.data() + shift), 2);
        EXPECT_EQ(find(store.indexes()[0].index, shifted.data() + shift), 0);
        EXPECT_TRUE(std::equal(row.begin(), row.end(), shifted.begin() + static_cast<std::ptrdiff_t>(shift)));
    }
}

TEST(TabrixFind, OverwritesExactlyTheRowData) {
    PlainStore store({0, 5}, {{fieldInt32, 4}, {fieldBytes, 5}});
    Index* index = store.createIndex(true, {0});
    const Bytes row = {1, 0, 0, 0, 11, 12, 13, 14, 15};
    store.insertNew(row);
    Bytes key = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
    EXPECT_EQ(find(index, key.data()), 0);
    EXPECT_EQ(key, (Bytes{1, 0, 0, 0, 11, 12, 13, 14, 15, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}));
}

TEST(TabrixFind, AnswersThreeForAnIndexThatIsNotUnique) {
    PlainStore store({0, 5}, {{fieldInt32, 4}});
    Index* index = store.createIndex(false, {0});
    std::uint32_t row = 1;
    EXPECT_EQ(find(index, &row), 3);
    store.insertNew(bytesOf(1u));
    EXPECT_EQ(find(index, &row), 3);
    EXPECT_EQ(row, 1u);
}

TEST(TabrixFind, AllocatesNothingAndNeitherDoesAnInsertionIntoAFreeSlot) {
    PlainStore store({0, 5}, {{fieldInt32, 4}, {fieldString, 6}});
    Index* index = store.createIndex(true, {1, 0});
    Bytes row = store.emptyRow();
    int status[3];
    unsigned seen;
    {
        const FailAllocation fail(1, true);
        status[0] = insert(store.table(), row.data());
        status[1] = insert(store.table(), row.data());
        status[2] = find(index, row.data());
        seen = fail.seen();
    }
    EXPECT_EQ(status[0], 0);
    EXPECT_EQ(status[1], 2);
    EXPECT_EQ(status[2], 0);
    EXPECT_EQ(seen, 0u);
}

TEST(TabrixFindOrInsert, DoesOneOrTheOther) {
    PlainStore store({0, 2}, {{fieldInt32, 4}, {fieldInt32, 4}});
    Index* index = store.createIndex(true, {0});
    store.createIndex(true, {1});
    const auto row = [](std::uint32_t a, std::uint32_t b) { return bytesOf(std::array<std::uint32_t, 2>{a, b}); };
    for (std::uint32_t i = 0; i < 20; ++i) {
        Bytes bytes = row(i, 100 + i);
        EXPECT_EQ(findOrInsert(index, bytes.data()), 1);
        EXPECT_EQ(bytes, row(i, 100 + i));
        store.adopt(bytes);
        ASSERT_NO_FATAL_FAILURE(store.verify());
        bytes = row(i, 7);
        EXPECT_EQ(findOrInsert(index, bytes.data()), 0);
        EXPECT_EQ(bytes, row(i, 100 + i));
        bytes = row(1000, 100 + i);
        EXPECT_EQ(findOrInsert(index, bytes.data()), 2) << "another unique index holds its key";
        EXPECT_EQ(bytes, row(1000, 100 + i));
        ASSERT_NO_FATAL_FAILURE(store.verify());
    }
}

TEST(TabrixFindOrInsert, AnswersThreeForAnIndexThatIsNotUnique) {
    PlainStore store({0, 5}, {{fieldInt32, 4}});
    Index* index = store.createIndex(false, {0});
    std::uint32_t row = 1;
    EXPECT_EQ(findOrInsert(index, &row), 3);
    store.verify();
}

TEST(TabrixFindOrInsert, AnswersFourWithoutMemory) {
    PlainStore store({0, 5}, {{fieldInt32, 4}});
    Index* index = store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 5; ++i)
        store.insertNew(bytesOf(i));
    std::uint32_t row = 5;
    int status[2];
    const std::string error = errorOf([&] {
        const FailAllocation fail(1);
        status[0] = findOrInsert(index, &row);
        row = 4;
        status[1] = findOrInsert(index, &row);
    });
    EXPECT_EQ(status[0], 4);
    EXPECT_EQ(status[1], 0);
    EXPECT_NE(error, "");
    store.verify();
}

// Long histories
// ---------------------------------------------------------------------------------------------------------------

namespace {

/// Values of every field type, few enough to come again and odd enough to matter.
class Values {
public:
    explicit Values(std::uint32_t seed) : random_(seed) {
        for (int i = 0; i < 60; ++i) {
            narrow_.push_back(text<std::string>({'a', 'b', '\x7F', '\x80', '\xFF'}));
            wide_.push_back(text<std::u16string>({u'a', u'\u0100', u'\u8000', u'\uFFFF'}));
        }
    }

    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    void fill(const PlainLayout& layout, Bytes& row) {
        for (unsigned char& byte : row)
            byte = static_cast<unsigned char>(below(256)); // holes between fields are kept as they are
        for (std::size_t i = 0; i < layout.fields.size(); ++i)
            fillField(layout, row, i);
    }

private:
    template <class Text>
    Text text(std::vector<typename Text::value_type> alphabet) {
        Text result;
        for (std::uint32_t length = below(5); length > 0; --length)
            result += alphabet[below(static_cast<std::uint32_t>(alphabet.size()))];
        return result;
    }

    void fillField(const PlainLayout& layout, Bytes& row, std::size_t number) {
        static const float floats[] = {0.0f,
                                       -0.0f,
                                       1.0f,
                                       -1.0f,
                                       1e-45f,
                                       std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::quiet_NaN()};
        static const double doubles[] = {
            0.0, -0.0, 1.0, -1.0, 5e-324, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
        const PlainField& field = layout.fields[number];
        switch (field.type) {
        case 0:
            put(layout, row, number, below(8) == 0 ? static_cast<std::uint32_t>(random_()) : below(60) - 30);
            break;
        case 1:
            put(layout, row, number, below(2) == 0 ? floats[below(7)] : static_cast<float>(below(60)) * 0.25f);
            break;
        case 2:
            put(layout, row, number, below(2) == 0 ? doubles[below(7)] : static_cast<double>(below(60)) * 0.1);
            break;
        case 5:
            put(layout, row, number, (std::uint64_t{below(8)} << 32 | below(8)) - 3);
            break;
        case 6:
            put(layout, row, number, narrow_[below(60)].c_str());
            break;
        case 8:
            put(layout, row, number, wide_[below(60)].c_str());
            break;
        default: {
            static const unsigned char bytes[] = {0, 'a', 'b', 0xFF};
            const std::size_t unit = field.type == 7 ? 2 : 1;
            for (std::size_t i = 0; i < field.width; i += unit) {
                row[field.offset + i] = bytes[below(4)];
                if (unit == 2)
                    row[field.offset + i + 1] = bytes[below(2)];
            }
        }
        }
    }

    std::mt19937 random_;
    std::vector<std::string> narrow_;
    std::vector<std::u16string> wide_;
};

FieldSpec randomField(Values& values) {
    return {values.below(9), static_cast<std::int32_t>(1 + values.below(6))};
}

/// A key of some of the fields, each once, in any order.
std::vector<int> randomKey(Values& values, std::uint32_t fieldCount) {
    std::vector<int> all;
    for (std::uint32_t i = 0; i < fieldCount; ++i)
        all.insert(all.begin() + values.below(i + 1), static_cast<int>(i));
    all.resize(1 + values.below(fieldCount));
    return all;
}

void runHistory(std::uint32_t seed, std::vector<FieldSpec> fields, int steps) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Values values(seed);
    const auto fieldCount = static_cast<std::uint32_t>(fields.size());
    PlainStore store({static_cast<std::int32_t>(values.below(50)), 1 + values.below(values.below(2) ? 70 : 5)}, fields);
    store.createIndex(values.below(3) != 0, randomKey(values, fieldCount));
    Bytes row = store.emptyRow();
    for (int step = 0; step < steps; ++step) {
        values.fill(store.layout(), row);
        const std::uint32_t what = values.below(100);
        if (what < 55) {
            ASSERT_NO_FATAL_FAILURE(store.insert(row));
        } else if (what < 98) {
            if (!store.indexes().empty())
                store.find(store.indexes()[values.below(static_cast<std::uint32_t>(store.indexes().size()))], row);
        } else if (store.indexes().size() < 4)
            store.createIndex(values.below(3) != 0, randomKey(values, fieldCount));
        else
            store.destroyIndex(values.below(4));
        if (step % 50 == 0 || what >= 98) {
            ASSERT_NO_FATAL_FAILURE(store.verify());
        }
    }
    ASSERT_NO_FATAL_FAILURE(store.verify());
    EXPECT_FALSE(testing::Test::HasFailure());
}

} // namespace

TEST(TabrixHistory, OfEachSingleFieldTypeMatchesThePlainModel) {
    for (std::uint32_t type = 0; type <= 8; ++type)
        for (std::uint32_t seed = 1; seed <= 5; ++seed)
            ASSERT_NO_FATAL_FAILURE(runHistory(seed, {{type, static_cast<std::int32_t>(seed)}}, 600)) << "type " << type;
}

TEST(TabrixHistory, OfManyFieldsMatchesThePlainModel) {
    for (std::uint32_t seed = 100; seed < 160; ++seed) {
        Values values(seed + 10000);
        std::vector<FieldSpec> fields;
        for (std::uint32_t count = 1 + values.below(6); count > 0; --count)
            fields.push_back(randomField(values));
        ASSERT_NO_FATAL_FAILURE(runHistory(seed, fields, 800));
    }
}

TEST(TabrixHistory, OfALongRunMatchesThePlainModel) {
    ASSERT_NO_FATAL_FAILURE(runHistory(
        7, {{fieldInt32, 4}, {fieldString, 5}, {fieldWideStringPointer, 0}, {fieldDouble, 8}, {fieldInt64, 8}}, 6000));
}

// Exhausted memory
// -------------------------------------------------------------------------------------------------------------

namespace {

struct Expected {
    const char* label;
    std::size_t size; ///< 0: not told
};

} // namespace

TEST(TabrixMemory, EveryAllocationOfANewTableMayFail) {
    const std::vector<FieldSpec> fields = ended({{fieldInt32, 4}, {fieldBytes, 22}});
    const std::vector<Expected> expected = {
        {"fieldspeccopy", 0},          {"table struct", sizeof(Table)}, {"field struct array", 2 * sizeof(Field)},
        {"bucket pointer array", 128}, {"bucket", sizeof(Bucket)},      {"bucket data", 2000 * 32},
        {"bucket free table", 252},
    };
    for (const bool andAllLater : {false, true}) {
        for (unsigned n = 1; n <= expected.size(); ++n) {
            Table* table = nullptr;
            const Attempt attempt = withFailure(n, andAllLater, [&] { table = createTable({2000, 2000}, fields.data()); });
            EXPECT_EQ(table, nullptr);
            ASSERT_TRUE(attempt.failed);
            if (expected[n - 1].size != 0) {
                EXPECT_EQ(attempt.size, expected[n - 1].size) << expected[n - 1].label;
            }
            EXPECT_EQ(attempt.error, message(attempt.size, expected[n - 1].label));
        }
        Table* table = nullptr;
        const Attempt attempt = withFailure(static_cast<unsigned>(expected.size()) + 1, andAllLater, [&] {
            table = createTable({2000, 2000}, fields.data());
        });
        EXPECT_FALSE(attempt.failed);
        EXPECT_EQ(attempt.error, "");
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(destroyTable(table), 0);
    }
}

TEST(TabrixMemory, EveryAllocationOfATableOfManyBucketsMayFail) {
    const std::vector<FieldSpec> fields = ended({{fieldBytes, 3}});
    std::vector<Expected> expected = {
        {"fieldspeccopy", 0}, {"table struct", sizeof(Table)}, {"field struct array", sizeof(Field)}};
    for (int bucket = 0; bucket < 70; ++bucket) {
        if (bucket == 0 || bucket == 16 || bucket == 64)
            expected.push_back({"bucket pointer array", bucket == 0 ? 128u : bucket == 16 ? 512u : 2048u});
        expected.push_back({"bucket", sizeof(Bucket)});
        expected.push_back({"bucket data", 8 * 33});
        expected.push_back({"bucket free table", 8});
    }
    for (unsigned n = 1; n <= expected.size(); ++n) {
        Table* table = nullptr;
        const Attempt attempt = withFailure(n, false, [&] { table = createTable({70 * 33, 33}, fields.data()); });
        EXPECT_EQ(table, nullptr);
        ASSERT_TRUE(attempt.failed);
        if (expected[n - 1].size != 0) {
            EXPECT_EQ(attempt.size, expected[n - 1].size);
        }
        EXPECT_EQ(attempt.error, message(attempt.size, expected[n - 1].label)) << n;
    }
    Table* table = nullptr;
    EXPECT_FALSE(withFailure(static_cast<unsigned>(expected.size()) + 1, false, [&] {
                     table = createTable({70 * 33, 33}, fields.data());
                 }).failed);
    EXPECT_EQ(destroyTable(table), 0);
}

TEST(TabrixMemory, ARefusedTableLeavesNothingBehind) {
    // Each of these is refused after something was allocated; the sanitizer would see what stays.
    EXPECT_EQ(makeTable({0, 0}, {{fieldInt32, 4}}), nullptr);
    EXPECT_EQ(makeTable({-1, 5}, {{fieldInt32, 4}}), nullptr);
    EXPECT_EQ(makeTable({0, 5}, {{9, 4}}), nullptr);
    EXPECT_EQ(makeTable({70000, 1}, {{fieldInt32, 4}}), nullptr);
}

TEST(TabrixMemory, EveryAllocationOfANewIndexMayFail) {
    PlainStore store({0, 20}, {{fieldInt32, 4}, {fieldBytes, 3}, {fieldDouble, 8}});
    store.createIndex(true, {0});
    Values values(11);
    Bytes row = store.emptyRow();
    for (std::uint32_t i = 0; i < 50; ++i) {
        values.fill(store.layout(), row);
        put(store.layout(), row, 0, i);
        store.insertNew(row);
    }
    ASSERT_EQ(store.table()->hashSize, 64u);
    for (const bool andAllLater : {false, true}) {
        std::vector<std::string> labels;
        for (unsigned n = 1;; ++n) {
            ASSERT_LT(n, 20u);
            const int fields[] = {2, 0, -1};
            Index* index = nullptr;
            const Attempt attempt = withFailure(n, andAllLater, [&] { index = createIndex(store.table(), {1, 1}, fields); });
            if (!attempt.failed) {
                EXPECT_EQ(attempt.error, "");
                ASSERT_NE(index, nullptr);
                EXPECT_EQ(destroyIndex(index), 0);
                break;
            }
            EXPECT_EQ(index, nullptr);
            const std::string label =
                attempt.error.substr(std::min(attempt.error.size(), message(attempt.size, "").size() - 1));
            EXPECT_EQ(attempt.error, message(attempt.size, label.substr(0, label.size() - (label.empty() ? 0 : 1))));
            labels.push_back(label);
            if (label == "index field array\n") {
                EXPECT_EQ(attempt.size, 2 * sizeof(Field));
            }
            if (label == "index entry array\n") {
                EXPECT_EQ(attempt.size, 4 * 64u);
            }
            if (label == "index link array\n") {
                EXPECT_EQ(attempt.size, 12 * 64u);
            }
            ASSERT_NO_FATAL_FAILURE(store.verify());
        }
        const auto place = [&](const char* label) {
            return std::find(labels.begin(), labels.end(), label) - labels.begin();
        };
        const auto count = static_cast<std::ptrdiff_t>(labels.size());
        EXPECT_LT(place("temp field array\n"), place("index field array\n"));
        EXPECT_LT(place("index field array\n"), place("index entry array\n"));
        EXPECT_LT(place("index entry array\n"), place("index link array\n"));
        EXPECT_LT(place("index link array\n"), count);
        EXPECT_EQ(count, 5) << "these four and the record itself";
    }
    store.verify();
}

TEST(TabrixMemory, ARefusedIndexLeavesNothingBehind) {
    PlainStore store({0, 20}, {{fieldInt32, 4}, {fieldBytes, 3}});
    for (const std::vector<int>& fields : {std::vector<int>{-1}, {0, 0, -1}, {0, 2, -1}})
        EXPECT_EQ(createIndex(store.table(), {1, 1}, fields.data()), nullptr);
    store.verify();
}

namespace {

/// Fills a table to the brim, lets each allocation of the next insertion fail, and looks at table and answers each time.
void failEachAllocationOfAnInsertion(PlainStore& store, std::uint32_t rows, const std::vector<Expected>& expected) {
    Values values(rows);
    Bytes row = store.emptyRow();
    while (store.rows().size() < rows) {
        values.fill(store.layout(), row);
        put(store.layout(), row, 0, static_cast<std::uint32_t>(store.rows().size()));
        ASSERT_NO_FATAL_FAILURE(store.insertNew(row));
    }
    ASSERT_EQ(store.table()->firstFreeBucket, -1);
    put(store.layout(), row, 0, rows);
    for (const bool andAllLater : {false, true})
        for (unsigned n = 1; n <= expected.size(); ++n) {
            SCOPED_TRACE(n);
            int status = -1;
            const Attempt attempt = withFailure(n, andAllLater, [&] { status = insert(store.table(), row.data()); });
            ASSERT_TRUE(attempt.failed);
            EXPECT_EQ(status, 4);
            if (expected[n - 1].size != 0) {
                EXPECT_EQ(attempt.size, expected[n - 1].size);
            }
            EXPECT_EQ(attempt.error, message(attempt.size, expected[n - 1].label));
            ASSERT_NO_FATAL_FAILURE(store.verify());
            for (const PlainIndex& index : store.indexes()) {
                store.find(index, row);
                store.find(index, store.rows()[n]);
            }
            EXPECT_EQ(insert(store.table(), store.rows()[0].data()), 2);
        }
    ASSERT_NO_FATAL_FAILURE(store.insertNew(row));
    ASSERT_NO_FATAL_FAILURE(store.verify());
}

} // namespace

TEST(TabrixMemory, EveryAllocationOfANewBucketMayFail) {
    PlainStore store({0, 32}, {{fieldInt32, 4}, {fieldBytes, 13}});
    store.createIndex(true, {0});
    store.createIndex(false, {1, 0});
    ASSERT_EQ(store.table()->hashSize, 64u);
    failEachAllocationOfAnInsertion(store, 32,
                                    {{"bucket", sizeof(Bucket)}, {"bucket data", 32 * 24}, {"bucket free table", 4}});
}

TEST(TabrixMemory, EveryAllocationOfARebuildMayFail) {
    PlainStore store({0, 33}, {{fieldInt32, 4}, {fieldBytes, 13}});
    store.createIndex(true, {0});
    store.createIndex(false, {1, 0});
    store.createIndex(true, {0, 1});
    ASSERT_EQ(store.table()->hashSize, 128u);
    failEachAllocationOfAnInsertion(store, 99,
                                    {{"bucket", sizeof(Bucket)},
                                     {"bucket data", 33 * 24},
                                     {"bucket free table", 8},
                                     {"index entry array", 4 * 512},
                                     {"index link array", 12 * 512},
                                     {"index entry array", 4 * 512},
                                     {"index link array", 12 * 512},
                                     {"index entry array", 4 * 512},
                                     {"index link array", 12 * 512}});
    EXPECT_EQ(store.table()->hashSize, 512u);
}

TEST(TabrixMemory, TheArrayOfBucketPointersMayFailToGrow) {
    PlainStore store({0, 2}, {{fieldInt32, 4}});
    store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 32; ++i)
        store.insertNew(bytesOf(i));
    ASSERT_EQ(store.table()->bucketCapacity, 16u);
    // The array comes first; when something behind it fails, it is undone as well.
    const Expected expected[] = {
        {"bucket pointer array", 512}, {"bucket", sizeof(Bucket)}, {"bucket data", 2 * 8}, {"bucket free table", 4}};
    std::uint32_t row = 32;
    for (unsigned n = 1; n <= std::size(expected); ++n) {
        SCOPED_TRACE(n);
        int status = -1;
        const Attempt attempt = withFailure(n, false, [&] { status = insert(store.table(), &row); });
        ASSERT_TRUE(attempt.failed);
        EXPECT_EQ(status, 4);
        EXPECT_EQ(attempt.size, expected[n - 1].size);
        EXPECT_EQ(attempt.error, message(expected[n - 1].size, expected[n - 1].label));
        ASSERT_NO_FATAL_FAILURE(store.verify());
    }
    store.insertNew(bytesOf(32u));
    EXPECT_EQ(store.table()->bucketCapacity, 64u);
    store.verify();
}

TEST(TabrixMemory, ALongHistoryOfFailuresMatchesThePlainModel) {
    for (std::uint32_t seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Values values(seed);
        PlainStore store({0, 1 + values.below(20)}, {{fieldInt32, 4}, {fieldString, 3}, {fieldDouble, 8}});
        store.createIndex(true, {0});
        store.createIndex(true, {1, 2, 0});
        store.createIndex(false, {2});
        Bytes row = store.emptyRow();
        for (int step = 0; step < 400; ++step) {
            values.fill(store.layout(), row);
            const int expected = store.expectedInsert(row);
            int status = -1;
            const Attempt attempt =
                withFailure(1 + values.below(12), values.below(2) != 0, [&] { status = insert(store.table(), row.data()); });
            ASSERT_EQ(status, attempt.failed ? 4 : expected);
            if (expected == 0 && !attempt.failed) {
                // It went in: the store finds it, and the model takes it up.
                Bytes found = row;
                ASSERT_EQ(find(store.indexes()[2].index, found.data()), 0);
                ASSERT_EQ(found, row);
                store.adopt(row);
            }
            if (step % 20 == 0) {
                ASSERT_NO_FATAL_FAILURE(store.verify());
            }
        }
        store.verify();
    }
}

// A damaged specification
// ------------------------------------------------------------------------------------------------------

namespace {

void tellAndRun(const char* text) {
    std::printf("%s", text);
    std::fflush(stdout);
}

} // namespace

VELMOR_SCENARIO(HashOfAnInvalidFieldTypeInFind) {
    PlainStore store({0, 5}, {{fieldBytes, 4}});
    Index* index = store.createIndex(true, {0});
    Bytes row = store.emptyRow();
    index->fields[0].type = 9;
    tellAndRun("before");
    find(index, row.data());
    tellAndRun(" after");
}

VELMOR_SCENARIO(HashOfAnInvalidFieldTypeInInsert) {
    PlainStore store({0, 5}, {{fieldInt32, 4}, {fieldInt32, 4}});
    Index* index = store.createIndex(false, {0, 1});
    const Bytes row = store.emptyRow();
    index->fields[1].type = 100;
    tellAndRun("before");
    insert(store.table(), row.data());
    tellAndRun(" after");
}

VELMOR_SCENARIO(IndexOverAnInvalidFieldType) {
    PlainStore store({0, 5}, {{fieldBytes, 4}});
    store.table()->fields[0].type = 0xFFFFFFFF;
    tellAndRun("before");
    const int fields[] = {0, -1};
    createIndex(store.table(), {1, 1}, fields);
    tellAndRun(" after");
}

TEST(TabrixField, AnInvalidTypeMetInAnIndexAborts) {
    for (const char* scenario :
         {"HashOfAnInvalidFieldTypeInFind", "HashOfAnInvalidFieldTypeInInsert", "IndexOverAnInvalidFieldType"}) {
        SCOPED_TRACE(scenario);
        const ScenarioRun run = runAlone(scenario);
        EXPECT_EQ(run.output, "before");
#if defined(_WIN32)
        EXPECT_EQ(run.exitCode, 3u); // of abort()
#else
        EXPECT_FALSE(run.exited);
        EXPECT_EQ(run.exitCode, static_cast<unsigned>(SIGABRT));
#endif
    }
}
