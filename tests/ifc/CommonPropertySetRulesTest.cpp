// Single rules of the conversion: measure kinds, units, and the order and source of properties.

#include "ifc/PropertySetStructure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Record = IFC2X3_PSet_Custom_s;
using Names = std::vector<std::string>;

bool has(const Record& record, const std::string& name) {
    const Names names = namesOf(record);
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

// Measure kinds

TEST(MeasureKinds, DegreesAreDividedBeforeMultiplication) {
    // For many of these numbers, the last bit changes if the multiplication comes first, if the ratio of the constants is
    // used, or if the precision is higher. The largest numbers would overflow if the multiplication came first.
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

TEST(MeasureKinds, NanIsPreserved) {
    IFC2X3_PSet_BeamCommon_s beam{};
    beam.hasSpan = true;
    beam.spanKind = MeasureKind::PlaneAngle;
    beam.span = std::numeric_limits<double>::quiet_NaN();
    const double radians = valueOf(beam, "Span").getRealValue();
    EXPECT_NE(radians, radians);
}

TEST(MeasureKinds, SelectsValueTypeOfSpan) {
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

TEST(MeasureKinds, SpanAndSlopeHaveSeparateKinds) {
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

// Order and source of the properties

TEST(BeamCommon, WritesFourPropertiesWithoutSetFlags) {
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

TEST(CurtainWallCommon, SetNameContainsNameOfStructure) {
    const Record record = IFC2X3_PSet_CurtainWallCommon_s{};
    EXPECT_EQ(WideString(record.name), wide("Pset_IFC2X3_PSet_CurtainWallCommon"));
}

TEST(CurtainWallCommon, SecondTextIsNotRead) {
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

TEST(DoorCommon, FireExitIsWrittenFromIsExternal) {
    for (const bool isExternal : {false, true})
        for (const bool fireExit : {false, true}) {
            IFC2X3_PSet_DoorCommon_s door{};
            door.isExternal = isExternal;
            door.fireExit = fireExit;
            EXPECT_EQ(valueOf(door, "FireExit").getBooleanValue(), isExternal);
            EXPECT_EQ(valueOf(door, "IsExternal").getBooleanValue(), isExternal);
        }
}

TEST(RampCommon, FireExitIsWrittenFromItsField) {
    IFC2X3_PSet_RampCommon_s ramp{};
    ramp.fireExit = true;
    EXPECT_TRUE(valueOf(ramp, "FireExit").getBooleanValue());
    EXPECT_FALSE(valueOf(ramp, "IsExternal").getBooleanValue());
}

TEST(RampCommon, NonSkidSurfaceIsOptional) {
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

TEST(ShadingType, WritesNothingWithoutSetFlags) {
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

TEST(SlabCommon, PitchAngleIsWrittenUnchanged) {
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

TEST(WallCommon, TwoFlagsAreNotRead) {
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

TEST(WindowCommon, SmokeStopIsOptional) {
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
