#pragma once

// Properties as plain data: a model that tests build properties from and compare them with, and the bytes of the records,
// whose layout is fixed.

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

/// What a property is built from. Its texts are those given to the factory, not yet cut.
struct PlainProperty {
    std::uint32_t type = 1;
    Velmor::WideString name;
    Velmor::WideString description;
    PlainValue value;                   // of type 1
    Velmor::WideString usageName;       // of type 2
    std::vector<PlainProperty> members; // of type 2
};

using PlainSet = std::vector<PlainProperty>;

PlainProperty plainString(const Velmor::WideString& name, const Velmor::WideString& value);
PlainProperty plainInteger(const Velmor::WideString& name, std::int32_t value);
PlainProperty plainReal(const Velmor::WideString& name, double value);
PlainProperty plainComplex(const Velmor::WideString& name, const PlainSet& members);

/// Integer properties that count up from the given number.
PlainSet plainIntegers(std::size_t count, std::int32_t first = 0);

/// A set of a text and two numbers that holds another such set and so on.
PlainSet plainNest(unsigned levels);

enum class Overload { Texts, Pointers };

/// Builds the property by the factory of its kind.
Velmor::IFC2X3Property build(const PlainProperty& plain, Overload overload = Overload::Texts);

/// Builds a set by appending to an empty one.
Velmor::IFC2X3PropertySet build(const PlainSet& plain, Overload overload = Overload::Texts);

/// Where a record differs from its model, one line for each place; empty when it is the same in everything: the texts as the
/// factories cut them, every field of the value, the exact size of each nested set, to any depth.
std::string difference(const Velmor::IFC2X3Property& property, const PlainProperty& plain);
std::string difference(const Velmor::IFC2X3PropertySingleValue& value, const PlainValue& plain);
std::string difference(const Velmor::IFC2X3PropertySet& propertySet, const PlainSet& plain);

/// The text up to its first NUL, at most 255 units of it.
Velmor::WideString cut(const Velmor::WideString& text);

/// The text up to its first NUL.
Velmor::WideString untilNul(const Velmor::WideString& text);

/// `length` units that are no two alike in a row.
Velmor::WideString longText(std::size_t length);

/// The field of a record at an offset.
template <class Field, class Record>
Field fieldAt(const Record& record, std::size_t offset) {
    Field field;
    std::memcpy(&field, reinterpret_cast<const char*>(&record) + offset, sizeof field);
    return field;
}

/// Overwrites the field of a record at an offset.
template <class Record, class Field>
void setFieldAt(Record& record, std::size_t offset, const Field& field) {
    std::memcpy(reinterpret_cast<char*>(&record) + offset, &field, sizeof field);
}

/// Offsets of the fields.
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

/// The string field of a value, whatever its type.
const Velmor::WideString& stringOf(const Velmor::IFC2X3PropertySingleValue& value);

/// Addresses of everything that a property or a set owns, to any depth.
std::set<const void*> blocksOf(const Velmor::IFC2X3Property& property);
std::set<const void*> blocksOf(const Velmor::IFC2X3PropertySet& propertySet);

/// Whether two records own a block together.
bool shareBlocks(const std::set<const void*>& a, const std::set<const void*>& b);

} // namespace velmor_tests
