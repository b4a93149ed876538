// The vector kernels of UTF-8 compared to the plain kernel: equal results and equal buffers, including the elements after
// the text, which must not change.

#include "Utf8Text.h"
#include "simd/ForcedKernel.h"
#include "support/Random.h"
#include "text/Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace velmor_tests {

namespace {

using Velmor::text::DecodeResult;
using Velmor::text::utf8Dispatch;
using Velmor::text::Utf8Functions;
using Velmor::text::Utf8Kernel;
using Velmor::text::Utf8Size;
namespace plain = Velmor::text::plain;

bool isEqual(const DecodeResult& left, const DecodeResult& right) {
    return left.count == right.count && left.valid == right.valid;
}

/// For every kernel.
class Utf8Kernels : public testing::TestWithParam<Utf8Kernel> {
protected:
    const Utf8Functions& kernel() const { return GetParam().functions; }
};

/// For every kernel except the plain one.
class Utf8VectorKernels : public Utf8Kernels {
protected:
    bool decodesEqually(const Bytes& source, std::size_t capacity) const {
        Units expected(capacity, untouchedUnit);
        Units actual(capacity, untouchedUnit);
        const DecodeResult expectedResult = plain::decodeUtf8(source.data(), source.size(), expected.data(), capacity);
        const DecodeResult actualResult = kernel().decode(source.data(), source.size(), actual.data(), capacity);
        return isEqual(actualResult, expectedResult) && actual == expected;
    }

    bool countsEqually(const Bytes& source) const {
        return isEqual(kernel().count(source.data(), source.size()), plain::countUtf8(source.data(), source.size()));
    }

    bool encodesEqually(const Units& source, std::size_t capacity) const {
        Bytes expected(capacity, untouchedByte);
        Bytes actual(capacity, untouchedByte);
        const std::size_t expectedSize = plain::encodeUtf8(source.data(), source.size(), expected.data(), capacity);
        const std::size_t actualSize = kernel().encode(source.data(), source.size(), actual.data(), capacity);
        return actualSize == expectedSize && actual == expected;
    }

    bool measuresEqually(const Units& source) const {
        const Utf8Size expected = plain::measureUtf8(source.data(), source.size());
        const Utf8Size actual = kernel().measure(source.data(), source.size());
        return actual.units == expected.units && actual.bytes == expected.bytes;
    }
};

INSTANTIATE_TEST_SUITE_P(Utf8, Utf8Kernels, allKernels(utf8Dispatch), KernelName());

INSTANTIATE_TEST_SUITE_P(Utf8, Utf8VectorKernels, vectorKernels(utf8Dispatch), KernelName());
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Utf8VectorKernels); // no vector kernels off x86-64

/// One unit. Each character of `kinds` is as likely as the others: '1', '2' and '3' for a unit of as many bytes, '0' for a
/// zero unit, 'e' for the ends of the ranges.
WideChar randomUnit(Random& random, const std::string& kinds) {
    static constexpr WideChar rangeEnds[] = {0x01, 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDFFF, 0xE000, 0xFFFF};
    switch (kinds[random.below(kinds.size())]) {
    case '1':
        return static_cast<WideChar>(1 + random.below(0x7Fu));
    case '2':
        return static_cast<WideChar>(0x80 + random.below(0x780u));
    case '3':
        return static_cast<WideChar>(0x800 + random.below(0xF800u));
    case '0':
        return 0;
    default:
        return random.oneOf(rangeEnds);
    }
}

Units randomUnits(Random& random, const std::string& kinds, std::size_t length) {
    Units units;
    for (std::size_t i = 0; i < length; ++i)
        units.push_back(randomUnit(random, kinds));
    return units;
}

Bytes encoded(const Units& units) {
    Bytes bytes(3 * units.size());
    bytes.resize(plain::encodeUtf8(units.data(), units.size(), bytes.data(), bytes.size()));
    return bytes;
}

constexpr const char* scripts[] = {"1", "2", "3", "1111111112", "1112", "33333331", "12", "23", "123", "1231230e", "e"};

/// A zero byte, ASCII, continuation bytes, first bytes of two, three and more bytes, and bytes that no sequence contains.
constexpr unsigned char notableBytes[] = {0x00, 0x01, 0x41, 0x7F, 0x80, 0xBF, 0xC0, 0xC3,
                                          0xDF, 0xE0, 0xE2, 0xEF, 0xF0, 0xF4, 0xFF};

TEST_P(Utf8VectorKernels, DecodeShortSequencesEquallyAtEveryPositionOfABlock) {
    const Bytes surroundings[] = {Bytes(40, 'a'), encoded(Units(20, 0xE9)), encoded(Units(14, 0x4E2D))};
    for (const Bytes& text : surroundings) {
        for (std::size_t position = 0; position < 20; ++position) {
            for (const unsigned char first : notableBytes) {
                for (const unsigned char second : notableBytes) {
                    for (const unsigned char third : notableBytes) {
                        Bytes source = text;
                        source[position] = first;
                        source[position + 1] = second;
                        source[position + 2] = third;
                        ASSERT_TRUE(decodesEqually(source, source.size())) << hex(source);
                        ASSERT_TRUE(countsEqually(source)) << hex(source);
                    }
                }
            }
        }
    }
}

TEST_P(Utf8VectorKernels, DecodeEveryPairOfBytesEquallyAcrossTheEndOfABlock) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        Bytes source(48, 'a');
        source[15] = static_cast<unsigned char>(pair >> 8);
        source[16] = static_cast<unsigned char>(pair);
        ASSERT_TRUE(decodesEqually(source, source.size())) << hex(source);
        ASSERT_TRUE(countsEqually(source)) << hex(source);
    }
}

TEST_P(Utf8VectorKernels, EncodeEveryUnitEquallyAtEveryPositionOfABlock) {
    const WideChar surroundings[] = {u'a', 0xE9, 0x4E2D};
    for (const WideChar other : surroundings) {
        for (std::size_t position = 0; position < 16; ++position) {
            Units source(20, other);
            for (unsigned unit = 0; unit < 0x10000; ++unit) {
                source[position] = static_cast<WideChar>(unit);
                ASSERT_TRUE(encodesEqually(source, 70)) << hex(source);
                ASSERT_TRUE(measuresEqually(source)) << hex(source);
            }
        }
    }
}

TEST_P(Utf8VectorKernels, ConvertTextsOfEveryLengthEqually) {
    Random random;
    for (const char* script : scripts) {
        for (std::size_t length = 0; length < 150; ++length) {
            const Units units = randomUnits(random, script, length);
            const Bytes bytes = encoded(units);
            ASSERT_TRUE(decodesEqually(bytes, length)) << hex(bytes);
            ASSERT_TRUE(countsEqually(bytes)) << hex(bytes);
            ASSERT_TRUE(encodesEqually(units, 3 * length)) << hex(units);
            ASSERT_TRUE(encodesEqually(units, bytes.size())) << hex(units);
            ASSERT_TRUE(measuresEqually(units)) << hex(units);
        }
    }
}

TEST_P(Utf8VectorKernels, FillBuffersOfEverySizeEqually) {
    Random random;
    for (const char* script : scripts) {
        const Units units = randomUnits(random, script, 70);
        const Bytes bytes = encoded(units);
        for (std::size_t capacity = 0; capacity < 220; ++capacity) {
            ASSERT_TRUE(decodesEqually(bytes, capacity)) << hex(bytes) << capacity;
            ASSERT_TRUE(encodesEqually(units, capacity)) << hex(units) << capacity;
        }
    }
}

TEST_P(Utf8VectorKernels, DecodeDamagedTextEqually) {
    Random random;
    for (int round = 0; round < 60000; ++round) {
        Bytes bytes = encoded(randomUnits(random, random.oneOf(scripts), random.below(100u)));
        for (unsigned damages = 1 + random.below(3u); damages > 0 && !bytes.empty(); --damages) {
            const std::size_t position = random.below(bytes.size());
            if (random.oneIn(3))
                bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(position));
            else
                bytes[position] =
                    random.oneIn(2) ? random.oneOf(notableBytes) : static_cast<unsigned char>(random.below(256u));
        }
        ASSERT_TRUE(decodesEqually(bytes, random.oneIn(4) ? random.below(120u) : bytes.size())) << hex(bytes);
        ASSERT_TRUE(countsEqually(bytes)) << hex(bytes);
    }
}

TEST_P(Utf8VectorKernels, DecodeRandomBytesEqually) {
    Random random;
    for (int round = 0; round < 60000; ++round) {
        Bytes bytes(random.below(80u));
        const bool anyByte = random.oneIn(2);
        for (unsigned char& byte : bytes)
            byte = anyByte ? static_cast<unsigned char>(random.below(256u)) : notableBytes[random.below(12u)];
        ASSERT_TRUE(decodesEqually(bytes, random.below(90u))) << hex(bytes);
        ASSERT_TRUE(countsEqually(bytes)) << hex(bytes);
    }
}

TEST_P(Utf8Kernels, EndAtAZeroUnitAtEveryPosition) {
    for (std::size_t position = 0; position < 70; ++position) {
        Units units(70, u'a');
        units[position] = 0;
        Bytes buffer(300, untouchedByte);
        EXPECT_EQ(kernel().encode(units.data(), units.size(), buffer.data(), buffer.size()), position + 1);
        EXPECT_EQ(buffer[position], 0);
        EXPECT_EQ(buffer[position + 1], untouchedByte);
        EXPECT_EQ(kernel().measure(units.data(), units.size()).units, position);
    }
}

TEST_P(Utf8Kernels, RoundTripWellFormedText) {
    Random random;
    for (int round = 0; round < 2000; ++round) {
        const Units units = randomUnits(random, "1112233e", 1 + random.below(300u));
        const Bytes bytes = encoded(units);
        ASSERT_EQ(kernel().measure(units.data(), units.size()).bytes, bytes.size());
        ASSERT_EQ(kernel().count(bytes.data(), bytes.size()).count, units.size());
        Units decoded(units.size());
        ASSERT_EQ(kernel().decode(bytes.data(), bytes.size(), decoded.data(), decoded.size()).count, units.size());
        ASSERT_EQ(decoded, units) << hex(units);
    }
}

// What the library calls ----------------------------------------------------------------------------------------------

DecodeResult constantDecode(const unsigned char*, std::size_t, WideChar*, std::size_t) {
    return {11, true};
}

DecodeResult constantCount(const unsigned char*, std::size_t) {
    return {12, true};
}

std::size_t constantEncode(const WideChar*, std::size_t, unsigned char*, std::size_t) {
    return 13;
}

Utf8Size constantMeasure(const WideChar*, std::size_t) {
    return {14, 15};
}

constexpr Utf8Kernel constantKernel = {
    "constant", Velmor::simd::InstructionSet::Baseline, {constantDecode, constantCount, constantEncode, constantMeasure}};

TEST(Utf8Dispatch, CallsTheForcedKernelUntilItIsReleased) {
    const unsigned char bytes[] = {'a', 'b'};
    const WideChar units[] = {'a', 'b'};
    WideChar decoded[2];
    unsigned char encoded[2];
    {
        const ForcedKernel forced(utf8Dispatch, constantKernel);
        EXPECT_EQ(Velmor::text::decodeUtf8(bytes, 2, decoded, 2).count, 11u);
        EXPECT_EQ(Velmor::text::countUtf8(bytes, 2).count, 12u);
        EXPECT_EQ(Velmor::text::encodeUtf8(units, 2, encoded, 2), 13u);
        EXPECT_EQ(Velmor::text::measureUtf8(units, 2).units, 14u);
    }
    EXPECT_EQ(Velmor::text::decodeUtf8(bytes, 2, decoded, 2).count, 2u);
    EXPECT_EQ(Velmor::text::countUtf8(bytes, 2).count, 2u);
    EXPECT_EQ(Velmor::text::encodeUtf8(units, 2, encoded, 2), 2u);
    EXPECT_EQ(Velmor::text::measureUtf8(units, 2).units, 2u);
}

TEST(Utf8Dispatch, ListsTheKernelsOfTheProcessor) {
#if defined(VELMOR_X86_64)
    EXPECT_EQ(kernelNames(utf8Dispatch), (std::vector<std::string>{"plain", "sse2"}));
#else
    EXPECT_EQ(kernelNames(utf8Dispatch), std::vector<std::string>{"plain"});
#endif
}

} // namespace

} // namespace velmor_tests
