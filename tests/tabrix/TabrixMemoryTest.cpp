#include "RandomRows.h"
#include "Rows.h"
#include "support/WithFailure.h"
#include "tabrix/tabrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

using namespace Velmor::tabrix;
using namespace velmor_tests;

namespace {

/// An allocation of an operation.
struct Expected {
    const char* label;
    std::size_t size; ///< 0: any
};

/// Fills all slots of a table, then fails each allocation of the next insertion and verifies the table each time.
void failEachAllocationOfAnInsertion(ReferenceStore& store, std::uint32_t rows, const std::vector<Expected>& expected) {
    RandomRows random(rows);
    Bytes row = store.emptyRow();
    while (store.rows().size() < rows) {
        random.fill(store.layout(), row);
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
            for (const ReferenceIndex& index : store.indexes()) {
                store.find(index, row);
                store.find(index, store.rows()[n]);
            }
            EXPECT_EQ(insert(store.table(), store.rows()[0].data()), 2);
        }
    ASSERT_NO_FATAL_FAILURE(store.insertNew(row));
    ASSERT_NO_FATAL_FAILURE(store.verify());
}

} // namespace

TEST(TabrixMemory, AnyAllocationOfANewTableCanFail) {
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

TEST(TabrixMemory, AnyAllocationOfATableOfManyBucketsCanFail) {
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

TEST(TabrixMemory, RefusedTableIsFreed) {
    // Each of these is refused after an allocation; AddressSanitizer reports what is not freed.
    EXPECT_EQ(makeTable({0, 0}, {{fieldInt32, 4}}), nullptr);
    EXPECT_EQ(makeTable({-1, 5}, {{fieldInt32, 4}}), nullptr);
    EXPECT_EQ(makeTable({0, 5}, {{9, 4}}), nullptr);
    EXPECT_EQ(makeTable({70000, 1}, {{fieldInt32, 4}}), nullptr);
}

TEST(TabrixMemory, AnyAllocationOfANewIndexCanFail) {
    ReferenceStore store({0, 20}, {{fieldInt32, 4}, {fieldBytes, 3}, {fieldDouble, 8}});
    store.createIndex(true, {0});
    RandomRows random(11);
    Bytes row = store.emptyRow();
    for (std::uint32_t i = 0; i < 50; ++i) {
        random.fill(store.layout(), row);
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
        const auto positionOf = [&](const char* label) {
            return std::find(labels.begin(), labels.end(), label) - labels.begin();
        };
        const auto count = static_cast<std::ptrdiff_t>(labels.size());
        EXPECT_LT(positionOf("temp field array\n"), positionOf("index field array\n"));
        EXPECT_LT(positionOf("index field array\n"), positionOf("index entry array\n"));
        EXPECT_LT(positionOf("index entry array\n"), positionOf("index link array\n"));
        EXPECT_LT(positionOf("index link array\n"), count);
        EXPECT_EQ(count, 5) << "these four and the index itself";
    }
    store.verify();
}

TEST(TabrixMemory, RefusedIndexIsFreed) {
    ReferenceStore store({0, 20}, {{fieldInt32, 4}, {fieldBytes, 3}});
    for (const std::vector<int>& fields : {std::vector<int>{-1}, {0, 0, -1}, {0, 2, -1}})
        EXPECT_EQ(createIndex(store.table(), {1, 1}, fields.data()), nullptr);
    store.verify();
}

TEST(TabrixMemory, AnyAllocationOfANewBucketCanFail) {
    ReferenceStore store({0, 32}, {{fieldInt32, 4}, {fieldBytes, 13}});
    store.createIndex(true, {0});
    store.createIndex(false, {1, 0});
    ASSERT_EQ(store.table()->hashSize, 64u);
    failEachAllocationOfAnInsertion(store, 32,
                                    {{"bucket", sizeof(Bucket)}, {"bucket data", 32 * 24}, {"bucket free table", 4}});
}

TEST(TabrixMemory, AnyAllocationOfARehashCanFail) {
    ReferenceStore store({0, 33}, {{fieldInt32, 4}, {fieldBytes, 13}});
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

TEST(TabrixMemory, FailedGrowthOfTheBucketPointersIsUndone) {
    ReferenceStore store({0, 2}, {{fieldInt32, 4}});
    store.createIndex(true, {0});
    for (std::uint32_t i = 0; i < 32; ++i)
        store.insertNew(bytesOf(i));
    ASSERT_EQ(store.table()->bucketCapacity, 16u);
    // The array is allocated first. If a later allocation fails, the array is freed, too.
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

TEST(TabrixMemory, RandomFailuresMatchTheModel) {
    for (std::uint32_t seed = 1; seed <= 10; ++seed) {
        RandomRows random(seed);
        ReferenceStore store({0, 1 + random.below(20)}, {{fieldInt32, 4}, {fieldString, 3}, {fieldDouble, 8}});
        store.createIndex(true, {0});
        store.createIndex(true, {1, 2, 0});
        store.createIndex(false, {2});
        Bytes row = store.emptyRow();
        for (int step = 0; step < 400; ++step) {
            random.fill(store.layout(), row);
            const int expected = store.expectedInsert(row);
            int status = -1;
            const unsigned failing = 1 + random.below(12);
            const bool andAllLater = random.below(2) != 0;
            const Attempt attempt = withFailure(failing, andAllLater, [&] { status = insert(store.table(), row.data()); });
            ASSERT_EQ(status, attempt.failed ? 4 : expected);
            if (expected == 0 && !attempt.failed) {
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
