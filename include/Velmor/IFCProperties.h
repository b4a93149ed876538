#pragma once

/// @file
/// The properties of a model's objects: IFC 2x3 property values, sets of properties, and the factories that create them.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>

namespace Velmor {

class IFC2X3Property;

namespace ifc { // internal
struct PropertyBuilder;
struct Layouts;
} // namespace ifc

/// Number of UTF-16 units of each text array in a record, including the terminating NUL.
inline constexpr std::size_t IFC2X3TextUnits = 256;

/// An ordered list of properties.
///
/// Failure: if the array of slots cannot be allocated, `addProperty` does not add the property and a copy is empty, both
/// without a report; compare `getCount` to detect this. Any other failed allocation throws `std::bad_alloc`, leaks nothing
/// and leaves the set unchanged.
///
/// Ownership: the set owns a deep copy of each property. A copy of a set is deep, and a move is a copy. Copying and
/// destroying recurse once per level of nested properties, so the stack limits the depth.
///
/// Threads: one thread at a time may use a set.
class VELMOR_API IFC2X3PropertySet {
public:
    /// Creates an empty set. Allocates nothing.
    IFC2X3PropertySet();

    /// Creates a deep copy with exactly `other.getCount()` slots; an empty set if the array of slots cannot be allocated.
    IFC2X3PropertySet(const IFC2X3PropertySet& other);

    /// Replaces all properties by deep copies of the other's, as the copy constructor makes them.
    IFC2X3PropertySet& operator=(const IFC2X3PropertySet& other);

    /// Destroys all properties. References to them become invalid.
    ~IFC2X3PropertySet();

    /// Appends a deep copy of a property.
    ///
    /// A full set grows by 50 slots. If it cannot grow, the property is not added, without a report. Cost: one copy of the
    /// property; every 50th call also moves all slots.
    /// @param property may belong to this set, at any depth.
    void addProperty(const IFC2X3Property& property);

    /// Destroys all properties. The slots remain allocated for further properties.
    void clear();

    /// The number of properties.
    unsigned int getCount() const;

    /// The property at an index, in the order of insertion.
    /// @return a property that the set owns; valid until the set is cleared, assigned to or destroyed, also while properties
    /// are added. If `index` is not below `getCount()`: one shared property of type `NoContent` with empty texts.
    const IFC2X3Property& getProperty(unsigned int index) const;

private:
    friend struct ifc::Layouts;

    std::uint32_t count_;
    std::uint32_t capacity_;
    IFC2X3Property** items_; // capacity_ slots from the C heap; the first count_ are in use
};

static_assert(sizeof(IFC2X3PropertySet) == 16, "the layout of a property set is part of the binary interface");

/// The typed value of a property. Only the field that the value type selects has a meaning.
///
/// Failure: a getter that does not fit the value type returns a fixed default. The first such call in the process, per
/// getter, breaks into an attached debugger. No getter formats a number as text. Copying a text may throw `std::bad_alloc`;
/// a failed assignment leaves the value unchanged.
///
/// Ownership: pointers and references that the getters return are valid until the value is assigned to or destroyed.
/// Copies are independent, and a move is a copy.
///
/// Threads: one thread at a time may use a value.
class VELMOR_API IFC2X3PropertySingleValue {
public:
    /// The type of the value. The enumeration can hold any 32-bit number. The library treats `Area`, `Volume` and `Mass`
    /// alike; importers and hosts agree on their meaning.
    enum ValueType_t : std::uint32_t {
        Unspecified = 0,        ///< Real of an unspecified measure; also the result of a rejected factory call.
        String = 1,             ///< Text.
        Boolean = 2,            ///< True or false.
        Integer = 3,            ///< 32-bit integer, for example a count.
        Real = 4,               ///< Real, a plain number: a ratio, a coefficient, a thermal transmittance.
        Length = 5,             ///< Real, a length.
        Area = 6,               ///< Real, an area.
        Volume = 7,             ///< Real, a volume.
        Mass = 8,               ///< Real, a mass.
        PlaneAngle = 9,         ///< Real, a plane angle in radians.
        Integer64 = 10,         ///< 64-bit integer.
        Logical = 11,           ///< True, false or unknown.
        CompoundPlaneAngle = 12 ///< Degrees, minutes, seconds and millionths of a second.
    };

    /// A three-valued truth value. The enumeration can hold any 32-bit number.
    enum Logical_s : std::uint32_t { LogicalFalse = 0, LogicalTrue = 1, LogicalUnknown = 2 };

    IFC2X3PropertySingleValue(const IFC2X3PropertySingleValue& other);
    IFC2X3PropertySingleValue& operator=(const IFC2X3PropertySingleValue& other);
    ~IFC2X3PropertySingleValue();

    /// The value type.
    ValueType_t getValueType() const;

    /// The value of type `Boolean`; false for any other type.
    bool getBooleanValue() const;

    /// The value of type `Integer`; 0 for any other type.
    std::int32_t getIntValue() const;

    /// The value of type `Integer64`; 0 for any other type.
    std::int64_t getInt64Value() const;

    /// The value of type `Unspecified` or of the types `Real` to `PlaneAngle`; 0.0 for any other type.
    double getRealValue() const;

    /// The value of type `Logical`; `LogicalUnknown` for any other type.
    Logical_s getLogicalValue() const;

    /// The NUL-terminated text of type `String`; an empty text for any other type.
    const WideChar* getStringValue() const;

    /// The same as `getStringValue`, for callers whose `wchar_t` does not have 16 bits.
    const unsigned short* getStringValue2() const;

    /// The text of type `String`, complete even if it contains NULs; one shared empty text for any other type.
    const WideString& getAsString() const;

    /// The four components of a compound plane angle, unchanged; in IFC they are degrees, minutes, seconds and millionths of
    /// a second. The value type is not checked: a value of any other type has four zeros.
    const int* getCompoundPlaneAngle() const;

protected:
    /// Type `Unspecified`, all fields at their defaults.
    IFC2X3PropertySingleValue();

private:
    friend struct ifc::PropertyBuilder;
    friend struct ifc::Layouts;

    ValueType_t valueType_;
    bool boolean_;
    Logical_s logical_;
    std::int32_t integer_;
    double real_;
    std::int64_t integer64_;
    WideString string_;
    int compoundPlaneAngle_[4];
};

/// The content of a complex property: a usage name and a nested set of properties.
///
/// Failure, threads: as for `IFC2X3PropertySet`.
///
/// Ownership: the nested set is held by value. A copy is deep; a move is a copy and leaves its source unchanged.
class VELMOR_API IFC2X3PropertyComplex {
public:
    IFC2X3PropertyComplex(const IFC2X3PropertyComplex& other);
    IFC2X3PropertyComplex& operator=(const IFC2X3PropertyComplex& other);
    ~IFC2X3PropertyComplex();

    /// The usage name: NUL-terminated, at most 255 units.
    const WideChar* getUsageName() const;

    /// The same as `getUsageName`, for callers whose `wchar_t` does not have 16 bits.
    const unsigned short* getUsageName2() const;

    /// The nested set.
    const IFC2X3PropertySet& getPropertySet() const;

protected:
    /// An empty usage name and an empty set.
    IFC2X3PropertyComplex();

private:
    friend struct ifc::PropertyBuilder;
    friend struct ifc::Layouts;

    WideChar usageName_[IFC2X3TextUnits];
    IFC2X3PropertySet propertySet_;
};

static_assert(sizeof(IFC2X3PropertyComplex) == 528, "the layout of a complex property is part of the binary interface");

/// A named property with a single value or a complex content. The factories below create properties.
///
/// Failure: a failed allocation throws `std::bad_alloc`, leaks nothing and leaves the property unchanged. The exception is
/// the array of a nested set: if it cannot be allocated, the nested copy is empty, without a report.
///
/// Ownership: a property owns its content. A copy is deep; a move is a copy and leaves its source unchanged. Copying and
/// destroying recurse once per level of nested properties, so the stack limits the depth.
///
/// Threads: one thread at a time may use a property.
class VELMOR_API IFC2X3Property {
public:
    /// The kind of content. The enumeration can hold any 32-bit number.
    enum Type_t : std::uint32_t {
        NoContent = 0,   ///< No content: the result of `IFC2X3PropertySet::getProperty` for an index out of range.
        SingleValue = 1, ///< A value.
        Complex = 2      ///< A usage name and a nested set.
    };

    IFC2X3Property(const IFC2X3Property& other);
    IFC2X3Property& operator=(const IFC2X3Property& other);
    ~IFC2X3Property();

    /// The kind of content.
    Type_t getType() const;

    /// The name: NUL-terminated, at most 255 units.
    const WideChar* getName() const;

    /// The same as `getName`, for callers whose `wchar_t` does not have 16 bits.
    const unsigned short* getName2() const;

    /// The description: NUL-terminated, at most 255 units.
    const WideChar* getDescription() const;

    /// The same as `getDescription`, for callers whose `wchar_t` does not have 16 bits.
    const unsigned short* getDescription2() const;

    /// The value of a property of type `SingleValue`.
    /// @return a value that the property owns; valid until the property is assigned to or destroyed. For any other type: one
    /// shared value of type `Unspecified`, without a report.
    const IFC2X3PropertySingleValue& getPropertySingleValue() const;

    /// The content of a property of type `Complex`.
    /// @return a content that the property owns; valid until the property is assigned to or destroyed. For any other type:
    /// one shared content with an empty usage name and an empty set, without a report.
    const IFC2X3PropertyComplex& getPropertyComplex() const;

protected:
    /// Type `NoContent`, empty texts.
    IFC2X3Property();

private:
    friend struct ifc::PropertyBuilder;
    friend struct ifc::Layouts;

    Type_t type_;
    WideChar name_[IFC2X3TextUnits];
    WideChar description_[IFC2X3TextUnits];
    IFC2X3PropertySingleValue* singleValue_; // owned, may be null
    IFC2X3PropertyComplex* complex_;         // owned, may be null
};

static_assert(sizeof(IFC2X3Property) == 1048, "the layout of a property is part of the binary interface");

/// @name Factories
///
/// Each factory creates one property. Names, descriptions and usage names end at their first NUL and are cut after 255
/// units. Pointers to these texts must not be null.
///
/// Failure: the factories of integers and reals accept only the value types that belong to them. For any other value type
/// the result has a value of type `Unspecified` with all fields at their defaults, and the number is lost; the first such
/// call in the process, per factory, breaks into an attached debugger. A failed allocation throws `std::bad_alloc` and leaks
/// nothing.
///
/// Threads: any thread may call a factory.
/// @{

/// Creates a property with a text.
/// @param value stored up to its first NUL.
VELMOR_API IFC2X3Property createPropertySingleValueString(const WideString& name, const WideString& description,
                                                          const WideString& value);
/// Creates a property with a text.
/// @param value stored complete, with any NULs in it.
VELMOR_API IFC2X3Property createPropertySingleValueString(const WideChar* name, const WideChar* description,
                                                          const WideString& value);

/// Creates a property with a boolean.
VELMOR_API IFC2X3Property createPropertySingleValueBoolean(const WideString& name, const WideString& description,
                                                           bool value);
/// Creates a property with a boolean.
VELMOR_API IFC2X3Property createPropertySingleValueBoolean(const WideChar* name, const WideChar* description, bool value);

/// Creates a property with a 32-bit integer.
/// @param type `Integer`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger(const WideString& name, const WideString& description,
                                                           IFC2X3PropertySingleValue::ValueType_t type, std::int32_t value);
/// Creates a property with a 32-bit integer.
/// @param type `Integer`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger(const WideChar* name, const WideChar* description,
                                                           IFC2X3PropertySingleValue::ValueType_t type, std::int32_t value);

/// Creates a property with a 64-bit integer.
/// @param type `Integer64`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger64(const WideString& name, const WideString& description,
                                                             IFC2X3PropertySingleValue::ValueType_t type,
                                                             std::int64_t value);
/// Creates a property with a 64-bit integer.
/// @param type `Integer64`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger64(const WideChar* name, const WideChar* description,
                                                             IFC2X3PropertySingleValue::ValueType_t type,
                                                             std::int64_t value);

/// Creates a property with a real number.
/// @param type `Unspecified` or one of `Real` to `PlaneAngle`.
VELMOR_API IFC2X3Property createPropertySingleValueReal(const WideString& name, const WideString& description,
                                                        IFC2X3PropertySingleValue::ValueType_t type, double value);
/// Creates a property with a real number.
/// @param type `Unspecified` or one of `Real` to `PlaneAngle`.
VELMOR_API IFC2X3Property createPropertySingleValueReal(const WideChar* name, const WideChar* description,
                                                        IFC2X3PropertySingleValue::ValueType_t type, double value);

/// Creates a property with a three-valued truth value.
/// @param value stored unchanged, not validated.
VELMOR_API IFC2X3Property createPropertySingleValueLogical(const WideString& name, const WideString& description,
                                                           IFC2X3PropertySingleValue::Logical_s value);
/// Creates a property with a three-valued truth value.
/// @param value stored unchanged, not validated.
VELMOR_API IFC2X3Property createPropertySingleValueLogical(const WideChar* name, const WideChar* description,
                                                           IFC2X3PropertySingleValue::Logical_s value);

/// Creates a property with a compound plane angle.
/// @param components four integers, stored unchanged; null for four zeros.
VELMOR_API IFC2X3Property createPropertySingleValueCompoundPlaneAngle(const WideString& name, const WideString& description,
                                                                      const int* components);
/// Creates a property with a compound plane angle.
/// @param components four integers, stored unchanged; null for four zeros.
VELMOR_API IFC2X3Property createPropertySingleValueCompoundPlaneAngle(const WideChar* name, const WideChar* description,
                                                                      const int* components);

/// Creates a complex property.
/// @param propertySet copied deeply.
VELMOR_API IFC2X3Property createPropertyComplex(const WideString& name, const WideString& description,
                                                const WideString& usageName, const IFC2X3PropertySet& propertySet);
/// Creates a complex property.
/// @param propertySet copied deeply.
VELMOR_API IFC2X3Property createPropertyComplex(const WideChar* name, const WideChar* description, const WideChar* usageName,
                                                const IFC2X3PropertySet& propertySet);

/// @}

} // namespace Velmor
