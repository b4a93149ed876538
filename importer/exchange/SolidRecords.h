#pragma once

// The solids stream and the textures stream: surfaces of closed solids, and images.
// docs/importer/streams.md describes the bytes.

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
    std::vector<double> vertices;         ///< Triples x, y, z in meters, in world coordinates of the model.
    std::vector<std::uint32_t> triangles; ///< Three vertex indices each, counterclockwise seen from outside.
};

/// The type of a ForeignObjectSolid whose bytes are a mesh.
inline constexpr auto meshSolid = static_cast<ForeignObjectSolid::Type_t>(1);

/// Makes a mesh of triangles and the vertices that they use. Vertices with equal coordinates become one vertex.
/// @param vertices  triples x, y, z.
/// @param triangles indices within `vertices`; not checked.
Mesh meshOf(const std::vector<double>& vertices, const std::vector<std::uint32_t>& triangles);

/// The solid whose bytes are a mesh.
/// @return an empty solid if memory is exhausted; encoding its record throws.
/// @throws WriteError for a mesh of more than 4 GiB.
ForeignObjectSolid encode(const Mesh& mesh);

/// The mesh in the bytes of a solid.
/// @throws FormatError for another type of solid, for bytes that are not exactly one mesh, for an index of a vertex that
/// does not exist, and for a coordinate that is not finite.
Mesh decodeMesh(const ForeignObjectSolid& solid);

/// The closed solid of an object.
struct SolidRecord {
    std::uint64_t object = 0; ///< Index of its object in the objects stream.
    ForeignObjectSolid solid;
};

/// An image of the model.
struct TextureRecord {
    std::uint64_t instance = 0; ///< Number of its instance.
    std::string name;           ///< UTF-8; may be empty.
    Velmor::PngTexture png;
};

/// The bytes of a record, without its length prefix.
/// @throws WriteError for data of more than 4 GiB; std::bad_alloc if the solid is empty because memory was exhausted.
std::string encode(const SolidRecord& record);
std::string encode(const TextureRecord& record);

/// The record in the bytes, which must be exactly one record.
/// @return a record with an empty solid if memory is exhausted.
/// @throws FormatError
SolidRecord decodeSolid(std::string_view payload);
TextureRecord decodeTexture(std::string_view payload);

/// Reads the number of solids that the writer counted, one at a time. Their objects must be in ascending order, with at most
/// one solid each.
/// @param objects number of objects of the model.
/// @param sink    receives the index of the object and the mesh of its solid, before the totals are compared.
/// @throws FormatError as readRecords; std::bad_alloc without memory for a solid.
void readSolids(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                const std::function<void(std::uint64_t object, const Mesh& mesh)>& sink);

/// Reads the number of textures that the writer counted, one at a time.
/// @param sink receives each, before the totals are compared.
/// @throws FormatError as readRecords.
void readTextures(RecordReader& reader, const StreamTotals& expected, const std::function<void(const TextureRecord&)>& sink);

} // namespace importer::exchange
