// Breaks into a debugger: one for each getter and factory on its first wrong value type, without a message.

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

/// A value of any type with default fields.
Value valueOf(std::uint32_t type) {
    Value value = createPropertySingleValueBoolean(name, name, false).getPropertySingleValue();
    std::memcpy(static_cast<void*>(&value), &type, sizeof type);
    return value;
}

/// Ends the scenario with exit code 1 if a condition is false.
void require(bool condition, const std::string& what) {
    if (!condition) {
        std::fprintf(stderr, "failed: %s\n", what.c_str());
        std::exit(1);
    }
}

struct Getter {
    const char* name;
    std::vector<std::uint32_t> types; ///< The types that it fits.
    bool (*returnsDefault)(const Value& value);
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

bool fits(const Getter& getter, std::uint32_t type) {
    return std::count(getter.types.begin(), getter.types.end(), type) != 0;
}

void call(const Getter& getter, std::uint32_t type) {
    require(getter.returnsDefault(valueOf(type)), getter.name + (" on type " + std::to_string(type)));
}

/// A type that the getter does not fit.
std::uint32_t wrongTypeOf(const Getter& getter) {
    return fits(getter, 2) ? 3 : 2;
}

struct Factory {
    const char* name;
    std::vector<std::uint32_t> types; ///< The types that it accepts.
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

bool accepts(const Factory& factory, std::uint32_t type) {
    return std::count(factory.types.begin(), factory.types.end(), type) != 0;
}

const std::uint32_t valueTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 259, 0x80000000, 0xFFFFFFFF};

std::uint32_t givenType() {
    return static_cast<std::uint32_t>(std::stoul(setting("VELMOR_TEST_TYPE")));
}

ScenarioRun runOnType(const char* scenario, std::uint32_t type) {
    return runUnderDebugger(scenario, {"VELMOR_TEST_TYPE=" + std::to_string(type)});
}

/// Checks that a scenario succeeded silently with this number of breaks.
void expectBreaks(const ScenarioRun& run, std::ptrdiff_t breaks) {
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(run.breaks, breaks);
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(EachGetterOnOneType) {
    for (int round = 0; round < 3; ++round)
        for (const Getter& getter : getters())
            call(getter, givenType());
}

TEST(PropertyReports, EachGetterBreaksOnceOnEachWrongType) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        expectBreaks(
            runOnType("EachGetterOnOneType", type),
            std::count_if(getters().begin(), getters().end(), [&](const Getter& getter) { return !fits(getter, type); }));
    }
}

VELMOR_SCENARIO(OneGetterOnAllTypes) {
    const auto& all = getters();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [](const Getter& getter) { return getter.name == setting("VELMOR_TEST_GETTER"); });
    require(found != all.end(), "no such getter");
    for (const std::uint32_t type : valueTypes)
        call(*found, type);
}

TEST(PropertyReports, GetterBreaksOnceForAllTypes) {
    for (const Getter& getter : getters()) {
        SCOPED_TRACE(getter.name);
        expectBreaks(runUnderDebugger("OneGetterOnAllTypes", {std::string("VELMOR_TEST_GETTER=") + getter.name}), 1);
    }
}

VELMOR_SCENARIO(EachGetterOnceOnWrongType) {
    for (const Getter& getter : getters())
        call(getter, wrongTypeOf(getter));
}

VELMOR_SCENARIO(EachGetterOftenOnWrongType) {
    for (int round = 0; round < 5; ++round)
        for (const Getter& getter : getters())
            call(getter, wrongTypeOf(getter));
}

TEST(PropertyReports, EachGetterHasItsOwnFlag) {
    expectBreaks(runUnderDebugger("EachGetterOnceOnWrongType"), 8);
    expectBreaks(runUnderDebugger("EachGetterOftenOnWrongType"), 8);
}

VELMOR_SCENARIO(EachGetterOnRightType) {
    for (const Getter& getter : getters())
        for (const std::uint32_t type : getter.types)
            call(getter, type);
}

TEST(PropertyReports, GetterDoesNotBreakOnRightType) {
    expectBreaks(runUnderDebugger("EachGetterOnRightType"), 0);
}

VELMOR_SCENARIO(EachGetterOnRightThenWrongType) {
    velmorScenarioEachGetterOnRightType();
    velmorScenarioEachGetterOnceOnWrongType();
}

TEST(PropertyReports, GetterOnRightTypeDoesNotSetFlag) {
    expectBreaks(runUnderDebugger("EachGetterOnRightThenWrongType"), 8);
}

VELMOR_SCENARIO(BothStringGetters) {
    const Value value = valueOf(2);
    value.getStringValue();
    value.getStringValue2();
    value.getStringValue();
    value.getStringValue2();
}

TEST(PropertyReports, BothStringGettersHaveTheirOwnFlag) {
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

VELMOR_SCENARIO(EachFactoryOnOneType) {
    for (int round = 0; round < 3; ++round)
        for (const Factory& factory : factories())
            for (const auto create : {factory.byText, factory.byPointer}) {
                const Property property = create(givenType());
                require(property.getPropertySingleValue().getValueType() ==
                            (accepts(factory, givenType()) ? givenType() : 0),
                        factory.name);
            }
}

TEST(PropertyReports, EachFactoryBreaksOnceOnEachRejectedType) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        expectBreaks(runOnType("EachFactoryOnOneType", type),
                     std::count_if(factories().begin(), factories().end(),
                                   [&](const Factory& factory) { return !accepts(factory, type); }));
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

TEST(PropertyReports, OverloadsOfFactoryShareOneFlag) {
    for (const Factory& factory : factories()) {
        SCOPED_TRACE(factory.name);
        const std::vector<std::string> environment{std::string("VELMOR_TEST_FACTORY=") + factory.name};
        expectBreaks(runUnderDebugger("RejectByTextFirst", environment), 1);
        expectBreaks(runUnderDebugger("RejectByPointerFirst", environment), 1);
    }
}

VELMOR_SCENARIO(RejectByEachFactory) {
    for (int round = 0; round < 3; ++round)
        for (const Factory& factory : factories())
            factory.byPointer(1);
}

TEST(PropertyReports, EachFactoryHasItsOwnFlag) {
    expectBreaks(runUnderDebugger("RejectByEachFactory"), 3);
}

VELMOR_SCENARIO(RejectThenReadReal) {
    for (const Factory& factory : factories())
        require(factory.byPointer(12).getPropertySingleValue().getRealValue() == 0.0, factory.name);
}

TEST(PropertyReports, GetRealValueDoesNotBreakOnRejectedNumber) {
    expectBreaks(runUnderDebugger("RejectThenReadReal"), 3);
}

VELMOR_SCENARIO(RejectThenReadWrongTypes) {
    velmorScenarioRejectThenReadReal();
    velmorScenarioEachGetterOftenOnWrongType();
    velmorScenarioRejectThenReadReal();
}

TEST(PropertyReports, FactoriesAndGettersHaveSeparateFlags) {
    expectBreaks(runUnderDebugger("RejectThenReadWrongTypes"), 3 + 8);
}

TEST(PropertyReports, NothingBreaksWithoutDebugger) {
    for (const char* scenario : {"RejectThenReadWrongTypes", "EachGetterOnceOnWrongType", "SilentAccess"})
        expectBreaks(runAlone(scenario), 0);
}

} // namespace
