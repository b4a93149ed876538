#pragma once

#include <cmath>

namespace Velmor::version {

/// Euclidean length of a vector.
inline double length(double x, double y, double z) {
    return std::sqrt((x * x + y * y) + z * z);
}

/// Euclidean distance of two points, given as three coordinates each.
inline double distance(const double* a, const double* b) {
    return length(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

} // namespace Velmor::version
