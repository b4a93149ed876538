#pragma once

// The units of a model.

#include "IfcRecord.h"

namespace importer {

/// Sets the context's units from those of the project: SI units with their prefixes, and units converted to those. What is
/// not said or not supported is metre and radian, and is noted.
void readUnits(IfcContext& context);

} // namespace importer
