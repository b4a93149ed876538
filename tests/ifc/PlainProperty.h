#pragma once

// Properties as plain data. Tests create properties from this model and compare properties with it. Fields without a getter
// are read through their fixed offsets.

#include <Velmor/IFCProperties.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace velmor_tests {

struct PlainValue {
    std::uint32_t type = 0;
    bool boolean = false;
    std::uint32_t logical = 2;
    std::int32_t integer = 0;
    double real = 0;
    std::int64_t integer64 = 0;
    Velmor::WideString string;
    std::array<int, 4> angle{};
};

/// The arguments of a factory. The texts may be longer than the record can hold.
struct PlainProperty {
    std::uint32_t type = 1;
    Velmor::WideString name;
    Velmor::WideString description;
    PlainValue value;                   // for type 1
    Velmor::WideString usageName;       // for type 2
    std::vector<PlainProperty> members; // for type 2
};

using PlainSet = std::vector<PlainProperty>;

PlainProperty plainString(const Velmor::WideString& name, const Velmor::WideString& value);
PlainProperty plainInteger(const Velmor::WideString& name, std::int32_t value);
PlainProperty plainReal(const Velmor::WideString& name, double value);
PlainProperty plainComplex(const Velmor::WideString& name, const PlainSet& members);

/// Integer properties with consecutive values.
PlainSet plainIntegers(std::size_t count, std::int32_t first = 0);

/// A set of a text, a number and a complex property that contains another such set, to the given depth.
PlainSet plainNest(unsigned levels);

enum class Overload { Texts, Pointers };

/// Creates a property with the factory of its kind.
Velmor::IFC2X3Property build(const PlainProperty& plain, Overload overload = Overload::Texts);

/// Creates a set by appending to an empty one.
Velmor::IFC2X3PropertySet build(const PlainSet& plain, Overload overload = Overload::Texts);

/// The differences between a record and its model, one line each; empty if they are equal. Compares the texts after
/// truncation, every field of the value, and the exact capacity of each nested set, at all depths.
std::string difference(const Velmor::IFC2X3Property& property, const PlainProperty& plain);
std::string difference(const Velmor::IFC2X3PropertySingleValue& value, const PlainValue& plain);
std::string difference(const Velmor::IFC2X3PropertySet& propertySet, const PlainSet& plain);

/// Whether a value of this type is a real.
constexpr bool isRealType(std::uint32_t type) {
    return type == 0 || (type >= 4 && type <= 9);
}

/// The text up to its first NUL, at most 255 units.
Velmor::WideString cut(const Velmor::WideString& text);

/// The text up to its first NUL.
Velmor::WideString untilNul(const Velmor::WideString& text);

/// A text whose adjacent units differ.
Velmor::WideString longText(std::size_t length);

/// Reads the field at an offset of a record.
template <class Field, class Record>
Field fieldAt(const Record& record, std::size_t offset) {
    Field field;
    std::memcpy(&field, reinterpret_cast<const char*>(&record) + offset, sizeof field);
    return field;
}

/// Overwrites the field at an offset of a record.
template <class Record, class Field>
void setFieldAt(Record& record, std::size_t offset, const Field& field) {
    std::memcpy(reinterpret_cast<char*>(&record) + offset, &field, sizeof field);
}

/// Offsets of the fields in the records.
namespace at {
inline constexpr std::size_t count = 0;
inline constexpr std::size_t capacity = 4;
inline constexpr std::size_t items = 8;

inline constexpr std::size_t type = 0;
inline constexpr std::size_t name = 4;
inline constexpr std::size_t description = 516;
inline constexpr std::size_t singleValue = 1032;
inline constexpr std::size_t complex = 1040;

inline constexpr std::size_t usageName = 0;
inline constexpr std::size_t propertySet = 512;

inline constexpr std::size_t valueType = 0;
inline constexpr std::size_t boolean = 4;
inline constexpr std::size_t logical = 8;
inline constexpr std::size_t integer = 12;
inline constexpr std::size_t real = 16;
inline constexpr std::size_t integer64 = 24;
inline constexpr std::size_t string = 32;
inline constexpr std::size_t angle = 64;
} // namespace at

std::uint32_t capacityOf(const Velmor::IFC2X3PropertySet& propertySet);
const void* itemsOf(const Velmor::IFC2X3PropertySet& propertySet);

/// The string field of a value of any type.
const Velmor::WideString& stringOf(const Velmor::IFC2X3PropertySingleValue& value);

/// The addresses of all memory blocks that a property or a set owns, at all depths.
std::set<const void*> blocksOf(const Velmor::IFC2X3Property& property);
std::set<const void*> blocksOf(const Velmor::IFC2X3PropertySet& propertySet);

/// Whether two records own the same block.
bool shareBlocks(const std::set<const void*>& a, const std::set<const void*>& b);

} // namespace velmor_tests
