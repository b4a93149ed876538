// Conversions, copies and assignments of records while an allocation fails.

#include "ifc/PropertySetStructure.h"
#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Record = IFC2X3_PSet_Custom_s;

/// The outcome of the creation of a record while an allocation failed.
struct Creation : Outcome {
    std::unique_ptr<const Record> record; ///< Null if std::bad_alloc was thrown.
};

/// Creates a record on the heap; the block of the record is one of the allocations that can fail.
template <class Create>
Creation createWithFailure(unsigned n, bool andAllLater, Create create) {
    Creation creation;
    static_cast<Outcome&>(creation) = outcomeOf(n, andAllLater, [&] { creation.record.reset(new Record(create())); });
    EXPECT_NE(creation.threw, creation.record != nullptr);
    return creation;
}

/// Checks that the destructor of the record, if there is one, releases all blocks that the creation allocated.
void expectNoLeak(Creation& creation) {
    const long before = liveAllocations();
    creation.record.reset();
    const long released = before - liveAllocations();
    EXPECT_EQ(released, creation.leaked);
}

} // namespace

class CommonPropertySetMemory : public testing::TestWithParam<SetTable> {
protected:
    CommonPropertySetMemory() { structure_.fill(); }

    const SetTable& table_ = GetParam();
    Structure structure_{table_};
};

INSTANTIATE_TEST_SUITE_P(Every, CommonPropertySetMemory, testing::ValuesIn(setTables()), testing::PrintToStringParamName());

TEST_P(CommonPropertySetMemory, FailedConversionThrowsOrDropsFirstProperty) {
    std::vector<Property> withoutFirst = structure_.expected();
    withoutFirst.erase(withoutFirst.begin());
    unsigned thrown = 0, dropped = 0;
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Creation creation = createWithFailure(n, false, [&] { return table_.convert(structure_.bytes()); });
        if (!creation.failed) {
            ASSERT_TRUE(creation.record);
            expectRecord(*creation.record, table_.setName, structure_.expected());
            expectNoLeak(creation);
            break;
        }
        if (creation.record) { // the array could not be allocated for the first property, but for the second one
            ++dropped;
            EXPECT_EQ(creation.size, 50 * sizeof(void*));
            expectRecord(*creation.record, table_.setName, withoutFirst);
        } else
            ++thrown;
        expectNoLeak(creation);
    }
    EXPECT_EQ(dropped, 1u);
    EXPECT_GE(thrown, 2 * table_.rows.size()) << "one for each property and one for each value";
    expectConversion(table_, structure_);
}

TEST_P(CommonPropertySetMemory, ExhaustedMemoryThrows) {
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Creation creation = createWithFailure(n, true, [&] { return table_.convert(structure_.bytes()); });
        EXPECT_NE(creation.failed, creation.record != nullptr);
        expectNoLeak(creation);
        if (!creation.failed)
            break;
    }
    expectConversion(table_, structure_);
}

TEST_P(CommonPropertySetMemory, FailedCopyThrowsOrIsEmpty) {
    const Record original = structure_.convert();
    unsigned thrown = 0, empty = 0;
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Creation creation = createWithFailure(n, false, [&] { return original; });
        if (!creation.failed) {
            ASSERT_TRUE(creation.record);
            expectRecord(*creation.record, table_.setName, structure_.expected());
            expectNoLeak(creation);
            break;
        }
        if (creation.record) {
            ++empty;
            EXPECT_EQ(creation.size, table_.rows.size() * sizeof(void*));
            expectRecord(*creation.record, table_.setName, {});
        } else
            ++thrown;
        expectNoLeak(creation);
    }
    EXPECT_EQ(empty, 1u);
    EXPECT_GE(thrown, 2 * table_.rows.size()) << "one for each property and one for each value";
    expectRecord(original, table_.setName, structure_.expected());
}

TEST_P(CommonPropertySetMemory, FailedAssignmentHasNewTextsAndOldProperties) {
    Record source = structure_.convert();
    std::fill(std::begin(source.globalId), std::end(source.globalId), '7');
    source.description[0] = 'd';
    const WideString formerName(200, WideChar('f'));
    unsigned thrown = 0;
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Record target = Record(IFC2X3_PSet_RoofCommon_s{});
        formerName.copy(target.name, formerName.size());
        const std::vector<Property> before = propertiesOf(target.properties);
        const Outcome outcome = outcomeOf(n, false, [&] { target = source; });
        EXPECT_EQ(std::string(target.globalId, sizeof target.globalId), std::string(22, '7'));
        EXPECT_EQ(WideString(target.name), wide(table_.setName));
        EXPECT_EQ(WideString(target.description), wide("d"));
        if (!outcome.failed) {
            EXPECT_EQ(propertiesOf(target.properties), structure_.expected());
            break;
        }
        if (outcome.threw) {
            ++thrown;
            EXPECT_EQ(outcome.leaked, 0);
            EXPECT_EQ(propertiesOf(target.properties), before);
        } else // the array could not be allocated
            EXPECT_EQ(target.properties.getCount(), 0u);
    }
    EXPECT_GE(thrown, 2 * table_.rows.size()) << "one for each property and one for each value";
}
