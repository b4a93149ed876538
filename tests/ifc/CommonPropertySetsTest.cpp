#include "ifc/PropertySetTemplates.h"
#include "ifc/Random.h"

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

/// A structure is plain memory and converts without being changed.
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

/// Doubles of which every bit must arrive.
const std::uint64_t doubles[] = {
    0x0000000000000000, // 0
    0x8000000000000000, // -0
    0x0000000000000001, // the smallest
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
    0x7FF0000000000001, // signalling
};

double realOf(Random& random) {
    return std::bit_cast<double>(random.oneIn(4) ? random.oneOf(doubles) : random.bits());
}

/// A text of units that are all different and none of them NUL.
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

const IFC2X3PropertySingleValue& valueOf(const Record& record, const std::string& name) {
    for (unsigned i = 0; i < record.properties.getCount(); ++i)
        if (record.properties.getProperty(i).getName() == wide(name))
            return record.properties.getProperty(i).getPropertySingleValue();
    ADD_FAILURE() << "no property " << name;
    return record.properties.getProperty(0xFFFFFFFF).getPropertySingleValue();
}

bool has(const Record& record, const std::string& name) {
    const std::vector<std::string> names = namesOf(record);
    return std::find(names.begin(), names.end(), name) != names.end();
}

template <class Text>
void write(Text& field, const std::string& text) {
    std::copy_n(wide(text).c_str(), text.size() + 1, field);
}

using Names = std::vector<std::string>;

} // namespace

// Every structure, by its tables
// -----------------------------------------------------------------------------------------------------------------------

class CommonPropertySet : public testing::TestWithParam<Template> {};
class TextPropertySet : public CommonPropertySet {};
class RealPropertySet : public CommonPropertySet {};
class IntegerPropertySet : public CommonPropertySet {};
class MeasurePropertySet : public CommonPropertySet {};

INSTANTIATE_TEST_SUITE_P(Every, CommonPropertySet, testing::ValuesIn(templates()), testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, TextPropertySet, testing::ValuesIn(templatesWith(FieldKind::Text)),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, RealPropertySet, testing::ValuesIn(templatesWith(FieldKind::Real)),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, IntegerPropertySet, testing::ValuesIn(templatesWith(FieldKind::Integer)),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Every, MeasurePropertySet, testing::ValuesIn(templatesWith(FieldKind::Kind)),
                         testing::PrintToStringParamName());

TEST(CommonPropertySets, AreFourteenWithTheFieldsThatTheyHave) {
    EXPECT_EQ(templates().size(), 14u);
    EXPECT_EQ(templatesWith(FieldKind::Text).size(), 13u);
    EXPECT_EQ(templatesWith(FieldKind::Real).size(), 13u);
    EXPECT_EQ(templatesWith(FieldKind::Integer).size(), 2u);
    EXPECT_EQ(templatesWith(FieldKind::Kind).size(), 4u);
}

TEST_P(CommonPropertySet, FieldsHaveThePlacesAndTypesThatTheTestsTablesTell) {
    const Template& kind = GetParam();
    EXPECT_EQ(kind.declaredSize, kind.size);
    for (const Field& field : kind.fields) {
        EXPECT_EQ(field.declaredOffset, field.offset) << field.name;
        EXPECT_TRUE(field.declaredAsKind) << field.name;
    }
}

TEST_P(CommonPropertySet, ZeroedStructureGivesWhatIsAlwaysWritten) {
    const Structure structure(GetParam());
    expectConversion(GetParam(), structure);
}

TEST_P(CommonPropertySet, FilledStructureGivesEveryProperty) {
    Structure structure(GetParam());
    structure.fill();
    EXPECT_EQ(structure.convert().properties.getCount(), GetParam().rows.size());
    expectConversion(GetParam(), structure);
}

TEST_P(CommonPropertySet, EveryCombinationOfSetFlagsWritesItsProperties) {
    const Template& kind = GetParam();
    const std::vector<Field> setFlags = kind.fieldsOf(FieldKind::SetFlag);
    Structure structure(kind);
    structure.fill();
    for (const bool value : {false, true}) {
        structure.setFlags(FieldKind::Flag, value);
        for (std::uint32_t bits = 0; bits < 1u << setFlags.size() && !HasFailure(); ++bits) {
            SCOPED_TRACE("set flags " + std::to_string(bits) + ", flags " + std::to_string(value));
            setFlagsByBits(structure, setFlags, bits);
            expectConversion(kind, structure);
        }
    }
}

TEST_P(CommonPropertySet, EveryCombinationOfFlagsGivesTheirValues) {
    const Template& kind = GetParam();
    const std::vector<Field> flags = kind.fieldsOf(FieldKind::Flag);
    Structure structure(kind);
    structure.fill();
    for (const bool written : {false, true}) {
        structure.setFlags(FieldKind::SetFlag, written);
        for (std::uint32_t bits = 0; bits < 1u << flags.size() && !HasFailure(); ++bits) {
            SCOPED_TRACE("flags " + std::to_string(bits) + ", set flags " + std::to_string(written));
            setFlagsByBits(structure, flags, bits);
            expectConversion(kind, structure);
        }
    }
}

TEST_P(CommonPropertySet, RandomStructuresGiveTheirProperties) {
    const Template& kind = GetParam();
    for (std::uint32_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        Structure structure(kind);
        for (const Field& field : kind.fields)
            switch (field.kind) {
            case FieldKind::Text:
                structure.setText(field, random.text());
                break;
            case FieldKind::Real:
                structure.setReal(field, realOf(random));
                break;
            case FieldKind::Integer:
                structure.setInteger(field, static_cast<std::int32_t>(random.bits()));
                break;
            case FieldKind::Kind:
                structure.setInteger(field, random.oneOf(measureKinds));
                break;
            case FieldKind::Flag:
            case FieldKind::SetFlag:
                structure.setFlag(field, random.oneIn(2));
            }
        expectConversion(kind, structure);
    }
}

TEST_P(CommonPropertySet, ConversionsDoNotDependOnEachOther) {
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

TEST_P(CommonPropertySet, MovedRecordArrivesWhole) {
    Structure structure(GetParam());
    structure.fill();
    Record original = structure.convert();
    Record moved = std::move(original);
    expectRecord(moved, GetParam().setName, structure.expected());
    Record assigned = Record(IFC2X3_PSet_RoofCommon_s{});
    assigned = std::move(moved);
    expectRecord(assigned, GetParam().setName, structure.expected());
}

TEST_P(CommonPropertySet, RecordTakesFurtherProperties) {
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

TEST_P(TextPropertySet, TextsArriveUpToTheirFirstNul) {
    const Template& kind = GetParam();
    std::vector<WideString> texts;
    for (const unsigned length : {0u, 1u, 2u, 7u, 8u, 100u, 253u, 254u, 255u})
        texts.push_back(textOfLength(length));
    WideString text = textOfLength(255);
    for (const unsigned nul : {0u, 1u, 17u, 253u, 254u}) {
        texts.push_back(text);
        texts.back()[nul] = 0;
    }
    texts.push_back({WideChar(0xD800), WideChar(0xFFFF), WideChar(0xDC00), WideChar(1), WideChar(0xFEFF)});
    for (const Field& field : kind.fieldsOf(FieldKind::Text))
        for (const WideString& written : texts) {
            SCOPED_TRACE(field.name + ", " + std::to_string(written.size()) + " units");
            Structure structure(kind);
            structure.fill();
            structure.setText(field, written);
            ASSERT_EQ(structure.text(field), WideString(written.c_str()));
            expectConversion(kind, structure);
        }
}

TEST_P(TextPropertySet, TextWithoutNulEndsWithItsArray) {
    const Template& kind = GetParam();
    Structure structure(kind);
    structure.fill();
    for (const Field& field : kind.fieldsOf(FieldKind::Text))
        structure.setText(field, textOfLength(256));
    for (const Field& field : kind.fieldsOf(FieldKind::Text))
        ASSERT_EQ(structure.text(field).size(), 256u);
    expectConversion(kind, structure);
}

TEST_P(RealPropertySet, RealsArriveBitByBit) {
    const Template& kind = GetParam();
    for (const Row& row : kind.rows) {
        if (kind.field(row.from).kind != FieldKind::Real)
            continue;
        for (const std::uint64_t bits : doubles) {
            SCOPED_TRACE(row.property + ", " + std::to_string(bits));
            Structure structure(kind);
            structure.fill();
            structure.setReal(kind.field(row.from), std::bit_cast<double>(bits));
            const Record record = structure.convert();
            EXPECT_EQ(std::bit_cast<std::uint64_t>(valueOf(record, row.property).getRealValue()), bits);
            expectRecord(record, kind.setName, structure.expected());
        }
    }
}

TEST_P(IntegerPropertySet, IntegersArrive) {
    const Template& kind = GetParam();
    for (const Field& field : kind.fieldsOf(FieldKind::Integer))
        for (const std::int32_t value : integers) {
            SCOPED_TRACE(field.name + ", " + std::to_string(value));
            Structure structure(kind);
            structure.fill();
            structure.setInteger(field, value);
            expectConversion(kind, structure);
        }
}

TEST_P(MeasurePropertySet, EveryMeasureKindWithEveryCombinationOfSetFlags) {
    const Template& kind = GetParam();
    const std::vector<Field> kinds = kind.fieldsOf(FieldKind::Kind);
    const std::vector<Field> setFlags = kind.fieldsOf(FieldKind::SetFlag);
    Structure structure(kind);
    structure.fill();
    for (const std::int32_t first : measureKinds)
        for (const std::int32_t last : measureKinds)
            for (std::uint32_t bits = 0; bits < 1u << setFlags.size() && !HasFailure(); ++bits) {
                SCOPED_TRACE("kinds " + std::to_string(first) + " and " + std::to_string(last) + ", set flags " +
                             std::to_string(bits));
                structure.setInteger(kinds.front(), first);
                structure.setInteger(kinds.back(), last);
                setFlagsByBits(structure, setFlags, bits);
                expectConversion(kind, structure);
            }
}

TEST_P(MeasurePropertySet, EveryRealAsAnAngle) {
    const Template& kind = GetParam();
    for (const Row& row : kind.rows) {
        if (row.type != ByKind)
            continue;
        for (const std::uint64_t bits : doubles) {
            SCOPED_TRACE(row.property + ", " + std::to_string(bits));
            Structure structure(kind);
            structure.fill();
            structure.setInteger(kind.field(row.kind), 2);
            structure.setReal(kind.field(row.from), std::bit_cast<double>(bits));
            expectConversion(kind, structure);
        }
    }
}

// Measures, by numbers
// -----------------------------------------------------------------------------------------------------------------------

TEST(MeasureKinds, DegreesAreDividedFirstAndThenMultiplied) {
    // To multiply first, to take the ratio of both constants, or to do it in a higher precision gives other last bits for
    // many of these; the largest number would overflow.
    const double cases[][2] = {{0.0, 0.0},
                               {-0.0, -0.0},
                               {1.0, 0x1.1df46a2529d39p-6},
                               {13.0, 0x1.d0ad2c7c63f7cp-3},
                               {17.0, 0x1.2fd3b0c77c70cp-2},
                               {26.0, 0x1.d0ad2c7c63f7cp-2},
                               {30.0, 0x1.0c152382d7365p-1},
                               {33.0, 0x1.26e40d7653222p-1},
                               {33.3, 0x1.2992580eac536p-1},
                               {39.0, 0x1.5c81e15d4af9ep-1},
                               {45.0, 0x1.921fb54442d18p-1},
                               {49.0, 0x1.b5de4288e80bep-1},
                               {60.0, 0x1.0c152382d7365p+0},
                               {69.0, 0x1.344b827011182p+0},
                               {77.0, 0x1.580a0fb4b6528p+0},
                               {90.0, 1.5707963267948966},
                               {-90.0, -1.5707963267948966},
                               {180.0, 3.141592653589793},
                               {360.0, 0x1.921fb54442d18p+2},
                               {0x1.0p-1022, 0x0.0477d1a894a75p-1022},
                               {1e-310, 0x0.000523fda0e37p-1022},
                               {5e-324, 0.0},
                               {0x1.fffffffffffffp+1023, 0x1.1df46a2529d38p+1018},
                               {-0x1.fffffffffffffp+1023, -0x1.1df46a2529d38p+1018},
                               {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()}};
    for (const auto& [degrees, radians] : cases) {
        SCOPED_TRACE(degrees);
        IFC2X3_PSet_BeamCommon_s beam{};
        beam.hasSpan = beam.hasSlope = true;
        beam.span = beam.slope = degrees;
        beam.spanKind = beam.slopeKind = MeasureKind::PlaneAngle;
        IFC2X3_PSet_ColumnCommon_s column{};
        column.hasSlope = true;
        column.slope = degrees;
        column.slopeKind = MeasureKind::PlaneAngle;
        for (const Record& record : {Record(beam), Record(column)}) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(valueOf(record, "Slope").getRealValue()),
                      std::bit_cast<std::uint64_t>(radians));
            EXPECT_EQ(static_cast<std::uint32_t>(valueOf(record, "Slope").getValueType()), 9u);
        }
        EXPECT_EQ(std::bit_cast<std::uint64_t>(valueOf(beam, "Span").getRealValue()), std::bit_cast<std::uint64_t>(radians));
        EXPECT_EQ(static_cast<std::uint32_t>(valueOf(beam, "Span").getValueType()), 9u);
    }
}

TEST(MeasureKinds, NotANumberStaysNotANumber) {
    IFC2X3_PSet_BeamCommon_s beam{};
    beam.hasSpan = true;
    beam.spanKind = MeasureKind::PlaneAngle;
    beam.span = std::numeric_limits<double>::quiet_NaN();
    const double radians = valueOf(beam, "Span").getRealValue();
    EXPECT_NE(radians, radians);
}

TEST(MeasureKinds, SpanOfABeamIsWrittenByItsKind) {
    IFC2X3_PSet_BeamCommon_s beam{};
    beam.hasSpan = true;
    beam.span = 90;
    beam.spanKind = MeasureKind::PlaneAngle;
    EXPECT_EQ(static_cast<std::uint32_t>(valueOf(beam, "Span").getValueType()), 9u);
    EXPECT_EQ(valueOf(beam, "Span").getRealValue(), 1.5707963267948966);
    beam.spanKind = MeasureKind::Length;
    EXPECT_EQ(static_cast<std::uint32_t>(valueOf(beam, "Span").getValueType()), 5u);
    EXPECT_EQ(valueOf(beam, "Span").getRealValue(), 90);
    for (const int kind : {0, 3, -1}) {
        beam.spanKind = static_cast<MeasureKind>(kind);
        EXPECT_EQ(namesOf(beam), (Names{"Reference", "FireRating", "IsExternal", "IsLoadBearing"}));
    }
}

TEST(MeasureKinds, SpanAndSlopeEachGoByTheirOwn) {
    IFC2X3_PSet_MemberCommon_s member{};
    member.hasSpan = member.hasSlope = true;
    member.span = 7;
    member.slope = 180;
    member.spanKind = MeasureKind::Length;
    member.slopeKind = MeasureKind::PlaneAngle;
    EXPECT_EQ(valueOf(member, "Span").getRealValue(), 7);
    EXPECT_EQ(valueOf(member, "Slope").getRealValue(), 3.141592653589793);
    member.spanKind = MeasureKind::None;
    EXPECT_EQ(namesOf(member), (Names{"Reference", "FireRating", "Slope", "IsExternal", "IsLoadBearing"}));
}

// What is irregular on purpose
// -----------------------------------------------------------------------------------------------------------------------

TEST(BeamCommon, WithoutSetFlagsGivesFourProperties) {
    const Record record = IFC2X3_PSet_BeamCommon_s{};
    EXPECT_EQ(namesOf(record), (Names{"Reference", "FireRating", "IsExternal", "IsLoadBearing"}));
    EXPECT_EQ(valueOf(record, "Reference").getAsString(), WideString());
    EXPECT_EQ(valueOf(record, "FireRating").getAsString(), WideString());
}

TEST(ColumnCommon, SlopeComesBeforeFireRating) {
    IFC2X3_PSet_ColumnCommon_s column{};
    column.hasSlope = true;
    column.slopeKind = MeasureKind::Length;
    EXPECT_EQ(namesOf(column), (Names{"Reference", "Slope", "FireRating", "IsExternal", "IsLoadBearing"}));
}

TEST(MemberCommon, FireRatingComesBeforeSpan) {
    IFC2X3_PSet_MemberCommon_s member{};
    member.hasSpan = member.hasSlope = true;
    member.spanKind = member.slopeKind = MeasureKind::Length;
    EXPECT_EQ(namesOf(member), (Names{"Reference", "FireRating", "Span", "Slope", "IsExternal", "IsLoadBearing"}));
}

TEST(CurtainWallCommon, SetIsNamedAfterTheStructure) {
    const Record record = IFC2X3_PSet_CurtainWallCommon_s{};
    EXPECT_EQ(WideString(record.name), wide("Pset_IFC2X3_PSet_CurtainWallCommon"));
}

TEST(CurtainWallCommon, SecondTextIsReadByNoProperty) {
    IFC2X3_PSet_CurtainWallCommon_s wall{};
    write(wall.reference, "reference");
    write(wall.fireRating, "fire rating");
    write(wall.surfaceSpreadOfFlame, "surface");
    const std::vector<Property> without = propertiesOf(Record(wall).properties);
    write(wall.unusedText, "unused");
    EXPECT_EQ(propertiesOf(Record(wall).properties), without);
    EXPECT_EQ(namesOf(wall), (Names{"Reference", "FireRating", "SurfaceSpreadOfFlame", "IsExternal"}));
    EXPECT_EQ(valueOf(wall, "FireRating").getAsString(), wide("fire rating"));
}

TEST(DoorCommon, FireExitTellsWhetherItIsExternal) {
    for (const bool isExternal : {false, true})
        for (const bool fireExit : {false, true}) {
            IFC2X3_PSet_DoorCommon_s door{};
            door.isExternal = isExternal;
            door.fireExit = fireExit;
            EXPECT_EQ(valueOf(door, "FireExit").getBooleanValue(), isExternal);
            EXPECT_EQ(valueOf(door, "IsExternal").getBooleanValue(), isExternal);
        }
}

TEST(RampCommon, FireExitIsItsOwn) {
    IFC2X3_PSet_RampCommon_s ramp{};
    ramp.fireExit = true;
    EXPECT_TRUE(valueOf(ramp, "FireExit").getBooleanValue());
    EXPECT_FALSE(valueOf(ramp, "IsExternal").getBooleanValue());
}

TEST(RampCommon, NonSkidSurfaceIsAValueWithASetFlag) {
    IFC2X3_PSet_RampCommon_s ramp{};
    ramp.hasNonSkidSurface = true;
    EXPECT_FALSE(has(ramp, "HasNonSkidSurface"));
    ramp.hasHasNonSkidSurface = true;
    EXPECT_TRUE(valueOf(ramp, "HasNonSkidSurface").getBooleanValue());
}

TEST(StairCommon, NonSkidSurfaceIsAlwaysWritten) {
    IFC2X3_PSet_StairCommon_s stair{};
    EXPECT_FALSE(valueOf(stair, "HasNonSkidSurface").getBooleanValue());
    stair.hasNonSkidSurface = true;
    EXPECT_TRUE(valueOf(stair, "HasNonSkidSurface").getBooleanValue());
}

TEST(ShadingType, WritesNoTextsAndNothingUnasked) {
    const Record record = IFC2X3_PSet_DoorWindowShadingType_s{};
    EXPECT_EQ(WideString(record.name), wide("Pset_DoorWindowShadingType"));
    EXPECT_EQ(record.properties.getCount(), 0u);
}

TEST(ShadingType, EachPropertyIsOptional) {
    IFC2X3_PSet_DoorWindowShadingType_s shading{1, 2, 3, false, true, false};
    EXPECT_EQ(namesOf(shading), (Names{"InternalShadingCoefficient"}));
    EXPECT_EQ(valueOf(shading, "InternalShadingCoefficient").getRealValue(), 2);
    shading = {1, 2, 3, true, false, true};
    EXPECT_EQ(namesOf(shading), (Names{"ExternalShadingCoefficient", "InsetShadingCoefficient"}));
}

TEST(SlabCommon, SurfaceSpreadOfFlameComesBeforeFireRating) {
    IFC2X3_PSet_SlabCommon_s slab{};
    write(slab.surfaceSpreadOfFlame, "surface");
    write(slab.fireRating, "fire rating");
    EXPECT_EQ(namesOf(slab),
              (Names{"Reference", "AcousticRating", "SurfaceSpreadOfFlame", "FireRating", "IsExternal", "IsLoadBearing"}));
    EXPECT_EQ(valueOf(slab, "SurfaceSpreadOfFlame").getAsString(), wide("surface"));
    EXPECT_EQ(valueOf(slab, "FireRating").getAsString(), wide("fire rating"));
    EXPECT_GT(offsetof(IFC2X3_PSet_SlabCommon_s, surfaceSpreadOfFlame), offsetof(IFC2X3_PSet_SlabCommon_s, fireRating));
}

TEST(SlabCommon, PitchAngleIsInRadiansAlready) {
    IFC2X3_PSet_SlabCommon_s slab{};
    slab.hasPitchAngle = true;
    for (const double angle : {0.5, 90.0, -180.0}) {
        slab.pitchAngle = angle;
        EXPECT_EQ(static_cast<std::uint32_t>(valueOf(slab, "PitchAngle").getValueType()), 9u);
        EXPECT_EQ(valueOf(slab, "PitchAngle").getRealValue(), angle);
    }
}

TEST(WallCommon, WritesNeitherIsExternalNorIsLoadBearing) {
    IFC2X3_PSet_WallCommon_s wall{};
    wall.hasThermalTransmittance = wall.hasCombustible = wall.hasExtendToStructure = wall.hasCompartmentation = true;
    for (const bool value : {false, true}) {
        wall.unusedFlag1 = wall.unusedFlag2 = value;
        EXPECT_EQ(namesOf(wall), (Names{"Reference", "AcousticRating", "FireRating", "SurfaceSpreadOfFlame",
                                        "ThermalTransmittance", "Combustible", "ExtendToStructure", "Compartmentation"}));
    }
}

TEST(WallCommon, TwoFlagsAreReadByNoProperty) {
    IFC2X3_PSet_WallCommon_s wall{};
    wall.hasCombustible = wall.hasExtendToStructure = wall.hasCompartmentation = true;
    const std::vector<Property> without = propertiesOf(Record(wall).properties);
    wall.unusedFlag1 = true;
    EXPECT_EQ(propertiesOf(Record(wall).properties), without);
    wall.unusedFlag2 = true;
    EXPECT_EQ(propertiesOf(Record(wall).properties), without);
    wall.unusedFlag1 = false;
    EXPECT_EQ(propertiesOf(Record(wall).properties), without);
}

TEST(WindowCommon, FireRatingComesBeforeAcousticRating) {
    EXPECT_EQ(namesOf(IFC2X3_PSet_WindowCommon_s{}),
              (Names{"Reference", "FireRating", "AcousticRating", "SecurityRating", "IsExternal"}));
}

TEST(WindowCommon, SmokeStopIsOptionalUnlikeThatOfADoor) {
    IFC2X3_PSet_WindowCommon_s window{};
    window.smokeStop = true;
    EXPECT_FALSE(has(window, "SmokeStop"));
    window.hasSmokeStop = true;
    EXPECT_TRUE(valueOf(window, "SmokeStop").getBooleanValue());
    EXPECT_FALSE(valueOf(IFC2X3_PSet_DoorCommon_s{}, "SmokeStop").getBooleanValue());
}

TEST(GlazingType, GlassLayersAreAlwaysWritten) {
    IFC2X3_PSet_DoorWindowGlazingType_s glazing{};
    glazing.glassLayers = 3;
    EXPECT_EQ(namesOf(glazing), (Names{"FillGas", "GlassColor", "GlassLayers"}));
    EXPECT_EQ(valueOf(glazing, "GlassLayers").getIntValue(), 3);
}
