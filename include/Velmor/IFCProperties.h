#pragma once

/// @file
/// How an object's properties are carried: the IFC 2x3 property values, sets of them, and the factories that build them.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>

namespace Velmor {

class IFC2X3Property;
struct IFC2X3PropertyBuilder; // the factories' access to the fields; internal

/// Number of units of each text that is held inside a record; its terminating NUL is one of them.
inline constexpr std::size_t IFC2X3TextUnits = 256;

/// An ordered list of properties, each of them owned: a deep copy, made when it was added.
///
/// Copies are deep, to any depth of nesting that the stack bears (copying and destroying call themselves for each level),
/// and hold exactly as many places as properties; a move is a copy. When the array of places cannot be had, a property is
/// silently not added and a copy is silently empty; any other failed allocation throws `std::bad_alloc`, leaks nothing and
/// leaves the set as it was.
///
/// Threads: a set is used by one thread at a time.
class VELMOR_API IFC2X3PropertySet {
public:
    /// An empty set without an array.
    IFC2X3PropertySet();

    /// A deep copy with exactly `other.getCount()` places; empty if no array of that many can be had.
    IFC2X3PropertySet(const IFC2X3PropertySet& other);

    /// Replaces the properties by a deep copy of the other's, as the copy constructor makes it.
    IFC2X3PropertySet& operator=(const IFC2X3PropertySet& other);

    /// Destroys the properties.
    ~IFC2X3PropertySet();

    /// Appends a deep copy. A full array grows by 50 places; if it cannot, nothing is added and nothing is told.
    /// @param property may be one of this set's own.
    void addProperty(const IFC2X3Property& property);

    /// Destroys the properties and keeps the array for those to come.
    void clear();

    /// Number of the properties.
    unsigned int getCount() const;

    /// The property at a place, in the order in which they were added.
    /// @return for an index not below the count, one shared property of type `NoContent` with empty texts. A reference to an
    /// own property lasts until the set is cleared, assigned or destroyed.
    const IFC2X3Property& getProperty(unsigned int index) const;

private:
    std::uint32_t count_;
    std::uint32_t capacity_;
    IFC2X3Property** items_; // capacity_ places from the C heap, the first count_ of them taken
};

/// The typed value of a property. Only the field that its value type selects carries meaning.
///
/// A getter that does not fit the value type answers its neutral value; the first time this happens in the process, per
/// getter, it breaks into an attached debugger. No getter turns a number into text.
///
/// Ownership: what the text getters return lasts as long as the value and is not changed by anything but its assignment.
///
/// Failure: copying a text may throw `std::bad_alloc`; an assignment then leaves the value as it was.
///
/// Threads: a value is used by one thread at a time.
class VELMOR_API IFC2X3PropertySingleValue {
public:
    /// What kind of value this is. Any 32-bit value may be held. The library treats `Area`, `Volume` and `Mass` alike; which
    /// measure each of the three names is a convention of this code base.
    enum ValueType_t : std::uint32_t {
        Unspecified = 0,        ///< Real of no known measure; also the type of a value whose factory call was rejected.
        String = 1,             ///< Text.
        Boolean = 2,            ///< True or false.
        Integer = 3,            ///< 32-bit integer, a count for instance.
        Real = 4,               ///< Real, a plain number: ratios, coefficients, thermal transmittance.
        Length = 5,             ///< Real, a length.
        Area = 6,               ///< Real, an area.
        Volume = 7,             ///< Real, a volume.
        Mass = 8,               ///< Real, a mass.
        PlaneAngle = 9,         ///< Real, a plane angle in radians.
        Integer64 = 10,         ///< 64-bit integer.
        Logical = 11,           ///< True, false or unknown.
        CompoundPlaneAngle = 12 ///< Degrees, minutes, seconds and millionths of a second.
    };

    /// A truth value of three. Any 32-bit value may be held.
    enum Logical_s : std::uint32_t { LogicalFalse = 0, LogicalTrue = 1, LogicalUnknown = 2 };

    IFC2X3PropertySingleValue(const IFC2X3PropertySingleValue& other);
    IFC2X3PropertySingleValue& operator=(const IFC2X3PropertySingleValue& other);
    ~IFC2X3PropertySingleValue();

    /// The value type.
    ValueType_t getValueType() const;

    /// The value of type `Boolean`; false otherwise.
    bool getBooleanValue() const;

    /// The value of type `Integer`; 0 otherwise.
    std::int32_t getIntValue() const;

    /// The value of type `Integer64`; 0 otherwise.
    std::int64_t getInt64Value() const;

    /// The value of type `Unspecified`, or of types `Real` to `PlaneAngle`; 0.0 otherwise.
    double getRealValue() const;

    /// The value of type `Logical`; `LogicalUnknown` otherwise.
    Logical_s getLogicalValue() const;

    /// The NUL-terminated text of type `String`; an empty one otherwise.
    const WideChar* getStringValue() const;

    /// As `getStringValue`, for callers without a 16-bit wide character.
    const unsigned short* getStringValue2() const;

    /// The text of type `String`, whole even where it holds a NUL; one shared empty text otherwise.
    const WideString& getAsString() const;

    /// The four components of a compound plane angle as they were given: in IFC degrees, minutes, seconds and millionths of
    /// a second. Four zeros for every other value type; never breaks.
    const int* getCompoundPlaneAngle() const;

protected:
    /// Type `Unspecified`, every field neutral.
    IFC2X3PropertySingleValue();

private:
    friend struct IFC2X3PropertyBuilder;

    ValueType_t valueType_;
    bool boolean_;
    Logical_s logical_;
    std::int32_t integer_;
    double real_;
    std::int64_t integer64_;
    WideString string_;
    int compoundPlaneAngle_[4];
};

/// The content of a complex property: a usage name and a set of properties of its own, held by value.
///
/// Copies are deep; a move is a copy and leaves its source as it is. Failures and threads are those of the set.
class VELMOR_API IFC2X3PropertyComplex {
public:
    IFC2X3PropertyComplex(const IFC2X3PropertyComplex& other);
    IFC2X3PropertyComplex& operator=(const IFC2X3PropertyComplex& other);
    ~IFC2X3PropertyComplex();

    /// The usage name, NUL-terminated, at most 255 units.
    const WideChar* getUsageName() const;

    /// As `getUsageName`, for callers without a 16-bit wide character.
    const unsigned short* getUsageName2() const;

    /// The nested set.
    const IFC2X3PropertySet& getPropertySet() const;

protected:
    /// An empty usage name and an empty set.
    IFC2X3PropertyComplex();

private:
    friend struct IFC2X3PropertyBuilder;

    WideChar usageName_[IFC2X3TextUnits];
    IFC2X3PropertySet propertySet_;
};

/// One named property: a single value, or a complex of properties. Only the factories below build one.
///
/// Copies are deep, to any depth of nesting that the stack bears; a move is a copy. A failed allocation throws
/// `std::bad_alloc`, leaks nothing and leaves the property as it was, but for the array of a nested set, whose copy is then
/// silently empty.
///
/// Threads: a property is used by one thread at a time.
class VELMOR_API IFC2X3Property {
public:
    /// What a property holds. Any 32-bit value may be held.
    enum Type_t : std::uint32_t {
        NoContent = 0,   ///< Nothing: the property that a set gives for an index it does not have.
        SingleValue = 1, ///< A value.
        Complex = 2      ///< A usage name and a set of properties.
    };

    IFC2X3Property(const IFC2X3Property& other);
    IFC2X3Property& operator=(const IFC2X3Property& other);
    ~IFC2X3Property();

    /// What it holds.
    Type_t getType() const;

    /// The name, NUL-terminated, at most 255 units.
    const WideChar* getName() const;

    /// As `getName`, for callers without a 16-bit wide character.
    const unsigned short* getName2() const;

    /// The description, NUL-terminated, at most 255 units.
    const WideChar* getDescription() const;

    /// As `getDescription`, for callers without a 16-bit wide character.
    const unsigned short* getDescription2() const;

    /// The value of a property of type `SingleValue`; otherwise one shared value of type `Unspecified`, silently. A
    /// reference to the property's own value lasts until the property is assigned or destroyed.
    const IFC2X3PropertySingleValue& getPropertySingleValue() const;

    /// The content of a property of type `Complex`; otherwise one shared complex with an empty usage name and an empty set,
    /// silently. A reference to the property's own content lasts until the property is assigned or destroyed.
    const IFC2X3PropertyComplex& getPropertyComplex() const;

protected:
    /// Type `NoContent`, empty texts.
    IFC2X3Property();

private:
    friend struct IFC2X3PropertyBuilder;

    Type_t type_;
    WideChar name_[IFC2X3TextUnits];
    WideChar description_[IFC2X3TextUnits];
    IFC2X3PropertySingleValue* singleValue_; // owned, may be null
    IFC2X3PropertyComplex* complex_;         // owned, may be null
};

/// @name Factories
///
/// Each builds one property. Names, descriptions and usage names end at their first NUL; what is longer than 255 units is
/// cut. A pointer to a text must not be null.
///
/// The factories of integers and reals take the value types that belong to them. With any other one the property has a value
/// of type `Unspecified` with every field neutral, the given number is discarded, and the first such call of the process,
/// per factory, breaks into an attached debugger.
///
/// Failure: a failed allocation throws `std::bad_alloc` and leaks nothing. Threads: may be called from any thread.
/// @{

/// A text.
/// @param value this overload takes it up to its first NUL.
VELMOR_API IFC2X3Property createPropertySingleValueString(const WideString& name, const WideString& description,
                                                          const WideString& value);
/// A text.
/// @param value this overload takes it whole.
VELMOR_API IFC2X3Property createPropertySingleValueString(const WideChar* name, const WideChar* description,
                                                          const WideString& value);

/// A boolean.
VELMOR_API IFC2X3Property createPropertySingleValueBoolean(const WideString& name, const WideString& description,
                                                           bool value);
/// A boolean.
VELMOR_API IFC2X3Property createPropertySingleValueBoolean(const WideChar* name, const WideChar* description, bool value);

/// A 32-bit integer.
/// @param type must be `Integer`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger(const WideString& name, const WideString& description,
                                                           IFC2X3PropertySingleValue::ValueType_t type, std::int32_t value);
/// A 32-bit integer.
/// @param type must be `Integer`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger(const WideChar* name, const WideChar* description,
                                                           IFC2X3PropertySingleValue::ValueType_t type, std::int32_t value);

/// A 64-bit integer.
/// @param type must be `Integer64`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger64(const WideString& name, const WideString& description,
                                                             IFC2X3PropertySingleValue::ValueType_t type,
                                                             std::int64_t value);
/// A 64-bit integer.
/// @param type must be `Integer64`.
VELMOR_API IFC2X3Property createPropertySingleValueInteger64(const WideChar* name, const WideChar* description,
                                                             IFC2X3PropertySingleValue::ValueType_t type,
                                                             std::int64_t value);

/// A real number.
/// @param type must be `Unspecified` or one of `Real` to `PlaneAngle`.
VELMOR_API IFC2X3Property createPropertySingleValueReal(const WideString& name, const WideString& description,
                                                        IFC2X3PropertySingleValue::ValueType_t type, double value);
/// A real number.
/// @param type must be `Unspecified` or one of `Real` to `PlaneAngle`.
VELMOR_API IFC2X3Property createPropertySingleValueReal(const WideChar* name, const WideChar* description,
                                                        IFC2X3PropertySingleValue::ValueType_t type, double value);

/// A truth value of three, stored as it is.
VELMOR_API IFC2X3Property createPropertySingleValueLogical(const WideString& name, const WideString& description,
                                                           IFC2X3PropertySingleValue::Logical_s value);
/// A truth value of three, stored as it is.
VELMOR_API IFC2X3Property createPropertySingleValueLogical(const WideChar* name, const WideChar* description,
                                                           IFC2X3PropertySingleValue::Logical_s value);

/// A compound plane angle.
/// @param components four integers, stored as they are; four zeros when null.
VELMOR_API IFC2X3Property createPropertySingleValueCompoundPlaneAngle(const WideString& name, const WideString& description,
                                                                      const int* components);
/// A compound plane angle.
/// @param components four integers, stored as they are; four zeros when null.
VELMOR_API IFC2X3Property createPropertySingleValueCompoundPlaneAngle(const WideChar* name, const WideChar* description,
                                                                      const int* components);

/// A complex property.
/// @param propertySet copied deeply.
VELMOR_API IFC2X3Property createPropertyComplex(const WideString& name, const WideString& description,
                                                const WideString& usageName, const IFC2X3PropertySet& propertySet);
/// A complex property.
/// @param propertySet copied deeply.
VELMOR_API IFC2X3Property createPropertyComplex(const WideChar* name, const WideChar* description, const WideChar* usageName,
                                                const IFC2X3PropertySet& propertySet);

/// @}

static_assert(sizeof(IFC2X3PropertySet) == 16, "the layout of a property set is fixed");
static_assert(sizeof(IFC2X3PropertyComplex) == 528, "the layout of a complex property is fixed");
static_assert(sizeof(IFC2X3Property) == 1048, "the layout of a property is fixed");

} // namespace Velmor
