#include <Velmor/Text.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <type_traits>

namespace {

using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::Random;

static_assert(sizeof(StringOperations::CharSet_e) == 4);
static_assert(std::is_empty_v<StringOperations>);
static_assert(std::is_copy_assignable_v<StringOperations> && std::is_move_assignable_v<StringOperations>);

WideString wide(const std::string& text) {
    return WideString(text.begin(), text.end());
}

TEST(AsWString, FormatsTheNumberAsSigned) {
    const auto expectText = [](unsigned value, const char* text) {
        EXPECT_EQ(StringOperations::AsWString(value), wide(text)) << value;
    };
    expectText(0, "0");
    expectText(1, "1");
    expectText(9, "9");
    expectText(10, "10");
    expectText(2147483647, "2147483647");
    expectText(2147483648, "-2147483648");
    expectText(2147483649, "-2147483647");
    expectText(4294967294, "-2");
    expectText(4294967295, "-1");
}

TEST(IntFromWString, ParsesTheNumberAtTheBeginning) {
    const auto expectNumber = [](const std::string& text, int number) {
        EXPECT_EQ(StringOperations::IntFromWString(wide(text)), number) << text;
    };
    expectNumber("", 0);
    expectNumber("0", 0);
    expectNumber("42", 42);
    expectNumber(" 42abc", 42);
    expectNumber("abc", 0);
    expectNumber("-42", -42);
    expectNumber("+42", 42);
    expectNumber(" \t\n\v\f\r42", 42);
    expectNumber("   -7   8", -7);
    expectNumber("   ", 0);
    expectNumber("-", 0);
    expectNumber("+", 0);
    expectNumber("- 42", 0);
    expectNumber("--42", 0);
    expectNumber("+-42", 0);
    expectNumber("-+42", 0);
    expectNumber("0x10", 0);
    expectNumber("010", 10);
    expectNumber("42.9", 42);
    expectNumber("4e3", 4);
    expectNumber("4,2", 4);
    expectNumber("a42", 0);
    expectNumber("-0", 0);
    for (const char filler : {'0', ' '}) {
        std::string longText(10000, filler);
        longText += '7';
        expectNumber(longText, 7);
    }
    expectNumber(std::string("1\0002", 3), 1); // a zero unit ends the number
    expectNumber(std::string("\000"
                             "2",
                             2),
                 0);
}

TEST(IntFromWString, IsLimitedToTheRangeOfInt) {
    const auto expectNumber = [](const std::string& text, int number) {
        EXPECT_EQ(StringOperations::IntFromWString(wide(text)), number) << text;
    };
    expectNumber("2147483646", 2147483646);
    expectNumber("2147483647", INT_MAX);
    expectNumber("2147483648", INT_MAX);
    expectNumber("2147483650", INT_MAX);
    expectNumber("4294967295", INT_MAX);
    expectNumber("4294967296", INT_MAX);
    expectNumber("21474836470", INT_MAX);
    expectNumber("9223372036854775808", INT_MAX);
    expectNumber("18446744073709551617", INT_MAX);
    expectNumber("-2147483647", -2147483647);
    expectNumber("-2147483648", INT_MIN);
    expectNumber("-2147483649", INT_MIN);
    expectNumber("-4294967297", INT_MIN);
    expectNumber("-9223372036854775809", INT_MIN);
    expectNumber(std::string(10000, '9'), INT_MAX);
    expectNumber("-" + std::string(10000, '9'), INT_MIN);
}

TEST(IntFromWString, AcceptsSpacesAndDigitsOfOtherScripts) {
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("\uFF14\uFF12")), 42); // full-width
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("\u0664\u0662")), 42); // Arabic-Indic
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("-\u09EA2")), -42);    // Bengali, then ASCII
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("\u3000\u00A0\u200342")), 42);
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("\u20075")), 5);
    EXPECT_EQ(StringOperations::IntFromWString(WideString{WideChar{0x85}, WideChar{'5'}}), 0);
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("\uFEFF5")), 0);
    EXPECT_EQ(StringOperations::IntFromWString(VELMOR_WIDE("\u00B2")), 0); // a superscript is not a digit
}

// The expected value is the FNV-1a hash of the results of _wtoi on Windows, for each character alone, before a digit,
// between digits, and before a sign.
TEST(IntFromWString, TreatsEveryCharacterAsWindowsDoes) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (unsigned unit = 1; unit < 65536; ++unit) {
        const auto character = static_cast<WideChar>(unit);
        for (const WideString& text : {WideString{character}, WideString{character, WideChar{'5'}},
                                       WideString{WideChar{'1'}, character, WideChar{'2'}},
                                       WideString{WideChar{' '}, character, WideChar{'-'}, WideChar{'7'}}}) {
            const auto number = static_cast<unsigned>(StringOperations::IntFromWString(text));
            hash = (hash ^ (number & 0xFF)) * 0x100000001B3u;
            hash = (hash ^ (number >> 8 & 0xFF)) * 0x100000001B3u;
        }
    }
    EXPECT_EQ(hash, 0x9A9FB5C968C168EBu);
}

TEST(IntFromWString, DoesNotTruncateCharacters) {
    for (const unsigned base : {0x100u, 0x2000u, 0xFE00u})
        EXPECT_EQ(StringOperations::IntFromWString(WideString(1, static_cast<WideChar>(base + '7'))), 0) << base;
}

TEST(Numbers, RoundTripThroughText) {
    Random random;
    for (int i = 0; i < 20000; ++i) {
        const unsigned value = static_cast<unsigned>(random.bits()) >> random.below(32u);
        const int number = static_cast<int>(value);
        const WideString text = StringOperations::AsWString(value);
        ASSERT_EQ(text, wide(std::to_string(number)));
        ASSERT_EQ(StringOperations::IntFromWString(text), number);
    }
}

} // namespace
