#pragma once

// The units of a model.

#include "importer/ifc/Record.h"

#include <string_view>

namespace importer::ifc {

/// The name of an SI unit with its prefix ("MILLIMETRE"), or of one converted to it. @throws EntityError for other units
Velmor::WideString nameOfUnit(IfcContext& context, const Instance& instance);

/// A unit in metres, or in radians. @param kind "LENGTHUNIT" or "PLANEANGLEUNIT". @throws EntityError when it is not of that
/// kind
double readUnit(IfcContext& context, const Instance& instance, std::string_view kind);

/// Sets the context's units from those of the project: SI units with their prefixes, and units converted to those. What is
/// not said or not supported is metre and radian, and is noted.
void readUnits(IfcContext& context);

} // namespace importer::ifc
