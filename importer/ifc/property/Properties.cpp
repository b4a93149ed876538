#include "importer/ifc/property/Properties.h"

#include "importer/ifc/Units.h"
#include "importer/step/Text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_set>

namespace importer::ifc {

namespace {

using Velmor::IFC2X3PropertySet;
using Velmor::WideChar;
using Velmor::WideString;
using Single = Velmor::IFC2X3PropertySingleValue;

struct MeasureType {
    std::string_view name;
    Single::ValueType_t type;
};

/// How the defined types are carried. Numbers of all other types are reals of no known measure, and texts are texts.
constexpr MeasureType measureTypes[] = {
    {"IFCLABEL", Single::String},
    {"IFCTEXT", Single::String},
    {"IFCIDENTIFIER", Single::String},
    {"IFCBINARY", Single::String},
    {"IFCDATE", Single::String},
    {"IFCDATETIME", Single::String},
    {"IFCDESCRIPTIVEMEASURE", Single::String},
    {"IFCDURATION", Single::String},
    {"IFCTIME", Single::String},
    {"IFCURIREFERENCE", Single::String},
    {"IFCBOOLEAN", Single::Boolean},
    {"IFCLOGICAL", Single::Logical},
    {"IFCINTEGER", Single::Integer},
    {"IFCCOUNTMEASURE", Single::Integer},
    {"IFCINTEGERCOUNTRATEMEASURE", Single::Integer},
    {"IFCPOSITIVEINTEGER", Single::Integer},
    {"IFCTIMESTAMP", Single::Integer},
    {"IFCREAL", Single::Real},
    {"IFCNORMALISEDRATIOMEASURE", Single::Real},
    {"IFCNUMERICMEASURE", Single::Real},
    {"IFCPARAMETERVALUE", Single::Real},
    {"IFCPHMEASURE", Single::Real},
    {"IFCPOSITIVERATIOMEASURE", Single::Real},
    {"IFCRATIOMEASURE", Single::Real},
    {"IFCTHERMALTRANSMITTANCEMEASURE", Single::Real},
    {"IFCLENGTHMEASURE", Single::Length},
    {"IFCNONNEGATIVELENGTHMEASURE", Single::Length},
    {"IFCPOSITIVELENGTHMEASURE", Single::Length},
    {"IFCAREAMEASURE", Single::Area},
    {"IFCVOLUMEMEASURE", Single::Volume},
    {"IFCMASSMEASURE", Single::Mass},
    {"IFCPLANEANGLEMEASURE", Single::PlaneAngle},
    {"IFCPOSITIVEPLANEANGLEMEASURE", Single::PlaneAngle},
    {"IFCCOMPOUNDPLANEANGLEMEASURE", Single::CompoundPlaneAngle},
};

/// The value within a typed one, and how that type is carried.
Single::ValueType_t openTyped(const Record& record, Value& value) {
    if (value.kind != ValueKind::Typed)
        return Single::Unspecified;
    const std::string_view name = typeOf(value);
    const auto* found = std::find_if(std::begin(measureTypes), std::end(measureTypes),
                                     [name](const MeasureType& type) { return type.name == name; });
    ValueReader content(contentOf(value));
    Value more;
    if (!content.next(value) || content.next(more))
        record.fail("the value does not hold exactly one");
    return found != std::end(measureTypes) ? found->type : Single::Unspecified;
}

std::optional<Single::Logical_s> logicalOf(const Value& value) {
    if (value.kind != ValueKind::Enumeration)
        return std::nullopt;
    if (value.text == "T")
        return Single::LogicalTrue;
    if (value.text == "F")
        return Single::LogicalFalse;
    return value.text == "U" ? std::optional(Single::LogicalUnknown) : std::nullopt;
}

/// The number of a value that should be whole: "3." is.
std::optional<std::int64_t> wholeOf(const Value& value) {
    if (const auto integer = integerOf(value))
        return integer;
    constexpr double exact = 9007199254740992.0; // up to here every whole number is a double
    const std::optional<double> number = numberOf(value);
    return number && std::abs(*number) <= exact && *number == std::trunc(*number)
               ? std::optional(static_cast<std::int64_t>(*number))
               : std::nullopt;
}

/// Degrees, minutes, seconds, and perhaps millionths of a second.
bool readCompoundAngle(const Value& value, int (&components)[4]) {
    if (value.kind != ValueKind::List)
        return false;
    ValueReader list(value.text);
    std::size_t count = 0;
    for (Value component; list.next(component); ++count) {
        const std::optional<std::int64_t> integer = integerOf(component);
        if (!integer || *integer != static_cast<int>(*integer) || count == std::size(components))
            return false;
        components[count] = static_cast<int>(*integer);
    }
    return count >= 3;
}

void copyText(const WideString& from, WideChar (&to)[Velmor::IFC2X3TextUnits]) {
    const WideString text = from.c_str(); // up to its first NUL
    to[text.copy(to, std::size(to) - 1)] = 0;
}

} // namespace

void PropertyReader::read(const Instance& instance, NamedSet& result) {
    Velmor::IFC2X3_PSet_Custom_s& set = result.set;
    std::fill(std::begin(set.globalId), std::end(set.globalId), '0');
    context_.beginProduct();
    propertiesOfSet_ = 0;
    const Outcome outcome = context_.attempt(instance, [&] {
        const Record record(context_, instance);
        const WideString globalId = record.text(0, "its GlobalId");
        const auto isAscii = [](WideChar unit) { return unit > ' ' && unit <= '~'; };
        if (globalId.size() == std::size(set.globalId) && std::all_of(globalId.begin(), globalId.end(), isAscii))
            std::transform(globalId.begin(), globalId.end(), set.globalId,
                           [](WideChar unit) { return static_cast<char>(unit); });
        else
            context_.note(instance, "its GlobalId does not have 22 characters; 22 zeros are taken");
        result.name = record.text(2, "its name");
        copyText(result.name, set.name);
        copyText(record.text(3, "its description"), set.description);
        addProperties(record, 4, 0, set.properties);
    });
    if (outcome == Outcome::LimitExceeded)
        set.properties = IFC2X3PropertySet(); // Some of the properties would look like all of them.
}

void PropertyReader::addProperties(const Record& owner, std::size_t index, unsigned depth, IFC2X3PropertySet& set) {
    std::unordered_set<const Instance*> added;
    std::uint64_t again = 0;
    owner.forEachReference(owner.list(index), [&](const Instance& property) {
        if (!added.insert(&property).second) {
            ++again;
            return;
        }
        context_.attemptPart([&] { addProperty(property, depth, set); });
    });
    if (again != 0)
        context_.note(owner.instance(), "names properties again that it has already: " + std::to_string(again));
}

void PropertyReader::addProperty(const Instance& instance, unsigned depth, IFC2X3PropertySet& set) {
    // Each complex property that it lies within copies it again.
    constexpr std::uint64_t workPerProperty = 128;
    context_.charge(workPerProperty * (1 + depth));
    if (++propertiesOfSet_ > context_.limits.propertiesPerSet)
        throw LimitExceeded{"the set has more properties than one of a file of this size may have"};
    switch (entityOf(instance)) {
    case Entity::PropertySingleValue:
        addSingleValue(instance, set);
        break;
    case Entity::ComplexProperty:
        addComplex(instance, depth, set);
        break;
    case Entity::PropertyEnumeratedValue:
        remark(EnumeratedValue, instance);
        break;
    case Entity::PropertyListValue:
        remark(ListValue, instance);
        break;
    case Entity::PropertyBoundedValue:
        remark(BoundedValue, instance);
        break;
    case Entity::PropertyTableValue:
        remark(TableValue, instance);
        break;
    case Entity::PropertyReferenceValue:
        remark(ReferenceValue, instance);
        break;
    default:
        throw EntityError{&instance, "is no property"};
    }
}

void PropertyReader::addComplex(const Instance& instance, unsigned depth, IFC2X3PropertySet& set) {
    constexpr std::size_t deepest = 16;
    const RecursionGuard nesting(context_, instance, deepest);
    const Record record(context_, instance);
    IFC2X3PropertySet nested;
    addProperties(record, 3, depth + 1, nested);
    set.addProperty(Velmor::createPropertyComplex(record.text(0, "its name"), record.text(1, "its description"),
                                                  record.text(2, "its usage name"), nested));
}

void PropertyReader::addSingleValue(const Instance& instance, IFC2X3PropertySet& set) {
    const Record record(context_, instance);
    const WideString nameText = record.text(0, "its name");
    const WideString descriptionText = record.text(1, "its description");
    const WideChar* const name = nameText.c_str();
    const WideChar* const description = descriptionText.c_str();
    const auto addText = [&](const WideString& text) {
        set.addProperty(Velmor::createPropertySingleValueString(name, description, text));
    };
    const auto addReal = [&](Single::ValueType_t type, double value) {
        set.addProperty(Velmor::createPropertySingleValueReal(name, description, type, value));
    };
    const auto addInteger = [&](std::int64_t value) {
        const auto narrow = static_cast<std::int32_t>(value);
        set.addProperty(narrow == value
                            ? Velmor::createPropertySingleValueInteger(name, description, Single::Integer, narrow)
                            : Velmor::createPropertySingleValueInteger64(name, description, Single::Integer64, value));
    };

    Value value = record[2];
    if (value.kind == ValueKind::Omitted) {
        remark(NoValue, instance);
        return addText({});
    }
    const Single::ValueType_t type = openTyped(record, value);
    const std::optional<double> number = numberOf(value);
    if (number && record.given(3) && type != Single::PlaneAngle)
        remark(OwnUnit, instance);
    switch (type) {
    case Single::Boolean:
    case Single::Logical:
        if (const auto logical = logicalOf(value)) {
            const bool boolean = type == Single::Boolean && *logical != Single::LogicalUnknown;
            set.addProperty(
                boolean ? Velmor::createPropertySingleValueBoolean(name, description, *logical == Single::LogicalTrue)
                        : Velmor::createPropertySingleValueLogical(name, description, *logical));
            return;
        }
        break;
    case Single::Integer:
        if (const auto whole = wholeOf(value))
            return addInteger(*whole);
        if (number)
            return addReal(Single::Real, *number);
        break;
    case Single::CompoundPlaneAngle: {
        int components[4] = {0, 0, 0, 0};
        if (readCompoundAngle(value, components)) {
            set.addProperty(Velmor::createPropertySingleValueCompoundPlaneAngle(name, description, components));
            return;
        }
        break;
    }
    case Single::String:
    case Single::Unspecified:
        if (value.kind == ValueKind::Text || value.kind == ValueKind::Binary)
            return addText(decodeText(value.text));
        if (number && type == Single::Unspecified)
            return addReal(type, *number);
        if (value.kind == ValueKind::List && type == Single::Unspecified)
            return remark(OtherValue, instance);
        break;
    default:
        if (number)
            return addReal(type, type == Single::PlaneAngle ? inRadians(record, *number) : *number);
        break;
    }
    record.fail("its value is not one of its type");
}

/// An angle in the property's own unit, or else in the model's.
double PropertyReader::inRadians(const Record& record, double value) {
    const Instance* unit = record.optionalReference(3);
    const double radians = value * (unit ? readUnit(context_, *unit, "PLANEANGLEUNIT") : context_.angleUnit);
    if (!std::isfinite(radians))
        record.fail("its angle is out of range");
    return radians;
}

void PropertyReader::remark(Remark remark, const Instance& instance) {
    Count& count = counts_[remark];
    if (count.properties++ == 0)
        count.first = &instance;
}

std::vector<Problem> PropertyReader::remarks() const {
    static constexpr const char* texts[remarkKinds] = {
        "IFCPROPERTYENUMERATEDVALUE: properties of this kind are not carried",
        "IFCPROPERTYLISTVALUE: properties of this kind are not carried",
        "IFCPROPERTYBOUNDEDVALUE: properties of this kind are not carried",
        "IFCPROPERTYTABLEVALUE: properties of this kind are not carried",
        "IFCPROPERTYREFERENCEVALUE: properties of this kind are not carried",
        "IFCPROPERTYSINGLEVALUE: values that are lists are not carried",
        "IFCPROPERTYSINGLEVALUE: values that are omitted are carried as empty texts",
        "IFCPROPERTYSINGLEVALUE: units of single values are not carried",
    };
    std::vector<Problem> problems;
    for (std::size_t i = 0; i < remarkKinds; ++i) {
        if (const Instance* first = counts_[i].first)
            problems.push_back({context_.file.lineAt(first->offset), first->number,
                                std::string(texts[i]) + ": " + std::to_string(counts_[i].properties)});
    }
    return problems;
}

} // namespace importer::ifc
