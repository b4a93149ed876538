// What becomes of properties, sets and factories when any one of their allocations fails, or all from one on.

#include "ifc/PlainProperty.h"
#include "support/Setting.h"
#include "support/UnderDebugger.h"
#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Set = IFC2X3PropertySet;
using Property = IFC2X3Property;
using Value = IFC2X3PropertySingleValue;
using Complex = IFC2X3PropertyComplex;
using Sizes = std::set<std::size_t>;

constexpr std::size_t longString = 700;

// What a failed allocation asked for tells what it was for: the sets below have counts that keep these apart.
constexpr std::size_t propertySize = 1048;
constexpr std::size_t valueSize = 80;
constexpr std::size_t complexSize = 528;
constexpr std::size_t stringSize = 2 * (longString + 1);

constexpr std::size_t arraySize(std::size_t places) {
    return 8 * places;
}

/// Sets of two, three and four properties, one in the other.
PlainSet layered() {
    PlainProperty angle = plainInteger(VELMOR_WIDE("angle"), 0);
    angle.value.type = 12;
    angle.value.angle = {1, 2, 3, 4};
    const PlainSet two{plainString(VELMOR_WIDE("text"), longText(longString)), plainInteger(VELMOR_WIDE("n"), 5)};
    const PlainSet three{plainComplex(VELMOR_WIDE("two"), two), plainString(VELMOR_WIDE("s"), VELMOR_WIDE("short")), angle};
    return {plainString(VELMOR_WIDE("text"), longText(longString)), plainComplex(VELMOR_WIDE("three"), three),
            plainReal(VELMOR_WIDE("r"), 1.5), plainInteger(VELMOR_WIDE("n"), 6)};
}

const Sizes layeredArrays{arraySize(2), arraySize(3), arraySize(4)};
const Sizes layeredBlocks{propertySize, valueSize, complexSize, stringSize};

/// Other contents, to be replaced.
PlainSet former() {
    return {plainComplex(VELMOR_WIDE("former"), plainNest(2)), plainString(VELMOR_WIDE("former text"), longText(30))};
}

/// The set without the members of those sets whose array was refused.
PlainSet emptied(PlainSet set, std::size_t refusedSize) {
    if (arraySize(set.size()) == refusedSize)
        return {};
    for (PlainProperty& property : set)
        property.members = emptied(property.members, refusedSize);
    return set;
}

PlainProperty emptied(PlainProperty property, std::size_t refusedSize) {
    property.members = emptied(property.members, refusedSize);
    return property;
}

/// Which allocation fails, and whether all later ones do.
struct Failure {
    unsigned n;
    bool andAllLater;

    template <class Operation>
    Outcome during(Operation operation) const {
        return outcomeOf(n, andAllLater, operation);
    }
};

/// Runs something with each of its allocations failing in turn, first one alone, then with all behind it. What it makes it
/// also destroys: no block may be left.
/// @param silent what the allocations ask for that fail without an exception: arrays.
/// @param loud   what those ask for that throw. All of both must have come.
/// @param run    gets the failure to inflict, checks what comes of it, and gives the outcome.
void walk(const Sizes& silent, const Sizes& loud, const std::function<Outcome(const Failure&)>& run) {
    run(Failure{100000, false}); // what the first use leaves is no leak
    for (const bool andAllLater : {false, true}) {
        Sizes seen;
        for (unsigned n = 1;; ++n) {
            ASSERT_LT(n, 10000u);
            SCOPED_TRACE("allocation " + std::to_string(n) + (andAllLater ? " and all later" : ""));
            const long before = liveAllocations();
            const Outcome outcome = run(Failure{n, andAllLater});
            ASSERT_EQ(liveAllocations(), before);
            if (!outcome.failed) {
                EXPECT_FALSE(outcome.threw);
                break;
            }
            seen.insert(outcome.size);
            if (silent.count(outcome.size) == 0) {
                EXPECT_TRUE(outcome.threw) << outcome.size << " bytes";
            } else if (!andAllLater) {
                EXPECT_FALSE(outcome.threw) << outcome.size << " bytes";
            }
        }
        for (const Sizes* sizes : {&silent, &loud})
            for (const std::size_t size : *sizes)
                EXPECT_EQ(seen.count(size), 1u) << "no allocation of " << size << " bytes";
    }
}

TEST(PropertyMemory, ASetWhoseCopyFails) {
    const Set source = build(layered());
    walk(layeredArrays, layeredBlocks, [&](const Failure& failure) {
        std::optional<Set> copy;
        const Outcome outcome = failure.during([&] { copy.emplace(source); });
        EXPECT_EQ(copy.has_value(), !outcome.threw);
        if (copy) {
            const PlainSet expected = emptied(layered(), outcome.size);
            EXPECT_EQ(difference(*copy, expected), "");
            EXPECT_EQ(capacityOf(*copy), expected.size());
        }
        EXPECT_EQ(difference(source, layered()), "");
        EXPECT_EQ(capacityOf(source), 50u);
        return outcome;
    });
}

TEST(PropertyMemory, ASetWhoseCopyIsEmptiedIsOfUse) {
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

TEST(PropertyMemory, ASetWhoseAssignmentFails) {
    const Set source = build(layered());
    for (const PlainSet& before : {former(), plainIntegers(51), PlainSet{}}) {
        SCOPED_TRACE(std::to_string(before.size()) + " before");
        walk(layeredArrays, layeredBlocks, [&](const Failure& failure) {
            Set target = build(before);
            const std::uint32_t capacity = capacityOf(target);
            const Outcome outcome = failure.during([&] { target = source; });
            const PlainSet expected = outcome.threw ? before : emptied(layered(), outcome.size);
            EXPECT_EQ(difference(target, expected), "");
            EXPECT_EQ(capacityOf(target), outcome.threw ? capacity : expected.size());
            EXPECT_EQ(difference(source, layered()), "");
            target.addProperty(source.getProperty(3));
            EXPECT_EQ(target.getCount(), expected.size() + 1);
            return outcome;
        });
    }
}

/// Appends to a set of so many integers, of which some may be copies of the property itself, with each allocation failing.
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
    Sizes loud{propertySize};
    if (grows)
        silent.insert(grown);
    if (added.type == 2) {
        silent.insert(layeredArrays.begin(), layeredArrays.end());
        loud = layeredBlocks;
    } else {
        loud.insert(valueSize);
        if (added.value.type == 1)
            loud.insert(stringSize);
    }
    walk(silent, loud, [&](const Failure& failure) {
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
            expected.push_back(emptied(added, outcome.size));
            EXPECT_EQ(capacityOf(set), grows ? capacity + 50 : capacity);
        }
        EXPECT_EQ(difference(set, expected), "");
        // It goes on as if nothing had been tried.
        set.addProperty(fromItself ? set.getProperty(0) : other);
        expected.push_back(added);
        EXPECT_EQ(difference(set, expected), "");
        return outcome;
    });
}

TEST(PropertyMemory, AnAdditionThatFails) {
    const PlainProperty properties[] = {plainInteger(VELMOR_WIDE("added"), 1),
                                        plainString(VELMOR_WIDE("added"), longText(longString)),
                                        plainComplex(VELMOR_WIDE("added"), layered())};
    for (const PlainProperty& added : properties)
        for (const std::size_t count : {0u, 1u, 49u, 50u, 51u, 99u, 100u, 150u}) {
            SCOPED_TRACE("value type " + std::to_string(added.value.type) + ", count " + std::to_string(count));
            appendWithFailures(plainIntegers(count), false, added, false);
        }
}

TEST(PropertyMemory, AnAdditionToAnExactCopyThatFails) {
    for (const std::size_t count : {1u, 7u, 57u}) {
        SCOPED_TRACE(count);
        appendWithFailures(plainIntegers(count), true, plainComplex(VELMOR_WIDE("added"), layered()), false);
    }
}

TEST(PropertyMemory, AnAdditionOfItsOwnThatFails) {
    for (const PlainProperty& own : {plainComplex(VELMOR_WIDE("own"), layered()), plainInteger(VELMOR_WIDE("own"), 3),
                                     plainString(VELMOR_WIDE("own"), longText(longString))}) {
        for (const std::size_t others : {1u, 49u}) { // with a place left, and across a step of growth
            SCOPED_TRACE(others);
            PlainSet set{own};
            for (const PlainProperty& other : plainIntegers(others))
                set.push_back(other);
            appendWithFailures(set, false, own, true);
        }
        appendWithFailures({own, plainInteger(VELMOR_WIDE("n"), 1)}, true, own, true);
    }
}

TEST(PropertyMemory, ARefusedGrowthDropsOnlyThatProperty) {
    PlainSet expected = plainIntegers(50);
    Set set = build(expected);
    const Property dropped = build(plainReal(VELMOR_WIDE("dropped"), 1));
    const Property kept = build(plainReal(VELMOR_WIDE("kept"), 2));
    for (int i = 0; i < 5; ++i) {
        const FailAllocation fail(1, true, Allocations::CHeap);
        set.addProperty(dropped);
        EXPECT_TRUE(fail.happened());
        EXPECT_EQ(fail.failedSize(), arraySize(100));
    }
    EXPECT_EQ(difference(set, expected), "");
    EXPECT_EQ(capacityOf(set), 50u);
    set.addProperty(kept);
    expected.push_back(plainReal(VELMOR_WIDE("kept"), 2));
    EXPECT_EQ(difference(set, expected), "");
    EXPECT_EQ(capacityOf(set), 100u);
}

/// One property of each content, and the array sizes and block sizes of a copy.
struct Sample {
    PlainProperty plain;
    Sizes silent;
    Sizes loud;
};

std::vector<Sample> samples() {
    return {{plainInteger(VELMOR_WIDE("integer"), 7), {}, {valueSize}},
            {plainString(VELMOR_WIDE("text"), longText(longString)), {}, {valueSize, stringSize}},
            {plainComplex(VELMOR_WIDE("empty"), {}), {}, {complexSize}},
            {plainComplex(VELMOR_WIDE("complex"), layered()), layeredArrays, layeredBlocks}};
}

TEST(PropertyMemory, APropertyWhoseCopyFails) {
    for (const Sample& sample : samples()) {
        const Property source = build(sample.plain);
        walk(sample.silent, sample.loud, [&](const Failure& failure) {
            std::optional<Property> copy;
            const Outcome outcome = failure.during([&] { copy.emplace(source); });
            EXPECT_EQ(copy.has_value(), !outcome.threw);
            if (copy) {
                EXPECT_EQ(difference(*copy, emptied(sample.plain, outcome.size)), "");
            }
            EXPECT_EQ(difference(source, sample.plain), "");
            return outcome;
        });
    }
}

TEST(PropertyMemory, APropertyWhoseAssignmentFails) {
    for (const Sample& before : samples())
        for (const Sample& after : samples()) {
            const Property source = build(after.plain);
            walk(after.silent, after.loud, [&](const Failure& failure) {
                Property target = build(before.plain);
                const Outcome outcome = failure.during([&] { target = source; });
                EXPECT_EQ(difference(target, outcome.threw ? before.plain : emptied(after.plain, outcome.size)), "");
                EXPECT_EQ(difference(source, after.plain), "");
                return outcome;
            });
        }
}

TEST(PropertyMemory, AValueWhoseCopyFails) {
    const Property owner = build(plainString(VELMOR_WIDE("text"), longText(longString)));
    const Value& source = owner.getPropertySingleValue();
    const PlainValue plain = plainString(VELMOR_WIDE("text"), longText(longString)).value;
    walk({}, {stringSize}, [&](const Failure& failure) {
        std::optional<Value> copy;
        const Outcome outcome = failure.during([&] { copy.emplace(source); });
        EXPECT_EQ(copy.has_value(), !outcome.threw);
        if (copy) {
            EXPECT_EQ(difference(*copy, plain), "");
        }
        return outcome;
    });
}

TEST(PropertyMemory, AValueWhoseAssignmentFailsIsAsItWas) {
    const Property owner = build(plainString(VELMOR_WIDE("text"), longText(longString)));
    const Value& source = owner.getPropertySingleValue();
    const PlainProperty befores[] = {plainInteger(VELMOR_WIDE("n"), 7), plainString(VELMOR_WIDE("n"), VELMOR_WIDE("short")),
                                     plainString(VELMOR_WIDE("n"), longText(100)), plainReal(VELMOR_WIDE("n"), 2.5)};
    for (const PlainProperty& before : befores)
        walk({}, {stringSize}, [&](const Failure& failure) {
            Value target = build(before).getPropertySingleValue();
            const Outcome outcome = failure.during([&] { target = source; });
            EXPECT_EQ(difference(target, outcome.threw ? before.value
                                                       : plainString(VELMOR_WIDE("text"), longText(longString)).value),
                      "");
            return outcome;
        });
}

/// Whether a complex has the usage name and the members of a model.
void expectContent(const Complex& complex, const PlainProperty& plain) {
    EXPECT_TRUE(WideString(complex.getUsageName()) == plain.usageName);
    EXPECT_EQ(difference(complex.getPropertySet(), plain.members), "");
    EXPECT_EQ(capacityOf(complex.getPropertySet()), plain.members.size());
}

TEST(PropertyMemory, AComplexWhoseCopyOrMoveFails) {
    const PlainProperty plain = plainComplex(VELMOR_WIDE("complex"), layered());
    const Property owner = build(plain);
    for (const bool moved : {false, true})
        walk(layeredArrays, layeredBlocks, [&](const Failure& failure) {
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
                expectContent(*copy, emptied(plain, outcome.size));
            expectContent(source, plain);
            return outcome;
        });
}

TEST(PropertyMemory, AComplexWhoseAssignmentFails) {
    const PlainProperty plain = plainComplex(VELMOR_WIDE("complex"), layered());
    const PlainProperty plainBefore = plainComplex(VELMOR_WIDE("before"), former());
    const Property owner = build(plain);
    const Property ownerBefore = build(plainBefore);
    for (const bool moved : {false, true})
        walk(layeredArrays, layeredBlocks, [&](const Failure& failure) {
            Complex source(owner.getPropertyComplex());
            Complex target(ownerBefore.getPropertyComplex());
            const Outcome outcome = failure.during([&] {
                if (moved)
                    target = std::move(source);
                else
                    target = source;
            });
            expectContent(target, outcome.threw ? plainBefore : emptied(plain, outcome.size));
            expectContent(source, plain);
            return outcome;
        });
}

/// A factory call with its arguments ready: only the library's own allocations fail.
struct Creation {
    std::function<Property()> create;
    PlainProperty plain;
    Sizes silent;
    Sizes loud;
};

template <class Text>
std::vector<Creation> creations(Text text, const WideString& value, const Set& set) {
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

TEST(PropertyMemory, AFactoryThatFails) {
    const WideString text = longText(300);
    const WideString value = longText(longString);
    const Set set = build(layered());
    std::vector<Creation> all = creations<const WideChar*>(text.c_str(), value, set);
    for (Creation& creation : creations<std::reference_wrapper<const WideString>>(std::cref(text), value, set))
        all.push_back(std::move(creation));
    ASSERT_EQ(all.size(), 22u);
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE("creation " + std::to_string(i));
        const Creation& creation = all[i];
        walk(creation.silent, creation.loud, [&](const Failure& failure) {
            std::optional<Property> property;
            const Outcome outcome = failure.during([&] { property.emplace(creation.create()); });
            EXPECT_EQ(property.has_value(), !outcome.threw);
            if (property) {
                EXPECT_EQ(difference(*property, emptied(creation.plain, outcome.size)), "");
            }
            EXPECT_EQ(difference(set, layered()), "");
            return outcome;
        });
    }
}

/// Complexes one in the other, with an integer in the innermost set if there are all fifty.
PlainProperty chain(unsigned levels) {
    PlainProperty plain = plainInteger(VELMOR_WIDE("innermost"), 50);
    if (levels < 50)
        plain = plainComplex(VELMOR_WIDE("level"), {});
    for (unsigned level = levels < 50 ? 1 : 0; level < levels; ++level)
        plain = plainComplex(VELMOR_WIDE("level"), {plain});
    return plain;
}

unsigned depthOf(const Property& property) {
    const Set& set = property.getPropertyComplex().getPropertySet();
    return property.getType() == 2 ? 1 + depthOf(set.getProperty(0)) : 0;
}

TEST(PropertyMemory, ACopyFailsCleanlyAtEveryDepth) {
    const PlainProperty plain = chain(50);
    const Property source = build(plain);
    ASSERT_EQ(depthOf(source), 50u);
    std::array<bool, 52> seen{};
    walk({arraySize(1)}, {propertySize, complexSize, valueSize}, [&](const Failure& failure) {
        std::optional<Property> copy;
        const Outcome outcome = failure.during([&] { copy.emplace(source); });
        EXPECT_EQ(copy.has_value(), !outcome.threw);
        if (copy && outcome.failed) {
            // The set whose array failed ends the chain.
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

TEST(PropertyMemory, NothingIsLeftBehind) {
    const auto everything = [] {
        Set set = build(layered());
        Set other = build(former());
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
        moved = build(plainComplex(VELMOR_WIDE("c"), former())).getPropertyComplex();
        complex = moved;
        Value value(other.getProperty(0).getPropertySingleValue());
        value = other.getProperty(2).getPropertySingleValue();
        property.getPropertySingleValue().getAsString();
        set.getProperty(1000).getPropertyComplex();
        for (const Overload overload : {Overload::Texts, Overload::Pointers})
            EXPECT_EQ(difference(build(layered(), overload), layered()), "");
    };
    everything(); // makes the shared objects
    const long before = liveAllocations();
    everything();
    EXPECT_EQ(liveAllocations(), before);
}

TEST(PropertyMemory, EverythingOwnedIsGivenBackByClear) {
    Set set = build(layered());
    const long filled = liveAllocations();
    set.clear();
    const long cleared = liveAllocations();
    // The properties, their contents, the array of each nested set and the long strings; this set's own array stays.
    const long properties = 4 + 3 + 2;
    EXPECT_EQ(filled - cleared, 2 * properties + 2 /* arrays */ + 2 /* strings */);
}

TEST(PropertyMemory, ReadingClearingAndDestroyingAllocateNothing) {
    std::optional<Set> set(build(layered()));
    std::optional<Set> other(build(layered()));
    const Property property = build(plainString(VELMOR_WIDE("n"), longText(longString)));
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
    read(set->getProperty(100)); // makes the shared objects
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

VELMOR_SCENARIO(FirstUseOfTheSharedObjectsWithoutMemory) {
    const Set set;
    unsigned seen = 0;
    bool neutral = false;
    {
        const FailAllocation fail(1, true, Allocations::All);
        const Property& property = set.getProperty(0);
        const Value& value = property.getPropertySingleValue();
        neutral = property.getType() == 0 && value.getValueType() == 0 && value.getAsString().empty() &&
                  property.getPropertyComplex().getPropertySet().getCount() == 0;
        seen = fail.seen();
    }
    if (!neutral || seen != 0) {
        std::fprintf(stderr, "%u allocations\n", seen);
        std::exit(1);
    }
}

TEST(PropertyMemory, ReadersNeverFailEvenWhenTheyMakeTheSharedObjects) {
    const ScenarioRun run = runAlone("FirstUseOfTheSharedObjectsWithoutMemory");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
}

// Each calls its factory with a value type that it rejects.
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

TEST(PropertyMemory, ARejectedValueTypeBreaksBeforeThePropertyIsBuilt) {
    for (const auto& [factory, create] : rejections) {
        SCOPED_TRACE(factory);
        const ScenarioRun run = runUnderDebugger("RejectWithoutMemory", {std::string("VELMOR_TEST_FACTORY=") + factory});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u) << "std::bad_alloc for the value was to come";
        EXPECT_EQ(run.breaks, 1);
        EXPECT_EQ(run.channel, "");
    }
}

/// Number of allocations that an operation makes.
template <class Operation>
unsigned allocationsOf(Operation operation) {
    const FailAllocation count(1000000, false, Allocations::All);
    operation();
    return count.seen();
}

TEST(PropertyMemory, ACopyTakesNoMoreBlocksThanItOwns) {
    const Property integer = build(plainInteger(VELMOR_WIDE("n"), 1));
    const Property text = build(plainString(VELMOR_WIDE("n"), longText(longString)));
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
    EXPECT_EQ(allocationsOf([&] { set.addProperty(integer); }), 3u) << "the array grows too";
}

} // namespace
