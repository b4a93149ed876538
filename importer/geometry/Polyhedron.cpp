#include "importer/geometry/Polyhedron.h"

#include "importer/geometry/Triangulation.h"

#include <algorithm>

// A body is one array of corners and one array of loop starts; no object is allocated per face.
//
// Closedness: every directed edge becomes a 64-bit key with the direction in its lowest bit. After sorting, the two uses of
// an edge are adjacent and must differ in that bit alone.
//
// Volume and centroid: divergence theorem. Each loop is cut into a fan of triangles; each triangle forms a tetrahedron with
// a common base point. The signed volumes dot(a, cross(b, c)) / 6 add up to the volume, and the centroids (a + b + c) / 4,
// weighted with them, to the centroid. Holes run in the opposite direction, so their fans are subtracted.

namespace importer::geometry {

void Polyhedron::addLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    beginLoop();
    corners_.insert(corners_.end(), {a, b, c});
}

void Polyhedron::addLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    beginLoop();
    corners_.insert(corners_.end(), {a, b, c, d});
}

bool Polyhedron::isClosed() const {
    // Bits of a key: 63 to 32 the smaller point, 31 to 1 the larger point, 0 the direction.
    std::vector<std::uint64_t> edges;
    edges.reserve(corners_.size());
    forEachLoop([&](const std::uint32_t* corner, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t a = corner[i];
            const std::uint64_t b = corner[i + 1 == count ? 0 : i + 1];
            if (a != b)
                edges.push_back(a < b ? a << 32 | b << 1 : b << 32 | a << 1 | 1);
        }
    });
    std::sort(edges.begin(), edges.end());
    if (edges.empty() || edges.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < edges.size(); i += 2) {
        const bool isPair = (edges[i] ^ edges[i + 1]) == 1;
        if (!isPair || (i != 0 && edges[i - 1] >> 1 == edges[i] >> 1))
            return false;
    }
    return true;
}

Polyhedron::Measure Polyhedron::measure(const std::vector<Vector3>& moved) const {
    // The base point is a point of the body, to preserve precision when the body is far from the origin.
    const Vector3 base = moved.empty() ? Vector3() : moved.front();
    double sixfoldVolume = 0.0;
    Vector3 moment;
    forEachLoop([&](const std::uint32_t* corner, std::size_t count) {
        for (std::size_t i = 2; i < count; ++i) {
            const Vector3 a = moved[corner[0]] - base;
            const Vector3 b = moved[corner[i - 1]] - base;
            const Vector3 c = moved[corner[i]] - base;
            const double sixfold = dot(a, cross(b, c));
            sixfoldVolume += sixfold;
            moment = moment + (a + b + c) * sixfold;
        }
    });
    Measure result;
    result.volume = std::fabs(sixfoldVolume) / 6.0;
    result.insideOut = sixfoldVolume < 0.0;
    if (sixfoldVolume != 0.0)
        result.centroid = base + moment * (0.25 / sixfoldVolume);
    return result;
}

bool Polyhedron::triangulate(const std::vector<Vector3>& moved, std::vector<std::uint32_t>& triangles,
                             std::uint64_t& work) const {
    FaceLoops face;
    for (std::size_t i = 0; i < loops_.size(); ++i) {
        if (i != 0 && !loops_[i].isHole) {
            if (!geometry::triangulate(moved, face, triangles, work))
                return false;
            face.clear();
        }
        const std::uint32_t* const corners = corners_.data();
        face.emplace_back(corners + loops_[i].firstCorner, corners + endOf(i));
    }
    return geometry::triangulate(moved, face, triangles, work);
}

} // namespace importer::geometry
