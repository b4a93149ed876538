#include <Velmor/Version.h>

#include "VersionRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

using namespace Velmor;
using namespace velmor_tests;

namespace {

/// Compares two versions of a type whose numbers are 0 except one.
bool equalWith(std::uint32_t type, std::size_t number, double a, double b) {
    Numbers numbersA{};
    Numbers numbersB{};
    numbersA[number] = a;
    numbersB[number] = b;
    const bool equal = makeVersion(type, numbersA) == makeVersion(type, numbersB);
    EXPECT_EQ(makeVersion(type, numbersB) == makeVersion(type, numbersA), equal) << "equality is symmetric";
    return equal;
}

bool hasNumber(std::uint32_t type, std::size_t number) {
    if (number >= volumeAt)
        return type == 2;
    return number >= distancesAt ? type >= 2 : type >= 1;
}

double toleranceOf(std::size_t number) {
    return number == volumeAt ? 1e-6 : 0.001;
}

} // namespace

TEST(ExternalVersionEquality, DifferentTypesAreNotEqual) {
    for (std::uint32_t a = 0; a <= 5; ++a)
        for (std::uint32_t b = 0; b <= 5; ++b)
            EXPECT_EQ(makeVersion(a) == makeVersion(b), a == b && a <= 3) << a << " " << b;
    for (std::uint32_t type : typesAboveThree) {
        const ExternalVersion v = makeVersion(type);
        EXPECT_FALSE(v == v) << type;
    }
}

TEST(ExternalVersionEquality, InvalidVersionsAreEqual) {
    EXPECT_TRUE(makeVersion(0) == ExternalVersion());
    EXPECT_TRUE(ExternalVersion() == ExternalVersion());
}

TEST(ExternalVersionEquality, EachNumberOfTheTypeHasATolerance) {
    for (std::uint32_t type = 0; type <= 3; ++type)
        for (std::size_t number = 0; number < 15; ++number)
            for (double sign : {1.0, -1.0}) {
                SCOPED_TRACE("type " + std::to_string(type) + ", number " + std::to_string(number));
                const double tolerance = toleranceOf(number) * sign;
                EXPECT_TRUE(equalWith(type, number, 0, 0));
                EXPECT_TRUE(equalWith(type, number, 0, tolerance / 2));
                EXPECT_TRUE(equalWith(type, number, 0, std::nextafter(tolerance, 0)));
                EXPECT_TRUE(equalWith(type, number, 0, tolerance)) << "a difference equal to the tolerance";
                EXPECT_EQ(equalWith(type, number, 0, std::nextafter(tolerance, sign)), !hasNumber(type, number));
                EXPECT_EQ(equalWith(type, number, 0, tolerance * 2), !hasNumber(type, number));
                EXPECT_EQ(equalWith(type, number, 0, 1e300 * sign), !hasNumber(type, number));
            }
}

TEST(ExternalVersionEquality, TolerancesAreAbsolute) {
    for (std::size_t number = 0; number < 15; ++number) {
        EXPECT_TRUE(equalWith(2, number, 1e9, 1e9));
        EXPECT_FALSE(equalWith(2, number, 1e9, 1e9 + 0.25));
        EXPECT_TRUE(equalWith(2, number, 0x1p60, 0x1p60 + 1)) << "the sum is rounded to 2^60";
    }
    EXPECT_TRUE(equalWith(2, volumeAt, 1, 1 + 0x1p-20));  // 9.5e-7
    EXPECT_FALSE(equalWith(2, volumeAt, 1, 1 + 0x1p-19)); // 1.9e-6
}

TEST(ExternalVersionEquality, BoxesAreComparedByTheirEuclideanDistance) {
    const ExternalVersion zero = createFromBoundingBox(0, 0, 0);
    EXPECT_FALSE(createFromBoundingBox(0.0006, 0.0006, 0.0006) == zero); // 0.00104
    EXPECT_TRUE(createFromBoundingBox(0.0005, 0.0005, 0) == zero);
    EXPECT_TRUE(createFromBoundingBox(0.0006, 0.0008, 0) == zero); // 0.001
    EXPECT_TRUE(createFromBoundingBox(-0.0006, 0, 0.0007) == zero);
    EXPECT_FALSE(createFromBoundingBox(0.0008, -0.0008, 0) == zero);
    EXPECT_FALSE(createFromBoundingBox(1, 2, 3) == createFromBoundingBox(3, 2, 1));
    for (std::uint32_t type : {2u, 3u}) {
        Numbers a{};
        Numbers b{};
        b[0] = b[1] = b[2] = 0.0006;
        EXPECT_FALSE(makeVersion(type, a) == makeVersion(type, b));
        b[2] = 0;
        EXPECT_TRUE(makeVersion(type, a) == makeVersion(type, b));
    }
}

TEST(ExternalVersionEquality, DistancesAndCentroidAreComparedByNumber) {
    // Each difference is within its tolerance, but not their sum.
    Numbers a{};
    Numbers b{};
    std::fill_n(b.begin() + distancesAt, 8, 0.001);
    std::fill_n(b.begin() + centroidAt, 3, 0.001);
    b[volumeAt] = 1e-6;
    EXPECT_TRUE(makeVersion(2, a) == makeVersion(2, b));
    EXPECT_TRUE(makeVersion(3, a) == makeVersion(3, b));
}

TEST(ExternalVersionEquality, NaNCountsAsEqual) {
    for (std::uint32_t type = 1; type <= 3; ++type)
        for (std::size_t number = 0; number < 15; ++number) {
            EXPECT_TRUE(equalWith(type, number, notANumber, 0));
            EXPECT_TRUE(equalWith(type, number, notANumber, notANumber));
            EXPECT_TRUE(equalWith(type, number, infinity, infinity)) << "the difference is NaN";
            EXPECT_EQ(equalWith(type, number, infinity, -infinity), !hasNumber(type, number));
            EXPECT_EQ(equalWith(type, number, infinity, 0), !hasNumber(type, number));
            EXPECT_TRUE(equalWith(type, number, 0.0, -0.0));
        }
    // A NaN does not hide a difference of other numbers.
    Numbers a{};
    Numbers b{};
    a[volumeAt] = notANumber;
    b[boxAt] = 1;
    EXPECT_FALSE(makeVersion(2, a) == makeVersion(2, b));
    // In a box it hides the other two extents, because their distance is NaN.
    a[boxAt + 1] = notANumber;
    EXPECT_TRUE(makeVersion(2, a) == makeVersion(2, b));
}
