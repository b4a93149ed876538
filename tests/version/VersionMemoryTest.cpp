#include "support/FailingAllocation.h"

#include <Velmor/Version.h>

#include <gtest/gtest.h>

#include <new>

using namespace Velmor;
using velmor_tests::FailAllocation;

namespace {

/// Whether a function throws std::bad_alloc when its next allocation fails.
template <class Function>
bool throwsBadAlloc(Function function) {
    const FailAllocation fail(1);
    try {
        function();
    } catch (const std::bad_alloc&) {
        return true;
    }
    return false;
}

} // namespace

TEST(ExternalVersionMemory, EveryNewRecordThatFailsThrows) {
    double numbers[8] = {};
    const ExternalVersion original = createFromBoundingBox(1, 2, 3);
    EXPECT_TRUE(throwsBadAlloc([] { ExternalVersion v; }));
    EXPECT_TRUE(throwsBadAlloc([&] { ExternalVersion v(original); }));
    EXPECT_TRUE(throwsBadAlloc([] { createFromBoundingBox(1, 2, 3); }));
    EXPECT_TRUE(throwsBadAlloc([&] { createFromGeometry(1, 2, 3, numbers); }));
    EXPECT_TRUE(throwsBadAlloc([&] { createFromSolid(1, 2, 3, numbers, 4, numbers); }));
}

TEST(ExternalVersionMemory, AnAssignmentThatFailsThrowsAndLeavesAnObjectThatCanBeDestroyed) {
    const ExternalVersion source = createFromBoundingBox(1, 2, 3);
    ExternalVersion target;
    EXPECT_TRUE(throwsBadAlloc([&] { target = source; }));
}

TEST(ExternalVersionMemory, ReadingAndComparingAllocateNothing) {
    ExternalVersion v = createFromBoundingBox(1, 2, 3);
    const ExternalVersion other = createFromBoundingBox(1, 2, 3);
    char stream[124];
    double d[8];
    unsigned seen;
    {
        const FailAllocation fail(1, true);
        v.fromByteStream(v.toByteStream(sizeof stream, stream), stream);
        v.getBoundingBox(d, d + 1, d + 2);
        v.getDistances(d);
        v.getVolume();
        v.getCenteroid(d, d + 1, d + 2);
        v.similarity(other);
        if (!(v == other))
            v.getType();
        seen = fail.seen();
    }
    EXPECT_EQ(seen, 0u);
}
