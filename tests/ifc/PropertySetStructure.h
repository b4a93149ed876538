#pragma once

// A structure of a common property set as bytes, its expected conversion computed from a table, and checks of records.

#include <Velmor/IFCPropertySets.h>

#include "ifc/PropertySetTables.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace velmor_tests {

/// A property. Only the member that the value type selects is set; reals are compared as bits.
struct Property {
    std::string name;
    std::uint32_t type = 0;
    Velmor::WideString text = {};
    bool boolean = false;
    std::int32_t integer = 0;
    std::uint64_t real = 0;

    friend bool operator==(const Property&, const Property&) = default;
};

void PrintTo(const Property& property, std::ostream* out);

/// A structure in a block of exactly its size. Initially all fields are zero and the padding is not.
class Structure {
public:
    explicit Structure(const SetTable& table);

    /// Writes at most 256 units and a NUL if there is space for it; the rest of the array receives other units.
    void setText(const Field& field, const Velmor::WideString& text);
    void setReal(const Field& field, double value);
    void setInteger(const Field& field, std::int32_t value);
    void setFlag(const Field& field, bool value);
    void setFlags(FieldKind kind, bool value);

    /// Writes a different value to each field. All flags and set flags become true, all measure kinds lengths.
    void fill();

    double real(const Field& field) const;
    std::int32_t integer(const Field& field) const;
    bool flag(const Field& field) const;
    Velmor::WideString text(const Field& field) const;

    /// The expected properties, computed from the table.
    std::vector<Property> expected() const;

    /// Converts the structure, and checks that the conversion does not change it.
    Velmor::IFC2X3_PSet_Custom_s convert() const;

    /// The structure, for `SetTable::convert`.
    const void* bytes() const { return bytes_.get(); }

private:
    const SetTable* table_;
    std::unique_ptr<unsigned char[]> bytes_;
};

/// The properties of a set. Checks that each is a single value without a description.
std::vector<Property> propertiesOf(const Velmor::IFC2X3PropertySet& set);

/// The names of the properties of a record, in their order.
std::vector<std::string> namesOf(const Velmor::IFC2X3_PSet_Custom_s& record);

/// The value of the property with this name; fails the test if there is none.
const Velmor::IFC2X3PropertySingleValue& valueOf(const Velmor::IFC2X3_PSet_Custom_s& record, const std::string& name);

/// Checks all fields of a record.
void expectRecord(const Velmor::IFC2X3_PSet_Custom_s& record, const std::string& setName,
                  const std::vector<Property>& properties);

/// Converts a structure and checks the record.
void expectConversion(const SetTable& table, const Structure& structure);

/// ASCII text as wide text.
Velmor::WideString wide(const std::string& text);

/// Copies a short ASCII text into a text array.
template <class Text>
void write(Text& field, const std::string& text) {
    std::copy_n(wide(text).c_str(), text.size() + 1, field);
}

} // namespace velmor_tests
