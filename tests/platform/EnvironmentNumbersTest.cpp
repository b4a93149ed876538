// Variables that hold an integer or a handle.

#include <Velmor/Platform.h>

#include "TestVariable.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using namespace velmor_tests;
using Velmor::EnvironmentVariables;

namespace {

HANDLE handleOf(std::int64_t value) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(value));
}

std::int64_t valueOf(HANDLE handle) {
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(handle));
}

} // namespace

TEST(EnvironmentVariables, GetIntParsesTheBeginningOfTheText) {
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
        // Out of range: the nearest limit.
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

TEST(EnvironmentVariables, LengthLimitOfANumberIsInUtf16Units) {
    // 19 units in UTF-16, more bytes in UTF-8.
    const VariableSetting setting(name, "12\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"
                                        "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9");
    EXPECT_EQ(EnvironmentVariables::GetInt(wideName), 12);
}

TEST(EnvironmentVariables, GetIntReturnsZeroForAMissingVariable) {
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

// ---- Handles ----

TEST(EnvironmentVariables, HandleIsStoredAsASignedInteger) {
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
        {-1, "-1"}, // INVALID_HANDLE_VALUE
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

TEST(EnvironmentVariables, ReturnsTheStoredHandle) {
    const VariableSetting setting(name);
    Random random;
    for (int i = 0; i < 1000; ++i) {
        const auto value = static_cast<std::int64_t>(random.bits() >> (i % 64));
        EnvironmentVariables::SetFileStreamHandle(wideName, handleOf(value));
        EXPECT_EQ(valueOf(EnvironmentVariables::GetFileStreamHandle(wideName)), value);
    }
}

TEST(EnvironmentVariables, HandleTextIsParsedUpToTheFirstNonDigit) {
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

TEST(EnvironmentVariables, HandleTextHasAtMost1023Characters) {
    const VariableSetting setting(name);
    const struct {
        std::size_t length;
        HANDLE handle;
    } cases[] = {
        {1022, handleOf(452)},
        {1023, handleOf(452)},
        // The text does not fit the buffer, which stays empty.
        {1024, nullptr},
        {1025, nullptr},
        {2045, nullptr},
        {2046, nullptr},
        // The required length in units is compared with the size of the buffer in bytes.
        {2047, noHandle()},
        {2048, noHandle()},
        {5000, noHandle()},
    };
    for (const auto& c : cases) {
        setVariable(name, padded(c.length, "452"));
        EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), c.handle) << c.length;
    }
}

TEST(EnvironmentVariables, ReturnsNoHandleForMissingAndEmptyVariables) {
    const VariableSetting setting(name, std::nullopt);
    EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), noHandle());
    setVariable(name, "");
    EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), noHandle());
}

TEST(EnvironmentVariables, StoresTheHandleOfATemporaryFile) {
    const VariableSetting setting(name);
    Velmor::FileStream* stream = Velmor::FileStream::createTemporaryFile();
    EnvironmentVariables::SetFileStreamHandle(wideName, stream->getHandle());
    EXPECT_EQ(EnvironmentVariables::GetFileStreamHandle(wideName), stream->getHandle());
    delete stream;
}
