#include <Velmor/IFCPropertySets.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <variant>

namespace Velmor {

namespace {

using Value = IFC2X3PropertySingleValue;

/// A real that is written with this value type.
template <class Set>
struct Real {
    double Set::*field;
    Value::ValueType_t valueType;
};

/// A real that is a length or a plane angle in degrees, as another field tells.
template <class Set>
struct RealByKind {
    double Set::*field;
    MeasureKind Set::*kind;
};

/// One property of a common set: its name, the field it is written from, and its set flag; without one it is always written.
template <class Set>
struct Rule {
    const WideChar* name;
    std::variant<WideChar (Set::*)[IFC2X3TextUnits], bool Set::*, std::int32_t Set::*, Real<Set>, RealByKind<Set>> field;
    bool Set::*setFlag = nullptr;
};

constexpr const WideChar* noDescription = VELMOR_WIDE("");

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
        addReal(properties, name, Value::PlaneAngle, value / 180.0 * 3.141592653589793);
        break;
    default:
        break; // not written
    }
}

/// Builds a named property set from a structure, rule by rule.
template <class Set, std::size_t size>
IFC2X3_PSet_Custom_s convert(const Set& set, const WideChar* name, const Rule<Set> (&rules)[size]) {
    IFC2X3_PSet_Custom_s custom{};
    std::fill(std::begin(custom.globalId), std::end(custom.globalId), '0');
    std::copy_n(name, std::char_traits<WideChar>::length(name), custom.name);
    for (const Rule<Set>& rule : rules) {
        if (!rule.setFlag || set.*rule.setFlag)
            std::visit([&](const auto& field) { add(custom.properties, rule.name, set, field); }, rule.field);
    }
    return custom;
}

} // namespace

IFC2X3_PSet_BeamCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_BeamCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("Span"), RealByKind<Set>{&Set::span, &Set::spanKind}, &Set::hasSpan},
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_BeamCommon"), rules);
}

IFC2X3_PSet_ColumnCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_ColumnCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        // Slope before FireRating on purpose, unlike the fields.
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_ColumnCommon"), rules);
}

IFC2X3_PSet_CurtainWallCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_CurtainWallCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("SurfaceSpreadOfFlame"), &Set::surfaceSpreadOfFlame},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        {VELMOR_WIDE("Combustible"), &Set::combustible, &Set::hasCombustible},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    // On purpose: this name does not follow the pattern of the others.
    return convert(*this, VELMOR_WIDE("Pset_IFC2X3_PSet_CurtainWallCommon"), rules);
}

IFC2X3_PSet_DoorCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_DoorCommon_s;
    static constexpr Rule<Set> rules[] = {
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
        {VELMOR_WIDE("FireExit"), &Set::isExternal}, // on purpose: `fireExit` is never read
        {VELMOR_WIDE("SelfClosing"), &Set::selfClosing},
        {VELMOR_WIDE("SmokeStop"), &Set::smokeStop},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_DoorCommon"), rules);
}

IFC2X3_PSet_DoorWindowGlazingType_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_DoorWindowGlazingType_s;
    static constexpr Rule<Set> rules[] = {
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
    return convert(*this, VELMOR_WIDE("Pset_DoorWindowGlazingType"), rules);
}

IFC2X3_PSet_DoorWindowShadingType_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_DoorWindowShadingType_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("ExternalShadingCoefficient"), Real<Set>{&Set::externalShadingCoefficient, Value::Real},
         &Set::hasExternalShadingCoefficient},
        {VELMOR_WIDE("InternalShadingCoefficient"), Real<Set>{&Set::internalShadingCoefficient, Value::Real},
         &Set::hasInternalShadingCoefficient},
        {VELMOR_WIDE("InsetShadingCoefficient"), Real<Set>{&Set::insetShadingCoefficient, Value::Real},
         &Set::hasInsetShadingCoefficient},
    };
    return convert(*this, VELMOR_WIDE("Pset_DoorWindowShadingType"), rules);
}

IFC2X3_PSet_MemberCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_MemberCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("Span"), RealByKind<Set>{&Set::span, &Set::spanKind}, &Set::hasSpan},
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_MemberCommon"), rules);
}

IFC2X3_PSet_RailingCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_RailingCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("Height"), Real<Set>{&Set::height, Value::Length}, &Set::hasHeight},
        {VELMOR_WIDE("Diameter"), Real<Set>{&Set::diameter, Value::Length}, &Set::hasDiameter},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_RailingCommon"), rules);
}

IFC2X3_PSet_RampCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_RampCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("Slope"), RealByKind<Set>{&Set::slope, &Set::slopeKind}, &Set::hasSlope},
        {VELMOR_WIDE("RequiredHeadroom"), Real<Set>{&Set::requiredHeadroom, Value::Length}, &Set::hasRequiredHeadroom},
        {VELMOR_WIDE("HasNonSkidSurface"), &Set::hasNonSkidSurface, &Set::hasHasNonSkidSurface},
        {VELMOR_WIDE("IsHandicapAccessible"), &Set::isHandicapAccessible},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("FireExit"), &Set::fireExit},
    };
    return convert(*this, VELMOR_WIDE("Pset_RampCommon"), rules);
}

IFC2X3_PSet_RoofCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_RoofCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
    };
    return convert(*this, VELMOR_WIDE("Pset_RoofCommon"), rules);
}

IFC2X3_PSet_SlabCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_SlabCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        {VELMOR_WIDE("AcousticRating"), &Set::acousticRating},
        // SurfaceSpreadOfFlame before FireRating on purpose, unlike the fields.
        {VELMOR_WIDE("SurfaceSpreadOfFlame"), &Set::surfaceSpreadOfFlame},
        {VELMOR_WIDE("FireRating"), &Set::fireRating},
        {VELMOR_WIDE("Compartmentation"), &Set::compartmentation, &Set::hasCompartmentation},
        {VELMOR_WIDE("Combustible"), &Set::combustible, &Set::hasCombustible},
        {VELMOR_WIDE("ThermalTransmittance"), Real<Set>{&Set::thermalTransmittance, Value::Real},
         &Set::hasThermalTransmittance},
        // In radians already, unlike spans and slopes.
        {VELMOR_WIDE("PitchAngle"), Real<Set>{&Set::pitchAngle, Value::PlaneAngle}, &Set::hasPitchAngle},
        {VELMOR_WIDE("IsExternal"), &Set::isExternal},
        {VELMOR_WIDE("IsLoadBearing"), &Set::isLoadBearing},
    };
    return convert(*this, VELMOR_WIDE("Pset_SlabCommon"), rules);
}

IFC2X3_PSet_StairCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_StairCommon_s;
    static constexpr Rule<Set> rules[] = {
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
    return convert(*this, VELMOR_WIDE("Pset_StairCommon"), rules);
}

IFC2X3_PSet_WallCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_WallCommon_s;
    // On purpose: a wall has neither IsExternal nor IsLoadBearing.
    static constexpr Rule<Set> rules[] = {
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
    return convert(*this, VELMOR_WIDE("Pset_WallCommon"), rules);
}

IFC2X3_PSet_WindowCommon_s::operator IFC2X3_PSet_Custom_s() const {
    using Set = IFC2X3_PSet_WindowCommon_s;
    static constexpr Rule<Set> rules[] = {
        {VELMOR_WIDE("Reference"), &Set::reference},
        // FireRating before AcousticRating on purpose; walls and slabs have them the other way round.
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
    return convert(*this, VELMOR_WIDE("Pset_WindowCommon"), rules);
}

} // namespace Velmor
