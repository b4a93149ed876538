#pragma once

// Properties as text, for comparisons.

#include <Velmor/Text.h>

#include "importer/ifc/ReaderSupport.h"

#include <charconv>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;

inline std::string utf8(const Velmor::WideString& text) {
    return Velmor::StringOperations::ConvertToUTF8(text);
}

/// The shortest text that converts back to this number.
inline std::string shown(double number) {
    char text[64];
    return std::string(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

inline std::string shown(const Velmor::IFC2X3PropertySingleValue& value) {
    using Single = Velmor::IFC2X3PropertySingleValue;
    switch (value.getValueType()) {
    case Single::String:
        return "string '" + utf8(value.getAsString()) + "'";
    case Single::Boolean:
        return value.getBooleanValue() ? "boolean true" : "boolean false";
    case Single::Integer:
        return "integer " + std::to_string(value.getIntValue());
    case Single::Integer64:
        return "integer64 " + std::to_string(value.getInt64Value());
    case Single::Logical:
        return "logical " + std::to_string(value.getLogicalValue());
    case Single::CompoundPlaneAngle: {
        const int* angle = value.getCompoundPlaneAngle();
        return "compound " + std::to_string(angle[0]) + " " + std::to_string(angle[1]) + " " + std::to_string(angle[2]) +
               " " + std::to_string(angle[3]);
    }
    default: {
        static constexpr const char* kinds[] = {"unspecified", "",     "",       "",     "real",
                                                "length",      "area", "volume", "mass", "angle"};
        return std::string(kinds[value.getValueType()]) + " " + shown(value.getRealValue());
    }
    }
}

/// "Name = integer 3", "Name (description) = complex 'usage' {A = real 1, B = real 2}".
inline std::string shown(const Velmor::IFC2X3Property& property);

inline std::string shown(const Velmor::IFC2X3PropertySet& set) {
    std::string all;
    for (unsigned i = 0; i < set.getCount(); ++i)
        all += (i == 0 ? "" : ", ") + shown(set.getProperty(i));
    return all;
}

inline std::string shown(const Velmor::IFC2X3Property& property) {
    std::string text = utf8(property.getName());
    if (property.getDescription()[0] != 0)
        text += " (" + utf8(property.getDescription()) + ")";
    if (property.getType() == Velmor::IFC2X3Property::Complex) {
        const Velmor::IFC2X3PropertyComplex& complex = property.getPropertyComplex();
        return text + " = complex '" + utf8(complex.getUsageName()) + "' {" + shown(complex.getPropertySet()) + "}";
    }
    return text + " = " + shown(property.getPropertySingleValue());
}

inline std::string shown(const Velmor::IFC2X3_PSet_Custom_s& set) {
    return utf8(set.name) + ": " + shown(set.properties);
}

/// #100: a set of these properties.
inline std::string setOf(const std::string& properties, const std::string& name = "A set") {
    return "#100=IFCPROPERTYSET('1234567890123456789012',$,'" + name + "',$,(" + properties + "));\n";
}

/// The only set of a model.
inline Velmor::IFC2X3_PSet_Custom_s onlySet(const Taken& taken) {
    EXPECT_EQ(taken.sets.size(), 1u);
    return taken.sets.empty() ? Velmor::IFC2X3_PSet_Custom_s{} : taken.sets.front();
}

} // namespace velmor_tests
