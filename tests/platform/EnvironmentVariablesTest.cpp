// Text of variables and its expansion.

#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "TestVariable.h"
#include "support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace velmor_tests;
using Velmor::EnvironmentVariables;
using Velmor::WideString;

namespace {

static_assert(std::is_empty_v<EnvironmentVariables>);
static_assert(std::is_copy_assignable_v<EnvironmentVariables> && std::is_move_assignable_v<EnvironmentVariables>);

std::string expand(const char* text) {
    return narrow(EnvironmentVariables::ExpandVariables(wide(text)));
}

} // namespace

TEST(EnvironmentVariables, GetStringReturnsTheValue) {
    for (const char* value : {"x", "a b\tc", "\"quoted\" 'text'", "50%", "%PATH%", "a=b=c", "  blanks  ", "line\nline",
                              "Gr\xC3\xBC\xC3\x9F"
                              "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80"}) {
        const VariableSetting setting(name, std::string(value));
        EXPECT_EQ(EnvironmentVariables::GetString(wideName), wide(value)) << value;
    }
}

TEST(EnvironmentVariables, GetStringIsEmptyForMissingAndEmptyVariables) {
    const VariableSetting setting(name, std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetString(wideName), WideString());
    setVariable(name, "");
    EXPECT_EQ(EnvironmentVariables::GetString(wideName), WideString());
}

TEST(EnvironmentVariables, SetStringSetsTheVariableOfTheProcess) {
    const VariableSetting setting(name);
    for (const char* value : {"x", "another value", "50% of %PATH%", "\"quoted\"",
                              "Gr\xC3\xBC\xC3\x9F"
                              "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80"}) {
        EnvironmentVariables::SetString(wideName, wide(value));
        EXPECT_EQ(variable(name), value);
        EXPECT_EQ(EnvironmentVariables::GetString(wideName), wide(value));
    }
}

TEST(EnvironmentVariables, EmptyValueDoesNotRemoveTheVariable) {
    const VariableSetting setting(name, std::nullopt);
    EnvironmentVariables::SetString(wideName, WideString());
    EXPECT_EQ(variable(name), "");
    EnvironmentVariables::SetString(wideName, wide("value"));
    EnvironmentVariables::SetString(wideName, WideString());
    EXPECT_EQ(variable(name), "");
}

TEST(EnvironmentVariables, NamesMayHaveAnyCharacterExceptTheEqualsSign) {
    const WideString unusual = wide("VELMOR TEST Gr\xC3\xB6\xC3\x9F"
                                    "e (1)");
    EnvironmentVariables::SetString(unusual, wide("value"));
    EXPECT_EQ(EnvironmentVariables::GetString(unusual), wide("value"));
    setVariable(narrow(unusual).c_str(), std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetString(unusual), WideString());
}

TEST(EnvironmentVariables, InvalidNamesAreIgnored) {
    for (const char* invalid : {"", "VELMOR_TEST=VARIABLE"}) {
        EnvironmentVariables::SetString(wide(invalid), wide("value"));
        EXPECT_EQ(EnvironmentVariables::GetString(wide(invalid)), WideString());
        EXPECT_EQ(EnvironmentVariables::GetInt(wide(invalid)), 0);
    }
    EXPECT_EQ(variable("VELMOR_TEST"), std::nullopt);
}

TEST(EnvironmentVariables, TextsEndAtANul) {
    const VariableSetting setting(name, std::nullopt);
    WideString text = wide("ab-cd");
    text[2] = 0;
    EnvironmentVariables::SetString(wideName, text);
    EXPECT_EQ(variable(name), "ab");
    EXPECT_EQ(EnvironmentVariables::GetString(wideName + WideString(1, 0) + wide("tail")), wide("ab"));
}

TEST(EnvironmentVariables, ReturnsTheLongestText) {
    const VariableSetting setting(name, std::nullopt);
    const std::string value = std::string(32764, 'v') + "\xC3\xA9z"; // 32766 units
    EnvironmentVariables::SetString(wideName, wide(value));
    EXPECT_EQ(variable(name), value);
    EXPECT_TRUE(EnvironmentVariables::GetString(wideName) == wide(value));
}

TEST(EnvironmentVariables, DoesNotReadOutsideTheBufferForATooLongText) {
    const VariableSetting setting(name, std::nullopt);
    for (const std::size_t length : {32767u, 32768u, 40000u}) {
        EnvironmentVariables::SetString(wideName, WideString(length, 'v'));
        const WideString text = EnvironmentVariables::GetString(wideName);
        const WideString expanded = EnvironmentVariables::ExpandVariables(wide("%VELMOR_TEST_VARIABLE%"));
#if defined(_WIN32)
        EXPECT_LE(text.size(), 32768u); // the content of the buffer is unspecified
        EXPECT_LE(expanded.size(), 32768u);
#else
        EXPECT_EQ(text, WideString()) << length;
        EXPECT_TRUE(expanded == WideString(32766, 'v')) << length;
#endif
    }
}

TEST(EnvironmentVariables, ChildrenInheritTheVariables) {
    const VariableSetting first("VELMOR_TEST_FIRST", std::nullopt);
    const VariableSetting second("VELMOR_TEST_SECOND", std::nullopt);
    const std::string text = "Gr\xC3\xBC\xC3\x9F"
                             "e, \"\xE6\xB8\xAC\" = %x%";
    EnvironmentVariables::SetString(wide("VELMOR_TEST_FIRST"), wide(text));
    EnvironmentVariables::SetString(wide("VELMOR_TEST_SECOND"), WideString());
    for (const bool inherit : {false, true}) {
        const auto values =
            Child({"variable VELMOR_TEST_FIRST", "variable VELMOR_TEST_SECOND", "variable VELMOR_TEST_THIRD"}, inherit)
                .report()
                .values("variable");
        EXPECT_EQ(values, (std::vector<std::string>{"'" + text + "'", "''", "missing"}));
    }
}

// ---- Expansion ----

TEST(EnvironmentVariables, ExpandsVariablesInAText) {
    const VariableSetting a("VELMOR_A", "1");
    const VariableSetting b("VELMOR_B", "22");
    const VariableSetting e("VELMOR_E", "");
    const VariableSetting n("VELMOR_N", "%VELMOR_A%");
    const VariableSetting u("VELMOR U", "\xC3\xBC\xE6\xB8\xAC");
    const VariableSetting missing("VELMOR_MISSING", std::nullopt);
    const struct {
        const char* text;
        const char* expanded;
    } cases[] = {
        {"", ""},
        {"plain text", "plain text"},
        {"%VELMOR_A%", "1"},
        {"a%VELMOR_A%b", "a1b"},
        {"%VELMOR_A%%VELMOR_B%", "122"},
        {"%VELMOR_A%x%VELMOR_B%y", "1x22y"},
        {"a%VELMOR_E%b", "ab"},
        {"%VELMOR U%", "\xC3\xBC\xE6\xB8\xAC"},
        {"%VELMOR_N%", "%VELMOR_A%"}, // not expanded again
        {"%VELMOR_MISSING%", "%VELMOR_MISSING%"},
        {"%VELMOR_A%x%VELMOR_MISSING%y%VELMOR_B%", "1x%VELMOR_MISSING%y22"},
        {"%VELMOR_MISSING%VELMOR_A%", "%VELMOR_MISSING%VELMOR_A%"}, // the second percent sign does not begin a name
        {"%VELMOR_A%VELMOR_B%", "1VELMOR_B%"},
        {"100%", "100%"},
        {"%", "%"},
        {"%%", "%%"},
        {"%%%", "%%%"},
        {"%VELMOR_A", "%VELMOR_A"},
        {"VELMOR_A%", "VELMOR_A%"},
        {"50% of %VELMOR_A%", "50% of %VELMOR_A%"}, // " of " is not a variable; both its percent signs are consumed
        {"%%VELMOR_A%%", "%%VELMOR_A%%"},
        {"%%%VELMOR_A%", "%%1"},
        {"%VELMOR_A=%", "%VELMOR_A=%"},
        {"$VELMOR_A ${VELMOR_A} `x` ~ *", "$VELMOR_A ${VELMOR_A} `x` ~ *"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(expand(c.text), c.expanded) << c.text;
}

TEST(EnvironmentVariables, ReturnsTheLongestExpansion) {
    const VariableSetting setting(name, std::string(16383, 'v'));
    EXPECT_EQ(expand("%VELMOR_TEST_VARIABLE%%VELMOR_TEST_VARIABLE%"), std::string(32766, 'v'));
}

// ---- Memory and threads ----

TEST(EnvironmentVariables, ReturnsEmptyTextIfTheAllocationFails) {
    const VariableSetting setting(name, "value");
    WideString result = wide("old");
    {
        const FailAllocation fail(1);
        result = EnvironmentVariables::GetString(wideName);
        EXPECT_EQ(fail.failedSize(), 65536u);
    }
    EXPECT_EQ(result, WideString());
    result = wide("old");
    const WideString text = wide("%VELMOR_TEST_VARIABLE%");
    {
        const FailAllocation fail(1);
        result = EnvironmentVariables::ExpandVariables(text);
        EXPECT_EQ(fail.failedSize(), 65536u);
    }
    EXPECT_EQ(result, WideString());
    EXPECT_EQ(EnvironmentVariables::GetString(wideName), wide("value"));
}

TEST(EnvironmentVariables, AccessesFromSeveralThreadsAreAtomic) {
    // Readers see the text of one of the writers, never a mixture.
    const VariableSetting setting(name, "a");
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < 4; ++number) {
        threads.emplace_back([&torn, number] {
            const auto letter = static_cast<Velmor::WideChar>('a' + number);
            const WideString reference = wide("%VELMOR_TEST_VARIABLE%");
            for (unsigned i = 1; i <= 300; ++i) {
                EnvironmentVariables::SetString(wideName, WideString((i * 37 + number) % 500 + 1, letter));
                for (const WideString& text :
                     {EnvironmentVariables::GetString(wideName), EnvironmentVariables::ExpandVariables(reference)}) {
                    const bool whole = !text.empty() && text.size() <= 500 && text[0] >= 'a' && text[0] <= 'd' &&
                                       text.find_first_not_of(text[0]) == WideString::npos;
                    torn += whole ? 0 : 1;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(torn, 0);
}
