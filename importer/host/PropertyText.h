#pragma once

// Text forms of properties and georeferences.

#include <Velmor/Georeferencing.h>
#include <Velmor/IFCPropertySets.h>

#include "importer/exchange/Text.h"

#include <cstddef>
#include <string>

namespace importer::host {

using namespace exchange;

/// The shortest text that parses back to the same number: "6200", "0.1", "1e+300", "-0". A NaN is
/// followed by its bits: "nan 7ff8000000000000".
std::string formatNumber(double value);

/// The name of a value type: "length".
const char* valueTypeName(Velmor::IFC2X3PropertySingleValue::ValueType_t type);

/// A value: 6200, 'a text', true, unknown, (52, 30, 15, 0).
/// @param textBytes longer texts are cut.
std::string formatValue(const Velmor::IFC2X3PropertySingleValue& value,
                        std::size_t textBytes = static_cast<std::size_t>(-1));

/// The lines of a property set: name, type and value of each property; nested properties are indented.
std::string formatPropertySet(const Velmor::IFC2X3_PSet_Custom_s& set);

/// The lines of a georeference.
std::string formatGeoreference(const Velmor::IFC4_MapConversion& conversion);

} // namespace importer::host
