// Number and release of the allocations of properties and sets.

#include "ifc/FailingProperties.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Set = IFC2X3PropertySet;
using Property = IFC2X3Property;
using Value = IFC2X3PropertySingleValue;
using Complex = IFC2X3PropertyComplex;

TEST(PropertyMemory, AllOperationsReleaseTheirBlocks) {
    const auto everything = [] {
        Set set = build(layered());
        Set other = build(formerContent());
        for (int i = 0; i < 120; ++i)
            set.addProperty(set.getProperty(static_cast<unsigned>(i) % 4));
        other = set;
        set.clear();
        set.addProperty(other.getProperty(1));
        Property property(set.getProperty(0));
        for (unsigned i = 0; i < 4; ++i)
            property = other.getProperty(i);
        property = createPropertyComplex(VELMOR_WIDE("n"), VELMOR_WIDE("d"), VELMOR_WIDE("u"), other);
        Complex complex(property.getPropertyComplex());
        Complex moved(std::move(complex));
        moved = build(plainComplex(VELMOR_WIDE("c"), formerContent())).getPropertyComplex();
        complex = moved;
        Value value(other.getProperty(0).getPropertySingleValue());
        value = other.getProperty(2).getPropertySingleValue();
        property.getPropertySingleValue().getAsString();
        set.getProperty(1000).getPropertyComplex();
        for (const Overload overload : {Overload::Texts, Overload::Pointers})
            EXPECT_EQ(difference(build(layered(), overload), layered()), "");
    };
    everything(); // creates the shared default objects
    const long before = liveAllocations();
    everything();
    EXPECT_EQ(liveAllocations(), before);
}

TEST(PropertyMemory, ClearReleasesPropertiesAndTheirContent) {
    Set set = build(layered());
    const long filled = liveAllocations();
    set.clear();
    const long cleared = liveAllocations();
    // Properties, their contents, the arrays of the nested sets and the long strings. The set's own array remains.
    const long properties = 4 + 3 + 2;
    EXPECT_EQ(filled - cleared, 2 * properties + 2 /* arrays */ + 2 /* strings */);
}

TEST(PropertyMemory, GettersClearAndDestructorDoNotAllocate) {
    std::optional<Set> set(build(layered()));
    std::optional<Set> other(build(layered()));
    const Property property = build(plainString(VELMOR_WIDE("n"), longText(longStringLength)));
    const auto read = [](const Property& one) {
        one.getType();
        one.getName();
        one.getName2();
        one.getDescription();
        one.getDescription2();
        const Value& value = one.getPropertySingleValue();
        value.getValueType();
        value.getBooleanValue();
        value.getIntValue();
        value.getInt64Value();
        value.getRealValue();
        value.getLogicalValue();
        value.getStringValue();
        value.getStringValue2();
        value.getAsString();
        value.getCompoundPlaneAngle();
        one.getPropertyComplex().getUsageName();
        one.getPropertyComplex().getUsageName2();
        one.getPropertyComplex().getPropertySet().getCount();
    };
    read(set->getProperty(100)); // creates the shared default objects
    unsigned seen = 0;
    {
        const FailAllocation fail(1, true, Allocations::All);
        for (unsigned i = 0; i < 6; ++i)
            read(set->getProperty(i));
        read(property);
        set->clear();
        set.reset();
        other.reset();
        const Set empty;
        const Set copyOfEmpty(empty);
        seen = fail.seen();
        read(copyOfEmpty.getProperty(0));
    }
    EXPECT_EQ(seen, 0u);
}

VELMOR_SCENARIO(FirstUseOfSharedDefaultsWithoutMemory) {
    const Set set;
    unsigned seen = 0;
    bool isDefault = false;
    {
        const FailAllocation fail(1, true, Allocations::All);
        const Property& property = set.getProperty(0);
        const Value& value = property.getPropertySingleValue();
        isDefault = property.getType() == 0 && value.getValueType() == 0 && value.getAsString().empty() &&
                    property.getPropertyComplex().getPropertySet().getCount() == 0;
        seen = fail.seen();
    }
    if (!isDefault || seen != 0) {
        std::fprintf(stderr, "%u allocations\n", seen);
        std::exit(1);
    }
}

TEST(PropertyMemory, GettersDoNotAllocateForSharedDefaults) {
    const ScenarioRun run = runAlone("FirstUseOfSharedDefaultsWithoutMemory");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
}

/// The number of allocations of an operation.
template <class Operation>
unsigned allocationsOf(Operation operation) {
    const FailAllocation count(1000000, false, Allocations::All);
    operation();
    return count.seen();
}

TEST(PropertyMemory, CopyAllocatesOnlyBlocksThatItOwns) {
    const Property integer = build(plainInteger(VELMOR_WIDE("n"), 1));
    const Property text = build(plainString(VELMOR_WIDE("n"), longText(longStringLength)));
    const Property complex = build(plainComplex(VELMOR_WIDE("n"), {}));
    EXPECT_EQ(allocationsOf([&] { const Property copy(integer); }), 1u);
    EXPECT_EQ(allocationsOf([&] { const Property copy(text); }), 2u);
    EXPECT_EQ(allocationsOf([&] { const Property copy(complex); }), 1u) << "an empty set has no array";
    const Set seven = build(plainIntegers(7));
    EXPECT_EQ(allocationsOf([&] { const Set copy(seven); }), 1u + 7 * 2);
    Set set = build(plainIntegers(1));
    EXPECT_EQ(allocationsOf([&] { set.addProperty(integer); }), 2u);
    set = build(plainIntegers(50));
    EXPECT_EQ(capacityOf(set), 50u);
    EXPECT_EQ(allocationsOf([&] { set.addProperty(integer); }), 3u) << "the array grows as well";
}

} // namespace
