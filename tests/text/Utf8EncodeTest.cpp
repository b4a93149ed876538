// Wide text to UTF-8: the public conversion and the private encoder.

#include "PrivateStringOperations.h"
#include "Utf8Model.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::StringOperations;

namespace {

Encoded encodeExact(const Units& source, std::size_t capacity) {
    const auto from = exactCopy(source);
    const auto to = exactCopy(Bytes(capacity, untouchedByte));
    const std::size_t written = encode(from.get(), source.size(), to.get(), capacity);
    return {written, Bytes(to.get(), to.get() + capacity)};
}

void expectEncodes(const Units& source, std::size_t capacity) {
    const Encoded expected = modelEncode(source, capacity);
    const Encoded actual = encodeExact(source, capacity);
    ASSERT_EQ(actual.written, expected.written) << hex(source) << "into " << capacity;
    ASSERT_EQ(actual.buffer, expected.buffer) << hex(source) << "into " << capacity;
}

Bytes encodedText(const WideString& source) {
    const std::string encoded = StringOperations::ConvertToUTF8(source);
    return Bytes(encoded.begin(), encoded.end());
}

/// A text whose units take one byte (style 0), two (1), three (2), or one to three (3).
Units longUnits(Random& random, unsigned style, std::size_t length) {
    Units result(length);
    for (WideChar& unit : result) {
        const unsigned size = style < 3 ? style + 1 : 1 + random.below(3u);
        const unsigned first = size == 1 ? 1 : size == 2 ? 0x80 : 0x800;
        const unsigned last = size == 1 ? 0x7F : size == 2 ? 0x7FF : 0xFFFF;
        unit = static_cast<WideChar>(first + random.upTo(last - first));
    }
    return result;
}

} // namespace

TEST(Utf8Encoder, SkipsACharacterThatDoesNotFit) {
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 3).written, 2u);
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 3).buffer, (Bytes{0xC3, 0xA9, 0}));
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 2).written, 1u);
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 2).buffer, (Bytes{0x41, 0}));
    EXPECT_EQ(encodeExact({0x20AC, 0xE9, 0x41, 0x42}, 4).buffer, (Bytes{0xE2, 0x82, 0xAC, 0}));
    EXPECT_EQ(encodeExact({0x41, 0x20AC, 0x42, 0x43}, 4).buffer, (Bytes{0x41, 0x42, 0x43, 0}));
}

TEST(Utf8Encoder, EncodesEachSurrogateInThreeBytes) {
    const Encoded pair = encodeExact({0xD83D, 0xDE00}, 7);
    EXPECT_EQ(pair.written, 6u);
    EXPECT_EQ(pair.buffer, (Bytes{0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80, 0}));
}

TEST(Utf8Encoder, WritesAZeroUnitAndEnds) {
    const Encoded ended = encodeExact({0x41, 0, 0x42}, 8);
    EXPECT_EQ(ended.written, 2u);
    EXPECT_EQ(ended.buffer, (Bytes{0x41, 0, 0, untouchedByte, untouchedByte, untouchedByte, untouchedByte, untouchedByte}));
    EXPECT_EQ(encodeExact({0x41, 0, 0x42}, 2).written, 1u); // a zero unit that does not fit ends the text too
    EXPECT_EQ(encodeExact({0x41, 0, 0x42}, 2).buffer, (Bytes{0x41, 0}));
    EXPECT_EQ(encodeExact({0x20AC, 0, 0x42}, 3).written, 1u);
}

TEST(Utf8Encoder, WritesOnlyATerminatorForAnEmptySource) {
    EXPECT_EQ(encodeExact({}, 1).written, 0u);
    EXPECT_EQ(encodeExact({}, 2).buffer, (Bytes{0, untouchedByte}));
    unsigned char byte = untouchedByte;
    EXPECT_EQ(encode(nullptr, 0, &byte, 1), 0u);
    EXPECT_EQ(byte, 0);
}

TEST(Utf8Encoder, WritesNothingForACapacityOfZero) {
    unsigned char bytes[4]{untouchedByte, untouchedByte, untouchedByte, untouchedByte};
    const WideChar source[2]{0x41, 0x20AC};
    encode(source, 2, bytes + 2, 0);
    encode(source, 0, bytes + 2, 0);
    EXPECT_EQ(Bytes(std::begin(bytes), std::end(bytes)), Bytes(4, untouchedByte));
}

TEST(Utf8Encoder, EqualsTheModelForEveryUnit) {
    for (unsigned unit = 0; unit < 65536; ++unit)
        for (std::size_t capacity = 1; capacity < 7; ++capacity)
            ASSERT_NO_FATAL_FAILURE(expectEncodes({static_cast<WideChar>(unit), 0x42}, capacity));
}

TEST(Utf8Encoder, EqualsTheModelForRandomTexts) {
    Random random;
    for (int round = 0; round < 100000; ++round) {
        Units source(random.below(10u));
        for (WideChar& unit : source) {
            static const WideChar common[] = {0x41, 0x7F, 0x80, 0x7FF, 0x800, 0xD83D, 0xDE00, 0xFFFF};
            unit = random.oneIn(4) ? static_cast<WideChar>(random.below(65536u)) : random.oneOf(common);
            if (random.oneIn(20))
                unit = 0;
        }
        ASSERT_NO_FATAL_FAILURE(expectEncodes(source, 1 + random.below(32u)));
    }
}

// Long texts, which vector kernels encode in blocks ---------------------------------------------------------------------

TEST(Utf8Encoder, EqualsTheModelForEveryLengthAndCapacity) {
    Random random;
    for (unsigned style = 0; style < 4; ++style) {
        const Units all = longUnits(random, style, 60);
        for (std::size_t length = 0; length <= all.size(); ++length)
            for (std::size_t capacity = 1; capacity < 3 * length + 55; ++capacity)
                expectEncodes(Units(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(length)), capacity);
    }
}

TEST(Utf8Encoder, EqualsTheModelForLongTextsWithZerosAndLimitValues) {
    Random random;
    for (int round = 0; round < 30000; ++round) {
        Units source = longUnits(random, random.below(4u), random.below(120u));
        for (unsigned special = random.below(4u); special > 0 && !source.empty(); --special) {
            static const WideChar common[] = {0, 0x7F, 0x80, 0x7FF, 0x800, 0x7FFF, 0x8000, 0xD83D, 0xDE00, 0xFFFF};
            source[random.below(source.size())] = random.oneOf(common);
        }
        expectEncodes(source, 3 * source.size() + 1);
        expectEncodes(source, 1 + random.below(3 * source.size() + 60));

        const Units beforeZero(source.begin(), std::find(source.begin(), source.end(), WideChar{0}));
        const Encoded model = modelEncode(beforeZero, 3 * beforeZero.size() + 1);
        const Bytes expected(model.buffer.begin(), model.buffer.begin() + static_cast<std::ptrdiff_t>(model.written));
        ASSERT_EQ(encodedText(WideString(source.begin(), source.end())), expected);
    }
}

// Strings -------------------------------------------------------------------------------------------------------------

TEST(Utf8Text, RoundTripsEveryUnit) {
    for (unsigned unit = 1; unit < 65536; ++unit) {
        const WideString source(1, static_cast<WideChar>(unit));
        Bytes bytes = encodedText(source);
        ASSERT_EQ(bytes, modelEncodeUnit(unit));
        ASSERT_EQ(StringOperations::ConvertFromUTF8(exactCopy(bytes).get(), bytes.size()), source);
        bytes.push_back(0);
        ASSERT_EQ(StringOperations::ConvertFromUTF8(exactCopy(bytes).get()), source);
    }
}

TEST(Utf8Text, EncodesUpToTheFirstZeroUnit) {
    EXPECT_EQ(StringOperations::ConvertToUTF8(WideString()), "");
    EXPECT_EQ(StringOperations::ConvertToUTF8(units({0x41, 0, 0x42})), "A");
    EXPECT_EQ(StringOperations::ConvertToUTF8(units({0, 0x42})), "");
}

TEST(Utf8Text, RoundTripsALongText) {
    WideString source;
    std::string expected;
    for (unsigned i = 0; i < 200000; ++i) {
        const unsigned unit = 1 + i * 7919 % 65535;
        source.push_back(static_cast<WideChar>(unit));
        for (const unsigned char byte : modelEncodeUnit(unit))
            expected.push_back(static_cast<char>(byte));
    }
    const std::string encoded = StringOperations::ConvertToUTF8(source);
    EXPECT_TRUE(encoded == expected);
    EXPECT_TRUE(StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(encoded.data()), encoded.size()) ==
                source);
}
