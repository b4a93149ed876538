#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace velmor_tests {

/// What an OBJ file of triangles holds.
struct ObjFile {
    std::string comment; ///< Of its first line.
    std::vector<std::array<double, 3>> vertexes;
    std::vector<std::array<std::size_t, 3>> triangles; ///< From 0.

    /// Whether the triangles leave no hole: each edge is passed as often in one direction as in the other.
    bool isClosed() const;

    /// The volume that a closed surface encloses, positive when the triangles are counterclockwise from outside.
    double volume() const;
};

/// Reads an OBJ file of nothing but one comment, vertices, and triangles of vertices before them.
/// @throws std::runtime_error for anything else.
ObjFile parseObj(const std::string& text);

} // namespace velmor_tests
