#include <Velmor/Velmor.h>

#include <algorithm>
#include <cstdio>

using namespace Velmor;
using Value = IFC2X3PropertySingleValue;

// Copies a text into a field of a template: at most 255 units and a NUL.
static void fill(WideChar (&field)[IFC2X3TextUnits], const WideString& text) {
    field[text.copy(field, IFC2X3TextUnits - 1)] = 0;
}

int main() {
    // 1. Fill the template. The empty braces set every field and every set flag to zero.
    IFC2X3_PSet_BeamCommon_s beam{};
    fill(beam.reference, VELMOR_WIDE("B-300"));
    fill(beam.fireRating, VELMOR_WIDE("R60"));
    beam.hasSpan = true;
    beam.spanKind = MeasureKind::Length;
    beam.span = 6.0;
    beam.hasSlope = true;
    beam.slopeKind = MeasureKind::PlaneAngle; // in degrees; the property is in radians
    beam.slope = 45.0;
    beam.isLoadBearing = true;

    // 2. Convert it. The result has the name of the set and a GlobalId of 22 zeros.
    IFC2X3_PSet_Custom_s set = beam;
    std::copy_n("0Workshop0Pset0000B300", sizeof set.globalId, set.globalId);

    // 3. Add what the template lacks.
    set.properties.addProperty(createPropertySingleValueReal(VELMOR_WIDE("Roll"), VELMOR_WIDE(""), Value::PlaneAngle, 0.25));

    std::puts(StringOperations::ConvertToUTF8(set.name).c_str());
    for (unsigned i = 0; i < set.properties.getCount(); ++i) {
        const IFC2X3Property& property = set.properties.getProperty(i);
        const Value& value = property.getPropertySingleValue();
        std::printf("  %s: ", StringOperations::ConvertToUTF8(property.getName()).c_str());
        if (value.getValueType() == Value::String)
            std::puts(StringOperations::ConvertToUTF8(value.getAsString()).c_str());
        else if (value.getValueType() == Value::Boolean)
            std::puts(value.getBooleanValue() ? "true" : "false");
        else
            std::printf("%g\n", value.getRealValue());
    }
}
