#include <Velmor/IFCProperties.h>

#include "diagnostics/Diagnostics.h"
#include "ifc/PropertyInternals.h"

#include <algorithm>

// Each factory has two overloads. The one that takes strings passes their c_str() to the one that takes pointers, so names,
// descriptions and usage names end at their first NUL in both. PropertyBuilder fills the private fields.

namespace Velmor::ifc {

using Value = IFC2X3PropertySingleValue;

/// Creates properties; a friend of the classes whose fields it sets.
struct PropertyBuilder {
    static constexpr auto string = &Value::string_;
    static constexpr auto boolean = &Value::boolean_;
    static constexpr auto integer = &Value::integer_;
    static constexpr auto integer64 = &Value::integer64_;
    static constexpr auto real = &Value::real_;
    static constexpr auto logical = &Value::logical_;

    /// A property whose value has this type and defaults in all other fields.
    static IFC2X3Property defaultValue(const WideChar* name, const WideChar* description, Value::ValueType_t type) {
        IFC2X3Property property;
        begin(property, IFC2X3Property::SingleValue, name, description);
        property.singleValue_ = new Value();
        property.singleValue_->valueType_ = type;
        return property;
    }

    /// A property whose value has this type, one field with the given content, and defaults in all others.
    template <class Field, class Content>
    static IFC2X3Property singleValue(const WideChar* name, const WideChar* description, Value::ValueType_t type,
                                      Field Value::*field, const Content& content) {
        IFC2X3Property property = defaultValue(name, description, type);
        property.singleValue_->*field = content;
        return property;
    }

    static IFC2X3Property compoundPlaneAngle(const WideChar* name, const WideChar* description, const int* components) {
        IFC2X3Property property = defaultValue(name, description, Value::CompoundPlaneAngle);
        if (components)
            std::copy_n(components, 4, property.singleValue_->compoundPlaneAngle_);
        return property;
    }

    static IFC2X3Property complex(const WideChar* name, const WideChar* description, const WideChar* usageName,
                                  const IFC2X3PropertySet& propertySet) {
        IFC2X3Property property;
        begin(property, IFC2X3Property::Complex, name, description);
        property.complex_ = new IFC2X3PropertyComplex();
        copyText(property.complex_->usageName_, usageName);
        property.complex_->propertySet_ = propertySet;
        return property;
    }

private:
    static void begin(IFC2X3Property& property, IFC2X3Property::Type_t type, const WideChar* name,
                      const WideChar* description) {
        property.type_ = type;
        copyText(property.name_, name);
        copyText(property.description_, description);
    }

    /// Copies a text up to its first NUL into an array of zeros. The last unit of the array stays NUL.
    // Frozen: a longer text is cut after 255 units, even inside a surrogate pair, without a report.
    static void copyText(WideChar (&target)[IFC2X3TextUnits], const WideChar* text) {
        for (std::size_t i = 0; i < IFC2X3TextUnits - 1 && text[i] != 0; ++i)
            target[i] = text[i];
    }
};

} // namespace Velmor::ifc

namespace Velmor {

using namespace diagnostics;
using Value = IFC2X3PropertySingleValue;
using Builder = ifc::PropertyBuilder;

IFC2X3Property createPropertySingleValueString(const WideString& name, const WideString& description,
                                               const WideString& value) {
    // Frozen: in this overload the value also ends at its first NUL; in the other one it is stored whole.
    return createPropertySingleValueString(name.c_str(), description.c_str(), WideString(value.c_str()));
}

IFC2X3Property createPropertySingleValueString(const WideChar* name, const WideChar* description, const WideString& value) {
    return Builder::singleValue(name, description, Value::String, Builder::string, value);
}

IFC2X3Property createPropertySingleValueBoolean(const WideString& name, const WideString& description, bool value) {
    return createPropertySingleValueBoolean(name.c_str(), description.c_str(), value);
}

IFC2X3Property createPropertySingleValueBoolean(const WideChar* name, const WideChar* description, bool value) {
    return Builder::singleValue(name, description, Value::Boolean, Builder::boolean, value);
}

// Frozen: in the number factories, a value type that does not belong to the factory gives a default value of type
// Unspecified, and the first such call of each factory breaks into a debugger. The number is lost.

IFC2X3Property createPropertySingleValueInteger(const WideString& name, const WideString& description,
                                                Value::ValueType_t type, std::int32_t value) {
    return createPropertySingleValueInteger(name.c_str(), description.c_str(), type, value);
}

IFC2X3Property createPropertySingleValueInteger(const WideChar* name, const WideChar* description, Value::ValueType_t type,
                                                std::int32_t value) {
    if (type == Value::Integer)
        return Builder::singleValue(name, description, type, Builder::integer, value);
    static ReportOnce once;
    once();
    return Builder::defaultValue(name, description, Value::Unspecified);
}

IFC2X3Property createPropertySingleValueInteger64(const WideString& name, const WideString& description,
                                                  Value::ValueType_t type, std::int64_t value) {
    return createPropertySingleValueInteger64(name.c_str(), description.c_str(), type, value);
}

IFC2X3Property createPropertySingleValueInteger64(const WideChar* name, const WideChar* description, Value::ValueType_t type,
                                                  std::int64_t value) {
    if (type == Value::Integer64)
        return Builder::singleValue(name, description, type, Builder::integer64, value);
    static ReportOnce once;
    once();
    return Builder::defaultValue(name, description, Value::Unspecified);
}

IFC2X3Property createPropertySingleValueReal(const WideString& name, const WideString& description, Value::ValueType_t type,
                                             double value) {
    return createPropertySingleValueReal(name.c_str(), description.c_str(), type, value);
}

IFC2X3Property createPropertySingleValueReal(const WideChar* name, const WideChar* description, Value::ValueType_t type,
                                             double value) {
    if (ifc::isReal(type))
        return Builder::singleValue(name, description, type, Builder::real, value);
    static ReportOnce once;
    once();
    return Builder::defaultValue(name, description, Value::Unspecified);
}

IFC2X3Property createPropertySingleValueLogical(const WideString& name, const WideString& description,
                                                Value::Logical_s value) {
    return createPropertySingleValueLogical(name.c_str(), description.c_str(), value);
}

// Frozen: the value is not validated.
IFC2X3Property createPropertySingleValueLogical(const WideChar* name, const WideChar* description, Value::Logical_s value) {
    return Builder::singleValue(name, description, Value::Logical, Builder::logical, value);
}

IFC2X3Property createPropertySingleValueCompoundPlaneAngle(const WideString& name, const WideString& description,
                                                           const int* components) {
    return createPropertySingleValueCompoundPlaneAngle(name.c_str(), description.c_str(), components);
}

IFC2X3Property createPropertySingleValueCompoundPlaneAngle(const WideChar* name, const WideChar* description,
                                                           const int* components) {
    return Builder::compoundPlaneAngle(name, description, components);
}

IFC2X3Property createPropertyComplex(const WideString& name, const WideString& description, const WideString& usageName,
                                     const IFC2X3PropertySet& propertySet) {
    return createPropertyComplex(name.c_str(), description.c_str(), usageName.c_str(), propertySet);
}

IFC2X3Property createPropertyComplex(const WideChar* name, const WideChar* description, const WideChar* usageName,
                                     const IFC2X3PropertySet& propertySet) {
    return Builder::complex(name, description, usageName, propertySet);
}

} // namespace Velmor
