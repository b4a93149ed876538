// The properties that the factories create, in both overloads of each.

#include "ifc/PlainProperty.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Property = IFC2X3Property;
using Value = IFC2X3PropertySingleValue;
using ValueType = Value::ValueType_t;
using Logical = Value::Logical_s;

// Both overloads of each factory have exactly these parameters.
template <class Text, class... Rest>
using Factory = Property (*)(Text, Text, Rest...);
template <class... Rest>
constexpr bool bothOverloads(Factory<const WideString&, Rest...>, Factory<const WideChar*, Rest...>) {
    return true;
}
static_assert(bothOverloads<const WideString&>(createPropertySingleValueString, createPropertySingleValueString));
static_assert(bothOverloads<bool>(createPropertySingleValueBoolean, createPropertySingleValueBoolean));
static_assert(bothOverloads<ValueType, std::int32_t>(createPropertySingleValueInteger, createPropertySingleValueInteger));
static_assert(bothOverloads<ValueType, std::int64_t>(createPropertySingleValueInteger64,
                                                     createPropertySingleValueInteger64));
static_assert(bothOverloads<ValueType, double>(createPropertySingleValueReal, createPropertySingleValueReal));
static_assert(bothOverloads<Logical>(createPropertySingleValueLogical, createPropertySingleValueLogical));
static_assert(bothOverloads<const int*>(createPropertySingleValueCompoundPlaneAngle,
                                        createPropertySingleValueCompoundPlaneAngle));
constexpr bool bothOverloads(Property (*)(const WideString&, const WideString&, const WideString&, const IFC2X3PropertySet&),
                             Property (*)(const WideChar*, const WideChar*, const WideChar*, const IFC2X3PropertySet&)) {
    return true;
}
static_assert(bothOverloads(createPropertyComplex, createPropertyComplex));

const Overload overloads[] = {Overload::Texts, Overload::Pointers};

/// Calls both overloads of each factory; `usageName` is for the complex property.
std::vector<Property> ofEveryFactory(const WideString& name, const WideString& description, const WideString& usageName) {
    const WideString text = VELMOR_WIDE("text");
    const int angle[] = {1, 2, 3, 4};
    const IFC2X3PropertySet set = build(plainIntegers(2));
    std::vector<Property> all;
    const auto add = [&](auto nameText, auto descriptionText, auto usageText) {
        all.push_back(createPropertySingleValueString(nameText.get(), descriptionText.get(), text));
        all.push_back(createPropertySingleValueBoolean(nameText.get(), descriptionText.get(), true));
        all.push_back(createPropertySingleValueInteger(nameText.get(), descriptionText.get(), Value::Integer, 1));
        all.push_back(createPropertySingleValueInteger64(nameText.get(), descriptionText.get(), Value::Integer64, 2));
        all.push_back(createPropertySingleValueReal(nameText.get(), descriptionText.get(), Value::Length, 3));
        all.push_back(createPropertySingleValueLogical(nameText.get(), descriptionText.get(), Value::LogicalTrue));
        all.push_back(createPropertySingleValueCompoundPlaneAngle(nameText.get(), descriptionText.get(), angle));
        all.push_back(createPropertyComplex(nameText.get(), descriptionText.get(), usageText.get(), set));
        // Rejected value types do not affect the texts.
        all.push_back(createPropertySingleValueInteger(nameText.get(), descriptionText.get(), Value::Real, 1));
        all.push_back(createPropertySingleValueInteger64(nameText.get(), descriptionText.get(), Value::Integer, 2));
        all.push_back(createPropertySingleValueReal(nameText.get(), descriptionText.get(), Value::Boolean, 3));
    };
    struct AsText {
        const WideString& text;
        const WideString& get() const { return text; }
    };
    struct AsPointer {
        const WideString& text;
        const WideChar* get() const { return text.c_str(); }
    };
    add(AsText{name}, AsText{description}, AsText{usageName});
    add(AsPointer{name}, AsPointer{description}, AsPointer{usageName});
    return all;
}

constexpr std::size_t factoryCount = 22;

void expectTexts(const WideString& name, const WideString& description, const WideString& usageName) {
    const std::vector<Property> all = ofEveryFactory(name, description, usageName);
    ASSERT_EQ(all.size(), factoryCount);
    int complexes = 0;
    for (const Property& property : all) {
        SCOPED_TRACE(&property - all.data());
        EXPECT_TRUE(WideString(property.getName()) == cut(name));
        EXPECT_TRUE(WideString(reinterpret_cast<const WideChar*>(property.getName2())) == cut(name));
        EXPECT_TRUE(WideString(property.getDescription()) == cut(description));
        EXPECT_TRUE(WideString(reinterpret_cast<const WideChar*>(property.getDescription2())) == cut(description));
        if (property.getType() != 2)
            continue;
        ++complexes;
        const IFC2X3PropertyComplex& complex = property.getPropertyComplex();
        EXPECT_TRUE(WideString(complex.getUsageName()) == cut(usageName));
        EXPECT_TRUE(WideString(reinterpret_cast<const WideChar*>(complex.getUsageName2())) == cut(usageName));
        EXPECT_EQ(difference(complex.getPropertySet(), plainIntegers(2)), "");
    }
    EXPECT_EQ(complexes, 2);
}

TEST(PropertyFactories, TextsAreCutAfter255Units) {
    for (const std::size_t length : {0u, 1u, 2u, 128u, 253u, 254u, 255u, 256u, 257u, 300u, 511u, 512u, 513u, 10000u}) {
        SCOPED_TRACE(length);
        expectTexts(longText(length), VELMOR_WIDE("d"), VELMOR_WIDE("u"));
        expectTexts(VELMOR_WIDE("n"), longText(length), VELMOR_WIDE("u"));
        expectTexts(VELMOR_WIDE("n"), VELMOR_WIDE("d"), longText(length));
        expectTexts(longText(length), longText(length), longText(length));
    }
}

TEST(PropertyFactories, TextsEndAtFirstNul) {
    for (const std::size_t nul : {0u, 1u, 100u, 254u, 255u, 256u}) {
        SCOPED_TRACE(nul);
        WideString text = longText(300);
        text[nul] = 0;
        WideString twice = text;
        twice[nul + 10] = 0;
        expectTexts(text, longText(3), longText(4));
        expectTexts(longText(3), text, longText(4));
        expectTexts(longText(3), longText(4), text);
        expectTexts(twice, twice, twice);
    }
}

TEST(PropertyFactories, TextsAreCutInsideSurrogatePairs) {
    WideString text = longText(254);
    text += {WideChar{0xD83D}, WideChar{0xDE00}};
    expectTexts(text, text, text);
    EXPECT_EQ(ofEveryFactory(text, text, text)[0].getName()[254], WideChar{0xD83D});
}

TEST(PropertyFactories, TextsKeepEveryUnit) {
    for (std::uint32_t first = 1; first <= 0xFFFF; first += 255) {
        WideString text;
        for (std::uint32_t unit = first; unit < first + 255 && unit <= 0xFFFF; ++unit)
            text += static_cast<WideChar>(unit);
        const Property property = createPropertySingleValueBoolean(text, text, false);
        ASSERT_TRUE(WideString(property.getName()) == text) << first;
        ASSERT_TRUE(WideString(property.getDescription()) == text) << first;
    }
}

TEST(PropertyFactories, TextsAreNotReadBeyondNul) {
    // Each text has its own block, which ends after the NUL, so that a sanitizer detects a read beyond it.
    const std::vector<WideChar> name{'n', 0};
    const std::vector<WideChar> description{0};
    std::vector<WideChar> usageName(256, 'u');
    usageName.back() = 0;
    const Property property = createPropertyComplex(name.data(), description.data(), usageName.data(), IFC2X3PropertySet());
    EXPECT_TRUE(WideString(property.getName()) == VELMOR_WIDE("n"));
    EXPECT_EQ(property.getDescription()[0], 0);
    EXPECT_TRUE(WideString(property.getPropertyComplex().getUsageName()) == WideString(255, 'u'));
}

void expectValue(const Property& property, const PlainValue& plain) {
    PlainProperty expected;
    expected.name = VELMOR_WIDE("name");
    expected.description = VELMOR_WIDE("description");
    expected.value = plain;
    EXPECT_EQ(difference(property, expected), "");
}

/// Calls both overloads of a factory and compares the properties.
template <class Call>
void expectOfBoth(Call call, const PlainValue& plain) {
    expectValue(call(WideString(VELMOR_WIDE("name")), WideString(VELMOR_WIDE("description"))), plain);
    expectValue(call(VELMOR_WIDE("name"), VELMOR_WIDE("description")), plain);
}

TEST(PropertyFactories, StringSetsOnlyStringField) {
    for (const std::size_t length : {0u, 1u, 7u, 8u, 255u, 256u, 300u, 100000u}) {
        PlainValue plain;
        plain.type = 1;
        plain.string = longText(length);
        expectOfBoth(
            [&](auto name, auto description) { return createPropertySingleValueString(name, description, plain.string); },
            plain);
    }
}

TEST(PropertyFactories, StringEndsAtFirstNulInStringOverloadOnly) {
    const WideString whole{WideChar{'a'}, WideChar{'b'}, WideChar{0}, WideChar{'d'}, WideChar{'e'}};
    const WideString name = VELMOR_WIDE("name");
    const Property cutProperty = createPropertySingleValueString(name, name, whole);
    EXPECT_TRUE(cutProperty.getPropertySingleValue().getAsString() == VELMOR_WIDE("ab"));
    EXPECT_EQ(cutProperty.getPropertySingleValue().getAsString().size(), 2u);
    const Property uncut = createPropertySingleValueString(name.c_str(), name.c_str(), whole);
    EXPECT_TRUE(uncut.getPropertySingleValue().getAsString() == whole);
    EXPECT_EQ(uncut.getPropertySingleValue().getAsString().size(), 5u);
    EXPECT_TRUE(WideString(uncut.getPropertySingleValue().getStringValue(), 6) == whole + WideChar{0});
    const Property copy(uncut);
    EXPECT_TRUE(copy.getPropertySingleValue().getAsString() == whole);
    for (const std::size_t nul : {0u, 1u, 999u}) {
        WideString text = longText(1000);
        text[nul] = 0;
        EXPECT_TRUE(createPropertySingleValueString(name, name, text).getPropertySingleValue().getAsString() ==
                    text.substr(0, nul));
        EXPECT_TRUE(
            createPropertySingleValueString(name.c_str(), name.c_str(), text).getPropertySingleValue().getAsString() ==
            text);
    }
}

TEST(PropertyFactories, BooleanSetsOnlyBooleanField) {
    for (const bool value : {false, true}) {
        PlainValue plain;
        plain.type = 2;
        plain.boolean = value;
        expectOfBoth([&](auto name, auto description) { return createPropertySingleValueBoolean(name, description, value); },
                     plain);
    }
}

TEST(PropertyFactories, LogicalStoresAnyNumber) {
    for (const std::uint32_t value : {0u, 1u, 2u, 3u, 7u, 255u, 256u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        PlainValue plain;
        plain.type = 11;
        plain.logical = value;
        const auto create = [&](auto name, auto description) {
            return createPropertySingleValueLogical(name, description, static_cast<Logical>(value));
        };
        expectOfBoth(create, plain);
        EXPECT_EQ(create(VELMOR_WIDE("n"), VELMOR_WIDE("d")).getPropertySingleValue().getLogicalValue(), value);
    }
}

TEST(PropertyFactories, AngleStoresFourIntegers) {
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    for (const std::array<int, 4>& components :
         {std::array<int, 4>{48, 8, 15, 123456}, {-48, -8, -15, -123456}, {0, 0, 0, 0}, {least, most, -1, 361}}) {
        PlainValue plain;
        plain.type = 12;
        plain.angle = components;
        std::vector<int> given(components.begin(), components.end());
        expectOfBoth(
            [&](auto name, auto description) {
                return createPropertySingleValueCompoundPlaneAngle(name, description, given.data());
            },
            plain);
        const Property property =
            createPropertySingleValueCompoundPlaneAngle(VELMOR_WIDE("n"), VELMOR_WIDE("d"), given.data());
        given.assign(4, 9);
        const int* const stored = property.getPropertySingleValue().getCompoundPlaneAngle();
        EXPECT_EQ(std::vector<int>(stored, stored + 4), std::vector<int>(components.begin(), components.end()));
    }
}

TEST(PropertyFactories, AngleIsZeroForNullComponents) {
    PlainValue plain;
    plain.type = 12;
    expectOfBoth(
        [](auto name, auto description) { return createPropertySingleValueCompoundPlaneAngle(name, description, nullptr); },
        plain);
}

/// All named value types, and many others.
std::vector<std::uint32_t> manyTypes() {
    std::vector<std::uint32_t> types;
    for (std::uint32_t type = 0; type <= 40; ++type)
        types.push_back(type);
    for (const std::uint32_t type : {253u, 255u, 256u, 259u, 260u, 266u, 0x10003u, 0x1000Au, 0x7FFFFFFFu, 0x80000000u,
                                     0x80000003u, 0x8000000Au, 0xFFFFFFFCu, 0xFFFFFFFFu})
        types.push_back(type);
    return types;
}

TEST(PropertyFactories, IntegerAcceptsOnlyItsType) {
    for (const std::uint32_t type : manyTypes())
        for (const std::int32_t value :
             {0, 1, -1, 42, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
            SCOPED_TRACE(type);
            PlainValue plain;
            if (type == 3) {
                plain.type = 3;
                plain.integer = value;
            }
            expectOfBoth(
                [&](auto name, auto description) {
                    return createPropertySingleValueInteger(name, description, static_cast<ValueType>(type), value);
                },
                plain);
        }
}

TEST(PropertyFactories, Integer64AcceptsOnlyItsType) {
    for (const std::uint32_t type : manyTypes())
        for (const std::int64_t value :
             {std::int64_t{0}, std::int64_t{-1}, std::int64_t{5000000000}, std::numeric_limits<std::int64_t>::min(),
              std::numeric_limits<std::int64_t>::max()}) {
            SCOPED_TRACE(type);
            PlainValue plain;
            if (type == 10) {
                plain.type = 10;
                plain.integer64 = value;
            }
            expectOfBoth(
                [&](auto name, auto description) {
                    return createPropertySingleValueInteger64(name, description, static_cast<ValueType>(type), value);
                },
                plain);
        }
}

TEST(PropertyFactories, RealAcceptsOnlyRealTypes) {
    using Limits = std::numeric_limits<double>;
    for (const std::uint32_t type : manyTypes())
        for (const double value : {0.0, -0.0, 2.5, -1e300, Limits::denorm_min(), Limits::max(), Limits::infinity(),
                                   -Limits::infinity(), Limits::quiet_NaN()}) {
            SCOPED_TRACE(type);
            PlainValue plain;
            if (isRealType(type)) {
                plain.type = type;
                plain.real = value;
            }
            expectOfBoth(
                [&](auto name, auto description) {
                    return createPropertySingleValueReal(name, description, static_cast<ValueType>(type), value);
                },
                plain);
        }
}

TEST(PropertyFactories, RejectedNumberIsUnspecifiedZero) {
    const WideChar name[] = {'n', 0};
    const Property rejected[] = {createPropertySingleValueInteger(name, name, Value::Integer64, 5),
                                 createPropertySingleValueInteger64(name, name, Value::Integer, 5),
                                 createPropertySingleValueReal(name, name, Value::Integer, 2.5)};
    for (const Property& property : rejected) {
        const Value& value = property.getPropertySingleValue();
        EXPECT_EQ(property.getType(), 1u);
        EXPECT_EQ(value.getValueType(), 0u);
        EXPECT_EQ(value.getRealValue(), 0.0);
        EXPECT_EQ(value.getIntValue(), 0);
        EXPECT_EQ(value.getInt64Value(), 0);
        EXPECT_EQ(value.getLogicalValue(), 2u);
        EXPECT_TRUE(value.getAsString().empty());
    }
}

TEST(PropertyFactories, OnlyStringHasText) {
    for (const Property& property : ofEveryFactory(VELMOR_WIDE("n"), VELMOR_WIDE("d"), VELMOR_WIDE("u"))) {
        const Value& value = property.getPropertySingleValue();
        const bool isString = value.getValueType() == 1;
        EXPECT_EQ(value.getAsString().empty(), !isString);
        EXPECT_EQ(stringOf(value).empty(), !isString);
    }
}

TEST(PropertyFactories, PropertyOwnsOnlyContentOfItsKind) {
    for (const Property& property : ofEveryFactory(VELMOR_WIDE("n"), VELMOR_WIDE("d"), VELMOR_WIDE("u"))) {
        ASSERT_TRUE(property.getType() == 1 || property.getType() == 2);
        EXPECT_EQ(fieldAt<const void*>(property, at::singleValue) != nullptr, property.getType() == 1);
        EXPECT_EQ(fieldAt<const void*>(property, at::complex) != nullptr, property.getType() == 2);
    }
}

TEST(PropertyFactories, ComplexHoldsDeepCopyOfSet) {
    for (const Overload overload : overloads)
        for (const PlainSet& members : {PlainSet{}, plainIntegers(3), plainIntegers(51), plainNest(5)}) {
            const PlainProperty plain = plainComplex(VELMOR_WIDE("c"), members);
            IFC2X3PropertySet set = build(members);
            const std::uint32_t capacity = capacityOf(set);
            const Property property =
                overload == Overload::Texts
                    ? createPropertyComplex(plain.name, plain.description, plain.usageName, set)
                    : createPropertyComplex(plain.name.c_str(), plain.description.c_str(), plain.usageName.c_str(), set);
            EXPECT_EQ(difference(set, members), "");
            EXPECT_EQ(capacityOf(set), capacity);
            EXPECT_FALSE(shareBlocks(blocksOf(property), blocksOf(set)));
            set.addProperty(build(plainReal(VELMOR_WIDE("later"), 1)));
            EXPECT_EQ(difference(property, plain), "");
            set.clear();
            set = build(plainNest(1));
            EXPECT_EQ(difference(property, plain), "");
        }
}

TEST(PropertyFactories, ComplexCanBeCreatedFromItsOwnNestedSet) {
    Property property = build(plainComplex(VELMOR_WIDE("c"), plainNest(2)));
    property =
        createPropertyComplex(property.getName(), property.getDescription(), property.getPropertyComplex().getUsageName(),
                              property.getPropertyComplex().getPropertySet());
    EXPECT_EQ(difference(property, plainComplex(VELMOR_WIDE("c"), plainNest(2))), "");
}

} // namespace
