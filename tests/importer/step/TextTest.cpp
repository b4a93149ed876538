#include "importer/step/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace velmor_tests {

using namespace importer::step;

namespace {

using Velmor::WideString;

/// Code units in hexadecimal, for readable messages.
std::string hex(const WideString& text) {
    static const char digits[] = "0123456789ABCDEF";
    std::string result;
    for (const Velmor::WideChar c : text) {
        const auto unit = static_cast<unsigned>(c);
        for (int shift = 12; shift >= 0; shift -= 4)
            result += digits[unit >> shift & 15];
        result += ' ';
    }
    return result;
}

TEST(StepText, KeepsPlainText) {
    EXPECT_EQ(decodeText(""), WideString());
    EXPECT_EQ(decodeText("Wand-Ext 1 (a;b)"), VELMOR_WIDE("Wand-Ext 1 (a;b)"));
}

TEST(StepText, DecodesEveryDirective) {
    const struct {
        const char* encoded;
        const char* expected;
    } cases[] = {
        {"it''s", "0069 0074 0027 0073 "},
        {"a\\\\b", "0061 005C 0062 "},
        {"\\X\\E4", "00E4 "},
        {"\\X\\e4x", "00E4 0078 "},
        {"\\X2\\00E400F6\\X0\\!", "00E4 00F6 0021 "},
        {"\\X2\\\\X0\\", ""},
        {"\\X2\\D83DDE00\\X0\\", "D83D DE00 "},
        {"\\X4\\0001F600000000E4\\X0\\", "D83D DE00 00E4 "},
        {"\\S\\d", "00E4 "},
        {"\\S\\'", "00A7 "},
        {"\\S\\''x", "00A7 0078 "},
        {"\\PB\\\\S\\!", "0104 "},
        {"\\PE\\\\S\\0\\PA\\\\S\\d", "0410 00E4 "},
        {"\\PI\\\\S\\p", "011F "},
        {"a\\N\\b\\F\\c", "0061 0062 0063 "},
        {"a\r\nb", "0061 0062 "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hex(decodeText(c.encoded)), c.expected) << c.encoded;
}

TEST(StepText, KeepsInvalidDirectivesAsText) {
    for (const char* text :
         {"\\", "\\X", "\\X\\", "\\X\\1", "\\X\\GG", "\\X2\\00E", "\\X2\\00E4", "\\X2\\00E4\\X", "\\X4\\0001F60\\X0\\",
          "\\X4\\00110000\\X0\\", "\\X4\\FFFFFFFF\\X0\\", "\\S\\", "\\PJ\\", "\\P", "\\PA", "\\Q\\", "\\x\\E4"}) {
        const std::string given = text;
        EXPECT_EQ(decodeText(given), WideString(given.begin(), given.end())) << text;
    }
}

TEST(StepText, DecodesBytesAboveAsciiAsUtf8OrLatin1) {
    EXPECT_EQ(hex(decodeText("\xC3\xA4")), "00E4 ");
    EXPECT_EQ(hex(decodeText("\xE2\x82\xAC")), "20AC ");
    EXPECT_EQ(hex(decodeText("\xF0\x9F\x98\x80")), "D83D DE00 ");
    EXPECT_EQ(hex(decodeText("\xE4x")), "00E4 0078 ") << "ISO 8859-1";
    EXPECT_EQ(hex(decodeText("\xC3")), "00C3 ") << "cut off";
    EXPECT_EQ(hex(decodeText("\xC0\x80")), "00C0 0080 ") << "overlong";
    EXPECT_EQ(hex(decodeText("\xED\xA0\x80")), "00ED 00A0 0080 ") << "a surrogate";
    EXPECT_EQ(hex(decodeText("\xF4\x90\x80\x80")), "00F4 0090 0080 0080 ") << "above U+10FFFF";
}

} // namespace
} // namespace velmor_tests
