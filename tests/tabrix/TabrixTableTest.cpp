#include "Rows.h"
#include "support/WithFailure.h"
#include "tabrix/tabrix.h"
#include "tabrix/tabrixhash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace Velmor::tabrix;
using namespace velmor_tests;

TEST(TabrixTable, AlignsEachFieldForItsType) {
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
    const ReferenceStore store({0, 50}, {{fieldInt32, 4}, {fieldBytes, 13}});
    store.verify();
}

TEST(TabrixTable, RefusesAnInvalidSpecificationWithoutAMessage) {
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

TEST(TabrixTable, AcceptsTheLimitsOfRowsPerBucket) {
    for (std::uint32_t rowsPerBucket : {1u, 2u, 31u, 32u, 33u, 65535u}) {
        ReferenceStore store({0, rowsPerBucket}, {{fieldBytes, 1}});
        store.verify();
        store.insert({7});
        store.verify();
    }
}

TEST(TabrixTable, CreatesBucketsForItsInitialRows) {
    struct Case {
        std::int32_t rows;
        std::uint32_t buckets, capacity, hashSize, hashBits;
    };
    for (const Case& c :
         {Case{0, 1, 16, 4096, 12}, Case{1, 1, 16, 4096, 12}, Case{2000, 1, 16, 4096, 12}, Case{2001, 2, 16, 4096, 12},
          Case{4000, 2, 16, 4096, 12}, Case{4001, 3, 16, 16384, 14}, Case{32001, 17, 64, 65536, 16}}) {
        const ReferenceStore store({c.rows, 2000}, {{fieldInt32, 4}});
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
        const ReferenceStore store({0, c.rowsPerBucket}, {{fieldInt32, 4}});
        EXPECT_EQ(store.table()->hashSize, c.hashSize) << c.rowsPerBucket;
    }
}

TEST(TabrixTable, WithoutFieldsIsCreatedButAcceptsNoIndex) {
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

TEST(TabrixTable, AddsABucketWhenFullAndRehashesOnlyAboveItsHashSize) {
    ReferenceStore store({2000, 2000}, {{fieldInt32, 4}, {fieldBytes, 22}});
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
    ReferenceStore store({10, 3}, {{fieldInt32, 4}});
    store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 30; ++i) {
        store.insertNew(bytesOf(i));
        ASSERT_NO_FATAL_FAILURE(store.verify());
    }
}

TEST(TabrixTable, FillsTheLargestBucket) {
    ReferenceStore store({0, 65535}, {{fieldInt32, 4}});
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

TEST(TabrixTable, RefusesMoreThan65534BucketsWithoutAMessage) {
    ReferenceStore store({0, 1}, {{fieldInt32, 4}});
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
    EXPECT_EQ(insert(store.table(), &last), 2) << "an existing key is reported rather than the missing bucket";
}

TEST(TabrixTable, RefusesMoreInitialRowsThan65534BucketsHold) {
    const ReferenceStore most({65534, 1}, {{fieldBytes, 1}});
    EXPECT_EQ(most.table()->bucketCount, 65534u);
    EXPECT_EQ(makeTable({65535, 1}, {{fieldBytes, 1}}), nullptr);
}

TEST(TabrixTable, HashGrowsToThirtyBitsAndNoFurther) {
    // A table without indexes allocates nothing for its hash.
    Table* table = makeTable({0, 1}, {{fieldInt32, 4}});
    ASSERT_NE(table, nullptr);
    EXPECT_FALSE(resizeHash(*table, (std::size_t{1} << 29) + 1)) << "twice the capacity needs 31 bits";
    EXPECT_EQ(table->hashBits, 4u);
    EXPECT_TRUE(resizeHash(*table, std::size_t{1} << 29));
    EXPECT_EQ(table->hashBits, 30u);
    EXPECT_EQ(table->hashSize, 1u << 30);
    EXPECT_EQ(table->hashMask, (1u << 30) - 1);
    EXPECT_TRUE(resizeHash(*table, std::size_t{1} << 30)) << "the hash is large enough";
    EXPECT_FALSE(resizeHash(*table, (std::size_t{1} << 30) + 1));
    EXPECT_EQ(table->hashBits, 30u);
    EXPECT_EQ(destroyTable(table), 0);
}
