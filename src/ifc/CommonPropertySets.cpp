#include <Velmor/IFCPropertySets.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <variant>

// Each structure has a table with one row for each property, in the order in which the properties are written. A row names
// the property, the field with its value, and the set flag that guards it, if any. The type of the field decides the
// factory:
//
//     WideChar[256]    string, always written, up to its first NUL
//     bool             boolean
//     std::int32_t     integer
//     Real             real of the value type in the row
//     RealByKind       length, plane angle, or not written, as the measure kind in another field decides
//
// convert() walks the table. All properties have an empty description.

namespace Velmor::ifc {

namespace {

using Value = IFC2X3PropertySingleValue;

constexpr double pi = 3.141592653589793;

/// A real that is written with this value type.
template <class Set>
struct Real {
    double Set::*field;
    Value::ValueType_t valueType;
};

/// A real whose value type depends on a measure kind.
template <class Set>
struct RealByKind {
    double Set::*field;
    MeasureKind Set::*kind;
};

/// One property of a common set. Without a set flag it is always written.
template <class Set>
struct Row {
    const WideChar* name;
    std::variant<WideChar (Set::*)[IFC2X3TextUnits], bool Set::*, std::int32_t Set::*, Real<Set>, RealByKind<Set>> field;
    bool Set::*setFlag = nullptr;
};

constexpr const WideChar* noDescription = VELMOR_WIDE("");

// Frozen: a text is always written, empty or not. A text without a NUL ends with its array.
template <class Set>
void add(IFC2X3PropertySet& properties, const WideChar* name, const Set& set, WideChar (Set::*text)[IFC2X3TextUnits]) {
    const WideChar* const begin = set.*text;
    const WideString value(begin, std::find(begin, begin + IFC2X3TextUnits, WideChar()));
    properties.addProperty(createPropertySingleValueString(name, noDescription, value));
}

template <class Set>
void add(IFC2X3PropertySet& properties, const WideChar* name, const Set& set, bool Set::*flag) {
    properties.addProperty(createPropertySingleValueBoolean(name, noDescription, set.*flag));
}

template <class Set>
void add(IFC2X3PropertySet& properties, const WideChar* name, const Set& set, std::int32_t Set::*count) {
    properties.addProperty(createPropertySingleValueInteger(name, noDescription, Value::Integer, set.*count));
}

void addReal(IFC2X3PropertySet& properties, const WideChar* name, Value::ValueType_t type, double value) {
    properties.addProperty(createPropertySingleValueReal(name, noDescription, type, value));
}

template <class Set>
void add(IFC2X3PropertySet& properties, const WideChar* name, const Set& set, const Real<Set>& real) {
    addReal(properties, name, real.valueType, set.*real.field);
}

template <class Set>
void add(IFC2X3PropertySet& properties, const WideChar* name, const Set& set, const RealByKind<Set>& real) {
    const double value = set.*real.field;
    switch (set.*real.kind) {
    case MeasureKind::Length:
        addReal(properties, name, Value::Length, value);
        break;
    case MeasureKind::PlaneAngle:
        // Frozen: degrees are divided by 180 first, then multiplied by pi. Another order changes the last bit.
        addReal(properties, name, Value::PlaneAngle, value / 180.0 * pi);
        break;
    default:
        break; // Frozen: with any other measure kind the property is not written, without a report.
    }
}

/// Builds the named property set of a structure.
template <class Set, std::size_t size>
IFC2X3_PSet_Custom_s convert(const Set& set, const WideChar* name, const Row<Set> (&rows)[size]) {
    IFC2X3_PSet_Custom_s custom{};
    // Frozen: the GlobalId is a placeholder of 22 zeros.
    std::fill(std::begin(custom.globalId), std::end(custom.globalId), '0');
    std::copy_n(name, std::char_traits<WideChar>::length(name), custom.name);
    for (const Row<Set>& row : rows) {
        if (!row.setFlag || set.*row.setFlag)
            std::visit([&](const auto& field) { add(custom.properties, row.name, set, field); }, row.field);
    }
    return custom;
}

} // namespace

} // namespace Velmor::ifc

namespace Velmor {

using namespace ifc;

IFC2X3_PSet_BeamCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_BeamCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("Span"), RealByKind<Set>{&Set::span, &Set::spanKind}, &Set::hasSpan},
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_BeamCommon"), rows);
}

IFC2X3_PSet_ColumnCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_ColumnCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        // Frozen: Slope comes before FireRating; the fields have the opposite order.
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_ColumnCommon"), rows);
}

IFC2X3_PSet_CurtainWallCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_CurtainWallCommon_s;
    // Frozen: the field unusedText is not read.
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("SurfaceSpreadOfFlame"), &Set::surfaceSpreadOfFlame},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        {VELMOR_WIDE("Combustible"), &Set::combustible, &Set::hasCombustible},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    // Frozen: the name of the set contains the name of the structure.
    return convert(*this, VELMOR_WIDE("Pset_IFC2X3_PSet_CurtainWallCommon"), rows);
}

IFC2X3_PSet_DoorCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_DoorCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("AcousticRating"), &Set::acousticRating},
        {VELMOR_WIDE("SecurityRating"), &Set::securityRating},
        {VELMOR_WIDE("Infiltration"), Real<Set>{&Set::infiltration, Value::Real}, &Set::hasInfiltration},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        {VELMOR_WIDE("GlazingAreaFraction"), Real<Set>{&Set::glazingAreaFraction, Value::Real},
         &Set::hasGlazingAreaFraction},
        {VELMOR_WIDE("HandicapAccessible"), &Set::handicapAccessible, &Set::hasHandicapAccessible},
        {VELMOR_WIDE("FireExit"), &Set::isExternal}, // Frozen: the field fireExit is not read.
        {VELMOR_WIDE("SelfClosing"), &Set::selfClosing},
        {VELMOR_WIDE("SmokeStop"), &Set::smokeStop},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_DoorCommon"), rows);
}

IFC2X3_PSet_DoorWindowGlazingType_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_DoorWindowGlazingType_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("FillGas"), &Set::fillGas},
        {VELMOR_WIDE("GlassColor"), &Set::glassColor},
        {VELMOR_WIDE("GlassThickness1"), Real<Set>{&Set::glassThickness1, Value::Length}, &Set::hasGlassThickness1},
        {VELMOR_WIDE("GlassThickness2"), Real<Set>{&Set::glassThickness2, Value::Length}, &Set::hasGlassThickness2},
        {VELMOR_WIDE("GlassThickness3"), Real<Set>{&Set::glassThickness3, Value::Length}, &Set::hasGlassThickness3},
        {VELMOR_WIDE("IsTempered"), &Set::isTempered, &Set::hasIsTempered},
        {VELMOR_WIDE("IsLaminated"), &Set::isLaminated, &Set::hasIsLaminated},
        {VELMOR_WIDE("IsCoated"), &Set::isCoated, &Set::hasIsCoated},
        {VELMOR_WIDE("IsWired"), &Set::isWired, &Set::hasIsWired},
        {VELMOR_WIDE("Translucency"), Real<Set>{&Set::translucency, Value::Real}, &Set::hasTranslucency},
        {VELMOR_WIDE("Reflectivity"), Real<Set>{&Set::reflectivity, Value::Real}, &Set::hasReflectivity},
        {VELMOR_WIDE("BeamRadiationTransmittance"), Real<Set>{&Set::beamRadiationTransmittance, Value::Real},
         &Set::hasBeamRadiationTransmittance},
        {VELMOR_WIDE("SolarHeatGainTransmittance"), Real<Set>{&Set::solarHeatGainTransmittance, Value::Real},
         &Set::hasSolarHeatGainTransmittance},
        {VELMOR_WIDE("ThermalTransmittanceSummer"), Real<Set>{&Set::thermalTransmittanceSummer, Value::Real},
         &Set::hasThermalTransmittanceSummer},
        {VELMOR_WIDE("ThermalTransmittanceWinter"), Real<Set>{&Set::thermalTransmittanceWinter, Value::Real},
         &Set::hasThermalTransmittanceWinter},
        {VELMOR_WIDE("GlassLayers"), &Set::glassLayers},
    };
    return convert(*this, VELMOR_WIDE("Pset_DoorWindowGlazingType"), rows);
}

IFC2X3_PSet_DoorWindowShadingType_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_DoorWindowShadingType_s;
    // Frozen: there is no text, so a structure without set flags gives an empty set.
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("ExternalShadingCoefficient"), Real<Set>{&Set::externalShadingCoefficient, Value::Real},
         &Set::hasExternalShadingCoefficient},
        {VELMOR_WIDE("InternalShadingCoefficient"), Real<Set>{&Set::internalShadingCoefficient, Value::Real},
         &Set::hasInternalShadingCoefficient},
        {VELMOR_WIDE("InsetShadingCoefficient"), Real<Set>{&Set::insetShadingCoefficient, Value::Real},
         &Set::hasInsetShadingCoefficient},
    };
    return convert(*this, VELMOR_WIDE("Pset_DoorWindowShadingType"), rows);
}

IFC2X3_PSet_MemberCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_MemberCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("Span"), RealByKind<Set>{&Set::span, &Set::spanKind}, &Set::hasSpan},
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_MemberCommon"), rows);
}

IFC2X3_PSet_RailingCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_RailingCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("Height"), Real<Set>{&Set::height, Value::Length}, &Set::hasHeight},
        {VELMOR_WIDE("Diameter"), Real<Set>{&Set::diameter, Value::Length}, &Set::hasDiameter},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_RailingCommon"), rows);
}

IFC2X3_PSet_RampCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_RampCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("RequiredHeadroom"), Real<Set>{&Set::requiredHeadroom, Value::Length}, &Set::hasRequiredHeadroom},
        {VELMOR_WIDE("HasNonSkidSurface"), &Set::hasNonSkidSurface, &Set::hasHasNonSkidSurface},
        {VELMOR_WIDE("IsHandicapAccessible"), &Set::isHandicapAccessible},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("FireExit"), &Set::fireExit},
    };
    return convert(*this, VELMOR_WIDE("Pset_RampCommon"), rows);
}

IFC2X3_PSet_RoofCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_RoofCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_RoofCommon"), rows);
}

IFC2X3_PSet_SlabCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_SlabCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("AcousticRating"), &Set::acousticRating},
        // Frozen: SurfaceSpreadOfFlame comes before FireRating; the fields have the opposite order.
        {VELMOR_WIDE("SurfaceSpreadOfFlame"), &Set::surfaceSpreadOfFlame},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("Compartmentation"), &Set::compartmentation, &Set::hasCompartmentation},
        {VELMOR_WIDE("Combustible"), &Set::combustible, &Set::hasCombustible},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        // Frozen: the field is in radians and written unchanged; spans and slopes are in degrees.
        {VELMOR_WIDE("PitchAngle"), Real<Set>{&Set::pitchAngle, Value::PlaneAngle}, &Set::hasPitchAngle},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_SlabCommon"), rows);
}

IFC2X3_PSet_StairCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_StairCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("NumberOfRiser"), &Set::numberOfRiser, &Set::hasNumberOfRiser},
        {VELMOR_WIDE("NumberOfTreads"), &Set::numberOfTreads, &Set::hasNumberOfTreads},
        {VELMOR_WIDE("RiserHeight"), Real<Set>{&Set::riserHeight, Value::Length}, &Set::hasRiserHeight},
        {VELMOR_WIDE("TreadLength"), Real<Set>{&Set::treadLength, Value::Length}, &Set::hasTreadLength},
        {VELMOR_WIDE("RequiredHeadroom"), Real<Set>{&Set::requiredHeadroom, Value::Length}, &Set::hasRequiredHeadroom},
        {VELMOR_WIDE("IsHandicapAccessible"), &Set::isHandicapAccessible},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("FireExit"), &Set::fireExit},
        {VELMOR_WIDE("HasNonSkidSurface"), &Set::hasNonSkidSurface},
    };
    return convert(*this, VELMOR_WIDE("Pset_StairCommon"), rows);
}

IFC2X3_PSet_WallCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_WallCommon_s;
    // Frozen: IsExternal and IsLoadBearing are not written; the fields unusedFlag1 and unusedFlag2 are not read.
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("AcousticRating"), &Set::acousticRating},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("SurfaceSpreadOfFlame"), &Set::surfaceSpreadOfFlame},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        {VELMOR_WIDE("Combustible"), &Set::combustible, &Set::hasCombustible},
        {VELMOR_WIDE("ExtendToStructure"), &Set::extendToStructure, &Set::hasExtendToStructure},
        {VELMOR_WIDE("Compartmentation"), &Set::compartmentation, &Set::hasCompartmentation},
    };
    return convert(*this, VELMOR_WIDE("Pset_WallCommon"), rows);
}

IFC2X3_PSet_WindowCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_WindowCommon_s;
    static constexpr Row<Set> rows[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        // Frozen: FireRating comes before AcousticRating; in walls and slabs it comes after.
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("AcousticRating"), &Set::acousticRating},
        {VELMOR_WIDE("SecurityRating"), &Set::securityRating},
        {VELMOR_WIDE("Infiltration"), Real<Set>{&Set::infiltration, Value::Real}, &Set::hasInfiltration},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        {VELMOR_WIDE("GlazingAreaFraction"), Real<Set>{&Set::glazingAreaFraction, Value::Real},
         &Set::hasGlazingAreaFraction},
        {VELMOR_WIDE("SmokeStop"), &Set::smokeStop, &Set::hasSmokeStop},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_WindowCommon"), rows);
}

} // namespace Velmor
