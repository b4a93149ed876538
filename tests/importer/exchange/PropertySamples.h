#pragma once

// Property sets for tests, built with the factories of the library.

#include <Velmor/Velmor.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace velmor_tests {

using PropertySet = Velmor::IFC2X3_PSet_Custom_s;
using SingleValue = Velmor::IFC2X3PropertySingleValue;

inline Velmor::WideString wideText(const std::string& utf8) {
    return Velmor::StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(utf8.data()), utf8.size());
}

inline Velmor::IFC2X3Property textProperty(const std::string& name, const std::string& value,
                                           const std::string& description = {}) {
    return Velmor::createPropertySingleValueString(wideText(name), wideText(description), wideText(value));
}

inline Velmor::IFC2X3Property realProperty(const std::string& name, double value,
                                           SingleValue::ValueType_t type = SingleValue::Length) {
    return Velmor::createPropertySingleValueReal(wideText(name), {}, type, value);
}

inline Velmor::IFC2X3Property integerProperty(const std::string& name, std::int32_t value) {
    return Velmor::createPropertySingleValueInteger(wideText(name), {}, SingleValue::Integer, value);
}

inline Velmor::IFC2X3PropertySet propertiesOf(const std::vector<Velmor::IFC2X3Property>& properties) {
    Velmor::IFC2X3PropertySet set;
    for (const Velmor::IFC2X3Property& property : properties)
        set.addProperty(property);
    return set;
}

inline Velmor::IFC2X3Property complexProperty(const std::string& name, const std::string& usage,
                                              const std::vector<Velmor::IFC2X3Property>& properties) {
    return Velmor::createPropertyComplex(wideText(name), {}, wideText(usage), propertiesOf(properties));
}

inline PropertySet propertySet(const std::string& name, const std::vector<Velmor::IFC2X3Property>& properties,
                               const std::string& globalId = "0123456789012345678901", const std::string& description = {}) {
    PropertySet set{};
    std::copy_n(globalId.data(), sizeof set.globalId, set.globalId);
    const auto fill = [](const Velmor::WideString& text, Velmor::WideChar* field) {
        std::copy_n(text.data(), std::min(text.size(), Velmor::IFC2X3TextUnits - 1), field);
    };
    fill(wideText(name), set.name);
    fill(wideText(description), set.description);
    set.properties = propertiesOf(properties);
    return set;
}

/// A property of each value type.
inline std::vector<Velmor::IFC2X3Property> onePropertyOfEachType() {
    using Velmor::WideString;
    std::vector<Velmor::IFC2X3Property> all = {textProperty("text", "T\xC3\xBCr \xE2\x82\xAC", "a d\xC3\xA9scription")};
    for (const unsigned type : {0u, 4u, 5u, 6u, 7u, 8u, 9u})
        all.push_back(realProperty("real " + std::to_string(type), 0.1 * type, static_cast<SingleValue::ValueType_t>(type)));
    const int angle[] = {-48, -8, -14, -520000};
    all.push_back(Velmor::createPropertySingleValueBoolean(wideText("yes"), {}, true));
    all.push_back(Velmor::createPropertySingleValueBoolean(wideText("no"), {}, false));
    all.push_back(integerProperty("integer", -2147483647 - 1));
    all.push_back(Velmor::createPropertySingleValueInteger64(wideText("long"), {}, SingleValue::Integer64,
                                                             -9223372036854775807LL - 1));
    for (const unsigned logical : {0u, 1u, 2u, 7u})
        all.push_back(
            Velmor::createPropertySingleValueLogical(wideText("logical"), {}, static_cast<SingleValue::Logical_s>(logical)));
    all.push_back(Velmor::createPropertySingleValueCompoundPlaneAngle(wideText("angle"), {}, angle));
    return all;
}

} // namespace velmor_tests
