// Properties on several threads: the shared neutral objects are made once, and threads with sets of their own do not meet.

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

/// The shared objects as one thread sees them.
struct Shared {
    const void* property = nullptr;
    const void* value = nullptr;
    const void* complex = nullptr;
    const void* text = nullptr;
    bool neutral = false;

    bool operator==(const Shared& other) const {
        return property == other.property && value == other.value && complex == other.complex && text == other.text &&
               neutral == other.neutral;
    }
};

Shared sharedObjects() {
    const IFC2X3PropertySet set;
    const IFC2X3Property& property = set.getProperty(0);
    const IFC2X3PropertySingleValue& value = property.getPropertySingleValue();
    const IFC2X3PropertyComplex& complex = property.getPropertyComplex();
    const WideString& text = value.getAsString();
    const bool neutral = property.getType() == 0 && property.getName()[0] == 0 && property.getDescription()[0] == 0 &&
                         difference(value, PlainValue{}).empty() && complex.getUsageName()[0] == 0 &&
                         complex.getPropertySet().getCount() == 0 && text.empty();
    return {&property, &value, &complex, &text, neutral};
}

VELMOR_SCENARIO(FirstUseOfTheSharedObjects) {
    Shared seen[threadCount];
    onThreads([&](unsigned i) { seen[i] = sharedObjects(); });
    for (const Shared& one : seen)
        if (!one.neutral || !(one == seen[0])) {
            std::fputs("the threads saw different objects\n", stderr);
            std::exit(1);
        }
}

TEST(PropertyThreads, TheSharedObjectsAreMadeOnceByThreadsThatRace) {
    for (int run = 0; run < 8; ++run) {
        const ScenarioRun scenario = runAlone("FirstUseOfTheSharedObjects");
        EXPECT_TRUE(scenario.exited);
        EXPECT_EQ(scenario.exitCode, 0u) << scenario.error;
    }
}

TEST(PropertyThreads, TheSharedObjectsAreTheSameForEveryThread) {
    const Shared here = sharedObjects();
    EXPECT_TRUE(here.neutral);
    std::atomic<unsigned> same{0};
    onThreads([&](unsigned) { same += sharedObjects() == here ? 1 : 0; });
    EXPECT_EQ(same, threadCount);
}

TEST(PropertyThreads, ThreadsWithSetsOfTheirOwnDoNotMeet) {
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

VELMOR_SCENARIO(WrongUseOnSeveralThreads) {
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

TEST(PropertyThreads, WrongUseOnSeveralThreadsIsHarmless) {
    const ScenarioRun alone = runAlone("WrongUseOnSeveralThreads");
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.exitCode, 0u) << alone.error;
    const ScenarioRun debugged = runUnderDebugger("WrongUseOnSeveralThreads");
    EXPECT_TRUE(debugged.exited);
    EXPECT_EQ(debugged.exitCode, 0u) << debugged.error;
    EXPECT_GE(debugged.breaks, 11);
    EXPECT_LE(debugged.breaks, 11 * static_cast<int>(threadCount)); // threads that race may break more than once
    EXPECT_EQ(debugged.channel, "");
    EXPECT_EQ(debugged.output, "");
}

} // namespace
