#pragma once

// The expected common property sets, as tables: the fields of each structure, and the properties that it converts to.

#include <Velmor/IFCPropertySets.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace velmor_tests {

enum class FieldKind { Text, Real, Integer, Flag, SetFlag, Measure };

/// A field of a structure.
struct Field {
    std::size_t offset;
    FieldKind kind;
    std::string name;
    std::size_t declaredOffset; ///< Its offset in the public header.
    bool declaredAsKind;        ///< Whether the public header declares it with the type of its kind.
};

/// The value types that occur; `ByMeasure` is `Length` or `Angle`, as a measure kind decides.
enum RowType : std::uint32_t { String = 1, Boolean = 2, Integer = 3, Number = 4, Length = 5, Angle = 9, ByMeasure = 100 };

/// A property, and the names of the fields that it depends on.
struct Row {
    std::string property;
    RowType type;
    std::string from;         ///< The field with its value.
    std::string setFlag = {}; ///< Empty if the property is always written.
    std::string measure = {}; ///< The field with its measure kind, for the type `ByMeasure`.
};

/// One common property set.
struct SetTable {
    std::string name;    ///< Of the structure, without "IFC2X3_PSet_" and "_s".
    std::string setName; ///< Of the property set.
    std::size_t size;
    std::size_t declaredSize; ///< The size in the public header.
    std::vector<Field> fields;
    std::vector<Row> rows;
    Velmor::IFC2X3_PSet_Custom_s (*convert)(const void* structure); ///< Calls the conversion operator.

    const Field& field(const std::string& fieldName) const;
    std::vector<Field> fieldsOf(FieldKind kind) const;
};

void PrintTo(const SetTable& table, std::ostream* out);

/// All fourteen tables.
const std::vector<SetTable>& setTables();

/// The table of one structure.
const SetTable& setTableOf(const std::string& name);

/// The tables with at least one field of a kind.
std::vector<SetTable> setTablesWith(FieldKind kind);

} // namespace velmor_tests
