#pragma once

// Bodies bounded by planar faces: whether they are closed, their volume, their centroid and their triangles.

#include "importer/geometry/Vector.h"

#include <cstdint>
#include <vector>

namespace importer::geometry {

/// A set of faces that share a list of points. A face is an outer loop and one loop for each hole, in the opposite
/// direction.
class Polyhedron {
public:
    std::vector<Vector3> points;

    /// Starts a face with its outer loop. `addCorner` adds corners to the loop that was started last.
    void beginLoop() { loops_.push_back({corners_.size(), false}); }

    /// Starts a hole in the face that was started last.
    void beginHole() { loops_.push_back({corners_.size(), true}); }

    /// @param point index into `points`.
    void addCorner(std::uint32_t point) { corners_.push_back(point); }

    /// Adds a face of three or four corners without holes.
    void addLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c);
    void addLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d);

    std::size_t cornerCount() const { return corners_.size(); }

    /// Whether the faces bound a solid: each edge occurs exactly twice, once in each direction.
    /// Complexity: O(n log n) for n corners.
    bool isClosed() const;

    struct Measure {
        double volume = 0.0; ///< Never negative: a body whose faces all point inward has the same volume.
        Vector3 centroid;
        bool insideOut = false; ///< Whether the outer loops run clockwise, seen from outside.
    };

    /// Volume and centroid of a closed body.
    /// @param moved the points, transformed; as many as `points`.
    Measure measure(const std::vector<Vector3>& moved) const;

    /// Cuts all faces into triangles. The triangles of a closed body are closed too.
    /// @param moved          the points, transformed; as many as `points`.
    /// @param[out] triangles receives three indices into `points` per triangle, appended.
    /// @param[in,out] work   as for `geometry::triangulate`.
    /// @return false when `work` was not enough.
    bool triangulate(const std::vector<Vector3>& moved, std::vector<std::uint32_t>& triangles, std::uint64_t& work) const;

private:
    struct LoopStart {
        std::size_t firstCorner; // index into corners_
        bool isHole;
    };

    std::size_t endOf(std::size_t loop) const {
        return loop + 1 < loops_.size() ? loops_[loop + 1].firstCorner : corners_.size();
    }

    template <typename Visitor>
    void forEachLoop(Visitor visit) const {
        for (std::size_t i = 0; i < loops_.size(); ++i)
            visit(corners_.data() + loops_[i].firstCorner, endOf(i) - loops_[i].firstCorner);
    }

    std::vector<std::uint32_t> corners_; // of all loops, one after another: indices into points
    std::vector<LoopStart> loops_;       // the holes of a face follow its outer loop
};

} // namespace importer::geometry
