#include <Velmor/Text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <iconv.h>
#endif

namespace {

using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;

WideChar convert(unsigned charSet, unsigned byte) {
    return StringOperations::ConvertIsoLatinToWideChar(static_cast<StringOperations::CharSet_e>(charSet),
                                                       static_cast<char>(static_cast<unsigned char>(byte)));
}

TEST(IsoLatin, HasTheCodePageNumbersOfWindows) {
    EXPECT_EQ(StringOperations::ISO_8859_1, 28591u);
    EXPECT_EQ(StringOperations::ISO_8859_2, 28592u);
    EXPECT_EQ(StringOperations::ISO_8859_3, 28593u);
    EXPECT_EQ(StringOperations::ISO_8859_4, 28594u);
    EXPECT_EQ(StringOperations::ISO_8859_5, 28595u);
    EXPECT_EQ(StringOperations::ISO_8859_6, 28596u);
    EXPECT_EQ(StringOperations::ISO_8859_7, 28597u);
    EXPECT_EQ(StringOperations::ISO_8859_8, 28598u);
    EXPECT_EQ(StringOperations::ISO_8859_9, 28599u);
}

TEST(IsoLatin, ConvertsKnownBytes) {
    EXPECT_EQ(convert(28592, 0xA1), 0x0104);
    EXPECT_EQ(convert(28597, 0xA1), 0x02BD);
    EXPECT_EQ(convert(28597, 0xA2), 0x02BC);
    EXPECT_EQ(convert(28598, 0xAF), 0x203E);
    EXPECT_EQ(convert(28593, 0xA5), 0xF7F5);
    EXPECT_EQ(convert(28593, 0xF0), 0xF7FB);
    EXPECT_EQ(convert(28594, 0xA1), 0x0104);
    EXPECT_EQ(convert(28595, 0xB0), 0x0410);
    EXPECT_EQ(convert(28595, 0xF0), 0x2116);
    EXPECT_EQ(convert(28596, 0xC7), 0x0627);
    EXPECT_EQ(convert(28597, 0xE1), 0x03B1);
    EXPECT_EQ(convert(28598, 0xE0), 0x05D0);
    EXPECT_EQ(convert(28598, 0xFD), 0xF7BF);
    EXPECT_EQ(convert(28598, 0xFE), 0xF7C0);
    EXPECT_EQ(convert(28599, 0xD0), 0x011E);
    EXPECT_EQ(convert(28599, 0xFD), 0x0131);
    EXPECT_EQ(convert(28591, 0xE9), 0x00E9);
}

TEST(IsoLatin, ConvertsTheLowerHalfAsAscii) {
    for (const unsigned charSet : {28591u, 28592u, 28593u, 28594u, 28595u, 28596u, 28597u, 28598u, 28599u, 0u, 1252u, 28590u,
                                   28600u, 65001u, 0xFFFFFFFFu})
        for (unsigned byte = 0; byte < 0x80; ++byte)
            EXPECT_EQ(convert(charSet, byte), byte) << charSet;
}

TEST(IsoLatin, ExtendsTheSignForUnknownCodePages) {
    EXPECT_EQ(convert(1252, 0xE9), 0xFFE9);
    for (const unsigned charSet :
         {0u, 1u, 1252u, 28590u, 28600u, 28603u, 28605u, 65001u, 28591u + 0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        for (unsigned byte = 0x80; byte < 0x100; ++byte)
            EXPECT_EQ(convert(charSet, byte), 0xFF00 | byte) << charSet;
}

TEST(IsoLatin, ConvertsLatin1AndTheC1RangeToTheSameNumber) {
    for (unsigned byte = 0x80; byte < 0x100; ++byte)
        EXPECT_EQ(convert(28591, byte), byte);
    for (unsigned charSet = 28592; charSet <= 28599; ++charSet)
        for (unsigned byte = 0x80; byte < 0xA0; ++byte)
            EXPECT_EQ(convert(charSet, byte), byte) << charSet;
}

/// The bytes that a code page leaves undefined, as ranges in ascending order. They map to consecutive characters of the
/// Private Use Area.
struct Undefined {
    unsigned charSet;
    unsigned firstCharacter;
    unsigned lastCharacter;
    std::vector<std::pair<unsigned, unsigned>> ranges;
};

const std::vector<Undefined>& undefinedBytes() {
    static const std::vector<Undefined> all{
        {28598, 0xF79C, 0xF7C1, {{0xA1, 0xA1}, {0xBF, 0xDE}, {0xFB, 0xFF}}},
        {28597, 0xF7C2, 0xF7C7, {{0xA4, 0xA5}, {0xAA, 0xAA}, {0xAE, 0xAE}, {0xD2, 0xD2}, {0xFF, 0xFF}}},
        {28596,
         0xF7C8,
         0xF7F4,
         {{0xA1, 0xA3}, {0xA5, 0xAB}, {0xAE, 0xBA}, {0xBC, 0xBE}, {0xC0, 0xC0}, {0xDB, 0xDF}, {0xF3, 0xFF}}},
        {28593,
         0xF7F5,
         0xF7FB,
         {{0xA5, 0xA5}, {0xAE, 0xAE}, {0xBE, 0xBE}, {0xC3, 0xC3}, {0xD0, 0xD0}, {0xE3, 0xE3}, {0xF0, 0xF0}}},
    };
    return all;
}

TEST(IsoLatin, MapsUndefinedBytesToConsecutivePrivateUseCharacters) {
    for (const Undefined& page : undefinedBytes()) {
        unsigned character = page.firstCharacter;
        for (const auto& [first, last] : page.ranges)
            for (unsigned byte = first; byte <= last; ++byte)
                EXPECT_EQ(convert(page.charSet, byte), character++) << page.charSet << ", byte " << byte;
        EXPECT_EQ(character, page.lastCharacter + 1);
    }
}

bool isUndefined(unsigned charSet, unsigned byte) {
    for (const Undefined& page : undefinedBytes())
        for (const auto& [first, last] : page.ranges)
            if (page.charSet == charSet && first <= byte && byte <= last)
                return true;
    return false;
}

TEST(IsoLatin, MapsOnlyUndefinedBytesToThePrivateUseArea) {
    for (unsigned charSet = 28592; charSet <= 28599; ++charSet)
        for (unsigned byte = 0xA0; byte < 0x100; ++byte)
            EXPECT_EQ(convert(charSet, byte) >= 0xE000 && convert(charSet, byte) < 0xF900, isUndefined(charSet, byte))
                << charSet << ", byte " << byte;
}

#if defined(_WIN32)
TEST(IsoLatin, ConvertsEveryByteAsWindowsDoes) {
    for (unsigned charSet = 28591; charSet <= 28599; ++charSet)
        for (unsigned byte = 0; byte < 256; ++byte) {
            const char source = static_cast<char>(static_cast<unsigned char>(byte));
            wchar_t expected = 0;
            ASSERT_EQ(MultiByteToWideChar(charSet, 0, &source, 1, &expected, 1), 1);
            EXPECT_EQ(convert(charSet, byte), expected) << charSet << ", byte " << byte;
        }
}
#else
TEST(IsoLatin, ConvertsDefinedBytesAsIconvDoes) {
    for (unsigned charSet = 28591; charSet <= 28599; ++charSet) {
        const iconv_t converter = iconv_open("UTF-16LE", ("ISO-8859-" + std::to_string(charSet - 28590)).c_str());
        ASSERT_NE(converter, reinterpret_cast<iconv_t>(-1));
        for (unsigned byte = 0xA0; byte < 256; ++byte) {
            // Two characters of the Greek page (edition of 1987) and one of the Hebrew page differ from the current
            // standard.
            const bool isOlder = (charSet == 28597 && (byte == 0xA1 || byte == 0xA2)) || (charSet == 28598 && byte == 0xAF);
            if (isUndefined(charSet, byte) || isOlder)
                continue;
            char source = static_cast<char>(static_cast<unsigned char>(byte));
            unsigned char units[2]{};
            char* from = &source;
            char* to = reinterpret_cast<char*>(units);
            std::size_t fromLeft = 1;
            std::size_t toLeft = 2;
            ASSERT_EQ(iconv(converter, &from, &fromLeft, &to, &toLeft), 0u) << charSet << ", byte " << byte;
            EXPECT_EQ(convert(charSet, byte), units[0] + 256 * units[1]) << charSet << ", byte " << byte;
        }
        iconv_close(converter);
    }
}
#endif

// Encoding ------------------------------------------------------------------------------------------------------------

WideString units(std::initializer_list<unsigned> values) {
    WideString result;
    for (const unsigned value : values)
        result.push_back(static_cast<WideChar>(value));
    return result;
}

TEST(TryConvertToIsoLatin1, ConvertsEveryByte) {
    WideString input;
    std::string expected;
    for (unsigned unit = 0; unit < 256; ++unit) {
        input.push_back(static_cast<WideChar>(unit));
        expected.push_back(static_cast<char>(static_cast<unsigned char>(unit)));
    }
    std::string output;
    EXPECT_TRUE(StringOperations::TryConvertToIsoLatin1(input, output));
    EXPECT_EQ(output, expected);
}

TEST(TryConvertToIsoLatin1, ReplacesTheOldOutput) {
    std::string output = "something longer";
    EXPECT_TRUE(StringOperations::TryConvertToIsoLatin1(units({'a', 0xE9}), output));
    EXPECT_EQ(output, "a\xE9");
    output = "x";
    EXPECT_TRUE(StringOperations::TryConvertToIsoLatin1(units({'a', 'b', 'c'}), output));
    EXPECT_EQ(output, "abc");
}

TEST(TryConvertToIsoLatin1, ClearsTheOutputForAnEmptyInput) {
    std::string output = "old";
    EXPECT_TRUE(StringOperations::TryConvertToIsoLatin1(WideString(), output));
    EXPECT_EQ(output, "");
}

TEST(TryConvertToIsoLatin1, LeavesTheRestOfTheOutputUnchangedOnFailure) {
    std::string output = "wxyz and more";
    EXPECT_FALSE(StringOperations::TryConvertToIsoLatin1(units({'a', 0x20AC, 'c', 'd'}), output));
    EXPECT_EQ(output, "axyz"); // resized to the length of the input
    output = "w";
    EXPECT_FALSE(StringOperations::TryConvertToIsoLatin1(units({'a', 'b', 0x100, 'd'}), output));
    EXPECT_EQ(output, std::string("ab\0\0", 4));
    output.clear();
    EXPECT_FALSE(StringOperations::TryConvertToIsoLatin1(units({'a', 0x20AC}), output));
    EXPECT_EQ(output, std::string("a\0", 2));
    output = "keep";
    EXPECT_FALSE(StringOperations::TryConvertToIsoLatin1(units({0xFFFF, 'b', 'c', 'd'}), output));
    EXPECT_EQ(output, "keep");
}

TEST(TryConvertToIsoLatin1, FailsAtEveryPositionOfEveryLength) {
    for (std::size_t length = 1; length < 70; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            WideString input(length, static_cast<WideChar>(0xE9));
            input[position] = static_cast<WideChar>(0x1E9);
            std::string output(40, 'o');
            ASSERT_FALSE(StringOperations::TryConvertToIsoLatin1(input, output));
            std::string expected(40, 'o');
            expected.resize(length);
            std::fill_n(expected.begin(), position, '\xE9');
            ASSERT_EQ(output, expected) << length << ", " << position;
        }
    }
}

TEST(TryConvertToIsoLatin1, AcceptsCharactersUpTo255) {
    for (unsigned unit = 0; unit < 65536; ++unit) {
        std::string output = "?";
        const bool converts = StringOperations::TryConvertToIsoLatin1(units({unit}), output);
        ASSERT_EQ(converts, unit <= 255);
        ASSERT_EQ(static_cast<unsigned char>(output[0]), converts ? unit : '?');
    }
}

} // namespace
