#pragma once

// The georeference of a model: its position on a map.

#include <Velmor/Georeferencing.h>

#include "importer/ifc/Record.h"

#include <optional>

namespace importer::ifc {

/// The first map conversion of the file that can be read; nothing if there is none. Its numbers are those of the file, in
/// the units of the file. Conversions that cannot be read, and further conversions, are noted.
/// @throws LimitExceeded
std::optional<Velmor::IFC4_MapConversion> readGeoreference(IfcContext& context);

} // namespace importer::ifc
