#pragma once

// What the common property sets are expected to be: each structure's fields and the properties that they become, and the
// conversion of any bytes of such a structure by these tables alone.

#include <Velmor/IFCPropertySets.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace velmor_tests {

enum class FieldKind { Text, Real, Integer, Flag, SetFlag, Kind };

/// A field of a structure. The offset is the expected one, `declaredOffset` and `declaredAsKind` tell of the header's.
struct Field {
    std::size_t offset;
    FieldKind kind;
    std::string name;
    std::size_t declaredOffset;
    bool declaredAsKind;
};

/// The value types that occur, and the one that a measure kind decides.
enum RowType : std::uint32_t { String = 1, Boolean = 2, Integer = 3, Number = 4, Length = 5, Angle = 9, ByKind = 100 };

/// A property, the field that it is written from, and the fields that decide whether it is.
struct Row {
    std::string property;
    RowType type;
    std::string from;
    std::string setFlag = {};
    std::string kind = {};
};

struct Template {
    std::string name;
    std::string setName;
    std::size_t size;
    std::size_t declaredSize;
    std::vector<Field> fields;
    std::vector<Row> rows;
    Velmor::IFC2X3_PSet_Custom_s (*convert)(const void* structure);

    const Field& field(const std::string& fieldName) const;
    std::vector<Field> fieldsOf(FieldKind kind) const;
};

void PrintTo(const Template& kind, std::ostream* out);

/// The fourteen.
const std::vector<Template>& templates();

/// The one for `IFC2X3_PSet_<name>_s`.
const Template& templateNamed(const std::string& name);

/// Those with a field of a kind.
std::vector<Template> templatesWith(FieldKind kind);

/// A property as tests compare it. Only the member that the value type selects is set; reals are compared bit by bit.
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

/// A structure in a block of exactly its size. All fields are zero, the bytes between them are not.
class Structure {
public:
    explicit Structure(const Template& kind);

    /// Writes at most 256 units; behind a NUL that ends a shorter text the array is filled with other units.
    void setText(const Field& field, const Velmor::WideString& text);
    void setReal(const Field& field, double value);
    void setInteger(const Field& field, std::int32_t value);
    void setFlag(const Field& field, bool value);
    void setFlags(FieldKind kind, bool value);

    /// Gives every field a value that no other field has, with all flags and set flags up and all measures lengths.
    void fill();

    double real(const Field& field) const;
    std::int32_t integer(const Field& field) const;
    bool flag(const Field& field) const;
    Velmor::WideString text(const Field& field) const;

    /// The properties that it is expected to become.
    std::vector<Property> expected() const;

    /// Converts it, and checks that it stays as it is.
    Velmor::IFC2X3_PSet_Custom_s convert() const;

    /// Its bytes, for the conversion itself.
    const void* bytes() const { return bytes_.get(); }

private:
    const Template* kind_;
    std::unique_ptr<unsigned char[]> bytes_;
};

/// What a set holds. Everything that is the same for all properties is checked here: they are single values without a
/// description.
std::vector<Property> propertiesOf(const Velmor::IFC2X3PropertySet& set);

/// The names of the properties of a record, in order.
std::vector<std::string> namesOf(const Velmor::IFC2X3_PSet_Custom_s& record);

/// Checks a record, everything in it.
void expectRecord(const Velmor::IFC2X3_PSet_Custom_s& record, const std::string& setName,
                  const std::vector<Property>& properties);

/// Converts a structure and checks what came of it.
void expectConversion(const Template& kind, const Structure& structure);

/// A text of ASCII characters.
Velmor::WideString wide(const std::string& text);

} // namespace velmor_tests
