#include <Velmor/Version.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace Velmor {

namespace {

ExternalVersion create(const CExternalVersion& fields) {
    void* block = std::malloc(sizeof fields);
    if (!block)
        throw std::bad_alloc();
    return ExternalVersion(new (block) CExternalVersion(fields));
}

} // namespace

ExternalVersion createFromBoundingBox(double x, double y, double z) {
    return create({ExternalVersion::BoundingBox, {x, y, z}, {}, 0.0, {}});
}

ExternalVersion createFromGeometry(double x, double y, double z, double* const d) {
    CExternalVersion fields = {ExternalVersion::Geometry, {x, y, z}, {}, 0.0, {}};
    std::copy_n(d, 8, fields.d);
    return create(fields);
}

ExternalVersion createFromSolid(double x, double y, double z, double* const d, double volume, double* const c) {
    CExternalVersion fields = {ExternalVersion::Solid, {x, y, z}, {}, volume, {}};
    std::copy_n(d, 8, fields.d);
    std::copy_n(c, 3, fields.centroid);
    return create(fields);
}

} // namespace Velmor
