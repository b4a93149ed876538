// Conversions between code pages and UTF-16. The expected values are those of Windows on both systems.

#include "os/os.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using Velmor::WideChar;
using Velmor::WideString;
using Velmor::os::multiByteToWide;
using Velmor::os::wideToMultiByte;
using velmor_tests::Random;

constexpr unsigned utf8 = 65001;
constexpr WideChar untouched = 0xABCD;

WideString decode(unsigned codePage, const std::string& source) {
    std::vector<WideChar> buffer(source.size() + 8, untouched);
    const int length = multiByteToWide(codePage, source.data(), static_cast<int>(source.size()), buffer.data(),
                                       static_cast<int>(buffer.size()));
    return WideString(buffer.data(), static_cast<std::size_t>(length));
}

std::string encode(unsigned codePage, const WideString& source) {
    std::vector<char> buffer(source.size() * 4 + 8, '#');
    const int length = wideToMultiByte(codePage, source.data(), static_cast<int>(source.size()), buffer.data(),
                                       static_cast<int>(buffer.size()));
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

WideString units(std::initializer_list<unsigned> values) {
    WideString result;
    for (const unsigned value : values)
        result.push_back(static_cast<WideChar>(value));
    return result;
}

std::string show(const std::string& bytes) {
    static const char* const digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        result += {digits[byte / 16], digits[byte % 16], ' '};
    }
    return result;
}

std::string show(const WideString& text) {
    std::string bytes;
    for (const WideChar unit : text)
        bytes +=
            {static_cast<char>(static_cast<unsigned char>(unit >> 8)), static_cast<char>(static_cast<unsigned char>(unit))};
    return show(bytes);
}

// ---- Lengths and capacities ----

const std::vector<unsigned>& codePages() {
    static const std::vector<unsigned> all{1252, 28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 932, utf8};
    return all;
}

TEST(CodePage, LengthMinusOneIncludesTheTerminator) {
    for (const unsigned codePage : codePages()) {
        std::array<WideChar, 8> wide{};
        wide.fill(untouched);
        EXPECT_EQ(multiByteToWide(codePage, "AB\0C", -1, wide.data(), 8), 3);
        EXPECT_EQ(WideString(wide.data(), 4), units({'A', 'B', 0, untouched}));
        EXPECT_EQ(multiByteToWide(codePage, "", -1, wide.data(), 8), 1);
        EXPECT_EQ(wide[0], 0);
        const WideChar text[]{'A', 'B', 0, 'C'};
        char narrow[8]{'#', '#', '#', '#', '#', '#', '#', '#'};
        EXPECT_EQ(wideToMultiByte(codePage, text, -1, narrow, 8), 3);
        EXPECT_EQ(std::string(narrow, 4), "AB\0#"s);
    }
}

TEST(CodePage, TextOfAGivenLengthMayContainNul) {
    for (const unsigned codePage : codePages()) {
        EXPECT_EQ(decode(codePage, "A\0B"s), units({'A', 0, 'B'})) << codePage;
        EXPECT_EQ(encode(codePage, units({'A', 0, 'B'})), "A\0B"s) << codePage;
    }
}

TEST(CodePage, CapacityZeroReturnsTheRequiredLength) {
    for (const unsigned codePage : codePages()) {
        EXPECT_EQ(multiByteToWide(codePage, "ABC", 3, nullptr, 0), 3) << codePage;
        EXPECT_EQ(multiByteToWide(codePage, "ABC", -1, nullptr, 0), 4) << codePage;
        EXPECT_EQ(wideToMultiByte(codePage, VELMOR_WIDE("ABC"), 3, nullptr, 0), 3) << codePage;
        EXPECT_EQ(wideToMultiByte(codePage, VELMOR_WIDE("ABC"), -1, nullptr, 0), 4) << codePage;
    }
    EXPECT_EQ(multiByteToWide(utf8, "\xE2\x82\xAC\xF0\x9F\x98\x80", 7, nullptr, 0), 3);
    EXPECT_EQ(wideToMultiByte(utf8, units({0x20AC, 0xD83D, 0xDE00}).data(), 3, nullptr, 0), 7);
    EXPECT_EQ(multiByteToWide(932, "\x82\xA0\xC3", 3, nullptr, 0), 2);
    EXPECT_EQ(wideToMultiByte(932, units({0x3042, 'A'}).data(), 2, nullptr, 0), 3);
}

TEST(CodePage, ReturnsZeroAndWritesTheBeginningIfTheBufferIsTooSmall) {
    for (const unsigned codePage : codePages()) {
        std::array<WideChar, 4> wide{untouched, untouched, untouched, untouched};
        EXPECT_EQ(multiByteToWide(codePage, "ABC", 3, wide.data(), 2), 0) << codePage;
        EXPECT_EQ(WideString(wide.data(), 3), units({'A', 'B', untouched})) << codePage;
        EXPECT_EQ(multiByteToWide(codePage, "ABC", -1, wide.data(), 3), 0) << codePage;
        EXPECT_EQ(WideString(wide.data(), 4), units({'A', 'B', 'C', untouched})) << codePage;
        char narrow[4]{'#', '#', '#', '#'};
        EXPECT_EQ(wideToMultiByte(codePage, VELMOR_WIDE("ABC"), 3, narrow, 2), 0) << codePage;
        EXPECT_EQ(std::string(narrow, 4), "AB##") << codePage;
    }
}

TEST(CodePage, ConvertsIntoABufferOfTheExactSize) {
    for (const unsigned codePage : codePages()) {
        std::array<WideChar, 4> wide{untouched, untouched, untouched, untouched};
        EXPECT_EQ(multiByteToWide(codePage, "ABC", 3, wide.data(), 3), 3) << codePage;
        EXPECT_EQ(WideString(wide.data(), 4), units({'A', 'B', 'C', untouched})) << codePage;
        char narrow[4]{'#', '#', '#', '#'};
        EXPECT_EQ(wideToMultiByte(codePage, VELMOR_WIDE("ABC"), 3, narrow, 3), 3) << codePage;
        EXPECT_EQ(std::string(narrow, 4), "ABC#") << codePage;
    }
}

TEST(CodePage, DoesNotWriteAPartOfACharacter) {
    char narrow[4]{'#', '#', '#', '#'};
    EXPECT_EQ(wideToMultiByte(utf8, units({'A', 'B', 0xE9}).data(), 3, narrow, 3), 0);
    EXPECT_EQ(std::string(narrow, 4), "AB##");
    EXPECT_EQ(wideToMultiByte(932, units({0x4E00, 0x4E00}).data(), 2, narrow, 3), 0);
    EXPECT_EQ(std::string(narrow, 3), "\x88\xEA#");
}

TEST(CodePage, ReturnsZeroForInvalidLengthsAndCodePages) {
    WideChar wide[4]{};
    char narrow[4]{};
    EXPECT_EQ(multiByteToWide(utf8, "", 0, wide, 4), 0);
    EXPECT_EQ(multiByteToWide(utf8, "A", 1, wide, -1), 0);
    EXPECT_EQ(wideToMultiByte(utf8, VELMOR_WIDE(""), 0, narrow, 4), 0);
    EXPECT_EQ(wideToMultiByte(utf8, VELMOR_WIDE("A"), 1, narrow, -1), 0);
    EXPECT_EQ(multiByteToWide(12345, "A", 1, wide, 4), 0);
    EXPECT_EQ(wideToMultiByte(12345, VELMOR_WIDE("A"), 1, narrow, 4), 0);
}

// ---- UTF-8 ----

bool isContinuation(unsigned byte) {
    return byte / 64 == 2;
}

/// The expected conversion of valid and invalid UTF-8. A sequence that the end of the text truncates consumes the rest of
/// the text.
WideString modelDecodeUtf8(const std::string& source) {
    WideString result;
    const auto at = [&](std::size_t index) -> unsigned { return static_cast<unsigned char>(source[index]); };
    for (std::size_t position = 0; position < source.size();) {
        const unsigned lead = at(position++);
        if (lead < 0x80) {
            result.push_back(static_cast<WideChar>(lead));
            continue;
        }
        const std::size_t length = lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        unsigned character = lead & (0x3Fu >> length);
        bool valid = length != 0;
        if (length > source.size() - position) {
            position = source.size();
            valid = false;
        }
        for (std::size_t i = 0; valid && i < length; ++i) {
            valid = isContinuation(at(position));
            if (!valid)
                break; // the byte begins the next sequence
            character = character * 64 + at(position++) % 64;
            if (i == 0) {
                const bool overlong = (length == 2 && character < 0x800 / 64) || (length == 3 && character < 0x10000 / 4096);
                const bool surrogate = length == 2 && character / 32 == 0xD800 / 2048;
                const bool tooLarge = length == 3 && character > 0x10FFFF / 4096;
                valid = !overlong && !surrogate && !tooLarge;
            }
        }
        if (!valid) {
            result.push_back(0xFFFD);
        } else if (character < 0x10000) {
            result.push_back(static_cast<WideChar>(character));
        } else {
            result.push_back(static_cast<WideChar>(0xD800 + (character - 0x10000) / 0x400));
            result.push_back(static_cast<WideChar>(0xDC00 + character % 0x400));
        }
    }
    return result;
}

TEST(CodePageUtf8, DecodesValidSequences) {
    EXPECT_EQ(decode(utf8, "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), units({'A', 0xE9, 0x20AC, 0xD83D, 0xDE00}));
    EXPECT_EQ(decode(utf8, "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"), units({0xD7FF, 0xE000, 0xFFFF}));
    EXPECT_EQ(decode(utf8, "\xF4\x8F\xBF\xBF"), units({0xDBFF, 0xDFFF}));
}

TEST(CodePageUtf8, ReplacesInvalidSequences) {
    EXPECT_EQ(decode(utf8, "\xC3"), units({0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xC3"
                           "A"),
              units({0xFFFD, 'A'}));
    EXPECT_EQ(decode(utf8, "\xC0\x80"), units({0xFFFD, 0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xE0\x80\x80"), units({0xFFFD, 0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xED\xA0\x80"), units({0xFFFD, 0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xF4\x90\x80\x80"), units({0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xF8\x88\x80\x80\x80"), units({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(decode(utf8, "A\xF0\x9F\x98"
                           "B"),
              units({'A', 0xFFFD, 'B'}));
    EXPECT_EQ(decode(utf8, "\xE2\x82\xE2\x82\xAC"), units({0xFFFD, 0x20AC}));
    EXPECT_EQ(decode(utf8, "\xE2\x28\xA1"), units({0xFFFD, 0x28, 0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xE2\x82"), units({0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xE2"
                           "A"),
              units({0xFFFD}));
    EXPECT_EQ(decode(utf8, "\xF0"
                           "AB"),
              units({0xFFFD}));
}

TEST(CodePageUtf8, DecodesEveryInputOfOneToThreeBytes) {
    std::string source;
    const auto expectDecodes = [&] {
        std::array<WideChar, 4> wide{};
        const WideString expected = modelDecodeUtf8(source);
        const int length = multiByteToWide(utf8, source.data(), static_cast<int>(source.size()), wide.data(), 4);
        ASSERT_EQ(WideString(wide.data(), static_cast<std::size_t>(length)), expected) << show(source);
    };
    const auto byte = [](unsigned value) { return static_cast<char>(static_cast<unsigned char>(value)); };
    for (unsigned first = 0; first < 256; ++first) {
        source = {byte(first)};
        expectDecodes();
        for (unsigned second = 0; second < 256; ++second) {
            source = {byte(first), byte(second)};
            expectDecodes();
            // Only third bytes at the limits of ranges: all third bytes would take minutes.
            for (const unsigned third : {0x00u, 0x41u, 0x7Fu, 0x80u, 0x8Fu, 0x90u, 0x9Fu, 0xA0u, 0xBFu, 0xC1u, 0xC2u, 0xE0u,
                                         0xEDu, 0xF0u, 0xF4u, 0xF5u, 0xFFu}) {
                source = {byte(first), byte(second), byte(third)};
                expectDecodes();
            }
        }
    }
}

TEST(CodePageUtf8, DecodesRandomInputs) {
    Random random;
    static const unsigned char common[] = {0x41, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC2, 0xE0, 0xE2, 0xED, 0xF0, 0xF4};
    for (int round = 0; round < 100000; ++round) {
        std::string source(1 + random.below(std::size_t{10}), '\0');
        for (char& c : source)
            c = static_cast<char>(random.oneIn(8) ? static_cast<unsigned char>(random.bits()) : random.oneOf(common));
        ASSERT_EQ(decode(utf8, source), modelDecodeUtf8(source)) << show(source);
        ASSERT_EQ(multiByteToWide(utf8, source.data(), static_cast<int>(source.size()), nullptr, 0),
                  static_cast<int>(modelDecodeUtf8(source).size()))
            << show(source);
    }
}

TEST(CodePageUtf8, EncodesPairsAndReplacesLoneSurrogates) {
    EXPECT_EQ(encode(utf8, units({'A', 0xE9, 0x20AC, 0xFFFF})), "A\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF");
    EXPECT_EQ(encode(utf8, units({0xD83D, 0xDE00})), "\xF0\x9F\x98\x80");
    EXPECT_EQ(encode(utf8, units({0xD83D})), "\xEF\xBF\xBD");
    EXPECT_EQ(encode(utf8, units({0xDE00})), "\xEF\xBF\xBD");
    EXPECT_EQ(encode(utf8, units({0xDE00, 0xD83D})), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(encode(utf8, units({'A', 0xD83D, 'B'})), "A\xEF\xBF\xBD"
                                                       "B");
    EXPECT_EQ(encode(utf8, units({0xD83D, 0xD83D, 0xDE00, 0xDE00})), "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
}

// ---- Single- and double-byte pages ----

struct Decoding {
    unsigned codePage;
    std::string bytes;
    std::vector<unsigned> characters;
};

TEST(CodePageBytes, DecodesInvalidAndUndefinedBytes) {
    const std::vector<Decoding> cases{
        {1252, "\x80\x81\x8D\x8F\x90\x9D\xFF", {0x20AC, 0x81, 0x8D, 0x8F, 0x90, 0x9D, 0xFF}},
        {28591, "\x80\x9F\xA0\xFF", {0x80, 0x9F, 0xA0, 0xFF}},
        {28592, "\x80\xA1\xFF", {0x80, 0x104, 0x2D9}},
        {28593, "\xA5\xA1\xF0", {0xF7F5, 0x126, 0xF7FB}},
        {28596, "\xA1\xC7\xFF", {0xF7C8, 0x627, 0xF7F4}},
        {28597, "\xA1\xA2\xA4\xE1\xFF", {0x2BD, 0x2BC, 0xF7C2, 0x3B1, 0xF7C7}},
        {28598, "\xA1\xAF\xE0\xFD\xFE\xFF", {0xF79C, 0x203E, 0x5D0, 0xF7BF, 0xF7C0, 0xF7C1}},
        {932, "A\x82\xA0\xC3", {'A', 0x3042, 0xFF83}},
        {932, "\x80\xA0\xFD\xFE\xFF", {0x80, 0xF8F0, 0xF8F1, 0xF8F2, 0xF8F3}},
        {932, "\x81", {0x30FB}},
        {932,
         "\x82"
         "B\xF0",
         {0x30FB, 0x30FB}},
        {932,
         "\x81\x20"
         "A",
         {0x30FB, 'A'}},
        {932, "\x85\x9F\xFC\xFC", {0x30FB, 0x30FB}},
        {932, "\x81\0A"s, {0x30FB, 0, 'A'}},
        {932, "\xF0\x40\xF9\xFC", {0xE000, 0xE757}},
        {932, "\x81\x40\x81\x60\x81\x7C", {0x3000, 0xFF5E, 0xFF0D}},
    };
    for (const Decoding& entry : cases) {
        const WideString expected(entry.characters.begin(), entry.characters.end());
        EXPECT_EQ(decode(entry.codePage, entry.bytes), expected)
            << entry.codePage << ": " << show(entry.bytes) << "returned " << show(decode(entry.codePage, entry.bytes));
    }
}

struct Encoding {
    unsigned codePage;
    std::vector<unsigned> characters;
    std::string bytes;
};

// A character that the page does not have is replaced by a similar character or by a question mark.
TEST(CodePageBytes, ReplacesUnmappableCharacters) {
    const std::vector<Encoding> cases{
        {1252, {0xE9, 0x20AC, 0x2013, 0x201C, 0x2026}, "\xE9\x80\x96\x93\x85"},
        {1252, {0x4E00, 0x3042}, "??"},
        {1252, {0xD83D, 0xDE00}, "??"},
        {1252, {'A', 0xD83D, 'B'}, "A?B"},
        {1252, {0x100, 0x141, 0x221E, 0xFF21, 0x301}, "AL8A\xB4"},
        {1252, {0x80, 0x81, 0x9F, 0xE000, 0xFFFD, 0xFFFF}, "?\x81????"},
        {28591, {0x20AC, 0x100, 0x141, 0xFF21, 0x301}, "?ALA?"},
        {28591, {0x2013, 0x201C, 0x2026, 0x80, 0x9F}, "-\".\x80\x9F"},
        {932, {0xE9, 0x20AC, 0x100, 0xFF21, 0x2013}, "e??\x82\x60?"},
        {932, {0x4E00, 0xE000, 0xF8FF, 0x80, 0x81}, "\x88\xEA\xF0\x40?\x80?"},
        {932, {0xD83D, 0xDE00}, "??"},
    };
    for (const Encoding& entry : cases) {
        const WideString source(entry.characters.begin(), entry.characters.end());
        EXPECT_EQ(encode(entry.codePage, source), entry.bytes)
            << entry.codePage << ": " << show(source) << "returned " << show(encode(entry.codePage, source));
    }
}

/// FNV-1a.
class Hash {
public:
    void add(unsigned byte) { value_ = (value_ ^ (byte & 0xFF)) * 0x100000001B3u; }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325u;
};

/// The hashes of all conversions of a page, calculated with the calls of Windows.
struct PageHashes {
    unsigned codePage;
    std::uint64_t allUnits; // all units, encoded, with a line feed after each
    std::uint64_t allBytes; // each byte, decoded separately
};

const std::vector<PageHashes>& pages() {
    static const std::vector<PageHashes> all{
        {866, 0xF13B94541A9F44AD, 0x87D13B9E9473F025},   {874, 0x6FD5C63B4A32398, 0xE960320ED47B795B},
        {932, 0x7AB70F172AC845DA, 0xE16B88E5BBD958FE},   {936, 0x141FB00BA0E01A04, 0x6F9283F8FB03CB6},
        {949, 0x5E7BDFB0D0968B3E, 0x4B70F81411BB9C0},    {950, 0x333670CE17ECFD27, 0x4B51981411B47E7},
        {1250, 0x9720D3FC64C327B8, 0xE5815AA2202A7CF0},  {1251, 0xBEBE13990D6F8C3D, 0x95190C527335B15D},
        {1252, 0xE0B6C3E0EA41DC59, 0x1552D7537694E8E0},  {1253, 0x1491CDEFE01E0E5, 0xC8AD6CBADBE2E49F},
        {1254, 0x76797241BB7218E3, 0xA909D7A2DC01FDE4},  {1255, 0x5FAF3EC22B7F8D78, 0xB186305B3C40151C},
        {1256, 0xC8C0109402671B4F, 0xBBF34E4AAEFFD7C8},  {1257, 0x507B431CF528B27E, 0x2991C592A883064E},
        {1258, 0x288C67B64514B04A, 0xA124867BB58D11D4},  {20866, 0xCB60599942FBA212, 0x28E9EB4E763A30CA},
        {21866, 0xD34A7AEDE7B56F16, 0x8A177581AA74F890}, {28591, 0xFC292A747ABC10A1, 0xF7136E9B3A0CE325},
        {28592, 0xB26E08DED671F294, 0x7029E897439BF50E}, {28593, 0x43E2AB0BD8C13ACC, 0xE6474B63B4409828},
        {28594, 0x94948970FD813B64, 0x812BC841C4F1429A}, {28595, 0x371C6866757485A4, 0x290900407E4E8320},
        {28596, 0xE46DFC22C5C442BB, 0x8AEBF7091BD5499B}, {28597, 0x464DBEE1D2A294E9, 0xB966EBA1D3FBE071},
        {28598, 0xD99A469BC320A704, 0xF5302BF2950D6FA8}, {28599, 0x260CBBFA7EBD725A, 0x9A508CC9FA06EB60},
        {28603, 0x846ED6A96AE219A4, 0x77CC56BAF20D2EBA}, {28605, 0xA6BE159746F6ABF7, 0x8E9646EEAE428F14},
        {utf8, 0xB6E38B2A43715D25, 0x9EEE76869CBEB8A5},
    };
    return all;
}

TEST(CodePageBytes, EncodesEveryUnitOfEveryPage) {
    WideString all;
    for (unsigned unit = 0; unit < 65536; ++unit)
        all += {static_cast<WideChar>(unit), WideChar{'\n'}};
    for (const PageHashes& page : pages()) {
        Hash hash;
        for (const char c : encode(page.codePage, all))
            hash.add(static_cast<unsigned char>(c));
        EXPECT_EQ(hash.value(), page.allUnits) << page.codePage;
    }
}

void addDecoded(Hash& hash, unsigned codePage, const std::string& bytes) {
    const WideString text = decode(codePage, bytes);
    hash.add(static_cast<unsigned>(text.size()));
    for (const WideChar unit : text) {
        hash.add(unit);
        hash.add(static_cast<unsigned>(unit >> 8));
    }
}

TEST(CodePageBytes, DecodesEveryByteOfEveryPage) {
    for (const PageHashes& page : pages()) {
        Hash hash;
        for (unsigned value = 0; value < 256; ++value)
            addDecoded(hash, page.codePage, std::string(1, static_cast<char>(static_cast<unsigned char>(value))));
        EXPECT_EQ(hash.value(), page.allBytes) << page.codePage;
    }
}

TEST(CodePageBytes, DecodesEveryDoubleByte) {
    // Hashes of all conversions, calculated with the calls of Windows.
    const std::vector<std::pair<unsigned, std::uint64_t>> all{
        {932, 0xE48FA374AF186B58},
        {936, 0x47D22D4D439806AB},
        {949, 0xD663AF1C51860D72},
        {950, 0x76A867AF6976A6B2},
    };
    for (const auto& [codePage, expected] : all) {
        Hash hash;
        for (unsigned value = 0x8000; value < 65536; ++value)
            addDecoded(hash, codePage,
                       {static_cast<char>(static_cast<unsigned char>(value >> 8)),
                        static_cast<char>(static_cast<unsigned char>(value))});
        EXPECT_EQ(hash.value(), expected) << codePage;
    }
}

} // namespace
