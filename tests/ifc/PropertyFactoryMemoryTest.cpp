// Factories while an allocation fails.

#include "ifc/FailingProperties.h"
#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Set = IFC2X3PropertySet;
using Property = IFC2X3Property;
using Value = IFC2X3PropertySingleValue;

/// A factory call whose arguments exist already, so that only allocations of the library fail.
struct FactoryCall {
    std::function<Property()> create;
    PlainProperty plain; ///< The expected property.
    Sizes silent;        ///< Sizes of its allocations that fail without an exception.
    Sizes throwing;      ///< Sizes of its allocations that throw.
};

template <class Text>
std::vector<FactoryCall> factoryCalls(Text text, const WideString& value, const Set& set) {
    const auto of = [](const PlainValue& plainValue) {
        PlainProperty plain;
        plain.name = plain.description = plain.usageName = longText(300);
        plain.value = plainValue;
        return plain;
    };
    static const int angle[] = {1, 2, 3, 4};
    PlainValue string;
    string.type = 1;
    string.string = value;
    PlainValue boolean;
    boolean.type = 2;
    boolean.boolean = true;
    PlainValue integer;
    integer.type = 3;
    integer.integer = 9;
    PlainValue integer64;
    integer64.type = 10;
    integer64.integer64 = 10;
    PlainValue real;
    real.type = 5;
    real.real = 1.5;
    PlainValue logical;
    logical.type = 11;
    logical.logical = 1;
    PlainValue compound;
    compound.type = 12;
    compound.angle = {1, 2, 3, 4};
    PlainProperty complex = of({});
    complex.type = 2;
    complex.members = layered();
    const Sizes one{valueSize};
    return {
        {[=, &value] { return createPropertySingleValueString(text, text, value); },
         of(string),
         {},
         {valueSize, stringSize}},
        {[=] { return createPropertySingleValueBoolean(text, text, true); }, of(boolean), {}, one},
        {[=] { return createPropertySingleValueInteger(text, text, Value::Integer, 9); }, of(integer), {}, one},
        {[=] { return createPropertySingleValueInteger(text, text, Value::Real, 9); }, of({}), {}, one},
        {[=] { return createPropertySingleValueInteger64(text, text, Value::Integer64, 10); }, of(integer64), {}, one},
        {[=] { return createPropertySingleValueInteger64(text, text, Value::Integer, 10); }, of({}), {}, one},
        {[=] { return createPropertySingleValueReal(text, text, Value::Length, 1.5); }, of(real), {}, one},
        {[=] { return createPropertySingleValueReal(text, text, Value::String, 1.5); }, of({}), {}, one},
        {[=] { return createPropertySingleValueLogical(text, text, Value::LogicalTrue); }, of(logical), {}, one},
        {[=] { return createPropertySingleValueCompoundPlaneAngle(text, text, angle); }, of(compound), {}, one},
        {[=, &set] { return createPropertyComplex(text, text, text, set); }, complex, layeredArrays, layeredBlocks},
    };
}

TEST(PropertyFactoryMemory, FailedFactoryThrowsOrHasEmptySets) {
    const WideString text = longText(300);
    const WideString value = longText(longStringLength);
    const Set set = build(layered());
    std::vector<FactoryCall> all = factoryCalls<const WideChar*>(text.c_str(), value, set);
    for (FactoryCall& call : factoryCalls<std::reference_wrapper<const WideString>>(std::cref(text), value, set))
        all.push_back(std::move(call));
    ASSERT_EQ(all.size(), 22u);
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i));
        const FactoryCall& call = all[i];
        failEachAllocation(call.silent, call.throwing, [&](const Failure& failure) {
            std::optional<Property> property;
            const Outcome outcome = failure.during([&] { property.emplace(call.create()); });
            EXPECT_EQ(property.has_value(), !outcome.threw);
            if (property) {
                EXPECT_EQ(difference(*property, copyAfterFailure(call.plain, outcome.size)), "");
            }
            EXPECT_EQ(difference(set, layered()), "");
            return outcome;
        });
    }
}

// Calls with a value type that the factory rejects.
const std::pair<const char*, Property (*)()> rejections[] = {
    {"Integer", [] { return createPropertySingleValueInteger(VELMOR_WIDE("n"), VELMOR_WIDE("d"), Value::Real, 1); }},
    {"Integer64", [] { return createPropertySingleValueInteger64(VELMOR_WIDE("n"), VELMOR_WIDE("d"), Value::Integer, 1); }},
    {"Real", [] { return createPropertySingleValueReal(VELMOR_WIDE("n"), VELMOR_WIDE("d"), Value::Integer, 1); }}};

VELMOR_SCENARIO(RejectWithoutMemory) {
    for (const auto& [factory, create] : rejections)
        if (setting("VELMOR_TEST_FACTORY") == factory) {
            const Outcome outcome = outcomeOf(1, true, [make = create] { make(); });
            std::exit(outcome.threw && outcome.size == valueSize ? 0 : 1);
        }
    std::exit(2); // no such factory
}

TEST(PropertyFactoryMemory, RejectedValueTypeBreaksBeforeAllocation) {
    for (const auto& [factory, create] : rejections) {
        SCOPED_TRACE(factory);
        const ScenarioRun run = runUnderDebugger("RejectWithoutMemory", {std::string("VELMOR_TEST_FACTORY=") + factory});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u) << "the allocation of the value must throw std::bad_alloc";
        EXPECT_EQ(run.breaks, 1);
        EXPECT_EQ(run.channel, "");
    }
}

} // namespace
