#include "ifc/PropertySetTemplates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <ostream>
#include <type_traits>
#include <utility>

namespace velmor_tests {
namespace {

template <class Declared>
constexpr bool isOfKind(FieldKind kind) {
    switch (kind) {
    case FieldKind::Text:
        return std::is_same_v<Declared, Velmor::WideChar[256]>;
    case FieldKind::Real:
        return std::is_same_v<Declared, double>;
    case FieldKind::Integer:
        return std::is_same_v<Declared, std::int32_t>;
    case FieldKind::Flag:
    case FieldKind::SetFlag:
        return std::is_same_v<Declared, bool>;
    case FieldKind::Kind:
        return std::is_same_v<Declared, Velmor::MeasureKind>;
    }
    return false;
}

template <class Declared>
Template templateOf(const char* name, const char* setName, std::size_t size, std::vector<Field> fields,
                    std::vector<Row> rows) {
    const auto convert = [](const void* structure) -> Velmor::IFC2X3_PSet_Custom_s {
        return *static_cast<const Declared*>(structure);
    };
    return {name, setName, size, sizeof(Declared), std::move(fields), std::move(rows), convert};
}

#define VELMOR_FIELD(offset, kind, member)                                                                                  \
    { offset, FieldKind::kind, #member, offsetof(Declared, member), isOfKind<decltype(Declared::member)>(FieldKind::kind) }

// clang-format off

Template beamCommon() {
    using Declared = Velmor::IFC2X3_PSet_BeamCommon_s;
    return templateOf<Declared>("BeamCommon", "Pset_BeamCommon", 1056,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Real, span),
            VELMOR_FIELD(520, Real, slope),
            VELMOR_FIELD(528, Text, fireRating),
            VELMOR_FIELD(1040, Flag, isExternal),
            VELMOR_FIELD(1041, Flag, isLoadBearing),
            VELMOR_FIELD(1044, Kind, spanKind),
            VELMOR_FIELD(1048, Kind, slopeKind),
            VELMOR_FIELD(1052, SetFlag, hasSpan),
            VELMOR_FIELD(1053, SetFlag, hasSlope),
        },
        {
            {"Reference", String, "reference"},
            {"Span", ByKind, "span", "hasSpan", "spanKind"},
            {"Slope", ByKind, "slope", "hasSlope", "slopeKind"},
            {"FireRating", String, "fireRating"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

Template columnCommon() {
    using Declared = Velmor::IFC2X3_PSet_ColumnCommon_s;
    return templateOf<Declared>("ColumnCommon", "Pset_ColumnCommon", 1048,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Real, slope),
            VELMOR_FIELD(1032, Flag, isExternal),
            VELMOR_FIELD(1033, Flag, isLoadBearing),
            VELMOR_FIELD(1036, Kind, slopeKind),
            VELMOR_FIELD(1040, SetFlag, hasSlope),
        },
        {
            {"Reference", String, "reference"},
            {"Slope", ByKind, "slope", "hasSlope", "slopeKind"},
            {"FireRating", String, "fireRating"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

Template curtainWallCommon() {
    using Declared = Velmor::IFC2X3_PSet_CurtainWallCommon_s;
    return templateOf<Declared>("CurtainWallCommon", "Pset_IFC2X3_PSet_CurtainWallCommon", 2064,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, unusedText),
            VELMOR_FIELD(1024, Text, fireRating),
            VELMOR_FIELD(1536, Text, surfaceSpreadOfFlame),
            VELMOR_FIELD(2048, Real, thermalTransmittance),
            VELMOR_FIELD(2056, Flag, combustible),
            VELMOR_FIELD(2057, Flag, isExternal),
            VELMOR_FIELD(2058, SetFlag, hasThermalTransmittance),
            VELMOR_FIELD(2059, SetFlag, hasCombustible),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"SurfaceSpreadOfFlame", String, "surfaceSpreadOfFlame"},
            {"ThermalTransmittance", Number, "thermalTransmittance", "hasThermalTransmittance"},
            {"Combustible", Boolean, "combustible", "hasCombustible"},
            {"IsExternal", Boolean, "isExternal"},
        });
}

Template doorCommon() {
    using Declared = Velmor::IFC2X3_PSet_DoorCommon_s;
    return templateOf<Declared>("DoorCommon", "Pset_DoorCommon", 2088,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Text, acousticRating),
            VELMOR_FIELD(1536, Text, securityRating),
            VELMOR_FIELD(2048, Real, infiltration),
            VELMOR_FIELD(2056, Real, thermalTransmittance),
            VELMOR_FIELD(2064, Real, glazingAreaFraction),
            VELMOR_FIELD(2072, Flag, handicapAccessible),
            VELMOR_FIELD(2073, Flag, fireExit),
            VELMOR_FIELD(2074, Flag, selfClosing),
            VELMOR_FIELD(2075, Flag, smokeStop),
            VELMOR_FIELD(2076, Flag, isExternal),
            VELMOR_FIELD(2077, SetFlag, hasInfiltration),
            VELMOR_FIELD(2078, SetFlag, hasThermalTransmittance),
            VELMOR_FIELD(2079, SetFlag, hasGlazingAreaFraction),
            VELMOR_FIELD(2080, SetFlag, hasHandicapAccessible),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"AcousticRating", String, "acousticRating"},
            {"SecurityRating", String, "securityRating"},
            {"Infiltration", Number, "infiltration", "hasInfiltration"},
            {"ThermalTransmittance", Number, "thermalTransmittance", "hasThermalTransmittance"},
            {"GlazingAreaFraction", Number, "glazingAreaFraction", "hasGlazingAreaFraction"},
            {"HandicapAccessible", Boolean, "handicapAccessible", "hasHandicapAccessible"},
            {"FireExit", Boolean, "isExternal"},
            {"SelfClosing", Boolean, "selfClosing"},
            {"SmokeStop", Boolean, "smokeStop"},
            {"IsExternal", Boolean, "isExternal"},
        });
}

Template doorWindowGlazingType() {
    using Declared = Velmor::IFC2X3_PSet_DoorWindowGlazingType_s;
    return templateOf<Declared>("DoorWindowGlazingType", "Pset_DoorWindowGlazingType", 1128,
        {
            VELMOR_FIELD(0, Text, fillGas),
            VELMOR_FIELD(512, Text, glassColor),
            VELMOR_FIELD(1024, Real, glassThickness1),
            VELMOR_FIELD(1032, Real, glassThickness2),
            VELMOR_FIELD(1040, Real, glassThickness3),
            VELMOR_FIELD(1048, Flag, isTempered),
            VELMOR_FIELD(1049, Flag, isLaminated),
            VELMOR_FIELD(1050, Flag, isCoated),
            VELMOR_FIELD(1051, Flag, isWired),
            VELMOR_FIELD(1056, Real, translucency),
            VELMOR_FIELD(1064, Real, reflectivity),
            VELMOR_FIELD(1072, Real, beamRadiationTransmittance),
            VELMOR_FIELD(1080, Real, solarHeatGainTransmittance),
            VELMOR_FIELD(1088, Real, thermalTransmittanceSummer),
            VELMOR_FIELD(1096, Real, thermalTransmittanceWinter),
            VELMOR_FIELD(1104, Integer, glassLayers),
            VELMOR_FIELD(1108, SetFlag, hasGlassThickness1),
            VELMOR_FIELD(1109, SetFlag, hasGlassThickness2),
            VELMOR_FIELD(1110, SetFlag, hasGlassThickness3),
            VELMOR_FIELD(1111, SetFlag, hasIsTempered),
            VELMOR_FIELD(1112, SetFlag, hasIsLaminated),
            VELMOR_FIELD(1113, SetFlag, hasIsCoated),
            VELMOR_FIELD(1114, SetFlag, hasIsWired),
            VELMOR_FIELD(1115, SetFlag, hasTranslucency),
            VELMOR_FIELD(1116, SetFlag, hasReflectivity),
            VELMOR_FIELD(1117, SetFlag, hasBeamRadiationTransmittance),
            VELMOR_FIELD(1118, SetFlag, hasSolarHeatGainTransmittance),
            VELMOR_FIELD(1119, SetFlag, hasThermalTransmittanceSummer),
            VELMOR_FIELD(1120, SetFlag, hasThermalTransmittanceWinter),
        },
        {
            {"FillGas", String, "fillGas"},
            {"GlassColor", String, "glassColor"},
            {"GlassThickness1", Length, "glassThickness1", "hasGlassThickness1"},
            {"GlassThickness2", Length, "glassThickness2", "hasGlassThickness2"},
            {"GlassThickness3", Length, "glassThickness3", "hasGlassThickness3"},
            {"IsTempered", Boolean, "isTempered", "hasIsTempered"},
            {"IsLaminated", Boolean, "isLaminated", "hasIsLaminated"},
            {"IsCoated", Boolean, "isCoated", "hasIsCoated"},
            {"IsWired", Boolean, "isWired", "hasIsWired"},
            {"Translucency", Number, "translucency", "hasTranslucency"},
            {"Reflectivity", Number, "reflectivity", "hasReflectivity"},
            {"BeamRadiationTransmittance", Number, "beamRadiationTransmittance", "hasBeamRadiationTransmittance"},
            {"SolarHeatGainTransmittance", Number, "solarHeatGainTransmittance", "hasSolarHeatGainTransmittance"},
            {"ThermalTransmittanceSummer", Number, "thermalTransmittanceSummer", "hasThermalTransmittanceSummer"},
            {"ThermalTransmittanceWinter", Number, "thermalTransmittanceWinter", "hasThermalTransmittanceWinter"},
            {"GlassLayers", Integer, "glassLayers"},
        });
}

Template doorWindowShadingType() {
    using Declared = Velmor::IFC2X3_PSet_DoorWindowShadingType_s;
    return templateOf<Declared>("DoorWindowShadingType", "Pset_DoorWindowShadingType", 32,
        {
            VELMOR_FIELD(0, Real, externalShadingCoefficient),
            VELMOR_FIELD(8, Real, internalShadingCoefficient),
            VELMOR_FIELD(16, Real, insetShadingCoefficient),
            VELMOR_FIELD(24, SetFlag, hasExternalShadingCoefficient),
            VELMOR_FIELD(25, SetFlag, hasInternalShadingCoefficient),
            VELMOR_FIELD(26, SetFlag, hasInsetShadingCoefficient),
        },
        {
            {"ExternalShadingCoefficient", Number, "externalShadingCoefficient", "hasExternalShadingCoefficient"},
            {"InternalShadingCoefficient", Number, "internalShadingCoefficient", "hasInternalShadingCoefficient"},
            {"InsetShadingCoefficient", Number, "insetShadingCoefficient", "hasInsetShadingCoefficient"},
        });
}

Template memberCommon() {
    using Declared = Velmor::IFC2X3_PSet_MemberCommon_s;
    return templateOf<Declared>("MemberCommon", "Pset_MemberCommon", 1056,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Real, span),
            VELMOR_FIELD(1032, Real, slope),
            VELMOR_FIELD(1040, Flag, isExternal),
            VELMOR_FIELD(1041, Flag, isLoadBearing),
            VELMOR_FIELD(1042, SetFlag, hasSpan),
            VELMOR_FIELD(1043, SetFlag, hasSlope),
            VELMOR_FIELD(1044, Kind, spanKind),
            VELMOR_FIELD(1048, Kind, slopeKind),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"Span", ByKind, "span", "hasSpan", "spanKind"},
            {"Slope", ByKind, "slope", "hasSlope", "slopeKind"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

Template railingCommon() {
    using Declared = Velmor::IFC2X3_PSet_RailingCommon_s;
    return templateOf<Declared>("RailingCommon", "Pset_RailingCommon", 536,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Real, height),
            VELMOR_FIELD(520, Real, diameter),
            VELMOR_FIELD(528, Flag, isExternal),
            VELMOR_FIELD(529, SetFlag, hasHeight),
            VELMOR_FIELD(530, SetFlag, hasDiameter),
        },
        {
            {"Reference", String, "reference"},
            {"Height", Length, "height", "hasHeight"},
            {"Diameter", Length, "diameter", "hasDiameter"},
            {"IsExternal", Boolean, "isExternal"},
        });
}

Template rampCommon() {
    using Declared = Velmor::IFC2X3_PSet_RampCommon_s;
    return templateOf<Declared>("RampCommon", "Pset_RampCommon", 1056,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Real, slope),
            VELMOR_FIELD(1032, Real, requiredHeadroom),
            VELMOR_FIELD(1040, Flag, hasNonSkidSurface),
            VELMOR_FIELD(1041, Flag, isHandicapAccessible),
            VELMOR_FIELD(1042, Flag, isExternal),
            VELMOR_FIELD(1043, Flag, fireExit),
            VELMOR_FIELD(1044, SetFlag, hasHasNonSkidSurface),
            VELMOR_FIELD(1045, SetFlag, hasRequiredHeadroom),
            VELMOR_FIELD(1046, SetFlag, hasSlope),
            VELMOR_FIELD(1048, Kind, slopeKind),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"Slope", ByKind, "slope", "hasSlope", "slopeKind"},
            {"RequiredHeadroom", Length, "requiredHeadroom", "hasRequiredHeadroom"},
            {"HasNonSkidSurface", Boolean, "hasNonSkidSurface", "hasHasNonSkidSurface"},
            {"IsHandicapAccessible", Boolean, "isHandicapAccessible"},
            {"IsExternal", Boolean, "isExternal"},
            {"FireExit", Boolean, "fireExit"},
        });
}

Template roofCommon() {
    using Declared = Velmor::IFC2X3_PSet_RoofCommon_s;
    return templateOf<Declared>("RoofCommon", "Pset_RoofCommon", 1026,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Flag, isExternal),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"IsExternal", Boolean, "isExternal"},
        });
}

Template slabCommon() {
    using Declared = Velmor::IFC2X3_PSet_SlabCommon_s;
    return templateOf<Declared>("SlabCommon", "Pset_SlabCommon", 2080,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, acousticRating),
            VELMOR_FIELD(1024, Text, fireRating),
            VELMOR_FIELD(1536, Text, surfaceSpreadOfFlame),
            VELMOR_FIELD(2048, Flag, compartmentation),
            VELMOR_FIELD(2049, Flag, combustible),
            VELMOR_FIELD(2056, Real, thermalTransmittance),
            VELMOR_FIELD(2064, Real, pitchAngle),
            VELMOR_FIELD(2072, Flag, isExternal),
            VELMOR_FIELD(2073, Flag, isLoadBearing),
            VELMOR_FIELD(2074, SetFlag, hasCompartmentation),
            VELMOR_FIELD(2075, SetFlag, hasCombustible),
            VELMOR_FIELD(2076, SetFlag, hasThermalTransmittance),
            VELMOR_FIELD(2077, SetFlag, hasPitchAngle),
        },
        {
            {"Reference", String, "reference"},
            {"AcousticRating", String, "acousticRating"},
            {"SurfaceSpreadOfFlame", String, "surfaceSpreadOfFlame"},
            {"FireRating", String, "fireRating"},
            {"Compartmentation", Boolean, "compartmentation", "hasCompartmentation"},
            {"Combustible", Boolean, "combustible", "hasCombustible"},
            {"ThermalTransmittance", Number, "thermalTransmittance", "hasThermalTransmittance"},
            {"PitchAngle", Angle, "pitchAngle", "hasPitchAngle"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

Template stairCommon() {
    using Declared = Velmor::IFC2X3_PSet_StairCommon_s;
    return templateOf<Declared>("StairCommon", "Pset_StairCommon", 1072,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Integer, numberOfRiser),
            VELMOR_FIELD(1028, Integer, numberOfTreads),
            VELMOR_FIELD(1032, Real, riserHeight),
            VELMOR_FIELD(1040, Real, treadLength),
            VELMOR_FIELD(1048, Real, requiredHeadroom),
            VELMOR_FIELD(1056, Flag, isHandicapAccessible),
            VELMOR_FIELD(1057, Flag, isExternal),
            VELMOR_FIELD(1058, Flag, fireExit),
            VELMOR_FIELD(1059, Flag, hasNonSkidSurface),
            VELMOR_FIELD(1060, SetFlag, hasNumberOfRiser),
            VELMOR_FIELD(1061, SetFlag, hasNumberOfTreads),
            VELMOR_FIELD(1062, SetFlag, hasRiserHeight),
            VELMOR_FIELD(1063, SetFlag, hasTreadLength),
            VELMOR_FIELD(1064, SetFlag, hasRequiredHeadroom),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"NumberOfRiser", Integer, "numberOfRiser", "hasNumberOfRiser"},
            {"NumberOfTreads", Integer, "numberOfTreads", "hasNumberOfTreads"},
            {"RiserHeight", Length, "riserHeight", "hasRiserHeight"},
            {"TreadLength", Length, "treadLength", "hasTreadLength"},
            {"RequiredHeadroom", Length, "requiredHeadroom", "hasRequiredHeadroom"},
            {"IsHandicapAccessible", Boolean, "isHandicapAccessible"},
            {"IsExternal", Boolean, "isExternal"},
            {"FireExit", Boolean, "fireExit"},
            {"HasNonSkidSurface", Boolean, "hasNonSkidSurface"},
        });
}

Template wallCommon() {
    using Declared = Velmor::IFC2X3_PSet_WallCommon_s;
    return templateOf<Declared>("WallCommon", "Pset_WallCommon", 2072,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, acousticRating),
            VELMOR_FIELD(1024, Text, fireRating),
            VELMOR_FIELD(1536, Text, surfaceSpreadOfFlame),
            VELMOR_FIELD(2048, Real, thermalTransmittance),
            VELMOR_FIELD(2056, Flag, combustible),
            VELMOR_FIELD(2057, Flag, extendToStructure),
            VELMOR_FIELD(2058, Flag, compartmentation),
            VELMOR_FIELD(2059, Flag, unusedFlag1),
            VELMOR_FIELD(2060, Flag, unusedFlag2),
            VELMOR_FIELD(2061, SetFlag, hasThermalTransmittance),
            VELMOR_FIELD(2062, SetFlag, hasCombustible),
            VELMOR_FIELD(2063, SetFlag, hasExtendToStructure),
            VELMOR_FIELD(2064, SetFlag, hasCompartmentation),
        },
        {
            {"Reference", String, "reference"},
            {"AcousticRating", String, "acousticRating"},
            {"FireRating", String, "fireRating"},
            {"SurfaceSpreadOfFlame", String, "surfaceSpreadOfFlame"},
            {"ThermalTransmittance", Number, "thermalTransmittance", "hasThermalTransmittance"},
            {"Combustible", Boolean, "combustible", "hasCombustible"},
            {"ExtendToStructure", Boolean, "extendToStructure", "hasExtendToStructure"},
            {"Compartmentation", Boolean, "compartmentation", "hasCompartmentation"},
        });
}

Template windowCommon() {
    using Declared = Velmor::IFC2X3_PSet_WindowCommon_s;
    return templateOf<Declared>("WindowCommon", "Pset_WindowCommon", 2080,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Text, acousticRating),
            VELMOR_FIELD(1536, Text, securityRating),
            VELMOR_FIELD(2048, Real, infiltration),
            VELMOR_FIELD(2056, Real, thermalTransmittance),
            VELMOR_FIELD(2064, Real, glazingAreaFraction),
            VELMOR_FIELD(2072, Flag, smokeStop),
            VELMOR_FIELD(2073, Flag, isExternal),
            VELMOR_FIELD(2074, SetFlag, hasInfiltration),
            VELMOR_FIELD(2075, SetFlag, hasThermalTransmittance),
            VELMOR_FIELD(2076, SetFlag, hasGlazingAreaFraction),
            VELMOR_FIELD(2077, SetFlag, hasSmokeStop),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"AcousticRating", String, "acousticRating"},
            {"SecurityRating", String, "securityRating"},
            {"Infiltration", Number, "infiltration", "hasInfiltration"},
            {"ThermalTransmittance", Number, "thermalTransmittance", "hasThermalTransmittance"},
            {"GlazingAreaFraction", Number, "glazingAreaFraction", "hasGlazingAreaFraction"},
            {"SmokeStop", Boolean, "smokeStop", "hasSmokeStop"},
            {"IsExternal", Boolean, "isExternal"},
        });
}
// clang-format on

template <class Value>
Value valueAt(const unsigned char* bytes, const Field& field) {
    Value value;
    std::memcpy(&value, bytes + field.offset, sizeof value);
    return value;
}

template <class Value>
void setValueAt(unsigned char* bytes, const Field& field, Value value) {
    std::memcpy(bytes + field.offset, &value, sizeof value);
}

std::string narrow(const Velmor::WideString& text) {
    std::string result;
    for (const Velmor::WideChar unit : text)
        result += unit < 128 ? static_cast<char>(unit) : '?';
    return result;
}

double radians(double degrees) {
    const volatile double halfTurns = degrees / 180.0;
    return halfTurns * 3.141592653589793;
}

} // namespace

const Field& Template::field(const std::string& fieldName) const {
    for (const Field& field : fields)
        if (field.name == fieldName)
            return field;
    ADD_FAILURE() << name << " has no field " << fieldName;
    std::abort();
}

std::vector<Field> Template::fieldsOf(FieldKind kind) const {
    std::vector<Field> result;
    std::copy_if(fields.begin(), fields.end(), std::back_inserter(result), [&](const Field& f) { return f.kind == kind; });
    return result;
}

void PrintTo(const Template& kind, std::ostream* out) {
    *out << kind.name;
}

const std::vector<Template>& templates() {
    static const std::vector<Template> all = {beamCommon(),
                                              columnCommon(),
                                              curtainWallCommon(),
                                              doorCommon(),
                                              doorWindowGlazingType(),
                                              doorWindowShadingType(),
                                              memberCommon(),
                                              railingCommon(),
                                              rampCommon(),
                                              roofCommon(),
                                              slabCommon(),
                                              stairCommon(),
                                              wallCommon(),
                                              windowCommon()};
    return all;
}

const Template& templateNamed(const std::string& name) {
    for (const Template& candidate : templates())
        if (candidate.name == name)
            return candidate;
    ADD_FAILURE() << "no structure " << name;
    std::abort();
}

std::vector<Template> templatesWith(FieldKind kind) {
    std::vector<Template> result;
    for (const Template& candidate : templates())
        if (!candidate.fieldsOf(kind).empty())
            result.push_back(candidate);
    return result;
}

void PrintTo(const Property& property, std::ostream* out) {
    *out << property.name << " of type " << property.type << ": ";
    switch (property.type) {
    case String:
        *out << '"' << narrow(property.text) << "\" of " << property.text.size() << " units";
        break;
    case Boolean:
        *out << (property.boolean ? "true" : "false");
        break;
    case Integer:
        *out << property.integer;
        break;
    default:
        *out << std::bit_cast<double>(property.real) << " (0x" << std::hex << property.real << std::dec << ')';
    }
}

Structure::Structure(const Template& kind) : kind_(&kind), bytes_(new unsigned char[kind.size]) {
    std::memset(bytes_.get(), 0xCD, kind.size);
    for (const Field& field : kind.fields)
        switch (field.kind) {
        case FieldKind::Text:
            std::memset(bytes_.get() + field.offset, 0, 512);
            break;
        case FieldKind::Real:
            setReal(field, 0);
            break;
        case FieldKind::Integer:
        case FieldKind::Kind:
            setInteger(field, 0);
            break;
        case FieldKind::Flag:
        case FieldKind::SetFlag:
            setFlag(field, false);
        }
}

void Structure::setText(const Field& field, const Velmor::WideString& text) {
    Velmor::WideChar units[256];
    std::fill_n(units, 256, VELMOR_WIDE('~'));
    const std::size_t length = std::min<std::size_t>(text.size(), 256);
    std::copy_n(text.begin(), length, units);
    if (length < 256)
        units[length] = 0;
    std::memcpy(bytes_.get() + field.offset, units, sizeof units);
}

void Structure::setReal(const Field& field, double value) {
    setValueAt(bytes_.get(), field, value);
}

void Structure::setInteger(const Field& field, std::int32_t value) {
    setValueAt(bytes_.get(), field, value);
}

void Structure::setFlag(const Field& field, bool value) {
    setValueAt(bytes_.get(), field, value);
}

void Structure::setFlags(FieldKind kind, bool value) {
    for (const Field& field : kind_->fieldsOf(kind))
        setFlag(field, value);
}

void Structure::fill() {
    int number = 0;
    for (const Field& field : kind_->fields) {
        ++number;
        switch (field.kind) {
        case FieldKind::Text:
            setText(field, wide("what the field " + field.name + " holds, too long for a short text"));
            break;
        case FieldKind::Real:
            setReal(field, number + 0.125);
            break;
        case FieldKind::Integer:
            setInteger(field, 1000 + number);
            break;
        case FieldKind::Kind:
            setInteger(field, 1);
            break;
        case FieldKind::Flag:
        case FieldKind::SetFlag:
            setFlag(field, true);
        }
    }
}

double Structure::real(const Field& field) const {
    return valueAt<double>(bytes_.get(), field);
}

std::int32_t Structure::integer(const Field& field) const {
    return valueAt<std::int32_t>(bytes_.get(), field);
}

bool Structure::flag(const Field& field) const {
    return valueAt<bool>(bytes_.get(), field);
}

Velmor::WideString Structure::text(const Field& field) const {
    Velmor::WideChar units[256];
    std::memcpy(units, bytes_.get() + field.offset, sizeof units);
    return Velmor::WideString(units, std::find(units, units + 256, Velmor::WideChar(0)));
}

std::vector<Property> Structure::expected() const {
    std::vector<Property> properties;
    for (const Row& row : kind_->rows) {
        if (!row.setFlag.empty() && !flag(kind_->field(row.setFlag)))
            continue;
        const Field& from = kind_->field(row.from);
        Property property{row.property, row.type};
        if (row.type == ByKind) {
            const std::int32_t measure = integer(kind_->field(row.kind));
            if (measure != 1 && measure != 2)
                continue;
            const double value = real(from);
            property.type = measure == 1 ? Length : Angle;
            property.real = std::bit_cast<std::uint64_t>(measure == 1 ? value : radians(value));
        } else if (row.type == String)
            property.text = text(from);
        else if (row.type == Boolean)
            property.boolean = flag(from);
        else if (row.type == Integer)
            property.integer = integer(from);
        else
            property.real = valueAt<std::uint64_t>(bytes_.get(), from);
        properties.push_back(property);
    }
    return properties;
}

Velmor::IFC2X3_PSet_Custom_s Structure::convert() const {
    const std::vector<unsigned char> before(bytes_.get(), bytes_.get() + kind_->size);
    Velmor::IFC2X3_PSet_Custom_s record = kind_->convert(bytes_.get());
    EXPECT_EQ(std::memcmp(bytes_.get(), before.data(), kind_->size), 0) << "the structure was changed";
    return record;
}

std::vector<Property> propertiesOf(const Velmor::IFC2X3PropertySet& set) {
    std::vector<Property> properties;
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const Velmor::IFC2X3Property& property = set.getProperty(i);
        const Velmor::IFC2X3PropertySingleValue& value = property.getPropertySingleValue();
        Property found{narrow(property.getName()), value.getValueType()};
        SCOPED_TRACE(found.name);
        EXPECT_EQ(static_cast<std::uint32_t>(property.getType()), 1u);
        EXPECT_EQ(property.getDescription()[0], 0);
        switch (found.type) {
        case String:
            found.text = value.getAsString();
            EXPECT_EQ(Velmor::WideString(value.getStringValue()), found.text);
            break;
        case Boolean:
            found.boolean = value.getBooleanValue();
            break;
        case Integer:
            found.integer = value.getIntValue();
            break;
        default:
            found.real = std::bit_cast<std::uint64_t>(value.getRealValue());
        }
        properties.push_back(found);
    }
    return properties;
}

std::vector<std::string> namesOf(const Velmor::IFC2X3_PSet_Custom_s& record) {
    std::vector<std::string> names;
    for (const Property& property : propertiesOf(record.properties))
        names.push_back(property.name);
    return names;
}

void expectRecord(const Velmor::IFC2X3_PSet_Custom_s& record, const std::string& setName,
                  const std::vector<Property>& properties) {
    EXPECT_EQ(std::string(record.globalId, sizeof record.globalId), "0000000000000000000000");
    Velmor::WideString name = wide(setName);
    name.resize(256);
    EXPECT_TRUE(std::equal(name.begin(), name.end(), record.name)) << "the set is named " << narrow(record.name);
    EXPECT_TRUE(std::all_of(record.description, record.description + 256, [](Velmor::WideChar unit) { return unit == 0; }));
    EXPECT_EQ(propertiesOf(record.properties), properties);
}

void expectConversion(const Template& kind, const Structure& structure) {
    expectRecord(structure.convert(), kind.setName, structure.expected());
}

Velmor::WideString wide(const std::string& text) {
    return Velmor::WideString(text.begin(), text.end());
}

} // namespace velmor_tests
