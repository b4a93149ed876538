#include <Velmor/Version.h>

#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <array>

using namespace Velmor;
using velmor_tests::FailAllocation;
using velmor_tests::throwsBadAlloc;

TEST(ExternalVersionMemory, FailedAllocationOfARecordThrows) {
    double numbers[8] = {};
    const ExternalVersion original = createFromBoundingBox(1, 2, 3);
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalVersion v; }));
    EXPECT_TRUE(throwsBadAlloc(1, [&] { ExternalVersion v(original); }));
    EXPECT_TRUE(throwsBadAlloc(1, [] { createFromBoundingBox(1, 2, 3); }));
    EXPECT_TRUE(throwsBadAlloc(1, [&] { createFromGeometry(1, 2, 3, numbers); }));
    EXPECT_TRUE(throwsBadAlloc(1, [&] { createFromSolid(1, 2, 3, numbers, 4, numbers); }));
}

TEST(ExternalVersionMemory, FailedAssignmentThrowsAndChangesNothing) {
    double d[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    double c[3] = {-1, -2, -3};
    const ExternalVersion source = createFromBoundingBox(1, 2, 3);
    ExternalVersion target = createFromSolid(4, 5, 6, d, 7, c);
    std::array<char, 124> before;
    ASSERT_EQ(target.toByteStream(124, before.data()), 124u);
    EXPECT_TRUE(throwsBadAlloc(1, [&] { target = source; }));
    std::array<char, 124> after;
    ASSERT_EQ(target.toByteStream(124, after.data()), 124u);
    EXPECT_EQ(after, before);
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
