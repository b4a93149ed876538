#include "importer/exchange/Streams.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

using namespace importer::exchange;
using Velmor::ExternalGUID;
using Velmor::ExternalVersion;
using Velmor::FileStream;

namespace {

using Stream = std::unique_ptr<FileStream>;

ObjectRecord beam() {
    double d[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    double c[3] = {0.5, 0.25, -0.125};
    const double vertices[] = {0, 0, 0, 2, 0, 0, 0, 0, 0};
    ObjectRecord record;
    record.line = 0x0102030405060708u;
    record.instance = 42;
    record.globalId = ExternalGUID::fromIFCGlobalID("0123456789012345678901");
    record.spatialHash = ExternalGUID::spatialHashFromVertexes(3, vertices);
    record.version = Velmor::createFromSolid(1, 2, 3, d, 9, c);
    record.className = "IFCBEAM";
    record.name = "Tr\xC3\xA4ger";
    return record;
}

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

InfoRecord wholeInfo() {
    InfoRecord info;
    info.error = "an error";
    info.schema = "IFC4";
    info.objects.add("abc");
    info.attributes.add("de");
    info.solids.add("fghi");
    info.textures.add("jklmn");
    info.problems.add("");
    info.problemsOmitted = 5;
    info.objectsWithoutClass = 6;
    info.georeference.emplace(Plexor::Vertex(1, -0.0, 0.1), 2, 3, 4, 5, 6, 1e-300,
                              Velmor::IFC4_MapProjection(VELMOR_WIDE("name"), VELMOR_WIDE("d\u00E9scription"),
                                                         VELMOR_WIDE("geodetic"), VELMOR_WIDE("vertical"),
                                                         VELMOR_WIDE("projection"), {}, VELMOR_WIDE("unit"), 0.3048));
    return info;
}

Stream streamWith(const std::string& bytes) {
    Stream stream(FileStream::createTemporaryFile());
    EXPECT_TRUE(stream->write(bytes.size(), bytes.data()));
    return stream;
}

} // namespace

TEST(ObjectRecord, ComesBackAsItWas) {
    expectEqual(decodeObject(encode(beam())), beam());
    expectEqual(decodeObject(encode(ObjectRecord())), ObjectRecord());
}

TEST(ObjectRecord, HasTheDocumentedLayout) {
    const auto bytes = encode(beam());
    ASSERT_EQ(bytes.size(), 8u + 8 + 96 + 96 + (4 + 124) + (4 + 7) + (4 + 7));
    EXPECT_EQ(bytes.substr(0, 16), std::string("\x08\x07\x06\x05\x04\x03\x02\x01\x2A\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(bytes.substr(16, 8), std::string("\x02\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(bytes.substr(24, 23), std::string("0123456789012345678901\0", 23));
    EXPECT_EQ(bytes.substr(112, 8), std::string("\x01\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(bytes.substr(208, 8), std::string("\x7C\0\0\0\x02\0\0\0", 8));
    EXPECT_EQ(bytes.substr(336, 11), std::string("\x07\0\0\0IFCBEAM", 11));
    EXPECT_EQ(bytes.substr(347), std::string("\x07\0\0\0Tr\xC3\xA4ger", 11));
}

TEST(ObjectRecord, IsRefusedWhenCutAnywhereOrTooLong) {
    const auto bytes = encode(beam());
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(decodeObject(std::string_view(bytes).substr(0, length)), FormatError) << length;
    EXPECT_THROW(decodeObject(bytes + '\0'), FormatError);
}

TEST(ObjectRecord, IsRefusedWhenALengthLies) {
    for (const std::size_t at : {208u, 336u, 347u}) {
        for (const char* const length : {"\xFF\xFF\xFF\xFF", "\0\0\0\x80", "\0\0\0\0", "\x7D\0\0\0"}) {
            auto bytes = encode(beam());
            std::memcpy(bytes.data() + at, length, 4);
            EXPECT_THROW(decodeObject(bytes), FormatError) << at;
        }
    }
}

TEST(ObjectRecord, IsRefusedWithIdentitiesAndVersionsOfOtherTypes) {
    for (const std::size_t at : {16u, 112u, 212u}) {
        for (const char type : {'\3', '\4', '\6', '\x7F'}) {
            auto bytes = encode(beam());
            bytes[at] = type;
            EXPECT_THROW(decodeObject(bytes), FormatError) << at;
        }
    }
}

TEST(ObjectRecord, IsRefusedWithAGlobalIdThatDoesNotEnd) {
    auto bytes = encode(beam());
    bytes[16 + 30] = 'x'; // behind line and instance, behind the 22 characters
    EXPECT_THROW(decodeObject(bytes), FormatError);
}

TEST(ObjectRecord, SurvivesRandomBytes) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto bytes = encode(beam());
    unsigned refused = 0;
    for (int round = 0; round < 20000; ++round) {
        auto damaged = bytes;
        damaged[random() % damaged.size()] = static_cast<char>(random());
        damaged.resize(damaged.size() - random() % 3);
        try {
            decodeObject(damaged);
        } catch (const FormatError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 10000u); // two of three are cut
}

TEST(OtherRecords, ComeBackAsTheyWere) {
    const auto problem = decodeProblem(encode(ProblemRecord{3, 4, "a reason"}));
    EXPECT_EQ(problem.line, 3u);
    EXPECT_EQ(problem.instance, 4u);
    EXPECT_EQ(problem.reason, "a reason");

    const auto info = wholeInfo();
    const auto infoBack = decodeInfo(encode(info));
    EXPECT_EQ(infoBack.error, "an error");
    EXPECT_EQ(infoBack.schema, "IFC4");
    EXPECT_EQ(infoBack.objects, info.objects);
    EXPECT_EQ(infoBack.attributes, info.attributes);
    EXPECT_EQ(infoBack.solids, info.solids);
    EXPECT_EQ(infoBack.textures, info.textures);
    EXPECT_EQ(infoBack.problems, info.problems);
    EXPECT_EQ(infoBack.problemsOmitted, 5u);
    EXPECT_EQ(infoBack.objectsWithoutClass, 6u);
    EXPECT_FALSE(decodeInfo(encode(InfoRecord())).georeference);

    const Velmor::Sha1::Digest ones(std::vector<unsigned char>(20, 1));
    const Velmor::Sha1::Digest twos(std::vector<unsigned char>(20, 2));
    const auto header = decodeStateHeader(encode(StateHeader{Origin{ones, twos}, info.objects, info.attributes}));
    ASSERT_TRUE(header.origin);
    EXPECT_EQ(header.origin->model, ones);
    EXPECT_EQ(header.origin->importer, twos);
    EXPECT_EQ(header.objects, info.objects);
    EXPECT_EQ(header.attributes, info.attributes);
    EXPECT_FALSE(decodeStateHeader(encode(StateHeader())).origin);
}

TEST(Georeference, ComesBackAsItWas) {
    const auto back = decodeInfo(encode(wholeInfo())).georeference;
    ASSERT_TRUE(back);
    const double origin[] = {back->getSourceOrigin().x, back->getSourceOrigin().y, back->getSourceOrigin().z};
    const double expected[] = {1, -0.0, 0.1};
    EXPECT_EQ(std::memcmp(origin, expected, sizeof origin), 0);
    EXPECT_EQ(back->getEastings(), 2);
    EXPECT_EQ(back->getNorthings(), 3);
    EXPECT_EQ(back->getOrthogonalHeight(), 4);
    EXPECT_EQ(back->getXAxisAbscissa(), 5);
    EXPECT_EQ(back->getXAxisOrdinate(), 6);
    EXPECT_EQ(back->getScaleToMapProjection(), 1e-300);
    const auto& projection = back->getMapProjection();
    EXPECT_EQ(projection.getName(), VELMOR_WIDE("name"));
    EXPECT_EQ(projection.getDescription(), VELMOR_WIDE("d\u00E9scription"));
    EXPECT_EQ(projection.getGeodeticDatum(), VELMOR_WIDE("geodetic"));
    EXPECT_EQ(projection.getVerticalDatum(), VELMOR_WIDE("vertical"));
    EXPECT_EQ(projection.getProjectionType(), VELMOR_WIDE("projection"));
    EXPECT_TRUE(projection.getZone().empty());
    EXPECT_EQ(projection.getUnitName(), VELMOR_WIDE("unit"));
    EXPECT_EQ(projection.getScaleToMetric(), 0.3048);
}

TEST(Georeference, IsThereOrNot) {
    auto bytes = encode(InfoRecord());
    bytes[bytes.size() - 4] = 2;
    EXPECT_THROW(decodeInfo(bytes), FormatError);
    bytes[bytes.size() - 4] = 1; // and then it is missing
    EXPECT_THROW(decodeInfo(bytes), FormatError);
}

TEST(OtherRecords, AreRefusedWhenCutAnywhereOrOfAnotherKind) {
    const std::string records[] = {encode(ProblemRecord{3, 4, "a reason"}), encode(wholeInfo()), encode(StateHeader())};
    for (std::size_t length = 0; length < records[0].size(); ++length)
        EXPECT_THROW(decodeProblem(records[0].substr(0, length)), FormatError);
    for (std::size_t length = 0; length < records[1].size(); ++length)
        EXPECT_THROW(decodeInfo(records[1].substr(0, length)), FormatError);
    for (std::size_t length = 0; length < records[2].size(); ++length)
        EXPECT_THROW(decodeStateHeader(records[2].substr(0, length)), FormatError);
    EXPECT_THROW(decodeInfo(records[2]), FormatError);
    EXPECT_THROW(decodeStateHeader(records[1]), FormatError);
    auto versionDiffers = records[2];
    versionDiffers[8] = 1;
    EXPECT_THROW(decodeStateHeader(versionDiffers), VersionError);
    versionDiffers = records[1];
    versionDiffers[8] = 1;
    EXPECT_THROW(decodeInfo(versionDiffers), VersionError);
}

TEST(StreamTotals, CountRecordsAndTheirBytes) {
    StreamTotals totals;
    totals.add("a");
    EXPECT_EQ(totals.records, 1u);
    EXPECT_EQ(totals.bytes, 5u);
    // FNV-1a of 01 00 00 00 61, worked out step by step.
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const unsigned byte : {1u, 0u, 0u, 0u, 0x61u}) {
        hash ^= byte;
        hash *= 0x100000001B3u;
    }
    EXPECT_EQ(totals.checksum, hash);
}

TEST(ProblemWriter, WritesTheFirstAndCountsTheRest) {
    const Stream stream(FileStream::createTemporaryFile());
    ProblemWriter writer(*stream, "it");
    for (std::uint64_t i = 1; i <= 10003; ++i) {
        writer.write({i, i, "a reason"});
        EXPECT_EQ(writer.omitted(), i <= 10000 ? 0 : i - 10000);
    }
    writer.flush();
    RecordReader reader(*stream, "it");
    std::string payload;
    while (reader.next(payload))
        ASSERT_EQ(decodeProblem(payload).line, reader.totals().records);
    EXPECT_EQ(reader.totals().records, 10000u);
    EXPECT_EQ(writer.totals(), reader.totals());
}

TEST(RecordStream, GivesBackRecordsOfAllSizesAcrossBlocks) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<std::string> records = {"", "x", std::string(65532, 'a'), std::string(65536, 'b'), std::string(300000, 'c')};
    for (int i = 0; i < 2000; ++i)
        records.emplace_back(random() % 400, static_cast<char>(random()));
    const Stream stream(FileStream::createTemporaryFile());
    RecordWriter writer(*stream, "it");
    for (const auto& record : records)
        writer.write(record);
    writer.flush();

    RecordReader reader(*stream, "it");
    std::string payload;
    for (const auto& record : records) {
        ASSERT_TRUE(reader.next(payload));
        ASSERT_EQ(payload, record);
    }
    EXPECT_FALSE(reader.next(payload));
    EXPECT_EQ(reader.totals(), writer.totals());
}

TEST(RecordStream, TellsWhereARecordIsCutOff) {
    const auto stream = streamWith(std::string("\1\0\0\0x\5\0\0\0four", 13));
    RecordReader reader(*stream, "it");
    std::string payload;
    ASSERT_TRUE(reader.next(payload));
    try {
        reader.next(payload);
        FAIL() << "the cut record was taken";
    } catch (const FormatError& error) {
        EXPECT_STREQ(error.what(), "it: byte 5: expected a record of 5 bytes, found the end of the file");
    }
    const auto cutLength = streamWith(std::string("\1\0\0", 3));
    RecordReader other(*cutLength, "it");
    EXPECT_THROW(other.next(payload), FormatError);
}

TEST(RecordStream, AllocatesNoMoreThanThereIs) {
    // 4 GiB are announced and three bytes come.
    const auto stream = streamWith(std::string("\xFF\xFF\xFF\xFFxyz", 7));
    RecordReader reader(*stream, "it");
    std::string payload;
    EXPECT_THROW(reader.next(payload), FormatError);
    EXPECT_LT(payload.capacity(), 1000u);
}

TEST(RecordStream, OnNoHandleCannotBeReadOrWritten) {
    FileStream none;
    RecordReader reader(none, "it");
    std::string payload;
    EXPECT_THROW(reader.next(payload), FormatError);
    RecordWriter writer(none, "it");
    writer.write("x");
    EXPECT_THROW(writer.flush(), WriteError);
}

TEST(ReadObjects, ComesToTheTotalsOrFails) {
    const Stream stream(FileStream::createTemporaryFile());
    RecordWriter writer(*stream, "it");
    writer.write(encode(beam()));
    const auto first = writer.totals();
    writer.write(encode(beam()));
    writer.flush();
    const auto read = [&stream](const StreamTotals& expected) {
        RecordReader reader(*stream, "it");
        unsigned count = 0;
        readObjects(reader, expected, [&count](ObjectRecord&&) { ++count; });
        requireEnd(reader);
        return count;
    };
    EXPECT_EQ(read(writer.totals()), 2u);
    EXPECT_THROW(read(first), FormatError);
    auto more = writer.totals();
    ++more.records;
    EXPECT_THROW(read(more), FormatError);
    auto fewer = writer.totals();
    --fewer.records;
    EXPECT_THROW(read(fewer), FormatError);
    auto others = writer.totals();
    ++others.checksum;
    EXPECT_THROW(read(others), FormatError);
    auto endless = writer.totals();
    endless.records = ~std::uint64_t{0};
    EXPECT_THROW(read(endless), FormatError);
}
