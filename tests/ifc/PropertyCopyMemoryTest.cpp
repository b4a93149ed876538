// Properties, values and complex contents while an allocation fails: copies and assignments.

#include "ifc/FailingProperties.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <utility>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Set = IFC2X3PropertySet;
using Property = IFC2X3Property;
using Value = IFC2X3PropertySingleValue;
using Complex = IFC2X3PropertyComplex;

/// A property and the allocations of its copy: sizes of arrays (silent) and of other blocks (throwing).
struct Sample {
    PlainProperty plain;
    Sizes silent;
    Sizes throwing;
};

std::vector<Sample> samples() {
    return {{plainInteger(VELMOR_WIDE("integer"), 7), {}, {valueSize}},
            {plainString(VELMOR_WIDE("text"), longText(longStringLength)), {}, {valueSize, stringSize}},
            {plainComplex(VELMOR_WIDE("empty"), {}), {}, {complexSize}},
            {plainComplex(VELMOR_WIDE("complex"), layered()), layeredArrays, layeredBlocks}};
}

TEST(PropertyCopyMemory, FailedPropertyCopyThrowsOrHasEmptySets) {
    for (const Sample& sample : samples()) {
        const Property source = build(sample.plain);
        failEachAllocation(sample.silent, sample.throwing, [&](const Failure& failure) {
            std::optional<Property> copy;
            const Outcome outcome = failure.during([&] { copy.emplace(source); });
            EXPECT_EQ(copy.has_value(), !outcome.threw);
            if (copy) {
                EXPECT_EQ(difference(*copy, copyAfterFailure(sample.plain, outcome.size)), "");
            }
            EXPECT_EQ(difference(source, sample.plain), "");
            return outcome;
        });
    }
}

TEST(PropertyCopyMemory, FailedPropertyAssignmentLeavesTargetUnchanged) {
    for (const Sample& before : samples())
        for (const Sample& after : samples()) {
            const Property source = build(after.plain);
            failEachAllocation(after.silent, after.throwing, [&](const Failure& failure) {
                Property target = build(before.plain);
                const Outcome outcome = failure.during([&] { target = source; });
                EXPECT_EQ(difference(target, outcome.threw ? before.plain : copyAfterFailure(after.plain, outcome.size)),
                          "");
                EXPECT_EQ(difference(source, after.plain), "");
                return outcome;
            });
        }
}

TEST(PropertyCopyMemory, FailedValueCopyThrows) {
    const Property owner = build(plainString(VELMOR_WIDE("text"), longText(longStringLength)));
    const Value& source = owner.getPropertySingleValue();
    const PlainValue plain = plainString(VELMOR_WIDE("text"), longText(longStringLength)).value;
    failEachAllocation({}, {stringSize}, [&](const Failure& failure) {
        std::optional<Value> copy;
        const Outcome outcome = failure.during([&] { copy.emplace(source); });
        EXPECT_EQ(copy.has_value(), !outcome.threw);
        if (copy) {
            EXPECT_EQ(difference(*copy, plain), "");
        }
        return outcome;
    });
}

TEST(PropertyCopyMemory, FailedValueAssignmentLeavesTargetUnchanged) {
    const Property owner = build(plainString(VELMOR_WIDE("text"), longText(longStringLength)));
    const Value& source = owner.getPropertySingleValue();
    const PlainProperty befores[] = {plainInteger(VELMOR_WIDE("n"), 7), plainString(VELMOR_WIDE("n"), VELMOR_WIDE("short")),
                                     plainString(VELMOR_WIDE("n"), longText(100)), plainReal(VELMOR_WIDE("n"), 2.5)};
    for (const PlainProperty& before : befores)
        failEachAllocation({}, {stringSize}, [&](const Failure& failure) {
            Value target = build(before).getPropertySingleValue();
            const Outcome outcome = failure.during([&] { target = source; });
            EXPECT_EQ(difference(target, outcome.threw ? before.value
                                                       : plainString(VELMOR_WIDE("text"), longText(longStringLength)).value),
                      "");
            return outcome;
        });
}

/// Checks usage name and members of a complex content.
void expectContent(const Complex& complex, const PlainProperty& plain) {
    EXPECT_TRUE(WideString(complex.getUsageName()) == plain.usageName);
    EXPECT_EQ(difference(complex.getPropertySet(), plain.members), "");
    EXPECT_EQ(capacityOf(complex.getPropertySet()), plain.members.size());
}

TEST(PropertyCopyMemory, FailedComplexCopyOrMoveThrowsOrHasEmptySets) {
    const PlainProperty plain = plainComplex(VELMOR_WIDE("complex"), layered());
    const Property owner = build(plain);
    for (const bool moved : {false, true})
        failEachAllocation(layeredArrays, layeredBlocks, [&](const Failure& failure) {
            Complex source(owner.getPropertyComplex());
            std::optional<Complex> copy;
            const Outcome outcome = failure.during([&] {
                if (moved)
                    copy.emplace(std::move(source));
                else
                    copy.emplace(source);
            });
            EXPECT_EQ(copy.has_value(), !outcome.threw);
            if (copy)
                expectContent(*copy, copyAfterFailure(plain, outcome.size));
            expectContent(source, plain);
            return outcome;
        });
}

TEST(PropertyCopyMemory, FailedComplexAssignmentLeavesTargetUnchanged) {
    const PlainProperty plain = plainComplex(VELMOR_WIDE("complex"), layered());
    const PlainProperty plainBefore = plainComplex(VELMOR_WIDE("before"), formerContent());
    const Property owner = build(plain);
    const Property ownerBefore = build(plainBefore);
    for (const bool moved : {false, true})
        failEachAllocation(layeredArrays, layeredBlocks, [&](const Failure& failure) {
            Complex source(owner.getPropertyComplex());
            Complex target(ownerBefore.getPropertyComplex());
            const Outcome outcome = failure.during([&] {
                if (moved)
                    target = std::move(source);
                else
                    target = source;
            });
            expectContent(target, outcome.threw ? plainBefore : copyAfterFailure(plain, outcome.size));
            expectContent(source, plain);
            return outcome;
        });
}

/// A chain of nested complex properties. With 50 levels, the innermost set contains an integer; otherwise it is empty.
PlainProperty chain(unsigned levels) {
    PlainProperty plain = plainInteger(VELMOR_WIDE("innermost"), 50);
    if (levels < 50)
        plain = plainComplex(VELMOR_WIDE("level"), {});
    for (unsigned level = levels < 50 ? 1 : 0; level < levels; ++level)
        plain = plainComplex(VELMOR_WIDE("level"), {plain});
    return plain;
}

/// The number of nested complex properties.
unsigned depthOf(const Property& property) {
    const Set& set = property.getPropertyComplex().getPropertySet();
    return property.getType() == 2 ? 1 + depthOf(set.getProperty(0)) : 0;
}

TEST(PropertyCopyMemory, CopyFailsCleanlyAtEveryDepth) {
    const PlainProperty plain = chain(50);
    const Property source = build(plain);
    ASSERT_EQ(depthOf(source), 50u);
    std::array<bool, 52> seen{};
    failEachAllocation({arraySize(1)}, {propertySize, complexSize, valueSize}, [&](const Failure& failure) {
        std::optional<Property> copy;
        const Outcome outcome = failure.during([&] { copy.emplace(source); });
        EXPECT_EQ(copy.has_value(), !outcome.threw);
        if (copy && outcome.failed) {
            // The chain ends with the set whose array could not be allocated.
            const unsigned depth = depthOf(*copy);
            seen[depth] = true;
            PlainProperty expected = plainComplex(VELMOR_WIDE("level"), {});
            for (unsigned level = 1; level < depth; ++level)
                expected = plainComplex(VELMOR_WIDE("level"), {expected});
            EXPECT_EQ(difference(*copy, expected), "");
        } else if (copy) {
            EXPECT_EQ(difference(*copy, plain), "");
        }
        EXPECT_EQ(difference(source, plain), "");
        return outcome;
    });
    for (unsigned depth = 0; depth < seen.size(); ++depth)
        EXPECT_EQ(seen[depth], depth >= 1 && depth <= 50) << depth;
}

} // namespace
