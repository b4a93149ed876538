#include <Velmor/Velmor.h>

#include <cstdio>

using namespace Velmor;
using Value = IFC2X3PropertySingleValue;

static void print(const Value& value) {
    // Call the getter of the value's type. Every other getter returns a neutral value, and breaks into a debugger.
    switch (value.getValueType()) {
    case Value::String:
        std::puts(StringOperations::ConvertToUTF8(value.getAsString()).c_str());
        break;
    case Value::Boolean:
        std::puts(value.getBooleanValue() ? "true" : "false");
        break;
    case Value::Logical: {
        const Value::Logical_s logical = value.getLogicalValue();
        std::puts(logical == Value::LogicalTrue ? "true" : logical == Value::LogicalFalse ? "false" : "unknown");
        break;
    }
    case Value::Integer:
        std::printf("%d\n", value.getIntValue());
        break;
    case Value::Integer64:
        std::printf("%lld\n", static_cast<long long>(value.getInt64Value()));
        break;
    case Value::CompoundPlaneAngle: {
        const int* const angle = value.getCompoundPlaneAngle();
        std::printf("%d %d %d %d\n", angle[0], angle[1], angle[2], angle[3]);
        break;
    }
    default: // a real number of some measure
        std::printf("%g\n", value.getRealValue());
    }
}

static void print(const IFC2X3PropertySet& set, int indent) {
    for (unsigned i = 0; i < set.getCount(); ++i) {
        const IFC2X3Property& property = set.getProperty(i);
        std::printf("%*s%s: ", indent, "", StringOperations::ConvertToUTF8(property.getName()).c_str());
        if (property.getType() == IFC2X3Property::Complex) {
            std::puts("");
            print(property.getPropertyComplex().getPropertySet(), indent + 2);
        } else {
            print(property.getPropertySingleValue());
        }
    }
}

int main() {
    // A complex property holds a set of its own. Both sets keep copies of what is added.
    IFC2X3PropertySet layers;
    layers.addProperty(createPropertySingleValueReal(VELMOR_WIDE("Zinc"), VELMOR_WIDE(""), Value::Length, 0.08));
    layers.addProperty(createPropertySingleValueReal(VELMOR_WIDE("Paint"), VELMOR_WIDE(""), Value::Length, 0.16));
    IFC2X3PropertySet set;
    set.addProperty(createPropertySingleValueString(VELMOR_WIDE("Supplier"), VELMOR_WIDE(""), VELMOR_WIDE("Steel & Co")));
    set.addProperty(createPropertySingleValueInteger(VELMOR_WIDE("Bolts"), VELMOR_WIDE(""), Value::Integer, 12));
    set.addProperty(createPropertyComplex(VELMOR_WIDE("Coating"), VELMOR_WIDE(""), VELMOR_WIDE("Layers"), layers));

    char className[64];
    ReferenceObjectClass::asString(AttributeClassIFC_e::IFCBEAM, className, sizeof className);
    std::puts(className);
    print(set, 2);
}
