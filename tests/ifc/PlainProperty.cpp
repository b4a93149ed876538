#include "ifc/PlainProperty.h"

#include <algorithm>
#include <bit>

using namespace Velmor;

namespace velmor_tests {
namespace {

using ValueType = IFC2X3PropertySingleValue::ValueType_t;

/// Calls the factory of a property's kind.
/// @tparam Text the parameter type of the overload.
template <class Text>
IFC2X3Property create(const PlainProperty& plain, Text name, Text description, Text usageName) {
    const PlainValue& value = plain.value;
    const auto type = static_cast<ValueType>(value.type);
    if (plain.type == 2) // the members use the pointer overload, which keeps NULs in string values
        return createPropertyComplex(name, description, usageName, build(plain.members, Overload::Pointers));
    switch (value.type) {
    case 1:
        return createPropertySingleValueString(name, description, value.string);
    case 2:
        return createPropertySingleValueBoolean(name, description, value.boolean);
    case 3:
        return createPropertySingleValueInteger(name, description, type, value.integer);
    case 10:
        return createPropertySingleValueInteger64(name, description, type, value.integer64);
    case 11:
        return createPropertySingleValueLogical(name, description,
                                                static_cast<IFC2X3PropertySingleValue::Logical_s>(value.logical));
    case 12:
        return createPropertySingleValueCompoundPlaneAngle(name, description, value.angle.data());
    default:
        return createPropertySingleValueReal(name, description, type, value.real);
    }
}

/// Collects the differences of one record; each line starts with the path of the record.
class Comparison {
public:
    Comparison(std::string path, std::string& differences) : path_(std::move(path)), differences_(differences) {}

    void check(bool same, const char* what) {
        if (!same)
            differences_ += path_ + what + '\n';
    }

    /// Checks a text array at an offset of a record, and the results of its two getters.
    template <class Record>
    void checkText(const Record& record, std::size_t offset, const WideChar* text, const unsigned short* text2,
                   const WideString& expected, const char* what) {
        const auto units = fieldAt<std::array<WideChar, 256>>(record, offset);
        const auto end = std::find(units.begin(), units.end(), WideChar{0});
        const char* const place = reinterpret_cast<const char*>(&record) + offset;
        check(end != units.end() && WideString(units.begin(), end) == cut(expected) &&
                  reinterpret_cast<const char*>(text) == place && reinterpret_cast<const char*>(text2) == place,
              what);
    }

    void checkValue(const IFC2X3PropertySingleValue& value, const PlainValue& plain) {
        check(value.getValueType() == plain.type, "value type");
        check(fieldAt<std::uint32_t>(value, at::valueType) == plain.type, "value type field");
        check(fieldAt<std::uint8_t>(value, at::boolean) == (plain.boolean ? 1 : 0), "boolean");
        check(fieldAt<std::uint32_t>(value, at::logical) == plain.logical, "logical");
        check(fieldAt<std::int32_t>(value, at::integer) == plain.integer, "integer");
        // Compared as bits: NaN and negative zero must be preserved.
        check(fieldAt<std::uint64_t>(value, at::real) == std::bit_cast<std::uint64_t>(plain.real), "real");
        check(fieldAt<std::int64_t>(value, at::integer64) == plain.integer64, "integer64");
        check(stringOf(value) == plain.string, "string");
        check(fieldAt<std::array<int, 4>>(value, at::angle) == plain.angle, "angle");
    }

    void checkProperty(const IFC2X3Property& property, const PlainProperty& plain) {
        check(property.getType() == plain.type, "type");
        checkText(property, at::name, property.getName(), property.getName2(), plain.name, "name");
        checkText(property, at::description, property.getDescription(), property.getDescription2(), plain.description,
                  "description");
        const auto* const value = fieldAt<const IFC2X3PropertySingleValue*>(property, at::singleValue);
        const auto* const complex = fieldAt<const IFC2X3PropertyComplex*>(property, at::complex);
        check((value != nullptr) == (plain.type == 1), "value pointer");
        check((complex != nullptr) == (plain.type == 2), "complex pointer");
        if (plain.type == 1 && property.getType() == 1)
            Comparison(path_ + "value ", differences_).checkValue(property.getPropertySingleValue(), plain.value);
        if (plain.type == 2 && property.getType() == 2) {
            const IFC2X3PropertyComplex& content = property.getPropertyComplex();
            checkText(content, at::usageName, content.getUsageName(), content.getUsageName2(), plain.usageName,
                      "usage name");
            const IFC2X3PropertySet& nested = content.getPropertySet();
            check(capacityOf(nested) == plain.members.size(), "nested capacity");
            checkSet(nested, plain.members);
        }
    }

    void checkSet(const IFC2X3PropertySet& propertySet, const PlainSet& plain) {
        check(propertySet.getCount() == plain.size(), "count");
        check(fieldAt<std::uint32_t>(propertySet, at::count) == plain.size(), "count field");
        check(capacityOf(propertySet) >= plain.size(), "capacity below count");
        for (unsigned i = 0; i < plain.size() && i < propertySet.getCount(); ++i)
            Comparison(path_ + std::to_string(i) + ' ', differences_).checkProperty(propertySet.getProperty(i), plain[i]);
    }

private:
    std::string path_;
    std::string& differences_;
};

void collect(const IFC2X3PropertySet& propertySet, std::set<const void*>& blocks);

void collect(const IFC2X3Property& property, std::set<const void*>& blocks) {
    const auto* const value = fieldAt<const IFC2X3PropertySingleValue*>(property, at::singleValue);
    const auto* const complex = fieldAt<const IFC2X3PropertyComplex*>(property, at::complex);
    if (value != nullptr) {
        blocks.insert(value);
        blocks.insert(stringOf(*value).data());
    }
    if (complex != nullptr) {
        blocks.insert(complex);
        collect(complex->getPropertySet(), blocks);
    }
}

void collect(const IFC2X3PropertySet& propertySet, std::set<const void*>& blocks) {
    if (capacityOf(propertySet) != 0)
        blocks.insert(itemsOf(propertySet));
    for (unsigned i = 0; i < propertySet.getCount(); ++i) {
        blocks.insert(&propertySet.getProperty(i));
        collect(propertySet.getProperty(i), blocks);
    }
}

PlainProperty named(const WideString& name) {
    PlainProperty plain;
    plain.name = name;
    plain.description = VELMOR_WIDE("about ") + name;
    return plain;
}

} // namespace

PlainProperty plainString(const WideString& name, const WideString& value) {
    PlainProperty plain = named(name);
    plain.value.type = 1;
    plain.value.string = value;
    return plain;
}

PlainProperty plainInteger(const WideString& name, std::int32_t value) {
    PlainProperty plain = named(name);
    plain.value.type = 3;
    plain.value.integer = value;
    return plain;
}

PlainProperty plainReal(const WideString& name, double value) {
    PlainProperty plain = named(name);
    plain.value.type = 4;
    plain.value.real = value;
    return plain;
}

PlainProperty plainComplex(const WideString& name, const PlainSet& members) {
    PlainProperty plain = named(name);
    plain.type = 2;
    plain.usageName = VELMOR_WIDE("use of ") + name;
    plain.members = members;
    return plain;
}

PlainSet plainIntegers(std::size_t count, std::int32_t first) {
    PlainSet plain;
    for (std::size_t i = 0; i < count; ++i)
        plain.push_back(plainInteger(VELMOR_WIDE("count"), first + static_cast<std::int32_t>(i)));
    return plain;
}

PlainSet plainNest(unsigned levels) {
    PlainSet plain{plainReal(VELMOR_WIDE("innermost"), 0.5)};
    for (unsigned level = 1; level <= levels; ++level)
        plain = {plainString(VELMOR_WIDE("text"), longText(level)), plainComplex(VELMOR_WIDE("inner"), plain),
                 plainInteger(VELMOR_WIDE("level"), static_cast<std::int32_t>(level))};
    return plain;
}

IFC2X3Property build(const PlainProperty& plain, Overload overload) {
    if (overload == Overload::Texts)
        return create<const WideString&>(plain, plain.name, plain.description, plain.usageName);
    return create<const WideChar*>(plain, plain.name.c_str(), plain.description.c_str(), plain.usageName.c_str());
}

IFC2X3PropertySet build(const PlainSet& plain, Overload overload) {
    IFC2X3PropertySet propertySet;
    for (const PlainProperty& member : plain)
        propertySet.addProperty(build(member, overload));
    return propertySet;
}

std::string difference(const IFC2X3Property& property, const PlainProperty& plain) {
    std::string differences;
    Comparison("", differences).checkProperty(property, plain);
    return differences;
}

std::string difference(const IFC2X3PropertySingleValue& value, const PlainValue& plain) {
    std::string differences;
    Comparison("", differences).checkValue(value, plain);
    return differences;
}

std::string difference(const IFC2X3PropertySet& propertySet, const PlainSet& plain) {
    std::string differences;
    Comparison("", differences).checkSet(propertySet, plain);
    return differences;
}

WideString cut(const WideString& text) {
    return untilNul(text).substr(0, 255);
}

WideString untilNul(const WideString& text) {
    return text.substr(0, text.find(WideChar{0}));
}

WideString longText(std::size_t length) {
    WideString text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<WideChar>(0x100 + i % 0xD000);
    return text;
}

std::uint32_t capacityOf(const IFC2X3PropertySet& propertySet) {
    return fieldAt<std::uint32_t>(propertySet, at::capacity);
}

const void* itemsOf(const IFC2X3PropertySet& propertySet) {
    return fieldAt<const void*>(propertySet, at::items);
}

const WideString& stringOf(const IFC2X3PropertySingleValue& value) {
    return *reinterpret_cast<const WideString*>(reinterpret_cast<const char*>(&value) + at::string);
}

std::set<const void*> blocksOf(const IFC2X3Property& property) {
    std::set<const void*> blocks;
    collect(property, blocks);
    return blocks;
}

std::set<const void*> blocksOf(const IFC2X3PropertySet& propertySet) {
    std::set<const void*> blocks;
    collect(propertySet, blocks);
    return blocks;
}

bool shareBlocks(const std::set<const void*>& a, const std::set<const void*>& b) {
    return std::any_of(a.begin(), a.end(), [&](const void* block) { return b.count(block) != 0; });
}

} // namespace velmor_tests
