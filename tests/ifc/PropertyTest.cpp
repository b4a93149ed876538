// Properties: the public interface, their content, copies and layout.

#include "ifc/PlainProperty.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <type_traits>
#include <utility>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Value = IFC2X3PropertySingleValue;
using Complex = IFC2X3PropertyComplex;
using Property = IFC2X3Property;

// Only the factories create properties, values and complex contents.
static_assert(!std::is_default_constructible_v<Property>);
static_assert(!std::is_default_constructible_v<Value>);
static_assert(!std::is_default_constructible_v<Complex>);
static_assert(std::is_copy_constructible_v<Property> && std::is_copy_assignable_v<Property>);
static_assert(std::is_copy_constructible_v<Value> && std::is_copy_assignable_v<Value>);
static_assert(std::is_copy_constructible_v<Complex> && std::is_copy_assignable_v<Complex>);
static_assert(!std::is_polymorphic_v<Property> && !std::is_polymorphic_v<Value> && !std::is_polymorphic_v<Complex>);

// The enumerations can hold any 32-bit number.
static_assert(sizeof(Property::Type_t) == 4 && sizeof(Value::ValueType_t) == 4 && sizeof(Value::Logical_s) == 4);
static_assert(static_cast<std::uint32_t>(static_cast<Property::Type_t>(0xFFFFFFFFu)) == 0xFFFFFFFFu);
static_assert(static_cast<std::uint32_t>(static_cast<Value::ValueType_t>(0xFFFFFFFFu)) == 0xFFFFFFFFu);
static_assert(static_cast<std::uint32_t>(static_cast<Value::Logical_s>(0xFFFFFFFFu)) == 0xFFFFFFFFu);

static_assert(sizeof(Property) == 1048 && sizeof(Complex) == 528 && sizeof(Value) == 80);

template <class Result, class Class>
constexpr bool returns(Result (Class::*)() const) {
    return true;
}

static_assert(returns<Property::Type_t, Property>(&Property::getType));
static_assert(returns<const WideChar*, Property>(&Property::getName));
static_assert(returns<const unsigned short*, Property>(&Property::getName2));
static_assert(returns<const WideChar*, Property>(&Property::getDescription));
static_assert(returns<const unsigned short*, Property>(&Property::getDescription2));
static_assert(returns<const Value&, Property>(&Property::getPropertySingleValue));
static_assert(returns<const Complex&, Property>(&Property::getPropertyComplex));
static_assert(returns<Value::ValueType_t, Value>(&Value::getValueType));
static_assert(returns<bool, Value>(&Value::getBooleanValue));
static_assert(returns<std::int32_t, Value>(&Value::getIntValue));
static_assert(returns<std::int64_t, Value>(&Value::getInt64Value));
static_assert(returns<double, Value>(&Value::getRealValue));
static_assert(returns<Value::Logical_s, Value>(&Value::getLogicalValue));
static_assert(returns<const WideChar*, Value>(&Value::getStringValue));
static_assert(returns<const unsigned short*, Value>(&Value::getStringValue2));
static_assert(returns<const WideString&, Value>(&Value::getAsString));
static_assert(returns<const int*, Value>(&Value::getCompoundPlaneAngle));
static_assert(returns<const WideChar*, Complex>(&Complex::getUsageName));
static_assert(returns<const unsigned short*, Complex>(&Complex::getUsageName2));
static_assert(returns<const IFC2X3PropertySet&, Complex>(&Complex::getPropertySet));

/// One property of each kind.
PlainSet everyKind() {
    PlainSet plain;
    for (std::uint32_t type = 0; type <= 12; ++type) {
        PlainProperty property;
        property.name = VELMOR_WIDE("name ") + WideString(1, static_cast<WideChar>('a' + type));
        property.description = longText(10 * type);
        property.value.type = type;
        if (type == 1)
            property.value.string = longText(300);
        if (type == 2)
            property.value.boolean = true;
        if (type == 3)
            property.value.integer = -33;
        if (isRealType(type))
            property.value.real = -2.5 + type;
        if (type == 10)
            property.value.integer64 = -5000000000;
        if (type == 11)
            property.value.logical = 1;
        if (type == 12)
            property.value.angle = {-1, 2, -3, 4};
        plain.push_back(property);
    }
    plain.push_back(plainComplex(VELMOR_WIDE("empty complex"), {}));
    plain.push_back(plainComplex(VELMOR_WIDE("complex"), plain));
    plain.push_back(plainComplex(VELMOR_WIDE("deep complex"), plainNest(6)));
    return plain;
}

TEST(Property, CopyIsEqualAndOwnsItsContent) {
    for (const PlainProperty& plain : everyKind()) {
        std::optional<Property> source(build(plain));
        ASSERT_EQ(difference(*source, plain), "");
        const Property copy(*source);
        const Property copyOfCopy(copy);
        const Property moved(std::move(*source));
        EXPECT_EQ(difference(*source, plain), "");
        EXPECT_FALSE(shareBlocks(blocksOf(copy), blocksOf(*source)));
        EXPECT_FALSE(shareBlocks(blocksOf(copyOfCopy), blocksOf(copy)));
        EXPECT_FALSE(shareBlocks(blocksOf(moved), blocksOf(*source)));
        EXPECT_EQ(blocksOf(copy).size(), blocksOf(*source).size());
        source.reset();
        EXPECT_EQ(difference(copy, plain), "");
        EXPECT_EQ(difference(copyOfCopy, plain), "");
        EXPECT_EQ(difference(moved, plain), "");
    }
}

TEST(Property, AssignmentReplacesEveryKindByEveryKind) {
    const PlainSet all = everyKind();
    for (const PlainProperty& before : all)
        for (const PlainProperty& after : all) {
            Property target = build(before);
            std::optional<Property> source(build(after));
            EXPECT_EQ(&(target = *source), &target);
            ASSERT_FALSE(shareBlocks(blocksOf(target), blocksOf(*source)));
            ASSERT_EQ(difference(*source, after), "");
            source.reset();
            ASSERT_EQ(difference(target, after), "");
            target = build(before); // from a temporary
            ASSERT_EQ(difference(target, before), "");
        }
}

TEST(Property, MoveKeepsSourceUnchanged) {
    for (const PlainProperty& plain : everyKind()) {
        Property source = build(plain);
        const std::set<const void*> blocks = blocksOf(source);
        const Property constructed(std::move(source));
        Property assigned = build(plainInteger(VELMOR_WIDE("n"), 1));
        assigned = std::move(source);
        EXPECT_EQ(difference(source, plain), "");
        EXPECT_EQ(blocksOf(source), blocks);
        EXPECT_EQ(difference(constructed, plain), "");
        EXPECT_EQ(difference(assigned, plain), "");
    }
}

TEST(Property, SelfAssignmentChangesNothing) {
    for (const PlainProperty& plain : everyKind()) {
        Property property = build(plain);
        const Property& same = property;
        property = same;
        EXPECT_EQ(difference(property, plain), "");
    }
}

TEST(Property, CanBeAssignedFromItsOwnContent) {
    Property property = build(plainComplex(VELMOR_WIDE("outer"), plainNest(3)));
    property = property.getPropertyComplex().getPropertySet().getProperty(1);
    EXPECT_EQ(difference(property, plainNest(3)[1]), "");
    property = property.getPropertyComplex().getPropertySet().getProperty(0);
    EXPECT_EQ(difference(property, plainNest(2)[0]), "");
}

TEST(Property, CopiesTextArraysBeyondNul) {
    Property source = build(plainInteger(VELMOR_WIDE("n"), 1));
    for (std::size_t unit = 10; unit < 256; ++unit) {
        setFieldAt(source, at::name + 2 * unit, static_cast<WideChar>(1000 + unit));
        setFieldAt(source, at::description + 2 * unit, static_cast<WideChar>(2000 + unit));
    }
    using Texts = std::array<WideChar, 512>;
    const auto expected = fieldAt<Texts>(source, at::name);
    const Property copy(source);
    Property assigned = build(plainInteger(longText(255), 2));
    assigned = source;
    EXPECT_TRUE(fieldAt<Texts>(copy, at::name) == expected);
    EXPECT_TRUE(fieldAt<Texts>(assigned, at::name) == expected);
}

TEST(Property, HasFixedLayout) {
    const Property property = build(plainString(VELMOR_WIDE("name"), VELMOR_WIDE("text")));
    const char* const start = reinterpret_cast<const char*>(&property);
    EXPECT_EQ(fieldAt<std::uint32_t>(property, 0), 1u);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getName()), start + 4);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getName2()), start + 4);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getDescription()), start + 516);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getDescription2()), start + 516);
    EXPECT_EQ(fieldAt<const void*>(property, 1032), &property.getPropertySingleValue());
    EXPECT_EQ(fieldAt<const void*>(property, 1040), nullptr);
    const Property complex = build(plainComplex(VELMOR_WIDE("name"), {}));
    EXPECT_EQ(fieldAt<std::uint32_t>(complex, 0), 2u);
    EXPECT_EQ(fieldAt<const void*>(complex, 1032), nullptr);
    EXPECT_EQ(fieldAt<const void*>(complex, 1040), &complex.getPropertyComplex());
}

void expectDefault(const Value& value) {
    EXPECT_EQ(difference(value, PlainValue{}), "");
    EXPECT_EQ(value.getRealValue(), 0.0);
}

void expectEmpty(const Complex& complex) {
    EXPECT_EQ(complex.getUsageName()[0], 0);
    EXPECT_EQ(complex.getUsageName2()[0], 0);
    EXPECT_EQ(complex.getPropertySet().getCount(), 0u);
    EXPECT_EQ(capacityOf(complex.getPropertySet()), 0u);
    EXPECT_EQ(itemsOf(complex.getPropertySet()), nullptr);
    EXPECT_EQ(complex.getPropertySet().getProperty(0).getType(), 0u);
}

TEST(Property, ReturnsSharedDefaultForWrongKind) {
    const Property integer = build(plainInteger(VELMOR_WIDE("a"), 1));
    const Property text = build(plainString(VELMOR_WIDE("b"), longText(50)));
    const Property complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(2)));
    const Property other = build(plainComplex(VELMOR_WIDE("d"), {}));
    expectEmpty(integer.getPropertyComplex());
    EXPECT_EQ(&integer.getPropertyComplex(), &integer.getPropertyComplex());
    EXPECT_EQ(&integer.getPropertyComplex(), &text.getPropertyComplex());
    expectDefault(complex.getPropertySingleValue());
    EXPECT_EQ(&complex.getPropertySingleValue(), &complex.getPropertySingleValue());
    EXPECT_EQ(&complex.getPropertySingleValue(), &other.getPropertySingleValue());
    const IFC2X3PropertySet set;
    expectDefault(set.getProperty(0).getPropertySingleValue());
    expectEmpty(set.getProperty(0).getPropertyComplex());
    EXPECT_EQ(&set.getProperty(0).getPropertySingleValue(), &complex.getPropertySingleValue());
    EXPECT_EQ(&set.getProperty(0).getPropertyComplex(), &integer.getPropertyComplex());
}

TEST(Property, CopiesOfSharedDefaultsAreIndependent) {
    const Property complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(2)));
    const Property integer = build(plainInteger(VELMOR_WIDE("a"), 1));
    Value value(complex.getPropertySingleValue());
    expectDefault(value);
    value = build(plainString(VELMOR_WIDE("b"), longText(50))).getPropertySingleValue();
    EXPECT_TRUE(value.getAsString() == longText(50));
    Complex content(integer.getPropertyComplex());
    expectEmpty(content);
    content = complex.getPropertyComplex();
    EXPECT_EQ(difference(content.getPropertySet(), plainNest(2)), "");
    Property none(IFC2X3PropertySet().getProperty(0));
    EXPECT_EQ(none.getType(), 0u);
    EXPECT_TRUE(blocksOf(none).empty());
    none = complex;
    EXPECT_EQ(difference(none, plainComplex(VELMOR_WIDE("c"), plainNest(2))), "");
    none = IFC2X3PropertySet().getProperty(3);
    EXPECT_EQ(none.getType(), 0u);
    EXPECT_TRUE(blocksOf(none).empty());
    expectDefault(complex.getPropertySingleValue());
    expectEmpty(integer.getPropertyComplex());
    EXPECT_EQ(IFC2X3PropertySet().getProperty(0).getType(), 0u);
}

TEST(Property, TypeSelectsContent) {
    Property integer = build(plainInteger(VELMOR_WIDE("a"), 5));
    Property complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(2)));
    const Value* const noValue = &complex.getPropertySingleValue();
    const Complex* const noComplex = &integer.getPropertyComplex();
    const auto* const value = &integer.getPropertySingleValue();
    const auto* const content = &complex.getPropertyComplex();
    for (const std::uint32_t type : {0u, 1u, 2u, 3u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(type);
        setFieldAt(integer, at::type, type);
        EXPECT_EQ(integer.getType(), type);
        EXPECT_EQ(&integer.getPropertySingleValue(), type == 1 ? value : noValue);
        EXPECT_EQ(&integer.getPropertyComplex(), noComplex);
        setFieldAt(complex, at::type, type);
        EXPECT_EQ(&complex.getPropertyComplex(), type == 2 ? content : noComplex);
        EXPECT_EQ(&complex.getPropertySingleValue(), noValue);
    }
}

TEST(Property, CopiesUnnamedTypesAndAllContent) {
    // A property with both pointers set; no factory creates one.
    PlainProperty plainValue = plainString(VELMOR_WIDE("both"), longText(70));
    PlainProperty plainContent = plainComplex(VELMOR_WIDE("both"), plainNest(3));
    Property both = build(plainValue);
    {
        Property donor = build(plainContent);
        setFieldAt(both, at::complex, fieldAt<void*>(donor, at::complex));
        setFieldAt(donor, at::complex, static_cast<void*>(nullptr));
    }
    const auto check = [&](Property& property, std::uint32_t type) {
        EXPECT_EQ(property.getType(), type);
        EXPECT_TRUE(WideString(property.getName()) == plainValue.name);
        setFieldAt(property, at::type, std::uint32_t{1});
        EXPECT_TRUE(property.getPropertySingleValue().getAsString() == longText(70));
        setFieldAt(property, at::type, std::uint32_t{2});
        EXPECT_EQ(difference(property.getPropertyComplex().getPropertySet(), plainNest(3)), "");
        EXPECT_EQ(fieldAt<std::uint32_t>(property, at::type), 2u);
    };
    for (const std::uint32_t type : {0u, 1u, 2u, 3u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(type);
        setFieldAt(both, at::type, type);
        Property copy(both);
        Property assigned = build(plainContent);
        assigned = both;
        EXPECT_FALSE(shareBlocks(blocksOf(copy), blocksOf(both)));
        check(copy, type);
        check(assigned, type);
    }
}

TEST(Property, CopyIsDeepAtEveryDepth) {
    for (unsigned levels = 1; levels <= 50; ++levels) {
        SCOPED_TRACE(levels);
        const PlainProperty plain = plainComplex(VELMOR_WIDE("top"), plainNest(levels));
        std::optional<Property> source(build(plain));
        const std::set<const void*> blocks = blocksOf(*source);
        std::optional<Property> copy(*source);
        std::optional<Property> copyOfCopy(*copy);
        Property assigned = build(plainComplex(VELMOR_WIDE("other"), plainNest(51 - levels)));
        assigned = *copyOfCopy;
        EXPECT_EQ(blocks.size(), blocksOf(*copy).size());
        EXPECT_FALSE(shareBlocks(blocks, blocksOf(*copy)));
        EXPECT_FALSE(shareBlocks(blocksOf(*copy), blocksOf(*copyOfCopy)));
        EXPECT_FALSE(shareBlocks(blocksOf(*copyOfCopy), blocksOf(assigned)));
        source.reset();
        ASSERT_EQ(difference(*copy, plain), "");
        copy.reset();
        ASSERT_EQ(difference(*copyOfCopy, plain), "");
        copyOfCopy.reset();
        ASSERT_EQ(difference(assigned, plain), "");
    }
}

TEST(Property, CopiesAndDestroysChainOf300Levels) {
    const WideChar name[] = {'n', 0};
    Property chain = createPropertySingleValueReal(name, name, Value::Real, 1.5);
    constexpr int levels = 300;
    for (int level = 0; level < levels; ++level) {
        IFC2X3PropertySet set;
        set.addProperty(chain);
        chain = createPropertyComplex(name, name, name, set);
    }
    const Property copy(chain);
    chain = createPropertySingleValueReal(name, name, Value::Real, 2.5);
    const Property* property = &copy;
    for (int level = 0; level < levels; ++level) {
        ASSERT_EQ(property->getType(), 2u) << level;
        const IFC2X3PropertySet& set = property->getPropertyComplex().getPropertySet();
        ASSERT_EQ(set.getCount(), 1u) << level;
        property = &set.getProperty(0);
    }
    EXPECT_EQ(property->getPropertySingleValue().getRealValue(), 1.5);
}

TEST(Property, CopyIsIndependentOfClearedSource) {
    IFC2X3PropertySet set = build(plainNest(3));
    const Property source = build(plainComplex(VELMOR_WIDE("c"), plainNest(3)));
    Property copy = build(plainInteger(VELMOR_WIDE("n"), 1));
    copy = createPropertyComplex(VELMOR_WIDE("c"), VELMOR_WIDE("about c"), VELMOR_WIDE("use of c"), set);
    set.clear();
    EXPECT_EQ(difference(copy, plainComplex(VELMOR_WIDE("c"), plainNest(3))), "");
    // A copy of the nested set is independent of it.
    IFC2X3PropertySet nested(copy.getPropertyComplex().getPropertySet());
    nested.clear();
    EXPECT_EQ(difference(copy, plainComplex(VELMOR_WIDE("c"), plainNest(3))), "");
}

} // namespace
