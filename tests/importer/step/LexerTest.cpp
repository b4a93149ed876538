#include "importer/step/Lexer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmor_tests {

using namespace importer::step;

namespace {

std::vector<Value> valuesOf(std::string_view list) {
    std::vector<Value> values;
    ValueReader reader(list);
    for (Value value; reader.next(value);)
        values.push_back(value);
    return values;
}

Value first(std::string_view list) {
    Value value;
    ValueReader(list).next(value);
    return value;
}

TEST(StepLexer, RecognizesEveryKindOfValue) {
    const struct {
        const char* text;
        ValueKind kind;
        const char* content;
    } cases[] = {
        {"$", ValueKind::Omitted, "$"},
        {"*", ValueKind::Derived, "*"},
        {"12", ValueKind::Number, "12"},
        {"-1.5E-3", ValueKind::Number, "-1.5E-3"},
        {"+2.", ValueKind::Number, "+2."},
        {".5", ValueKind::Number, ".5"},
        {"'a'", ValueKind::Text, "a"},
        {"''", ValueKind::Text, ""},
        {"'it''s'", ValueKind::Text, "it''s"},
        {"'),;'", ValueKind::Text, "),;"},
        {".AREA.", ValueKind::Enumeration, "AREA"},
        {".T.", ValueKind::Enumeration, "T"},
        {"\"0AF\"", ValueKind::Binary, "0AF"},
        {"#123", ValueKind::Reference, "123"},
        {"()", ValueKind::List, ""},
        {"((1,2),(3))", ValueKind::List, "(1,2),(3)"},
        {"(')')", ValueKind::List, "')'"},
        {"IFCLABEL('x')", ValueKind::Typed, "IFCLABEL('x')"},
        {"IFCLABEL /* of */ ( 'x' )", ValueKind::Typed, "IFCLABEL /* of */ ( 'x' )"},
    };
    for (const auto& c : cases) {
        const std::string list = std::string(" /* a */ ") + c.text + " /* b */ ";
        const std::vector<Value> values = valuesOf(list);
        ASSERT_EQ(values.size(), 1u) << c.text;
        EXPECT_EQ(values[0].kind, c.kind) << c.text;
        EXPECT_EQ(values[0].text, c.content) << c.text;
    }
}

TEST(StepLexer, InvalidValueIsTheLastOne) {
    for (const char* text : {"", "?", "1 2", ".AREA", "'open", "\"open", "(open", "NAME", "NAME 1", "(1))", "= 1", "#1#2"}) {
        const std::vector<Value> values = valuesOf(std::string("1,") + text + ",3");
        ASSERT_GE(values.size(), 2u) << text;
        EXPECT_EQ(values[0].kind, ValueKind::Number) << text;
        EXPECT_EQ(values[1].kind, ValueKind::Invalid) << text;
        EXPECT_EQ(values.size(), *text ? 2u : 3u) << text;
    }
}

TEST(StepLexer, MissingValuesBetweenCommasAreInvalid) {
    EXPECT_EQ(valuesOf("").size(), 0u);
    EXPECT_EQ(valuesOf(" /* nothing */ ").size(), 0u);
    const std::vector<Value> values = valuesOf("1,,2,");
    ASSERT_EQ(values.size(), 4u);
    EXPECT_EQ(values[1].kind, ValueKind::Invalid);
    EXPECT_EQ(values[2].text, "2");
    EXPECT_EQ(values[3].kind, ValueKind::Invalid);
}

TEST(StepLexer, ReadsNumbersExactlyOrNotAtAll) {
    EXPECT_EQ(numberOf(first("1.")), 1.0);
    EXPECT_EQ(numberOf(first("+1.25E2")), 125.0);
    EXPECT_EQ(numberOf(first("-0.1")), -0.1);
    EXPECT_EQ(numberOf(first("1e3")), 1000.0);
    EXPECT_EQ(numberOf(first("1E-400")), 0.0);
    for (const char* text : {"1E400", "-1E400", "1.2.3", "1-2", "-", "+-1", "NAN", "INF", "-INF", "'1'", "$", "0x10"})
        EXPECT_EQ(numberOf(first(text)), std::nullopt) << text;
    EXPECT_EQ(integerOf(first("-7")), -7);
    EXPECT_EQ(integerOf(first("9223372036854775807")), INT64_MAX);
    for (const char* text : {"9223372036854775808", "1.", "1E2", "$"})
        EXPECT_EQ(integerOf(first(text)), std::nullopt) << text;
}

TEST(StepLexer, ReferencesArePositive64BitNumbers) {
    EXPECT_EQ(referenceOf(first("#18446744073709551615")), UINT64_MAX);
    for (const char* text : {"#18446744073709551616", "#0", "#", "#-1", "1"})
        EXPECT_EQ(referenceOf(first(text)), std::nullopt) << text;
}

TEST(StepLexer, SplitsTypedValuesIntoTypeAndContent) {
    const Value value = first("IFCLINEINDEX /* ( */ ((1,2))");
    EXPECT_EQ(typeOf(value), "IFCLINEINDEX");
    EXPECT_EQ(contentOf(value), "(1,2)");
    EXPECT_EQ(capitals("IfcWall_2"), "IFCWALL_2");
}

TEST(StepLexer, ApostropheAfterShiftBelongsToTheText) {
    EXPECT_EQ(first("'\\S\\' 5'").text, "\\S\\' 5");
    EXPECT_EQ(first("'\\S\\'' 5'").text, "\\S\\'' 5") << "some programs double it";
    EXPECT_EQ(first("'\\S\\'',1").text, "\\S\\'") << "the end of the text";
    EXPECT_EQ(valuesOf("'C:\\\\S\\\\',1").size(), 2u) << "a path whose last folder is S";
}

TEST(StepLexer, SkipsCommentsWithAnyContent) {
    const std::vector<Value> values = valuesOf("1/*,'*/,/**/2/* ( */,(3/*)*/)");
    ASSERT_EQ(values.size(), 3u);
    EXPECT_EQ(values[1].text, "2");
    EXPECT_EQ(values[2].text, "3/*)*/");
}

TEST(StepLexer, SkipsDeeplyNestedListsWithoutRecursion) {
    const std::size_t depth = 2000000;
    const std::string text = std::string(depth, '(') + std::string(depth, ')');
    const Value value = first(text);
    EXPECT_EQ(value.kind, ValueKind::List);
    EXPECT_EQ(value.text.size(), 2 * depth - 2);
}

} // namespace
} // namespace velmor_tests
