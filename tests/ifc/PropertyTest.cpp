// What single values, complexes and properties give, how they are copied, and how their records are laid out.

#include "ifc/PlainProperty.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Value = IFC2X3PropertySingleValue;
using Complex = IFC2X3PropertyComplex;
using Property = IFC2X3Property;

// Only factories make them.
static_assert(!std::is_default_constructible_v<Property>);
static_assert(!std::is_default_constructible_v<Value>);
static_assert(!std::is_default_constructible_v<Complex>);
static_assert(std::is_copy_constructible_v<Property> && std::is_copy_assignable_v<Property>);
static_assert(std::is_copy_constructible_v<Value> && std::is_copy_assignable_v<Value>);
static_assert(std::is_copy_constructible_v<Complex> && std::is_copy_assignable_v<Complex>);
static_assert(!std::is_polymorphic_v<Property> && !std::is_polymorphic_v<Value> && !std::is_polymorphic_v<Complex>);

// The enumerations hold any 32-bit value.
static_assert(sizeof(Property::Type_t) == 4 && sizeof(Value::ValueType_t) == 4 && sizeof(Value::Logical_s) == 4);
static_assert(static_cast<std::uint32_t>(static_cast<Property::Type_t>(0xFFFFFFFFu)) == 0xFFFFFFFFu);
static_assert(static_cast<std::uint32_t>(static_cast<Value::ValueType_t>(0xFFFFFFFFu)) == 0xFFFFFFFFu);
static_assert(static_cast<std::uint32_t>(static_cast<Value::Logical_s>(0xFFFFFFFFu)) == 0xFFFFFFFFu);

static_assert(sizeof(Property) == 1048 && sizeof(Complex) == 528 && sizeof(Value) == 80);

template <class Result, class Class>
constexpr bool gives(Result (Class::*)() const) {
    return true;
}

static_assert(gives<Property::Type_t, Property>(&Property::getType));
static_assert(gives<const WideChar*, Property>(&Property::getName));
static_assert(gives<const unsigned short*, Property>(&Property::getName2));
static_assert(gives<const WideChar*, Property>(&Property::getDescription));
static_assert(gives<const unsigned short*, Property>(&Property::getDescription2));
static_assert(gives<const Value&, Property>(&Property::getPropertySingleValue));
static_assert(gives<const Complex&, Property>(&Property::getPropertyComplex));
static_assert(gives<Value::ValueType_t, Value>(&Value::getValueType));
static_assert(gives<bool, Value>(&Value::getBooleanValue));
static_assert(gives<std::int32_t, Value>(&Value::getIntValue));
static_assert(gives<std::int64_t, Value>(&Value::getInt64Value));
static_assert(gives<double, Value>(&Value::getRealValue));
static_assert(gives<Value::Logical_s, Value>(&Value::getLogicalValue));
static_assert(gives<const WideChar*, Value>(&Value::getStringValue));
static_assert(gives<const unsigned short*, Value>(&Value::getStringValue2));
static_assert(gives<const WideString&, Value>(&Value::getAsString));
static_assert(gives<const int*, Value>(&Value::getCompoundPlaneAngle));
static_assert(gives<const WideChar*, Complex>(&Complex::getUsageName));
static_assert(gives<const unsigned short*, Complex>(&Complex::getUsageName2));
static_assert(gives<const IFC2X3PropertySet&, Complex>(&Complex::getPropertySet));

const std::uint32_t valueTypes[] = {0,  1,  2,  3,  4,  5,   6,   7,          8,          9,
                                    10, 11, 12, 13, 14, 100, 259, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

bool isReal(std::uint32_t type) {
    return type == 0 || (type >= 4 && type <= 9);
}

/// A value with something in every field, whatever its type.
Value fullValue(std::uint32_t type) {
    Value value = build(plainString(VELMOR_WIDE("n"), VELMOR_WIDE("some text"))).getPropertySingleValue();
    setFieldAt(value, at::valueType, type);
    setFieldAt(value, at::boolean, true);
    setFieldAt(value, at::logical, std::uint32_t{1});
    setFieldAt(value, at::integer, std::int32_t{-33});
    setFieldAt(value, at::real, -2.5);
    setFieldAt(value, at::integer64, std::int64_t{-5000000000});
    setFieldAt(value, at::angle, std::array<int, 4>{-1, 2, -3, 4});
    return value;
}

/// A model for `fullValue`.
PlainValue plainFullValue(std::uint32_t type) {
    PlainValue plain;
    plain.type = type;
    plain.boolean = true;
    plain.logical = 1;
    plain.integer = -33;
    plain.real = -2.5;
    plain.integer64 = -5000000000;
    plain.string = VELMOR_WIDE("some text");
    plain.angle = {-1, 2, -3, 4};
    return plain;
}

TEST(PropertySingleValue, EachGetterGivesItsFieldForItsTypesAndElseItsNeutralValue) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        const Value value = fullValue(type);
        for (int round = 0; round < 2; ++round) { // the second time, no flag is fresh
            EXPECT_EQ(value.getValueType(), type);
            EXPECT_EQ(value.getBooleanValue(), type == 2);
            EXPECT_EQ(value.getIntValue(), type == 3 ? -33 : 0);
            EXPECT_EQ(value.getInt64Value(), type == 10 ? -5000000000 : 0);
            EXPECT_EQ(value.getRealValue(), isReal(type) ? -2.5 : 0.0);
            EXPECT_EQ(value.getLogicalValue(), type == 11 ? 1u : 2u);
            const WideString text = type == 1 ? VELMOR_WIDE("some text") : VELMOR_WIDE("");
            EXPECT_TRUE(WideString(value.getStringValue()) == text);
            const unsigned short* const text2 = value.getStringValue2();
            EXPECT_EQ(std::memcmp(text2, text.c_str(), 2 * (text.size() + 1)), 0);
            EXPECT_TRUE(value.getAsString() == text);
            EXPECT_EQ(std::vector<int>(value.getCompoundPlaneAngle(), value.getCompoundPlaneAngle() + 4),
                      (std::vector<int>{-1, 2, -3, 4}));
        }
    }
}

TEST(PropertySingleValue, ANegativeZeroIsNotGivenForAWrongType) {
    Value value = fullValue(3);
    setFieldAt(value, at::real, -0.0);
    EXPECT_FALSE(std::signbit(value.getRealValue()));
    setFieldAt(value, at::valueType, std::uint32_t{4});
    EXPECT_TRUE(std::signbit(value.getRealValue()));
}

TEST(PropertySingleValue, GettersChangeNothing) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        const Value value = fullValue(type);
        value.getBooleanValue();
        value.getIntValue();
        value.getInt64Value();
        value.getRealValue();
        value.getLogicalValue();
        value.getStringValue();
        value.getStringValue2();
        value.getAsString();
        value.getCompoundPlaneAngle();
        EXPECT_EQ(difference(value, plainFullValue(type)), "");
    }
}

TEST(PropertySingleValue, TextGettersGiveTheStoredTextItself) {
    const Value value = fullValue(1);
    EXPECT_EQ(&value.getAsString(), &stringOf(value));
    EXPECT_EQ(value.getStringValue(), stringOf(value).c_str());
    EXPECT_EQ(static_cast<const void*>(value.getStringValue2()), stringOf(value).c_str());
}

TEST(PropertySingleValue, WithoutATextEveryValueGivesOneSharedEmptyString) {
    const WideString* const shared = &fullValue(2).getAsString();
    EXPECT_TRUE(shared->empty());
    for (const std::uint32_t type : valueTypes) {
        const Value value = fullValue(type);
        if (type != 1) {
            EXPECT_EQ(&value.getAsString(), shared) << type;
        }
    }
}

TEST(PropertySingleValue, TheEmptyTextOfAWrongTypeOutlivesTheValue) {
    std::optional<Value> value(fullValue(5));
    const WideChar* const text = value->getStringValue();
    const unsigned short* const text2 = value->getStringValue2();
    value.reset();
    EXPECT_EQ(*text, 0);
    EXPECT_EQ(*text2, 0);
}

TEST(PropertySingleValue, TheAngleIsGivenInPlace) {
    const Value value = fullValue(12);
    EXPECT_EQ(static_cast<const void*>(value.getCompoundPlaneAngle()), reinterpret_cast<const char*>(&value) + at::angle);
}

TEST(PropertySingleValue, LogicalsAndValueTypesOutsideTheirNamesAreHeld) {
    Value value = fullValue(11);
    for (const std::uint32_t logical : {0u, 1u, 2u, 3u, 7u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        setFieldAt(value, at::logical, logical);
        EXPECT_EQ(value.getLogicalValue(), logical);
        EXPECT_EQ(Value(value).getLogicalValue(), logical);
    }
    for (const std::uint32_t type : valueTypes) {
        EXPECT_EQ(Value(fullValue(type)).getValueType(), type);
    }
}

TEST(PropertySingleValue, CopiesHoldEveryFieldAndATextOfTheirOwn) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        std::optional<Value> source(fullValue(type));
        const Value copy(*source);
        const Value moved(std::move(*source));
        Value assigned = build(plainString(VELMOR_WIDE("n"), longText(1000))).getPropertySingleValue();
        assigned = *source;
        EXPECT_EQ(difference(*source, plainFullValue(type)), "");
        EXPECT_NE(stringOf(copy).data(), stringOf(*source).data());
        source.reset();
        EXPECT_EQ(difference(copy, plainFullValue(type)), "");
        EXPECT_EQ(difference(moved, plainFullValue(type)), "");
        EXPECT_EQ(difference(assigned, plainFullValue(type)), "");
    }
}

TEST(PropertySingleValue, AMoveLeavesItsSourceAsItIs) {
    Value source = build(plainString(VELMOR_WIDE("n"), longText(1000))).getPropertySingleValue();
    PlainValue plain;
    plain.type = 1;
    plain.string = longText(1000);
    const Value constructed(std::move(source));
    EXPECT_EQ(difference(source, plain), "");
    EXPECT_EQ(difference(constructed, plain), "");
    Value assigned = fullValue(2);
    assigned = std::move(source);
    EXPECT_EQ(difference(source, plain), "");
    EXPECT_EQ(difference(assigned, plain), "");
}

TEST(PropertySingleValue, AssignmentToItselfDoesNoHarm) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        Value value = fullValue(type);
        const Value& same = value;
        value = same;
        EXPECT_EQ(difference(value, plainFullValue(type)), "");
    }
}

TEST(PropertySingleValue, TextsOfAnyLengthAreHeld) {
    for (const std::size_t length : {0u, 1u, 7u, 8u, 15u, 16u, 255u, 256u, 10000u, 1000000u}) {
        SCOPED_TRACE(length);
        const Property property = build(plainString(VELMOR_WIDE("n"), longText(length)));
        const Value copy = property.getPropertySingleValue();
        EXPECT_TRUE(property.getPropertySingleValue().getAsString() == longText(length));
        EXPECT_TRUE(copy.getAsString() == longText(length));
        EXPECT_EQ(copy.getStringValue()[length], 0);
    }
}

/// One of every kind of property.
PlainSet everyKind() {
    PlainSet plain;
    const PlainValue full = plainFullValue(0);
    for (std::uint32_t type = 0; type <= 12; ++type) {
        PlainProperty property;
        property.name = VELMOR_WIDE("name ") + WideString(1, static_cast<WideChar>('a' + type));
        property.description = longText(10 * type);
        property.value.type = type;
        if (type == 1)
            property.value.string = longText(300);
        if (type == 2)
            property.value.boolean = full.boolean;
        if (type == 3)
            property.value.integer = full.integer;
        if (isReal(type))
            property.value.real = full.real + type;
        if (type == 10)
            property.value.integer64 = full.integer64;
        if (type == 11)
            property.value.logical = full.logical;
        if (type == 12)
            property.value.angle = full.angle;
        plain.push_back(property);
    }
    plain.push_back(plainComplex(VELMOR_WIDE("empty complex"), {}));
    plain.push_back(plainComplex(VELMOR_WIDE("complex"), plain));
    plain.push_back(plainComplex(VELMOR_WIDE("deep complex"), plainNest(6)));
    return plain;
}

TEST(Property, CopiesOfEveryKindAreEqualAndOwnTheirContent) {
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

TEST(Property, AssignmentReplacesContentOfEveryKindByEveryKind) {
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

TEST(Property, AMoveLeavesItsSourceAsItIs) {
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

TEST(Property, AssignmentToItselfDoesNoHarm) {
    for (const PlainProperty& plain : everyKind()) {
        Property property = build(plain);
        const Property& same = property;
        property = same;
        EXPECT_EQ(difference(property, plain), "");
    }
}

TEST(PropertyComplex, AssignmentToItselfDoesNoHarm) {
    Complex complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(3))).getPropertyComplex();
    const WideString usageName = complex.getUsageName();
    const Complex& same = complex;
    complex = same;
    EXPECT_TRUE(complex.getUsageName() == usageName);
    EXPECT_EQ(difference(complex.getPropertySet(), plainNest(3)), "");
}

TEST(Property, MayBeAssignedFromItsOwnContent) {
    Property property = build(plainComplex(VELMOR_WIDE("outer"), plainNest(3)));
    property = property.getPropertyComplex().getPropertySet().getProperty(1);
    EXPECT_EQ(difference(property, plainNest(3)[1]), "");
    property = property.getPropertyComplex().getPropertySet().getProperty(0);
    EXPECT_EQ(difference(property, plainNest(2)[0]), "");
}

TEST(Property, TheRestOfATextArrayIsCopiedToo) {
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

TEST(Property, IsLaidOutAsTold) {
    const Property property = build(plainString(VELMOR_WIDE("name"), VELMOR_WIDE("text")));
    const char* const place = reinterpret_cast<const char*>(&property);
    EXPECT_EQ(fieldAt<std::uint32_t>(property, 0), 1u);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getName()), place + 4);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getName2()), place + 4);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getDescription()), place + 516);
    EXPECT_EQ(reinterpret_cast<const char*>(property.getDescription2()), place + 516);
    EXPECT_EQ(fieldAt<const void*>(property, 1032), &property.getPropertySingleValue());
    EXPECT_EQ(fieldAt<const void*>(property, 1040), nullptr);
    const Property complex = build(plainComplex(VELMOR_WIDE("name"), {}));
    EXPECT_EQ(fieldAt<std::uint32_t>(complex, 0), 2u);
    EXPECT_EQ(fieldAt<const void*>(complex, 1032), nullptr);
    EXPECT_EQ(fieldAt<const void*>(complex, 1040), &complex.getPropertyComplex());
}

TEST(PropertySingleValue, IsLaidOutAsTold) {
    const auto value = [](const Property& property) { return Value(property.getPropertySingleValue()); };
    const WideChar name[] = {'n', 0};
    EXPECT_EQ(fieldAt<std::uint32_t>(value(createPropertySingleValueBoolean(name, name, true)), 0), 2u);
    EXPECT_EQ(fieldAt<std::uint8_t>(value(createPropertySingleValueBoolean(name, name, true)), 4), 1u);
    EXPECT_EQ(fieldAt<std::uint32_t>(value(createPropertySingleValueLogical(name, name, Value::LogicalTrue)), 8), 1u);
    EXPECT_EQ(fieldAt<std::int32_t>(value(createPropertySingleValueInteger(name, name, Value::Integer, -7)), 12), -7);
    EXPECT_EQ(fieldAt<double>(value(createPropertySingleValueReal(name, name, Value::Real, 1.25)), 16), 1.25);
    EXPECT_EQ(fieldAt<std::int64_t>(value(createPropertySingleValueInteger64(name, name, Value::Integer64, -8)), 24), -8);
    const Value text = value(createPropertySingleValueString(name, name, VELMOR_WIDE("text")));
    EXPECT_EQ(reinterpret_cast<const char*>(&text.getAsString()), reinterpret_cast<const char*>(&text) + 32);
    const std::array<int, 4> angle{1, 2, 3, 4};
    EXPECT_EQ(
        (fieldAt<std::array<int, 4>>(value(createPropertySingleValueCompoundPlaneAngle(name, name, angle.data())), 64)),
        angle);
}

TEST(PropertyComplex, IsLaidOutAsTold) {
    const Property property = build(plainComplex(VELMOR_WIDE("name"), {}));
    const Complex& complex = property.getPropertyComplex();
    const char* const place = reinterpret_cast<const char*>(&complex);
    EXPECT_EQ(reinterpret_cast<const char*>(complex.getUsageName()), place);
    EXPECT_EQ(reinterpret_cast<const char*>(complex.getUsageName2()), place);
    EXPECT_EQ(reinterpret_cast<const char*>(&complex.getPropertySet()), place + 512);
}

void expectNeutral(const Value& value) {
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

TEST(Property, TheWrongKindGivesOneSharedNeutralObject) {
    const Property integer = build(plainInteger(VELMOR_WIDE("a"), 1));
    const Property text = build(plainString(VELMOR_WIDE("b"), longText(50)));
    const Property complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(2)));
    const Property other = build(plainComplex(VELMOR_WIDE("d"), {}));
    expectEmpty(integer.getPropertyComplex());
    EXPECT_EQ(&integer.getPropertyComplex(), &integer.getPropertyComplex());
    EXPECT_EQ(&integer.getPropertyComplex(), &text.getPropertyComplex());
    expectNeutral(complex.getPropertySingleValue());
    EXPECT_EQ(&complex.getPropertySingleValue(), &complex.getPropertySingleValue());
    EXPECT_EQ(&complex.getPropertySingleValue(), &other.getPropertySingleValue());
    const IFC2X3PropertySet set;
    expectNeutral(set.getProperty(0).getPropertySingleValue());
    expectEmpty(set.getProperty(0).getPropertyComplex());
    EXPECT_EQ(&set.getProperty(0).getPropertySingleValue(), &complex.getPropertySingleValue());
    EXPECT_EQ(&set.getProperty(0).getPropertyComplex(), &integer.getPropertyComplex());
}

TEST(Property, CopiesOfTheSharedObjectsAreOrdinaryObjects) {
    const Property complex = build(plainComplex(VELMOR_WIDE("c"), plainNest(2)));
    const Property integer = build(plainInteger(VELMOR_WIDE("a"), 1));
    Value value(complex.getPropertySingleValue());
    expectNeutral(value);
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
    expectNeutral(complex.getPropertySingleValue());
    expectEmpty(integer.getPropertyComplex());
    EXPECT_EQ(IFC2X3PropertySet().getProperty(0).getType(), 0u);
}

TEST(Property, TheTypeDecidesWhatIsGiven) {
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

TEST(Property, CopiesHoldAnyTypeAndWhateverContentIsThere) {
    // Both pointers set, which no factory does.
    PlainProperty plainValue = plainString(VELMOR_WIDE("both"), longText(70));
    PlainProperty plainContent = plainComplex(VELMOR_WIDE("both"), plainNest(3));
    Property both = build(plainValue);
    {
        Property giver = build(plainContent);
        setFieldAt(both, at::complex, fieldAt<void*>(giver, at::complex));
        setFieldAt(giver, at::complex, static_cast<void*>(nullptr));
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

TEST(PropertyComplex, CopiesAndMovesAreDeepAndLeaveTheSourceUnchanged) {
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
    owner = build(plainInteger(VELMOR_WIDE("gone"), 0));
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

TEST(PropertyComplex, TheRestOfTheUsageNameIsCopiedToo) {
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

TEST(Property, CopiesAreDeepAtEveryDepth) {
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

TEST(Property, AChainOfManyLevelsIsCopiedAndDestroyed) {
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

TEST(Property, ClearingTheSourceOfACopyLeavesTheCopy) {
    IFC2X3PropertySet set = build(plainNest(3));
    const Property source = build(plainComplex(VELMOR_WIDE("c"), plainNest(3)));
    Property copy = build(plainInteger(VELMOR_WIDE("n"), 1));
    copy = createPropertyComplex(VELMOR_WIDE("c"), VELMOR_WIDE("about c"), VELMOR_WIDE("use of c"), set);
    set.clear();
    EXPECT_EQ(difference(copy, plainComplex(VELMOR_WIDE("c"), plainNest(3))), "");
    // And of the set inside: a copy of it can be cleared, for it is a set of its own.
    IFC2X3PropertySet inside(copy.getPropertyComplex().getPropertySet());
    inside.clear();
    EXPECT_EQ(difference(copy, plainComplex(VELMOR_WIDE("c"), plainNest(3))), "");
}

} // namespace
