#pragma once

// Bodies bounded by plane faces: whether they are closed, their volume and its centre.

#include "importer/geometry/Vector.h"

#include <cstdint>
#include <vector>

namespace importer::geometry {

/// A set of faces over common points. A face is a loop, and one more for each hole, running the other way round.
class Polyhedron {
public:
    std::vector<Vector3> points;

    /// Begins a face with its outline; `addCorner` then adds to it.
    void beginLoop() { loops_.push_back({corners_.size(), false}); }

    /// Begins a hole of the face that was begun last.
    void beginHole() { loops_.push_back({corners_.size(), true}); }

    /// @param point index into `points`.
    void addCorner(std::uint32_t point) { corners_.push_back(point); }

    /// Adds a loop of three or four corners.
    void addLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c);
    void addLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d);

    std::size_t cornerCount() const { return corners_.size(); }

    /// Whether the loops bound a solid: each edge occurs exactly twice, once in each direction.
    bool isClosed() const;

    struct Measure {
        double volume = 0.0; ///< Never negative: a body that is inside out is taken as meant the right way round.
        Vector3 centroid;
        bool insideOut = false; ///< Whether its loops run clockwise, seen from outside.
    };

    /// Volume and centre of a closed body with its points moved to `moved`, by the divergence theorem: the sum of the
    /// tetrahedra over the triangles that each loop is cut into.
    Measure measure(const std::vector<Vector3>& moved) const;

    /// The faces of the body as triangles, with its points moved to `moved`; of a closed body they are closed, too.
    /// @param[out] triangles three indices of points for each are appended.
    /// @param[in,out] work   as for `geometry::triangulate`.
    /// @return false when the work was not enough.
    bool triangulate(const std::vector<Vector3>& moved, std::vector<std::uint32_t>& triangles, std::uint64_t& work) const;

private:
    struct Loop {
        std::size_t first; // index of its first corner
        bool hole;
    };

    std::size_t endOf(std::size_t loop) const { return loop + 1 < loops_.size() ? loops_[loop + 1].first : corners_.size(); }

    template <typename Visitor>
    void forEachLoop(Visitor visit) const {
        for (std::size_t i = 0; i < loops_.size(); ++i)
            visit(corners_.data() + loops_[i].first, endOf(i) - loops_[i].first);
    }

    std::vector<std::uint32_t> corners_;
    std::vector<Loop> loops_;
};

} // namespace importer::geometry
