#pragma once

/// @file
/// The common property sets of IFC 2x3 as plain structures, and their conversion into a named property set.
///
/// An importer fills one of the fourteen structures and converts it. The conversion writes one property for each field,
/// named after it (`fireRating` gives "FireRating"), with an empty description, in the order that docs/property-sets.md
/// lists:
///
/// - a text always, up to its first NUL, whether it is empty or not;
/// - a number or a flag always, or, where there is a set flag (`hasSpan` for `span`), only when that is true;
/// - a span or slope by its measure kind, as a length or as a plane angle.
///
/// What differs from that pattern is told at the field. The structures' fields and their order are fixed; they are plain
/// memory, so start from a zeroed one: `IFC2X3_PSet_BeamCommon_s beam{};`.
///
/// Failure: a failed allocation throws `std::bad_alloc`, but for that of the set's array: see `IFC2X3PropertySet`. Threads:
/// a structure may be converted concurrently.

#include <Velmor/Export.h>
#include <Velmor/IFCProperties.h>
#include <Velmor/WideText.h>

#include <cstdint>

namespace Velmor {

/// A named property set. It owns its properties; copies are deep.
///
/// Failure: as that of the set. An assignment that throws leaves the other's id, name and description beside the properties
/// that were there before.
struct IFC2X3_PSet_Custom_s {
    char globalId[22];                     ///< An IFC GlobalId, without a NUL; a conversion writes twenty-two "0".
    WideChar name[IFC2X3TextUnits];        ///< NUL-terminated.
    WideChar description[IFC2X3TextUnits]; ///< NUL-terminated; a conversion leaves it empty.
    IFC2X3PropertySet properties;          ///< The properties.
};

static_assert(sizeof(IFC2X3_PSet_Custom_s) == 1064, "the layout of a named property set is fixed");

/// How a span or slope is meant. Any 32-bit value may be held; with any other one the property is not written.
enum class MeasureKind : std::int32_t {
    None = 0,
    Length = 1,    ///< Written as a length, as it stands.
    PlaneAngle = 2 ///< Given in degrees; written as a plane angle in radians, `degrees / 180.0 * 3.141592653589793`.
};

/// The common properties of the set "Pset_BeamCommon".
struct IFC2X3_PSet_BeamCommon_s {
    WideChar reference[IFC2X3TextUnits];
    double span;
    double slope;
    WideChar fireRating[IFC2X3TextUnits];
    bool isExternal;
    bool isLoadBearing;
    MeasureKind spanKind;
    MeasureKind slopeKind;
    bool hasSpan;
    bool hasSlope;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_BeamCommon_s) == 1056, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_ColumnCommon".
struct IFC2X3_PSet_ColumnCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    double slope;
    bool isExternal;
    bool isLoadBearing;
    MeasureKind slopeKind;
    bool hasSlope;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_ColumnCommon_s) == 1048, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_IFC2X3_PSet_CurtainWallCommon".
struct IFC2X3_PSet_CurtainWallCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar unusedText[IFC2X3TextUnits]; ///< Read by no property.
    WideChar fireRating[IFC2X3TextUnits];
    WideChar surfaceSpreadOfFlame[IFC2X3TextUnits];
    double thermalTransmittance;
    bool combustible;
    bool isExternal;
    bool hasThermalTransmittance;
    bool hasCombustible;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_CurtainWallCommon_s) == 2064, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_DoorCommon".
struct IFC2X3_PSet_DoorCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar securityRating[IFC2X3TextUnits];
    double infiltration;
    double thermalTransmittance;
    double glazingAreaFraction;
    bool handicapAccessible;
    bool fireExit; ///< Read by no property, on purpose: "FireExit" is written from `isExternal`.
    bool selfClosing;
    bool smokeStop;
    bool isExternal;
    bool hasInfiltration;
    bool hasThermalTransmittance;
    bool hasGlazingAreaFraction;
    bool hasHandicapAccessible;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_DoorCommon_s) == 2088, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_DoorWindowGlazingType".
struct IFC2X3_PSet_DoorWindowGlazingType_s {
    WideChar fillGas[IFC2X3TextUnits];
    WideChar glassColor[IFC2X3TextUnits];
    double glassThickness1;
    double glassThickness2;
    double glassThickness3;
    bool isTempered;
    bool isLaminated;
    bool isCoated;
    bool isWired;
    double translucency;
    double reflectivity;
    double beamRadiationTransmittance;
    double solarHeatGainTransmittance;
    double thermalTransmittanceSummer;
    double thermalTransmittanceWinter;
    std::int32_t glassLayers;
    bool hasGlassThickness1;
    bool hasGlassThickness2;
    bool hasGlassThickness3;
    bool hasIsTempered;
    bool hasIsLaminated;
    bool hasIsCoated;
    bool hasIsWired;
    bool hasTranslucency;
    bool hasReflectivity;
    bool hasBeamRadiationTransmittance;
    bool hasSolarHeatGainTransmittance;
    bool hasThermalTransmittanceSummer;
    bool hasThermalTransmittanceWinter;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_DoorWindowGlazingType_s) == 1128, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_DoorWindowShadingType".
struct IFC2X3_PSet_DoorWindowShadingType_s {
    double externalShadingCoefficient;
    double internalShadingCoefficient;
    double insetShadingCoefficient;
    bool hasExternalShadingCoefficient;
    bool hasInternalShadingCoefficient;
    bool hasInsetShadingCoefficient;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_DoorWindowShadingType_s) == 32, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_MemberCommon".
struct IFC2X3_PSet_MemberCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    double span;
    double slope;
    bool isExternal;
    bool isLoadBearing;
    bool hasSpan;
    bool hasSlope;
    MeasureKind spanKind;
    MeasureKind slopeKind;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_MemberCommon_s) == 1056, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_RailingCommon".
struct IFC2X3_PSet_RailingCommon_s {
    WideChar reference[IFC2X3TextUnits];
    double height;
    double diameter;
    bool isExternal;
    bool hasHeight;
    bool hasDiameter;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_RailingCommon_s) == 536, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_RampCommon".
struct IFC2X3_PSet_RampCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    double slope;
    double requiredHeadroom;
    bool hasNonSkidSurface;
    bool isHandicapAccessible;
    bool isExternal;
    bool fireExit;
    bool hasHasNonSkidSurface;
    bool hasRequiredHeadroom;
    bool hasSlope;
    MeasureKind slopeKind;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_RampCommon_s) == 1056, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_RoofCommon".
struct IFC2X3_PSet_RoofCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    bool isExternal;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_RoofCommon_s) == 1026, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_SlabCommon".
struct IFC2X3_PSet_SlabCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar surfaceSpreadOfFlame[IFC2X3TextUnits];
    bool compartmentation;
    bool combustible;
    double thermalTransmittance;
    double pitchAngle; ///< In radians, unlike spans and slopes.
    bool isExternal;
    bool isLoadBearing;
    bool hasCompartmentation;
    bool hasCombustible;
    bool hasThermalTransmittance;
    bool hasPitchAngle;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_SlabCommon_s) == 2080, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_StairCommon".
struct IFC2X3_PSet_StairCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    std::int32_t numberOfRiser;
    std::int32_t numberOfTreads;
    double riserHeight;
    double treadLength;
    double requiredHeadroom;
    bool isHandicapAccessible;
    bool isExternal;
    bool fireExit;
    bool hasNonSkidSurface;
    bool hasNumberOfRiser;
    bool hasNumberOfTreads;
    bool hasRiserHeight;
    bool hasTreadLength;
    bool hasRequiredHeadroom;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_StairCommon_s) == 1072, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_WallCommon".
struct IFC2X3_PSet_WallCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar surfaceSpreadOfFlame[IFC2X3TextUnits];
    double thermalTransmittance;
    bool combustible;
    bool extendToStructure;
    bool compartmentation;
    bool unusedFlag1; ///< Read by no property.
    bool unusedFlag2; ///< Read by no property.
    bool hasThermalTransmittance;
    bool hasCombustible;
    bool hasExtendToStructure;
    bool hasCompartmentation;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_WallCommon_s) == 2072, "the layout of a common property set is fixed");

/// The common properties of the set "Pset_WindowCommon".
struct IFC2X3_PSet_WindowCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar securityRating[IFC2X3TextUnits];
    double infiltration;
    double thermalTransmittance;
    double glazingAreaFraction;
    bool smokeStop;
    bool isExternal;
    bool hasInfiltration;
    bool hasThermalTransmittance;
    bool hasGlazingAreaFraction;
    bool hasSmokeStop;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_WindowCommon_s) == 2080, "the layout of a common property set is fixed");

} // namespace Velmor
