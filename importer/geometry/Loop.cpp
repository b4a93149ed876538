#include "importer/geometry/Loop.h"

namespace importer::geometry {

Vector3 doubleAreaVector(const Loop& loop) {
    // A fan of triangles around the first corner. Coordinates relative to that corner preserve precision far from the
    // origin.
    Vector3 sum;
    for (std::size_t i = 2; i < loop.size(); ++i)
        sum = sum + cross(loop[i - 1] - loop[0], loop[i] - loop[0]);
    return sum;
}

double signedArea(const Loop& loop) {
    return doubleAreaVector(loop).z / 2.0;
}

} // namespace importer::geometry
