#include <Velmor/Identity.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using Velmor::ExternalGUID;
using velmor_tests::Random;

namespace {

using Hash = std::array<double, 11>;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double smallest = std::numeric_limits<double>::denorm_min();
constexpr double largest = std::numeric_limits<double>::max();

/// The hash of vertices in a heap block of exactly their size, so that a sanitizer reports each read after them.
Hash hashOf(unsigned count, const std::vector<double>& xyz) {
    const std::unique_ptr<double[]> block(new double[xyz.size()]);
    std::copy(xyz.begin(), xyz.end(), block.get());
    const ExternalGUID guid = ExternalGUID::spatialHashFromVertexes(count, block.get());
    EXPECT_EQ(guid.getType(), ExternalGUID::SpatialHash);
    unsigned size = 0;
    const char* bytes = guid.getBytes(&size);
    EXPECT_EQ(size, 96u);
    EXPECT_EQ(std::string(bytes, 8), std::string("\1\0\0\0\0\0\0\0", 8));
    Hash hash;
    std::memcpy(hash.data(), guid.getSpatialHash(), sizeof hash);
    return hash;
}

Hash hashOf(const std::vector<double>& xyz) {
    return hashOf(static_cast<unsigned>(xyz.size() / 3), xyz);
}

/// Equal bits, or both NaN: which of two NaNs is the result of a sum depends on the processor.
bool isEqual(double a, double b) {
    return std::isnan(a) ? std::isnan(b) : std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void expectEqual(const Hash& actual, const Hash& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_TRUE(isEqual(actual[i], expected[i]))
            << "number " << i << ": " << std::hexfloat << actual[i] << " instead of " << expected[i] << std::defaultfloat;
}

/// A second, simple implementation.
Hash modelHash(unsigned count, const double* xyz) {
    const unsigned considered = count < 2 ? 0 : count - 1;
    Hash hash{};
    for (int axis = 0; axis < 3; ++axis) {
        double low = xyz[axis];
        double high = xyz[axis];
        for (unsigned i = 0; i < considered; ++i) {
            const double value = xyz[3 * i + static_cast<unsigned>(axis)];
            if (value < low)
                low = value;
            if (value > high)
                high = value;
        }
        const double sum = high + low;
        hash[static_cast<std::size_t>(axis)] = sum * 0.5;
    }
    for (unsigned i = 0; i < considered; ++i) {
        double square[3];
        std::size_t octant = 0;
        for (unsigned axis = 0; axis < 3; ++axis) {
            const double d = xyz[3 * i + axis] - hash[axis];
            if (d > 0)
                octant += std::size_t{1} << axis;
            square[axis] = d * d;
        }
        const double yx = square[1] + square[0];
        const double distance = yx + square[2];
        if (distance > hash[3 + octant])
            hash[3 + octant] = distance;
    }
    for (std::size_t i = 3; i < hash.size(); ++i)
        hash[i] = std::sqrt(hash[i]);
    return hash;
}

void expectModel(const std::vector<double>& xyz) {
    expectEqual(hashOf(xyz), modelHash(static_cast<unsigned>(xyz.size() / 3), xyz.data()));
}

/// One of five numbers is special: NaN, infinite, zero, denormal, or near the largest number.
double specialOrFinite(Random& random) {
    static const double special[] = {notANumber, -notANumber, infinity, -infinity, 0.0,     -0.0,     smallest,
                                     -smallest,  0x1p-1030,   largest,  -largest,  1.6e308, -1.6e308, 1e200};
    static const double scales[] = {1, 1e-3, 1e4, 1e-160, 1e154, 1e300};
    return random.oneIn(5) ? random.oneOf(special) : random.realWithin(random.oneOf(scales));
}

const std::vector<double> unitCube = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1};

constexpr double halfDiagonal = 0x1.bb67ae8584caap-1; // sqrt(0.75)

} // namespace

TEST(SpatialHash, HasItsCenterAtASingleVertex) {
    expectEqual(hashOf(1, {1.5, -2.25, 1e10}), {1.5, -2.25, 1e10});
}

TEST(SpatialHash, ReadsOneVertexForACountOfZero) {
    expectEqual(hashOf(0, {1.5, -2.25, 1e10}), {1.5, -2.25, 1e10});
}

TEST(SpatialHash, IgnoresTheSecondOfTwoVertices) {
    for (double other : {0.0, 7.0, -1e300, infinity, notANumber})
        expectEqual(hashOf(2, {1.5, -2.25, 1e10, other, other, other}), {1.5, -2.25, 1e10});
}

TEST(SpatialHash, HasEightEqualRadiiForAClosedUnitCube) {
    std::vector<double> closed = unitCube;
    closed.insert(closed.end(), {0, 0, 0});
    Hash expected;
    expected.fill(halfDiagonal);
    expected[0] = expected[1] = expected[2] = 0.5;
    expectEqual(hashOf(closed), expected);
}

TEST(SpatialHash, IgnoresTheLastVertexOfAnOpenUnitCube) {
    expectEqual(hashOf(unitCube), {0.5, 0.5, 0.5, halfDiagonal, halfDiagonal, halfDiagonal, halfDiagonal, halfDiagonal,
                                   halfDiagonal, halfDiagonal, 0});
}

TEST(SpatialHash, HasRadiiOfZeroForEqualVertices) {
    std::vector<double> vertices;
    for (int i = 0; i < 10; ++i)
        vertices.insert(vertices.end(), {0.1, -0.2, 1e-310});
    expectEqual(hashOf(vertices), {0.1, -0.2, 1e-310});
}

TEST(SpatialHash, NumbersTheOctantsByTheSignsOfTheAxes) {
    // Two opposite vertices (+-2, +-3, +-6): the center is 0, and each is alone in its octant at distance 7.
    for (unsigned octant = 0; octant < 8; ++octant) {
        const double x = octant & 1 ? 2 : -2;
        const double y = octant & 2 ? 3 : -3;
        const double z = octant & 4 ? 6 : -6;
        Hash expected{};
        expected[3 + octant] = 7; // 4 + 9 + 36 = 49
        expected[3 + (7 - octant)] = 7;
        expectEqual(hashOf({x, y, z, -x, -y, -z, 100, 100, 100}), expected);
    }
}

TEST(SpatialHash, TreatsACoordinateAtTheCenterAsNotPositive) {
    // The box is [-4, 4] on each axis. The vertex (0, 3, 0) lies in octant 2, (0, 0, 0) in octant 0.
    expectEqual(hashOf({-4, -4, -4, 4, 4, 4, 0, 3, 0, 0, 0, 0, 9, 9, 9}),
                {0, 0, 0, 0x1.bb67ae8584caap+2, 0, 3, 0, 0, 0, 0, 0x1.bb67ae8584caap+2});
}

TEST(SpatialHash, UsesTheFarthestVertexOfAnOctant) {
    expectEqual(hashOf({-4, -4, -4, 4, 4, 4, 1, 1, 1, 3, 3, 3, 2, 2, 2, 9, 9, 9}),
                {0, 0, 0, 0x1.bb67ae8584caap+2, 0, 0, 0, 0, 0, 0, 0x1.bb67ae8584caap+2});
    // The order of the vertices has no effect.
    expectEqual(hashOf({3, 3, 3, 2, 2, 2, 4, 4, 4, 1, 1, 1, -4, -4, -4, 9, 9, 9}),
                {0, 0, 0, 0x1.bb67ae8584caap+2, 0, 0, 0, 0, 0, 0, 0x1.bb67ae8584caap+2});
}

TEST(SpatialHash, SumsTheSquaresInAFixedOrder) {
    // Every other order of the sum, and some ways to fuse the products, give another last bit. The radii were computed with
    // Python's fractions: each operation exact, then rounded to the nearest double; roots by math.isqrt of 2^800 times the
    // number.
    const struct {
        double x, y, z, radius;
    } cases[] = {
        {0x1.3b7dc449b3470p+0, 0x1.fab69c346b571p-1, 0x1.0c8b454e22e02p+0, 0x1.e5a24409b7cf1p+0},
        {0x1.a3c06d4cb6e73p-1, 0x1.230afc4d27ab7p+1, 0x1.c93850c451310p-4, 0x1.35b682055fd11p+1},
        {0x1.63275f3c76ce9p+1, 0x1.364486d100c91p+1, 0x1.f60d68b87cb52p-2, 0x1.dbc027a8b2c85p+1},
        {0x1.3a32883448926p+1, 0x1.57ba5c5517726p+1, 0x1.03ba5dbcf8f0bp+0, 0x1.e375c2e0574ebp+1},
    };
    for (const auto& c : cases)
        expectEqual(hashOf({c.x, c.y, c.z, -c.x, -c.y, -c.z, 0, 0, 0}), {0, 0, 0, c.radius, 0, 0, 0, 0, 0, 0, c.radius});
}

TEST(SpatialHash, HasItsCenterAtHalfTheSumOfTheBounds) {
    // The sum overflows: the center is infinite, and all vertices are infinitely far on the non-positive side.
    expectEqual(hashOf({1.6e308, 0, 0, 1.5e308, 0, 0, 0, 0, 0}), {infinity, 0, 0, infinity});
    // (0.1 + 0.7) * 0.5, rounded after the sum.
    expectEqual(hashOf({0.1, 0, 0, 0.7, 0, 0, 0, 0, 0}),
                {0x1.9999999999999p-2, 0, 0, 0x1.3333333333332p-2, 0x1.3333333333333p-2});
}

TEST(SpatialHash, IgnoresNaNExceptInTheFirstVertex) {
    // Vertex 1 has a NaN. Its other coordinates widen the box; its distance is in no radius.
    expectEqual(hashOf({-1, -1, -1, notANumber, 5, 1, 1, 1, 1, 0, 0, 0}),
                {0, 2, 0, 0x1.a887293fd6f34p+1, 0, 0, 0, 0, 0x1.bb67ae8584caap+0});
    // A NaN in the first vertex remains both bounds of its axis.
    expectEqual(hashOf({notANumber, 0, 0, 1, 2, 0, 1, -2, 0, 9, 9, 9}), {notANumber, 0, 0});
}

TEST(SpatialHash, AcceptsInfiniteBounds) {
    expectEqual(hashOf({0, 0, 0, infinity, 0, 0, 9, 9, 9}), {infinity, 0, 0, infinity});
    expectEqual(hashOf({-infinity, 0, 0, 0, 0, 0, 9, 9, 9}), {-infinity, 0, 0, 0, infinity});
    expectEqual(hashOf({-infinity, 0, 0, infinity, 1, 0, 9, 9, 9}), {notANumber, 0.5, 0});
}

TEST(SpatialHash, LetsSquaredDistancesOverflowAndUnderflow) {
    expectEqual(hashOf({-1e200, 0, 0, 1e200, 0, 0, 9, 9, 9}), {0, 0, 0, infinity, infinity});
    // The squares underflow to 0.
    expectEqual(hashOf({-1e-170, 0, 0, 1e-170, 0, 0, 9, 9, 9}), {0, 0, 0});
    // The square of 2^-530 is 2^-1060, a denormal number.
    expectEqual(hashOf({-0x1p-530, 0, 0, 0x1p-530, 0, 0, 9, 9, 9}), {0, 0, 0, 0x1p-530, 0x1p-530});
}

TEST(SpatialHash, KeepsTheSignOfTheFirstZero) {
    expectEqual(hashOf({-0.0, 0.0, -0.0, 0.0, -0.0, -0.0, 1, 1, 1}), {-0.0, 0.0, -0.0});
    expectEqual(hashOf(1, {-0.0, 0.0, -0.0}), {-0.0, 0.0, -0.0});
    std::vector<double> zeros = {-0.0, -0.0, -0.0};
    for (int i = 0; i < 40; ++i) {
        zeros.insert(zeros.end(), {0.0, 0.0, 0.0});
        expectEqual(hashOf(zeros), {-0.0, -0.0, -0.0});
    }
}

TEST(SpatialHash, EqualsTheModelForAllSmallCounts) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Random random(seed);
        for (unsigned count = 0; count <= 100; ++count) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * std::max(count, 1u); ++i)
                xyz.push_back(random.realWithin(100));
            expectEqual(hashOf(count, xyz), modelHash(count, xyz.data()));
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(SpatialHash, EqualsTheModelForSpecialNumbers) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Random random(seed);
        for (unsigned count = 0; count <= 100; ++count) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * std::max(count, 1u); ++i)
                xyz.push_back(specialOrFinite(random));
            expectEqual(hashOf(count, xyz), modelHash(count, xyz.data()));
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(SpatialHash, EqualsTheModelForASpecialNumberAtEachPosition) {
    Random random(5);
    for (unsigned count : {2u, 3u, 4u, 5u, 7u, 8u, 9u, 16u, 17u, 33u})
        for (unsigned position = 0; position < 3 * count; ++position)
            for (double value : {notANumber, infinity, -infinity, 0.0, -0.0, 50.0, -50.0, largest, -largest}) {
                std::vector<double> xyz;
                for (unsigned i = 0; i < 3 * count; ++i)
                    xyz.push_back(random.realWithin(10));
                xyz[position] = value;
                expectModel(xyz);
                ASSERT_FALSE(HasFailure()) << "count " << count << ", position " << position << ", value " << value;
            }
}

TEST(SpatialHash, EqualsTheModelForZerosOfBothSigns) {
    Random random(6);
    for (unsigned count = 1; count <= 40; ++count)
        for (int round = 0; round < 20; ++round) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * count; ++i)
                xyz.push_back(random.oneIn(2) ? 0.0 : -0.0);
            expectModel(xyz);
            ASSERT_FALSE(HasFailure()) << count;
        }
}

TEST(SpatialHash, EqualsTheModelForLargeClouds) {
    Random random(8);
    for (unsigned count : {1000u, 1023u, 1024u, 1025u, 4099u, 65537u, 300001u}) {
        std::vector<double> finite;
        std::vector<double> withNaN;
        std::vector<double> grid;
        for (unsigned i = 0; i < 3 * count; ++i) {
            finite.push_back(random.realWithin(5000));
            withNaN.push_back(random.oneIn(1000) ? notANumber : random.realWithin(1e150));
            grid.push_back(static_cast<double>(random.below(20)) * 0.1);
        }
        expectModel(finite);
        expectModel(withNaN);
        expectModel(grid);
    }
}

TEST(SpatialHash, DependsOnEveryVertexExceptTheLast) {
    Random random(9);
    for (unsigned count : {3u, 10u, 100u}) {
        std::vector<double> xyz;
        for (unsigned i = 0; i < 3 * count; ++i)
            xyz.push_back(random.realWithin(1));
        const Hash before = hashOf(xyz);
        for (unsigned i = 0; i < count; ++i) {
            std::vector<double> changed = xyz;
            changed[3 * i] = 1000;
            EXPECT_EQ(hashOf(changed) == before, i + 1 == count) << i;
        }
    }
}
