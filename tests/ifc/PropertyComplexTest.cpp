// Complex contents: copies, moves and layout.

#include "ifc/PlainProperty.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <initializer_list>
#include <set>
#include <utility>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Complex = IFC2X3PropertyComplex;
using Property = IFC2X3Property;

TEST(PropertyComplex, CopiesAndMovesAreDeepAndKeepSource) {
    PlainProperty plain = plainComplex(VELMOR_WIDE("c"), plainNest(4));
    plain.usageName = longText(255);
    Property owner = build(plain);
    const auto same = [&](const Complex& complex) {
        return WideString(complex.getUsageName()) == plain.usageName &&
               difference(complex.getPropertySet(), plain.members).empty() &&
               capacityOf(complex.getPropertySet()) == plain.members.size();
    };
    Complex source(owner.getPropertyComplex());
    const void* const items = itemsOf(source.getPropertySet());
    const Complex copied(source);
    const Complex moved(std::move(source));
    EXPECT_TRUE(same(source));
    const Property filled = build(plainComplex(VELMOR_WIDE("filled"), plainNest(2)));
    Complex copyAssigned(filled.getPropertyComplex());
    Complex moveAssigned(filled.getPropertyComplex());
    EXPECT_EQ(&(copyAssigned = source), &copyAssigned);
    EXPECT_EQ(&(moveAssigned = std::move(source)), &moveAssigned);
    EXPECT_TRUE(same(source));
    EXPECT_EQ(itemsOf(source.getPropertySet()), items);
    std::set<const void*> all = blocksOf(source.getPropertySet());
    std::size_t blocks = all.size();
    owner = build(plainInteger(VELMOR_WIDE("other"), 0));
    source = filled.getPropertyComplex();
    for (const Complex* const copy : std::initializer_list<const Complex*>{&copied, &moved, &copyAssigned, &moveAssigned}) {
        EXPECT_TRUE(same(*copy));
        const std::set<const void*> own = blocksOf(copy->getPropertySet());
        EXPECT_FALSE(shareBlocks(all, own));
        all.insert(own.begin(), own.end());
        blocks += own.size();
    }
    EXPECT_EQ(all.size(), blocks);
}

TEST(PropertyComplex, CopiesUsageNameBeyondNul) {
    const Property owner = build(plainComplex(VELMOR_WIDE("c"), {}));
    Complex source(owner.getPropertyComplex());
    for (std::size_t unit = 20; unit < 256; ++unit)
        setFieldAt(source, 2 * unit, static_cast<WideChar>(3000 + unit));
    using Text = std::array<WideChar, 256>;
    const auto expected = fieldAt<Text>(source, 0);
    const Complex copied(source);
    const Complex moved(std::move(source));
    Complex copyAssigned(owner.getPropertyComplex());
    copyAssigned = source;
    Complex moveAssigned(owner.getPropertyComplex());
    moveAssigned = std::move(source);
    EXPECT_TRUE(fieldAt<Text>(copied, 0) == expected);
    EXPECT_TRUE(fieldAt<Text>(moved, 0) == expected);
    EXPECT_TRUE(fieldAt<Text>(copyAssigned, 0) == expected);
    EXPECT_TRUE(fieldAt<Text>(moveAssigned, 0) == expected);
}

TEST(PropertyComplex, SelfAssignmentChangesNothing) {
    Complex complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(3))).getPropertyComplex();
    const WideString usageName = complex.getUsageName();
    const Complex& same = complex;
    complex = same;
    EXPECT_TRUE(complex.getUsageName() == usageName);
    EXPECT_EQ(difference(complex.getPropertySet(), plainNest(3)), "");
}

TEST(PropertyComplex, HasFixedLayout) {
    const Property property = build(plainComplex(VELMOR_WIDE("name"), {}));
    const Complex& complex = property.getPropertyComplex();
    const char* const start = reinterpret_cast<const char*>(&complex);
    EXPECT_EQ(reinterpret_cast<const char*>(complex.getUsageName()), start);
    EXPECT_EQ(reinterpret_cast<const char*>(complex.getUsageName2()), start);
    EXPECT_EQ(reinterpret_cast<const char*>(&complex.getPropertySet()), start + 512);
}

} // namespace
