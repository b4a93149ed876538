#include <Velmor/Identity.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace Velmor;

namespace {

using Hash = std::array<double, 11>;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double smallest = std::numeric_limits<double>::denorm_min();
constexpr double largest = std::numeric_limits<double>::max();

/// The hash of vertices in a block that ends with them, so that the sanitizer sees a read beyond.
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

/// Same bits, where any NaN is as good as another: which of two NaNs a sum keeps is the processor's choice.
bool same(double a, double b) {
    return std::isnan(a) ? std::isnan(b) : std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void expectSame(const Hash& actual, const Hash& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_TRUE(same(actual[i], expected[i]))
            << "number " << i << ": " << std::hexfloat << actual[i] << " instead of " << expected[i] << std::defaultfloat;
}

/// The definition, one axis and one vertex at a time.
Hash plainHash(unsigned count, const double* xyz) {
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

void expectPlain(const std::vector<double>& xyz) {
    expectSame(hashOf(xyz), plainHash(static_cast<unsigned>(xyz.size() / 3), xyz.data()));
}

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    std::uint64_t below(std::uint64_t limit) { return engine_() % limit; }

    /// Uniform in [-scale, scale).
    double number(double scale) { return (static_cast<double>(engine_() >> 11) * 0x1p-53 * 2 - 1) * scale; }

    /// Mostly a number of some scale, now and then one that is hard to compare or to sum.
    double odd() {
        static const double odds[] = {notANumber, -notANumber, infinity, -infinity, 0.0,     -0.0,     smallest,
                                      -smallest,  0x1p-1030,   largest,  -largest,  1.6e308, -1.6e308, 1e200};
        static const double scales[] = {1, 1e-3, 1e4, 1e-160, 1e154, 1e300};
        return below(5) == 0 ? odds[below(14)] : number(scales[below(6)]);
    }

private:
    std::mt19937_64 engine_;
};

const std::vector<double> unitCube = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1};

constexpr double halfDiagonal = 0x1.bb67ae8584caap-1; // sqrt(0.75)

} // namespace

TEST(SpatialHash, OneVertexIsTheCentre) {
    expectSame(hashOf(1, {1.5, -2.25, 1e10}), {1.5, -2.25, 1e10});
}

TEST(SpatialHash, NoVertexBehavesAsOne) {
    expectSame(hashOf(0, {1.5, -2.25, 1e10}), {1.5, -2.25, 1e10});
}

TEST(SpatialHash, TheSecondOfTwoVerticesNeverCounts) {
    for (double other : {0.0, 7.0, -1e300, infinity, notANumber})
        expectSame(hashOf(2, {1.5, -2.25, 1e10, other, other, other}), {1.5, -2.25, 1e10});
}

TEST(SpatialHash, ClosedUnitCubeHasEightEqualRadii) {
    std::vector<double> closed = unitCube;
    closed.insert(closed.end(), {0, 0, 0});
    Hash expected;
    expected.fill(halfDiagonal);
    expected[0] = expected[1] = expected[2] = 0.5;
    expectSame(hashOf(closed), expected);
}

TEST(SpatialHash, TheLastVertexOfAnOpenUnitCubeIsMissing) {
    expectSame(hashOf(unitCube), {0.5, 0.5, 0.5, halfDiagonal, halfDiagonal, halfDiagonal, halfDiagonal, halfDiagonal,
                                  halfDiagonal, halfDiagonal, 0});
}

TEST(SpatialHash, EqualVerticesHaveNoRadius) {
    std::vector<double> vertices;
    for (int i = 0; i < 10; ++i)
        vertices.insert(vertices.end(), {0.1, -0.2, 1e-310});
    expectSame(hashOf(vertices), {0.1, -0.2, 1e-310});
}

TEST(SpatialHash, OctantsFollowTheSignsOfTheThreeAxes) {
    // Vertices (+-2, +-3, +-6): two opposite ones hold the box around the centre 0, each at distance 7 and alone in its
    // octant.
    for (unsigned octant = 0; octant < 8; ++octant) {
        const double x = octant & 1 ? 2 : -2;
        const double y = octant & 2 ? 3 : -3;
        const double z = octant & 4 ? 6 : -6;
        Hash expected{};
        expected[3 + octant] = 7; // 4 + 9 + 36 = 49
        expected[3 + (7 - octant)] = 7;
        expectSame(hashOf({x, y, z, -x, -y, -z, 100, 100, 100}), expected);
    }
}

TEST(SpatialHash, ACoordinateAtTheCentreCountsAsNotPositive) {
    // The box is [-4, 4] on each axis; the vertex (0, 3, 0) lies in octant 2, (0, 0, 0) in octant 0.
    expectSame(hashOf({-4, -4, -4, 4, 4, 4, 0, 3, 0, 0, 0, 0, 9, 9, 9}),
               {0, 0, 0, 0x1.bb67ae8584caap+2, 0, 3, 0, 0, 0, 0, 0x1.bb67ae8584caap+2});
}

TEST(SpatialHash, TheFarthestVertexOfAnOctantCounts) {
    expectSame(hashOf({-4, -4, -4, 4, 4, 4, 1, 1, 1, 3, 3, 3, 2, 2, 2, 9, 9, 9}),
               {0, 0, 0, 0x1.bb67ae8584caap+2, 0, 0, 0, 0, 0, 0, 0x1.bb67ae8584caap+2});
    // In any order of coming.
    expectSame(hashOf({3, 3, 3, 2, 2, 2, 4, 4, 4, 1, 1, 1, -4, -4, -4, 9, 9, 9}),
               {0, 0, 0, 0x1.bb67ae8584caap+2, 0, 0, 0, 0, 0, 0, 0x1.bb67ae8584caap+2});
}

TEST(SpatialHash, SquaresAreSummedInTheirOrder) {
    // Each of these differs in its last bit from every other order of the sum, and from some way to fuse the products.
    // Worked out with Python's fractions: each operation exact, then rounded to the nearest double; roots by math.isqrt of
    // 2^800 times the number.
    const struct {
        double x, y, z, radius;
    } cases[] = {
        {0x1.3b7dc449b3470p+0, 0x1.fab69c346b571p-1, 0x1.0c8b454e22e02p+0, 0x1.e5a24409b7cf1p+0},
        {0x1.a3c06d4cb6e73p-1, 0x1.230afc4d27ab7p+1, 0x1.c93850c451310p-4, 0x1.35b682055fd11p+1},
        {0x1.63275f3c76ce9p+1, 0x1.364486d100c91p+1, 0x1.f60d68b87cb52p-2, 0x1.dbc027a8b2c85p+1},
        {0x1.3a32883448926p+1, 0x1.57ba5c5517726p+1, 0x1.03ba5dbcf8f0bp+0, 0x1.e375c2e0574ebp+1},
    };
    for (const auto& c : cases)
        expectSame(hashOf({c.x, c.y, c.z, -c.x, -c.y, -c.z, 0, 0, 0}), {0, 0, 0, c.radius, 0, 0, 0, 0, 0, 0, c.radius});
}

TEST(SpatialHash, TheCentreIsHalfTheSumOfTheBounds) {
    // The sum overflows where half the difference would not; everything is infinitely far on the non-positive side.
    expectSame(hashOf({1.6e308, 0, 0, 1.5e308, 0, 0, 0, 0, 0}), {infinity, 0, 0, infinity});
    // (0.1 + 0.7) x 0.5, rounded after the sum.
    expectSame(hashOf({0.1, 0, 0, 0.7, 0, 0, 0, 0, 0}),
               {0x1.9999999999999p-2, 0, 0, 0x1.3333333333332p-2, 0x1.3333333333333p-2});
}

TEST(SpatialHash, NaNNeverBecomesABoundButMayBeOneFromTheStart) {
    // Vertex 1 has a NaN: its other coordinates widen the box, its distance counts nowhere.
    expectSame(hashOf({-1, -1, -1, notANumber, 5, 1, 1, 1, 1, 0, 0, 0}),
               {0, 2, 0, 0x1.a887293fd6f34p+1, 0, 0, 0, 0, 0x1.bb67ae8584caap+0});
    // A first vertex of NaNs stays both bounds of its axes.
    expectSame(hashOf({notANumber, 0, 0, 1, 2, 0, 1, -2, 0, 9, 9, 9}), {notANumber, 0, 0});
}

TEST(SpatialHash, InfinitiesAreBounds) {
    expectSame(hashOf({0, 0, 0, infinity, 0, 0, 9, 9, 9}), {infinity, 0, 0, infinity});
    expectSame(hashOf({-infinity, 0, 0, 0, 0, 0, 9, 9, 9}), {-infinity, 0, 0, 0, infinity});
    expectSame(hashOf({-infinity, 0, 0, infinity, 1, 0, 9, 9, 9}), {notANumber, 0.5, 0});
}

TEST(SpatialHash, DistancesMayOverflowOrVanish) {
    expectSame(hashOf({-1e200, 0, 0, 1e200, 0, 0, 9, 9, 9}), {0, 0, 0, infinity, infinity});
    // The squares of tiny distances are 0, and so are the radii.
    expectSame(hashOf({-1e-170, 0, 0, 1e-170, 0, 0, 9, 9, 9}), {0, 0, 0});
    // 2^-530 squared is 2^-1060, denormal.
    expectSame(hashOf({-0x1p-530, 0, 0, 0x1p-530, 0, 0, 9, 9, 9}), {0, 0, 0, 0x1p-530, 0x1p-530});
}

TEST(SpatialHash, ZerosKeepTheSignOfTheFirst) {
    expectSame(hashOf({-0.0, 0.0, -0.0, 0.0, -0.0, -0.0, 1, 1, 1}), {-0.0, 0.0, -0.0});
    expectSame(hashOf(1, {-0.0, 0.0, -0.0}), {-0.0, 0.0, -0.0});
    std::vector<double> zeros = {-0.0, -0.0, -0.0};
    for (int i = 0; i < 40; ++i) {
        zeros.insert(zeros.end(), {0.0, 0.0, 0.0});
        expectSame(hashOf(zeros), {-0.0, -0.0, -0.0});
    }
}

TEST(SpatialHash, MatchesThePlainModelForAllSmallCounts) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        for (unsigned count = 0; count <= 100; ++count) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * std::max(count, 1u); ++i)
                xyz.push_back(random.number(100));
            expectSame(hashOf(count, xyz), plainHash(count, xyz.data()));
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(SpatialHash, MatchesThePlainModelForOddNumbers) {
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        for (unsigned count = 0; count <= 100; ++count) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * std::max(count, 1u); ++i)
                xyz.push_back(random.odd());
            expectSame(hashOf(count, xyz), plainHash(count, xyz.data()));
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(SpatialHash, MatchesThePlainModelWithOneOddNumberAtEachPlace) {
    Random random(5);
    for (unsigned count : {2u, 3u, 4u, 5u, 7u, 8u, 9u, 16u, 17u, 33u})
        for (unsigned place = 0; place < 3 * count; ++place)
            for (double value : {notANumber, infinity, -infinity, 0.0, -0.0, 50.0, -50.0, largest, -largest}) {
                std::vector<double> xyz;
                for (unsigned i = 0; i < 3 * count; ++i)
                    xyz.push_back(random.number(10));
                xyz[place] = value;
                expectPlain(xyz);
                ASSERT_FALSE(HasFailure()) << "count " << count << ", place " << place << ", value " << value;
            }
}

TEST(SpatialHash, MatchesThePlainModelForZerosOfEitherSign) {
    Random random(6);
    for (unsigned count = 1; count <= 40; ++count)
        for (int round = 0; round < 20; ++round) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * count; ++i)
                xyz.push_back(random.below(2) ? 0.0 : -0.0);
            expectPlain(xyz);
            ASSERT_FALSE(HasFailure()) << count;
        }
}

TEST(SpatialHash, MatchesThePlainModelForLargeClouds) {
    Random random(8);
    for (unsigned count : {1000u, 1023u, 1024u, 1025u, 4099u, 65537u, 300001u}) {
        std::vector<double> plain;
        std::vector<double> odd;
        std::vector<double> grid;
        for (unsigned i = 0; i < 3 * count; ++i) {
            plain.push_back(random.number(5000));
            odd.push_back(random.below(1000) == 0 ? notANumber : random.number(1e150));
            grid.push_back(static_cast<double>(random.below(20)) * 0.1);
        }
        expectPlain(plain);
        expectPlain(odd);
        expectPlain(grid);
    }
}

TEST(SpatialHash, DependsOnEveryVertexButTheLast) {
    Random random(9);
    for (unsigned count : {3u, 10u, 100u}) {
        std::vector<double> xyz;
        for (unsigned i = 0; i < 3 * count; ++i)
            xyz.push_back(random.number(1));
        const Hash before = hashOf(xyz);
        for (unsigned i = 0; i < count; ++i) {
            std::vector<double> changed = xyz;
            changed[3 * i] = 1000;
            EXPECT_EQ(hashOf(changed) == before, i + 1 == count) << i;
        }
    }
}
