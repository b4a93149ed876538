// Reading a set. Its properties are added in the order of the file, with the values of the file. The type of a value in the
// file determines its value type in the library (`measureTypes`). Only plane angles are converted, to radians. A property
// with an error is skipped. Properties of kinds for which the library has no type are counted, and reported once for each
// kind.
//
// A property may be in any number of sets and complex properties, and is read again for each of them. Nested
// complex properties multiply the number of properties. Therefore the nesting depth, the properties per set, and the work of
// all sets are limited.

#include "importer/ifc/property/Properties.h"

#include "importer/ifc/Attributes.h"
#include "importer/ifc/Units.h"
#include "importer/step/Text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_set>

namespace importer::ifc {

using namespace attribute;

namespace {

using Velmor::IFC2X3PropertySet;
using Velmor::WideChar;
using Velmor::WideString;
using Single = Velmor::IFC2X3PropertySingleValue;

struct MeasureType {
    std::string_view name;
    Single::ValueType_t type;
};

/// The value types of the defined types. Other types become `Unspecified` for numbers, and `String` for texts.
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

/// Replaces a typed value by the value in it.
/// @return the value type of the type.
Single::ValueType_t openTyped(const Record& record, Value& value) {
    if (value.kind != ValueKind::Typed)
        return Single::Unspecified;
    const std::string_view name = typeOf(value);
    const auto* found = std::find_if(std::begin(measureTypes), std::end(measureTypes),
                                     [name](const MeasureType& type) { return type.name == name; });
    ValueReader content(contentOf(value));
    Value more;
    if (!content.next(value) || content.next(more))
        record.fail("its typed value does not contain exactly one value");
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

/// The whole number of a value; "3." is one too.
std::optional<std::int64_t> wholeNumberOf(const Value& value) {
    if (const std::optional<std::int64_t> integer = integerOf(value))
        return integer;
    constexpr double maxExact = 9007199254740992.0; // 2^53: up to here a double represents every whole number
    const std::optional<double> number = numberOf(value);
    return number && std::abs(*number) <= maxExact && *number == std::trunc(*number)
               ? std::optional(static_cast<std::int64_t>(*number))
               : std::nullopt;
}

/// Reads degrees, minutes, seconds and, if given, millionths of a second.
/// @return false if the value is not such a list.
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

/// Copies a text up to its first NUL, and cuts it to the capacity of the array.
void copyText(const WideString& from, WideChar (&to)[Velmor::IFC2X3TextUnits]) {
    const WideString text = from.c_str();
    to[text.copy(to, std::size(to) - 1)] = 0;
}

/// Adds a single value to a set. The functions that take a value return false if the value does not match the value type.
class SingleValue {
public:
    SingleValue(const Record& record, IFC2X3PropertySet& set)
        : name_(record.text(IfcPropertySingleValue::Name, "its name")),
          description_(record.text(IfcPropertySingleValue::Specification, "its description")), set_(set) {}

    void addText(const WideString& text) {
        set_.addProperty(Velmor::createPropertySingleValueString(name_.c_str(), description_.c_str(), text));
    }

    bool addText(const Value& value) {
        if (value.kind != ValueKind::Text && value.kind != ValueKind::Binary)
            return false;
        addText(decodeText(value.text));
        return true;
    }

    bool addReal(Single::ValueType_t type, const std::optional<double>& number) {
        if (number)
            set_.addProperty(Velmor::createPropertySingleValueReal(name_.c_str(), description_.c_str(), type, *number));
        return number.has_value();
    }

    /// A whole number becomes an integer of 32 bits if it fits, otherwise one of 64 bits; another number a real.
    bool addInteger(const Value& value) {
        const std::optional<std::int64_t> whole = wholeNumberOf(value);
        if (!whole)
            return addReal(Single::Real, numberOf(value));
        const auto narrow = static_cast<std::int32_t>(*whole);
        set_.addProperty(narrow == *whole ? Velmor::createPropertySingleValueInteger(name_.c_str(), description_.c_str(),
                                                                                     Single::Integer, narrow)
                                          : Velmor::createPropertySingleValueInteger64(name_.c_str(), description_.c_str(),
                                                                                       Single::Integer64, *whole));
        return true;
    }

    /// An unknown boolean becomes a logical.
    bool addLogical(Single::ValueType_t type, const Value& value) {
        const std::optional<Single::Logical_s> logical = logicalOf(value);
        if (!logical)
            return false;
        const bool isBoolean = type == Single::Boolean && *logical != Single::LogicalUnknown;
        set_.addProperty(isBoolean
                             ? Velmor::createPropertySingleValueBoolean(name_.c_str(), description_.c_str(),
                                                                        *logical == Single::LogicalTrue)
                             : Velmor::createPropertySingleValueLogical(name_.c_str(), description_.c_str(), *logical));
        return true;
    }

    bool addCompoundAngle(const Value& value) {
        int components[4] = {0, 0, 0, 0};
        if (!readCompoundAngle(value, components))
            return false;
        set_.addProperty(
            Velmor::createPropertySingleValueCompoundPlaneAngle(name_.c_str(), description_.c_str(), components));
        return true;
    }

private:
    const WideString name_;
    const WideString description_;
    IFC2X3PropertySet& set_;
};

} // namespace

void PropertyReader::read(const Instance& instance, NamedSet& result) {
    Velmor::IFC2X3_PSet_Custom_s& set = result.set;
    std::fill(std::begin(set.globalId), std::end(set.globalId), '0');
    context_.beginObject();
    propertiesOfSet_ = 0;
    const Outcome outcome = context_.attempt(instance, [&] {
        const Record record(context_, instance);
        readGlobalId(record, set);
        result.name = record.text(IfcPropertySet::Name, "its name");
        copyText(result.name, set.name);
        copyText(record.text(IfcPropertySet::Description, "its description"), set.description);
        addProperties(record, IfcPropertySet::HasProperties, 0, set.properties);
    });
    if (outcome == Outcome::LimitExceeded)
        set.properties = IFC2X3PropertySet(); // An incomplete set would look like a complete one.
}

void PropertyReader::readGlobalId(const Record& record, Velmor::IFC2X3_PSet_Custom_s& set) {
    const WideString globalId = record.text(IfcPropertySet::GlobalId, "its GlobalId");
    const auto isAscii = [](WideChar unit) { return unit > ' ' && unit <= '~'; };
    if (globalId.size() == std::size(set.globalId) && std::all_of(globalId.begin(), globalId.end(), isAscii))
        std::transform(globalId.begin(), globalId.end(), set.globalId,
                       [](WideChar unit) { return static_cast<char>(unit); });
    else
        context_.note(record.instance(), "its GlobalId does not have 22 characters; 22 zeros are used instead");
}

void PropertyReader::addProperties(const Record& owner, std::size_t index, unsigned depth, IFC2X3PropertySet& set) {
    std::unordered_set<const Instance*> added;
    std::uint64_t repeated = 0;
    owner.forEachReference(owner.list(index), [&](const Instance& property) {
        if (added.insert(&property).second)
            context_.attemptPart([&] { addProperty(property, depth, set); });
        else
            ++repeated;
    });
    if (repeated != 0)
        context_.note(owner.instance(),
                      "refers to properties more than once; repetitions ignored: " + std::to_string(repeated));
}

void PropertyReader::addProperty(const Instance& instance, unsigned depth, IFC2X3PropertySet& set) {
    // Adding a complex property to its set copies all properties within it: each level is one more copy.
    constexpr std::uint64_t workPerProperty = 128;
    context_.charge(workPerProperty * (1 + depth));
    if (++propertiesOfSet_ > context_.limits.propertiesPerSet)
        throw LimitExceeded{"the set has more properties than the limit for a file of this size"};
    switch (entityOf(instance)) {
    case Entity::PropertySingleValue:
        return addSingleValue(instance, set);
    case Entity::ComplexProperty:
        return addComplex(instance, depth, set);
    case Entity::PropertyEnumeratedValue:
        return remark(EnumeratedValue, instance);
    case Entity::PropertyListValue:
        return remark(ListValue, instance);
    case Entity::PropertyBoundedValue:
        return remark(BoundedValue, instance);
    case Entity::PropertyTableValue:
        return remark(TableValue, instance);
    case Entity::PropertyReferenceValue:
        return remark(ReferenceValue, instance);
    default:
        throw EntityError{&instance, "is not a property"};
    }
}

void PropertyReader::addComplex(const Instance& instance, unsigned depth, IFC2X3PropertySet& set) {
    using namespace IfcComplexProperty;
    constexpr std::size_t maxDepth = 16;
    const RecursionGuard guard(context_, instance, maxDepth);
    const Record record(context_, instance);
    IFC2X3PropertySet nested;
    addProperties(record, HasProperties, depth + 1, nested);
    set.addProperty(Velmor::createPropertyComplex(record.text(Name, "its name"),
                                                  record.text(Specification, "its description"),
                                                  record.text(UsageName, "its usage name"), nested));
}

void PropertyReader::addSingleValue(const Instance& instance, IFC2X3PropertySet& set) {
    const Record record(context_, instance);
    SingleValue property(record, set);
    Value value = record[IfcPropertySingleValue::NominalValue];
    if (value.kind == ValueKind::Omitted) {
        remark(NoValue, instance);
        return property.addText(WideString());
    }
    const Single::ValueType_t type = openTyped(record, value);
    const std::optional<double> number = numberOf(value);
    if (number && record.given(IfcPropertySingleValue::Unit) && type != Single::PlaneAngle)
        remark(OwnUnit, instance);
    if (type == Single::Unspecified && value.kind == ValueKind::List)
        return remark(ValueList, instance);
    const auto isAdded = [&] {
        switch (type) {
        case Single::Boolean:
        case Single::Logical:
            return property.addLogical(type, value);
        case Single::Integer:
            return property.addInteger(value);
        case Single::CompoundPlaneAngle:
            return property.addCompoundAngle(value);
        case Single::String:
            return property.addText(value);
        case Single::Unspecified:
            return property.addText(value) || property.addReal(type, number);
        case Single::PlaneAngle:
            return property.addReal(type, number ? std::optional(inRadians(record, *number)) : number);
        default:
            return property.addReal(type, number);
        }
    };
    if (!isAdded())
        record.fail("its value does not match its type");
}

/// Converts an angle from the unit of the property, or else from that of the model.
double PropertyReader::inRadians(const Record& record, double value) {
    const Instance* unit = record.optionalReference(IfcPropertySingleValue::Unit);
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
        "IFCPROPERTYENUMERATEDVALUE: properties of this kind are not imported",
        "IFCPROPERTYLISTVALUE: properties of this kind are not imported",
        "IFCPROPERTYBOUNDEDVALUE: properties of this kind are not imported",
        "IFCPROPERTYTABLEVALUE: properties of this kind are not imported",
        "IFCPROPERTYREFERENCEVALUE: properties of this kind are not imported",
        "IFCPROPERTYSINGLEVALUE: values that are lists are not imported",
        "IFCPROPERTYSINGLEVALUE: omitted values are imported as empty texts",
        "IFCPROPERTYSINGLEVALUE: properties with a unit of their own are imported without the unit",
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
