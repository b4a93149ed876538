#pragma once

// Bodies bounded by plane faces: whether they are closed, their volume and its centre.

#include "GeometryMath.h"

#include <cstdint>
#include <vector>

namespace importer {

/// A set of loops over common points. A face with holes is several loops, the holes running the other way round.
class Polyhedron {
public:
    std::vector<Vector3> points;

    /// Begins a loop; `addCorner` then adds to it.
    void beginLoop() { loops_.push_back(corners_.size()); }

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
    };

    /// Volume and centre of a closed body with its points moved to `moved`, by the divergence theorem: the sum of the
    /// tetrahedra over the triangles that each loop is cut into.
    Measure measure(const std::vector<Vector3>& moved) const;

private:
    template <typename Visitor>
    void forEachLoop(Visitor visit) const {
        for (std::size_t i = 0; i < loops_.size(); ++i) {
            const std::size_t last = i + 1 < loops_.size() ? loops_[i + 1] : corners_.size();
            visit(corners_.data() + loops_[i], last - loops_[i]);
        }
    }

    std::vector<std::uint32_t> corners_;
    std::vector<std::size_t> loops_; // index of the first corner of each
};

} // namespace importer
