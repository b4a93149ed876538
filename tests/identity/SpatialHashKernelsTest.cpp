#include "identity/SpatialHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace Velmor;

// The two ways to compute a spatial hash, on the same vertices.

namespace {

using Hash = std::array<double, spatialHashDimension>;

void expectEqualKernels(unsigned count, const std::vector<double>& xyz) {
    Hash plain;
    Hash fast;
    plain.fill(-1);
    fast.fill(-2);
    computeSpatialHashPlain(count, xyz.data(), plain.data());
    computeSpatialHash(count, xyz.data(), fast.data());
    for (std::size_t i = 0; i < plain.size(); ++i)
        ASSERT_TRUE(std::isnan(plain[i]) ? std::isnan(fast[i])
                                         : std::bit_cast<std::uint64_t>(plain[i]) == std::bit_cast<std::uint64_t>(fast[i]))
            << "count " << count << ", number " << i << ": " << plain[i] << " and " << fast[i];
}

} // namespace

TEST(SpatialHashKernels, GiveTheKnownHashOfAClosedCube) {
    const std::vector<double> cube = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1, 0, 0, 0};
    Hash expected;
    expected.fill(0x1.bb67ae8584caap-1);
    expected[0] = expected[1] = expected[2] = 0.5;
    Hash hash;
    computeSpatialHashPlain(9, cube.data(), hash.data());
    EXPECT_EQ(hash, expected);
    computeSpatialHash(9, cube.data(), hash.data());
    EXPECT_EQ(hash, expected);
}

TEST(SpatialHashKernels, AgreeOnOddNumbersForEveryCount) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    const double odds[] = {notANumber, infinity, -infinity, 0.0, -0.0, 5e-324, 1e308, -1e308, 1e-160, 1, -1, 2, 3};
    for (std::uint32_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const std::uint32_t first = seed % 5; // some without NaN, some without infinities
        for (unsigned count = 0; count <= 70; ++count) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * std::max(count, 1u); ++i)
                xyz.push_back(odds[first + random() % (13 - first)]);
            ASSERT_NO_FATAL_FAILURE(expectEqualKernels(count, xyz));
        }
    }
}

TEST(SpatialHashKernels, AgreeAtAnyAddress) {
    std::mt19937 random(7);
    std::vector<double> xyz;
    for (unsigned i = 0; i < 3000; ++i)
        xyz.push_back(static_cast<double>(random()) * 0x1p-32);
    for (unsigned shift = 0; shift < 4; ++shift) {
        Hash plain;
        Hash fast;
        computeSpatialHashPlain(900, xyz.data() + shift, plain.data());
        computeSpatialHash(900, xyz.data() + shift, fast.data());
        EXPECT_EQ(plain, fast);
    }
}
