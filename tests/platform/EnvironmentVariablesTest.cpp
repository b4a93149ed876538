#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <support/FailingAllocation.h>
#include <support/UnderDebugger.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
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

// The one variable of most tests; each sets it and it is gone afterwards.
constexpr const char* name = "VELMOR_TEST_VARIABLE";
const WideString wideName = wide(name);

std::string expand(const char* text) {
    return narrow(EnvironmentVariables::ExpandVariables(wide(text)));
}

HANDLE handleOf(std::int64_t value) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(value));
}

std::int64_t valueOf(HANDLE handle) {
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(handle));
}

/// A number behind so many zeros that the text has the given length.
std::string padded(std::size_t length, const std::string& digits) {
    return std::string(length - digits.size(), '0') + digits;
}

} // namespace

// Text
// ------------------------------------------------------------------------------------------------------------------------

TEST(EnvironmentVariables, StringIsTheVariablesValue) {
    for (const char* value : {"x", "a b\tc", "\"quoted\" 'text'", "50%", "%PATH%", "a=b=c", "  blanks  ", "line\nline",
                              "Gr\xC3\xBC\xC3\x9F"
                              "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80"}) {
        const VariableSetting setting(name, std::string(value));
        EXPECT_EQ(EnvironmentVariables::GetString(wideName), wide(value)) << value;
    }
}

TEST(EnvironmentVariables, MissingAndEmptyVariablesGiveNoText) {
    const VariableSetting setting(name, std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetString(wideName), WideString());
    setVariable(name, "");
    EXPECT_EQ(EnvironmentVariables::GetString(wideName), WideString());
}

TEST(EnvironmentVariables, SetStringSetsTheProcessesVariable) {
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

TEST(EnvironmentVariables, NamesMayHoldAnyCharacterButTheEqualSign) {
    const WideString odd = wide("VELMOR TEST Gr\xC3\xB6\xC3\x9F"
                                "e (1)");
    EnvironmentVariables::SetString(odd, wide("value"));
    EXPECT_EQ(EnvironmentVariables::GetString(odd), wide("value"));
    setVariable(narrow(odd).c_str(), std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetString(odd), WideString());
}

TEST(EnvironmentVariables, ImpossibleNamesAreRefused) {
    for (const char* impossible : {"", "VELMOR_TEST=VARIABLE"}) {
        EnvironmentVariables::SetString(wide(impossible), wide("value"));
        EXPECT_EQ(EnvironmentVariables::GetString(wide(impossible)), WideString());
        EXPECT_EQ(EnvironmentVariables::GetInt(wide(impossible)), 0);
    }
    EXPECT_EQ(variable("VELMOR_TEST"), std::nullopt);
}

TEST(EnvironmentVariables, TextsEndAtAZeroUnit) {
    const VariableSetting setting(name, std::nullopt);
    WideString text = wide("ab-cd");
    text[2] = 0;
    EnvironmentVariables::SetString(wideName, text);
    EXPECT_EQ(variable(name), "ab");
    EXPECT_EQ(EnvironmentVariables::GetString(wideName + WideString(1, 0) + wide("tail")), wide("ab"));
}

TEST(EnvironmentVariables, LongestTextPassesWhole) {
    const VariableSetting setting(name, std::nullopt);
    const std::string value = std::string(32764, 'v') + "\xC3\xA9z"; // 32766 units
    EnvironmentVariables::SetString(wideName, wide(value));
    EXPECT_EQ(variable(name), value);
    EXPECT_TRUE(EnvironmentVariables::GetString(wideName) == wide(value));
}

TEST(EnvironmentVariables, TooLongATextNeverLeavesTheBuffer) {
    const VariableSetting setting(name, std::nullopt);
    for (const std::size_t length : {32767u, 32768u, 40000u}) {
        EnvironmentVariables::SetString(wideName, WideString(length, 'v'));
        const WideString text = EnvironmentVariables::GetString(wideName);
        const WideString expanded = EnvironmentVariables::ExpandVariables(wide("%VELMOR_TEST_VARIABLE%"));
#if defined(_WIN32)
        EXPECT_LE(text.size(), 32768u); // what the system leaves there is its own affair
        EXPECT_LE(expanded.size(), 32768u);
#else
        EXPECT_EQ(text, WideString()) << length;
        EXPECT_TRUE(expanded == WideString(32766, 'v')) << length;
#endif
    }
}

TEST(EnvironmentVariables, ChildrenGetWhatTheLibrarySet) {
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

// Expansion
// -------------------------------------------------------------------------------------------------------------------

TEST(EnvironmentVariables, VariablesInATextAreExpanded) {
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
        {"%VELMOR_N%", "%VELMOR_A%"}, // once only
        {"%VELMOR_MISSING%", "%VELMOR_MISSING%"},
        {"%VELMOR_A%x%VELMOR_MISSING%y%VELMOR_B%", "1x%VELMOR_MISSING%y22"},
        {"%VELMOR_MISSING%VELMOR_A%", "%VELMOR_MISSING%VELMOR_A%"}, // its second sign begins nothing
        {"%VELMOR_A%VELMOR_B%", "1VELMOR_B%"},
        {"100%", "100%"},
        {"%", "%"},
        {"%%", "%%"},
        {"%%%", "%%%"},
        {"%VELMOR_A", "%VELMOR_A"},
        {"VELMOR_A%", "VELMOR_A%"},
        {"50% of %VELMOR_A%", "50% of %VELMOR_A%"}, // " of " is no variable, and its signs are used up
        {"%%VELMOR_A%%", "%%VELMOR_A%%"},
        {"%%%VELMOR_A%", "%%1"},
        {"%VELMOR_A=%", "%VELMOR_A=%"},
        {"$VELMOR_A ${VELMOR_A} `x` ~ *", "$VELMOR_A ${VELMOR_A} `x` ~ *"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(expand(c.text), c.expanded) << c.text;
}

TEST(EnvironmentVariables, LongestExpansionPassesWhole) {
    const VariableSetting setting(name, std::string(16383, 'v'));
    EXPECT_EQ(expand("%VELMOR_TEST_VARIABLE%%VELMOR_TEST_VARIABLE%"), std::string(32766, 'v'));
}

// Numbers
// ---------------------------------------------------------------------------------------------------------------------

TEST(EnvironmentVariables, IntIsTheNumberThatATextBeginsWith) {
    const struct {
        const char* text;
        int number;
    } cases[] = {
        {"", 0},
        {"0", 0},
        {"1", 1},
        {"-5", -5},
        {"+7", 7},
        {"12abc", 12},
        {"12 34", 12},
        {"3.9", 3},
        {"1e3", 1},
        {" 12", 12},
        {"\t\n 3", 3},
        {"007", 7},
        {"0x10", 0},
        {"abc", 0},
        {"- 5", 0},
        {"--5", 0},
        {"+-5", 0},
        {"-", 0},
        {"2147483647", 2147483647},
        {"-2147483648", std::numeric_limits<int>::min()},
        // Beyond the range: its end.
        {"2147483648", 2147483647},
        {"4294967297", 2147483647},
        {"9999999999999999999", 2147483647},
        {"-2147483649", std::numeric_limits<int>::min()},
        {"-999999999999999999", std::numeric_limits<int>::min()},
        // A text of 20 characters is not read.
        {"0000000000000000012", 12},
        {"00000000000000000012", 0},
        {"000000000000000000012", 0},
        {"-000000000000000012", -12},
        {"-0000000000000000012", 0},
        {"1                  ", 1},
        {"1                   ", 0},
    };
    for (const auto& c : cases) {
        const VariableSetting setting(name, std::string(c.text));
        EXPECT_EQ(EnvironmentVariables::GetInt(wideName), c.number) << "'" << c.text << "'";
    }
}

TEST(EnvironmentVariables, LengthOfANumberCountsInUnits) {
    // 19 units in UTF-16, more bytes in UTF-8.
    const VariableSetting setting(name, "12\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"
                                        "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9");
    EXPECT_EQ(EnvironmentVariables::GetInt(wideName), 12);
}

TEST(EnvironmentVariables, MissingIntIsZero) {
    const VariableSetting setting(name, std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetInt(wideName), 0);
}

TEST(EnvironmentVariables, SetIntStoresDecimalText) {
    const VariableSetting setting(name);
    const struct {
        int number;
        const char* text;
    } cases[] = {
        {0, "0"}, {1, "1"}, {-5, "-5"}, {2147483647, "2147483647"}, {std::numeric_limits<int>::min(), "-2147483648"}};
    for (const auto& c : cases) {
        EnvironmentVariables::SetInt(wideName, c.number);
        EXPECT_EQ(variable(name), c.text);
        EXPECT_EQ(EnvironmentVariables::GetInt(wideName), c.number);
    }
}

// Handles
// ---------------------------------------------------------------------------------------------------------------------

TEST(EnvironmentVariables, HandleIsStoredAsASignedNumber) {
    const VariableSetting setting(name);
    const struct {
        std::int64_t value;
        const char* text;
    } cases[] = {
        {0, "0"},
        {452, "452"},
        {0x7FFFFFFF, "2147483647"},
        {0x80000000, "2147483648"},
        {0xFFFFFFFF, "4294967295"},
        {0x123456789ABCDEF0, "1311768467463790320"},
        {-1, "-1"}, // no handle
        {-2, "-2"},
        {std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
        {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
    };
    for (const auto& c : cases) {
        EnvironmentVariables::SetFileStreamHandle(wideName, handleOf(c.value));
        EXPECT_EQ(variable(name), c.text);
        EXPECT_EQ(valueOf(EnvironmentVariables::GetFileStreamHandle(wideName)), c.value);
    }
    EXPECT_EQ(handleOf(-1), noHandle());
}

TEST(EnvironmentVariables, AnyHandleComesBack) {
    const VariableSetting setting(name);
    const auto seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (int i = 0; i < 1000; ++i) {
        const auto value = static_cast<std::int64_t>(random() >> (i % 64));
        EnvironmentVariables::SetFileStreamHandle(wideName, handleOf(value));
        EXPECT_EQ(valueOf(EnvironmentVariables::GetFileStreamHandle(wideName)), value);
    }
}

TEST(EnvironmentVariables, HandleTextIsReadToTheFirstNonDigit) {
    const struct {
        const char* text;
        std::int64_t value;
    } cases[] = {
        {"452", 452},
        {"+452", 452},
        {"-452", -452},
        {"00452", 452},
        {" 452", 452},
        {"452abc", 452},
        {"452 453", 452},
        {"0x1C4", 0},
        {"abc", 0}, // a null handle
        {"-", 0},
        {" ", 0},
        {"9223372036854775808", std::numeric_limits<std::int64_t>::max()},
        {"99999999999999999999999", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775809", std::numeric_limits<std::int64_t>::min()},
        {"18446744073709551615", std::numeric_limits<std::int64_t>::max()},
    };
    for (const auto& c : cases) {
        const VariableSetting setting(name, std::string(c.text));
        EXPECT_EQ(valueOf(EnvironmentVariables::GetFileStreamHandle(wideName)), c.value) << "'" << c.text << "'";
    }
}

TEST(EnvironmentVariables, HandleTextMayHave1023Characters) {
    const VariableSetting setting(name);
    const struct {
        std::size_t length;
        HANDLE handle;
    } cases[] = {
        {1022, handleOf(452)},
        {1023, handleOf(452)},
        // It does not fit and is not read: what is left in the buffer is no number.
        {1024, nullptr},
        {1025, nullptr},
        {2045, nullptr},
        {2046, nullptr},
        // The bound is meant to be one in bytes: from here on the system asks for more room than that.
        {2047, noHandle()},
        {2048, noHandle()},
        {5000, noHandle()},
    };
    for (const auto& c : cases) {
        setVariable(name, padded(c.length, "452"));
        EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), c.handle) << c.length;
    }
}

TEST(EnvironmentVariables, MissingAndEmptyHandleIsNoHandle) {
    const VariableSetting setting(name, std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), noHandle());
    setVariable(name, "");
    EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), noHandle());
}

TEST(EnvironmentVariables, OwnTemporaryFileIsFoundAgain) {
    const VariableSetting setting(name);
    Velmor::FileStream* stream = Velmor::FileStream::createTemporaryFile();
    EnvironmentVariables::SetFileStreamHandle(wideName, stream->getHandle());
    EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), stream->getHandle());
    delete stream;
}

// Memory
// ----------------------------------------------------------------------------------------------------------------------

TEST(EnvironmentVariables, FailedAllocationGivesNoText) {
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

TEST(DynamicLibrary, WithoutMemoryThePathIsNotTouched) {
    const VariableSetting path("PATH", "some/where");
    const WideString module = wide("velmor_no_such_module");
    const WideString folder = wide("folder");
    std::unique_ptr<Velmor::DynamicLibrary> library;
    {
        const FailAllocation fail(1);
        library.reset(Velmor::DynamicLibrary::loadDynamicLibrary(module, folder));
        EXPECT_EQ(fail.failedSize(), 65536u);
    }
    EXPECT_FALSE(library->isValid());
    EXPECT_EQ(variable("PATH"), "some/where");
}

// Threads
// ---------------------------------------------------------------------------------------------------------------------

TEST(EnvironmentVariables, EachAccessIsOneStep) {
    // Writers race, but nobody ever sees a part of a text.
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

// Reports
// ---------------------------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(MissingHandles) {
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_SECOND"));
}

VELMOR_SCENARIO(EmptyHandle) {
    EnvironmentVariables::SetString(wide("VELMOR_FIRST"), WideString());
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
}

VELMOR_SCENARIO(OverlongHandle) {
    setVariable("VELMOR_FIRST", padded(1023, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    setVariable("VELMOR_FIRST", padded(1024, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    setVariable("VELMOR_FIRST", padded(2046, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    setVariable("VELMOR_SECOND", padded(2047, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_SECOND"));
}

VELMOR_SCENARIO(MissingVariables) {
    const WideString missing = wide("VELMOR_MISSING");
    EnvironmentVariables::GetString(missing);
    EnvironmentVariables::GetInt(missing);
    EnvironmentVariables::ExpandVariables(wide("%VELMOR_MISSING%"));
    setVariable("VELMOR_FIRST", "no number");
    EnvironmentVariables::GetInt(wide("VELMOR_FIRST"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
}

VELMOR_SCENARIO(MissingHandleOfOneCharacter) {
    EnvironmentVariables::GetFileStreamHandle(wide("?"));
    EnvironmentVariables::GetFileStreamHandle(wide("!"));
}

TEST(EnvironmentVariables, MissingHandleIsReportedOnce) {
    const ScenarioRun run = runUnderDebugger("MissingHandles");
    EXPECT_EQ(run.channel, "No handle for VELMOR_FIRST\n");
    EXPECT_EQ(run.output, "No handle for VELMOR_FIRST\n");
    EXPECT_EQ(run.reportsBeforeBreak, std::vector<std::size_t>{1});
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(EnvironmentVariables, EmptyHandleIsReported) {
    const ScenarioRun run = runUnderDebugger("EmptyHandle");
    EXPECT_EQ(run.channel, "No handle for VELMOR_FIRST\n");
    EXPECT_EQ(run.breaks, 1);
}

TEST(EnvironmentVariables, OverlongHandleIsReportedFrom2047CharactersOn) {
    const ScenarioRun run = runUnderDebugger("OverlongHandle");
    EXPECT_EQ(run.channel, "No handle for VELMOR_SECOND\n");
    EXPECT_EQ(run.breaks, 1);
}

TEST(EnvironmentVariables, NameThatDoesNotConvertIsReportedEmpty) {
    const ScenarioRun run = runUnderDebugger("MissingHandleOfOneCharacter");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"StringOperations::ConvertToCurrentLocale, Invalid Conversion.",
                                                     "No handle for \n"}));
    EXPECT_EQ(run.breaks, 2);
}

TEST(EnvironmentVariables, OtherFailuresAreSilent) {
    const ScenarioRun run = runUnderDebugger("MissingVariables");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.breaks, 0);
}

TEST(EnvironmentVariables, NothingIsReportedWithoutADebugger) {
    const ScenarioRun run = runAlone("MissingHandles");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}
