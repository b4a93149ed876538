#pragma once

// Records for tests, and streams that contain them.

#include <Velmor/Velmor.h>

#include "importer/exchange/InfoRecords.h"
#include "importer/exchange/ObjectRecords.h"
#include "importer/exchange/Streams.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace velmor_tests {

inline importer::exchange::ObjectRecord beamRecord() {
    double distances[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    double centroid[3] = {0.5, 0.25, -0.125};
    const double vertices[] = {0, 0, 0, 2, 0, 0, 0, 0, 0};
    importer::exchange::ObjectRecord record;
    record.line = 0x0102030405060708u;
    record.instance = 42;
    record.globalId = Velmor::ExternalGUID::fromIFCGlobalID("0123456789012345678901");
    record.spatialHash = Velmor::ExternalGUID::spatialHashFromVertexes(3, vertices);
    record.version = Velmor::createFromSolid(1, 2, 3, distances, 9, centroid);
    record.className = "IFCBEAM";
    record.name = "Tr\xC3\xA4ger";
    return record;
}

/// An info record in which every field has another value.
inline importer::exchange::InfoRecord fullInfo() {
    importer::exchange::InfoRecord info;
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

/// A stream with these bytes.
inline std::unique_ptr<Velmor::FileStream> streamWith(const std::string& bytes) {
    std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::createTemporaryFile());
    EXPECT_TRUE(stream->write(bytes.size(), bytes.data()));
    return stream;
}

/// A stream with these records, and their totals.
struct RecordStream {
    explicit RecordStream(const std::vector<std::string>& records) {
        importer::exchange::RecordWriter writer(*stream, "test stream");
        for (const std::string& record : records)
            writer.write(record);
        writer.flush();
        totals = writer.totals();
    }

    std::unique_ptr<Velmor::FileStream> stream{Velmor::FileStream::createTemporaryFile()};
    importer::exchange::StreamTotals totals;
};

} // namespace velmor_tests
