#pragma once

// Readers of the files that the host exports, strict and with nothing of the host.

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace velmor_tests {

/// What an OBJ file of triangles holds.
struct ObjFile {
    std::string comment; ///< Of its first line.
    std::vector<std::array<double, 3>> vertices;
    std::vector<std::array<std::size_t, 3>> triangles; ///< From 0.

    /// Whether the triangles leave no hole: each edge is passed as often in one direction as in the other.
    bool isClosed() const;

    /// The volume that a closed surface encloses, positive when the triangles are counterclockwise from outside.
    double volume() const;

    /// The area of all triangles.
    double area() const;
};

/// What the header of a PNG image says.
struct PngHeader {
    unsigned width = 0;
    unsigned height = 0;
    unsigned bitDepth = 0;
    unsigned colourType = 0; ///< 0 grey, 2 colours, 3 palette, 4 and 6 with transparency.
};

/// Reads the header of a PNG image, whose chunks must reach from its signature to its end.
/// @throws std::runtime_error for anything else.
PngHeader parsePng(const std::string& bytes);

/// Reads an OBJ file of nothing but one comment, vertices, and triangles of vertices before them.
/// @throws std::runtime_error for anything else.
ObjFile parseObj(const std::string& text);

} // namespace velmor_tests
