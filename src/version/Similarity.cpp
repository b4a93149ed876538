#include <Velmor/Version.h>

#include "version/Euclid.h"
#include "version/Power.h"
#include "version/VersionRecord.h"

#include <cmath>
#include <cstddef>

// Similarity is a product of factors between 0 and 1. Each maps a deviation to a closeness: 1 without a deviation, falling
// smoothly (third or fourth power) to 0 at a limit.
//
//     closeness(x) = (max(1 - x, 0) - 0.7) / 0.3, not below 0, cubed: 0 from a deviation of 0.3
//     box only:      closeness(distance of the boxes)
//     geometry:      S = larger mean of the eight distances
//                    closeness(distance of the centroids / S)
//                    x (agreement of the distances, 0.8 .. 1 mapped to 0 .. 1)^4
//                    x closeness(distance of the boxes / S)
//     solid:         the same x (smaller volume / larger volume, 0.5 .. 1 mapped to 0 .. 1)^3
//
// A NaN passes through all factors, except that of the volumes (see volumeRatio).

namespace Velmor {

using namespace version;

namespace {

// Lower limits of the factors. The widths are computed from them, so that the factor of equal values is exactly 1.
constexpr double closenessFloor = 0.7;
constexpr double closenessWidth = 1 - closenessFloor;
constexpr double agreementFloor = 0.8;
constexpr double agreementWidth = 1 - agreementFloor;

constexpr double smallestVolume = 1e-20;

// Replaces a negative value by 0; returns a NaN unchanged.
double clamp(double value) {
    return 0 > value ? 0 : value;
}

double greater(double a, double b) {
    return a > b ? a : b;
}

double closeness(double deviation) {
    return power(clamp((clamp(1 - deviation) - closenessFloor) / closenessWidth), 3);
}

double meanDistance(const CExternalVersion& record) {
    double sum = 0;
    for (const double d : record.d)
        sum += d;
    return sum * 0.125;
}

// Mean agreement of the distances, relative to the scale.
// Frozen: a single term is not clamped and can be negative.
double agreement(const CExternalVersion& a, const CExternalVersion& b, double scale) {
    double sum = 0;
    for (std::size_t i = 0; i < distanceCount; ++i)
        sum += 1 - std::fabs(b.d[i] - a.d[i]) / scale;
    return 0.125 * sum;
}

// Frozen: negative volumes give ratios above 1, and a NaN as `b` gives 1.
double volumeRatio(double a, double b) {
    const double larger = greater(a, b);
    const double smaller = a > b ? b : a;
    return std::fabs(larger) > smallestVolume ? smaller / larger : 1.0;
}

} // namespace

double ExternalVersion::similarity(const ExternalVersion& other) const {
    const CExternalVersion& a = *record_;
    const CExternalVersion& b = *other.record_;
    // Frozen: the type of the other version is not examined.
    if (a.type == Invalid || a.type > Geometry)
        return 0.0;
    if (a.type == BoundingBox)
        return closeness(distance(a.bb, b.bb)); // Frozen: the deviation is absolute, not relative to the size of the boxes.

    // Frozen: a scale of 0 gives NaN.
    const double scale = greater(meanDistance(a), meanDistance(b));
    const double centroidFactor = closeness(distance(b.centroid, a.centroid) / scale);
    const double distanceFactor = power(clamp((agreement(a, b, scale) - agreementFloor) / agreementWidth), 4);
    const double boxFactor = closeness(distance(a.bb, b.bb) / scale);
    if (a.type == Geometry)
        return centroidFactor * distanceFactor * boxFactor;

    const double ratio = volumeRatio(a.volume, b.volume);
    const double volumeFactor = power(clamp((ratio - 0.5) + (ratio - 0.5)), 3);
    return centroidFactor * volumeFactor * distanceFactor * boxFactor;
}

} // namespace Velmor
