#pragma once

// Points, directions and affine maps.

#include <cmath>

namespace importer::geometry {

struct Vector3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    bool operator==(const Vector3&) const = default;
};

inline Vector3 operator+(const Vector3& a, const Vector3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vector3 operator-(const Vector3& a, const Vector3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Vector3 operator*(const Vector3& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}

inline double dot(const Vector3& a, const Vector3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double length(const Vector3& a) {
    return std::hypot(a.x, a.y, a.z);
}

/// An affine map: the images of the three axes and of the origin.
struct Transform {
    Vector3 x{1.0, 0.0, 0.0};
    Vector3 y{0.0, 1.0, 0.0};
    Vector3 z{0.0, 0.0, 1.0};
    Vector3 origin;

    Vector3 direction(const Vector3& d) const { return x * d.x + y * d.y + z * d.z; }

    Vector3 point(const Vector3& p) const { return direction(p) + origin; }

    static Transform scaling(double factor) { return {{factor, 0, 0}, {0, factor, 0}, {0, 0, factor}, {}}; }

    static Transform translation(const Vector3& by) { return {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, by}; }
};

/// The map that applies `inner`, then `outer`.
inline Transform operator*(const Transform& outer, const Transform& inner) {
    return {outer.direction(inner.x), outer.direction(inner.y), outer.direction(inner.z), outer.point(inner.origin)};
}

inline constexpr double pi = 3.14159265358979323846;

/// A full circle is approximated by a regular polygon with this number of sides, an arc in proportion to its
/// angle.
inline constexpr int segmentsPerTurn = 64;

/// Number of straight segments that approximate an arc; at least one.
/// @param angle in radians, of either sign; the part above a full turn is ignored.
inline int segmentsOf(double angle) {
    // Rounded up. The small number keeps a rounding error from adding a segment to an exact multiple.
    return 1 + static_cast<int>(std::fmin(std::fabs(angle), 2.0 * pi) / (2.0 * pi / segmentsPerTurn) - 1e-6);
}

} // namespace importer::geometry
