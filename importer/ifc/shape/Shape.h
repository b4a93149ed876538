#pragma once

// The shapes of products.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// Reads the representation that describes a product's shape best into the product: vertices in the world, in metres, and
/// the volume and its centre if all its items are closed solids.
///
/// - The best is 'Body', then what else gives the form ('Facetation', 'Tessellation', 'Surface', ...), then what only says
/// where
///   the product is ('Box', 'FootPrint', 'Axis', ...). The first that yields vertices is taken; those that only say where
///   make no solid.
/// - A face set is a solid when its edges say so, whatever its entity calls it.
/// - Of a boolean result the first operand is read, of a union both; none of it makes a solid, because what is cut off is
/// not
///   known. Openings are products of their own and are not cut off either.
/// - Solids that overlap each other count twice.
/// - Items that cannot be read are noted; the product is then no solid.
///
/// @param toWorld from the product's coordinates, in the file's unit, to the world's in metres.
/// @throws LimitExceeded
void readShape(IfcContext& context, const Instance& productShape, const Transform& toWorld, Product& product);

} // namespace importer::ifc
