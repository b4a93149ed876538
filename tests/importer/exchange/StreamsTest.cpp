#include "importer/exchange/Streams.h"

#include "importer/exchange/RecordSamples.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace velmor_tests {

using namespace importer::exchange;
using Velmor::FileStream;

namespace {

TEST(StreamTotals, CountRecordsAndTheirBytes) {
    StreamTotals totals;
    totals.add("a");
    EXPECT_EQ(totals.records, 1u);
    EXPECT_EQ(totals.bytes, 5u);
    // FNV-1a of 01 00 00 00 61, step by step.
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const unsigned byte : {1u, 0u, 0u, 0u, 0x61u}) {
        hash ^= byte;
        hash *= 0x100000001B3u;
    }
    EXPECT_EQ(totals.checksum, hash);
}

TEST(RecordStream, ReturnsRecordsOfAllSizesAcrossBlocks) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<std::string> records = {"", "x", std::string(65532, 'a'), std::string(65536, 'b'), std::string(300000, 'c')};
    for (int i = 0; i < 2000; ++i)
        records.emplace_back(random() % 400, static_cast<char>(random()));
    const RecordStream written(records);

    RecordReader reader(*written.stream, "test stream");
    std::string payload;
    for (const std::string& record : records) {
        ASSERT_TRUE(reader.next(payload));
        ASSERT_EQ(payload, record);
    }
    EXPECT_FALSE(reader.next(payload));
    EXPECT_EQ(reader.totals(), written.totals);
}

TEST(RecordStream, ReportsThePositionOfATruncatedRecord) {
    const std::unique_ptr<FileStream> stream = streamWith(std::string("\1\0\0\0x\5\0\0\0four", 13));
    RecordReader reader(*stream, "test stream");
    std::string payload;
    ASSERT_TRUE(reader.next(payload));
    try {
        reader.next(payload);
        FAIL() << "the truncated record was accepted";
    } catch (const FormatError& error) {
        EXPECT_STREQ(error.what(), "test stream: byte 5: expected a record of 5 bytes, found the end of the file");
    }
    const std::unique_ptr<FileStream> truncatedLength = streamWith(std::string("\1\0\0", 3));
    RecordReader other(*truncatedLength, "test stream");
    EXPECT_THROW(other.next(payload), FormatError);
}

TEST(RecordStream, AllocatesNoMoreThanTheStreamHas) {
    // The length is 4 GiB, followed by three bytes.
    const std::unique_ptr<FileStream> stream = streamWith(std::string("\xFF\xFF\xFF\xFFxyz", 7));
    RecordReader reader(*stream, "test stream");
    std::string payload;
    EXPECT_THROW(reader.next(payload), FormatError);
    EXPECT_LT(payload.capacity(), 1000u);
}

TEST(RecordStream, FailsWithoutHandle) {
    FileStream none;
    RecordReader reader(none, "test stream");
    std::string payload;
    EXPECT_THROW(reader.next(payload), FormatError);
    RecordWriter writer(none, "test stream");
    writer.write("x");
    EXPECT_THROW(writer.flush(), WriteError);
}

TEST(RequireEnd, ReportsTheNumberOfRecordsBeforeTheSurplusOne) {
    const RecordStream written({"a", "b"});
    RecordReader reader(*written.stream, "test stream");
    std::string payload;
    ASSERT_TRUE(reader.next(payload));
    try {
        requireEnd(reader);
        FAIL() << "the surplus record was accepted";
    } catch (const FormatError& error) {
        EXPECT_STREQ(error.what(), "test stream: byte 5: expected the end of the file after 1 record, found more");
    }
    EXPECT_NO_THROW(requireEnd(reader));
}

} // namespace
} // namespace velmor_tests
