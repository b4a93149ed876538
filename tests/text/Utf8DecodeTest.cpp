// UTF-8 to wide text: the public conversions, the private decoder and the private counter.

#include "PrivateStringOperations.h"
#include "Utf8Model.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::StringOperations;

namespace {

Decoded decodeExact(const Bytes& source, std::size_t capacity, bool reserveTerminator) {
    const auto from = exactCopy(source);
    const auto to = exactCopy(Units(capacity, untouchedUnit));
    const std::size_t written = decode(from.get(), source.size(), to.get(), capacity, reserveTerminator);
    return {written, Units(to.get(), to.get() + capacity)};
}

std::size_t countExact(const Bytes& source) {
    return count(exactCopy(source).get(), source.size());
}

WideString text(const Bytes& source) {
    return StringOperations::ConvertFromUTF8(exactCopy(source).get(), source.size());
}

WideString textOfTerminated(Bytes source) {
    source.push_back(0);
    return StringOperations::ConvertFromUTF8(exactCopy(source).get());
}

void expectDecodes(const Bytes& source, std::size_t capacity, bool reserveTerminator) {
    const Decoded expected = modelDecode(source, capacity, reserveTerminator);
    const Decoded actual = decodeExact(source, capacity, reserveTerminator);
    ASSERT_EQ(actual.written, expected.written) << hex(source) << "into " << capacity << ", " << reserveTerminator;
    // After an error the buffer is not compared: the units before the error may or may not have been written.
    if (source.empty() || expected.written != 0 || capacity == 0 || expected.buffer[0] == 0) {
        ASSERT_EQ(actual.buffer, expected.buffer) << hex(source) << "into " << capacity << ", " << reserveTerminator;
    }
}

void expectText(const Bytes& source) {
    ASSERT_EQ(countExact(source), modelCount(source)) << hex(source);
    if (!containsUntouchedUnit(source)) {
        ASSERT_EQ(text(source), modelText(source)) << hex(source);
    }
}

Bytes threeBytes(unsigned value) {
    return {static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value)};
}

/// A text whose characters take one byte (style 0), two (1), three (2), or one to three (3).
Bytes longText(Random& random, unsigned style, std::size_t atLeast) {
    Bytes text;
    while (text.size() < atLeast) {
        const unsigned size = style < 3 ? style + 1 : 1 + random.below(3u);
        const auto byte = [&](unsigned first, unsigned values) {
            return static_cast<unsigned char>(first + random.below(values));
        };
        if (size == 1)
            text.push_back(byte(1, 127));
        else if (size == 2)
            text.insert(text.end(), {byte(0xC0, 32), byte(0x80, 64)});
        else
            text.insert(text.end(), {byte(0xE0, 16), byte(0x80, 64), byte(0x80, 64)});
    }
    return text;
}

} // namespace

// Strings -------------------------------------------------------------------------------------------------------------

TEST(Utf8Text, DecodesOneTwoAndThreeByteSequences) {
    EXPECT_EQ(text({0x41}), units({0x41}));
    EXPECT_EQ(text({0xC3, 0xA9}), units({0xE9}));
    EXPECT_EQ(text({0xE2, 0x82, 0xAC}), units({0x20AC}));
    EXPECT_EQ(text({0x61, 0xC3, 0xA9, 0x62, 0xE2, 0x82, 0xAC, 0x63}), units({0x61, 0xE9, 0x62, 0x20AC, 0x63}));
    EXPECT_EQ(text({0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}), units({0xD83D, 0xDE00})); // surrogates, one sequence each
}

TEST(Utf8Text, IsEmptyForAFourByteSequence) {
    EXPECT_EQ(text({0xF0, 0x9F, 0x98, 0x80}), WideString());
    EXPECT_EQ(text({0x41, 0x42, 0xF0, 0x9F, 0x98, 0x80, 0x43}), WideString());
}

TEST(Utf8Text, IsEmptyForAStrayContinuationByte) {
    EXPECT_EQ(text({0x80}), WideString());
    EXPECT_EQ(text({0x41, 0xBF, 0x42}), WideString());
}

TEST(Utf8Text, EndsAtAZeroByte) {
    EXPECT_EQ(text({0x41, 0x00, 0x42}), units({0x41}));
    EXPECT_EQ(text({0x41, 0x00, 0xFF}), units({0x41}));
    EXPECT_EQ(text({0x00, 0x41}), WideString());
    EXPECT_EQ(text({0x00, 0xFF}), WideString());
}

TEST(Utf8Text, IsEmptyForANullOrEmptySource) {
    EXPECT_EQ(StringOperations::ConvertFromUTF8(nullptr), WideString());
    EXPECT_EQ(StringOperations::ConvertFromUTF8(nullptr, 0), WideString());
    EXPECT_EQ(StringOperations::ConvertFromUTF8(nullptr, 5), WideString());
    EXPECT_EQ(text({}), WideString());
    EXPECT_EQ(textOfTerminated({}), WideString());
}

TEST(Utf8Text, EndsWithAZeroUnitForACutOffSequence) {
    EXPECT_EQ(text({0x41, 0xC3}), units({0x41, 0}));
    EXPECT_EQ(text({0x41, 0xE2}), units({0x41, 0}));
    EXPECT_EQ(text({0x41, 0xE2, 0x82}), units({0x41, 0}));
    EXPECT_EQ(text({0xC3}), units({0}));
    EXPECT_EQ(text({0xE2, 0x41}), units({0x41}));          // the first byte is dropped, the next byte is a character
    EXPECT_EQ(text({0x41, 0xE2, 0xC3}), units({0x41, 0})); // the next byte begins a sequence that is cut off too
}

TEST(Utf8Text, AcceptsOverlongFormsAndInvalidContinuationBytes) {
    EXPECT_EQ(text({0xC0, 0x80}), units({0}));
    EXPECT_EQ(text({0xC1, 0xBF}), units({0x7F}));
    EXPECT_EQ(text({0xE0, 0x80, 0x80, 0x41}), units({0, 0x41}));
    EXPECT_EQ(text({0xC3, 0x41}), units({0xC1}));
    EXPECT_EQ(text({0xC3, 0xFF}), units({0xFF}));
    EXPECT_EQ(text({0xC3, 0x00, 0x41}), units({0xC0, 0x41})); // a zero byte as continuation byte
    EXPECT_EQ(text({0xE2, 0x41, 0xC1}), units({0x2041}));
    EXPECT_EQ(text({0xEF, 0xFF, 0xFF}), units({0xFFFF}));
}

TEST(Utf8Text, DecodesATerminatedSource) {
    EXPECT_EQ(textOfTerminated({0x41, 0xC3, 0xA9}), units({0x41, 0xE9}));
    EXPECT_EQ(textOfTerminated({0x41, 0xE2}), units({0x41, 0}));
    EXPECT_EQ(textOfTerminated({0x41, 0xC3}), units({0x41, 0}));
    EXPECT_EQ(textOfTerminated({0xF0, 0x9F, 0x98, 0x80}), WideString());
    EXPECT_EQ(textOfTerminated(Bytes(100000, 0x61)), WideString(100000, VELMOR_WIDE('a')));
}

TEST(Utf8Text, EqualsTheModelForShortInputs) {
    for (unsigned value = 0; value < 256; ++value)
        expectText({static_cast<unsigned char>(value)});
    for (unsigned value = 0; value < 65536; ++value)
        expectText({static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)});
    Random random;
    for (int i = 0; i < 300000; ++i)
        expectText(threeBytes(random.below(1u << 24)));
}

// Buffers -------------------------------------------------------------------------------------------------------------

TEST(Utf8Decoder, ReservesTheTerminatorOnRequest) {
    const Bytes abcdef{'a', 'b', 'c', 'd', 'e', 'f'};
    const Decoded reserved = decodeExact(abcdef, 3, true);
    EXPECT_EQ(reserved.written, 2u);
    EXPECT_EQ(reserved.buffer, (Units{'a', 'b', 0}));
    const Decoded full = decodeExact(abcdef, 3, false);
    EXPECT_EQ(full.written, 3u);
    EXPECT_EQ(full.buffer, (Units{'a', 'b', 'c'}));
}

TEST(Utf8Decoder, ReservesTheTerminatorInItsPublicForm) {
    const Bytes abcdef{'a', 'b', 'c', 'd', 'e', 'f'};
    for (std::size_t capacity = 1; capacity < 9; ++capacity) {
        const auto to = exactCopy(Units(capacity, untouchedUnit));
        const std::size_t written = StringOperations::ConvertFromUTF8(abcdef.data(), abcdef.size(), to.get(), capacity);
        const Decoded expected = modelDecode(abcdef, capacity, true);
        EXPECT_EQ(written, std::min<std::size_t>(capacity - 1, 6));
        EXPECT_EQ(Units(to.get(), to.get() + capacity), expected.buffer);
    }
}

TEST(Utf8Decoder, WritesNothingForACapacityOfZero) {
    WideChar unit = untouchedUnit;
    const Bytes source{'a', 'b'};
    for (const bool reserve : {false, true}) {
        EXPECT_EQ(decode(source.data(), 2, &unit, 0, reserve), 0u);
        EXPECT_EQ(decode(source.data(), 0, &unit, 0, reserve), 0u);
        EXPECT_EQ(decode(source.data(), 2, nullptr, 0, reserve), 0u);
    }
    EXPECT_EQ(StringOperations::ConvertFromUTF8(source.data(), 2, &unit, 0), 0u);
    EXPECT_EQ(unit, untouchedUnit);
}

TEST(Utf8Decoder, WritesOnlyATerminatorForAnEmptySource) {
    EXPECT_EQ(decodeExact({}, 2, true).buffer, (Units{0, untouchedUnit}));
    EXPECT_EQ(decodeExact({}, 2, false).buffer, (Units{0, untouchedUnit}));
    WideChar unit = untouchedUnit;
    EXPECT_EQ(decode(nullptr, 0, &unit, 1, true), 0u);
    EXPECT_EQ(unit, 0);
}

TEST(Utf8Decoder, WritesNoTerminatorAfterAnError) {
    for (const unsigned first : {0x80u, 0xBFu, 0xF0u, 0xF7u, 0xF8u, 0xFCu, 0xFEu, 0xFFu}) {
        const auto invalid = static_cast<unsigned char>(first);
        const Decoded atStart = decodeExact({invalid, 'b'}, 4, true);
        EXPECT_EQ(atStart.written, 0u);
        EXPECT_EQ(atStart.buffer[0], untouchedUnit);
        const Decoded later = decodeExact({'a', invalid}, 4, true);
        EXPECT_EQ(later.written, 0u);
        EXPECT_EQ(later.buffer[1], untouchedUnit);
    }
}

TEST(Utf8Decoder, DoesNotReadAfterItsBufferIsFull) {
    EXPECT_EQ(decodeExact({'a', 'b', 0xFF}, 2, false).written, 2u);
    EXPECT_EQ(decodeExact({'a', 'b', 0xFF}, 3, true).buffer, (Units{'a', 'b', 0}));
    EXPECT_EQ(decodeExact({'a', 'b', 0xFF}, 3, false).written, 0u);
    EXPECT_EQ(decodeExact({0xFF}, 1, true).buffer, (Units{0}));
}

TEST(Utf8Decoder, EqualsTheModelForEveryInputOfOneAndTwoBytes) {
    for (unsigned first = 0; first < 256; ++first)
        for (std::size_t capacity = 0; capacity < 4; ++capacity)
            for (const bool reserve : {false, true})
                expectDecodes({static_cast<unsigned char>(first)}, capacity, reserve);
    for (unsigned both = 0; both < 65536; ++both)
        for (std::size_t capacity = 0; capacity < 4; ++capacity)
            for (const bool reserve : {false, true})
                expectDecodes({static_cast<unsigned char>(both >> 8), static_cast<unsigned char>(both)}, capacity, reserve);
}

TEST(Utf8Decoder, DecodesEveryInputOfThreeBytes) {
    // Sixteen million inputs: without the heap blocks of the other tests.
    for (unsigned value = 0; value < 1u << 24; ++value) {
        const unsigned char source[3]{static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
                                      static_cast<unsigned char>(value)};
        std::array<unsigned, 4> expected{untouchedUnit, untouchedUnit, untouchedUnit, untouchedUnit};
        std::size_t written = 0;
        bool error = false;
        for (std::size_t position = 0; position < 3;) {
            const unsigned first = source[position++];
            if (first == 0 || (first / 32 == 6 && position == 3))
                break;
            if (first / 16 == 14 && position != 1)
                continue;
            if (first / 64 == 2 || first / 16 == 15) {
                error = true;
                break;
            }
            unsigned unit = first;
            if (first / 32 == 6)
                unit = first % 32 * 64 + source[position++] % 64u;
            else if (first / 16 == 14)
                unit = first % 16 * 4096 + source[1] % 64u * 64 + source[2] % 64u, position = 3;
            expected[written++] = unit;
        }
        if (!error)
            expected[written] = 0;
        WideChar buffer[4]{untouchedUnit, untouchedUnit, untouchedUnit, untouchedUnit};
        const std::size_t result = decode(source, 3, buffer, 4, true);
        const bool isEqual =
            error ? result == 0 : result == written && std::equal(expected.begin(), expected.end(), std::begin(buffer));
        ASSERT_TRUE(isEqual) << hex(threeBytes(value));
    }
}

TEST(Utf8Decoder, EqualsTheModelForRandomInputs) {
    Random random;
    for (int round = 0; round < 100000; ++round) {
        Bytes source(random.below(12u));
        for (unsigned char& byte : source) {
            // Mostly bytes of valid sequences, so that decoding does not end early.
            static const unsigned char common[] = {0x41, 0x7F, 0x80, 0xA9, 0xBF, 0xC3, 0xDF, 0xE0, 0xE2, 0xEF};
            byte = random.oneIn(8) ? static_cast<unsigned char>(random.below(256u)) : random.oneOf(common);
        }
        expectDecodes(source, random.below(14u), random.oneIn(2));
    }
}

// Long texts, which vector kernels decode in blocks ---------------------------------------------------------------------

TEST(Utf8Decoder, EqualsTheModelForEveryByteAtEveryPositionOfALongText) {
    Random random;
    for (unsigned style = 0; style < 4; ++style) {
        const Bytes valid = longText(random, style, 52);
        for (std::size_t position = 0; position < valid.size(); ++position) {
            for (unsigned value = 0; value < 256; ++value) {
                Bytes source = valid;
                source[position] = static_cast<unsigned char>(value);
                expectDecodes(source, source.size() + 1, true);
                expectText(source);
            }
        }
    }
}

TEST(Utf8Decoder, EqualsTheModelForEveryLengthAndCapacity) {
    Random random;
    for (unsigned style = 0; style < 4; ++style) {
        const Bytes valid = longText(random, style, 80);
        for (std::size_t length = 0; length <= valid.size(); ++length) {
            const Bytes source(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(length));
            expectText(source);
            for (std::size_t capacity = 0; capacity <= length + 2; ++capacity) {
                expectDecodes(source, capacity, true);
                expectDecodes(source, capacity, false);
            }
        }
    }
}

TEST(Utf8Decoder, EqualsTheModelForLongTextsWithErrors) {
    Random random;
    for (int round = 0; round < 30000; ++round) {
        Bytes source = longText(random, random.below(4u), random.below(200u));
        for (unsigned errors = random.below(4u); errors > 0 && !source.empty(); --errors) {
            static const unsigned char common[] = {0x00, 0x41, 0x80, 0xBF, 0xC3, 0xE2, 0xEF, 0xF0, 0xFF};
            source[random.below(source.size())] = random.oneOf(common);
        }
        expectDecodes(source, source.size() + 1, true);
        expectDecodes(source, random.below(source.size() + 20), random.oneIn(2));
        expectText(source);
    }
}

// Counting ------------------------------------------------------------------------------------------------------------

TEST(Utf8Counter, CountsCharacters) {
    EXPECT_EQ(count(nullptr, 0), 0u);
    EXPECT_EQ(countExact({0x41, 0xC3, 0xA9, 0xE2, 0x82, 0xAC}), 3u);
    EXPECT_EQ(countExact({0x41, 0x00, 0x42}), 1u);
    EXPECT_EQ(countExact({0x00}), 0u);
    EXPECT_EQ(countExact({0x41, 0x00, 0xFF}), 1u);
    EXPECT_EQ(countExact({0xC3}), 1u); // a sequence that is cut off counts
    EXPECT_EQ(countExact({0xE2}), 1u);
    EXPECT_EQ(countExact({0xE2, 0x82}), 1u);
    EXPECT_EQ(countExact({0xC3, 0x00, 0x41}), 2u); // continuation bytes are skipped unchecked
    EXPECT_EQ(countExact({0xE2, 0xFF, 0xFF, 0x41}), 2u);
    EXPECT_EQ(countExact({0x41, 0x80}), 0u);
    EXPECT_EQ(countExact({0x41, 0xF0}), 0u);
    EXPECT_EQ(countExact({0xFF}), 0u);
}

TEST(Utf8Counter, CountsEveryInputOfThreeBytes) {
    for (unsigned value = 0; value < 1u << 24; ++value) {
        const unsigned char source[3]{static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
                                      static_cast<unsigned char>(value)};
        std::size_t expected = 0;
        for (std::size_t position = 0; position < 3; ++expected) {
            const unsigned first = source[position];
            if (first == 0)
                break;
            if (first / 64 == 2 || first / 16 == 15) {
                expected = 0;
                break;
            }
            position += first < 128 ? 1 : first < 0xE0 ? 2 : 3;
        }
        ASSERT_EQ(count(source, 3), expected) << hex(threeBytes(value));
    }
}
