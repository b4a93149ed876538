#include "importer/exchange/SolidRecords.h"

#include "importer/exchange/RecordFields.h"

#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <new>

namespace importer::exchange {
namespace {

constexpr std::uint64_t vertexSize = 24;
constexpr std::uint64_t triangleSize = 12;
constexpr std::size_t solidPrefix = 16; // of a record, before the bytes of its solid

std::string_view bytesOf(const ForeignObjectSolid& solid) {
    unsigned size = 0;
    const char* const bytes = solid.getBytes(&size);
    return {bytes, size};
}

ForeignObjectSolid makeSolid(ForeignObjectSolid::Type_t type, std::string_view bytes) {
    if (bytes.size() > std::numeric_limits<unsigned>::max())
        throw WriteError("a solid of more than 4 GiB cannot be written");
    return {type, static_cast<unsigned>(bytes.size()), bytes.data()};
}

} // namespace

Mesh meshOf(const std::vector<double>& vertices, const std::vector<std::uint32_t>& triangles) {
    Mesh mesh;
    mesh.triangles.reserve(triangles.size());
    std::map<std::array<double, 3>, std::uint32_t> places;
    for (const std::size_t index : triangles) {
        const std::array<double, 3> vertex = {vertices[3 * index], vertices[3 * index + 1], vertices[3 * index + 2]};
        const auto [place, isNew] = places.try_emplace(vertex, static_cast<std::uint32_t>(places.size()));
        if (isNew)
            mesh.vertices.insert(mesh.vertices.end(), vertex.begin(), vertex.end());
        mesh.triangles.push_back(place->second);
    }
    return mesh;
}

ForeignObjectSolid encode(const Mesh& mesh) {
    std::string out;
    out.reserve(8 + mesh.vertices.size() * 8 + mesh.triangles.size() * 4);
    append(out, mesh.vertices.size() / 3, 4);
    append(out, mesh.triangles.size() / 3, 4);
    for (const auto coordinate : mesh.vertices)
        appendReal(out, coordinate);
    for (const auto index : mesh.triangles)
        append(out, index, 4);
    return makeSolid(meshSolid, out);
}

Mesh decodeMesh(const ForeignObjectSolid& solid) {
    if (solid.getType() != meshSolid) {
        throw FormatError("expected a solid of type " + std::to_string(meshSolid) + ", found " +
                          std::to_string(solid.getType()));
    }
    Fields fields(bytesOf(solid));
    const std::uint64_t vertexCount = fields.u32("number of vertices");
    const std::uint64_t triangleCount = fields.u32("number of triangles");
    // Taken whole before anything is allocated for them, whatever the numbers say.
    const auto vertexBytes = fields.bytes(vertexSize * vertexCount, "vertices");
    const auto triangleBytes = fields.bytes(triangleSize * triangleCount, "triangles");
    fields.end();
    Mesh mesh;
    mesh.vertices.reserve(vertexBytes.size() / 8);
    for (std::size_t at = 0; at < vertexBytes.size(); at += 8) {
        mesh.vertices.push_back(realIn(vertexBytes.substr(at, 8)));
        if (!std::isfinite(mesh.vertices.back())) {
            throw FormatError("expected coordinates that are numbers, found another one of vertex " +
                              std::to_string(at / vertexSize));
        }
    }
    mesh.triangles.reserve(triangleBytes.size() / 4);
    for (std::size_t at = 0; at < triangleBytes.size(); at += 4) {
        mesh.triangles.push_back(static_cast<std::uint32_t>(numberIn(triangleBytes.substr(at, 4))));
        if (mesh.triangles.back() >= vertexCount) {
            throw FormatError("expected one of the " + std::to_string(vertexCount) + " vertices in triangle " +
                              std::to_string(at / triangleSize) + ", found number " + std::to_string(mesh.triangles.back()));
        }
    }
    return mesh;
}

// A solid that was made or copied without memory is empty and says nothing, so whoever uses its bytes has to look.

std::string encode(const SolidRecord& record) {
    const auto bytes = bytesOf(record.solid);
    if (record.solid.getType() == meshSolid && bytes.empty()) // a mesh has its two counts at least
        throw std::bad_alloc();
    std::string out;
    append(out, record.object, 8);
    append(out, record.solid.getType(), 4);
    appendText(out, bytes);
    return out;
}

std::string encode(const TextureRecord& record) {
    const auto& png = record.png.getData();
    std::string out;
    append(out, record.instance, 8);
    appendText(out, record.name);
    appendText(out, std::string_view(png.data(), png.size()));
    return out;
}

SolidRecord decodeSolid(std::string_view payload) {
    Fields fields(payload);
    const auto object = fields.u64("object");
    const auto type = static_cast<ForeignObjectSolid::Type_t>(fields.u32("type of the solid"));
    const auto bytes = fields.text("solid");
    fields.end();
    return {object, makeSolid(type, bytes)};
}

TextureRecord decodeTexture(std::string_view payload) {
    Fields fields(payload);
    const auto instance = fields.u64("instance");
    const auto name = fields.text("name");
    const auto png = fields.text("image");
    fields.end();
    return {instance, std::string(name), std::vector<char>(png.begin(), png.end())};
}

void readSolids(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                const std::function<void(std::uint64_t object, const Mesh& mesh)>& sink) {
    std::uint64_t nextObject = 0;
    readRecords(reader, expected, "a solid", [&](std::string_view payload) {
        const auto record = decodeSolid(payload);
        if (record.object < nextObject || record.object >= objects)
            throw FormatError("expected the solid of an object from " + std::to_string(nextObject) + " on, of " +
                              std::to_string(objects) + ", found that of " + std::to_string(record.object));
        if (solidPrefix + bytesOf(record.solid).size() != payload.size())
            throw std::bad_alloc();
        nextObject = record.object + 1;
        sink(record.object, decodeMesh(record.solid));
    });
}

void readTextures(RecordReader& reader, const StreamTotals& expected,
                  const std::function<void(const TextureRecord&)>& sink) {
    readRecords(reader, expected, "a texture", [&sink](std::string_view payload) { sink(decodeTexture(payload)); });
}

} // namespace importer::exchange
