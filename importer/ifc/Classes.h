#pragma once

// The class names of the library, as a table of entities.

#include <Velmor/ReferenceObjectClass.h>

#include <string>

namespace importer::ifc {

/// The class of an entity, by its name in capitals; `IFCINVALID` if `ReferenceObjectClass` has no such class. If two classes
/// have the same name, the first one.
Velmor::AttributeClassIFC_e classNamed(const std::string& entity);

} // namespace importer::ifc
