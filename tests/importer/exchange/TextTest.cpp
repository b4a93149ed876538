#include "importer/exchange/Text.h"

#include <Velmor/Velmor.h>

#include <gtest/gtest.h>

namespace velmor_tests {

using namespace importer::exchange;

namespace {

TEST(Printable, ReplacesControlCharactersOnly) {
    EXPECT_EQ(printable("T\xC3\xBCr 1"), "T\xC3\xBCr 1");
    EXPECT_EQ(printable("a\x1B[31m\r\n\tb\x7F"), "a?[31m???b?");
    EXPECT_EQ(printable("\xC2\x9B"
                        "1m \xC2\xA0"),
              "?1m \xC2\xA0"); // U+009B starts a terminal command, U+00A0 is a space
    EXPECT_EQ(printable(std::string("\0", 1)), "?");
}

TEST(Printable, JoinsSurrogatesThatTheLibraryEncodesSeparately) {
    const Velmor::WideString hammer = {0xD83D, 0xDD28}; // U+1F528
    EXPECT_EQ(printable(Velmor::StringOperations::ConvertToUTF8(hammer)), "\xF0\x9F\x94\xA8");
    const Velmor::WideString half = {0xD83D, 'x'};
    EXPECT_EQ(printable(Velmor::StringOperations::ConvertToUTF8(half)), "?x");
    const Velmor::WideString wrongOrder = {0xDD28, 0xD83D};
    EXPECT_EQ(printable(Velmor::StringOperations::ConvertToUTF8(wrongOrder)), "??");
    const Velmor::WideString neighbors = {0xD7FF, 0xE000};
    EXPECT_EQ(printable(Velmor::StringOperations::ConvertToUTF8(neighbors)), "\xED\x9F\xBF\xEE\x80\x80");
}

TEST(Printable, ReplacesMarksOfDirection) {
    const auto isReplaced = [](unsigned mark) {
        const Velmor::WideString text = {static_cast<Velmor::WideChar>(mark)};
        return printable(Velmor::StringOperations::ConvertToUTF8(text)) == "?";
    };
    for (unsigned mark = 0x2000; mark <= 0x2070; ++mark) {
        const bool expected =
            mark == 0x200E || mark == 0x200F || (mark >= 0x202A && mark <= 0x202E) || (mark >= 0x2066 && mark <= 0x2069);
        EXPECT_EQ(isReplaced(mark), expected) << std::hex << mark;
    }
}

TEST(Printable, ReadsOnlyTheText) {
    const std::string cut = "\xED\xA0\xBD\xED\xB4";
    EXPECT_EQ(printable(cut), "?\xED\xB4");
    EXPECT_EQ(printable("\xE2\x80"), "\xE2\x80");
    EXPECT_EQ(printable("\xC2"), "\xC2");
}

TEST(Shortened, CutsBetweenCharacters) {
    EXPECT_EQ(shortened("abc", 3), "abc");
    EXPECT_EQ(shortened("abcd", 3), "abc...");
    EXPECT_EQ(shortened("ab\xC3\xBC", 3), "ab...");
    EXPECT_EQ(shortened("\x80\x80", 1), "...");
}

} // namespace
} // namespace velmor_tests
