#include "Rows.h"
#include "support/WithFailure.h"
#include "tabrix/tabrix.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

using namespace Velmor::tabrix;
using namespace velmor_tests;

TEST(TabrixIndex, RefusesAnInvalidSpecificationWithoutAMessage) {
    ReferenceStore store({0, 10}, {{fieldInt32, 4}, {fieldBytes, 3}, {fieldDouble, 8}});
    const std::vector<std::vector<int>> invalidFields = {
        {-1},       {-5},       {INT_MIN},     {3, -1},          {INT_MAX, -1},
        {0, 3, -1}, {0, 0, -1}, {1, 2, 1, -1}, {0, 1, 2, 0, -1}, {2, 2, 2, -1}};
    for (const auto& fields : invalidFields)
        EXPECT_EQ(errorOf([&] { EXPECT_EQ(createIndex(store.table(), {1, 1}, fields.data()), nullptr); }), "");
    const int validFields[] = {0, -1};
    for (std::uint32_t kind : {0u, 2u, 3u, 257u, 0xFFFFFFFFu})
        EXPECT_EQ(errorOf([&] { EXPECT_EQ(createIndex(store.table(), {kind, 1}, validFields), nullptr); }), "") << kind;
    store.verify();
}

TEST(TabrixIndex, FieldNumbersEndAtAnyNegativeNumber) {
    ReferenceStore store({0, 10}, {{fieldInt32, 4}, {fieldBytes, 3}, {fieldDouble, 8}});
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

TEST(TabrixIndex, OnlyASingle32BitIntegerUsesTheFastPath) {
    ReferenceStore store({0, 10}, {{fieldBytes, 3}, {fieldInt32, 4}, {fieldFloat, 4}, {fieldInt32, 4}, {fieldInt64, 8}});
    EXPECT_EQ(store.createIndex(true, {1})->fastPathOffset, 4);
    EXPECT_EQ(store.createIndex(true, {3})->fastPathOffset, 12);
    EXPECT_EQ(store.createIndex(true, {0})->fastPathOffset, -1);
    EXPECT_EQ(store.createIndex(true, {2})->fastPathOffset, -1);
    EXPECT_EQ(store.createIndex(true, {4})->fastPathOffset, -1);
    EXPECT_EQ(store.createIndex(true, {1, 3})->fastPathOffset, -1);
    store.verify();
}

TEST(TabrixIndex, IsAtTheHeadOfTheListUntilDestroyed) {
    ReferenceStore store({0, 10}, {{fieldInt32, 4}, {fieldBytes, 3}});
    for (int round = 0; round < 5; ++round)
        store.createIndex(round % 2 == 0, {round % 2});
    store.verify();
    store.destroyIndex(2); // in the middle of the list
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

TEST(TabrixIndex, ContainsTheExistingRows) {
    ReferenceStore store({0, 7}, {{fieldInt32, 4}, {fieldString, 4}});
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
        for (const ReferenceIndex& index : store.indexes())
            store.find(index, row);
}

TEST(TabrixIndex, UniqueOverEqualKeysFindsTheNewest) {
    ReferenceStore store({0, 4}, {{fieldInt32, 4}, {fieldInt32, 4}});
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

TEST(TabrixIndex, UniqueOverEqualKeysFindsTheNewestAfterARehash) {
    ReferenceStore store({0, 4}, {{fieldInt32, 4}, {fieldInt32, 4}});
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

TEST(TabrixIndex, AnyNonZeroFlagMeansUnique) {
    for (const std::uint32_t unique : {2u, 0xFFFFFFFFu}) {
        ReferenceStore store({0, 4}, {{fieldInt32, 4}});
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
    // Four keys of chain 11 of 16.
    ReferenceStore store({0, 4}, {{fieldInt32, 4}});
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

// Hash values computed by hand, compared by their chain among 2^12.
TEST(TabrixIndex, HashValuesFollowTheDefinition) {
    const auto chain = [](std::uint32_t hash) { return static_cast<std::int32_t>((hash * 0x9E3779B9u) >> 20); };
    const auto check = [&](std::vector<FieldSpec> fields, const std::vector<Bytes>& values, std::uint32_t hash) {
        ReferenceStore store({0, 2000}, fields);
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
