// Properties on several threads: creation of the shared default objects, independent sets, and one-shot breaks.

#include "ifc/OnThreads.h"
#include "ifc/PlainProperty.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace Velmor;
using namespace velmor_tests;

namespace {

/// The addresses of the shared default objects that one thread receives.
struct SharedDefaults {
    const void* property = nullptr;
    const void* value = nullptr;
    const void* complex = nullptr;
    const void* text = nullptr;
    bool areDefaults = false;

    bool operator==(const SharedDefaults& other) const {
        return property == other.property && value == other.value && complex == other.complex && text == other.text &&
               areDefaults == other.areDefaults;
    }
};

SharedDefaults sharedDefaults() {
    const IFC2X3PropertySet set;
    const IFC2X3Property& property = set.getProperty(0);
    const IFC2X3PropertySingleValue& value = property.getPropertySingleValue();
    const IFC2X3PropertyComplex& complex = property.getPropertyComplex();
    const WideString& text = value.getAsString();
    const bool areDefaults = property.getType() == 0 && property.getName()[0] == 0 && property.getDescription()[0] == 0 &&
                             difference(value, PlainValue{}).empty() && complex.getUsageName()[0] == 0 &&
                             complex.getPropertySet().getCount() == 0 && text.empty();
    return {&property, &value, &complex, &text, areDefaults};
}

VELMOR_SCENARIO(FirstUseOfSharedDefaults) {
    SharedDefaults seen[threadCount];
    onThreads([&](unsigned i) { seen[i] = sharedDefaults(); });
    for (const SharedDefaults& one : seen)
        if (!one.areDefaults || !(one == seen[0])) {
            std::fputs("the threads received different objects\n", stderr);
            std::exit(1);
        }
}

TEST(PropertyThreads, RacingThreadsCreateSharedDefaultsOnce) {
    for (int run = 0; run < 8; ++run) {
        const ScenarioRun scenario = runAlone("FirstUseOfSharedDefaults");
        EXPECT_TRUE(scenario.exited);
        EXPECT_EQ(scenario.exitCode, 0u) << scenario.error;
    }
}

TEST(PropertyThreads, AllThreadsReceiveSameDefaults) {
    const SharedDefaults here = sharedDefaults();
    EXPECT_TRUE(here.areDefaults);
    std::atomic<unsigned> same{0};
    onThreads([&](unsigned) { same += sharedDefaults() == here ? 1 : 0; });
    EXPECT_EQ(same, threadCount);
}

TEST(PropertyThreads, ThreadsUseTheirOwnSetsIndependently) {
    std::string differences[threadCount];
    onThreads([&](unsigned i) {
        const PlainSet plain{plainComplex(VELMOR_WIDE("c"), plainNest(i)), plainString(VELMOR_WIDE("s"), longText(50 * i))};
        for (int round = 0; round < 20; ++round) {
            IFC2X3PropertySet set = build(plain);
            const IFC2X3PropertySet copy(set);
            set.clear();
            set = copy;
            differences[i] += difference(set, plain);
            differences[i] += difference(build(plainIntegers(60, round)), plainIntegers(60, round));
        }
    });
    for (const std::string& one : differences)
        EXPECT_EQ(one, "");
}

VELMOR_SCENARIO(WrongTypesOnSeveralThreads) {
    onThreads([](unsigned) {
        const WideChar name[] = {'n', 0};
        using Value = IFC2X3PropertySingleValue;
        for (int round = 0; round < 100; ++round) {
            const IFC2X3Property boolean = createPropertySingleValueBoolean(name, name, true);
            const Value& value = boolean.getPropertySingleValue();
            value.getIntValue();
            value.getInt64Value();
            value.getRealValue();
            value.getLogicalValue();
            value.getStringValue();
            value.getStringValue2();
            value.getAsString();
            createPropertySingleValueInteger(name, name, Value::Real, 1);
            createPropertySingleValueInteger64(name, name, Value::Real, 1);
            createPropertySingleValueReal(name, name, Value::Integer, 1).getPropertySingleValue().getBooleanValue();
        }
    });
}

TEST(PropertyThreads, WrongTypesOnSeveralThreadsAreHarmless) {
    const ScenarioRun alone = runAlone("WrongTypesOnSeveralThreads");
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.exitCode, 0u) << alone.error;
    const ScenarioRun debugged = runUnderDebugger("WrongTypesOnSeveralThreads");
    EXPECT_TRUE(debugged.exited);
    EXPECT_EQ(debugged.exitCode, 0u) << debugged.error;
    EXPECT_GE(debugged.breaks, 11);
    EXPECT_LE(debugged.breaks, 11 * static_cast<int>(threadCount)); // racing threads may break more than once per flag
    EXPECT_EQ(debugged.channel, "");
    EXPECT_EQ(debugged.output, "");
}

} // namespace
