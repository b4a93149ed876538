// Single values: getters, copies and layout.

#include "ifc/PlainProperty.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

using Value = IFC2X3PropertySingleValue;
using Property = IFC2X3Property;

const std::uint32_t valueTypes[] = {0,  1,  2,  3,  4,  5,   6,   7,          8,          9,
                                    10, 11, 12, 13, 14, 100, 259, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

/// A value of any type with a value in every field.
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

/// The model of `fullValue`.
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

TEST(PropertySingleValue, GettersReturnFieldForTheirTypesAndDefaultForOthers) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        const Value value = fullValue(type);
        for (int round = 0; round < 2; ++round) { // in the second round all one-shot flags are set
            EXPECT_EQ(value.getValueType(), type);
            EXPECT_EQ(value.getBooleanValue(), type == 2);
            EXPECT_EQ(value.getIntValue(), type == 3 ? -33 : 0);
            EXPECT_EQ(value.getInt64Value(), type == 10 ? -5000000000 : 0);
            EXPECT_EQ(value.getRealValue(), isRealType(type) ? -2.5 : 0.0);
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

TEST(PropertySingleValue, GetRealValueReturnsPositiveZeroForWrongType) {
    Value value = fullValue(3);
    setFieldAt(value, at::real, -0.0);
    EXPECT_FALSE(std::signbit(value.getRealValue()));
    setFieldAt(value, at::valueType, std::uint32_t{4});
    EXPECT_TRUE(std::signbit(value.getRealValue()));
}

TEST(PropertySingleValue, GettersDoNotChangeValue) {
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

TEST(PropertySingleValue, TextGettersReturnStoredText) {
    const Value value = fullValue(1);
    EXPECT_EQ(&value.getAsString(), &stringOf(value));
    EXPECT_EQ(value.getStringValue(), stringOf(value).c_str());
    EXPECT_EQ(static_cast<const void*>(value.getStringValue2()), stringOf(value).c_str());
}

TEST(PropertySingleValue, GetAsStringReturnsSharedEmptyTextForWrongType) {
    const WideString* const shared = &fullValue(2).getAsString();
    EXPECT_TRUE(shared->empty());
    for (const std::uint32_t type : valueTypes) {
        const Value value = fullValue(type);
        if (type != 1) {
            EXPECT_EQ(&value.getAsString(), shared) << type;
        }
    }
}

TEST(PropertySingleValue, EmptyTextForWrongTypeOutlivesValue) {
    std::optional<Value> value(fullValue(5));
    const WideChar* const text = value->getStringValue();
    const unsigned short* const text2 = value->getStringValue2();
    value.reset();
    EXPECT_EQ(*text, 0);
    EXPECT_EQ(*text2, 0);
}

TEST(PropertySingleValue, GetCompoundPlaneAngleReturnsStoredArray) {
    const Value value = fullValue(12);
    EXPECT_EQ(static_cast<const void*>(value.getCompoundPlaneAngle()), reinterpret_cast<const char*>(&value) + at::angle);
}

TEST(PropertySingleValue, HoldsUnnamedLogicalsAndValueTypes) {
    Value value = fullValue(11);
    for (const std::uint32_t logical : {0u, 1u, 2u, 3u, 7u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        setFieldAt(value, at::logical, logical);
        EXPECT_EQ(value.getLogicalValue(), logical);
        EXPECT_EQ(Value(value).getLogicalValue(), logical);
    }
    for (const std::uint32_t type : valueTypes)
        EXPECT_EQ(Value(fullValue(type)).getValueType(), type);
}

TEST(PropertySingleValue, CopyHasAllFieldsAndItsOwnText) {
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

TEST(PropertySingleValue, MoveKeepsSourceUnchanged) {
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

TEST(PropertySingleValue, SelfAssignmentChangesNothing) {
    for (const std::uint32_t type : valueTypes) {
        SCOPED_TRACE(type);
        Value value = fullValue(type);
        const Value& same = value;
        value = same;
        EXPECT_EQ(difference(value, plainFullValue(type)), "");
    }
}

TEST(PropertySingleValue, HoldsTextsOfAnyLength) {
    for (const std::size_t length : {0u, 1u, 7u, 8u, 15u, 16u, 255u, 256u, 10000u, 1000000u}) {
        SCOPED_TRACE(length);
        const Property property = build(plainString(VELMOR_WIDE("n"), longText(length)));
        const Value copy = property.getPropertySingleValue();
        EXPECT_TRUE(property.getPropertySingleValue().getAsString() == longText(length));
        EXPECT_TRUE(copy.getAsString() == longText(length));
        EXPECT_EQ(copy.getStringValue()[length], 0);
    }
}

TEST(PropertySingleValue, HasFixedLayout) {
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

} // namespace
