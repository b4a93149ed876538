#include "version/Power.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ios>
#include <limits>
#include <random>

namespace {

using Velmor::power;

// high * 2^32 + low as a double, rounded to the nearest and ties to even. `high` has 54 digits at least.
double roundedOnce(std::uint64_t high, std::uint32_t low) {
    const int surplus = static_cast<int>(std::bit_width(high)) - 53;
    std::uint64_t kept = high >> surplus;
    const std::uint64_t dropped = high - (kept << surplus);
    const std::uint64_t half = std::uint64_t{1} << (surplus - 1);
    if (dropped > half || (dropped == half && (low > 0 || (kept & 1) != 0)))
        ++kept;
    return std::ldexp(static_cast<double>(kept), 32 + surplus);
}

TEST(Power, CubeIsRoundedOnce) {
    const std::uint32_t seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::uint32_t> bases(1u << 30, 0xFFFFFFFFu);
    int multiplicationFails = 0;
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t base = bases(random);
        const std::uint64_t square = base * base;
        const std::uint64_t lowProduct = (square & 0xFFFFFFFFu) * base;
        const std::uint64_t high = (square >> 32) * base + (lowProduct >> 32);
        const double exact = roundedOnce(high, static_cast<std::uint32_t>(lowProduct));
        const double number = static_cast<double>(base);
        ASSERT_EQ(power(number, 3), exact) << base;
        ASSERT_EQ(power(std::ldexp(number, -32), 3), std::ldexp(exact, -96)) << base;
        multiplicationFails += number * number * number != exact ? 1 : 0;
    }
    EXPECT_GT(multiplicationFails, 0) << "these numbers tell rounding once from rounding twice";
}

// The square of the square: exact as long as the square fits, as the plain product of the two then is rounded once.
TEST(Power, FourthPowerIsRoundedOnce) {
    const std::uint32_t seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::uint32_t> bases(1u << 24, (1u << 26) - 1);
    int multiplicationFails = 0;
    for (int i = 0; i < 200000; ++i) {
        const double number = static_cast<double>(bases(random));
        const double square = number * number;
        ASSERT_EQ(power(number, 4), square * square) << number;
        multiplicationFails += number * number * number * number != square * square ? 1 : 0;
    }
    EXPECT_GT(multiplicationFails, 0) << "these numbers tell rounding once from rounding twice";
}

// Positive doubles lie in the order of their bits.
std::int64_t placesApart(double a, double b) {
    return std::abs(std::bit_cast<std::int64_t>(a) - std::bit_cast<std::int64_t>(b));
}

TEST(Power, OfAnyDoubleIsAtMostOnePlaceFromTheSystems) {
    const std::uint32_t seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> bases(0.01, 1.0);
    for (int i = 0; i < 200000; ++i) {
        const double base = bases(random);
        for (const int exponent : {3, 4})
            ASSERT_LE(placesApart(power(base, exponent), std::pow(base, exponent)), 1) << std::hexfloat << base;
    }
}

TEST(Power, SpecialNumbersStaySpecial) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const int exponent : {3, 4}) {
        EXPECT_EQ(power(0.0, exponent), 0.0);
        EXPECT_EQ(power(1.0, exponent), 1.0);
        EXPECT_EQ(power(infinity, exponent), infinity);
        EXPECT_EQ(power(1e150, exponent), infinity);
        EXPECT_EQ(power(1e-150, exponent), 0.0);
        EXPECT_TRUE(std::isnan(power(std::numeric_limits<double>::quiet_NaN(), exponent)));
    }
}

} // namespace
