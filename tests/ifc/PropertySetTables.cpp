#include "ifc/PropertySetTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
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
    case FieldKind::Measure:
        return std::is_same_v<Declared, Velmor::MeasureKind>;
    }
    return false;
}

template <class Declared>
SetTable tableOf(const char* name, const char* setName, std::size_t size, std::vector<Field> fields, std::vector<Row> rows) {
    const auto convert = [](const void* structure) -> Velmor::IFC2X3_PSet_Custom_s {
        return *static_cast<const Declared*>(structure);
    };
    return {name, setName, size, sizeof(Declared), std::move(fields), std::move(rows), convert};
}

#define VELMOR_FIELD(offset, kind, member)                                                                                  \
    { offset, FieldKind::kind, #member, offsetof(Declared, member), isOfKind<decltype(Declared::member)>(FieldKind::kind) }

// clang-format off

SetTable beamCommon() {
    using Declared = Velmor::IFC2X3_PSet_BeamCommon_s;
    return tableOf<Declared>("BeamCommon", "Pset_BeamCommon", 1056,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Real, span),
            VELMOR_FIELD(520, Real, slope),
            VELMOR_FIELD(528, Text, fireRating),
            VELMOR_FIELD(1040, Flag, isExternal),
            VELMOR_FIELD(1041, Flag, isLoadBearing),
            VELMOR_FIELD(1044, Measure, spanKind),
            VELMOR_FIELD(1048, Measure, slopeKind),
            VELMOR_FIELD(1052, SetFlag, hasSpan),
            VELMOR_FIELD(1053, SetFlag, hasSlope),
        },
        {
            {"Reference", String, "reference"},
            {"Span", ByMeasure, "span", "hasSpan", "spanKind"},
            {"Slope", ByMeasure, "slope", "hasSlope", "slopeKind"},
            {"FireRating", String, "fireRating"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

SetTable columnCommon() {
    using Declared = Velmor::IFC2X3_PSet_ColumnCommon_s;
    return tableOf<Declared>("ColumnCommon", "Pset_ColumnCommon", 1048,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Real, slope),
            VELMOR_FIELD(1032, Flag, isExternal),
            VELMOR_FIELD(1033, Flag, isLoadBearing),
            VELMOR_FIELD(1036, Measure, slopeKind),
            VELMOR_FIELD(1040, SetFlag, hasSlope),
        },
        {
            {"Reference", String, "reference"},
            {"Slope", ByMeasure, "slope", "hasSlope", "slopeKind"},
            {"FireRating", String, "fireRating"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

SetTable curtainWallCommon() {
    using Declared = Velmor::IFC2X3_PSet_CurtainWallCommon_s;
    return tableOf<Declared>("CurtainWallCommon", "Pset_IFC2X3_PSet_CurtainWallCommon", 2064,
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

SetTable doorCommon() {
    using Declared = Velmor::IFC2X3_PSet_DoorCommon_s;
    return tableOf<Declared>("DoorCommon", "Pset_DoorCommon", 2088,
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

SetTable doorWindowGlazingType() {
    using Declared = Velmor::IFC2X3_PSet_DoorWindowGlazingType_s;
    return tableOf<Declared>("DoorWindowGlazingType", "Pset_DoorWindowGlazingType", 1128,
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

SetTable doorWindowShadingType() {
    using Declared = Velmor::IFC2X3_PSet_DoorWindowShadingType_s;
    return tableOf<Declared>("DoorWindowShadingType", "Pset_DoorWindowShadingType", 32,
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

SetTable memberCommon() {
    using Declared = Velmor::IFC2X3_PSet_MemberCommon_s;
    return tableOf<Declared>("MemberCommon", "Pset_MemberCommon", 1056,
        {
            VELMOR_FIELD(0, Text, reference),
            VELMOR_FIELD(512, Text, fireRating),
            VELMOR_FIELD(1024, Real, span),
            VELMOR_FIELD(1032, Real, slope),
            VELMOR_FIELD(1040, Flag, isExternal),
            VELMOR_FIELD(1041, Flag, isLoadBearing),
            VELMOR_FIELD(1042, SetFlag, hasSpan),
            VELMOR_FIELD(1043, SetFlag, hasSlope),
            VELMOR_FIELD(1044, Measure, spanKind),
            VELMOR_FIELD(1048, Measure, slopeKind),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"Span", ByMeasure, "span", "hasSpan", "spanKind"},
            {"Slope", ByMeasure, "slope", "hasSlope", "slopeKind"},
            {"IsExternal", Boolean, "isExternal"},
            {"IsLoadBearing", Boolean, "isLoadBearing"},
        });
}

SetTable railingCommon() {
    using Declared = Velmor::IFC2X3_PSet_RailingCommon_s;
    return tableOf<Declared>("RailingCommon", "Pset_RailingCommon", 536,
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

SetTable rampCommon() {
    using Declared = Velmor::IFC2X3_PSet_RampCommon_s;
    return tableOf<Declared>("RampCommon", "Pset_RampCommon", 1056,
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
            VELMOR_FIELD(1048, Measure, slopeKind),
        },
        {
            {"Reference", String, "reference"},
            {"FireRating", String, "fireRating"},
            {"Slope", ByMeasure, "slope", "hasSlope", "slopeKind"},
            {"RequiredHeadroom", Length, "requiredHeadroom", "hasRequiredHeadroom"},
            {"HasNonSkidSurface", Boolean, "hasNonSkidSurface", "hasHasNonSkidSurface"},
            {"IsHandicapAccessible", Boolean, "isHandicapAccessible"},
            {"IsExternal", Boolean, "isExternal"},
            {"FireExit", Boolean, "fireExit"},
        });
}

SetTable roofCommon() {
    using Declared = Velmor::IFC2X3_PSet_RoofCommon_s;
    return tableOf<Declared>("RoofCommon", "Pset_RoofCommon", 1026,
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

SetTable slabCommon() {
    using Declared = Velmor::IFC2X3_PSet_SlabCommon_s;
    return tableOf<Declared>("SlabCommon", "Pset_SlabCommon", 2080,
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

SetTable stairCommon() {
    using Declared = Velmor::IFC2X3_PSet_StairCommon_s;
    return tableOf<Declared>("StairCommon", "Pset_StairCommon", 1072,
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

SetTable wallCommon() {
    using Declared = Velmor::IFC2X3_PSet_WallCommon_s;
    return tableOf<Declared>("WallCommon", "Pset_WallCommon", 2072,
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

SetTable windowCommon() {
    using Declared = Velmor::IFC2X3_PSet_WindowCommon_s;
    return tableOf<Declared>("WindowCommon", "Pset_WindowCommon", 2080,
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

} // namespace

const Field& SetTable::field(const std::string& fieldName) const {
    for (const Field& field : fields)
        if (field.name == fieldName)
            return field;
    ADD_FAILURE() << name << " has no field " << fieldName;
    std::abort();
}

std::vector<Field> SetTable::fieldsOf(FieldKind kind) const {
    std::vector<Field> result;
    std::copy_if(fields.begin(), fields.end(), std::back_inserter(result), [&](const Field& f) { return f.kind == kind; });
    return result;
}

void PrintTo(const SetTable& table, std::ostream* out) {
    *out << table.name;
}

const std::vector<SetTable>& setTables() {
    static const std::vector<SetTable> all = {beamCommon(),
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

const SetTable& setTableOf(const std::string& name) {
    for (const SetTable& candidate : setTables())
        if (candidate.name == name)
            return candidate;
    ADD_FAILURE() << "no structure " << name;
    std::abort();
}

std::vector<SetTable> setTablesWith(FieldKind kind) {
    std::vector<SetTable> result;
    for (const SetTable& candidate : setTables())
        if (!candidate.fieldsOf(kind).empty())
            result.push_back(candidate);
    return result;
}

} // namespace velmor_tests
