#include <Velmor/Version.h>

#include "version/VersionRecord.h"

#include <algorithm>

namespace Velmor {

using namespace version;

namespace {

ExternalVersion create(const CExternalVersion& fields) {
    CExternalVersion* record = allocateVersionRecord();
    *record = fields;
    return ExternalVersion(record);
}

} // namespace

ExternalVersion createFromBoundingBox(double x, double y, double z) {
    return create({ExternalVersion::BoundingBox, {x, y, z}, {}, 0.0, {}});
}

ExternalVersion createFromGeometry(double x, double y, double z, double* const d) {
    CExternalVersion fields = {ExternalVersion::Geometry, {x, y, z}, {}, 0.0, {}};
    std::copy_n(d, distanceCount, fields.d);
    return create(fields);
}

ExternalVersion createFromSolid(double x, double y, double z, double* const d, double volume, double* const c) {
    CExternalVersion fields = {ExternalVersion::Solid, {x, y, z}, {}, volume, {}};
    std::copy_n(d, distanceCount, fields.d);
    std::copy_n(c, coordinateCount, fields.centroid);
    return create(fields);
}

} // namespace Velmor
