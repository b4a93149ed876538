#pragma once

// What goes through the solids and the textures stream: the surfaces of closed solids, and images. docs/formats.md draws the
// records.

#include <Velmor/ForeignObject.h>

#include "importer/exchange/Streams.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace importer::exchange {

/// The surface of a closed solid.
struct Mesh {
    std::vector<double> vertices;         ///< Triples x, y, z in metres, in the model's world.
    std::vector<std::uint32_t> triangles; ///< Three vertices by their index each, counterclockwise from outside.
};

/// The type of a ForeignObjectSolid whose bytes are a mesh.
inline constexpr auto meshSolid = static_cast<ForeignObjectSolid::Type_t>(1);

/// The part of a mesh that its triangles use; vertices in the same place become one.
/// @param triangles indices that lie within the vertices.
Mesh meshOf(const std::vector<double>& vertices, const std::vector<std::uint32_t>& triangles);

/// The solid whose bytes are a mesh.
/// @throws WriteError for a mesh of more than 4 GiB. Without memory the solid is empty; writing it throws.
ForeignObjectSolid encode(const Mesh& mesh);

/// The mesh that a solid's bytes are.
/// @throws FormatError for another type of solid, bytes that are not exactly one mesh, a triangle with a vertex that is not
/// there, a coordinate that is no number.
Mesh decodeMesh(const ForeignObjectSolid& solid);

/// The closed solid of an object.
struct SolidRecord {
    std::uint64_t object = 0; ///< The how many-th of the model's objects it belongs to, from 0.
    ForeignObjectSolid solid;
};

/// An image of the model.
struct TextureRecord {
    std::uint64_t instance = 0; ///< Number of its instance.
    std::string name;           ///< UTF-8; may be empty.
    Velmor::PngTexture png;
};

/// The bytes of a record, without its length prefix.
/// @throws WriteError for what is beyond 4 GiB, std::bad_alloc for a mesh whose bytes found no memory.
std::string encode(const SolidRecord& record);
std::string encode(const TextureRecord& record);

/// The record that the bytes hold. They must be exactly one record; nothing is read beyond them.
/// @throws FormatError. Without memory the solid is empty.
SolidRecord decodeSolid(std::string_view payload);
TextureRecord decodeTexture(std::string_view payload);

/// Reads as many solids as the writer counted, which come in the order of their objects, at most one for each; one at a
/// time.
/// @param objects how many objects the model has.
/// @param sink    gets the number of the object and the mesh that its solid is, before the totals are compared.
/// @throws FormatError when the stream is damaged or does not come to the same totals; std::bad_alloc without memory for a
/// solid.
void readSolids(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                const std::function<void(std::uint64_t object, const Mesh& mesh)>& sink);

/// Reads as many textures as the writer counted, one at a time.
/// @param sink gets each, before the totals are compared.
/// @throws FormatError when the stream is damaged or does not come to the same totals.
void readTextures(RecordReader& reader, const StreamTotals& expected, const std::function<void(const TextureRecord&)>& sink);

} // namespace importer::exchange
