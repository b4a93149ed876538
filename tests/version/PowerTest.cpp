#include "version/Power.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <limits>
#include <random>
#include <vector>

namespace {

using Velmor::version::power;
using velmor_tests::Random;

// high * 2^32 + low as a double, rounded to nearest, ties to even. `high` has at least 54 bits.
double roundedOnce(std::uint64_t high, std::uint32_t low) {
    const int surplus = static_cast<int>(std::bit_width(high)) - 53;
    std::uint64_t significand = high >> surplus;
    const std::uint64_t dropped = high - (significand << surplus);
    const std::uint64_t half = std::uint64_t{1} << (surplus - 1);
    if (dropped > half || (dropped == half && (low > 0 || (significand & 1) != 0)))
        ++significand;
    return std::ldexp(static_cast<double>(significand), 32 + surplus);
}

TEST(Power, CubeIsRoundedOnce) {
    Random random;
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
    EXPECT_GT(multiplicationFails, 0) << "repeated multiplication rounds twice";
}

// The square of the square. These squares are exact, so their product is rounded once.
TEST(Power, FourthPowerIsRoundedOnce) {
    Random random;
    std::uniform_int_distribution<std::uint32_t> bases(1u << 24, (1u << 26) - 1);
    int multiplicationFails = 0;
    for (int i = 0; i < 200000; ++i) {
        const double number = static_cast<double>(bases(random));
        const double square = number * number;
        ASSERT_EQ(power(number, 4), square * square) << number;
        multiplicationFails += number * number * number * number != square * square ? 1 : 0;
    }
    EXPECT_GT(multiplicationFails, 0) << "repeated multiplication rounds twice";
}

// Digits of base 2^32, lowest first.
using Digits = std::vector<std::uint32_t>;

Digits product(const Digits& a, const Digits& b) {
    Digits result(a.size() + b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::uint64_t sum = std::uint64_t{a[i]} * b[j] + result[i + j] + carry;
            result[i + j] = static_cast<std::uint32_t>(sum);
            carry = sum >> 32;
        }
        result[i + b.size()] = static_cast<std::uint32_t>(carry);
    }
    return result;
}

// The double nearest to a power, computed with integers.
double nearestPower(double base, int exponent) {
    int scale = 0;
    const auto significand = static_cast<std::uint64_t>(std::ldexp(std::frexp(base, &scale), 53));
    const Digits digits = {static_cast<std::uint32_t>(significand), static_cast<std::uint32_t>(significand >> 32)};
    Digits exact = digits;
    for (int i = 1; i < exponent; ++i)
        exact = product(exact, digits);
    std::uint64_t high = 0; // the 64 leading bits
    bool more = false;      // whether any lower bit is set
    int dropped = 0;
    for (std::size_t bit = exact.size() * 32; bit-- > 0;) {
        const bool set = (exact[bit / 32] >> (bit % 32) & 1) != 0;
        if (high >> 63 != 0) {
            more = more || set;
            ++dropped;
        } else {
            high = high << 1 | (set ? 1 : 0);
        }
    }
    return std::ldexp(roundedOnce(high, more ? 1 : 0), dropped - 32 + exponent * (scale - 53));
}

// Not compared with std::pow, which on Windows is wrong by two units in the last place for some bases.
TEST(Power, IsTheNearestDouble) {
    Random random;
    std::uniform_real_distribution<double> bases(0.01, 1.0);
    for (int i = 0; i < 200000; ++i) {
        const double base = bases(random);
        for (const int exponent : {3, 4})
            ASSERT_EQ(power(base, exponent), nearestPower(base, exponent)) << std::hexfloat << base;
    }
}

TEST(Power, OfSpecialValues) {
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
