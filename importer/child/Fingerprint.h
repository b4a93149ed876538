#pragma once

// From a product as it was read to what identifies and describes it.

#include <Velmor/Velmor.h>

#include "importer/exchange/ObjectRecords.h"
#include "importer/ifc/Model.h"

namespace importer::child {

using namespace ifc;
using namespace exchange;

/// What the geometry of a product says about it.
struct Fingerprint {
    Velmor::ExternalGUID spatialHash; ///< Type `Invalid` when there is nothing to hash.
    Velmor::ExternalVersion version;  ///< Type `Invalid` likewise.
    bool finite = true;               ///< False when there are vertices, but with coordinates too large for numbers.
};

/// The fingerprint of a product, in metres.
///
/// The eight distances are the radii of the spatial hash's octants, the box is the extents of all vertices. A closed solid
/// becomes a version of type `Solid`, other vertices one of type `Geometry`. Vertices that are all one point have no
/// distances that could be compared and become a `BoundingBox`.
/// @param product its vertices get the first one appended: the hash leaves the last of its list out.
Fingerprint fingerprint(Product& product);

/// Tells usable GlobalIds from others, over one model.
class GlobalIds {
public:
    /// The identity by GlobalId of a product.
    /// @param[out] reason why there is none: it is empty, not 22 characters of 0-9, A-Z, a-z, _ and $, or given to an
    /// instance before.
    /// @return the identity; type `Invalid` with a reason otherwise.
    Velmor::ExternalGUID identify(const Product& product, std::string& reason);

private:
    Velmor::ExternalGUIDDatabase seen_;
    std::vector<std::uint64_t> instances_; // that came with the id 0xFFFFFFFE - index
};

} // namespace importer::child
