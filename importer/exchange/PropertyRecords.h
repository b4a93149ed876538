#pragma once

// The attributes stream: the property sets of a model, each once, and which object has which sets.
// docs/importer/streams.md describes the bytes.

#include <Velmor/IFCPropertySets.h>

#include "importer/exchange/Streams.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace importer::exchange {

/// Maximum nesting depth of complex properties.
inline constexpr unsigned deepestNesting = 64;

/// One property of an encoded set. The views are parts of the bytes of the set.
struct EncodedProperty {
    std::string_view name;
    std::string_view description;
    bool isComplex = false;
    Velmor::IFC2X3PropertySingleValue::ValueType_t valueType = {}; ///< Of a single value.
    std::string_view value; ///< The bytes of a single value; the usage name of a complex property.
    std::size_t next = 0;   ///< Index of the first property after this one and everything within it.
};

/// The parts of an encoded property set.
struct EncodedSet {
    std::string_view globalId; ///< 22 bytes.
    std::string_view name;
    std::string_view description;
    std::vector<EncodedProperty> properties; ///< The properties of a complex property follow it.
};

/// The property sets of one object.
struct Assignment {
    std::uint64_t object = 0;        ///< Index of the object in the objects stream.
    std::vector<std::uint32_t> sets; ///< Indices of the sets among the sets of the stream.
};

/// The bytes of a record, without its length prefix. Texts end at their first NUL.
/// @throws WriteError for properties nested deeper than `deepestNesting`.
std::string encode(const Velmor::IFC2X3_PSet_Custom_s& set);
std::string encode(const Assignment& assignment);

/// Whether a record is a property set; otherwise it is an assignment. Only the kind of the record is checked.
/// @throws FormatError when it is neither.
bool isPropertySet(std::string_view payload);

/// Parses the bytes of a property set and checks all of them.
/// @return views of the bytes; `payload` must outlive them.
/// @throws FormatError
EncodedSet parsePropertySet(std::string_view payload);

/// Builds the property set of the library from its bytes.
/// @throws FormatError
Velmor::IFC2X3_PSet_Custom_s decodePropertySet(std::string_view payload);

/// Builds the property of the library from an encoded single value.
Velmor::IFC2X3Property decodeSingleValue(const EncodedProperty& property);

/// The name of a property set, from bytes that parsePropertySet has accepted.
std::string_view nameOf(std::string_view payload);

/// The bytes of a set after the kind of the record and the GlobalId of the set. Sets with equal bytes have equal content.
std::string_view contentOf(std::string_view payload);

/// @throws FormatError
Assignment decodeAssignment(std::string_view payload);

/// Reads the number of property sets and assignments that the writer counted. A set precedes the assignments that refer to
/// it; the objects of the assignments are in ascending order, with at most one assignment each.
/// @param objects        number of objects of the model.
/// @param setSink        receives the bytes of each set, after they have been checked.
/// @param assignmentSink receives each assignment, before the totals are compared.
/// @throws FormatError as readRecords.
void readAttributes(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                    const std::function<void(std::string_view)>& setSink,
                    const std::function<void(Assignment&&)>& assignmentSink);

} // namespace importer::exchange
