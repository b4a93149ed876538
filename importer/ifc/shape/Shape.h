#pragma once

// The shapes of products.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// Reads the representation that describes the form of a product best, and stores its vertices, in meters in world
/// coordinates, in the product. If all its items are closed solids, also its volume, centroid and triangles.
///
/// - A representation that describes the form ('Body', 'Facetation', 'Surface', ...) is preferred to one that describes only
///   the place ('Box', 'FootPrint', 'Axis', ...). The first one with vertices is used. A representation of the place is
///   never a solid.
/// - A face set is a solid if each edge belongs to exactly two faces. Its entity and its attribute Closed are ignored.
/// - Only the first operand of a boolean result is read, even of a union. The product is then not a solid, because the
///   volume of the result is unknown. Openings are separate products and are not subtracted.
/// - The volumes of overlapping solids are added up: the common part counts twice.
/// - An item that cannot be read becomes a note; the product is then not a solid.
///
/// @param toWorld from product coordinates, in the length unit of the file, to world coordinates in meters.
/// @throws LimitExceeded; EntityError when `productShape` itself cannot be read.
void readShape(IfcContext& context, const Instance& productShape, const Transform& toWorld, Product& product);

} // namespace importer::ifc
