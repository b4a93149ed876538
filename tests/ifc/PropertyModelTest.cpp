// Random sequences of operations on sets, beside plain lists.

#include "ifc/PlainProperty.h"
#include "ifc/Random.h"

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

/// A property of a random kind and with random content; a complex one holds `members`.
PlainProperty randomProperty(Random& random, const PlainSet& members) {
    PlainProperty plain;
    plain.name = random.text();
    plain.description = random.text();
    if (random.oneIn(3)) {
        plain.type = 2;
        plain.usageName = random.text();
        plain.members = members;
        return plain;
    }
    PlainValue& value = plain.value;
    value.type = static_cast<std::uint32_t>(random.below(13));
    switch (value.type) {
    case 1:
        value.string = random.text();
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

struct Modelled {
    IFC2X3PropertySet set;
    PlainSet plain;
    std::size_t capacity = 0;

    void noteAppended(const PlainProperty& property) {
        if (plain.size() == capacity)
            capacity += 50;
        plain.push_back(property);
    }

    void noteCopyOf(const Modelled& other) {
        plain = other.plain;
        capacity = plain.size();
    }
};

/// Does one operation at random.
/// @return the set that it changed.
Modelled& step(Random& random, std::array<Modelled, 4>& all) {
    Modelled& target = all[random.below(all.size())];
    const Modelled& other = all[random.below(all.size())];
    switch (random.below(20)) {
    case 0:
        if (random.oneIn(3)) {
            target.set.clear();
            target.plain.clear();
        }
        break;
    case 1:
        if (&target != &other) {
            target.set = other.set;
            target.noteCopyOf(other);
        }
        break;
    case 2: { // through a copy, so to itself too
        const IFC2X3PropertySet copy(other.set);
        target.set = copy;
        target.noteCopyOf(other);
        break;
    }
    case 3:
    case 4:
        if (!other.plain.empty()) { // its own too
            const std::size_t index = random.below(other.plain.size());
            if (sizeOf(other.plain[index].members) < 200) {
                const PlainProperty plain = other.plain[index];
                target.set.addProperty(other.set.getProperty(static_cast<unsigned>(index)));
                target.noteAppended(plain);
            }
        }
        break;
    case 5:
        if (!other.plain.empty()) { // one level down
            const std::size_t index = random.below(other.plain.size());
            const IFC2X3PropertySet& nested =
                other.set.getProperty(static_cast<unsigned>(index)).getPropertyComplex().getPropertySet();
            const PlainSet plain = other.plain[index].members;
            target.set = nested;
            target.plain = plain;
            target.capacity = plain.size();
        }
        break;
    default: {
        // Many in a row, to cross the steps of growth.
        const std::size_t count = random.oneIn(10) ? 60 : 1;
        for (std::size_t i = 0; i < count; ++i) {
            PlainProperty plain = randomProperty(random, sizeOf(other.plain) < 40 ? other.plain : PlainSet{});
            const Overload overload = random.oneIn(2) ? Overload::Texts : Overload::Pointers;
            if (overload == Overload::Texts)
                plain.value.string = untilNul(plain.value.string);
            target.set.addProperty(build(plain, overload));
            target.noteAppended(plain);
        }
    }
    }
    return target;
}

void check(const Modelled& modelled) {
    ASSERT_EQ(difference(modelled.set, modelled.plain), "");
    ASSERT_EQ(capacityOf(modelled.set), modelled.capacity);
    ASSERT_EQ(modelled.set.getProperty(modelled.set.getCount()).getType(), 0u);
}

TEST(PropertySet, DoesWhatAPlainListDoes) {
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::array<Modelled, 4> all;
        for (int i = 0; i < 250; ++i) {
            SCOPED_TRACE("step " + std::to_string(i));
            Modelled& changed = step(random, all);
            check(changed);
            if (sizeOf(changed.plain) > 600) {
                changed.set.clear();
                changed.plain.clear();
            }
            if (i % 10 == 9) // nothing else has changed
                for (const Modelled& modelled : all)
                    check(modelled);
            if (testing::Test::HasFatalFailure())
                return;
        }
    }
}

} // namespace
