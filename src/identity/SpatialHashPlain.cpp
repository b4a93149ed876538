#include "identity/SpatialHashSteps.h"

// The reference implementation: one pass for the bounding box, one for the radii.

namespace Velmor::identity {

void plain::computeSpatialHash(unsigned count, const double* xyz, double* hash) {
    const std::size_t considered = consideredVertices(count);

    double low[3] = {xyz[0], xyz[1], xyz[2]};
    double high[3] = {xyz[0], xyz[1], xyz[2]};
    for (std::size_t i = 0; i < considered; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = lower(xyz[3 * i + axis], low[axis]);
            high[axis] = upper(xyz[3 * i + axis], high[axis]);
        }
    }

    const double center[3] = {midpoint(low[0], high[0]), midpoint(low[1], high[1]), midpoint(low[2], high[2])};
    double squaredRadii[octantCount] = {};
    widenRadii(considered, xyz, center, squaredRadii);
    writeHash(center, squaredRadii, hash);
}

} // namespace Velmor::identity
