// Conversion of file times to their parts, and of the parts to text.

#include <Velmor/Platform.h>

#include "Tools.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <tuple>

using Velmor::FileOperations;
using Velmor::SystemTime_s;

namespace Velmor {

bool operator==(const SystemTime_s& a, const SystemTime_s& b);
bool operator==(const SystemTime_s& a, const SystemTime_s& b) {
    return std::tie(a.year, a.month, a.day, a.hour, a.minute, a.second) ==
           std::tie(b.year, b.month, b.day, b.hour, b.minute, b.second);
}

void PrintTo(const SystemTime_s& time, std::ostream* out);
void PrintTo(const SystemTime_s& time, std::ostream* out) {
    *out << time.year << '-' << time.month << '-' << time.day << ' ' << time.hour << ':' << time.minute << ':'
         << time.second;
}

} // namespace Velmor

namespace {

using velmor_tests::narrow;
using velmor_tests::Random;

constexpr std::uint64_t second = 10'000'000;
constexpr std::uint64_t day = 86'400 * second;

TEST(FileOperationsTimes, ConvertsKnownTimes) {
    const std::pair<std::uint64_t, SystemTime_s> cases[]{
        {0, {1601, 1, 1, 0, 0, 0}},
        {1, {1601, 1, 1, 0, 0, 0}},
        {second - 1, {1601, 1, 1, 0, 0, 0}},
        {second, {1601, 1, 1, 0, 0, 1}},
        {day - 1, {1601, 1, 1, 23, 59, 59}},
        {day, {1601, 1, 2, 0, 0, 0}},
        {116'444'736'000'000'000, {1970, 1, 1, 0, 0, 0}},
        {116'444'735'999'999'999, {1969, 12, 31, 23, 59, 59}},
        {125'911'584'000'000'000, {2000, 1, 1, 0, 0, 0}},
        {125'962'560'000'000'000, {2000, 2, 29, 0, 0, 0}}, // a year divisible by 400 is a leap year
        {132'223'104'000'000'000, {2020, 1, 1, 0, 0, 0}},
        {132'275'014'210'000'000, {2020, 3, 1, 1, 57, 1}},
        {128'884'604'056'543'210, {2009, 6, 2, 23, 53, 25}},
        {0x7FFF'FFFF'FFFF'FFFF, {30828, 9, 14, 2, 48, 5}}, // the last valid time
    };
    for (const auto& [time, expected] : cases)
        EXPECT_EQ(FileOperations::ConvertToSystemTime(time), expected) << time;
}

TEST(FileOperationsTimes, InvalidTimesAreAllZero) {
    for (const std::uint64_t time :
         {0x8000'0000'0000'0000u, 0x8000'0000'0000'0001u, 0xC000'0000'0000'0000u, 0xFFFF'FFFF'FFFF'FFFFu})
        EXPECT_EQ(FileOperations::ConvertToSystemTime(time), SystemTime_s{}) << time;
}

/// The parts, calculated by the calendar of the standard library.
SystemTime_s byCalendar(std::uint64_t time) {
    const std::chrono::sys_days midnight =
        std::chrono::sys_days(std::chrono::year(1601) / 1 / 1) + std::chrono::days(static_cast<std::int64_t>(time / day));
    const std::chrono::year_month_day date(midnight);
    const std::uint64_t seconds = time % day / second;
    return {static_cast<std::uint16_t>(static_cast<int>(date.year())),
            static_cast<std::uint16_t>(static_cast<unsigned>(date.month())),
            static_cast<std::uint16_t>(static_cast<unsigned>(date.day())),
            static_cast<std::uint16_t>(seconds / 3600),
            static_cast<std::uint16_t>(seconds / 60 % 60),
            static_cast<std::uint16_t>(seconds % 60)};
}

TEST(FileOperationsTimes, EveryDayOf1200YearsMatchesTheCalendar) {
    for (std::uint64_t number = 0; number < 1200 * 365 + 291; ++number) {
        ASSERT_EQ(FileOperations::ConvertToSystemTime(number * day), byCalendar(number * day)) << number;
        const std::uint64_t last = number * day + day - 1;
        ASSERT_EQ(FileOperations::ConvertToSystemTime(last), byCalendar(last)) << number;
    }
}

TEST(FileOperationsTimes, EverySecondOfADayMatchesTheCalendar) {
    for (std::uint64_t number = 0; number < 86'400; ++number) {
        const std::uint64_t time = 132'223'104'000'000'000 + number * second;
        ASSERT_EQ(FileOperations::ConvertToSystemTime(time), byCalendar(time)) << number;
        ASSERT_EQ(FileOperations::ConvertToSystemTime(time + second - 1), byCalendar(time)) << number;
    }
}

TEST(FileOperationsTimes, RandomTimesMatchTheCalendar) {
    Random random;
    for (int i = 0; i < 100'000; ++i) {
        const std::uint64_t time = random.bits() >> 1;
        ASSERT_EQ(FileOperations::ConvertToSystemTime(time), byCalendar(time)) << time;
    }
}

// The texts. The day is used as the day of the week, the hour as the day, the minute as the hour and the second as the
// minute. Both texts are formatted as a time, and the picture "ddd',' MMM dd yy" has no letters of a time format, so its
// letters are copied. Only the time is validated: the conversion fails for a minute over 23 or a second over 59.

bool isInvalid(const SystemTime_s& time) {
    return time.minute > 23 || time.second > 59;
}

std::string expectedDate(const SystemTime_s& time) {
    return isInvalid(time) ? "" : "ddd, MMM dd yy";
}

std::string expectedTime(const SystemTime_s& time) {
    if (isInvalid(time))
        return "";
    const auto twoDigits = [](unsigned value) { return std::string(value < 10 ? "0" : "") + std::to_string(value); };
    return twoDigits(time.minute) + ":" + twoDigits(time.second) + ":00";
}

void expectTexts(const SystemTime_s& time) {
    ASSERT_EQ(narrow(FileOperations::ConvertSystemTimeToDateString(time)), expectedDate(time))
        << testing::PrintToString(time);
    ASSERT_EQ(narrow(FileOperations::ConvertSystemTimeToTimeString(time)), expectedTime(time))
        << testing::PrintToString(time);
}

TEST(FileOperationsTimes, TextsOfATimeAreShifted) {
    const SystemTime_s time{2020, 11, 21, 15, 7, 42};
    EXPECT_EQ(narrow(FileOperations::ConvertSystemTimeToDateString(time)), "ddd, MMM dd yy");
    EXPECT_EQ(narrow(FileOperations::ConvertSystemTimeToTimeString(time)), "07:42:00");
    // 15:30: 30 is not a valid hour.
    EXPECT_EQ(narrow(FileOperations::ConvertSystemTimeToDateString({2020, 11, 21, 15, 30, 0})), "");
    EXPECT_EQ(narrow(FileOperations::ConvertSystemTimeToTimeString({2020, 11, 21, 15, 30, 0})), "");
}

TEST(FileOperationsTimes, FormatsEveryMinuteAndSecond) {
    for (std::uint16_t minute = 0; minute < 100; ++minute) {
        for (std::uint16_t sec = 0; sec < 100; ++sec) {
            expectTexts({2020, 2, 29, 12, minute, sec});
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(FileOperationsTimes, TextsDependOnlyOnMinuteAndSecond) {
    constexpr std::uint16_t SystemTime_s::*fields[]{&SystemTime_s::year, &SystemTime_s::month,  &SystemTime_s::day,
                                                    &SystemTime_s::hour, &SystemTime_s::minute, &SystemTime_s::second};
    for (const auto field : fields) {
        for (unsigned value = 0; value <= 0xFFFF; value += value < 100 || value > 0xFF00 ? 1 : 37) {
            SystemTime_s time{2020, 2, 1, 1, 1, 1};
            time.*field = static_cast<std::uint16_t>(value);
            expectTexts(time);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(FileOperationsTimes, FormatsRandomTimes) {
    Random random;
    const auto any = [&] { return static_cast<std::uint16_t>(random.oneIn(2) ? random.bits() : random.below(64u)); };
    for (int i = 0; i < 5'000; ++i) {
        expectTexts({any(), any(), any(), any(), any(), any()});
        if (HasFatalFailure())
            return;
    }
}

} // namespace
