#pragma once

/// @file
/// The common property sets of IFC 2x3 as plain structures, and their conversion into a named property set.
///
/// An importer fills one of the fourteen structures and converts it. The conversion writes one property for each field and
/// names it after the field (`fireRating` becomes "FireRating"). Every property has an empty description.
/// docs/property-sets.md lists the properties of each set in their order.
///
/// - A text is always written, up to its first NUL, even if it is empty.
/// - A number or flag with a set flag (`hasSpan` for `span`) is written if the set flag is true; one without a set flag is
///   always written.
/// - A span or slope is written as a length or as a plane angle, as its measure kind specifies.
///
/// Exceptions are documented at the field. Importers and hosts share the layout of the structures: fields and their order
/// are fixed. The structures are plain memory, so start from a zeroed one: `IFC2X3_PSet_BeamCommon_s beam{};`.
///
/// Failure: a failed allocation throws `std::bad_alloc`. If the array of the property set cannot be allocated, properties
/// are missing without a report (see `IFC2X3PropertySet`).
///
/// Threads: several threads may convert the same structure.

#include <Velmor/Export.h>
#include <Velmor/IFCProperties.h>
#include <Velmor/WideText.h>

#include <cstdint>

namespace Velmor {

/// A named property set.
///
/// Failure: as for `IFC2X3PropertySet`. An assignment that throws has already copied GlobalId, name and description; the
/// properties are unchanged.
///
/// Ownership: the record owns its properties. Copies are deep.
struct IFC2X3_PSet_Custom_s {
    char globalId[22];                     ///< An IFC GlobalId without a NUL; a conversion writes 22 times "0".
    WideChar name[IFC2X3TextUnits];        ///< NUL-terminated.
    WideChar description[IFC2X3TextUnits]; ///< NUL-terminated; empty after a conversion.
    IFC2X3PropertySet properties;          ///< The properties.
};

static_assert(sizeof(IFC2X3_PSet_Custom_s) == 1064, "the layout of a named property set is part of the binary interface");

/// How a span or slope is written. The enumeration can hold any 32-bit number.
enum class MeasureKind : std::int32_t {
    None = 0,      ///< Not written; the same applies to any number without a name.
    Length = 1,    ///< Written as a length, unchanged.
    PlaneAngle = 2 ///< In degrees; written as a plane angle in radians, `degrees / 180.0 * 3.141592653589793`.
};

/// Converts to the property set "Pset_BeamCommon".
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

static_assert(sizeof(IFC2X3_PSet_BeamCommon_s) == 1056,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_ColumnCommon".
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

static_assert(sizeof(IFC2X3_PSet_ColumnCommon_s) == 1048,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_IFC2X3_PSet_CurtainWallCommon", whose name contains the name of the structure.
struct IFC2X3_PSet_CurtainWallCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar unusedText[IFC2X3TextUnits]; ///< Not read.
    WideChar fireRating[IFC2X3TextUnits];
    WideChar surfaceSpreadOfFlame[IFC2X3TextUnits];
    double thermalTransmittance;
    bool combustible;
    bool isExternal;
    bool hasThermalTransmittance;
    bool hasCombustible;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_CurtainWallCommon_s) == 2064,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_DoorCommon".
struct IFC2X3_PSet_DoorCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar securityRating[IFC2X3TextUnits];
    double infiltration;
    double thermalTransmittance;
    double glazingAreaFraction;
    bool handicapAccessible;
    bool fireExit; ///< Not read: "FireExit" is written from `isExternal`.
    bool selfClosing;
    bool smokeStop;
    bool isExternal;
    bool hasInfiltration;
    bool hasThermalTransmittance;
    bool hasGlazingAreaFraction;
    bool hasHandicapAccessible;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_DoorCommon_s) == 2088,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_DoorWindowGlazingType".
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

static_assert(sizeof(IFC2X3_PSet_DoorWindowGlazingType_s) == 1128,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_DoorWindowShadingType".
struct IFC2X3_PSet_DoorWindowShadingType_s {
    double externalShadingCoefficient;
    double internalShadingCoefficient;
    double insetShadingCoefficient;
    bool hasExternalShadingCoefficient;
    bool hasInternalShadingCoefficient;
    bool hasInsetShadingCoefficient;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_DoorWindowShadingType_s) == 32,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_MemberCommon".
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

static_assert(sizeof(IFC2X3_PSet_MemberCommon_s) == 1056,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_RailingCommon".
struct IFC2X3_PSet_RailingCommon_s {
    WideChar reference[IFC2X3TextUnits];
    double height;
    double diameter;
    bool isExternal;
    bool hasHeight;
    bool hasDiameter;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_RailingCommon_s) == 536,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_RampCommon".
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

static_assert(sizeof(IFC2X3_PSet_RampCommon_s) == 1056,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_RoofCommon".
struct IFC2X3_PSet_RoofCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    bool isExternal;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_RoofCommon_s) == 1026,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_SlabCommon".
struct IFC2X3_PSet_SlabCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar surfaceSpreadOfFlame[IFC2X3TextUnits];
    bool compartmentation;
    bool combustible;
    double thermalTransmittance;
    double pitchAngle; ///< In radians; spans and slopes are in degrees.
    bool isExternal;
    bool isLoadBearing;
    bool hasCompartmentation;
    bool hasCombustible;
    bool hasThermalTransmittance;
    bool hasPitchAngle;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_SlabCommon_s) == 2080,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_StairCommon".
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

static_assert(sizeof(IFC2X3_PSet_StairCommon_s) == 1072,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_WallCommon", which has neither "IsExternal" nor "IsLoadBearing".
struct IFC2X3_PSet_WallCommon_s {
    WideChar reference[IFC2X3TextUnits];
    WideChar acousticRating[IFC2X3TextUnits];
    WideChar fireRating[IFC2X3TextUnits];
    WideChar surfaceSpreadOfFlame[IFC2X3TextUnits];
    double thermalTransmittance;
    bool combustible;
    bool extendToStructure;
    bool compartmentation;
    bool unusedFlag1; ///< Not read.
    bool unusedFlag2; ///< Not read.
    bool hasThermalTransmittance;
    bool hasCombustible;
    bool hasExtendToStructure;
    bool hasCompartmentation;

    VELMOR_API operator IFC2X3_PSet_Custom_s() const;
};

static_assert(sizeof(IFC2X3_PSet_WallCommon_s) == 2072,
              "the layout of a common property set is part of the binary interface");

/// Converts to the property set "Pset_WindowCommon".
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

static_assert(sizeof(IFC2X3_PSet_WindowCommon_s) == 2080,
              "the layout of a common property set is part of the binary interface");

} // namespace Velmor
