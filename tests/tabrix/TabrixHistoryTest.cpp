#include "RandomRows.h"
#include "tabrix/tabrix.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

// Long random sequences of operations, compared with the reference model.

using namespace Velmor::tabrix;
using namespace velmor_tests;

namespace {

/// Of 100 steps about 55 insert, 43 find, and 2 create or destroy an index.
void runHistory(std::uint32_t seed, std::vector<FieldSpec> fields, int steps) {
    RandomRows random(seed);
    const auto fieldCount = static_cast<std::uint32_t>(fields.size());
    const auto initialRows = static_cast<std::int32_t>(random.below(50));
    const std::uint32_t rowsPerBucket = 1 + random.below(random.below(2) ? 70 : 5);
    ReferenceStore store({initialRows, rowsPerBucket}, fields);
    const auto createIndex = [&] {
        const bool unique = random.below(3) != 0;
        store.createIndex(unique, random.key(fieldCount));
    };
    createIndex();
    Bytes row = store.emptyRow();
    for (int step = 0; step < steps; ++step) {
        random.fill(store.layout(), row);
        const std::uint32_t operation = random.below(100);
        if (operation < 55) {
            ASSERT_NO_FATAL_FAILURE(store.insert(row));
        } else if (operation < 98) {
            if (!store.indexes().empty())
                store.find(store.indexes()[random.below(static_cast<std::uint32_t>(store.indexes().size()))], row);
        } else if (store.indexes().size() < 4)
            createIndex();
        else
            store.destroyIndex(random.below(4));
        if (step % 50 == 0 || operation >= 98) {
            ASSERT_NO_FATAL_FAILURE(store.verify());
        }
    }
    ASSERT_NO_FATAL_FAILURE(store.verify());
    EXPECT_FALSE(testing::Test::HasFailure());
}

} // namespace

TEST(TabrixHistory, OfEachFieldTypeMatchesTheModel) {
    for (std::uint32_t type = 0; type <= 8; ++type)
        for (std::uint32_t seed = 1; seed <= 5; ++seed)
            ASSERT_NO_FATAL_FAILURE(runHistory(seed, {{type, static_cast<std::int32_t>(seed)}}, 600)) << "type " << type;
}

TEST(TabrixHistory, OfSeveralFieldsMatchesTheModel) {
    for (std::uint32_t seed = 100; seed < 160; ++seed) {
        RandomRows random(seed + 10000);
        std::vector<FieldSpec> fields;
        for (std::uint32_t count = 1 + random.below(6); count > 0; --count)
            fields.push_back(random.field());
        ASSERT_NO_FATAL_FAILURE(runHistory(seed, fields, 800));
    }
}

TEST(TabrixHistory, OfManyStepsMatchesTheModel) {
    ASSERT_NO_FATAL_FAILURE(runHistory(
        7, {{fieldInt32, 4}, {fieldString, 5}, {fieldWideStringPointer, 0}, {fieldDouble, 8}, {fieldInt64, 8}}, 6000));
}
