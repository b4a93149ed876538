#include <Velmor/Georeferencing.h>
#include <Velmor/IFCProperties.h>
#include <Velmor/IFCPropertySets.h>

#include <cstddef>

// The memory layouts that importers, hosts and this library share, field by field. They are the same on every system and for
// every compiler, except where WideString is part of a layout: its size is that of the compiler's std::wstring or
// std::u16string. Sizes that do not depend on it are asserted in the public headers, so that users' compilers check them.

#define VELMOR_SIZE(record, size) static_assert(sizeof(record) == (size))
#define VELMOR_FIELD(record, field, offset) static_assert(offsetof(record, field) == (offset))

namespace Velmor::ifc {

// Private fields. The classes declare this structure a friend.
struct Layouts {
    VELMOR_FIELD(IFC2X3Property, type_, 0);
    VELMOR_FIELD(IFC2X3Property, name_, 4);
    VELMOR_FIELD(IFC2X3Property, description_, 516);
    VELMOR_FIELD(IFC2X3Property, singleValue_, 1032);
    VELMOR_FIELD(IFC2X3Property, complex_, 1040);

    VELMOR_SIZE(IFC2X3PropertySingleValue, 48 + sizeof(WideString));
    VELMOR_FIELD(IFC2X3PropertySingleValue, valueType_, 0);
    VELMOR_FIELD(IFC2X3PropertySingleValue, boolean_, 4);
    VELMOR_FIELD(IFC2X3PropertySingleValue, logical_, 8);
    VELMOR_FIELD(IFC2X3PropertySingleValue, integer_, 12);
    VELMOR_FIELD(IFC2X3PropertySingleValue, real_, 16);
    VELMOR_FIELD(IFC2X3PropertySingleValue, integer64_, 24);
    VELMOR_FIELD(IFC2X3PropertySingleValue, string_, 32);
    VELMOR_FIELD(IFC2X3PropertySingleValue, compoundPlaneAngle_, 32 + sizeof(WideString));

    VELMOR_FIELD(IFC2X3PropertyComplex, usageName_, 0);
    VELMOR_FIELD(IFC2X3PropertyComplex, propertySet_, 512);

    VELMOR_FIELD(IFC2X3PropertySet, count_, 0);
    VELMOR_FIELD(IFC2X3PropertySet, capacity_, 4);
    VELMOR_FIELD(IFC2X3PropertySet, items_, 8);

    VELMOR_SIZE(IFC4_MapProjection, 7 * sizeof(WideString) + 8);
    VELMOR_FIELD(IFC4_MapProjection, name_, 0);
    VELMOR_FIELD(IFC4_MapProjection, description_, 1 * sizeof(WideString));
    VELMOR_FIELD(IFC4_MapProjection, geodeticDatum_, 2 * sizeof(WideString));
    VELMOR_FIELD(IFC4_MapProjection, verticalDatum_, 3 * sizeof(WideString));
    VELMOR_FIELD(IFC4_MapProjection, projectionType_, 4 * sizeof(WideString));
    VELMOR_FIELD(IFC4_MapProjection, zone_, 5 * sizeof(WideString));
    VELMOR_FIELD(IFC4_MapProjection, unitName_, 6 * sizeof(WideString));
    VELMOR_FIELD(IFC4_MapProjection, scaleToMetric_, 7 * sizeof(WideString));

    VELMOR_SIZE(IFC4_MapConversion, 72 + sizeof(IFC4_MapProjection));
    VELMOR_FIELD(IFC4_MapConversion, sourceOrigin_, 0);
    VELMOR_FIELD(IFC4_MapConversion, eastings_, 24);
    VELMOR_FIELD(IFC4_MapConversion, northings_, 32);
    VELMOR_FIELD(IFC4_MapConversion, orthogonalHeight_, 40);
    VELMOR_FIELD(IFC4_MapConversion, xAxisAbscissa_, 48);
    VELMOR_FIELD(IFC4_MapConversion, xAxisOrdinate_, 56);
    VELMOR_FIELD(IFC4_MapConversion, scale_, 64);
    VELMOR_FIELD(IFC4_MapConversion, mapProjection_, 72);
};

VELMOR_FIELD(Plexor::Vertex, x, 0);
VELMOR_FIELD(Plexor::Vertex, y, 8);
VELMOR_FIELD(Plexor::Vertex, z, 16);

VELMOR_FIELD(IFC2X3_PSet_Custom_s, globalId, 0);
VELMOR_FIELD(IFC2X3_PSet_Custom_s, name, 22);
VELMOR_FIELD(IFC2X3_PSet_Custom_s, description, 534);
VELMOR_FIELD(IFC2X3_PSet_Custom_s, properties, 1048);

VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, span, 512);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, slope, 520);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, fireRating, 528);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, isExternal, 1040);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, isLoadBearing, 1041);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, spanKind, 1044);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, slopeKind, 1048);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, hasSpan, 1052);
VELMOR_FIELD(IFC2X3_PSet_BeamCommon_s, hasSlope, 1053);

VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, slope, 1024);
VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, isExternal, 1032);
VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, isLoadBearing, 1033);
VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, slopeKind, 1036);
VELMOR_FIELD(IFC2X3_PSet_ColumnCommon_s, hasSlope, 1040);

VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, unusedText, 512);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, fireRating, 1024);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, surfaceSpreadOfFlame, 1536);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, thermalTransmittance, 2048);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, combustible, 2056);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, isExternal, 2057);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, hasThermalTransmittance, 2058);
VELMOR_FIELD(IFC2X3_PSet_CurtainWallCommon_s, hasCombustible, 2059);

VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, acousticRating, 1024);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, securityRating, 1536);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, infiltration, 2048);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, thermalTransmittance, 2056);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, glazingAreaFraction, 2064);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, handicapAccessible, 2072);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, fireExit, 2073);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, selfClosing, 2074);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, smokeStop, 2075);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, isExternal, 2076);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, hasInfiltration, 2077);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, hasThermalTransmittance, 2078);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, hasGlazingAreaFraction, 2079);
VELMOR_FIELD(IFC2X3_PSet_DoorCommon_s, hasHandicapAccessible, 2080);

VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, fillGas, 0);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, glassColor, 512);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, glassThickness1, 1024);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, glassThickness2, 1032);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, glassThickness3, 1040);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, isTempered, 1048);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, isLaminated, 1049);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, isCoated, 1050);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, isWired, 1051);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, translucency, 1056);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, reflectivity, 1064);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, beamRadiationTransmittance, 1072);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, solarHeatGainTransmittance, 1080);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, thermalTransmittanceSummer, 1088);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, thermalTransmittanceWinter, 1096);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, glassLayers, 1104);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasGlassThickness1, 1108);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasGlassThickness2, 1109);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasGlassThickness3, 1110);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasIsTempered, 1111);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasIsLaminated, 1112);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasIsCoated, 1113);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasIsWired, 1114);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasTranslucency, 1115);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasReflectivity, 1116);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasBeamRadiationTransmittance, 1117);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasSolarHeatGainTransmittance, 1118);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasThermalTransmittanceSummer, 1119);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowGlazingType_s, hasThermalTransmittanceWinter, 1120);

VELMOR_FIELD(IFC2X3_PSet_DoorWindowShadingType_s, externalShadingCoefficient, 0);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowShadingType_s, internalShadingCoefficient, 8);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowShadingType_s, insetShadingCoefficient, 16);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowShadingType_s, hasExternalShadingCoefficient, 24);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowShadingType_s, hasInternalShadingCoefficient, 25);
VELMOR_FIELD(IFC2X3_PSet_DoorWindowShadingType_s, hasInsetShadingCoefficient, 26);

VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, span, 1024);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, slope, 1032);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, isExternal, 1040);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, isLoadBearing, 1041);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, hasSpan, 1042);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, hasSlope, 1043);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, spanKind, 1044);
VELMOR_FIELD(IFC2X3_PSet_MemberCommon_s, slopeKind, 1048);

VELMOR_FIELD(IFC2X3_PSet_RailingCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_RailingCommon_s, height, 512);
VELMOR_FIELD(IFC2X3_PSet_RailingCommon_s, diameter, 520);
VELMOR_FIELD(IFC2X3_PSet_RailingCommon_s, isExternal, 528);
VELMOR_FIELD(IFC2X3_PSet_RailingCommon_s, hasHeight, 529);
VELMOR_FIELD(IFC2X3_PSet_RailingCommon_s, hasDiameter, 530);

VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, slope, 1024);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, requiredHeadroom, 1032);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, hasNonSkidSurface, 1040);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, isHandicapAccessible, 1041);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, isExternal, 1042);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, fireExit, 1043);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, hasHasNonSkidSurface, 1044);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, hasRequiredHeadroom, 1045);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, hasSlope, 1046);
VELMOR_FIELD(IFC2X3_PSet_RampCommon_s, slopeKind, 1048);

VELMOR_FIELD(IFC2X3_PSet_RoofCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_RoofCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_RoofCommon_s, isExternal, 1024);

VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, acousticRating, 512);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, fireRating, 1024);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, surfaceSpreadOfFlame, 1536);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, compartmentation, 2048);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, combustible, 2049);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, thermalTransmittance, 2056);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, pitchAngle, 2064);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, isExternal, 2072);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, isLoadBearing, 2073);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, hasCompartmentation, 2074);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, hasCombustible, 2075);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, hasThermalTransmittance, 2076);
VELMOR_FIELD(IFC2X3_PSet_SlabCommon_s, hasPitchAngle, 2077);

VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, numberOfRiser, 1024);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, numberOfTreads, 1028);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, riserHeight, 1032);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, treadLength, 1040);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, requiredHeadroom, 1048);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, isHandicapAccessible, 1056);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, isExternal, 1057);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, fireExit, 1058);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, hasNonSkidSurface, 1059);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, hasNumberOfRiser, 1060);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, hasNumberOfTreads, 1061);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, hasRiserHeight, 1062);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, hasTreadLength, 1063);
VELMOR_FIELD(IFC2X3_PSet_StairCommon_s, hasRequiredHeadroom, 1064);

VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, acousticRating, 512);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, fireRating, 1024);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, surfaceSpreadOfFlame, 1536);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, thermalTransmittance, 2048);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, combustible, 2056);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, extendToStructure, 2057);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, compartmentation, 2058);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, unusedFlag1, 2059);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, unusedFlag2, 2060);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, hasThermalTransmittance, 2061);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, hasCombustible, 2062);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, hasExtendToStructure, 2063);
VELMOR_FIELD(IFC2X3_PSet_WallCommon_s, hasCompartmentation, 2064);

VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, reference, 0);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, fireRating, 512);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, acousticRating, 1024);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, securityRating, 1536);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, infiltration, 2048);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, thermalTransmittance, 2056);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, glazingAreaFraction, 2064);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, smokeStop, 2072);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, isExternal, 2073);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, hasInfiltration, 2074);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, hasThermalTransmittance, 2075);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, hasGlazingAreaFraction, 2076);
VELMOR_FIELD(IFC2X3_PSet_WindowCommon_s, hasSmokeStop, 2077);

} // namespace Velmor::ifc

#undef VELMOR_FIELD
#undef VELMOR_SIZE
