#include "importer/geometry/Triangulation.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace importer::geometry {

namespace {

struct Corner {
    double x;
    double y;
    std::uint32_t point; // index into the list of points

    bool sameAs(const Corner& other) const { return x == other.x && y == other.y; }
};

using Ring = std::vector<Corner>;

/// Twice the area of the triangle; positive when it runs counterclockwise.
double turn(const Corner& a, const Corner& b, const Corner& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool contains(const Corner& a, const Corner& b, const Corner& c, const Corner& p) {
    return turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
}

/// Twice the area of a loop, as a vector along its normal.
Vector3 areaVector(const std::vector<Vector3>& points, const std::vector<std::uint32_t>& loop) {
    Vector3 sum;
    for (std::size_t i = 2; i < loop.size(); ++i)
        sum = sum + cross(points[loop[i - 1]] - points[loop[0]], points[loop[i]] - points[loop[0]]);
    return sum;
}

class FaceCutter {
public:
    FaceCutter(std::vector<std::uint32_t>& triangles, std::uint64_t& work) : triangles_(triangles), work_(work) {}

    bool cut(const std::vector<Vector3>& points, const FaceLoops& loops);

private:
    bool joinHole(const Ring& hole);
    bool clipEars();
    bool isEar(std::size_t previous, std::size_t ear, std::size_t next);
    std::size_t flattest(std::size_t start);
    void add(std::size_t a, std::size_t b, std::size_t c);

    bool spend(std::uint64_t corners) {
        const bool enough = corners <= work_;
        work_ -= enough ? corners : work_;
        return enough;
    }

    std::vector<std::uint32_t>& triangles_;
    std::uint64_t& work_;
    Ring ring_; // the outline with the holes joined to it, counterclockwise
    std::vector<std::size_t> next_;
    std::vector<std::size_t> previous_;
    std::vector<std::size_t> reflex_; // corners that may lie in an ear
};

bool FaceCutter::cut(const std::vector<Vector3>& points, const FaceLoops& loops) {
    // The face as it is seen along the axis that it faces most, from the side from which it is counterclockwise.
    const Vector3 normal = areaVector(points, loops.front());
    const double x = std::fabs(normal.x);
    const double y = std::fabs(normal.y);
    const double z = std::fabs(normal.z);
    const auto seen = [&](std::uint32_t index) -> Corner {
        const Vector3 p = points[index] - points[loops.front().front()];
        if (z >= x && z >= y)
            return normal.z < 0.0 ? Corner{p.y, p.x, index} : Corner{p.x, p.y, index};
        if (x >= y)
            return normal.x < 0.0 ? Corner{p.z, p.y, index} : Corner{p.y, p.z, index};
        return normal.y < 0.0 ? Corner{p.x, p.z, index} : Corner{p.z, p.x, index};
    };
    const auto seenLoop = [&](const std::vector<std::uint32_t>& loop) {
        Ring ring;
        ring.reserve(loop.size());
        for (const std::uint32_t index : loop)
            ring.push_back(seen(index));
        return ring;
    };
    ring_ = seenLoop(loops.front());

    // Each hole begins at its rightmost corner, and the rightmost hole comes first: nothing but the outline, or a hole that
    // has been joined to it, lies to its right.
    std::vector<Ring> holes;
    for (std::size_t i = 1; i < loops.size(); ++i) {
        Ring hole = seenLoop(loops[i]);
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

bool FaceCutter::joinHole(const Ring& hole) {
    if (!spend(2 * ring_.size() + hole.size()))
        return false;
    // Where a ray from the hole to the right first meets the ring.
    const Corner from = hole.front();
    const std::size_t count = ring_.size();
    std::size_t bridge = 0; // of a hole that lies outside: anywhere
    double nearest = HUGE_VAL;
    for (std::size_t i = 0; i < count; ++i) {
        const Corner& a = ring_[i];
        const Corner& b = ring_[i + 1 == count ? 0 : i + 1];
        if (!(a.y <= from.y && from.y <= b.y) || a.y == b.y)
            continue; // only edges that have the inside to their left face the hole
        const double at = a.x + (from.y - a.y) / (b.y - a.y) * (b.x - a.x);
        if (at >= from.x && at < nearest) {
            nearest = at;
            bridge = a.x > b.x ? i : (i + 1 == count ? 0 : i + 1);
        }
    }
    // That edge's right end is seen from the hole, unless corners lie in the triangle between: then the one of them that is
    // nearest to the ray's direction.
    // Of corners in the same place that one sees a point whose own angle the point lies in.
    const auto sees = [this, count](std::size_t i, const Corner& point) {
        const Corner& p = ring_[i];
        const Corner& before = ring_[i == 0 ? count - 1 : i - 1];
        const Corner& after = ring_[i + 1 == count ? 0 : i + 1];
        const bool convex = turn(before, p, after) >= 0.0;
        const bool left = turn(before, p, point) >= 0.0;
        const bool right = turn(p, after, point) >= 0.0;
        return convex ? left && right : left || right;
    };
    std::size_t touching = 0;
    while (touching < count && !(ring_[touching].sameAs(from) && sees(touching, hole[1 % hole.size()])))
        ++touching;
    if (touching < count) {
        bridge = touching;
    } else if (nearest < HUGE_VAL) {
        const Corner hit{nearest, from.y, 0};
        const Corner end = ring_[bridge];
        double slope = HUGE_VAL;
        for (std::size_t i = 0; i < count; ++i) {
            const Corner& p = ring_[i];
            const bool between = end.y < from.y ? contains(from, end, hit, p) : contains(from, hit, end, p);
            if (!between || p.x <= from.x)
                continue;
            const double steepness = std::fabs(p.y - from.y) / (p.x - from.x);
            if (sees(i, from) && (steepness < slope || (steepness == slope && p.x < ring_[bridge].x))) {
                slope = steepness;
                bridge = i;
            }
        }
    }
    Ring joined;
    joined.reserve(count + hole.size() + 2);
    joined.insert(joined.end(), ring_.begin(), ring_.begin() + static_cast<std::ptrdiff_t>(bridge) + 1);
    joined.insert(joined.end(), hole.begin(), hole.end());
    joined.push_back(hole.front());
    joined.insert(joined.end(), ring_.begin() + static_cast<std::ptrdiff_t>(bridge), ring_.end());
    ring_ = std::move(joined);
    return true;
}

bool FaceCutter::isEar(std::size_t previous, std::size_t ear, std::size_t next) {
    const Corner& a = ring_[previous];
    const Corner& b = ring_[ear];
    const Corner& c = ring_[next];
    if (!(turn(a, b, c) > 0.0))
        return false;
    return std::none_of(reflex_.begin(), reflex_.end(), [&](std::size_t i) {
        const Corner& p = ring_[i];
        return !p.sameAs(a) && !p.sameAs(b) && !p.sameAs(c) && contains(a, b, c, p);
    });
}

/// The corner whose loss changes the area least.
std::size_t FaceCutter::flattest(std::size_t start) {
    std::size_t best = start;
    double least = HUGE_VAL;
    std::size_t i = start;
    do {
        const double area = std::fabs(turn(ring_[previous_[i]], ring_[i], ring_[next_[i]]));
        if (area < least) {
            least = area;
            best = i;
        }
        i = next_[i];
    } while (i != start);
    return best;
}

bool FaceCutter::clipEars() {
    const std::size_t count = ring_.size();
    if (count < 3)
        return true;
    next_.resize(count);
    previous_.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        next_[i] = i + 1 == count ? 0 : i + 1;
        previous_[i] = i == 0 ? count - 1 : i - 1;
    }
    const auto isReflex = [this](std::size_t i) { return !(turn(ring_[previous_[i]], ring_[i], ring_[next_[i]]) > 0.0); };
    for (std::size_t i = 0; i < count; ++i) {
        if (isReflex(i))
            reflex_.push_back(i);
    }
    std::size_t corner = 0;
    std::size_t left = count;
    std::size_t tried = 0; // since the last ear
    while (left > 3) {
        if (!spend(1 + reflex_.size()))
            return false;
        if (tried == left) {
            // Loops that cross or touch may have no ear left, corners in one line have none.
            if (!spend(left))
                return false;
            corner = flattest(corner);
        } else if (!isEar(previous_[corner], corner, next_[corner])) {
            corner = next_[corner];
            ++tried;
            continue;
        }
        add(previous_[corner], corner, next_[corner]);
        const std::size_t before = previous_[corner];
        const std::size_t after = next_[corner];
        next_[before] = after;
        previous_[after] = before;
        --left;
        tried = 0;
        // A corner only ever becomes less reflex.
        reflex_.erase(
            std::remove_if(reflex_.begin(), reflex_.end(),
                           [&](std::size_t i) { return i == corner || ((i == before || i == after) && !isReflex(i)); }),
            reflex_.end());
        corner = next_[after]; // not beside the last one, or all triangles would meet in one corner
    }
    add(previous_[corner], corner, next_[corner]);
    return true;
}

void FaceCutter::add(std::size_t a, std::size_t b, std::size_t c) {
    triangles_.insert(triangles_.end(), {ring_[a].point, ring_[b].point, ring_[c].point});
}

} // namespace

bool triangulate(const std::vector<Vector3>& points, const FaceLoops& loops, std::vector<std::uint32_t>& triangles,
                 std::uint64_t& work) {
    if (loops.empty() || loops.front().empty())
        return true;
    return FaceCutter(triangles, work).cut(points, loops);
}

} // namespace importer::geometry
