// The records of the info and log streams, and the header of the state file.

#include "importer/exchange/InfoRecords.h"

#include "importer/exchange/ProblemRecords.h"
#include "importer/exchange/RecordSamples.h"
#include "importer/exchange/StateRecords.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace velmor_tests {

using namespace importer::exchange;

namespace {

TEST(ProblemRecord, DecodesToTheEncodedValues) {
    const ProblemRecord problem = decodeProblem(encode(ProblemRecord{3, 4, "a reason"}));
    EXPECT_EQ(problem.line, 3u);
    EXPECT_EQ(problem.instance, 4u);
    EXPECT_EQ(problem.reason, "a reason");
}

TEST(ProblemRecord, RejectsTruncatedBytes) {
    const std::string bytes = encode(ProblemRecord{3, 4, "a reason"});
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(decodeProblem(bytes.substr(0, length)), FormatError) << length;
}

TEST(ProblemWriter, WritesTheFirstProblemsAndCountsTheRest) {
    const std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::createTemporaryFile());
    ProblemWriter writer(*stream, "test stream");
    for (std::uint64_t i = 1; i <= 10003; ++i) {
        writer.write({i, i, "a reason"});
        EXPECT_EQ(writer.omitted(), i <= 10000 ? 0 : i - 10000);
    }
    writer.flush();
    RecordReader reader(*stream, "test stream");
    std::string payload;
    while (reader.next(payload))
        ASSERT_EQ(decodeProblem(payload).line, reader.totals().records);
    EXPECT_EQ(reader.totals().records, 10000u);
    EXPECT_EQ(writer.totals(), reader.totals());
}

TEST(InfoRecord, DecodesToTheEncodedValues) {
    const InfoRecord info = fullInfo();
    const InfoRecord decoded = decodeInfo(encode(info));
    EXPECT_EQ(decoded.error, "an error");
    EXPECT_EQ(decoded.schema, "IFC4");
    EXPECT_EQ(decoded.objects, info.objects);
    EXPECT_EQ(decoded.attributes, info.attributes);
    EXPECT_EQ(decoded.solids, info.solids);
    EXPECT_EQ(decoded.textures, info.textures);
    EXPECT_EQ(decoded.problems, info.problems);
    EXPECT_EQ(decoded.problemsOmitted, 5u);
    EXPECT_EQ(decoded.objectsWithoutClass, 6u);
    EXPECT_FALSE(decodeInfo(encode(InfoRecord())).georeference);
}

TEST(InfoRecord, RejectsTruncatedBytesOtherMarksAndVersions) {
    const std::string bytes = encode(fullInfo());
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(decodeInfo(bytes.substr(0, length)), FormatError) << length;
    EXPECT_THROW(decodeInfo(encode(StateHeader())), FormatError);
    std::string otherVersion = bytes;
    otherVersion[8] = 1;
    EXPECT_THROW(decodeInfo(otherVersion), VersionError);
}

TEST(Georeference, DecodesToTheEncodedValues) {
    const auto decoded = decodeInfo(encode(fullInfo())).georeference;
    ASSERT_TRUE(decoded);
    const double origin[] = {decoded->getSourceOrigin().x, decoded->getSourceOrigin().y, decoded->getSourceOrigin().z};
    const double expected[] = {1, -0.0, 0.1};
    EXPECT_EQ(std::memcmp(origin, expected, sizeof origin), 0);
    EXPECT_EQ(decoded->getEastings(), 2);
    EXPECT_EQ(decoded->getNorthings(), 3);
    EXPECT_EQ(decoded->getOrthogonalHeight(), 4);
    EXPECT_EQ(decoded->getXAxisAbscissa(), 5);
    EXPECT_EQ(decoded->getXAxisOrdinate(), 6);
    EXPECT_EQ(decoded->getScaleToMapProjection(), 1e-300);
    const Velmor::IFC4_MapProjection& projection = decoded->getMapProjection();
    EXPECT_EQ(projection.getName(), VELMOR_WIDE("name"));
    EXPECT_EQ(projection.getDescription(), VELMOR_WIDE("d\u00E9scription"));
    EXPECT_EQ(projection.getGeodeticDatum(), VELMOR_WIDE("geodetic"));
    EXPECT_EQ(projection.getVerticalDatum(), VELMOR_WIDE("vertical"));
    EXPECT_EQ(projection.getProjectionType(), VELMOR_WIDE("projection"));
    EXPECT_TRUE(projection.getZone().empty());
    EXPECT_EQ(projection.getUnitName(), VELMOR_WIDE("unit"));
    EXPECT_EQ(projection.getScaleToMetric(), 0.3048);
}

TEST(Georeference, IsRejectedWhenItsPresenceIsInvalidOrItIsMissing) {
    std::string bytes = encode(InfoRecord());
    bytes[bytes.size() - 4] = 2;
    EXPECT_THROW(decodeInfo(bytes), FormatError);
    bytes[bytes.size() - 4] = 1; // present, but the record ends here
    EXPECT_THROW(decodeInfo(bytes), FormatError);
}

TEST(StateHeader, DecodesToTheEncodedValues) {
    const InfoRecord info = fullInfo();
    const Velmor::Sha1::Digest ones(std::vector<unsigned char>(20, 1));
    const Velmor::Sha1::Digest twos(std::vector<unsigned char>(20, 2));
    const StateHeader header = decodeStateHeader(encode(StateHeader{Origin{ones, twos}, info.objects, info.attributes}));
    ASSERT_TRUE(header.origin);
    EXPECT_EQ(header.origin->model, ones);
    EXPECT_EQ(header.origin->importer, twos);
    EXPECT_EQ(header.objects, info.objects);
    EXPECT_EQ(header.attributes, info.attributes);
    EXPECT_FALSE(decodeStateHeader(encode(StateHeader())).origin);
}

TEST(StateHeader, RejectsTruncatedBytesOtherMarksAndVersions) {
    const std::string bytes = encode(StateHeader());
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(decodeStateHeader(bytes.substr(0, length)), FormatError) << length;
    EXPECT_THROW(decodeStateHeader(encode(fullInfo())), FormatError);
    std::string otherVersion = bytes;
    otherVersion[8] = 1;
    EXPECT_THROW(decodeStateHeader(otherVersion), VersionError);
}

} // namespace
} // namespace velmor_tests
