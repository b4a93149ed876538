#include "ifc/PropertySetStructure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <ostream>

namespace velmor_tests {
namespace {

template <class Value>
Value valueAt(const unsigned char* bytes, const Field& field) {
    Value value;
    std::memcpy(&value, bytes + field.offset, sizeof value);
    return value;
}

template <class Value>
void setValueAt(unsigned char* bytes, const Field& field, Value value) {
    std::memcpy(bytes + field.offset, &value, sizeof value);
}

std::string narrow(const Velmor::WideString& text) {
    std::string result;
    for (const Velmor::WideChar unit : text)
        result += unit < 128 ? static_cast<char>(unit) : '?';
    return result;
}

/// Degrees to radians; volatile keeps the compiler from merging the two operations.
double radians(double degrees) {
    const volatile double halfTurns = degrees / 180.0;
    return halfTurns * 3.141592653589793;
}

} // namespace

void PrintTo(const Property& property, std::ostream* out) {
    *out << property.name << " of type " << property.type << ": ";
    switch (property.type) {
    case String:
        *out << '"' << narrow(property.text) << "\" of " << property.text.size() << " units";
        break;
    case Boolean:
        *out << (property.boolean ? "true" : "false");
        break;
    case Integer:
        *out << property.integer;
        break;
    default:
        *out << std::bit_cast<double>(property.real) << " (0x" << std::hex << property.real << std::dec << ')';
    }
}

Structure::Structure(const SetTable& table) : table_(&table), bytes_(new unsigned char[table.size]) {
    std::memset(bytes_.get(), 0xCD, table.size);
    for (const Field& field : table.fields)
        switch (field.kind) {
        case FieldKind::Text:
            std::memset(bytes_.get() + field.offset, 0, 512);
            break;
        case FieldKind::Real:
            setReal(field, 0);
            break;
        case FieldKind::Integer:
        case FieldKind::Measure:
            setInteger(field, 0);
            break;
        case FieldKind::Flag:
        case FieldKind::SetFlag:
            setFlag(field, false);
        }
}

void Structure::setText(const Field& field, const Velmor::WideString& text) {
    Velmor::WideChar units[256];
    std::fill_n(units, 256, VELMOR_WIDE('~'));
    const std::size_t length = std::min<std::size_t>(text.size(), 256);
    std::copy_n(text.begin(), length, units);
    if (length < 256)
        units[length] = 0;
    std::memcpy(bytes_.get() + field.offset, units, sizeof units);
}

void Structure::setReal(const Field& field, double value) {
    setValueAt(bytes_.get(), field, value);
}

void Structure::setInteger(const Field& field, std::int32_t value) {
    setValueAt(bytes_.get(), field, value);
}

void Structure::setFlag(const Field& field, bool value) {
    setValueAt(bytes_.get(), field, value);
}

void Structure::setFlags(FieldKind kind, bool value) {
    for (const Field& field : table_->fieldsOf(kind))
        setFlag(field, value);
}

void Structure::fill() {
    int number = 0;
    for (const Field& field : table_->fields) {
        ++number;
        switch (field.kind) {
        case FieldKind::Text:
            setText(field, wide("the content of the field " + field.name + ", longer than a short string"));
            break;
        case FieldKind::Real:
            setReal(field, number + 0.125);
            break;
        case FieldKind::Integer:
            setInteger(field, 1000 + number);
            break;
        case FieldKind::Measure:
            setInteger(field, 1);
            break;
        case FieldKind::Flag:
        case FieldKind::SetFlag:
            setFlag(field, true);
        }
    }
}

double Structure::real(const Field& field) const {
    return valueAt<double>(bytes_.get(), field);
}

std::int32_t Structure::integer(const Field& field) const {
    return valueAt<std::int32_t>(bytes_.get(), field);
}

bool Structure::flag(const Field& field) const {
    return valueAt<bool>(bytes_.get(), field);
}

Velmor::WideString Structure::text(const Field& field) const {
    Velmor::WideChar units[256];
    std::memcpy(units, bytes_.get() + field.offset, sizeof units);
    return Velmor::WideString(units, std::find(units, units + 256, Velmor::WideChar(0)));
}

std::vector<Property> Structure::expected() const {
    std::vector<Property> properties;
    for (const Row& row : table_->rows) {
        if (!row.setFlag.empty() && !flag(table_->field(row.setFlag)))
            continue;
        const Field& from = table_->field(row.from);
        Property property{row.property, row.type};
        if (row.type == ByMeasure) {
            const std::int32_t measure = integer(table_->field(row.measure));
            if (measure != 1 && measure != 2)
                continue;
            const double value = real(from);
            property.type = measure == 1 ? Length : Angle;
            property.real = std::bit_cast<std::uint64_t>(measure == 1 ? value : radians(value));
        } else if (row.type == String)
            property.text = text(from);
        else if (row.type == Boolean)
            property.boolean = flag(from);
        else if (row.type == Integer)
            property.integer = integer(from);
        else
            property.real = valueAt<std::uint64_t>(bytes_.get(), from);
        properties.push_back(property);
    }
    return properties;
}

Velmor::IFC2X3_PSet_Custom_s Structure::convert() const {
    const std::vector<unsigned char> before(bytes_.get(), bytes_.get() + table_->size);
    Velmor::IFC2X3_PSet_Custom_s record = table_->convert(bytes_.get());
    EXPECT_EQ(std::memcmp(bytes_.get(), before.data(), table_->size), 0) << "the conversion changed the structure";
    return record;
}

std::vector<Property> propertiesOf(const Velmor::IFC2X3PropertySet& set) {
    std::vector<Property> properties;
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const Velmor::IFC2X3Property& property = set.getProperty(i);
        const Velmor::IFC2X3PropertySingleValue& value = property.getPropertySingleValue();
        Property found{narrow(property.getName()), value.getValueType()};
        SCOPED_TRACE(found.name);
        EXPECT_EQ(static_cast<std::uint32_t>(property.getType()), 1u);
        EXPECT_EQ(property.getDescription()[0], 0);
        switch (found.type) {
        case String:
            found.text = value.getAsString();
            EXPECT_EQ(Velmor::WideString(value.getStringValue()), found.text);
            break;
        case Boolean:
            found.boolean = value.getBooleanValue();
            break;
        case Integer:
            found.integer = value.getIntValue();
            break;
        default:
            found.real = std::bit_cast<std::uint64_t>(value.getRealValue());
        }
        properties.push_back(found);
    }
    return properties;
}

std::vector<std::string> namesOf(const Velmor::IFC2X3_PSet_Custom_s& record) {
    std::vector<std::string> names;
    for (const Property& property : propertiesOf(record.properties))
        names.push_back(property.name);
    return names;
}

const Velmor::IFC2X3PropertySingleValue& valueOf(const Velmor::IFC2X3_PSet_Custom_s& record, const std::string& name) {
    for (unsigned i = 0; i < record.properties.getCount(); ++i)
        if (record.properties.getProperty(i).getName() == wide(name))
            return record.properties.getProperty(i).getPropertySingleValue();
    ADD_FAILURE() << "no property " << name;
    return record.properties.getProperty(0xFFFFFFFF).getPropertySingleValue();
}

void expectRecord(const Velmor::IFC2X3_PSet_Custom_s& record, const std::string& setName,
                  const std::vector<Property>& properties) {
    EXPECT_EQ(std::string(record.globalId, sizeof record.globalId), "0000000000000000000000");
    Velmor::WideString name = wide(setName);
    name.resize(256);
    EXPECT_TRUE(std::equal(name.begin(), name.end(), record.name)) << "the name of the set is " << narrow(record.name);
    EXPECT_TRUE(std::all_of(record.description, record.description + 256, [](Velmor::WideChar unit) { return unit == 0; }));
    EXPECT_EQ(propertiesOf(record.properties), properties);
}

void expectConversion(const SetTable& table, const Structure& structure) {
    expectRecord(structure.convert(), table.setName, structure.expected());
}

Velmor::WideString wide(const std::string& text) {
    return Velmor::WideString(text.begin(), text.end());
}

} // namespace velmor_tests
