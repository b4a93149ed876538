#pragma once

// Units of length and angle.

#include "importer/ifc/Record.h"

#include <string_view>

namespace importer::ifc {

/// The name of an SI unit with its prefix ("MILLIMETRE"), or the name of a unit that is converted to one.
/// @throws EntityError for other units.
Velmor::WideString nameOfUnit(IfcContext& context, const Instance& instance);

/// The size of a unit, in meters or in radians.
/// @param type "LENGTHUNIT" or "PLANEANGLEUNIT".
/// @throws EntityError if the unit has another type or is not supported.
double readUnit(IfcContext& context, const Instance& instance, std::string_view type);

/// Sets the units of the context to those of the project: SI units with their prefixes, and units converted to those.
/// Invalid and unsupported units are noted. Without a length unit, meters are assumed, which is noted; without an angle
/// unit, radians.
void readUnits(IfcContext& context);

} // namespace importer::ifc
