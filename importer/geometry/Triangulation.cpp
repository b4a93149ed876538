#include "importer/geometry/Triangulation.h"

#include <algorithm>
#include <cmath>
#include <utility>

// Ear clipping with bridges (D. Eberly, "Triangulation by Ear Clipping").
//
// 1. Projection. The face is projected along the coordinate axis closest to its normal, so that the outer loop runs
//    counterclockwise. The following steps use the projection; each corner stores the index of its point.
// 2. Bridges. Each hole is cut open at its rightmost corner and connected to a corner of the outline that is visible from
//    there, by two coincident edges in opposite directions. Holes are connected from right to left, so only the outline and
//    holes that are already part of it lie to the right of a hole. The result is one ring of corners.
// 3. Ears. An ear is a convex corner whose triangle with its two neighbors contains no other corner. Ears are cut off one by
//    one until a triangle is left. The ring is a doubly linked list in two arrays. Only reflex corners can lie in an ear, so
//    only these are tested.
//
// Faces that are not simple polygons may run out of ears. Then the corner with the smallest triangle is cut off, so that the
// number of triangles depends on the number of corners alone.

namespace importer::geometry {

namespace {

// A corner of the projected face.
struct Corner {
    double x;
    double y;
    std::uint32_t point; // index into the list of points

    bool sameAs(const Corner& other) const { return x == other.x && y == other.y; }
};

using Ring = std::vector<Corner>;

// Twice the area of the triangle; positive when it runs counterclockwise.
double turn(const Corner& a, const Corner& b, const Corner& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// Whether p lies in the counterclockwise triangle or on its boundary.
bool contains(const Corner& a, const Corner& b, const Corner& c, const Corner& p) {
    return turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
}

// The projection along the coordinate axis closest to the normal of a loop.
class Projection {
public:
    Projection(const std::vector<Vector3>& points, const std::vector<std::uint32_t>& loop)
        : points_(points), origin_(points[loop.front()]) {
        for (std::size_t i = 2; i < loop.size(); ++i)
            normal_ = normal_ + cross(points[loop[i - 1]] - origin_, points[loop[i]] - origin_);
    }

    Ring operator()(const std::vector<std::uint32_t>& loop) const {
        Ring ring;
        ring.reserve(loop.size());
        for (const std::uint32_t index : loop)
            ring.push_back(project(index));
        return ring;
    }

private:
    Corner project(std::uint32_t index) const {
        const Vector3 p = points_[index] - origin_;
        const double x = std::fabs(normal_.x);
        const double y = std::fabs(normal_.y);
        const double z = std::fabs(normal_.z);
        if (z >= x && z >= y)
            return normal_.z < 0.0 ? Corner{p.y, p.x, index} : Corner{p.x, p.y, index};
        if (x >= y)
            return normal_.x < 0.0 ? Corner{p.z, p.y, index} : Corner{p.y, p.z, index};
        return normal_.y < 0.0 ? Corner{p.x, p.z, index} : Corner{p.z, p.x, index};
    }

    const std::vector<Vector3>& points_;
    Vector3 origin_;
    Vector3 normal_; // of the loop; its length is twice the area
};

class FaceCutter {
public:
    FaceCutter(std::vector<std::uint32_t>& triangles, std::uint64_t& work) : triangles_(triangles), work_(work) {}

    bool cut(const std::vector<Vector3>& points, const FaceLoops& loops);

private:
    // Where a ray to the right first meets the ring.
    struct Hit {
        double x = HUGE_VAL;    // infinite when the ray meets no edge
        std::size_t corner = 0; // right end of the edge that was hit
    };

    bool joinHole(const Ring& hole);
    std::size_t findBridge(const Ring& hole) const;
    Hit castRay(const Corner& from) const;
    std::size_t findVisible(const Corner& from, const Hit& hit) const;
    bool sees(std::size_t corner, const Corner& point) const;

    bool clipEars();
    void linkRing();
    bool isReflex(std::size_t corner) const;
    bool isEar(std::size_t corner) const;
    std::size_t findFlattest(std::size_t start) const;
    void cutOff(std::size_t corner);
    void addTriangle(std::size_t corner);

    std::size_t before(std::size_t i) const { return i == 0 ? ring_.size() - 1 : i - 1; }

    std::size_t after(std::size_t i) const { return i + 1 == ring_.size() ? 0 : i + 1; }

    bool spend(std::uint64_t corners) {
        const bool enough = corners <= work_;
        work_ -= enough ? corners : work_;
        return enough;
    }

    std::vector<std::uint32_t>& triangles_;
    std::uint64_t& work_;
    Ring ring_;                         // the outline with the holes joined to it, counterclockwise
    std::vector<std::size_t> next_;     // of the corners that are left
    std::vector<std::size_t> previous_; // of the corners that are left
    std::vector<std::size_t> reflex_;   // corners that are not convex: only these can lie in an ear
};

bool FaceCutter::cut(const std::vector<Vector3>& points, const FaceLoops& loops) {
    const Projection project(points, loops.front());
    ring_ = project(loops.front());

    // Each hole starts at its rightmost corner, and the rightmost hole comes first.
    std::vector<Ring> holes;
    for (std::size_t i = 1; i < loops.size(); ++i) {
        Ring hole = project(loops[i]);
        if (hole.empty())
            continue;
        std::rotate(hole.begin(),
                    std::max_element(hole.begin(), hole.end(), [](const Corner& a, const Corner& b) { return a.x < b.x; }),
                    hole.end());
        holes.push_back(std::move(hole));
    }
    std::stable_sort(holes.begin(), holes.end(), [](const Ring& a, const Ring& b) { return a.front().x > b.front().x; });
    return std::all_of(holes.begin(), holes.end(), [this](const Ring& hole) { return joinHole(hole); }) && clipEars();
}

// Inserts a hole into the ring after the corner that its bridge leads to. Both ends of the bridge become two corners.
bool FaceCutter::joinHole(const Ring& hole) {
    if (!spend(2 * ring_.size() + hole.size()))
        return false;
    const auto bridge = static_cast<std::ptrdiff_t>(findBridge(hole));
    Ring joined;
    joined.reserve(ring_.size() + hole.size() + 2);
    joined.insert(joined.end(), ring_.begin(), ring_.begin() + bridge + 1);
    joined.insert(joined.end(), hole.begin(), hole.end());
    joined.push_back(hole.front());
    joined.insert(joined.end(), ring_.begin() + bridge, ring_.end());
    ring_ = std::move(joined);
    return true;
}

// The corner of the ring that the first corner of a hole is connected to. A hole outside the ring gets the first corner.
std::size_t FaceCutter::findBridge(const Ring& hole) const {
    const Corner from = hole.front();
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        if (ring_[i].sameAs(from) && sees(i, hole[1 % hole.size()]))
            return i; // the hole touches the ring: a bridge without length
    }
    const Hit hit = castRay(from);
    return hit.x < HUGE_VAL ? findVisible(from, hit) : hit.corner;
}

FaceCutter::Hit FaceCutter::castRay(const Corner& from) const {
    Hit hit;
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        const Corner& a = ring_[i];
        const Corner& b = ring_[after(i)];
        if (!(a.y <= from.y && from.y <= b.y) || a.y == b.y)
            continue; // the inside is to the left of an edge, so only upward edges face the hole
        const double x = a.x + (from.y - a.y) / (b.y - a.y) * (b.x - a.x);
        if (x >= from.x && x < hit.x) {
            hit.x = x;
            hit.corner = a.x > b.x ? i : after(i);
        }
    }
    return hit;
}

// The right end of the edge that was hit is visible, unless corners lie in the triangle between the ray and that end. Then
// the corner closest to the direction of the ray is visible.
std::size_t FaceCutter::findVisible(const Corner& from, const Hit& hit) const {
    const Corner hitPoint{hit.x, from.y, 0};
    const Corner end = ring_[hit.corner];
    std::size_t best = hit.corner;
    double leastSlope = HUGE_VAL;
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        const Corner& p = ring_[i];
        const bool isBetween = end.y < from.y ? contains(from, end, hitPoint, p) : contains(from, hitPoint, end, p);
        if (!isBetween || p.x <= from.x)
            continue;
        const double slope = std::fabs(p.y - from.y) / (p.x - from.x);
        if (sees(i, from) && (slope < leastSlope || (slope == leastSlope && p.x < ring_[best].x))) {
            leastSlope = slope;
            best = i;
        }
    }
    return best;
}

// Whether a point lies in the inner angle of a corner. Bridges make corners in the same place; the angle selects one.
bool FaceCutter::sees(std::size_t corner, const Corner& point) const {
    const Corner& p = ring_[corner];
    const Corner& previous = ring_[before(corner)];
    const Corner& next = ring_[after(corner)];
    const bool isConvex = turn(previous, p, next) >= 0.0;
    const bool left = turn(previous, p, point) >= 0.0;
    const bool right = turn(p, next, point) >= 0.0;
    return isConvex ? left && right : left || right;
}

bool FaceCutter::clipEars() {
    if (ring_.size() < 3)
        return true;
    linkRing();
    std::size_t corner = 0;
    std::size_t left = ring_.size();
    std::size_t tried = 0; // corners since the last one that was cut off
    while (left > 3) {
        if (!spend(1 + reflex_.size()))
            return false;
        if (tried == left) {
            // No ear is left: loops cross or touch, or all corners are collinear.
            if (!spend(left))
                return false;
            corner = findFlattest(corner);
        } else if (!isEar(corner)) {
            corner = next_[corner];
            ++tried;
            continue;
        }
        const std::size_t neighbor = next_[corner];
        addTriangle(corner);
        cutOff(corner);
        --left;
        tried = 0;
        corner = next_[neighbor]; // skips the neighbor: otherwise all triangles of a convex face would share one corner
    }
    addTriangle(corner);
    return true;
}

void FaceCutter::linkRing() {
    next_.resize(ring_.size());
    previous_.resize(ring_.size());
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        next_[i] = after(i);
        previous_[i] = before(i);
    }
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        if (isReflex(i))
            reflex_.push_back(i);
    }
}

bool FaceCutter::isReflex(std::size_t corner) const {
    return !(turn(ring_[previous_[corner]], ring_[corner], ring_[next_[corner]]) > 0.0);
}

bool FaceCutter::isEar(std::size_t corner) const {
    const Corner& a = ring_[previous_[corner]];
    const Corner& b = ring_[corner];
    const Corner& c = ring_[next_[corner]];
    if (isReflex(corner))
        return false;
    return std::none_of(reflex_.begin(), reflex_.end(), [&](std::size_t i) {
        const Corner& p = ring_[i];
        return !p.sameAs(a) && !p.sameAs(b) && !p.sameAs(c) && contains(a, b, c, p);
    });
}

// The corner whose triangle has the smallest area.
std::size_t FaceCutter::findFlattest(std::size_t start) const {
    std::size_t best = start;
    double leastArea = HUGE_VAL;
    std::size_t i = start;
    do {
        const double area = std::fabs(turn(ring_[previous_[i]], ring_[i], ring_[next_[i]]));
        if (area < leastArea) {
            leastArea = area;
            best = i;
        }
        i = next_[i];
    } while (i != start);
    return best;
}

// Removes a corner from the list. Its neighbors may become convex; a convex corner never becomes reflex.
void FaceCutter::cutOff(std::size_t corner) {
    const std::size_t previous = previous_[corner];
    const std::size_t next = next_[corner];
    next_[previous] = next;
    previous_[next] = previous;
    reflex_.erase(
        std::remove_if(reflex_.begin(), reflex_.end(),
                       [&](std::size_t i) { return i == corner || ((i == previous || i == next) && !isReflex(i)); }),
        reflex_.end());
}

void FaceCutter::addTriangle(std::size_t corner) {
    triangles_.insert(triangles_.end(), {ring_[previous_[corner]].point, ring_[corner].point, ring_[next_[corner]].point});
}

} // namespace

bool triangulate(const std::vector<Vector3>& points, const FaceLoops& loops, std::vector<std::uint32_t>& triangles,
                 std::uint64_t& work) {
    if (loops.empty() || loops.front().empty())
        return true;
    return FaceCutter(triangles, work).cut(points, loops);
}

} // namespace importer::geometry
