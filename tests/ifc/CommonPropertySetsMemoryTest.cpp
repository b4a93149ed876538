#include "ifc/PropertySetTemplates.h"
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

/// What came of making a record while an allocation failed.
struct Making : Outcome {
    std::unique_ptr<const Record> record; ///< Null when std::bad_alloc was thrown.
};

/// Makes a record in a block of its own, which counts as well.
template <class Make>
Making makeWithFailure(unsigned n, bool andAllLater, Make make) {
    Making making;
    static_cast<Outcome&>(making) = outcomeOf(n, andAllLater, [&] { making.record.reset(new Record(make())); });
    EXPECT_NE(making.threw, making.record != nullptr);
    return making;
}

/// Checks that a record gives back all blocks that were kept for it; without one there must be none.
void expectNothingLeaks(Making& making) {
    const long before = liveAllocations();
    making.record.reset();
    const long released = before - liveAllocations();
    EXPECT_EQ(released, making.kept);
}

} // namespace

class CommonPropertySetMemory : public testing::TestWithParam<Template> {
protected:
    CommonPropertySetMemory() { structure_.fill(); }

    const Template& kind_ = GetParam();
    Structure structure_{kind_};
};

INSTANTIATE_TEST_SUITE_P(Every, CommonPropertySetMemory, testing::ValuesIn(templates()), testing::PrintToStringParamName());

TEST_P(CommonPropertySetMemory, OneFailedAllocationThrowsOrDropsTheFirstProperty) {
    std::vector<Property> withoutTheFirst = structure_.expected();
    withoutTheFirst.erase(withoutTheFirst.begin());
    unsigned thrown = 0, dropped = 0;
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Making making = makeWithFailure(n, false, [&] { return kind_.convert(structure_.bytes()); });
        if (!making.failed) {
            ASSERT_TRUE(making.record);
            expectRecord(*making.record, kind_.setName, structure_.expected());
            expectNothingLeaks(making);
            break;
        }
        if (making.record) { // there was no array for the first property; the second one got it
            ++dropped;
            EXPECT_EQ(making.size, 50 * sizeof(void*));
            expectRecord(*making.record, kind_.setName, withoutTheFirst);
        } else
            ++thrown;
        expectNothingLeaks(making);
    }
    EXPECT_EQ(dropped, 1u);
    EXPECT_GE(thrown, 2 * kind_.rows.size()) << "a property and its value, each";
    expectConversion(kind_, structure_);
}

TEST_P(CommonPropertySetMemory, MemoryThatRunsOutThrows) {
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Making making = makeWithFailure(n, true, [&] { return kind_.convert(structure_.bytes()); });
        EXPECT_NE(making.failed, making.record != nullptr);
        expectNothingLeaks(making);
        if (!making.failed)
            break;
    }
    expectConversion(kind_, structure_);
}

TEST_P(CommonPropertySetMemory, CopyOfARecordThrowsOrIsEmpty) {
    const Record original = structure_.convert();
    unsigned thrown = 0, empty = 0;
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Making making = makeWithFailure(n, false, [&] { return original; });
        if (!making.failed) {
            ASSERT_TRUE(making.record);
            expectRecord(*making.record, kind_.setName, structure_.expected());
            expectNothingLeaks(making);
            break;
        }
        if (making.record) {
            ++empty;
            EXPECT_EQ(making.size, kind_.rows.size() * sizeof(void*));
            expectRecord(*making.record, kind_.setName, {});
        } else
            ++thrown;
        expectNothingLeaks(making);
    }
    EXPECT_EQ(empty, 1u);
    EXPECT_GE(thrown, 2 * kind_.rows.size()) << "a property and its value, each";
    expectRecord(original, kind_.setName, structure_.expected());
}

TEST_P(CommonPropertySetMemory, AssignmentThatThrowsLeavesNewTextsWithOldProperties) {
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
        EXPECT_EQ(WideString(target.name), wide(kind_.setName));
        EXPECT_EQ(WideString(target.description), wide("d"));
        if (!outcome.failed) {
            EXPECT_EQ(propertiesOf(target.properties), structure_.expected());
            break;
        }
        if (outcome.threw) {
            ++thrown;
            EXPECT_EQ(outcome.kept, 0);
            EXPECT_EQ(propertiesOf(target.properties), before);
        } else // there was no array
            EXPECT_EQ(target.properties.getCount(), 0u);
    }
    EXPECT_GE(thrown, 2 * kind_.rows.size()) << "a property and its value, each";
}
