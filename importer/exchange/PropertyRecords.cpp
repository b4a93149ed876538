#include "importer/exchange/PropertyRecords.h"

#include <Velmor/Text.h>

#include "importer/exchange/RecordFields.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>

// A property set is a tree: complex properties contain properties. Its bytes are that tree in preorder, with the number of
// properties before the properties of each level.
//
// parsePropertySet checks all bytes and returns the properties in one flat array, also in preorder; `next` leads from a
// property to the one after everything within it. The views are parts of the bytes, so comparing two sets copies nothing.
// decodePropertySet builds the objects of the library from that array.
//
// Both directions recurse once per level; `deepestNesting` bounds the stack.

namespace importer::exchange {

namespace {

using Velmor::IFC2X3_PSet_Custom_s;
using Velmor::IFC2X3Property;
using Velmor::IFC2X3PropertyComplex;
using Velmor::IFC2X3PropertySet;
using Velmor::IFC2X3PropertySingleValue;
using Velmor::StringOperations;
using Velmor::WideString;

enum RecordKind : std::uint32_t { PropertySetRecord = 1, AssignmentRecord = 2 };

constexpr unsigned globalIdSize = sizeof(IFC2X3_PSet_Custom_s::globalId);

// Bytes of a value by its type; 0: a text, which contains its length.
constexpr std::uint64_t valueSizes[] = {8, 0, 4, 4, 8, 8, 8, 8, 8, 8, 8, 4, 16};

std::string toUTF8(const WideString& text) {
    return StringOperations::ConvertToUTF8(text);
}

WideString fromUTF8(std::string_view text) {
    return StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

void appendValue(std::string& out, const IFC2X3PropertySingleValue& value) {
    append(out, value.getValueType(), 4);
    switch (value.getValueType()) {
    case IFC2X3PropertySingleValue::String:
        return appendText(out, toUTF8(value.getAsString()));
    case IFC2X3PropertySingleValue::Boolean:
        return append(out, value.getBooleanValue() ? 1 : 0, 4);
    case IFC2X3PropertySingleValue::Integer:
        return append(out, static_cast<std::uint32_t>(value.getIntValue()), 4);
    case IFC2X3PropertySingleValue::Integer64:
        return append(out, static_cast<std::uint64_t>(value.getInt64Value()), 8);
    case IFC2X3PropertySingleValue::Logical:
        return append(out, value.getLogicalValue(), 4);
    case IFC2X3PropertySingleValue::CompoundPlaneAngle:
        for (unsigned i = 0; i < 4; ++i)
            append(out, static_cast<std::uint32_t>(value.getCompoundPlaneAngle()[i]), 4);
        return;
    default:
        return appendReal(out, value.getRealValue());
    }
}

void appendProperties(std::string& out, const IFC2X3PropertySet& set, unsigned depth) {
    if (depth > deepestNesting)
        throw WriteError("complex properties nested more than " + std::to_string(deepestNesting) +
                         " levels deep cannot be written");
    append(out, set.getCount(), 4);
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const IFC2X3Property& property = set.getProperty(i);
        append(out, property.getType(), 4);
        appendText(out, toUTF8(property.getName()));
        appendText(out, toUTF8(property.getDescription()));
        if (property.getType() == IFC2X3Property::SingleValue) {
            appendValue(out, property.getPropertySingleValue());
        } else {
            const IFC2X3PropertyComplex& complex = property.getPropertyComplex();
            appendText(out, toUTF8(complex.getUsageName()));
            appendProperties(out, complex.getPropertySet(), depth + 1);
        }
    }
}

void parseSingleValue(Fields& fields, EncodedProperty& property) {
    const std::uint32_t valueType = fields.u32("value type");
    if (valueType >= std::size(valueSizes))
        throw FormatError("expected a value type of 0 to " + std::to_string(std::size(valueSizes) - 1) + ", found " +
                          std::to_string(valueType));
    property.valueType = static_cast<IFC2X3PropertySingleValue::ValueType_t>(valueType);
    property.value = property.valueType == IFC2X3PropertySingleValue::String ? fields.text("value")
                                                                             : fields.bytes(valueSizes[valueType], "value");
    if (property.valueType == IFC2X3PropertySingleValue::Boolean && numberIn(property.value) > 1)
        throw FormatError("expected 0 or 1 as boolean value, found " + std::to_string(numberIn(property.value)));
}

// Appends the properties of one level and everything within them.
void parseProperties(Fields& fields, unsigned depth, std::vector<EncodedProperty>& properties) {
    if (depth > deepestNesting)
        throw FormatError("expected complex properties nested at most " + std::to_string(deepestNesting) +
                          " levels deep, found more levels");
    const std::uint32_t count = fields.u32("number of properties");
    for (std::uint32_t i = 0; i < count; ++i) {
        EncodedProperty property;
        const std::uint32_t type = fields.u32("type of a property");
        if (type != IFC2X3Property::SingleValue && type != IFC2X3Property::Complex)
            throw FormatError("expected a property of type 1 or 2, found " + std::to_string(type));
        property.isComplex = type == IFC2X3Property::Complex;
        property.name = fields.text("name of a property");
        property.description = fields.text("description of a property");
        if (property.isComplex)
            property.value = fields.text("usage name");
        else
            parseSingleValue(fields, property);
        const std::size_t index = properties.size();
        properties.push_back(property);
        if (property.isComplex)
            parseProperties(fields, depth + 1, properties);
        properties[index].next = properties.size();
    }
}

void add(IFC2X3PropertySet& set, const IFC2X3Property& property) {
    const unsigned count = set.getCount();
    set.addProperty(property);
    if (set.getCount() == count)
        throw std::bad_alloc(); // when memory is exhausted, addProperty adds nothing and reports no error
}

// The properties in a range of indices, with everything within them.
IFC2X3PropertySet build(const std::vector<EncodedProperty>& properties, std::size_t begin, std::size_t end) {
    IFC2X3PropertySet set;
    for (std::size_t i = begin; i < end; i = properties[i].next) {
        const EncodedProperty& property = properties[i];
        if (property.isComplex)
            add(set, Velmor::createPropertyComplex(fromUTF8(property.name), fromUTF8(property.description),
                                                   fromUTF8(property.value), build(properties, i + 1, property.next)));
        else
            add(set, decodeSingleValue(property));
    }
    return set;
}

// Texts longer than the field are cut; the last unit stays NUL.
void copyText(std::string_view text, Velmor::WideChar (&field)[Velmor::IFC2X3TextUnits]) {
    const WideString wide = fromUTF8(text);
    std::copy_n(wide.data(), std::min(wide.size(), Velmor::IFC2X3TextUnits - 1), field);
}

Fields fieldsOf(std::string_view payload, RecordKind expected) {
    Fields fields(payload);
    const std::uint32_t kind = fields.u32("kind of the record");
    if (kind != expected)
        throw FormatError("expected a record of kind " + std::to_string(expected) + ", found " + std::to_string(kind));
    return fields;
}

} // namespace

std::string encode(const IFC2X3_PSet_Custom_s& set) {
    std::string out;
    append(out, PropertySetRecord, 4);
    out.append(set.globalId, globalIdSize);
    appendText(out, toUTF8(set.name));
    appendText(out, toUTF8(set.description));
    appendProperties(out, set.properties, 0);
    return out;
}

std::string encode(const Assignment& assignment) {
    std::string out;
    append(out, AssignmentRecord, 4);
    append(out, assignment.object, 8);
    append(out, assignment.sets.size(), 4);
    for (const std::uint32_t set : assignment.sets)
        append(out, set, 4);
    return out;
}

bool isPropertySet(std::string_view payload) {
    const std::uint32_t kind = Fields(payload).u32("kind of the record");
    if (kind != PropertySetRecord && kind != AssignmentRecord)
        throw FormatError("expected a record of kind 1 or 2, found " + std::to_string(kind));
    return kind == PropertySetRecord;
}

EncodedSet parsePropertySet(std::string_view payload) {
    Fields fields = fieldsOf(payload, PropertySetRecord);
    EncodedSet set;
    set.globalId = fields.bytes(globalIdSize, "GlobalId");
    set.name = fields.text("name");
    set.description = fields.text("description");
    parseProperties(fields, 0, set.properties);
    fields.end();
    return set;
}

IFC2X3_PSet_Custom_s decodePropertySet(std::string_view payload) {
    const EncodedSet encoded = parsePropertySet(payload);
    IFC2X3_PSet_Custom_s set{};
    std::copy_n(encoded.globalId.data(), globalIdSize, set.globalId);
    copyText(encoded.name, set.name);
    copyText(encoded.description, set.description);
    set.properties = build(encoded.properties, 0, encoded.properties.size());
    return set;
}

IFC2X3Property decodeSingleValue(const EncodedProperty& property) {
    const WideString name = fromUTF8(property.name);
    const WideString description = fromUTF8(property.description);
    switch (property.valueType) {
    case IFC2X3PropertySingleValue::String:
        return Velmor::createPropertySingleValueString(name, description, fromUTF8(property.value));
    case IFC2X3PropertySingleValue::Boolean:
        return Velmor::createPropertySingleValueBoolean(name, description, numberIn(property.value) != 0);
    case IFC2X3PropertySingleValue::Integer:
        return Velmor::createPropertySingleValueInteger(name, description, property.valueType,
                                                        static_cast<std::int32_t>(numberIn(property.value)));
    case IFC2X3PropertySingleValue::Integer64:
        return Velmor::createPropertySingleValueInteger64(name, description, property.valueType,
                                                          static_cast<std::int64_t>(numberIn(property.value)));
    case IFC2X3PropertySingleValue::Logical:
        return Velmor::createPropertySingleValueLogical(
            name, description, static_cast<IFC2X3PropertySingleValue::Logical_s>(numberIn(property.value)));
    case IFC2X3PropertySingleValue::CompoundPlaneAngle: {
        std::array<int, 4> components{};
        for (std::size_t i = 0; i < components.size(); ++i)
            components[i] = static_cast<int>(numberIn(property.value.substr(4 * i, 4)));
        return Velmor::createPropertySingleValueCompoundPlaneAngle(name, description, components.data());
    }
    default:
        return Velmor::createPropertySingleValueReal(name, description, property.valueType, realIn(property.value));
    }
}

std::string_view nameOf(std::string_view payload) {
    return Fields(contentOf(payload)).text("name");
}

std::string_view contentOf(std::string_view payload) {
    return payload.substr(4 + globalIdSize);
}

Assignment decodeAssignment(std::string_view payload) {
    Fields fields = fieldsOf(payload, AssignmentRecord);
    Assignment assignment;
    assignment.object = fields.u64("object");
    const std::uint32_t count = fields.u32("number of property sets");
    const std::string_view numbers = fields.bytes(std::uint64_t{4} * count, "numbers of property sets");
    for (std::size_t i = 0; i < count; ++i)
        assignment.sets.push_back(static_cast<std::uint32_t>(numberIn(numbers.substr(4 * i, 4))));
    fields.end();
    return assignment;
}

void readAttributes(RecordReader& reader, const StreamTotals& expected, std::uint64_t objects,
                    const std::function<void(std::string_view)>& setSink,
                    const std::function<void(Assignment&&)>& assignmentSink) {
    std::uint64_t sets = 0;
    std::uint64_t nextObject = 0;
    readRecords(reader, expected, "a property set or an assignment", [&](std::string_view payload) {
        if (isPropertySet(payload)) {
            parsePropertySet(payload);
            ++sets;
            setSink(payload);
            return;
        }
        Assignment assignment = decodeAssignment(payload);
        if (assignment.object < nextObject || assignment.object >= objects)
            throw FormatError("expected an assignment for an object >= " + std::to_string(nextObject) + " and < " +
                              std::to_string(objects) + ", found one for object " + std::to_string(assignment.object));
        nextObject = assignment.object + 1;
        for (const std::uint32_t set : assignment.sets) {
            if (set >= sets)
                throw FormatError("expected a property set number below " + std::to_string(sets) + ", found " +
                                  std::to_string(set));
        }
        assignmentSink(std::move(assignment));
    });
}

} // namespace importer::exchange
