#include "support/FailingAllocation.h"

#include "ifc/PropertySetTemplates.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Record = IFC2X3_PSet_Custom_s;

/// What came of making a record while the n-th allocation failed.
struct Attempt {
    std::unique_ptr<const Record> record; ///< Null when std::bad_alloc was thrown.
    bool failed = false;                  ///< The allocation was reached.
    std::size_t size = 0;                 ///< What it asked for.
    long kept = 0;                        ///< Number of blocks that were taken and are not given back.
};

/// Makes a record in a block of its own, which counts as well.
template <class Make>
Attempt withFailure(unsigned n, bool andAllLater, Make make) {
    Attempt attempt;
    const long before = liveAllocations();
    {
        const FailAllocation fail(n, andAllLater, Allocations::All);
        try {
            attempt.record.reset(new Record(make()));
        } catch (const std::bad_alloc&) {
        }
        attempt.failed = fail.happened();
        attempt.size = fail.failedSize();
    }
    attempt.kept = liveAllocations() - before;
    return attempt;
}

/// Checks that a record gives back all blocks that were kept for it; without one there must be none.
void expectNothingLeaks(Attempt& attempt) {
    const long before = liveAllocations();
    attempt.record.reset();
    const long released = before - liveAllocations();
    EXPECT_EQ(released, attempt.kept);
}

} // namespace

class CommonPropertySetMemory : public testing::TestWithParam<Template> {
protected:
    CommonPropertySetMemory() {
        structure_.fill();
        try { // what the runtime keeps for its first exception is no leak
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
        }
    }

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
        Attempt attempt = withFailure(n, false, [&] { return kind_.convert(structure_.bytes()); });
        if (!attempt.failed) {
            ASSERT_TRUE(attempt.record);
            expectRecord(*attempt.record, kind_.setName, structure_.expected());
            expectNothingLeaks(attempt);
            break;
        }
        if (attempt.record) { // there was no array for the first property; the second one got it
            ++dropped;
            EXPECT_EQ(attempt.size, 50 * sizeof(void*));
            expectRecord(*attempt.record, kind_.setName, withoutTheFirst);
        } else
            ++thrown;
        expectNothingLeaks(attempt);
    }
    EXPECT_EQ(dropped, 1u);
    EXPECT_GE(thrown, 2 * kind_.rows.size()) << "a property and its value, each";
    expectConversion(kind_, structure_);
}

TEST_P(CommonPropertySetMemory, MemoryThatRunsOutThrows) {
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        SCOPED_TRACE(n);
        Attempt attempt = withFailure(n, true, [&] { return kind_.convert(structure_.bytes()); });
        EXPECT_NE(attempt.failed, attempt.record != nullptr);
        expectNothingLeaks(attempt);
        if (!attempt.failed)
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
        Attempt attempt = withFailure(n, false, [&] { return original; });
        if (!attempt.failed) {
            ASSERT_TRUE(attempt.record);
            expectRecord(*attempt.record, kind_.setName, structure_.expected());
            expectNothingLeaks(attempt);
            break;
        }
        if (attempt.record) {
            ++empty;
            EXPECT_EQ(attempt.size, kind_.rows.size() * sizeof(void*));
            expectRecord(*attempt.record, kind_.setName, {});
        } else
            ++thrown;
        expectNothingLeaks(attempt);
    }
    EXPECT_EQ(empty, 1u);
    EXPECT_GE(thrown, 2 * kind_.rows.size()) << "a property and its value, each";
    expectRecord(original, kind_.setName, structure_.expected());
}
