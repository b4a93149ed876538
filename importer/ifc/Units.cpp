// A unit is an SI unit, whose size is its prefix, or a conversion-based unit, whose size is a factor times another unit: a
// foot of 12 inches of 25.4 millimeters. Chains of conversions are followed recursively.

#include "importer/ifc/Units.h"

#include "importer/ifc/Attributes.h"
#include "importer/step/Text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

namespace importer::ifc {

using namespace attribute;

namespace {

struct Prefix {
    std::string_view name;
    double factor;
};

constexpr Prefix prefixes[] = {{"EXA", 1e18},  {"PETA", 1e15},  {"TERA", 1e12},   {"GIGA", 1e9},
                               {"MEGA", 1e6},  {"KILO", 1e3},   {"HECTO", 1e2},   {"DECA", 1e1},
                               {"DECI", 1e-1}, {"CENTI", 1e-2}, {"MILLI", 1e-3},  {"MICRO", 1e-6},
                               {"NANO", 1e-9}, {"PICO", 1e-12}, {"FEMTO", 1e-15}, {"ATTO", 1e-18}};

bool isSupported(const Instance& unit) {
    return entityOf(unit) == Entity::SIUnit || entityOf(unit) == Entity::ConversionBasedUnit;
}

double prefixFactor(const Record& unit) {
    if (!unit.given(IfcSIUnit::Prefix))
        return 1.0;
    const std::string_view name = unit.enumeration(IfcSIUnit::Prefix);
    const Prefix* const found =
        std::find_if(std::begin(prefixes), std::end(prefixes), [name](const Prefix& prefix) { return prefix.name == name; });
    if (found == std::end(prefixes))
        unit.fail("unknown SI prefix: " + std::string(name.substr(0, 20)));
    return found->factor;
}

/// The size of a unit of any type, in SI units without prefix.
double readSize(IfcContext& context, const Instance& instance) {
    const RecursionGuard guard(context, instance);
    const Record record(context, instance);
    if (!isSupported(instance))
        record.fail("this kind of unit is not supported");
    if (record.entity() == Entity::SIUnit)
        return prefixFactor(record);
    using namespace IfcMeasureWithUnit;
    const Record measure(context, record.reference(IfcConversionBasedUnit::ConversionFactor));
    const double size = measure.positive(ValueComponent) * readSize(context, measure.reference(UnitComponent));
    if (!(size > 0.0) || !std::isfinite(size))
        measure.fail("the factor of the unit is out of range");
    return size;
}

/// The list of units of the project; otherwise the first list of units of the file; null if there is none.
const Instance* findAssignment(IfcContext& context) {
    const Instance* assignment = nullptr;
    for (const Instance& instance : context.file.instances()) {
        if (entityOf(instance) == Entity::Project) {
            const Record project(context, instance);
            if (project.given(IfcProject::UnitsInContext))
                return &project.reference(IfcProject::UnitsInContext);
        }
        if (entityOf(instance) == Entity::UnitAssignment && !assignment)
            assignment = &instance;
    }
    return assignment;
}

/// @return whether the unit is one of length.
bool applyUnit(IfcContext& context, const Instance& unit) {
    if (!isSupported(unit))
        return false;
    const std::string_view type = Record(context, unit).enumeration(IfcNamedUnit::UnitType);
    if (type == "LENGTHUNIT")
        context.lengthUnit = readSize(context, unit);
    else if (type == "PLANEANGLEUNIT")
        context.angleUnit = readSize(context, unit);
    return type == "LENGTHUNIT";
}

} // namespace

Velmor::WideString nameOfUnit(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::SIUnit: {
        std::string name;
        if (record.given(IfcSIUnit::Prefix))
            name = record.enumeration(IfcSIUnit::Prefix);
        name += record.enumeration(IfcSIUnit::Name);
        return decodeText(name);
    }
    case Entity::ConversionBasedUnit:
        return record.text(IfcConversionBasedUnit::Name, "its name");
    default:
        record.fail("this kind of unit is not supported");
    }
}

double readUnit(IfcContext& context, const Instance& instance, std::string_view type) {
    if (isSupported(instance)) {
        const Record record(context, instance);
        if (record.enumeration(IfcNamedUnit::UnitType) != type)
            record.fail("is not a unit of the expected type " + std::string(type));
    }
    return readSize(context, instance);
}

void readUnits(IfcContext& context) {
    const Instance* assignment = nullptr;
    bool hasLength = false;
    context.attemptPart([&] { assignment = findAssignment(context); });
    context.attemptPart([&] {
        if (!assignment)
            return;
        const Record record(context, *assignment);
        ValueReader units = record.list(IfcUnitAssignment::Units);
        for (Value unit; units.next(unit);)
            context.attemptPart([&] { hasLength |= applyUnit(context, record.resolve(unit)); });
    });
    if (!hasLength)
        context.note(assignment ? *assignment : wholeModel, "no usable length unit is defined; meters are assumed");
}

} // namespace importer::ifc
