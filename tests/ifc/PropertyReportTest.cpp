// What a debugger sees of getters and factories that are used wrongly: one break for each of them, without a word.

#include <Velmor/IFCProperties.h>

#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Property = IFC2X3Property;
using Value = IFC2X3PropertySingleValue;
using ValueType = Value::ValueType_t;

const WideChar name[] = {'n', 0};

/// A value of any type, with every field neutral.
Value valueOf(std::uint32_t type) {
    Value value = createPropertySingleValueBoolean(name, name, false).getPropertySingleValue();
    std::memcpy(static_cast<void*>(&value), &type, sizeof type);
    return value;
}

/// Ends the scenario with an error when something answered wrongly.
void require(bool condition, const std::string& what) {
    if (!condition) {
        std::fprintf(stderr, "wrong: %s\n", what.c_str());
        std::exit(1);
    }
}

struct Getter {
    const char* name;
    std::vector<std::uint32_t> types; // those that it is for
    bool (*givesNeutral)(const Value& value);
};

const std::vector<Getter>& getters() {
    static const std::vector<Getter> all = {
        {"getBooleanValue", {2}, [](const Value& value) { return !value.getBooleanValue(); }},
        {"getIntValue", {3}, [](const Value& value) { return value.getIntValue() == 0; }},
        {"getInt64Value", {10}, [](const Value& value) { return value.getInt64Value() == 0; }},
        {"getRealValue", {0, 4, 5, 6, 7, 8, 9}, [](const Value& value) { return value.getRealValue() == 0.0; }},
        {"getLogicalValue", {11}, [](const Value& value) { return value.getLogicalValue() == 2; }},
        {"getStringValue", {1}, [](const Value& value) { return value.getStringValue()[0] == 0; }},
        {"getStringValue2", {1}, [](const Value& value) { return value.getStringValue2()[0] == 0; }},
        {"getAsString", {1}, [](const Value& value) { return value.getAsString().empty(); }},
    };
    return all;
}

bool isFor(const Getter& getter, std::uint32_t type) {
    return std::count(getter.types.begin(), getter.types.end(), type) != 0;
}

void call(const Getter& getter, std::uint32_t type) {
    require(getter.givesNeutral(valueOf(type)), getter.name + (" on type " + std::to_string(type)));
}

/// A type that the getter is not for.
std::uint32_t wrongTypeOf(const Getter& getter) {
    return isFor(getter, 2) ? 3 : 2;
}

struct Factory {
    const char* name;
    std::vector<std::uint32_t> types; // those that it takes
    Property (*byText)(std::uint32_t type);
    Property (*byPointer)(std::uint32_t type);
};

const std::vector<Factory>& factories() {
    static const std::vector<Factory> all = {
        {"createPropertySingleValueInteger",
         {3},
         [](std::uint32_t type) {
             return createPropertySingleValueInteger(WideString(name), WideString(name), static_cast<ValueType>(type), 5);
         },
         [](std::uint32_t type) { return createPropertySingleValueInteger(name, name, static_cast<ValueType>(type), 5); }},
        {"createPropertySingleValueInteger64",
         {10},
         [](std::uint32_t type) {
             return createPropertySingleValueInteger64(WideString(name), WideString(name), static_cast<ValueType>(type), 5);
         },
         [](std::uint32_t type) { return createPropertySingleValueInteger64(name, name, static_cast<ValueType>(type), 5); }},
        {"createPropertySingleValueReal",
         {0, 4, 5, 6, 7, 8, 9},
         [](std::uint32_t type) {
             return createPropertySingleValueReal(WideString(name), WideString(name), static_cast<ValueType>(type), 5);
         },
         [](std::uint32_t type) { return createPropertySingleValueReal(name, name, static_cast<ValueType>(type), 5); }},
    };
    return all;
}

bool takes(const Factory& factory, std::uint32_t type) {
    return std::count(factory.types.begin(), factory.types.end(), type) != 0;
}

const std::uint32_t valueTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 259, 0x80000000, 0xFFFFFFFF};

std::uint32_t givenType() {
    return static_cast<std::uint32_t>(std::stoul(setting("VELMOR_TEST_TYPE")));
}

ScenarioRun runOnType(const char* scenario, std::uint32_t type) {
    return runUnderDebugger(scenario, {"VELMOR_TEST_TYPE=" + std::to_string(type)});
}

/// A scenario ran to its end, broke so often and said nothing.
void expectBreaks(const ScenarioRun& run, std::ptrdiff_t breaks) {
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(run.breaks, breaks);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(EveryGetterOnOneType) {
    for (int round = 0; round < 3; ++round)
        for (const Getter& getter : getters())
            call(getter, givenType());
}

TEST(PropertyReports, EveryGetterBreaksOnceOnEveryTypeThatItIsNotFor) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        expectBreaks(
            runOnType("EveryGetterOnOneType", type),
            std::count_if(getters().begin(), getters().end(), [&](const Getter& getter) { return !isFor(getter, type); }));
    }
}

VELMOR_SCENARIO(OneGetterOnEveryType) {
    const auto& all = getters();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [](const Getter& getter) { return getter.name == setting("VELMOR_TEST_GETTER"); });
    require(found != all.end(), "no such getter");
    for (const std::uint32_t type : valueTypes)
        call(*found, type);
}

TEST(PropertyReports, AGetterBreaksOnceOnWhateverTypes) {
    for (const Getter& getter : getters()) {
        SCOPED_TRACE(getter.name);
        expectBreaks(runUnderDebugger("OneGetterOnEveryType", {std::string("VELMOR_TEST_GETTER=") + getter.name}), 1);
    }
}

VELMOR_SCENARIO(EveryGetterOnceWrongly) {
    for (const Getter& getter : getters())
        call(getter, wrongTypeOf(getter));
}

VELMOR_SCENARIO(EveryGetterOftenWrongly) {
    for (int round = 0; round < 5; ++round)
        for (const Getter& getter : getters())
            call(getter, wrongTypeOf(getter));
}

TEST(PropertyReports, EveryGetterHasAFlagOfItsOwn) {
    expectBreaks(runUnderDebugger("EveryGetterOnceWrongly"), 8);
    expectBreaks(runUnderDebugger("EveryGetterOftenWrongly"), 8);
}

VELMOR_SCENARIO(EveryGetterRightly) {
    for (const Getter& getter : getters())
        for (const std::uint32_t type : getter.types)
            call(getter, type);
}

TEST(PropertyReports, AGetterOfTheRightTypeDoesNotBreak) {
    expectBreaks(runUnderDebugger("EveryGetterRightly"), 0);
}

VELMOR_SCENARIO(EveryGetterRightlyThenWrongly) {
    velmorScenarioEveryGetterRightly();
    velmorScenarioEveryGetterOnceWrongly();
}

TEST(PropertyReports, AGetterOfTheRightTypeLeavesTheFlagAlone) {
    expectBreaks(runUnderDebugger("EveryGetterRightlyThenWrongly"), 8);
}

VELMOR_SCENARIO(BothStringGetters) {
    const Value value = valueOf(2);
    value.getStringValue();
    value.getStringValue2();
    value.getStringValue();
    value.getStringValue2();
}

TEST(PropertyReports, TheTwoFormsOfTheStringGetterHaveTwoFlags) {
    expectBreaks(runUnderDebugger("BothStringGetters"), 2);
}

VELMOR_SCENARIO(SilentAccess) {
    const int angle[] = {1, 2, 3, 4};
    IFC2X3PropertySet set;
    set.addProperty(createPropertySingleValueString(name, name, name));
    set.addProperty(createPropertySingleValueCompoundPlaneAngle(name, name, angle));
    set.addProperty(createPropertySingleValueCompoundPlaneAngle(name, name, nullptr));
    set.addProperty(createPropertySingleValueLogical(name, name, static_cast<Value::Logical_s>(77)));
    set.addProperty(createPropertyComplex(name, name, name, set));
    for (unsigned index = 0; index < 10; ++index) {
        const Property& property = set.getProperty(index);
        property.getType();
        property.getPropertySingleValue().getValueType();
        property.getPropertySingleValue().getCompoundPlaneAngle();
        property.getPropertyComplex().getUsageName();
        property.getPropertyComplex().getUsageName2();
        property.getPropertyComplex().getPropertySet().getProperty(0xFFFFFFFF).getName();
    }
    for (const std::uint32_t type : valueTypes)
        for (int i = 0; i < 4; ++i)
            require(valueOf(type).getCompoundPlaneAngle()[i] == 0, "angle");
}

TEST(PropertyReports, AnglesWrongKindsAndWrongIndexesDoNotBreak) {
    expectBreaks(runUnderDebugger("SilentAccess"), 0);
}

VELMOR_SCENARIO(EveryFactoryOfOneType) {
    for (int round = 0; round < 3; ++round)
        for (const Factory& factory : factories())
            for (const auto create : {factory.byText, factory.byPointer}) {
                const Property property = create(givenType());
                require(property.getPropertySingleValue().getValueType() == (takes(factory, givenType()) ? givenType() : 0),
                        factory.name);
            }
}

TEST(PropertyReports, EveryFactoryBreaksOnceForEveryTypeThatItDoesNotTake) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        expectBreaks(runOnType("EveryFactoryOfOneType", type),
                     std::count_if(factories().begin(), factories().end(),
                                   [&](const Factory& factory) { return !takes(factory, type); }));
    }
}

VELMOR_SCENARIO(RejectByTextFirst) {
    for (const Factory& factory : factories()) {
        if (setting("VELMOR_TEST_FACTORY") == factory.name) {
            factory.byText(2);
            factory.byPointer(2);
            factory.byText(1);
        }
    }
}

VELMOR_SCENARIO(RejectByPointerFirst) {
    for (const Factory& factory : factories()) {
        if (setting("VELMOR_TEST_FACTORY") == factory.name) {
            factory.byPointer(2);
            factory.byText(2);
            factory.byPointer(11);
        }
    }
}

TEST(PropertyReports, TheOverloadsOfAFactoryShareOneFlag) {
    for (const Factory& factory : factories()) {
        SCOPED_TRACE(factory.name);
        const std::vector<std::string> environment{std::string("VELMOR_TEST_FACTORY=") + factory.name};
        expectBreaks(runUnderDebugger("RejectByTextFirst", environment), 1);
        expectBreaks(runUnderDebugger("RejectByPointerFirst", environment), 1);
    }
}

VELMOR_SCENARIO(RejectByEveryFactory) {
    for (int round = 0; round < 3; ++round)
        for (const Factory& factory : factories())
            factory.byPointer(1);
}

TEST(PropertyReports, EveryFactoryHasAFlagOfItsOwn) {
    expectBreaks(runUnderDebugger("RejectByEveryFactory"), 3);
}

VELMOR_SCENARIO(RejectThenReadTheReal) {
    for (const Factory& factory : factories())
        require(factory.byPointer(12).getPropertySingleValue().getRealValue() == 0.0, factory.name);
}

TEST(PropertyReports, TheRealOfARejectedNumberIsReadWithoutABreak) {
    expectBreaks(runUnderDebugger("RejectThenReadTheReal"), 3);
}

VELMOR_SCENARIO(RejectThenReadWrongly) {
    velmorScenarioRejectThenReadTheReal();
    velmorScenarioEveryGetterOftenWrongly();
    velmorScenarioRejectThenReadTheReal();
}

TEST(PropertyReports, FactoriesAndGettersShareNoFlag) {
    expectBreaks(runUnderDebugger("RejectThenReadWrongly"), 3 + 8);
}

TEST(PropertyReports, WithoutADebuggerNothingBreaks) {
    for (const char* scenario : {"RejectThenReadWrongly", "EveryGetterOnceWrongly", "SilentAccess"})
        expectBreaks(runAlone(scenario), 0);
}

} // namespace
