#include <Velmor/Version.h>

#include "VersionRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

/// The numbers of a version after it has read a stream. The stream is a sequence of groups; a group is read if it is
/// complete and, for the box, if no byte follows.
Numbers expectedNumbers(std::uint32_t type, unsigned size, const Numbers& before, const Numbers& given) {
    Numbers expected = before;
    if (size < 4 || type < 1 || type > 3)
        return expected;
    unsigned position = 4;
    if (type == 2) {
        if (size < position + 32)
            return expected;
        std::copy_n(given.begin() + volumeAt, 4, expected.begin() + volumeAt);
        position += 32;
    }
    if (type >= 2) {
        if (size < position + 64)
            return expected;
        std::copy_n(given.begin() + distancesAt, 8, expected.begin() + distancesAt);
        position += 64;
    }
    if (size == position + 24)
        std::copy_n(given.begin() + boxAt, 3, expected.begin() + boxAt);
    return expected;
}

} // namespace

TEST(ExternalVersion, StreamIsWrittenByteForByte) {
    for (std::uint32_t type : allTypes()) {
        SCOPED_TRACE(type);
        const Bytes expected = streamOf(type, someNumbers);
        ASSERT_EQ(expected.size(), type == 1 ? 28u : type == 2 ? 124u : type == 3 ? 92u : 4u);
        for (unsigned size : {124u, 125u, 1000u, 0xFFFFFFFFu}) {
            Bytes buffer(200, 0xEE);
            EXPECT_EQ(makeVersion(type).toByteStream(size, reinterpret_cast<char*>(buffer.data())), expected.size());
            Bytes whole = expected;
            whole.resize(200, 0xEE);
            EXPECT_EQ(buffer, whole);
        }
    }
}

TEST(ExternalVersion, StreamOfASolidByItsBytes) {
    Numbers numbers{};
    numbers[volumeAt] = 1;
    numbers[12] = 2;
    numbers[3] = -2;
    numbers[10] = 0.5;
    numbers[0] = 3;
    numbers[2] = -0.0;
    Bytes expected(124);
    expected[0] = 2;
    const auto high = [&](std::size_t offset, unsigned char a, unsigned char b) {
        expected[offset + 6] = a;
        expected[offset + 7] = b;
    };
    high(4, 0xF0, 0x3F);   // volume 1
    high(12, 0x00, 0x40);  // c1 = 2
    high(36, 0x00, 0xC0);  // d1 = -2
    high(92, 0xE0, 0x3F);  // d8 = 0.5
    high(100, 0x08, 0x40); // x = 3
    high(116, 0x00, 0x80); // z = -0.0
    Bytes buffer(124, 0xEE);
    EXPECT_EQ(makeVersion(2, numbers).toByteStream(124, reinterpret_cast<char*>(buffer.data())), 124u);
    EXPECT_EQ(buffer, expected);
}

TEST(ExternalVersion, StreamKeepsEveryBit) {
    std::array<std::uint64_t, 15> bits;
    for (unsigned i = 0; i < 15; ++i)
        bits[i] = 0x7FF0000000000001u + 0x8123456789ABCDEFu * i;
    const Numbers numbers = numbersFromBits(bits);
    Bytes buffer(124);
    EXPECT_EQ(makeVersion(2, numbers).toByteStream(124, reinterpret_cast<char*>(buffer.data())), 124u);
    EXPECT_EQ(buffer, streamOf(2, numbers));
    ExternalVersion read;
    readStream(read, buffer);
    expectRecord(read, 2, numbers);
}

TEST(ExternalVersion, BufferSmallerThanTheLongestStreamIsRefusedForEveryType) {
    for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
        for (unsigned size = 0; size < 124; ++size) {
            Bytes buffer(124, 0xEE);
            EXPECT_EQ(makeVersion(type).toByteStream(size, reinterpret_cast<char*>(buffer.data())), 0u)
                << type << " " << size;
            EXPECT_EQ(buffer, Bytes(124, 0xEE));
        }
}

TEST(ExternalVersion, StreamRoundTrips) {
    for (std::uint32_t type = 0; type <= 4; ++type) {
        Bytes buffer(124);
        buffer.resize(makeVersion(type).toByteStream(124, reinterpret_cast<char*>(buffer.data())));
        ExternalVersion read;
        readStream(read, buffer);
        Bytes again(124);
        again.resize(read.toByteStream(124, reinterpret_cast<char*>(again.data())));
        EXPECT_EQ(again, buffer);
        if (type < 4) {
            EXPECT_TRUE(read == makeVersion(type));
        }
    }
}

TEST(ExternalVersion, StreamOfAnyLengthIsReadUpToTheDamage) {
    Numbers before;
    Numbers given;
    for (std::size_t i = 0; i < 15; ++i) {
        before[i] = 1000 + static_cast<double>(i);
        given[i] = -0.125 * static_cast<double>(i + 1);
    }
    for (std::uint32_t oldType : {0u, 1u, 2u, 3u, 9u})
        for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 5u, 0x01000002u, 0x00020000u, 0x7F7F7F7Fu})
            for (unsigned size = 0; size <= 130; ++size) {
                Bytes bytes = streamOf(type, given);
                while (bytes.size() < size)
                    bytes.push_back(0x3F);
                bytes.resize(size);
                ExternalVersion v = makeVersion(oldType, before);
                readStream(v, bytes);

                const Numbers expected = expectedNumbers(type, size, before, given);
                SCOPED_TRACE("type " + std::to_string(type) + ", size " + std::to_string(size));
                expectRecord(v, size < 4 ? 0 : type, expected);
                ASSERT_FALSE(HasFailure());
            }
}

TEST(ExternalVersion, ThreeBytesMakeARecordInvalidAndKeepItsNumbers) {
    ExternalVersion v = makeVersion(2);
    v.fromByteStream(3, "\1\0\0");
    expectRecord(v, 0, someNumbers);
    v.fromByteStream(0, nullptr);
    expectRecord(v, 0, someNumbers);
}

TEST(ExternalVersion, BoxIsNotReadIfAByteFollows) {
    Bytes bytes = streamOf(2, someNumbers);
    bytes.push_back(0);
    ExternalVersion v;
    readStream(v, bytes);
    Numbers expected = someNumbers;
    std::fill_n(expected.begin() + boxAt, 3, 0.0);
    expectRecord(v, 2, expected);
}

TEST(ExternalVersion, TypeBytesAreSigned) {
    const auto typeOf = [](unsigned char b0, unsigned char b1, unsigned char b2, unsigned char b3) {
        ExternalVersion v;
        readStream(v, {b0, b1, b2, b3});
        return static_cast<std::uint32_t>(v.getType());
    };
    EXPECT_EQ(typeOf(0xFF, 0, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(typeOf(0x80, 0, 0, 0), 0xFFFFFF80u);
    EXPECT_EQ(typeOf(0xFF, 1, 0, 0), 0x000000FFu);
    EXPECT_EQ(typeOf(0, 0xFF, 0, 0), 0xFFFFFF00u);
    EXPECT_EQ(typeOf(0, 0xFF, 1, 0), 0x0000FF00u);
    EXPECT_EQ(typeOf(0xFF, 0xFF, 0xFF, 0xFF), 0xFEFEFEFFu);
    EXPECT_EQ(typeOf(0, 0, 0, 0x80), 0x80000000u);
    EXPECT_EQ(typeOf(0x80, 0x80, 0x80, 0x80), 0x7F7F7F80u);
    EXPECT_EQ(typeOf(2, 0, 0, 1), 0x01000002u);
    const int values[] = {0, 1, 2, 3, 0x7F, 0x80, 0x81, 0xFE, 0xFF};
    const auto asSigned = [](int byte) { return byte < 128 ? byte : byte - 256; };
    for (int b0 = 0; b0 < 256; ++b0)
        for (int b1 : values)
            for (int b2 : values)
                for (int b3 : values) {
                    const std::int64_t sum =
                        ((std::int64_t{asSigned(b3)} * 256 + asSigned(b2)) * 256 + asSigned(b1)) * 256 + asSigned(b0);
                    ASSERT_EQ(typeOf(static_cast<unsigned char>(b0), static_cast<unsigned char>(b1),
                                     static_cast<unsigned char>(b2), static_cast<unsigned char>(b3)),
                              static_cast<std::uint32_t>(sum));
                }
}

TEST(ExternalVersion, TypeWithAByteAbove127IsNotReadAsWritten) {
    // Unsigned bytes would give type 254 + 256, signed ones give 254.
    Bytes bytes = streamOf(1, someNumbers);
    bytes[0] = 0xFE;
    bytes[1] = 1;
    ExternalVersion v;
    readStream(v, bytes);
    expectRecord(v, 254, Numbers{});
    // Type 255 becomes 0xFFFFFFFF.
    Bytes written(124);
    EXPECT_EQ(makeVersion(255).toByteStream(124, reinterpret_cast<char*>(written.data())), 4u);
    written.resize(4);
    EXPECT_EQ(written, (Bytes{255, 0, 0, 0}));
    readStream(v, written);
    EXPECT_EQ(static_cast<std::uint32_t>(v.getType()), 0xFFFFFFFFu);
}
