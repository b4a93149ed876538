#include "importer/geometry/Triangulation.h"

#include "importer/geometry/Loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace velmor_tests {

using namespace importer::geometry;

namespace {

// The triangles of a face whose loops are given by their points.
struct Cut {
    explicit Cut(const std::vector<Loop>& loops, std::uint64_t work = 1000000000) {
        FaceLoops indices;
        for (const Loop& loop : loops) {
            indices.emplace_back(loop.size());
            std::iota(indices.back().begin(), indices.back().end(), static_cast<std::uint32_t>(points.size()));
            points.insert(points.end(), loop.begin(), loop.end());
        }
        complete = triangulate(points, indices, triangles, work);
        workLeft = work;
    }

    Vector3 corner(std::size_t i) const { return points[triangles[i]]; }

    std::vector<Vector3> points;
    std::vector<std::uint32_t> triangles;
    bool complete = false;
    std::uint64_t workLeft = 0;
};

Vector3 doubleArea(const Vector3& a, const Vector3& b, const Vector3& c) {
    return cross(b - a, c - a);
}

// Expects the right number of triangles, none of them reversed, with the area of the face as their sum: then no triangle
// overlaps another one and none lies outside.
// @param normal of the plane of the face.
void expectCut(const std::vector<Loop>& loops, const Vector3& normal, double area) {
    const Cut cut(loops);
    ASSERT_TRUE(cut.complete);
    std::size_t corners = 0;
    for (const Loop& loop : loops)
        corners += loop.size();
    ASSERT_EQ(cut.triangles.size(), 3 * (corners + 2 * (loops.size() - 1) - 2));
    double sum = 0.0;
    for (std::size_t i = 0; i < cut.triangles.size(); i += 3) {
        const double twice = dot(doubleArea(cut.corner(i), cut.corner(i + 1), cut.corner(i + 2)), normal);
        EXPECT_GE(twice, -1e-9 * area);
        sum += twice / 2.0;
    }
    EXPECT_NEAR(sum, area, 1e-9 * area);
}

const Vector3 upward{0.0, 0.0, 1.0};

Loop reversed(Loop loop) {
    std::reverse(loop.begin(), loop.end());
    return loop;
}

Loop square(double x, double y, double side) {
    return {{x, y, 0}, {x + side, y, 0}, {x + side, y + side, 0}, {x, y + side, 0}};
}

Loop circle(double x, double y, double radius, int corners) {
    Loop loop;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2.0 * pi * i / corners;
        loop.push_back({x + radius * std::cos(angle), y + radius * std::sin(angle), 0.0});
    }
    return loop;
}

double areaOfCircle(double radius, int corners) {
    return corners * radius * radius * std::sin(2.0 * pi / corners) / 2.0;
}

TEST(Triangulation, CutsConvexFaces) {
    expectCut({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}, upward, 0.5);
    expectCut({square(0, 0, 2)}, upward, 4.0);
    expectCut({circle(5, -3, 2, 64)}, upward, areaOfCircle(2, 64));
}

TEST(Triangulation, CutsConcaveFaces) {
    expectCut({{{0, 0, 0}, {3, 0, 0}, {3, 1, 0}, {1, 1, 0}, {1, 3, 0}, {0, 3, 0}}}, upward, 5.0); // an L shape
    Loop comb{{0, 0, 0}};
    for (int tooth = 0; tooth < 50; ++tooth) {
        const double x = tooth;
        comb.insert(comb.end(), {{x + 0.1, 0.1, 0}, {x + 0.2, 10, 0}, {x + 0.8, 10, 0}, {x + 0.9, 0.1, 0}});
    }
    comb.insert(comb.end(), {{50, 0, 0}, {50, -1, 0}, {0, -1, 0}});
    // 50 teeth on a strip; the area is that of the polygon.
    double area = 0.0;
    for (std::size_t i = 0; i < comb.size(); ++i) {
        const Vector3& a = comb[i];
        const Vector3& b = comb[(i + 1) % comb.size()];
        area += (a.x * b.y - b.x * a.y) / 2.0;
    }
    expectCut({reversed(comb)}, upward, -area);
}

TEST(Triangulation, CutsFacesWithCollinearCorners) {
    expectCut({{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {2, 2, 0}, {1, 2, 0}, {0, 2, 0}, {0, 1, 0}}}, upward, 4.0);
}

TEST(Triangulation, CutsFacesWithHolesInRowsAndColumns) {
    std::vector<Loop> row{square(0, 0, 10)};
    std::vector<Loop> column = row;
    std::vector<Loop> grid = row;
    for (int i = 0; i < 4; ++i) {
        row.push_back(reversed(square(1 + 2 * i, 4, 1)));
        column.push_back(reversed(square(4, 1 + 2 * i, 1)));
        for (int j = 0; j < 4; ++j)
            grid.push_back(reversed(circle(2 + 2 * i, 2 + 2 * j, 0.5, 16)));
    }
    expectCut(row, upward, 96.0);
    expectCut(column, upward, 96.0);
    expectCut(grid, upward, 100.0 - 16.0 * areaOfCircle(0.5, 16));
}

TEST(Triangulation, CutsHolesThatTouchTheOutlineOrEachOther) {
    expectCut({square(0, 0, 10), reversed({{5, 5, 0}, {10, 6, 0}, {5, 7, 0}})}, upward, 95.0);
    expectCut({square(0, 0, 10), reversed({{2, 4, 0}, {5, 5, 0}, {2, 6, 0}}), reversed({{5, 5, 0}, {8, 4, 0}, {8, 6, 0}})},
              upward, 94.0);
}

TEST(Triangulation, CutsFacesInAnyPlane) {
    for (const Vector3& normal : {Vector3{1, 0, 0}, Vector3{-1, 0, 0}, Vector3{0, 1, 0}, Vector3{0, -1, 0},
                                  Vector3{0, 0, -1}, Vector3{0.6, 0.0, 0.8}, Vector3{-0.48, 0.6, -0.64}}) {
        const Vector3 side = std::fabs(normal.x) < 0.9 ? Vector3{1, 0, 0} : Vector3{0, 1, 0};
        Vector3 u = side - normal * dot(side, normal);
        u = u * (1.0 / length(u));
        const Vector3 v = cross(normal, u);
        std::vector<Loop> loops{square(0, 0, 10), reversed(square(2, 2, 3)), reversed(square(6, 6, 2))};
        for (Loop& loop : loops) {
            for (Vector3& point : loop)
                point = u * point.x + v * point.y + normal * 7.0;
        }
        expectCut(loops, normal, 87.0);
    }
}

TEST(Triangulation, CutsRandomStarsWithHoles) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    // A star around a center: one random radius per angle.
    const auto star = [&](double x, double y, double inner, double outer, int corners) {
        Loop loop;
        for (int i = 0; i < corners; ++i) {
            const double angle = 2.0 * pi * i / corners;
            const double radius = inner + (outer - inner) * share(random);
            loop.push_back({x + radius * std::cos(angle), y + radius * std::sin(angle), 0.0});
        }
        return loop;
    };
    const auto areaOf = [](const Loop& loop) {
        double area = 0.0;
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const Vector3& a = loop[i];
            const Vector3& b = loop[(i + 1) % loop.size()];
            area += (a.x * b.y - b.x * a.y) / 2.0;
        }
        return area;
    };
    for (int round = 0; round < 300; ++round) {
        const int corners = 8 + static_cast<int>(share(random) * 100);
        std::vector<Loop> loops{star(0, 0, 10, 20, corners)};
        double area = areaOf(loops.front());
        for (int x = -1; x <= 1; ++x) {
            for (int y = -1; y <= 1; ++y) {
                if (share(random) < 0.5)
                    continue;
                const Loop hole = star(3.0 * x, 3.0 * y, 0.2, 1.4, 3 + static_cast<int>(share(random) * 20));
                area -= areaOf(hole);
                loops.push_back(reversed(hole));
            }
        }
        expectCut(loops, upward, area);
    }
}

TEST(Triangulation, ReturnsTheUsualNumberOfTrianglesForInvalidFaces) {
    EXPECT_TRUE(Cut({}).complete);
    EXPECT_TRUE(Cut({Loop()}).triangles.empty());
    EXPECT_TRUE(Cut({{{0, 0, 0}, {1, 0, 0}}}).triangles.empty());
    // A loop that crosses itself, collinear corners, equal corners, a hole outside, coordinates that are NaN.
    EXPECT_EQ(Cut({{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}}}).triangles.size(), 6u);
    EXPECT_EQ(Cut({{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}}}).triangles.size(), 6u);
    EXPECT_EQ(Cut({Loop(5)}).triangles.size(), 9u);
    EXPECT_EQ(Cut({square(0, 0, 1), reversed(square(5, 5, 1))}).triangles.size(), 24u);
    const double nan = std::nan("");
    EXPECT_EQ(Cut({{{0, 0, 0}, {nan, 0, 0}, {1, 1, nan}, {0, 1, 0}}}).triangles.size(), 6u);
}

TEST(Triangulation, FailsWhenTheWorkIsNotEnough) {
    const Loop loop = circle(0, 0, 1, 1000);
    EXPECT_FALSE(Cut({loop}, 500).complete);
    EXPECT_EQ(Cut({loop}, 500).workLeft, 0u);
    EXPECT_FALSE(Cut({square(-5, -5, 10), reversed(loop)}, 10).complete);
    EXPECT_TRUE(Cut({loop}, 2000).complete);
}

} // namespace
} // namespace velmor_tests
