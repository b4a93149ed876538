#pragma once

// The property sets that the library has templates for.

#include <Velmor/IFCPropertySets.h>

namespace importer::ifc {

/// Whether a set's name is that of one of the fourteen common property sets.
bool isCommonSet(const Velmor::IFC2X3_PSet_Custom_s& set);

/// A common set as its template gives it: with the template's order and names, and with the properties that the template
/// always writes. No value is lost: where the template cannot carry a property of the set as it is, the set's own stands in
/// its place, and what the template does not know follows behind.
Velmor::IFC2X3_PSet_Custom_s withTemplate(const Velmor::IFC2X3_PSet_Custom_s& set);

} // namespace importer::ifc
