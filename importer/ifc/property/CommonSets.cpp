#include "importer/ifc/property/CommonSets.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

namespace importer::ifc {

namespace {

using Velmor::IFC2X3Property;
using Velmor::IFC2X3PropertySet;
using Velmor::IFC2X3TextUnits;
using Velmor::MeasureKind;
using Velmor::WideChar;
using Custom = Velmor::IFC2X3_PSet_Custom_s;
using Value = Velmor::IFC2X3PropertySingleValue;
using WideView = std::basic_string_view<WideChar>;

/// One field of a template's structure and the property that it feeds. Of the first four members one is set.
template <typename Set>
struct Field {
    WideView property;
    WideChar (Set::*text)[IFC2X3TextUnits] = nullptr;
    bool Set::*flag = nullptr;
    std::int32_t Set::*integer = nullptr;
    double Set::*real = nullptr;
    bool Set::*has = nullptr;
    MeasureKind Set::*kind = nullptr;
};

template <typename Set>
constexpr Field<Set> of(WideView property, WideChar (Set::*text)[IFC2X3TextUnits]) {
    return {property, text};
}

template <typename Set>
constexpr Field<Set> of(WideView property, bool Set::*flag, bool Set::*has = nullptr) {
    return {property, nullptr, flag, nullptr, nullptr, has};
}

template <typename Set>
constexpr Field<Set> of(WideView property, std::int32_t Set::*integer, bool Set::*has = nullptr) {
    return {property, nullptr, nullptr, integer, nullptr, has};
}

template <typename Set>
constexpr Field<Set> of(WideView property, double Set::*real, bool Set::*has, MeasureKind Set::*kind = nullptr) {
    return {property, nullptr, nullptr, nullptr, real, has, kind};
}

using Beam = Velmor::IFC2X3_PSet_BeamCommon_s;
constexpr Field<Beam> beam[] = {
    of(VELMOR_WIDE("Reference"), &Beam::reference),
    of(VELMOR_WIDE("Span"), &Beam::span, &Beam::hasSpan, &Beam::spanKind),
    of(VELMOR_WIDE("Slope"), &Beam::slope, &Beam::hasSlope, &Beam::slopeKind),
    of(VELMOR_WIDE("FireRating"), &Beam::fireRating),
    of(VELMOR_WIDE("IsExternal"), &Beam::isExternal),
    of(VELMOR_WIDE("IsLoadBearing"), &Beam::isLoadBearing),
};

using Column = Velmor::IFC2X3_PSet_ColumnCommon_s;
constexpr Field<Column> column[] = {
    of(VELMOR_WIDE("Reference"), &Column::reference),
    of(VELMOR_WIDE("FireRating"), &Column::fireRating),
    of(VELMOR_WIDE("Slope"), &Column::slope, &Column::hasSlope, &Column::slopeKind),
    of(VELMOR_WIDE("IsExternal"), &Column::isExternal),
    of(VELMOR_WIDE("IsLoadBearing"), &Column::isLoadBearing),
};

using CurtainWall = Velmor::IFC2X3_PSet_CurtainWallCommon_s;
constexpr Field<CurtainWall> curtainWall[] = {
    of(VELMOR_WIDE("Reference"), &CurtainWall::reference),
    of(VELMOR_WIDE("FireRating"), &CurtainWall::fireRating),
    of(VELMOR_WIDE("SurfaceSpreadOfFlame"), &CurtainWall::surfaceSpreadOfFlame),
    of(VELMOR_WIDE("ThermalTransmittance"), &CurtainWall::thermalTransmittance, &CurtainWall::hasThermalTransmittance),
    of(VELMOR_WIDE("Combustible"), &CurtainWall::combustible, &CurtainWall::hasCombustible),
    of(VELMOR_WIDE("IsExternal"), &CurtainWall::isExternal),
};

using Door = Velmor::IFC2X3_PSet_DoorCommon_s;
constexpr Field<Door> door[] = {
    of(VELMOR_WIDE("Reference"), &Door::reference),
    of(VELMOR_WIDE("FireRating"), &Door::fireRating),
    of(VELMOR_WIDE("AcousticRating"), &Door::acousticRating),
    of(VELMOR_WIDE("SecurityRating"), &Door::securityRating),
    of(VELMOR_WIDE("Infiltration"), &Door::infiltration, &Door::hasInfiltration),
    of(VELMOR_WIDE("ThermalTransmittance"), &Door::thermalTransmittance, &Door::hasThermalTransmittance),
    of(VELMOR_WIDE("GlazingAreaFraction"), &Door::glazingAreaFraction, &Door::hasGlazingAreaFraction),
    of(VELMOR_WIDE("HandicapAccessible"), &Door::handicapAccessible, &Door::hasHandicapAccessible),
    of(VELMOR_WIDE("FireExit"), &Door::fireExit),
    of(VELMOR_WIDE("SelfClosing"), &Door::selfClosing),
    of(VELMOR_WIDE("SmokeStop"), &Door::smokeStop),
    of(VELMOR_WIDE("IsExternal"), &Door::isExternal),
};

using Glazing = Velmor::IFC2X3_PSet_DoorWindowGlazingType_s;
constexpr Field<Glazing> glazing[] = {
    of(VELMOR_WIDE("FillGas"), &Glazing::fillGas),
    of(VELMOR_WIDE("GlassColor"), &Glazing::glassColor),
    of(VELMOR_WIDE("GlassThickness1"), &Glazing::glassThickness1, &Glazing::hasGlassThickness1),
    of(VELMOR_WIDE("GlassThickness2"), &Glazing::glassThickness2, &Glazing::hasGlassThickness2),
    of(VELMOR_WIDE("GlassThickness3"), &Glazing::glassThickness3, &Glazing::hasGlassThickness3),
    of(VELMOR_WIDE("IsTempered"), &Glazing::isTempered, &Glazing::hasIsTempered),
    of(VELMOR_WIDE("IsLaminated"), &Glazing::isLaminated, &Glazing::hasIsLaminated),
    of(VELMOR_WIDE("IsCoated"), &Glazing::isCoated, &Glazing::hasIsCoated),
    of(VELMOR_WIDE("IsWired"), &Glazing::isWired, &Glazing::hasIsWired),
    of(VELMOR_WIDE("Translucency"), &Glazing::translucency, &Glazing::hasTranslucency),
    of(VELMOR_WIDE("Reflectivity"), &Glazing::reflectivity, &Glazing::hasReflectivity),
    of(VELMOR_WIDE("BeamRadiationTransmittance"), &Glazing::beamRadiationTransmittance,
       &Glazing::hasBeamRadiationTransmittance),
    of(VELMOR_WIDE("SolarHeatGainTransmittance"), &Glazing::solarHeatGainTransmittance,
       &Glazing::hasSolarHeatGainTransmittance),
    of(VELMOR_WIDE("ThermalTransmittanceSummer"), &Glazing::thermalTransmittanceSummer,
       &Glazing::hasThermalTransmittanceSummer),
    of(VELMOR_WIDE("ThermalTransmittanceWinter"), &Glazing::thermalTransmittanceWinter,
       &Glazing::hasThermalTransmittanceWinter),
    of(VELMOR_WIDE("GlassLayers"), &Glazing::glassLayers),
};

using Shading = Velmor::IFC2X3_PSet_DoorWindowShadingType_s;
constexpr Field<Shading> shading[] = {
    of(VELMOR_WIDE("ExternalShadingCoefficient"), &Shading::externalShadingCoefficient,
       &Shading::hasExternalShadingCoefficient),
    of(VELMOR_WIDE("InternalShadingCoefficient"), &Shading::internalShadingCoefficient,
       &Shading::hasInternalShadingCoefficient),
    of(VELMOR_WIDE("InsetShadingCoefficient"), &Shading::insetShadingCoefficient, &Shading::hasInsetShadingCoefficient),
};

using Member = Velmor::IFC2X3_PSet_MemberCommon_s;
constexpr Field<Member> member[] = {
    of(VELMOR_WIDE("Reference"), &Member::reference),
    of(VELMOR_WIDE("FireRating"), &Member::fireRating),
    of(VELMOR_WIDE("Span"), &Member::span, &Member::hasSpan, &Member::spanKind),
    of(VELMOR_WIDE("Slope"), &Member::slope, &Member::hasSlope, &Member::slopeKind),
    of(VELMOR_WIDE("IsExternal"), &Member::isExternal),
    of(VELMOR_WIDE("IsLoadBearing"), &Member::isLoadBearing),
};

using Railing = Velmor::IFC2X3_PSet_RailingCommon_s;
constexpr Field<Railing> railing[] = {
    of(VELMOR_WIDE("Reference"), &Railing::reference),
    of(VELMOR_WIDE("Height"), &Railing::height, &Railing::hasHeight),
    of(VELMOR_WIDE("Diameter"), &Railing::diameter, &Railing::hasDiameter),
    of(VELMOR_WIDE("IsExternal"), &Railing::isExternal),
};

using Ramp = Velmor::IFC2X3_PSet_RampCommon_s;
constexpr Field<Ramp> ramp[] = {
    of(VELMOR_WIDE("Reference"), &Ramp::reference),
    of(VELMOR_WIDE("FireRating"), &Ramp::fireRating),
    of(VELMOR_WIDE("Slope"), &Ramp::slope, &Ramp::hasSlope, &Ramp::slopeKind),
    of(VELMOR_WIDE("RequiredHeadroom"), &Ramp::requiredHeadroom, &Ramp::hasRequiredHeadroom),
    of(VELMOR_WIDE("HasNonSkidSurface"), &Ramp::hasNonSkidSurface, &Ramp::hasHasNonSkidSurface),
    of(VELMOR_WIDE("IsHandicapAccessible"), &Ramp::isHandicapAccessible),
    of(VELMOR_WIDE("IsExternal"), &Ramp::isExternal),
    of(VELMOR_WIDE("FireExit"), &Ramp::fireExit),
};

using Roof = Velmor::IFC2X3_PSet_RoofCommon_s;
constexpr Field<Roof> roof[] = {
    of(VELMOR_WIDE("Reference"), &Roof::reference),
    of(VELMOR_WIDE("FireRating"), &Roof::fireRating),
    of(VELMOR_WIDE("IsExternal"), &Roof::isExternal),
};

using Slab = Velmor::IFC2X3_PSet_SlabCommon_s;
constexpr Field<Slab> slab[] = {
    of(VELMOR_WIDE("Reference"), &Slab::reference),
    of(VELMOR_WIDE("AcousticRating"), &Slab::acousticRating),
    of(VELMOR_WIDE("FireRating"), &Slab::fireRating),
    of(VELMOR_WIDE("SurfaceSpreadOfFlame"), &Slab::surfaceSpreadOfFlame),
    of(VELMOR_WIDE("Compartmentation"), &Slab::compartmentation, &Slab::hasCompartmentation),
    of(VELMOR_WIDE("Combustible"), &Slab::combustible, &Slab::hasCombustible),
    of(VELMOR_WIDE("ThermalTransmittance"), &Slab::thermalTransmittance, &Slab::hasThermalTransmittance),
    of(VELMOR_WIDE("PitchAngle"), &Slab::pitchAngle, &Slab::hasPitchAngle),
    of(VELMOR_WIDE("IsExternal"), &Slab::isExternal),
    of(VELMOR_WIDE("IsLoadBearing"), &Slab::isLoadBearing),
};

using Stair = Velmor::IFC2X3_PSet_StairCommon_s;
constexpr Field<Stair> stair[] = {
    of(VELMOR_WIDE("Reference"), &Stair::reference),
    of(VELMOR_WIDE("FireRating"), &Stair::fireRating),
    of(VELMOR_WIDE("NumberOfRiser"), &Stair::numberOfRiser, &Stair::hasNumberOfRiser),
    of(VELMOR_WIDE("NumberOfTreads"), &Stair::numberOfTreads, &Stair::hasNumberOfTreads),
    of(VELMOR_WIDE("RiserHeight"), &Stair::riserHeight, &Stair::hasRiserHeight),
    of(VELMOR_WIDE("TreadLength"), &Stair::treadLength, &Stair::hasTreadLength),
    of(VELMOR_WIDE("RequiredHeadroom"), &Stair::requiredHeadroom, &Stair::hasRequiredHeadroom),
    of(VELMOR_WIDE("IsHandicapAccessible"), &Stair::isHandicapAccessible),
    of(VELMOR_WIDE("IsExternal"), &Stair::isExternal),
    of(VELMOR_WIDE("FireExit"), &Stair::fireExit),
    of(VELMOR_WIDE("HasNonSkidSurface"), &Stair::hasNonSkidSurface),
};

using Wall = Velmor::IFC2X3_PSet_WallCommon_s;
constexpr Field<Wall> wall[] = {
    of(VELMOR_WIDE("Reference"), &Wall::reference),
    of(VELMOR_WIDE("AcousticRating"), &Wall::acousticRating),
    of(VELMOR_WIDE("FireRating"), &Wall::fireRating),
    of(VELMOR_WIDE("SurfaceSpreadOfFlame"), &Wall::surfaceSpreadOfFlame),
    of(VELMOR_WIDE("ThermalTransmittance"), &Wall::thermalTransmittance, &Wall::hasThermalTransmittance),
    of(VELMOR_WIDE("Combustible"), &Wall::combustible, &Wall::hasCombustible),
    of(VELMOR_WIDE("ExtendToStructure"), &Wall::extendToStructure, &Wall::hasExtendToStructure),
    of(VELMOR_WIDE("Compartmentation"), &Wall::compartmentation, &Wall::hasCompartmentation),
};

using Window = Velmor::IFC2X3_PSet_WindowCommon_s;
constexpr Field<Window> window[] = {
    of(VELMOR_WIDE("Reference"), &Window::reference),
    of(VELMOR_WIDE("FireRating"), &Window::fireRating),
    of(VELMOR_WIDE("AcousticRating"), &Window::acousticRating),
    of(VELMOR_WIDE("SecurityRating"), &Window::securityRating),
    of(VELMOR_WIDE("Infiltration"), &Window::infiltration, &Window::hasInfiltration),
    of(VELMOR_WIDE("ThermalTransmittance"), &Window::thermalTransmittance, &Window::hasThermalTransmittance),
    of(VELMOR_WIDE("GlazingAreaFraction"), &Window::glazingAreaFraction, &Window::hasGlazingAreaFraction),
    of(VELMOR_WIDE("SmokeStop"), &Window::smokeStop, &Window::hasSmokeStop),
    of(VELMOR_WIDE("IsExternal"), &Window::isExternal),
};

/// The names that the standard gives to properties which the templates call otherwise.
struct Alias {
    WideView ofTemplate;
    WideView ofStandard;
};

constexpr Alias aliases[] = {{VELMOR_WIDE("IsLoadBearing"), VELMOR_WIDE("LoadBearing")},
                             {VELMOR_WIDE("IsHandicapAccessible"), VELMOR_WIDE("HandicapAccessible")}};

/// Place of the property of this name; the set's count when it has none.
unsigned placeOf(const IFC2X3PropertySet& properties, WideView name) {
    unsigned place = 0;
    while (place != properties.getCount() && properties.getProperty(place).getName() != name)
        ++place;
    return place;
}

/// Place of the property that the template calls so.
unsigned placeOfTemplates(const IFC2X3PropertySet& properties, WideView name) {
    const unsigned place = placeOf(properties, name);
    const auto* alias = std::find_if(std::begin(aliases), std::end(aliases),
                                     [name](const Alias& entry) { return entry.ofTemplate == name; });
    return place == properties.getCount() && alias != std::end(aliases) ? placeOf(properties, alias->ofStandard) : place;
}

bool isReal(Value::ValueType_t type) {
    return type == Value::Unspecified || (type >= Value::Real && type <= Value::PlaneAngle);
}

/// Fills one field. What does not fit it only marks it as set, so that the template keeps the property's place.
template <typename Set>
void fill(Set& set, const Field<Set>& field, const Value& value) {
    constexpr double degreesPerRadian = 180.0 / 3.141592653589793;
    const auto type = value.getValueType();
    if (field.has)
        set.*field.has = true;
    if (field.kind)
        set.*field.kind = type == Value::PlaneAngle ? MeasureKind::PlaneAngle : MeasureKind::Length;
    if (field.text && type == Value::String) {
        const auto& text = value.getAsString();
        text.copy(set.*field.text, std::min(text.size(), IFC2X3TextUnits - 1));
    } else if (field.flag && type == Value::Boolean) {
        set.*field.flag = value.getBooleanValue();
    } else if (field.integer && type == Value::Integer) {
        set.*field.integer = value.getIntValue();
    } else if (field.real && isReal(type)) {
        set.*field.real = value.getRealValue() * (field.kind && type == Value::PlaneAngle ? degreesPerRadian : 1.0);
    }
}

template <typename Set, std::size_t count>
Custom convert(const IFC2X3PropertySet& properties, const Field<Set> (&fields)[count]) {
    Set set{};
    for (const Field<Set>& field : fields) {
        const unsigned place = placeOfTemplates(properties, field.property);
        if (place != properties.getCount())
            fill(set, field, properties.getProperty(place).getPropertySingleValue());
    }
    return set;
}

struct CommonSet {
    WideView name;
    Custom (*convert)(const IFC2X3PropertySet& properties);
};

constexpr CommonSet commonSets[] = {
    {VELMOR_WIDE("Pset_BeamCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, beam); }},
    {VELMOR_WIDE("Pset_ColumnCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, column); }},
    {VELMOR_WIDE("Pset_CurtainWallCommon"),
     [](const IFC2X3PropertySet& properties) { return convert(properties, curtainWall); }},
    {VELMOR_WIDE("Pset_DoorCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, door); }},
    {VELMOR_WIDE("Pset_DoorWindowGlazingType"),
     [](const IFC2X3PropertySet& properties) { return convert(properties, glazing); }},
    {VELMOR_WIDE("Pset_DoorWindowShadingType"),
     [](const IFC2X3PropertySet& properties) { return convert(properties, shading); }},
    {VELMOR_WIDE("Pset_MemberCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, member); }},
    {VELMOR_WIDE("Pset_RailingCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, railing); }},
    {VELMOR_WIDE("Pset_RampCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, ramp); }},
    {VELMOR_WIDE("Pset_RoofCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, roof); }},
    {VELMOR_WIDE("Pset_SlabCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, slab); }},
    {VELMOR_WIDE("Pset_StairCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, stair); }},
    {VELMOR_WIDE("Pset_WallCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, wall); }},
    {VELMOR_WIDE("Pset_WindowCommon"), [](const IFC2X3PropertySet& properties) { return convert(properties, window); }},
};

const CommonSet* commonSetNamed(WideView name) {
    const auto* found = std::find_if(std::begin(commonSets), std::end(commonSets),
                                     [name](const CommonSet& common) { return common.name == name; });
    return found != std::end(commonSets) ? found : nullptr;
}

/// Whether the template's property says all that the file's says, name apart.
bool saysTheSame(const IFC2X3Property& own, const IFC2X3Property& converted) {
    if (own.getType() != IFC2X3Property::SingleValue || own.getDescription()[0] != 0)
        return false;
    const Value& a = own.getPropertySingleValue();
    const Value& b = converted.getPropertySingleValue();
    if (a.getValueType() != b.getValueType())
        return false;
    switch (a.getValueType()) {
    case Value::String:
        return a.getAsString() == b.getAsString();
    case Value::Boolean:
        return a.getBooleanValue() == b.getBooleanValue();
    case Value::Integer:
        return a.getIntValue() == b.getIntValue();
    default:
        return isReal(a.getValueType()) &&
               std::bit_cast<std::uint64_t>(a.getRealValue()) == std::bit_cast<std::uint64_t>(b.getRealValue());
    }
}

} // namespace

bool isCommonSet(const Custom& set) {
    return commonSetNamed(set.name) != nullptr;
}

Custom withTemplate(const Custom& set) {
    const IFC2X3PropertySet& own = set.properties;
    const Custom converted = commonSetNamed(set.name)->convert(own);
    Custom result{};
    std::copy(std::begin(set.globalId), std::end(set.globalId), result.globalId);
    std::copy(std::begin(converted.name), std::end(converted.name), result.name);
    std::copy(std::begin(set.description), std::end(set.description), result.description);
    std::vector<bool> taken(own.getCount());
    for (unsigned i = 0; i < converted.properties.getCount(); ++i) {
        const IFC2X3Property& property = converted.properties.getProperty(i);
        const unsigned place = placeOfTemplates(own, property.getName());
        const bool given = place != own.getCount();
        if (given)
            taken[place] = true;
        result.properties.addProperty(given && !saysTheSame(own.getProperty(place), property) ? own.getProperty(place)
                                                                                              : property);
    }
    for (unsigned place = 0; place < own.getCount(); ++place) {
        if (!taken[place])
            result.properties.addProperty(own.getProperty(place));
    }
    return result;
}

} // namespace importer::ifc
