#pragma once

// Profiles that a file describes by dimensions: rectangles, circles, ellipses and the shapes of rolled steel.

#include "importer/ifc/shape/Profiles.h"

namespace importer::ifc {

/// Whether `readParameterizedProfile` supports an entity.
bool isParameterizedProfile(Entity entity);

/// The region of an IfcParameterizedProfileDef, before its Position is applied.
/// @throws EntityError
Region readParameterizedProfile(IfcContext& context, const Record& record);

} // namespace importer::ifc
