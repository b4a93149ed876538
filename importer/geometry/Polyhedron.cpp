#include "importer/geometry/Polyhedron.h"

#include "importer/geometry/Triangulation.h"

#include <algorithm>

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
    // An edge is its two points, the smaller one first, and in the lowest bit its direction.
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
        const bool pair = (edges[i] ^ edges[i + 1]) == 1;
        if (!pair || (i != 0 && edges[i - 1] >> 1 == edges[i] >> 1))
            return false;
    }
    return true;
}

Polyhedron::Measure Polyhedron::measure(const std::vector<Vector3>& moved) const {
    // Measured from a point of the body, so that a place far from the origin costs no digits.
    const Vector3 base = moved.empty() ? Vector3() : moved.front();
    double volume = 0.0;
    Vector3 moment;
    forEachLoop([&](const std::uint32_t* corner, std::size_t count) {
        for (std::size_t i = 2; i < count; ++i) {
            const Vector3 a = moved[corner[0]] - base;
            const Vector3 b = moved[corner[i - 1]] - base;
            const Vector3 c = moved[corner[i]] - base;
            const double six = dot(a, cross(b, c));
            volume += six;
            moment = moment + (a + b + c) * six;
        }
    });
    Measure result;
    result.volume = std::fabs(volume) / 6.0;
    result.insideOut = volume < 0.0;
    if (volume != 0.0)
        result.centroid = base + moment * (0.25 / volume);
    return result;
}

bool Polyhedron::triangulate(const std::vector<Vector3>& moved, std::vector<std::uint32_t>& triangles,
                             std::uint64_t& work) const {
    FaceLoops face;
    for (std::size_t i = 0; i < loops_.size(); ++i) {
        if (i != 0 && !loops_[i].hole) {
            if (!geometry::triangulate(moved, face, triangles, work))
                return false;
            face.clear();
        }
        const auto* const corners = corners_.data();
        face.emplace_back(corners + loops_[i].first, corners + endOf(i));
    }
    return geometry::triangulate(moved, face, triangles, work);
}

} // namespace importer::geometry
