#pragma once

#include "importer/exchange/Text.h"

// Properties and georeferences for people.

#include <Velmor/Georeferencing.h>
#include <Velmor/IFCPropertySets.h>

#include <cstddef>
#include <string>

namespace importer::host {

using namespace exchange;

/// A number with as many digits as it takes to read the same one back: "6200", "0.1", "1e+300", "-0". What is no number
/// shows its bits: "nan 7ff8000000000000".
std::string shownNumber(double value);

/// What kind of value it is: "length".
const char* shownType(Velmor::IFC2X3PropertySingleValue::ValueType_t type);

/// A value: 6200, 'a text', true, unknown, (52, 30, 15, 0).
/// @param textBytes how much of a text is shown.
std::string shownValue(const Velmor::IFC2X3PropertySingleValue& value, std::size_t textBytes = static_cast<std::size_t>(-1));

/// A property set on lines of its own, each property by name, type and value, nested ones indented.
std::string shownPropertySet(const Velmor::IFC2X3_PSet_Custom_s& set);

/// A georeference on lines of its own.
std::string shownGeoreference(const Velmor::IFC4_MapConversion& conversion);

} // namespace importer::host
