#include "importer/exchange/SolidRecords.h"

#include "importer/exchange/RecordFields.h"

#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <new>

// A ForeignObjectSolid that is created or copied without memory is silently empty. Code that takes the bytes of a solid has
// to detect that: a mesh has at least its two counts, and a decoded solid is as long as its record says.

namespace importer::exchange {

namespace {

constexpr std::uint64_t vertexSize = 24;   // bytes
constexpr std::uint64_t triangleSize = 12; // bytes
constexpr std::size_t solidOffset = 16;    // in a record: start of the bytes of its solid

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
    std::map<std::array<double, 3>, std::uint32_t> indices; // by coordinates
    for (const std::size_t index : triangles) {
        const std::array<double, 3> vertex = {vertices[3 * index], vertices[3 * index + 1], vertices[3 * index + 2]};
        const auto [entry, isNew] = indices.try_emplace(vertex, static_cast<std::uint32_t>(indices.size()));
        if (isNew)
            mesh.vertices.insert(mesh.vertices.end(), vertex.begin(), vertex.end());
        mesh.triangles.push_back(entry->second);
    }
    return mesh;
}

ForeignObjectSolid encode(const Mesh& mesh) {
    std::string out;
    out.reserve(8 + mesh.vertices.size() * 8 + mesh.triangles.size() * 4);
    append(out, mesh.vertices.size() / 3, 4);
    append(out, mesh.triangles.size() / 3, 4);
    for (const double coordinate : mesh.vertices)
        appendReal(out, coordinate);
    for (const std::uint32_t index : mesh.triangles)
        append(out, index, 4);
    return makeSolid(meshSolid, out);
}

Mesh decodeMesh(const ForeignObjectSolid& solid) {
    if (solid.getType() != meshSolid)
        throw FormatError("expected a solid of type " + std::to_string(meshSolid) + ", found " +
                          std::to_string(solid.getType()));
    Fields fields(bytesOf(solid));
    const std::uint64_t vertexCount = fields.u32("number of vertices");
    const std::uint64_t triangleCount = fields.u32("number of triangles");
    // Taking the bytes checks the counts, before memory is allocated for them.
    const std::string_view vertexBytes = fields.bytes(vertexSize * vertexCount, "vertices");
    const std::string_view triangleBytes = fields.bytes(triangleSize * triangleCount, "triangles");
    fields.end();
    Mesh mesh;
    mesh.vertices.reserve(vertexBytes.size() / 8);
    for (std::size_t at = 0; at < vertexBytes.size(); at += 8) {
        mesh.vertices.push_back(realIn(vertexBytes.substr(at, 8)));
        if (!std::isfinite(mesh.vertices.back()))
            throw FormatError("expected finite coordinates, found an infinity or a NaN in vertex " +
                              std::to_string(at / vertexSize));
    }
    mesh.triangles.reserve(triangleBytes.size() / 4);
    for (std::size_t at = 0; at < triangleBytes.size(); at += 4) {
        mesh.triangles.push_back(static_cast<std::uint32_t>(numberIn(triangleBytes.substr(at, 4))));
        if (mesh.triangles.back() >= vertexCount)
            throw FormatError("expected a vertex index below " + std::to_string(vertexCount) + " in triangle " +
                              std::to_string(at / triangleSize) + ", found " + std::to_string(mesh.triangles.back()));
    }
    return mesh;
}

std::string encode(const SolidRecord& record) {
    const std::string_view bytes = bytesOf(record.solid);
    if (record.solid.getType() == meshSolid && bytes.empty())
        throw std::bad_alloc();
    std::string out;
    append(out, record.object, 8);
    append(out, record.solid.getType(), 4);
    appendText(out, bytes);
    return out;
}

std::string encode(const TextureRecord& record) {
    const std::vector<char>& png = record.png.getData();
    std::string out;
    append(out, record.instance, 8);
    appendText(out, record.name);
    appendText(out, std::string_view(png.data(), png.size()));
    return out;
}

SolidRecord decodeSolid(std::string_view payload) {
    Fields fields(payload);
    const std::uint64_t object = fields.u64("object");
    const auto type = static_cast<ForeignObjectSolid::Type_t>(fields.u32("type of the solid"));
    const std::string_view bytes = fields.text("solid");
    fields.end();
    return {object, makeSolid(type, bytes)};
}

TextureRecord decodeTexture(std::string_view payload) {
    Fields fields(payload);
    const std::uint64_t instance = fields.u64("instance");
    const std::string_view name = fields.text("name");
    const std::string_view png = fields.text("image");
    fields.end();
    return {instance, std::string(name), std::vector<char>(png.begin(), png.end())};
}

void readSolids(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                const std::function<void(std::uint64_t object, const Mesh& mesh)>& sink) {
    std::uint64_t nextObject = 0;
    readRecords(reader, expected, "a solid", [&](std::string_view payload) {
        const SolidRecord record = decodeSolid(payload);
        if (record.object < nextObject || record.object >= objects)
            throw FormatError("expected a solid of an object >= " + std::to_string(nextObject) + " and < " +
                              std::to_string(objects) + ", found one of object " + std::to_string(record.object));
        if (solidOffset + bytesOf(record.solid).size() != payload.size())
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
