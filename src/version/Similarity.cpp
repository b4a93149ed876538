#include <Velmor/Version.h>

#include "version/Euclid.h"
#include "version/Power.h"
#include "version/Record.h"

#include <cmath>
#include <cstddef>

namespace Velmor {

namespace {

// Factors reach 0 at these values; the widths are computed from them, so that a perfect match gives exactly 1.
constexpr double closenessFloor = 0.7;
constexpr double closenessWidth = 1 - closenessFloor;
constexpr double agreementFloor = 0.8;
constexpr double agreementWidth = 1 - agreementFloor;

constexpr double noVolume = 1e-20;

// Lets a NaN through.
double clamp(double value) {
    return 0 > value ? 0 : value;
}

double greater(double a, double b) {
    return a > b ? a : b;
}

// 1 for no deviation, 0 from a relative deviation of 0.3 on.
double closeness(double deviation) {
    return power(clamp((clamp(1 - deviation) - closenessFloor) / closenessWidth), 3);
}

double meanDistance(const CExternalVersion& version) {
    double sum = 0;
    for (const double d : version.d)
        sum += d;
    return sum * 0.125;
}

// How far the distances agree, in units of the scale. A single term may be negative.
double agreement(const CExternalVersion& a, const CExternalVersion& b, double scale) {
    double sum = 0;
    for (std::size_t i = 0; i < distances; ++i)
        sum += 1 - std::fabs(b.d[i] - a.d[i]) / scale;
    return 0.125 * sum;
}

double volumeRatio(double a, double b) {
    const double larger = greater(a, b);
    const double smaller = a > b ? b : a;
    return std::fabs(larger) > noVolume ? smaller / larger : 1.0;
}

} // namespace

double ExternalVersion::similarity(const ExternalVersion& other) const {
    const CExternalVersion& a = *record_;
    const CExternalVersion& b = *other.record_;
    // The other's type is not looked at, on purpose.
    if (a.type == Invalid || a.type > Geometry)
        return 0.0;
    if (a.type == BoundingBox)
        return closeness(distance(a.bb, b.bb)); // absolute, whatever the size of the boxes: meant

    // Without any distances the scale is 0 and the result a NaN.
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
