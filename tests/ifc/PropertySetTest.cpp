// Sets of properties: growth, clearing, copies, access and layout.

#include "ifc/PlainProperty.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Set = IFC2X3PropertySet;

static_assert(sizeof(Set) == 16);
static_assert(std::is_default_constructible_v<Set> && std::is_copy_constructible_v<Set> && std::is_copy_assignable_v<Set>);
static_assert(!std::is_polymorphic_v<Set>);
static_assert(std::is_same_v<decltype(std::declval<const Set&>().getCount()), unsigned int>);
static_assert(std::is_same_v<decltype(std::declval<const Set&>().getProperty(0)), const IFC2X3Property&>);

TEST(PropertySet, IsEmptyWithoutArrayByDefault) {
    const Set set;
    EXPECT_EQ(set.getCount(), 0u);
    EXPECT_EQ(capacityOf(set), 0u);
    EXPECT_EQ(itemsOf(set), nullptr);
}

TEST(PropertySet, HasFixedLayout) {
    const Set set = build(plainIntegers(3));
    EXPECT_EQ(fieldAt<std::uint32_t>(set, 0), 3u);
    EXPECT_EQ(fieldAt<std::uint32_t>(set, 4), 50u);
    const auto* const items = fieldAt<const IFC2X3Property* const*>(set, 8);
    for (unsigned i = 0; i < 3; ++i)
        EXPECT_EQ(items[i], &set.getProperty(i));
}

TEST(PropertySet, KeepsOrderOfInsertion) {
    PlainSet plain{plainString(VELMOR_WIDE("z"), longText(40)), plainReal(VELMOR_WIDE("a"), 1),
                   plainComplex(VELMOR_WIDE("m"), plainNest(2)), plainReal(VELMOR_WIDE("a"), 1)};
    EXPECT_EQ(difference(build(plain), plain), "") << "a name may occur twice";
}

TEST(PropertySet, OwnsCopyOfAddedProperty) {
    Set set;
    const PlainProperty plain = plainComplex(VELMOR_WIDE("c"), plainNest(3));
    {
        const IFC2X3Property property = build(plain);
        set.addProperty(property);
        EXPECT_FALSE(shareBlocks(blocksOf(property), blocksOf(set)));
        EXPECT_EQ(difference(property, plain), "");
    }
    EXPECT_EQ(difference(set, {plain}), "");
}

TEST(PropertySet, AcceptsPropertyWithoutContent) {
    const Set empty;
    Set set;
    set.addProperty(empty.getProperty(0));
    EXPECT_EQ(set.getCount(), 1u);
    EXPECT_NE(&set.getProperty(0), &empty.getProperty(0));
    EXPECT_EQ(set.getProperty(0).getType(), 0u);
    EXPECT_EQ(set.getProperty(0).getName()[0], 0);
}

TEST(PropertySet, GrowsByFiftySlots) {
    Set set;
    const IFC2X3Property property = build(plainInteger(VELMOR_WIDE("n"), 1));
    for (unsigned count = 1; count <= 260; ++count) {
        const void* const first = count > 1 ? &set.getProperty(0) : nullptr;
        set.addProperty(property);
        ASSERT_EQ(set.getCount(), count);
        ASSERT_EQ(capacityOf(set), (count + 49) / 50 * 50);
        if (first != nullptr) {
            ASSERT_EQ(&set.getProperty(0), first) << "a reference is valid while the set grows";
        }
    }
}

TEST(PropertySet, CopyHasNoSpareSlots) {
    for (const unsigned count : {0u, 1u, 7u, 49u, 50u, 51u, 99u, 100u, 101u, 260u}) {
        SCOPED_TRACE(count);
        const Set source = build(plainIntegers(count));
        Set copy(source);
        Set assigned = build(plainNest(2));
        assigned = source;
        for (Set* set : {&copy, &assigned}) {
            EXPECT_EQ(difference(*set, plainIntegers(count)), "");
            EXPECT_EQ(capacityOf(*set), count);
            set->addProperty(build(plainInteger(VELMOR_WIDE("count"), static_cast<std::int32_t>(count))));
            EXPECT_EQ(difference(*set, plainIntegers(count + 1)), "");
            EXPECT_EQ(capacityOf(*set), count + 50);
        }
        EXPECT_EQ(difference(source, plainIntegers(count)), "");
        EXPECT_EQ(capacityOf(source), (count + 49) / 50 * 50);
    }
}

TEST(PropertySet, CopyGrowsByFiftyFromItsOwnCapacity) {
    const Set source = build(plainIntegers(7));
    Set copy(source);
    const IFC2X3Property property = build(plainInteger(VELMOR_WIDE("n"), 1));
    for (unsigned count = 8; count <= 108; ++count) {
        copy.addProperty(property);
        ASSERT_EQ(capacityOf(copy), count <= 57 ? 57u : count <= 107 ? 107u : 157u) << count;
    }
    EXPECT_EQ(capacityOf(Set(copy)), 108u);
}

TEST(PropertySet, ClearKeepsArray) {
    for (const unsigned count : {1u, 50u, 51u, 120u}) {
        SCOPED_TRACE(count);
        Set set = build(plainIntegers(count));
        const std::uint32_t capacity = capacityOf(set);
        const void* const items = itemsOf(set);
        for (int round = 0; round < 3; ++round) {
            set.clear();
            EXPECT_EQ(set.getCount(), 0u);
            EXPECT_EQ(capacityOf(set), capacity);
            EXPECT_EQ(itemsOf(set), items);
            EXPECT_EQ(set.getProperty(0).getType(), 0u);
            for (unsigned i = 0; i < capacity; ++i)
                set.addProperty(build(plainNest(1)[1]));
            EXPECT_EQ(capacityOf(set), capacity);
            EXPECT_EQ(itemsOf(set), items);
        }
        set.addProperty(build(plainReal(VELMOR_WIDE("r"), 1)));
        EXPECT_EQ(capacityOf(set), capacity + 50);
    }
}

TEST(PropertySet, CanBeClearedWhenEmpty) {
    Set set;
    set.clear();
    set.clear();
    EXPECT_EQ(set.getCount(), 0u);
    EXPECT_EQ(capacityOf(set), 0u);
    EXPECT_EQ(itemsOf(set), nullptr);
}

TEST(PropertySet, CopyOfClearedSetHasNoSlots) {
    Set source = build(plainIntegers(60));
    source.clear();
    Set copy(source);
    EXPECT_EQ(copy.getCount(), 0u);
    EXPECT_EQ(capacityOf(copy), 0u);
    copy.addProperty(build(plainReal(VELMOR_WIDE("r"), 1)));
    EXPECT_EQ(difference(copy, {plainReal(VELMOR_WIDE("r"), 1)}), "");
    EXPECT_EQ(capacityOf(copy), 50u);
}

TEST(PropertySet, AssignmentReplacesContent) {
    const PlainSet contents[] = {{}, plainIntegers(1), plainIntegers(51), plainNest(5), plainNest(1)};
    for (const PlainSet& before : contents)
        for (const PlainSet& after : contents) {
            Set target = build(before);
            std::optional<Set> source(build(after));
            EXPECT_EQ(&(target = *source), &target);
            EXPECT_FALSE(shareBlocks(blocksOf(target), blocksOf(*source)));
            EXPECT_EQ(difference(*source, after), "");
            source.reset();
            EXPECT_EQ(difference(target, after), "");
            EXPECT_EQ(capacityOf(target), after.size());
        }
}

TEST(PropertySet, CopyIsIndependentOfItsSource) {
    Set source = build(plainNest(4));
    Set copy(source);
    Set copyOfCopy(copy);
    source.clear();
    EXPECT_EQ(difference(copy, plainNest(4)), "");
    copy.addProperty(build(plainReal(VELMOR_WIDE("r"), 1)));
    copy = build(plainIntegers(2));
    EXPECT_EQ(difference(copyOfCopy, plainNest(4)), "");
    EXPECT_EQ(source.getCount(), 0u);
}

TEST(PropertySet, MoveIsCopy) {
    Set source = build(plainNest(4));
    const std::set<const void*> blocks = blocksOf(source);
    const Set constructed(std::move(source));
    Set assigned = build(plainIntegers(3));
    assigned = std::move(source);
    EXPECT_EQ(difference(source, plainNest(4)), "");
    EXPECT_EQ(blocksOf(source), blocks);
    EXPECT_EQ(capacityOf(source), 50u);
    EXPECT_EQ(difference(constructed, plainNest(4)), "");
    EXPECT_EQ(capacityOf(constructed), 3u);
    EXPECT_EQ(difference(assigned, plainNest(4)), "");
}

TEST(PropertySet, ReturnsSharedDefaultForIndexOutOfRange) {
    const Set empty;
    const Set three = build(plainIntegers(3));
    Set cleared = build(plainIntegers(3));
    cleared.clear();
    const IFC2X3Property* const shared = &empty.getProperty(0);
    EXPECT_EQ(shared->getType(), 0u);
    EXPECT_EQ(shared->getName()[0], 0);
    EXPECT_EQ(shared->getName2()[0], 0);
    EXPECT_EQ(shared->getDescription()[0], 0);
    EXPECT_EQ(shared->getDescription2()[0], 0);
    EXPECT_EQ(fieldAt<const void*>(*shared, at::singleValue), nullptr);
    EXPECT_EQ(fieldAt<const void*>(*shared, at::complex), nullptr);
    for (const unsigned index : {0u, 1u, 2u, 3u, 4u, 49u, 50u, 51u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(&empty.getProperty(index), shared);
        EXPECT_EQ(&cleared.getProperty(index), shared);
        if (index >= 3) {
            EXPECT_EQ(&three.getProperty(index), shared);
        } else {
            EXPECT_NE(&three.getProperty(index), shared);
        }
    }
}

TEST(PropertySet, CanAppendItsOwnPropertyWhileGrowing) {
    PlainSet plain{plainComplex(VELMOR_WIDE("own"), plainNest(2)), plainString(VELMOR_WIDE("s"), longText(90))};
    Set set = build(plain);
    for (unsigned count = 2; count < 155; ++count) {
        const unsigned from = count % 3 == 0 ? count - 1 : count % 2;
        set.addProperty(set.getProperty(from));
        plain.push_back(PlainProperty(plain[from]));
    }
    EXPECT_EQ(difference(set, plain), "");
    EXPECT_EQ(capacityOf(set), 200u);
    Set exact(set); // no spare slots, so the next append makes it grow
    exact.addProperty(exact.getProperty(0));
    plain.push_back(PlainProperty(plain[0]));
    EXPECT_EQ(difference(exact, plain), "");
    EXPECT_EQ(blocksOf(exact.getProperty(155)).size(), blocksOf(exact.getProperty(0)).size());
    EXPECT_FALSE(shareBlocks(blocksOf(exact.getProperty(155)), blocksOf(exact.getProperty(0))));
}

TEST(PropertySet, CanAppendPropertyOfItsNestedSet) {
    PlainSet plain{plainComplex(VELMOR_WIDE("own"), plainNest(3))};
    Set set(build(plain));
    set = Set(set); // no spare slots, so the next append makes it grow
    ASSERT_EQ(capacityOf(set), 1u);
    set.addProperty(set.getProperty(0).getPropertyComplex().getPropertySet().getProperty(1));
    plain.push_back(PlainProperty(plain[0].members[1]));
    EXPECT_EQ(difference(set, plain), "");
}

TEST(PropertySet, SelfAssignmentKeepsContent) {
    for (const PlainSet& plain : {PlainSet{}, plainNest(3), plainIntegers(51)}) {
        Set set = build(plain);
        const Set& same = set;
        set = same;
        EXPECT_EQ(difference(set, plain), "");
        EXPECT_GE(capacityOf(set), plain.size()) << "spare slots may be released";
    }
}

TEST(PropertySet, CanBeAssignedFromItsNestedSet) {
    Set set = build(plainNest(3));
    set = set.getProperty(1).getPropertyComplex().getPropertySet();
    EXPECT_EQ(difference(set, plainNest(2)), "");
}

TEST(PropertySet, Holds100000Properties) {
    constexpr unsigned count = 100000;
    const auto set = std::make_unique<Set>();
    const WideString name = longText(10000);
    for (unsigned i = 0; i < count; ++i)
        set->addProperty(
            createPropertySingleValueInteger(name, name, IFC2X3PropertySingleValue::Integer, static_cast<std::int32_t>(i)));
    ASSERT_EQ(set->getCount(), count);
    EXPECT_EQ(capacityOf(*set), count);
    const auto copy = std::make_unique<Set>(*set);
    set->clear();
    EXPECT_EQ(capacityOf(*set), count);
    ASSERT_EQ(copy->getCount(), count);
    EXPECT_EQ(capacityOf(*copy), count);
    for (unsigned i = 0; i < count; ++i)
        ASSERT_EQ(copy->getProperty(i).getPropertySingleValue().getIntValue(), static_cast<std::int32_t>(i));
    EXPECT_TRUE(WideString(copy->getProperty(count - 1).getName()) == name.substr(0, 255));
    EXPECT_EQ(copy->getProperty(count).getType(), 0u);
}

} // namespace
