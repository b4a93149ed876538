#include "importer/ifc/Units.h"

#include "importer/step/Text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

namespace importer::ifc {

namespace {

struct Prefix {
    std::string_view name;
    double factor;
};

constexpr Prefix prefixes[] = {{"EXA", 1e18},  {"PETA", 1e15},  {"TERA", 1e12},   {"GIGA", 1e9},
                               {"MEGA", 1e6},  {"KILO", 1e3},   {"HECTO", 1e2},   {"DECA", 1e1},
                               {"DECI", 1e-1}, {"CENTI", 1e-2}, {"MILLI", 1e-3},  {"MICRO", 1e-6},
                               {"NANO", 1e-9}, {"PICO", 1e-12}, {"FEMTO", 1e-15}, {"ATTO", 1e-18}};

/// A unit in terms of metre or radian.
double readUnit(IfcContext& context, const Instance& instance) {
    const RecursionGuard nesting(context, instance);
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::SIUnit: {
        if (!record.given(2))
            return 1.0;
        const std::string_view name = record.enumeration(2);
        const auto* found = std::find_if(std::begin(prefixes), std::end(prefixes),
                                         [name](const Prefix& prefix) { return prefix.name == name; });
        if (found == std::end(prefixes))
            record.fail("no SI prefix: " + std::string(name.substr(0, 20)));
        return found->factor;
    }
    case Entity::ConversionBasedUnit: {
        const Record measure(context, record.reference(3));
        const double factor = measure.positive(0) * readUnit(context, measure.reference(1));
        if (!(factor > 0.0) || !std::isfinite(factor))
            measure.fail("the factor of the unit is out of range");
        return factor;
    }
    default:
        record.fail("this kind of unit is not supported");
    }
}

/// The list of units: the project's, or the first one there is.
const Instance* findAssignment(IfcContext& context) {
    const Instance* assignment = nullptr;
    for (const Instance& instance : context.file.instances()) {
        if (entityOf(instance) == Entity::Project) {
            const Record project(context, instance);
            if (project.given(8))
                return &project.reference(8);
        }
        if (entityOf(instance) == Entity::UnitAssignment && !assignment)
            assignment = &instance;
    }
    return assignment;
}

} // namespace

Velmor::WideString nameOfUnit(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    switch (record.entity()) {
    case Entity::SIUnit: {
        std::string name(record.given(2) ? record.enumeration(2) : std::string_view());
        name += record.enumeration(3);
        return decodeText(name);
    }
    case Entity::ConversionBasedUnit:
        return record.text(2, "its name");
    default:
        record.fail("this kind of unit is not supported");
    }
}

double readUnit(IfcContext& context, const Instance& instance, std::string_view kind) {
    if (entityOf(instance) == Entity::SIUnit || entityOf(instance) == Entity::ConversionBasedUnit) {
        const Record record(context, instance);
        if (record.enumeration(1) != kind)
            record.fail("is not of the expected kind: " + std::string(kind));
    }
    return readUnit(context, instance);
}

void readUnits(IfcContext& context) {
    const Instance* assignment = nullptr;
    bool lengthGiven = false;
    context.attemptPart([&] { assignment = findAssignment(context); });
    context.attemptPart([&] {
        if (!assignment)
            return;
        const Record units(context, *assignment);
        ValueReader list = units.list(0);
        for (Value value; list.next(value);) {
            context.attemptPart([&] {
                const Instance& unit = units.resolve(value);
                if (entityOf(unit) != Entity::SIUnit && entityOf(unit) != Entity::ConversionBasedUnit)
                    return;
                const std::string_view kind = Record(context, unit).enumeration(1);
                if (kind == "LENGTHUNIT") {
                    context.lengthUnit = readUnit(context, unit);
                    lengthGiven = true;
                } else if (kind == "PLANEANGLEUNIT") {
                    context.angleUnit = readUnit(context, unit);
                }
            });
        }
    });
    if (!lengthGiven)
        context.note(assignment ? *assignment : wholeModel, "no unit of length can be had; metre is taken");
}

} // namespace importer::ifc
