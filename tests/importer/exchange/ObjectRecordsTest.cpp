#include "importer/exchange/ObjectRecords.h"

#include "importer/exchange/RecordSamples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace velmor_tests {

using namespace importer::exchange;
using Velmor::ExternalGUID;
using Velmor::ExternalVersion;

namespace {

std::string bytesOf(const ExternalGUID& guid) {
    unsigned size = 0;
    const char* const bytes = guid.getBytes(&size);
    return {bytes, size};
}

std::string bytesOf(const ExternalVersion& version) {
    char bytes[124];
    return {bytes, version.toByteStream(sizeof bytes, bytes)};
}

void expectEqual(const ObjectRecord& a, const ObjectRecord& b) {
    EXPECT_EQ(a.line, b.line);
    EXPECT_EQ(a.instance, b.instance);
    EXPECT_EQ(bytesOf(a.globalId), bytesOf(b.globalId));
    EXPECT_EQ(bytesOf(a.spatialHash), bytesOf(b.spatialHash));
    EXPECT_EQ(bytesOf(a.version), bytesOf(b.version));
    EXPECT_EQ(a.className, b.className);
    EXPECT_EQ(a.name, b.name);
}

TEST(ObjectRecord, DecodesToTheEncodedValues) {
    expectEqual(decodeObject(encode(beamRecord())), beamRecord());
    expectEqual(decodeObject(encode(ObjectRecord())), ObjectRecord());
}

TEST(ObjectRecord, HasTheDocumentedLayout) {
    const std::string bytes = encode(beamRecord());
    ASSERT_EQ(bytes.size(), 8u + 8 + 96 + 96 + (4 + 124) + (4 + 7) + (4 + 7));
    EXPECT_EQ(bytes.substr(0, 16), std::string("\x08\x07\x06\x05\x04\x03\x02\x01\x2A\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(bytes.substr(16, 8), std::string("\x02\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(bytes.substr(24, 23), std::string("0123456789012345678901\0", 23));
    EXPECT_EQ(bytes.substr(112, 8), std::string("\x01\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(bytes.substr(208, 8), std::string("\x7C\0\0\0\x02\0\0\0", 8));
    EXPECT_EQ(bytes.substr(336, 11), std::string("\x07\0\0\0IFCBEAM", 11));
    EXPECT_EQ(bytes.substr(347), std::string("\x07\0\0\0Tr\xC3\xA4ger", 11));
}

TEST(ObjectRecord, RejectsTruncatedAndOverlongBytes) {
    const std::string bytes = encode(beamRecord());
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(decodeObject(std::string_view(bytes).substr(0, length)), FormatError) << length;
    EXPECT_THROW(decodeObject(bytes + '\0'), FormatError);
}

TEST(ObjectRecord, RejectsWrongLengths) {
    for (const std::size_t at : {208u, 336u, 347u}) {
        for (const char* const length : {"\xFF\xFF\xFF\xFF", "\0\0\0\x80", "\0\0\0\0", "\x7D\0\0\0"}) {
            std::string bytes = encode(beamRecord());
            std::memcpy(bytes.data() + at, length, 4);
            EXPECT_THROW(decodeObject(bytes), FormatError) << at;
        }
    }
}

TEST(ObjectRecord, RejectsIdentitiesAndVersionsOfOtherTypes) {
    for (const std::size_t at : {16u, 112u, 212u}) {
        for (const char type : {'\3', '\4', '\6', '\x7F'}) {
            std::string bytes = encode(beamRecord());
            bytes[at] = type;
            EXPECT_THROW(decodeObject(bytes), FormatError) << at;
        }
    }
}

TEST(ObjectRecord, RejectsGlobalIdWithoutTerminator) {
    std::string bytes = encode(beamRecord());
    bytes[16 + 30] = 'x'; // line and instance are 16 bytes; the NUL is byte 30 of the identity
    EXPECT_THROW(decodeObject(bytes), FormatError);
}

TEST(ObjectRecord, SurvivesRandomBytes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string bytes = encode(beamRecord());
    unsigned rejected = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string damaged = bytes;
        damaged[random() % damaged.size()] = static_cast<char>(random());
        damaged.resize(damaged.size() - random() % 3);
        try {
            decodeObject(damaged);
        } catch (const FormatError&) {
            ++rejected;
        }
    }
    EXPECT_GT(rejected, 10000u); // two of three are truncated
}

TEST(ReadObjects, FailsUnlessTheTotalsMatch) {
    const std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::createTemporaryFile());
    RecordWriter writer(*stream, "test stream");
    writer.write(encode(beamRecord()));
    const StreamTotals first = writer.totals();
    writer.write(encode(beamRecord()));
    writer.flush();
    const auto read = [&stream](const StreamTotals& expected) {
        RecordReader reader(*stream, "test stream");
        unsigned count = 0;
        readObjects(reader, expected, [&count](ObjectRecord&&) { ++count; });
        requireEnd(reader);
        return count;
    };
    EXPECT_EQ(read(writer.totals()), 2u);
    EXPECT_THROW(read(first), FormatError);
    StreamTotals more = writer.totals();
    ++more.records;
    EXPECT_THROW(read(more), FormatError);
    StreamTotals fewer = writer.totals();
    --fewer.records;
    EXPECT_THROW(read(fewer), FormatError);
    StreamTotals otherChecksum = writer.totals();
    ++otherChecksum.checksum;
    EXPECT_THROW(read(otherChecksum), FormatError);
    StreamTotals maximum = writer.totals();
    maximum.records = ~std::uint64_t{0};
    EXPECT_THROW(read(maximum), FormatError);
}

} // namespace
} // namespace velmor_tests
