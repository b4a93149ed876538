#pragma once

// Strict readers of the files that the host exports. They share no code with the host.

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace velmor_tests {

/// The content of an OBJ file of triangles.
struct ObjFile {
    std::string comment; ///< The first line, without "# ".
    std::vector<std::array<double, 3>> vertices;
    std::vector<std::array<std::size_t, 3>> triangles; ///< Indices of vertices, from 0.

    /// Whether the surface has no holes: as many triangles contain each edge in one direction as in the other.
    bool isClosed() const;

    /// The volume inside a closed surface, positive if the triangles are counterclockwise from outside.
    double volume() const;

    /// The area of all triangles.
    double area() const;
};

/// The header of a PNG image.
struct PngHeader {
    unsigned width = 0;
    unsigned height = 0;
    unsigned bitDepth = 0;
    unsigned colorType = 0; ///< 0 gray, 2 color, 3 palette, 4 gray with alpha, 6 color with alpha.
};

/// Reads the header of a PNG image and checks that its chunks are complete.
/// @throws std::runtime_error if the image is invalid.
PngHeader parsePng(const std::string& bytes);

/// Reads an OBJ file that consists of one comment, vertices, and triangles; the vertices of a triangle precede it.
/// @throws std::runtime_error if the file contains anything else.
ObjFile parseObj(const std::string& text);

} // namespace velmor_tests
