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

std::string utf8Of(const Velmor::WideString& text) {
    return printable(Velmor::StringOperations::ConvertToUTF8(text));
}

std::string quoted(const Velmor::WideString& text) {
    return '\'' + utf8Of(text) + '\'';
}

// ", described as 'Clear span'"; empty without a description.
std::string descriptionSuffix(const Velmor::WideChar* description) {
    return *description == 0 ? std::string() : ", described as " + quoted(description);
}

std::string formatProperties(const IFC2X3PropertySet& set, std::size_t indent) {
    std::string text;
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const IFC2X3Property& property = set.getProperty(i);
        text += std::string(indent, ' ') + utf8Of(property.getName()) + ": ";
        if (property.getType() == IFC2X3Property::Complex) {
            const auto& complex = property.getPropertyComplex();
            text += "complex " + quoted(complex.getUsageName()) + descriptionSuffix(property.getDescription()) + '\n' +
                    formatProperties(complex.getPropertySet(), indent + indentation);
        } else {
            const IFC2X3PropertySingleValue& value = property.getPropertySingleValue();
            text += valueTypeName(value.getValueType()) + (' ' + formatValue(value)) +
                    descriptionSuffix(property.getDescription()) + '\n';
        }
    }
    return text;
}

} // namespace

std::string formatNumber(double value) {
    char text[32];
    if (std::isnan(value)) {
        std::snprintf(text, sizeof text, "nan %016llx",
                      static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
        return text;
    }
    // Fixed notation for usual lengths and coordinates: the shortest form of 500000 would be 5e+05.
    const double magnitude = std::abs(value);
    const bool isFixed = value == 0.0 || (magnitude >= 1e-5 && magnitude < 1e16);
    char* const end = isFixed ? std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed).ptr
                              : std::to_chars(std::begin(text), std::end(text), value).ptr;
    return {text, end};
}

const char* valueTypeName(IFC2X3PropertySingleValue::ValueType_t type) {
    return type < std::size(typeNames) ? typeNames[type] : "value of unknown type";
}

std::string formatValue(const IFC2X3PropertySingleValue& value, std::size_t textBytes) {
    switch (value.getValueType()) {
    case IFC2X3PropertySingleValue::String:
        return '\'' + shortened(utf8Of(value.getAsString()), textBytes) + '\'';
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
        return formatNumber(value.getRealValue());
    }
}

std::string formatPropertySet(const Velmor::IFC2X3_PSet_Custom_s& set) {
    return "  " + utf8Of(set.name) + " (" + printable(std::string_view(set.globalId, sizeof set.globalId)) + ')' +
           descriptionSuffix(set.description) + '\n' + formatProperties(set.properties, 2 * indentation);
}

std::string formatGeoreference(const Velmor::IFC4_MapConversion& conversion) {
    const Velmor::IFC4_MapProjection& projection = conversion.getMapProjection();
    const auto& origin = conversion.getSourceOrigin();
    const std::pair<const char*, std::string> lines[] = {
        {"projected system", quoted(projection.getName())},
        {"description", quoted(projection.getDescription())},
        {"geodetic datum", quoted(projection.getGeodeticDatum())},
        {"vertical datum", quoted(projection.getVerticalDatum())},
        {"projection", quoted(projection.getProjectionType())},
        {"zone", quoted(projection.getZone())},
        {"map unit", quoted(projection.getUnitName()) + " of " + formatNumber(projection.getScaleToMetric()) + " m"},
        {"origin in the model", formatNumber(origin.x) + ", " + formatNumber(origin.y) + ", " + formatNumber(origin.z)},
        {"eastings", formatNumber(conversion.getEastings())},
        {"northings", formatNumber(conversion.getNorthings())},
        {"orthogonal height", formatNumber(conversion.getOrthogonalHeight())},
        {"x axis in the map",
         formatNumber(conversion.getXAxisAbscissa()) + ", " + formatNumber(conversion.getXAxisOrdinate())},
        {"scale", formatNumber(conversion.getScaleToMapProjection())}};
    std::string text = "georeference:\n";
    for (const auto& [name, value] : lines)
        text += std::string(indentation, ' ') + name + ": " + value + '\n';
    return text;
}

} // namespace importer::host
