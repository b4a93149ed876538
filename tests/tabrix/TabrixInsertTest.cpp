#include "Rows.h"
#include "support/UnderDebugger.h"
#include "support/WithFailure.h"
#include "tabrix/tabrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

using namespace Velmor::tabrix;
using namespace velmor_tests;

namespace {

void printAndFlush(const char* text) {
    std::printf("%s", text);
    std::fflush(stdout);
}

} // namespace

TEST(TabrixInsert, EqualKeyInAnyUniqueIndexIsRefused) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}, {fieldInt32, 4}});
    store.createIndex(true, {0});
    store.createIndex(false, {0});
    store.createIndex(true, {1});
    const auto row = [](std::uint32_t a, std::uint32_t b) { return bytesOf(std::array<std::uint32_t, 2>{a, b}); };
    for (std::uint32_t i = 0; i < 5; ++i)
        store.insertNew(row(i, 100 + i));
    // The bucket is full, but a refused row adds no bucket.
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

TEST(TabrixInsert, EqualKeysAreAcceptedWithoutAUniqueIndex) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}});
    for (int i = 0; i < 7; ++i)
        store.insertNew(bytesOf(1u));
    store.createIndex(false, {0});
    for (int i = 0; i < 20; ++i)
        store.insertNew(bytesOf(1u));
    store.verify();
}

TEST(TabrixInsert, RowsCanBeUnaligned) {
    ReferenceStore store({0, 5},
                         {{fieldInt32, 4}, {fieldDouble, 8}, {fieldInt64, 8}, {fieldFloat, 4}, {fieldWideString, 3}});
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

TEST(TabrixFind, OverwritesOnlyTheRowData) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}, {fieldBytes, 5}});
    Index* index = store.createIndex(true, {0});
    const Bytes row = {1, 0, 0, 0, 11, 12, 13, 14, 15};
    store.insertNew(row);
    Bytes key = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
    EXPECT_EQ(find(index, key.data()), 0);
    EXPECT_EQ(key, (Bytes{1, 0, 0, 0, 11, 12, 13, 14, 15, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}));
}

TEST(TabrixFind, RequiresAUniqueIndex) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}});
    Index* index = store.createIndex(false, {0});
    std::uint32_t row = 1;
    EXPECT_EQ(find(index, &row), 3);
    store.insertNew(bytesOf(1u));
    EXPECT_EQ(find(index, &row), 3);
    EXPECT_EQ(row, 1u);
}

TEST(TabrixFind, AllocatesNothingAsDoesInsertionIntoAFreeSlot) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}, {fieldString, 6}});
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

TEST(TabrixFindOrInsert, FindsARowOrInsertsIt) {
    ReferenceStore store({0, 2}, {{fieldInt32, 4}, {fieldInt32, 4}});
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
        EXPECT_EQ(findOrInsert(index, bytes.data()), 2) << "another unique index contains the key";
        EXPECT_EQ(bytes, row(1000, 100 + i));
        ASSERT_NO_FATAL_FAILURE(store.verify());
    }
}

TEST(TabrixFindOrInsert, RequiresAUniqueIndex) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}});
    Index* index = store.createIndex(false, {0});
    std::uint32_t row = 1;
    EXPECT_EQ(findOrInsert(index, &row), 3);
    store.verify();
}

TEST(TabrixFindOrInsert, FailsWhenMemoryIsExhausted) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}});
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

VELMOR_SCENARIO(HashOfAnInvalidFieldTypeInFind) {
    ReferenceStore store({0, 5}, {{fieldBytes, 4}});
    Index* index = store.createIndex(true, {0});
    Bytes row = store.emptyRow();
    index->fields[0].type = 9;
    printAndFlush("before");
    find(index, row.data());
    printAndFlush(" after");
}

VELMOR_SCENARIO(HashOfAnInvalidFieldTypeInInsert) {
    ReferenceStore store({0, 5}, {{fieldInt32, 4}, {fieldInt32, 4}});
    Index* index = store.createIndex(false, {0, 1});
    const Bytes row = store.emptyRow();
    index->fields[1].type = 100;
    printAndFlush("before");
    insert(store.table(), row.data());
    printAndFlush(" after");
}

VELMOR_SCENARIO(IndexOverAnInvalidFieldType) {
    ReferenceStore store({0, 5}, {{fieldBytes, 4}});
    store.table()->fields[0].type = 0xFFFFFFFF;
    printAndFlush("before");
    const int fields[] = {0, -1};
    createIndex(store.table(), {1, 1}, fields);
    printAndFlush(" after");
}

TEST(TabrixField, InvalidTypeInAnIndexAborts) {
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
