#pragma once

// Where on a map a model lies.

#include <Velmor/Georeferencing.h>

#include "importer/ifc/Record.h"

#include <optional>

namespace importer::ifc {

/// The first map conversion of the file that can be read; nothing when there is none. Its numbers are the file's. What
/// cannot be read, and further conversions, are noted.
std::optional<Velmor::IFC4_MapConversion> readGeoreference(IfcContext& context);

} // namespace importer::ifc
