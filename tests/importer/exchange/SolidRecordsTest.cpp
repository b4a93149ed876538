#include "importer/exchange/SolidRecords.h"

#include "importer/exchange/RecordSamples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <random>

namespace velmor_tests {

using namespace importer::exchange;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

Mesh tetrahedron() {
    return {{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}};
}

std::string bytesOf(const ForeignObjectSolid& solid) {
    unsigned size = 0;
    const char* const bytes = solid.getBytes(&size);
    return {bytes, size};
}

ForeignObjectSolid solidOf(const std::string& bytes, std::uint32_t type = 1) {
    return {static_cast<ForeignObjectSolid::Type_t>(type), static_cast<unsigned>(bytes.size()), bytes.data()};
}

// The message with which a mesh is rejected; empty if it is accepted.
std::string rejectionOf(const ForeignObjectSolid& solid) {
    try {
        decodeMesh(solid);
        return {};
    } catch (const FormatError& error) {
        return error.what();
    }
}

std::string textureBytes() {
    const std::string png("\x89PNG\r\n\x1A\n\0bytes", 14);
    return encode(TextureRecord{0x0102030405060708u,
                                "br\xC3\xBC"
                                "ck.png",
                                std::vector<char>(png.begin(), png.end())});
}

TEST(Mesh, HasUsedVerticesOnlyAndEqualOnesOnce) {
    const std::vector<double> vertices = {9, 9, 9, 0, 0, 0, 1, 0, 0, 0, 1, 0, -0.0, 0, 0, 1, 0, 0, 8, 8, 8, 0, 0, 1};
    const Mesh mesh = meshOf(vertices, {1, 2, 3, 4, 5, 7});
    EXPECT_THAT(mesh.vertices, ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_THAT(mesh.triangles, ElementsAre(0, 1, 2, 0, 1, 3));
}

TEST(Mesh, PreservesVerticesThatDifferInTheLastBit) {
    const double next = std::nextafter(1.0, 2.0);
    const Mesh mesh = meshOf({1, 0, 0, next, 0, 0, 0, 0, 0}, {0, 1, 2});
    EXPECT_THAT(mesh.vertices, ElementsAre(1, 0, 0, next, 0, 0, 0, 0, 0));
}

TEST(Mesh, DecodesToTheEncodedValues) {
    Mesh mesh = tetrahedron();
    mesh.vertices[0] = -0.0;
    mesh.vertices[1] = std::numeric_limits<double>::denorm_min();
    mesh.vertices[2] = std::numeric_limits<double>::max();
    const Mesh back = decodeMesh(encode(mesh));
    ASSERT_EQ(back.vertices.size(), mesh.vertices.size());
    EXPECT_EQ(std::memcmp(back.vertices.data(), mesh.vertices.data(), mesh.vertices.size() * sizeof(double)), 0);
    EXPECT_EQ(back.triangles, mesh.triangles);

    const Mesh none = decodeMesh(encode(Mesh()));
    EXPECT_TRUE(none.vertices.empty() && none.triangles.empty());
}

TEST(Mesh, HasTheDocumentedLayout) {
    const ForeignObjectSolid solid = encode(Mesh{{1, 0, 0, 0, -2, 0, 0, 0, 0.5}, {2, 1, 0}});
    EXPECT_EQ(solid.getType(), 1u);
    const std::string bytes = bytesOf(solid);
    ASSERT_EQ(bytes.size(), 8u + 3 * 24 + 12);
    EXPECT_EQ(bytes.substr(0, 8), std::string("\3\0\0\0\1\0\0\0", 8));
    EXPECT_EQ(bytes.substr(8, 16), std::string("\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(bytes.substr(40, 8), std::string("\0\0\0\0\0\0\0\xC0", 8));
    EXPECT_EQ(bytes.substr(72, 8), std::string("\0\0\0\0\0\0\xE0\x3F", 8));
    EXPECT_EQ(bytes.substr(80), std::string("\2\0\0\0\1\0\0\0\0\0\0\0", 12));
}

TEST(Mesh, RejectsTruncatedAndOverlongBytes) {
    const std::string bytes = bytesOf(encode(tetrahedron()));
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_NE(rejectionOf(solidOf(bytes.substr(0, length))), "") << length;
    EXPECT_NE(rejectionOf(solidOf(bytes + '\0')), "");
}

TEST(Mesh, RejectsSolidsOfOtherTypes) {
    const std::string bytes = bytesOf(encode(tetrahedron()));
    EXPECT_EQ(rejectionOf(solidOf(bytes, 1)), "");
    for (const std::uint32_t type : {0u, 2u, 0xFFFFFFFFu})
        EXPECT_EQ(rejectionOf(solidOf(bytes, type)), "expected a solid of type 1, found " + std::to_string(type));
}

TEST(Mesh, RejectsWrongCounts) {
    for (const std::size_t at : {0u, 4u}) {
        for (const std::uint32_t count : {0u, 3u, 5u, 0x80000000u, 0xFFFFFFFFu}) {
            std::string bytes = bytesOf(encode(tetrahedron()));
            std::memcpy(bytes.data() + at, &count, 4);
            EXPECT_NE(rejectionOf(solidOf(bytes)), "") << at << ' ' << count;
        }
    }
}

TEST(Mesh, RejectsIndicesOfMissingVertices) {
    for (std::size_t i = 0; i < 12; ++i) {
        for (const std::uint32_t index : {4u, 0x80000000u, 0xFFFFFFFFu}) {
            Mesh mesh = tetrahedron();
            mesh.triangles[i] = index;
            EXPECT_EQ(rejectionOf(encode(mesh)), "expected a vertex index below 4 in triangle " + std::to_string(i / 3) +
                                                     ", found " + std::to_string(index));
        }
    }
}

TEST(Mesh, RejectsCoordinatesThatAreNotFinite) {
    for (std::size_t i = 0; i < 12; ++i) {
        for (const double number : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity()}) {
            Mesh mesh = tetrahedron();
            mesh.vertices[i] = number;
            EXPECT_THAT(rejectionOf(encode(mesh)), HasSubstr("in vertex " + std::to_string(i / 3)));
        }
    }
}

// A mesh that is accepted is valid, whatever byte was changed.
TEST(Mesh, SurvivesEveryChangeOfOneByte) {
    const std::string bytes = bytesOf(encode(tetrahedron()));
    unsigned accepted = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string damaged = bytes;
            damaged[at] = static_cast<char>(value);
            const ForeignObjectSolid solid = solidOf(damaged);
            if (!rejectionOf(solid).empty())
                continue;
            ++accepted;
            const Mesh mesh = decodeMesh(solid);
            ASSERT_EQ(bytesOf(encode(mesh)), damaged);
            ASSERT_TRUE(at >= 8 || damaged == bytes) << at; // a changed count never fits the size
            ASSERT_TRUE(std::all_of(mesh.vertices.begin(), mesh.vertices.end(), [](double d) { return std::isfinite(d); }));
            ASSERT_TRUE(std::all_of(mesh.triangles.begin(), mesh.triangles.end(), [](auto index) { return index < 4; }));
        }
    }
    // At least: any value in the lower six bytes of each coordinate, and the four valid values in the lowest byte of each
    // index.
    EXPECT_GE(accepted, 12u * 6 * 256 + 12 * 4);
}

TEST(SolidRecord, DecodesToTheEncodedValues) {
    const SolidRecord back = decodeSolid(encode(SolidRecord{0x0102030405060708u, solidOf("bytes", 0xFFFFFFFFu)}));
    EXPECT_EQ(back.object, 0x0102030405060708u);
    EXPECT_EQ(back.solid.getType(), 0xFFFFFFFFu);
    EXPECT_EQ(bytesOf(back.solid), "bytes");
    EXPECT_EQ(bytesOf(decodeSolid(encode(SolidRecord{1, {}})).solid), "");
}

TEST(SolidRecord, HasTheDocumentedLayout) {
    EXPECT_EQ(encode(SolidRecord{0x0102030405060708u, solidOf("abc", 0x0A0B0C0Du)}),
              std::string("\x08\x07\x06\x05\x04\x03\x02\x01\x0D\x0C\x0B\x0A\3\0\0\0abc", 19));
}

// A copy of a solid without memory is empty; it must not be written as a damaged mesh.
TEST(SolidRecord, FailsForAMeshWithoutBytes) {
    EXPECT_THROW(encode(SolidRecord{1, solidOf("")}), std::bad_alloc);
}

TEST(TextureRecord, DecodesToTheEncodedValues) {
    const TextureRecord back = decodeTexture(textureBytes());
    EXPECT_EQ(back.instance, 0x0102030405060708u);
    EXPECT_EQ(back.name, "br\xC3\xBC"
                         "ck.png");
    const std::vector<char>& png = back.png.getData();
    EXPECT_EQ(std::string(png.begin(), png.end()), std::string("\x89PNG\r\n\x1A\n\0bytes", 14));
    const TextureRecord empty = decodeTexture(encode(TextureRecord()));
    EXPECT_EQ(empty.instance, 0u);
    EXPECT_TRUE(empty.name.empty() && empty.png.getData().empty());
}

TEST(TextureRecord, HasTheDocumentedLayout) {
    EXPECT_EQ(encode(TextureRecord{0x0102030405060708u, "ab", std::vector<char>{'x', 'y', 'z'}}),
              std::string("\x08\x07\x06\x05\x04\x03\x02\x01\2\0\0\0ab\3\0\0\0xyz", 21));
}

TEST(SolidAndTextureRecord, RejectTruncatedAndOverlongBytes) {
    const std::string solid = encode(SolidRecord{1, encode(tetrahedron())});
    for (std::size_t length = 0; length < solid.size(); ++length)
        EXPECT_THROW(decodeSolid(std::string_view(solid).substr(0, length)), FormatError) << length;
    EXPECT_THROW(decodeSolid(solid + '\0'), FormatError);
    const std::string texture = textureBytes();
    for (std::size_t length = 0; length < texture.size(); ++length)
        EXPECT_THROW(decodeTexture(std::string_view(texture).substr(0, length)), FormatError) << length;
    EXPECT_THROW(decodeTexture(texture + '\0'), FormatError);
}

TEST(SolidAndTextureRecord, SurviveRandomBytes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string records[] = {encode(SolidRecord{1, encode(tetrahedron())}), textureBytes()};
    unsigned rejected = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string damaged = records[round % 2];
        damaged[random() % damaged.size()] = static_cast<char>(random());
        damaged.resize(damaged.size() - random() % 3);
        try {
            if (round % 2 == 0)
                decodeMesh(decodeSolid(damaged).solid);
            else
                decodeTexture(damaged);
        } catch (const FormatError&) {
            ++rejected;
        }
    }
    EXPECT_GT(rejected, 10000u); // two of three are truncated
}

TEST(SolidsStream, ReturnsSolidsWithTheirObjects) {
    const RecordStream written({encode(SolidRecord{0, encode(tetrahedron())}), encode(SolidRecord{7, encode(Mesh())})});
    RecordReader reader(*written.stream, "test stream");
    std::vector<std::uint64_t> objects;
    std::vector<std::size_t> triangles;
    readSolids(reader, written.totals, 8, [&](std::uint64_t object, const Mesh& mesh) {
        objects.push_back(object);
        triangles.push_back(mesh.triangles.size() / 3);
    });
    EXPECT_THAT(objects, ElementsAre(0, 7));
    EXPECT_THAT(triangles, ElementsAre(4, 0));
}

TEST(SolidsStream, RejectsObjectsOutOfOrderOrRange) {
    const auto record = [](std::uint64_t object) { return encode(SolidRecord{object, encode(Mesh())}); };
    const struct {
        std::vector<std::string> records;
        const char* reason;
    } cases[] = {
        {{record(1), record(0)}, "test stream: byte 28: expected a solid of an object >= 2 and < 3, found one of object 0"},
        {{record(1), record(1)}, "test stream: byte 28: expected a solid of an object >= 2 and < 3, found one of object 1"},
        {{record(3)}, "test stream: byte 0: expected a solid of an object >= 0 and < 3, found one of object 3"},
        {{record(~0ull)},
         "test stream: byte 0: expected a solid of an object >= 0 and < 3, found one of object 18446744073709551615"},
    };
    for (const auto& each : cases) {
        const RecordStream written(each.records);
        RecordReader reader(*written.stream, "test stream");
        try {
            readSolids(reader, written.totals, 3, [](std::uint64_t, const Mesh&) {});
            ADD_FAILURE() << each.reason;
        } catch (const FormatError& error) {
            EXPECT_STREQ(error.what(), each.reason);
        }
    }
}

TEST(TexturesStream, ReturnsTexturesInOrder) {
    const RecordStream written({textureBytes(), encode(TextureRecord{2, "second", {}})});
    RecordReader reader(*written.stream, "test stream");
    std::vector<std::uint64_t> instances;
    readTextures(reader, written.totals, [&](const TextureRecord& texture) { instances.push_back(texture.instance); });
    EXPECT_THAT(instances, ElementsAre(0x0102030405060708u, 2));
}

TEST(SolidAndTextureStreams, FailUnlessTheTotalsMatch) {
    RecordStream solids({encode(SolidRecord{0, encode(tetrahedron())})});
    ++solids.totals.checksum;
    RecordReader solidsReader(*solids.stream, "test stream");
    EXPECT_THROW(readSolids(solidsReader, solids.totals, 1, [](std::uint64_t, const Mesh&) {}), FormatError);
    RecordStream textures({textureBytes()});
    textures.totals.add("one more");
    RecordReader texturesReader(*textures.stream, "test stream");
    EXPECT_THROW(readTextures(texturesReader, textures.totals, [](const TextureRecord&) {}), FormatError);
}

} // namespace
} // namespace velmor_tests
