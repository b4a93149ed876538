// Random sequences of operations on sets, compared with the same operations on plain lists.

#include "ifc/PlainProperty.h"
#include "ifc/RandomText.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>

using namespace Velmor;
using namespace velmor_tests;

namespace {

std::size_t sizeOf(const PlainSet& set) {
    return std::accumulate(set.begin(), set.end(), set.size(),
                           [](std::size_t sum, const PlainProperty& property) { return sum + sizeOf(property.members); });
}

/// A property of a random kind with random content. A complex property contains `members`.
PlainProperty randomProperty(Random& random, const PlainSet& members) {
    PlainProperty plain;
    plain.name = randomText(random);
    plain.description = randomText(random);
    if (random.oneIn(3)) {
        plain.type = 2;
        plain.usageName = randomText(random);
        plain.members = members;
        return plain;
    }
    PlainValue& value = plain.value;
    value.type = static_cast<std::uint32_t>(random.below(13));
    switch (value.type) {
    case 1:
        value.string = randomText(random);
        break;
    case 2:
        value.boolean = random.oneIn(2);
        break;
    case 3:
        value.integer = static_cast<std::int32_t>(random.bits());
        break;
    case 10:
        value.integer64 = static_cast<std::int64_t>(random.bits());
        break;
    case 11:
        value.logical = static_cast<std::uint32_t>(random.bits());
        break;
    case 12:
        for (int& component : value.angle)
            component = static_cast<int>(random.bits());
        break;
    default:
        value.real = std::bit_cast<double>(random.bits());
    }
    return plain;
}

/// A set, the list that it must be equal to, and its expected capacity.
struct ModeledSet {
    IFC2X3PropertySet set;
    PlainSet plain;
    std::size_t capacity = 0;

    void append(const IFC2X3Property& property, const PlainProperty& plainProperty) {
        set.addProperty(property);
        if (plain.size() == capacity)
            capacity += 50;
        plain.push_back(plainProperty);
    }

    void assign(const IFC2X3PropertySet& other, const PlainSet& plainOther) {
        plain = PlainSet(plainOther);
        capacity = plain.size();
        set = other;
    }

    void clear() {
        set.clear();
        plain.clear();
    }
};

/// Appends a property of a set, which may be the target itself.
void appendMember(Random& random, ModeledSet& target, const ModeledSet& other) {
    if (other.plain.empty())
        return;
    const std::size_t index = random.below(other.plain.size());
    const PlainProperty plain = other.plain[index];
    if (sizeOf(plain.members) < 200)
        target.append(other.set.getProperty(static_cast<unsigned>(index)), plain);
}

/// Assigns the nested set of a property.
void assignNestedSet(Random& random, ModeledSet& target, const ModeledSet& other) {
    if (other.plain.empty())
        return;
    const std::size_t index = random.below(other.plain.size());
    const PlainSet plain = other.plain[index].members;
    target.assign(other.set.getProperty(static_cast<unsigned>(index)).getPropertyComplex().getPropertySet(), plain);
}

/// Appends one new property or, to exceed the growth step, many of them.
void appendRandom(Random& random, ModeledSet& target, const ModeledSet& other) {
    const std::size_t count = random.oneIn(10) ? 60 : 1;
    for (std::size_t i = 0; i < count; ++i) {
        PlainProperty plain = randomProperty(random, sizeOf(other.plain) < 40 ? other.plain : PlainSet{});
        const Overload overload = random.oneIn(2) ? Overload::Texts : Overload::Pointers;
        if (overload == Overload::Texts)
            plain.value.string = untilNul(plain.value.string);
        target.append(build(plain, overload), plain);
    }
}

/// Does one random operation.
/// @return the set that it changed.
ModeledSet& step(Random& random, std::array<ModeledSet, 4>& all) {
    ModeledSet& target = all[random.below(all.size())];
    const ModeledSet& other = all[random.below(all.size())];
    switch (random.below(20)) {
    case 0:
        if (random.oneIn(3))
            target.clear();
        break;
    case 1:
        if (&target != &other)
            target.assign(other.set, other.plain);
        break;
    case 2: // a copy, so that a set may also be assigned to itself
        target.assign(IFC2X3PropertySet(other.set), other.plain);
        break;
    case 3:
    case 4:
        appendMember(random, target, other);
        break;
    case 5:
        assignNestedSet(random, target, other);
        break;
    default:
        appendRandom(random, target, other);
    }
    return target;
}

void check(const ModeledSet& modeled) {
    ASSERT_EQ(difference(modeled.set, modeled.plain), "");
    ASSERT_EQ(capacityOf(modeled.set), modeled.capacity);
    ASSERT_EQ(modeled.set.getProperty(modeled.set.getCount()).getType(), 0u);
}

TEST(PropertySet, BehavesLikePlainList) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        Random random(seed);
        std::array<ModeledSet, 4> all;
        for (int i = 0; i < 250; ++i) {
            SCOPED_TRACE("step " + std::to_string(i));
            ModeledSet& changed = step(random, all);
            check(changed);
            if (sizeOf(changed.plain) > 600)
                changed.clear();
            if (i % 10 == 9) // the other sets are unchanged
                for (const ModeledSet& modeled : all)
                    check(modeled);
            if (testing::Test::HasFatalFailure())
                return;
        }
    }
}

} // namespace
