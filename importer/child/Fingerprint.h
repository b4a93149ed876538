#pragma once

// Identity and version of a product, from what the reader found.

#include <Velmor/Identity.h>
#include <Velmor/Version.h>

#include "importer/exchange/ObjectRecords.h"
#include "importer/ifc/Model.h"

#include <cstdint>
#include <string>
#include <vector>

namespace importer::child {

using namespace ifc;
using namespace exchange;

/// Identity and version by geometry.
struct Fingerprint {
    Velmor::ExternalGUID spatialHash; ///< Type `Invalid` without vertices.
    Velmor::ExternalVersion version;  ///< Type `Invalid` without vertices.
    bool finite = true;               ///< False if vertices exist, but hash or coordinates are not finite numbers.
};

/// The fingerprint of a product, in meters.
///
/// The eight distances are the octant radii of the spatial hash; the box is the extents of all vertices. A closed solid gets
/// a version of type `Solid`, other vertices one of type `Geometry`. Vertices that are all the same point get a
/// `BoundingBox`: distances of 0 cannot be compared.
/// @param product its first vertex is appended to its vertices, because the hash ignores the last vertex of its list.
Fingerprint fingerprint(Product& product);

/// Checks the GlobalIds of one model.
class GlobalIds {
public:
    /// The identity by GlobalId of a product.
    /// @param[out] reason why the GlobalId is not usable: it is missing, not 22 characters of 0-9, A-Z, a-z, _ and $, or
    /// used by an earlier instance.
    /// @return the identity; type `Invalid`, with a reason, when there is none.
    Velmor::ExternalGUID identify(const Product& product, std::string& reason);

private:
    Velmor::ExternalGUIDDatabase seen_;
    std::vector<std::uint64_t> instances_; // at index i: the instance whose GlobalId has the runtime id 0xFFFFFFFE - i
};

} // namespace importer::child
