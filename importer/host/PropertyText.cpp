#include "importer/host/PropertyText.h"

#include <Velmor/Text.h>

#include "importer/exchange/Text.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <utility>

namespace importer::host {
namespace {

using Velmor::IFC2X3Property;
using Velmor::IFC2X3PropertySet;
using Velmor::IFC2X3PropertySingleValue;

constexpr const char* typeNames[] = {"real",
                                     "text",
                                     "boolean",
                                     "integer",
                                     "number",
                                     "length",
                                     "area",
                                     "volume",
                                     "mass",
                                     "plane angle",
                                     "64-bit integer",
                                     "logical",
                                     "compound plane angle"};
constexpr const char* logicalNames[] = {"false", "true", "unknown"};
constexpr std::size_t indentation = 2;

std::string shown(const Velmor::WideString& text) {
    return printable(Velmor::StringOperations::ConvertToUTF8(text));
}

std::string quoted(const Velmor::WideString& text) {
    return '\'' + shown(text) + '\'';
}

// What follows a name on its line.
std::string described(const Velmor::WideChar* description) {
    return *description == 0 ? std::string() : ", described as " + quoted(description);
}

std::string shownProperties(const IFC2X3PropertySet& set, std::size_t indent) {
    std::string text;
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const auto& property = set.getProperty(i);
        text += std::string(indent, ' ') + shown(property.getName()) + ": ";
        if (property.getType() == IFC2X3Property::Complex) {
            const auto& complex = property.getPropertyComplex();
            text += "complex " + quoted(complex.getUsageName()) + described(property.getDescription()) + '\n' +
                    shownProperties(complex.getPropertySet(), indent + indentation);
        } else {
            const auto& value = property.getPropertySingleValue();
            text +=
                shownType(value.getValueType()) + (' ' + shownValue(value)) + described(property.getDescription()) + '\n';
        }
    }
    return text;
}

} // namespace

std::string shownNumber(double value) {
    char text[32];
    if (std::isnan(value)) {
        std::snprintf(text, sizeof text, "nan %016llx",
                      static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
        return text;
    }
    // Lengths and coordinates as people write them; by itself the shortest form of 500000 is 5e+05.
    const double size = std::abs(value);
    const bool plain = value == 0.0 || (size >= 1e-5 && size < 1e16);
    const auto end = plain ? std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed).ptr
                           : std::to_chars(std::begin(text), std::end(text), value).ptr;
    return {text, end};
}

const char* shownType(IFC2X3PropertySingleValue::ValueType_t type) {
    return type < std::size(typeNames) ? typeNames[type] : "value of unknown type";
}

std::string shownValue(const IFC2X3PropertySingleValue& value, std::size_t textBytes) {
    switch (value.getValueType()) {
    case IFC2X3PropertySingleValue::String:
        return '\'' + shortened(shown(value.getAsString()), textBytes) + '\'';
    case IFC2X3PropertySingleValue::Boolean:
        return logicalNames[value.getBooleanValue() ? 1 : 0];
    case IFC2X3PropertySingleValue::Integer:
        return std::to_string(value.getIntValue());
    case IFC2X3PropertySingleValue::Integer64:
        return std::to_string(value.getInt64Value());
    case IFC2X3PropertySingleValue::Logical:
        return value.getLogicalValue() < std::size(logicalNames) ? logicalNames[value.getLogicalValue()]
                                                                 : std::to_string(value.getLogicalValue());
    case IFC2X3PropertySingleValue::CompoundPlaneAngle: {
        const int* const angle = value.getCompoundPlaneAngle();
        return '(' + std::to_string(angle[0]) + ", " + std::to_string(angle[1]) + ", " + std::to_string(angle[2]) + ", " +
               std::to_string(angle[3]) + ')';
    }
    default:
        return shownNumber(value.getRealValue());
    }
}

std::string shownPropertySet(const Velmor::IFC2X3_PSet_Custom_s& set) {
    return "  " + shown(set.name) + " (" + printable(std::string_view(set.globalId, sizeof set.globalId)) + ')' +
           described(set.description) + '\n' + shownProperties(set.properties, 2 * indentation);
}

std::string shownGeoreference(const Velmor::IFC4_MapConversion& conversion) {
    const auto& projection = conversion.getMapProjection();
    const auto& origin = conversion.getSourceOrigin();
    const std::pair<const char*, std::string> lines[] = {
        {"projected system", quoted(projection.getName())},
        {"description", quoted(projection.getDescription())},
        {"geodetic datum", quoted(projection.getGeodeticDatum())},
        {"vertical datum", quoted(projection.getVerticalDatum())},
        {"projection", quoted(projection.getProjectionType())},
        {"zone", quoted(projection.getZone())},
        {"map unit", quoted(projection.getUnitName()) + " of " + shownNumber(projection.getScaleToMetric()) + " m"},
        {"origin in the model", shownNumber(origin.x) + ", " + shownNumber(origin.y) + ", " + shownNumber(origin.z)},
        {"eastings", shownNumber(conversion.getEastings())},
        {"northings", shownNumber(conversion.getNorthings())},
        {"orthogonal height", shownNumber(conversion.getOrthogonalHeight())},
        {"x axis in the map",
         shownNumber(conversion.getXAxisAbscissa()) + ", " + shownNumber(conversion.getXAxisOrdinate())},
        {"scale", shownNumber(conversion.getScaleToMapProjection())}};
    std::string text = "georeference:\n";
    for (const auto& [name, value] : lines)
        text += std::string(indentation, ' ') + name + ": " + value + '\n';
    return text;
}

} // namespace importer::host
