// Every common property set, compared with its table.

#include "ifc/PropertySetStructure.h"
#include "ifc/RandomText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Record = IFC2X3_PSet_Custom_s;

static_assert(sizeof(Record) == 1064 && alignof(Record) == 8);
static_assert(std::is_same_v<decltype(Record::globalId), char[22]>);
static_assert(std::is_same_v<decltype(Record::name), WideChar[256]>);
static_assert(std::is_same_v<decltype(Record::description), WideChar[256]>);
static_assert(std::is_same_v<decltype(Record::properties), IFC2X3PropertySet>);
static_assert(offsetof(Record, globalId) == 0 && offsetof(Record, name) == 22);
static_assert(offsetof(Record, description) == 534 && offsetof(Record, properties) == 1048);

static_assert(std::is_same_v<std::underlying_type_t<MeasureKind>, std::int32_t>);
static_assert(static_cast<int>(MeasureKind::Length) == 1 && static_cast<int>(MeasureKind::PlaneAngle) == 2);

/// A structure is plain memory, and a const one can be converted.
template <class... Structures>
constexpr bool arePlainAndConvertible = ((std::is_trivial_v<Structures> && std::is_standard_layout_v<Structures> &&
                                          std::is_aggregate_v<Structures> &&
                                          std::is_convertible_v<const Structures&, Record>)&&...);
static_assert(arePlainAndConvertible<
              IFC2X3_PSet_BeamCommon_s, IFC2X3_PSet_ColumnCommon_s, IFC2X3_PSet_CurtainWallCommon_s,
              IFC2X3_PSet_DoorCommon_s, IFC2X3_PSet_DoorWindowGlazingType_s, IFC2X3_PSet_DoorWindowShadingType_s,
              IFC2X3_PSet_MemberCommon_s, IFC2X3_PSet_RailingCommon_s, IFC2X3_PSet_RampCommon_s, IFC2X3_PSet_RoofCommon_s,
              IFC2X3_PSet_SlabCommon_s, IFC2X3_PSet_StairCommon_s, IFC2X3_PSet_WallCommon_s, IFC2X3_PSet_WindowCommon_s>);

const std::int32_t measureKinds[] = {0,
                                     1,
                                     2,
                                     3,
                                     4,
                                     5,
                                     9,
                                     -1,
                                     -2,
                                     0x100,
                                     0x101,
                                     0x10002,
                                     std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::min() + 1,
                                     std::numeric_limits<std::int32_t>::max()};

const std::int32_t integers[] = {
    0, 1, -1, 255, 65536, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};

/// Doubles whose bits must all be preserved.
const std::uint64_t doubles[] = {
    0x0000000000000000, // 0
    0x8000000000000000, // -0
    0x0000000000000001, // the smallest denormal
    0x800FFFFFFFFFFFFF, // the largest denormal, negative
    0x0010000000000000, // the smallest normal
    0x3FB999999999999A, // 0.1
    0x4056800000000000, // 90
    0xC066800000000000, // -180
    0x7FEFFFFFFFFFFFFF, // the largest
    0xFFEFFFFFFFFFFFFF, // the lowest
    0x7FF0000000000000, // infinity
    0xFFF0000000000000, // -infinity
    0x7FF8000000000000, // not a number
    0xFFF80000DEADBEEF, // not a number, with a payload
    0x7FF0000000000001, // signaling
};

double realOf(Random& random) {
    return std::bit_cast<double>(random.oneIn(4) ? random.oneOf(doubles) : random.bits());
}

/// A text of different units, none of them NUL.
WideString textOfLength(std::size_t length) {
    WideString text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<WideChar>(0x0101 + 0xFB * i);
    return text;
}

void setFlagsByBits(Structure& structure, const std::vector<Field>& flags, std::uint32_t bits) {
    for (std::size_t i = 0; i < flags.size(); ++i)
        structure.setFlag(flags[i], (bits >> i & 1) != 0);
}

} // namespace

class CommonPropertySet : public testing::TestWithParam<SetTable> {};
class TextPropertySet : public CommonPropertySet {};
class RealPropertySet : public CommonPropertySet {};
class IntegerPropertySet : public CommonPropertySet {};
class MeasurePropertySet : public CommonPropertySet {};

INSTANTIATE_TEST_SUITE_P(Every, CommonPropertySet, testing::ValuesIn(setTables()), testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, TextPropertySet, testing::ValuesIn(setTablesWith(FieldKind::Text)),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, RealPropertySet, testing::ValuesIn(setTablesWith(FieldKind::Real)),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, IntegerPropertySet, testing::ValuesIn(setTablesWith(FieldKind::Integer)),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, MeasurePropertySet, testing::ValuesIn(setTablesWith(FieldKind::Measure)),
                         testing::PrintToStringParamName());

TEST(CommonPropertySets, FourteenTablesCoverAllFieldKinds) {
    EXPECT_EQ(setTables().size(), 14u);
    EXPECT_EQ(setTablesWith(FieldKind::Text).size(), 13u);
    EXPECT_EQ(setTablesWith(FieldKind::Real).size(), 13u);
    EXPECT_EQ(setTablesWith(FieldKind::Integer).size(), 2u);
    EXPECT_EQ(setTablesWith(FieldKind::Measure).size(), 4u);
}

TEST_P(CommonPropertySet, FieldsHaveOffsetsAndTypesOfTable) {
    const SetTable& table = GetParam();
    EXPECT_EQ(table.declaredSize, table.size);
    for (const Field& field : table.fields) {
        EXPECT_EQ(field.declaredOffset, field.offset) << field.name;
        EXPECT_TRUE(field.declaredAsKind) << field.name;
    }
}

TEST_P(CommonPropertySet, ZeroedStructureConvertsToUnconditionalProperties) {
    const Structure structure(GetParam());
    expectConversion(GetParam(), structure);
}

TEST_P(CommonPropertySet, FilledStructureConvertsToAllProperties) {
    Structure structure(GetParam());
    structure.fill();
    EXPECT_EQ(structure.convert().properties.getCount(), GetParam().rows.size());
    expectConversion(GetParam(), structure);
}

TEST_P(CommonPropertySet, SetFlagsSelectProperties) {
    const SetTable& table = GetParam();
    const std::vector<Field> setFlags = table.fieldsOf(FieldKind::SetFlag);
    Structure structure(table);
    structure.fill();
    for (const bool value : {false, true}) {
        structure.setFlags(FieldKind::Flag, value);
        for (std::uint32_t bits = 0; bits < 1u << setFlags.size() && !HasFailure(); ++bits) {
            SCOPED_TRACE("set flags " + std::to_string(bits) + ", flags " + std::to_string(value));
            setFlagsByBits(structure, setFlags, bits);
            expectConversion(table, structure);
        }
    }
}

TEST_P(CommonPropertySet, FlagsAreWrittenUnchanged) {
    const SetTable& table = GetParam();
    const std::vector<Field> flags = table.fieldsOf(FieldKind::Flag);
    Structure structure(table);
    structure.fill();
    for (const bool written : {false, true}) {
        structure.setFlags(FieldKind::SetFlag, written);
        for (std::uint32_t bits = 0; bits < 1u << flags.size() && !HasFailure(); ++bits) {
            SCOPED_TRACE("flags " + std::to_string(bits) + ", set flags " + std::to_string(written));
            setFlagsByBits(structure, flags, bits);
            expectConversion(table, structure);
        }
    }
}

TEST_P(CommonPropertySet, ConvertsRandomStructures) {
    const SetTable& table = GetParam();
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        Random random(seed);
        Structure structure(table);
        for (const Field& field : table.fields)
            switch (field.kind) {
            case FieldKind::Text:
                structure.setText(field, randomText(random));
                break;
            case FieldKind::Real:
                structure.setReal(field, realOf(random));
                break;
            case FieldKind::Integer:
                structure.setInteger(field, static_cast<std::int32_t>(random.bits()));
                break;
            case FieldKind::Measure:
                structure.setInteger(field, random.oneOf(measureKinds));
                break;
            case FieldKind::Flag:
            case FieldKind::SetFlag:
                structure.setFlag(field, random.oneIn(2));
            }
        expectConversion(table, structure);
    }
}

TEST_P(CommonPropertySet, ConversionsAreIndependent) {
    Structure structure(GetParam());
    structure.fill();
    const std::vector<Property> expected = structure.expected();
    const Record first = structure.convert();
    const Record second = structure.convert();
    structure = Structure(GetParam());
    const Record third = structure.convert();
    expectRecord(first, GetParam().setName, expected);
    expectRecord(second, GetParam().setName, expected);
    expectRecord(third, GetParam().setName, structure.expected());
}

TEST_P(CommonPropertySet, RecordOutlivesItsStructure) {
    std::vector<Property> expected;
    const Record record = [&] {
        Structure structure(GetParam());
        structure.fill();
        expected = structure.expected();
        return structure.convert();
    }();
    expectRecord(record, GetParam().setName, expected);
}

TEST_P(CommonPropertySet, CopiedRecordOwnsItsProperties) {
    Structure structure(GetParam());
    structure.fill();
    const std::vector<Property> expected = structure.expected();
    Record original = structure.convert();
    const Record copy = original;
    Record assigned = Record(IFC2X3_PSet_RoofCommon_s{});
    assigned = original;
    for (unsigned i = 0; i < expected.size(); ++i) {
        const IFC2X3Property& property = original.properties.getProperty(i);
        EXPECT_NE(&copy.properties.getProperty(i), &property);
        EXPECT_NE(&assigned.properties.getProperty(i), &property);
        EXPECT_NE(&copy.properties.getProperty(i).getPropertySingleValue(), &property.getPropertySingleValue());
        EXPECT_NE(&assigned.properties.getProperty(i).getPropertySingleValue(), &property.getPropertySingleValue());
    }
    original.properties.clear();
    original.globalId[0] = '1';
    write(original.name, "another name");
    write(original.description, "a description");
    expectRecord(copy, GetParam().setName, expected);
    expectRecord(assigned, GetParam().setName, expected);
}

TEST_P(CommonPropertySet, MovedRecordIsComplete) {
    Structure structure(GetParam());
    structure.fill();
    Record original = structure.convert();
    Record moved = std::move(original);
    expectRecord(moved, GetParam().setName, structure.expected());
    Record assigned = Record(IFC2X3_PSet_RoofCommon_s{});
    assigned = std::move(moved);
    expectRecord(assigned, GetParam().setName, structure.expected());
}

TEST_P(CommonPropertySet, AcceptsFurtherProperties) {
    Structure structure(GetParam());
    structure.fill();
    Record record = structure.convert();
    std::vector<Property> expected = structure.expected();
    for (int i = 0; i < 100; ++i) {
        record.properties.addProperty(createPropertySingleValueInteger(VELMOR_WIDE("Further"), VELMOR_WIDE(""),
                                                                       IFC2X3PropertySingleValue::Integer, i));
        Property further{"Further", Integer};
        further.integer = i;
        expected.push_back(further);
    }
    expectRecord(record, GetParam().setName, expected);
}

TEST_P(TextPropertySet, TextsEndAtFirstNul) {
    const SetTable& table = GetParam();
    std::vector<WideString> texts;
    for (const unsigned length : {0u, 1u, 2u, 7u, 8u, 100u, 253u, 254u, 255u})
        texts.push_back(textOfLength(length));
    WideString text = textOfLength(255);
    for (const unsigned nul : {0u, 1u, 17u, 253u, 254u}) {
        texts.push_back(text);
        texts.back()[nul] = 0;
    }
    texts.push_back({WideChar(0xD800), WideChar(0xFFFF), WideChar(0xDC00), WideChar(1), WideChar(0xFEFF)});
    for (const Field& field : table.fieldsOf(FieldKind::Text))
        for (const WideString& written : texts) {
            SCOPED_TRACE(field.name + ", " + std::to_string(written.size()) + " units");
            Structure structure(table);
            structure.fill();
            structure.setText(field, written);
            ASSERT_EQ(structure.text(field), WideString(written.c_str()));
            expectConversion(table, structure);
        }
}

TEST_P(TextPropertySet, TextWithoutNulEndsWithItsArray) {
    const SetTable& table = GetParam();
    Structure structure(table);
    structure.fill();
    for (const Field& field : table.fieldsOf(FieldKind::Text))
        structure.setText(field, textOfLength(256));
    for (const Field& field : table.fieldsOf(FieldKind::Text))
        ASSERT_EQ(structure.text(field).size(), 256u);
    expectConversion(table, structure);
}

TEST_P(RealPropertySet, RealsKeepTheirBits) {
    const SetTable& table = GetParam();
    for (const Row& row : table.rows) {
        if (table.field(row.from).kind != FieldKind::Real)
            continue;
        for (const std::uint64_t bits : doubles) {
            SCOPED_TRACE(row.property + ", " + std::to_string(bits));
            Structure structure(table);
            structure.fill();
            structure.setReal(table.field(row.from), std::bit_cast<double>(bits));
            const Record record = structure.convert();
            EXPECT_EQ(std::bit_cast<std::uint64_t>(valueOf(record, row.property).getRealValue()), bits);
            expectRecord(record, table.setName, structure.expected());
        }
    }
}

TEST_P(IntegerPropertySet, IntegersAreWrittenUnchanged) {
    const SetTable& table = GetParam();
    for (const Field& field : table.fieldsOf(FieldKind::Integer))
        for (const std::int32_t value : integers) {
            SCOPED_TRACE(field.name + ", " + std::to_string(value));
            Structure structure(table);
            structure.fill();
            structure.setInteger(field, value);
            expectConversion(table, structure);
        }
}

TEST_P(MeasurePropertySet, MeasureKindsAndSetFlagsSelectProperties) {
    const SetTable& table = GetParam();
    const std::vector<Field> kinds = table.fieldsOf(FieldKind::Measure);
    const std::vector<Field> setFlags = table.fieldsOf(FieldKind::SetFlag);
    Structure structure(table);
    structure.fill();
    for (const std::int32_t first : measureKinds)
        for (const std::int32_t last : measureKinds)
            for (std::uint32_t bits = 0; bits < 1u << setFlags.size() && !HasFailure(); ++bits) {
                SCOPED_TRACE("kinds " + std::to_string(first) + " and " + std::to_string(last) + ", set flags " +
                             std::to_string(bits));
                structure.setInteger(kinds.front(), first);
                structure.setInteger(kinds.back(), last);
                setFlagsByBits(structure, setFlags, bits);
                expectConversion(table, structure);
            }
}

TEST_P(MeasurePropertySet, AnglesAreConvertedToRadians) {
    const SetTable& table = GetParam();
    for (const Row& row : table.rows) {
        if (row.type != ByMeasure)
            continue;
        for (const std::uint64_t bits : doubles) {
            SCOPED_TRACE(row.property + ", " + std::to_string(bits));
            Structure structure(table);
            structure.fill();
            structure.setInteger(table.field(row.measure), 2);
            structure.setReal(table.field(row.from), std::bit_cast<double>(bits));
            expectConversion(table, structure);
        }
    }
}
