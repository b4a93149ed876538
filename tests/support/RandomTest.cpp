#include "support/Random.h"

#include "support/Setting.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace {

using velmor_tests::Random;
using velmor_tests::VariableSetting;

TEST(Random, SeedDeterminesTheData) {
    Random first(7);
    Random second(7);
    Random other(8);
    EXPECT_EQ(first.bits(), 0xC11F6531EB66D9A7u);
    EXPECT_EQ(second.bits(), 0xC11F6531EB66D9A7u);
    EXPECT_NE(other.bits(), 0xC11F6531EB66D9A7u);
    EXPECT_EQ(first.bytes(20), second.bytes(20));
    EXPECT_EQ(first.text(20), second.text(20));
    EXPECT_EQ(first.seed(), 7u);
}

TEST(Random, VariableSetsTheSeedOfTheRun) {
    const VariableSetting setting("VELMOR_SEED", "18446744073709551615");
    Random random;
    EXPECT_EQ(random.seed(), 18446744073709551615u);
    EXPECT_EQ(random.bits(), Random(18446744073709551615u).bits());
}

TEST(Random, SeedOfTheRunVaries) {
    const VariableSetting setting("VELMOR_SEED", std::nullopt);
    std::set<std::uint64_t> seeds;
    for (int i = 0; i < 10; ++i)
        seeds.insert(Random().seed());
    EXPECT_GT(seeds.size(), 1u);
}

TEST(Random, FailurePrintsTheSeed) {
    EXPECT_NONFATAL_FAILURE(
        {
            const Random random(4711);
            ADD_FAILURE();
        },
        "seed 4711");
    const VariableSetting setting("VELMOR_SEED", "42");
    EXPECT_NONFATAL_FAILURE(
        {
            const Random random;
            ADD_FAILURE();
        },
        "VELMOR_SEED=42");
}

TEST(Random, NumbersStayInTheirRanges) {
    Random random;
    std::set<int> below;
    std::set<unsigned> upTo;
    for (int i = 0; i < 2000; ++i) {
        below.insert(random.below(3));
        upTo.insert(random.upTo(3u));
        const double real = random.real(-2, 5);
        EXPECT_TRUE(real >= -2 && real < 5) << real;
        const double within = random.realWithin(4);
        EXPECT_TRUE(within >= -4 && within < 4) << within;
    }
    EXPECT_EQ(below, (std::set<int>{0, 1, 2}));
    EXPECT_EQ(upTo, (std::set<unsigned>{0, 1, 2, 3}));
    EXPECT_TRUE(random.oneIn(1));
}

TEST(Random, IsASourceForTheStandardLibrary) {
    static_assert(std::uniform_random_bit_generator<Random>);
    Random random(1);
    std::vector<int> values{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const std::vector<int> before = values;
    std::shuffle(values.begin(), values.end(), random);
    EXPECT_NE(values, before);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, before);
}

} // namespace
