// Sets while an allocation fails: copies, assignments and appends.

#include "ifc/FailingProperties.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Set = IFC2X3PropertySet;
using Property = IFC2X3Property;

TEST(PropertySetMemory, FailedCopyThrowsOrHasEmptySets) {
    const Set source = build(layered());
    failEachAllocation(layeredArrays, layeredBlocks, [&](const Failure& failure) {
        std::optional<Set> copy;
        const Outcome outcome = failure.during([&] { copy.emplace(source); });
        EXPECT_EQ(copy.has_value(), !outcome.threw);
        if (copy) {
            const PlainSet expected = copyAfterFailure(layered(), outcome.size);
            EXPECT_EQ(difference(*copy, expected), "");
            EXPECT_EQ(capacityOf(*copy), expected.size());
        }
        EXPECT_EQ(difference(source, layered()), "");
        EXPECT_EQ(capacityOf(source), 50u);
        return outcome;
    });
}

TEST(PropertySetMemory, EmptySetFromFailedCopyIsUsable) {
    const Set source = build(plainIntegers(7));
    const FailAllocation fail(1, false, Allocations::CHeap);
    Set copy(source);
    EXPECT_TRUE(fail.happened());
    EXPECT_EQ(fail.failedSize(), arraySize(7));
    EXPECT_EQ(copy.getCount(), 0u);
    EXPECT_EQ(capacityOf(copy), 0u);
    EXPECT_EQ(copy.getProperty(0).getType(), 0u);
    copy.clear();
    copy.addProperty(source.getProperty(3));
    EXPECT_EQ(difference(copy, plainIntegers(1, 3)), "");
    EXPECT_EQ(capacityOf(copy), 50u);
}

TEST(PropertySetMemory, FailedAssignmentThrowsOrHasEmptySets) {
    const Set source = build(layered());
    for (const PlainSet& before : {formerContent(), plainIntegers(51), PlainSet{}}) {
        SCOPED_TRACE(std::to_string(before.size()) + " before");
        failEachAllocation(layeredArrays, layeredBlocks, [&](const Failure& failure) {
            Set target = build(before);
            const std::uint32_t capacity = capacityOf(target);
            const Outcome outcome = failure.during([&] { target = source; });
            const PlainSet expected = outcome.threw ? before : copyAfterFailure(layered(), outcome.size);
            EXPECT_EQ(difference(target, expected), "");
            EXPECT_EQ(capacityOf(target), outcome.threw ? capacity : expected.size());
            EXPECT_EQ(difference(source, layered()), "");
            target.addProperty(source.getProperty(3));
            EXPECT_EQ(target.getCount(), expected.size() + 1);
            return outcome;
        });
    }
}

/// Appends a property to a set while each allocation fails in turn, and appends it again with success.
/// @param exactCapacity the set has no spare slots.
/// @param fromItself    the property is the first one of the set itself.
void appendWithFailures(const PlainSet& before, bool exactCapacity, const PlainProperty& added, bool fromItself) {
    const Property other = build(added);
    const auto make = [&] {
        const Set set = build(before);
        return exactCapacity ? Set(set) : build(before);
    };
    const std::uint32_t capacity = capacityOf(make());
    const bool grows = capacity == before.size();
    const std::size_t grown = arraySize(capacity + 50);
    Sizes silent;
    Sizes throwing{propertySize};
    if (grows)
        silent.insert(grown);
    if (added.type == 2) {
        silent.insert(layeredArrays.begin(), layeredArrays.end());
        throwing = layeredBlocks;
    } else {
        throwing.insert(valueSize);
        if (added.value.type == 1)
            throwing.insert(stringSize);
    }
    failEachAllocation(silent, throwing, [&](const Failure& failure) {
        Set set = make();
        const void* const items = itemsOf(set);
        const Property& property = fromItself ? set.getProperty(0) : other;
        const Outcome outcome = failure.during([&] { set.addProperty(property); });
        PlainSet expected = before;
        if (grows && outcome.size == grown && !outcome.threw) {
            EXPECT_EQ(itemsOf(set), items);
            EXPECT_EQ(capacityOf(set), capacity);
        } else if (outcome.threw) {
            EXPECT_EQ(capacityOf(set), capacity);
        } else {
            expected.push_back(copyAfterFailure(added, outcome.size));
            EXPECT_EQ(capacityOf(set), grows ? capacity + 50 : capacity);
        }
        EXPECT_EQ(difference(set, expected), "");
        // The set is usable after the failure.
        set.addProperty(fromItself ? set.getProperty(0) : other);
        expected.push_back(added);
        EXPECT_EQ(difference(set, expected), "");
        return outcome;
    });
}

TEST(PropertySetMemory, FailedAppendLeavesSetUnchanged) {
    const PlainProperty properties[] = {plainInteger(VELMOR_WIDE("added"), 1),
                                        plainString(VELMOR_WIDE("added"), longText(longStringLength)),
                                        plainComplex(VELMOR_WIDE("added"), layered())};
    for (const PlainProperty& added : properties)
        for (const std::size_t count : {0u, 1u, 49u, 50u, 51u, 99u, 100u, 150u}) {
            SCOPED_TRACE("value type " + std::to_string(added.value.type) + ", count " + std::to_string(count));
            appendWithFailures(plainIntegers(count), false, added, false);
        }
}

TEST(PropertySetMemory, FailedAppendToExactCopyLeavesSetUnchanged) {
    for (const std::size_t count : {1u, 7u, 57u}) {
        SCOPED_TRACE(count);
        appendWithFailures(plainIntegers(count), true, plainComplex(VELMOR_WIDE("added"), layered()), false);
    }
}

TEST(PropertySetMemory, FailedAppendOfOwnPropertyLeavesSetUnchanged) {
    for (const PlainProperty& own : {plainComplex(VELMOR_WIDE("own"), layered()), plainInteger(VELMOR_WIDE("own"), 3),
                                     plainString(VELMOR_WIDE("own"), longText(longStringLength))}) {
        for (const std::size_t others : {1u, 49u}) { // with a spare slot, and without one
            SCOPED_TRACE(others);
            PlainSet set{own};
            for (const PlainProperty& other : plainIntegers(others))
                set.push_back(other);
            appendWithFailures(set, false, own, true);
        }
        appendWithFailures({own, plainInteger(VELMOR_WIDE("n"), 1)}, true, own, true);
    }
}

TEST(PropertySetMemory, FailedGrowthDropsOnlyThatProperty) {
    PlainSet expected = plainIntegers(50);
    Set set = build(expected);
    const Property dropped = build(plainReal(VELMOR_WIDE("dropped"), 1));
    const Property added = build(plainReal(VELMOR_WIDE("added"), 2));
    for (int i = 0; i < 5; ++i) {
        const FailAllocation fail(1, true, Allocations::CHeap);
        set.addProperty(dropped);
        EXPECT_TRUE(fail.happened());
        EXPECT_EQ(fail.failedSize(), arraySize(100));
    }
    EXPECT_EQ(difference(set, expected), "");
    EXPECT_EQ(capacityOf(set), 50u);
    set.addProperty(added);
    expected.push_back(plainReal(VELMOR_WIDE("added"), 2));
    EXPECT_EQ(difference(set, expected), "");
    EXPECT_EQ(capacityOf(set), 100u);
}

} // namespace
