#include "importer/exchange/PropertyRecords.h"

#include "importer/exchange/RecordFields.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>

namespace importer::exchange {
namespace {

using Velmor::IFC2X3_PSet_Custom_s;
using Velmor::IFC2X3Property;
using Velmor::IFC2X3PropertySet;
using Velmor::IFC2X3PropertySingleValue;
using Velmor::StringOperations;
using Velmor::WideString;

enum RecordKind : std::uint32_t { PropertySet = 1, ObjectsSets = 2 };

constexpr unsigned globalIdSize = sizeof(IFC2X3_PSet_Custom_s::globalId);

// Bytes of a value by its type; a text tells its size itself.
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
    if (depth > deepestNesting) {
        throw WriteError("more than " + std::to_string(deepestNesting) +
                         " complex properties within each other cannot be written");
    }
    append(out, set.getCount(), 4);
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const auto& property = set.getProperty(i);
        append(out, property.getType(), 4);
        appendText(out, toUTF8(property.getName()));
        appendText(out, toUTF8(property.getDescription()));
        if (property.getType() == IFC2X3Property::SingleValue) {
            appendValue(out, property.getPropertySingleValue());
        } else {
            const auto& complex = property.getPropertyComplex();
            appendText(out, toUTF8(complex.getUsageName()));
            appendProperties(out, complex.getPropertySet(), depth + 1);
        }
    }
}

void parseProperties(Fields& fields, unsigned depth, std::vector<EncodedProperty>& properties) {
    if (depth > deepestNesting) {
        throw FormatError("expected at most " + std::to_string(deepestNesting) +
                          " complex properties within each other, found more");
    }
    const auto count = fields.u32("number of properties");
    for (std::uint32_t i = 0; i < count; ++i) {
        EncodedProperty property;
        const auto type = fields.u32("type of a property");
        if (type != IFC2X3Property::SingleValue && type != IFC2X3Property::Complex)
            throw FormatError("expected a property of type 1 or 2, found " + std::to_string(type));
        property.isComplex = type == IFC2X3Property::Complex;
        property.name = fields.text("name of a property");
        property.description = fields.text("description of a property");
        if (property.isComplex) {
            property.value = fields.text("usage name");
            const auto index = properties.size();
            properties.push_back(property);
            parseProperties(fields, depth + 1, properties);
            properties[index].behind = properties.size();
            continue;
        }
        const auto valueType = fields.u32("value type");
        if (valueType >= std::size(valueSizes)) {
            throw FormatError("expected a value type of 0 to " + std::to_string(std::size(valueSizes) - 1) + ", found " +
                              std::to_string(valueType));
        }
        property.valueType = static_cast<IFC2X3PropertySingleValue::ValueType_t>(valueType);
        property.value = property.valueType == IFC2X3PropertySingleValue::String
                             ? fields.text("value")
                             : fields.bytes(valueSizes[valueType], "value");
        if (property.valueType == IFC2X3PropertySingleValue::Boolean && numberIn(property.value) > 1)
            throw FormatError("expected 0 or 1 as boolean value, found " + std::to_string(numberIn(property.value)));
        property.behind = properties.size() + 1;
        properties.push_back(property);
    }
}

void add(IFC2X3PropertySet& set, const IFC2X3Property& property) {
    const auto count = set.getCount();
    set.addProperty(property);
    if (set.getCount() == count)
        throw std::bad_alloc(); // the set itself drops silently what it has no room for
}

// The properties from one index up to another, with what is within them.
IFC2X3PropertySet build(const std::vector<EncodedProperty>& properties, std::size_t begin, std::size_t end) {
    IFC2X3PropertySet set;
    for (auto i = begin; i < end; i = properties[i].behind) {
        const auto& property = properties[i];
        if (property.isComplex) {
            add(set, Velmor::createPropertyComplex(fromUTF8(property.name), fromUTF8(property.description),
                                                   fromUTF8(property.value), build(properties, i + 1, property.behind)));
        } else {
            add(set, decodeSingleValue(property));
        }
    }
    return set;
}

void copyText(std::string_view text, Velmor::WideChar (&field)[Velmor::IFC2X3TextUnits]) {
    const auto wide = fromUTF8(text);
    std::copy_n(wide.data(), std::min(wide.size(), Velmor::IFC2X3TextUnits - 1), field);
}

Fields fieldsOf(std::string_view payload, RecordKind expected) {
    Fields fields(payload);
    const auto kind = fields.u32("kind of the record");
    if (kind != expected)
        throw FormatError("expected a record of kind " + std::to_string(expected) + ", found " + std::to_string(kind));
    return fields;
}

} // namespace

std::string encode(const IFC2X3_PSet_Custom_s& set) {
    std::string out;
    append(out, PropertySet, 4);
    out.append(set.globalId, globalIdSize);
    appendText(out, toUTF8(set.name));
    appendText(out, toUTF8(set.description));
    appendProperties(out, set.properties, 0);
    return out;
}

std::string encode(const Assignment& assignment) {
    std::string out;
    append(out, ObjectsSets, 4);
    append(out, assignment.object, 8);
    append(out, assignment.sets.size(), 4);
    for (const auto set : assignment.sets)
        append(out, set, 4);
    return out;
}

bool isPropertySet(std::string_view payload) {
    const auto kind = Fields(payload).u32("kind of the record");
    if (kind != PropertySet && kind != ObjectsSets)
        throw FormatError("expected a record of kind 1 or 2, found " + std::to_string(kind));
    return kind == PropertySet;
}

EncodedSet parsePropertySet(std::string_view payload) {
    auto fields = fieldsOf(payload, PropertySet);
    EncodedSet set;
    set.globalId = fields.bytes(globalIdSize, "GlobalId");
    set.name = fields.text("name");
    set.description = fields.text("description");
    parseProperties(fields, 0, set.properties);
    fields.end();
    return set;
}

IFC2X3_PSet_Custom_s decodePropertySet(std::string_view payload) {
    const auto encoded = parsePropertySet(payload);
    IFC2X3_PSet_Custom_s set{};
    std::copy_n(encoded.globalId.data(), globalIdSize, set.globalId);
    copyText(encoded.name, set.name);
    copyText(encoded.description, set.description);
    set.properties = build(encoded.properties, 0, encoded.properties.size());
    return set;
}

IFC2X3Property decodeSingleValue(const EncodedProperty& property) {
    const auto name = fromUTF8(property.name);
    const auto description = fromUTF8(property.description);
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
    auto fields = fieldsOf(payload, ObjectsSets);
    Assignment assignment;
    assignment.object = fields.u64("object");
    const auto count = fields.u32("number of property sets");
    const auto numbers = fields.bytes(std::uint64_t{4} * count, "numbers of property sets");
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
        auto assignment = decodeAssignment(payload);
        if (assignment.object < nextObject || assignment.object >= objects)
            throw FormatError("expected the sets of an object from " + std::to_string(nextObject) + " on, of " +
                              std::to_string(objects) + ", found those of " + std::to_string(assignment.object));
        nextObject = assignment.object + 1;
        for (const auto set : assignment.sets)
            if (set >= sets)
                throw FormatError("expected one of the " + std::to_string(sets) + " property sets before, found number " +
                                  std::to_string(set));
        assignmentSink(std::move(assignment));
    });
}

} // namespace importer::exchange
