#pragma once

// What goes through the attributes stream: the property sets of a model, each once, and which object has which of them.
// docs/formats.md draws the records.

#include <Velmor/IFCPropertySets.h>

#include "importer/exchange/Streams.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace importer::exchange {

/// How many complex properties may lie within each other; the properties of the innermost one are the last ones.
inline constexpr unsigned deepestNesting = 64;

/// One property of an encoded set. The views are parts of the set's bytes.
struct EncodedProperty {
    std::string_view name;
    std::string_view description;
    bool isComplex = false;
    Velmor::IFC2X3PropertySingleValue::ValueType_t valueType = {}; ///< Unless it is complex.
    std::string_view value; ///< The bytes of its value; the usage name of a complex property.
    std::size_t behind = 0; ///< Index of what stands behind it and all that is within it.
};

/// An encoded property set, taken apart.
struct EncodedSet {
    std::string_view globalId; ///< 22 bytes.
    std::string_view name;
    std::string_view description;
    std::vector<EncodedProperty> properties; ///< Those within a complex property stand right behind it.
};

/// Which property sets an object has.
struct Assignment {
    std::uint64_t object = 0;        ///< The how many-th of the model's objects it is, from 0.
    std::vector<std::uint32_t> sets; ///< The how many-th of the model's sets each of them is, from 0.
};

/// The bytes of a record, without its length prefix. Texts end at their first NUL.
/// @throws WriteError for properties that are nested deeper than `deepestNesting`.
std::string encode(const Velmor::IFC2X3_PSet_Custom_s& set);
std::string encode(const Assignment& assignment);

/// Whether the bytes claim to be a property set; otherwise they claim to be an assignment.
/// @throws FormatError when they are neither.
bool isPropertySet(std::string_view payload);

/// A property set's bytes, taken apart and checked whole.
/// @throws FormatError
EncodedSet parsePropertySet(std::string_view payload);

/// The library's property set that the bytes hold.
/// @throws FormatError
Velmor::IFC2X3_PSet_Custom_s decodePropertySet(std::string_view payload);

/// The library's property that an encoded single value makes.
Velmor::IFC2X3Property decodeSingleValue(const EncodedProperty& property);

/// The name of a property set that has been parsed before.
std::string_view nameOf(std::string_view payload);

/// What a set's bytes hold beside the kind of the record and the GlobalId of the set: equal bytes are equal content.
std::string_view contentOf(std::string_view payload);

/// @throws FormatError
Assignment decodeAssignment(std::string_view payload);

/// Reads as many property sets and assignments as the writer counted. A set comes before the assignments that name it, the
/// assignments in the order of their objects.
/// @param objects        how many objects the model has.
/// @param setSink        gets the bytes of each set, which have been checked.
/// @param assignmentSink gets each assignment, before the totals are compared.
/// @throws FormatError when the stream is damaged or does not come to the same totals.
void readAttributes(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                    const std::function<void(std::string_view)>& setSink,
                    const std::function<void(Assignment&&)>& assignmentSink);

} // namespace importer::exchange
