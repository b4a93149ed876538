#pragma once

// Entities by the library's tables of class names.

#include <Velmor/ReferenceObjectClass.h>

#include <string>

namespace importer::ifc {

/// The class of an entity, by its name in capitals; `IFCINVALID` for one that `ReferenceObjectClass` has no row for. Of two
/// classes with the same name the first one.
Velmor::AttributeClassIFC_e classNamed(const std::string& entity);

} // namespace importer::ifc
