// Property sets, conversions of common property sets, and class names. The peer of a property set is a vector of plain
// structures with the same data. The peer of copying one property is a copy of the same bytes with one allocation, which is
// a lower bound for any copy.

#include <Velmor/Velmor.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace {

using namespace Velmor;
using Value = IFC2X3PropertySingleValue;

/// A property without a fixed layout, as an application would define it.
struct PlainProperty {
    std::u16string name;
    std::u16string description;
    std::uint32_t valueType = 0;
    bool boolean = false;
    std::uint32_t logical = 2;
    std::int32_t integer = 0;
    double real = 0.0;
    std::int64_t integer64 = 0;
    std::u16string string;
    std::array<int, 4> compoundPlaneAngle{};
};

constexpr std::size_t count = 50;

/// A text in the types of the library and of the plain structures.
struct Text {
    const WideChar* wide;
    const char16_t* plain;
};

#define VELMOR_TEXT(literal)                                                                                                \
    { VELMOR_WIDE(literal), u##literal }

const Text names[] = {
    VELMOR_TEXT("Reference"),   VELMOR_TEXT("FireRating"), VELMOR_TEXT("ThermalTransmittance"), VELMOR_TEXT("IsExternal"),
    VELMOR_TEXT("Span"),        VELMOR_TEXT("Slope"),      VELMOR_TEXT("SurfaceSpreadOfFlame"), VELMOR_TEXT("NumberOfRiser"),
    VELMOR_TEXT("LoadBearing"), VELMOR_TEXT("Layer")};
const Text texts[] = {VELMOR_TEXT("W-240"), VELMOR_TEXT("F90-AB"),
                      VELMOR_TEXT("Basic wall, exterior, brick on block, 365 mm"), VELMOR_TEXT("Level 2")};

#undef VELMOR_TEXT

/// The value types in the proportion of typical models: mostly texts, then numbers and booleans.
Value::ValueType_t typeOf(std::size_t i) {
    static constexpr Value::ValueType_t types[] = {Value::String,  Value::String, Value::Real,   Value::Boolean,
                                                   Value::Length,  Value::Length, Value::String, Value::Integer,
                                                   Value::Boolean, Value::String};
    return types[i % std::size(types)];
}

IFC2X3Property property(std::size_t i) {
    const auto* const name = names[i % std::size(names)].wide;
    const auto* const noDescription = VELMOR_WIDE("");
    switch (typeOf(i)) {
    case Value::String:
        return createPropertySingleValueString(name, noDescription, texts[i % std::size(texts)].wide);
    case Value::Boolean:
        return createPropertySingleValueBoolean(name, noDescription, i % 2 == 0);
    case Value::Integer:
        return createPropertySingleValueInteger(name, noDescription, Value::Integer, static_cast<std::int32_t>(i));
    default:
        return createPropertySingleValueReal(name, noDescription, typeOf(i), static_cast<double>(i) * 0.25);
    }
}

PlainProperty plainProperty(std::size_t i) {
    PlainProperty property;
    property.name = names[i % std::size(names)].plain;
    property.valueType = typeOf(i);
    switch (typeOf(i)) {
    case Value::String:
        property.string = texts[i % std::size(texts)].plain;
        break;
    case Value::Boolean:
        property.boolean = i % 2 == 0;
        break;
    case Value::Integer:
        property.integer = static_cast<std::int32_t>(i);
        break;
    default:
        property.real = static_cast<double>(i) * 0.25;
    }
    return property;
}

IFC2X3PropertySet buildSet() {
    IFC2X3PropertySet set;
    for (std::size_t i = 0; i < count; ++i)
        set.addProperty(property(i));
    return set;
}

std::vector<PlainProperty> buildVector() {
    std::vector<PlainProperty> vector;
    for (std::size_t i = 0; i < count; ++i)
        vector.push_back(plainProperty(i));
    return vector;
}

/// Reports the time per item of an iteration that processes several items.
void reportTimePerItem(benchmark::State& state, std::size_t items) {
    state.counters["each"] = benchmark::Counter(static_cast<double>(state.iterations() * items),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BuildSet_Velmor(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(buildSet());
    reportTimePerItem(state, count);
}
BENCHMARK(BuildSet_Velmor);

void BuildSet_Vector(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(buildVector());
    reportTimePerItem(state, count);
}
BENCHMARK(BuildSet_Vector);

void CopySet_Velmor(benchmark::State& state) {
    const auto set = buildSet();
    for (auto _ : state)
        benchmark::DoNotOptimize(IFC2X3PropertySet(set));
    reportTimePerItem(state, count);
}
BENCHMARK(CopySet_Velmor);

void CopySet_Vector(benchmark::State& state) {
    const auto vector = buildVector();
    for (auto _ : state)
        benchmark::DoNotOptimize(std::vector<PlainProperty>(vector));
    reportTimePerItem(state, count);
}
BENCHMARK(CopySet_Vector);

// One property with its value, which is a separate allocation.
void CopyProperty_Velmor(benchmark::State& state) {
    const auto original = property(2);
    alignas(IFC2X3Property) static unsigned char storage[sizeof(IFC2X3Property)];
    for (auto _ : state) {
        auto* const copy = new (storage) IFC2X3Property(original);
        benchmark::DoNotOptimize(copy);
        copy->~IFC2X3Property();
    }
}
BENCHMARK(CopyProperty_Velmor);

// The lower bound of that: the bytes of both records and one allocation.
void CopyProperty_BytesAndOneAllocation(benchmark::State& state) {
    const auto original = property(2);
    alignas(IFC2X3Property) static unsigned char storage[sizeof(IFC2X3Property)];
    for (auto _ : state) {
        std::memcpy(storage, &original, sizeof original);
        void* const value = ::operator new(sizeof(Value));
        std::memcpy(value, &original.getPropertySingleValue(), sizeof(Value));
        benchmark::DoNotOptimize(storage);
        benchmark::DoNotOptimize(value);
        benchmark::ClobberMemory();
        ::operator delete(value);
    }
}
BENCHMARK(CopyProperty_BytesAndOneAllocation);

void ConvertBeam(benchmark::State& state) {
    IFC2X3_PSet_BeamCommon_s beam{};
    std::memcpy(beam.reference, VELMOR_WIDE("HEA 200"), sizeof VELMOR_WIDE("HEA 200"));
    std::memcpy(beam.fireRating, VELMOR_WIDE("R60"), sizeof VELMOR_WIDE("R60"));
    beam.hasSpan = beam.hasSlope = beam.isLoadBearing = true;
    beam.spanKind = MeasureKind::Length;
    beam.span = 6000.0;
    beam.slopeKind = MeasureKind::PlaneAngle;
    beam.slope = 1.5;
    for (auto _ : state)
        benchmark::DoNotOptimize(static_cast<IFC2X3_PSet_Custom_s>(beam));
    reportTimePerItem(state, 6);
}
BENCHMARK(ConvertBeam);

void ConvertGlazing(benchmark::State& state) {
    IFC2X3_PSet_DoorWindowGlazingType_s glazing{};
    glazing.hasGlassThickness1 = glazing.hasGlassThickness2 = glazing.hasGlassThickness3 = true;
    glazing.hasIsTempered = glazing.hasIsLaminated = glazing.hasIsCoated = glazing.hasIsWired = true;
    glazing.hasTranslucency = glazing.hasReflectivity = glazing.hasBeamRadiationTransmittance = true;
    glazing.hasSolarHeatGainTransmittance = glazing.hasThermalTransmittanceSummer = true;
    glazing.hasThermalTransmittanceWinter = true;
    for (auto _ : state)
        benchmark::DoNotOptimize(static_cast<IFC2X3_PSet_Custom_s>(glazing));
    reportTimePerItem(state, 16);
}
BENCHMARK(ConvertGlazing);

void ClassName(benchmark::State& state) {
    char buffer[64];
    std::uint32_t value = 0;
    for (auto _ : state) {
        value = (value + 101) % 243; // all values, not in ascending order
        ReferenceObjectClass::asString(static_cast<AttributeClassIFC_e>(value), buffer, sizeof buffer);
        benchmark::DoNotOptimize(buffer);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ClassName);

} // namespace

BENCHMARK_MAIN();
