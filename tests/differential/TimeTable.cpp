#include "Table.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velmor_tests {

using Velmor::SystemTime_s;

namespace {

constexpr std::uint64_t second = 10'000'000;
constexpr std::uint64_t day = 86'400 * second;

void printFileTime(std::uint64_t time) {
    print("file time " + std::to_string(time) + " " + shown(systemTime(time)));
}

} // namespace

void printFileTimes() {
    for (int bit = 0; bit < 64; ++bit) {
        const std::uint64_t time = std::uint64_t{1} << bit;
        printFileTime(time - 1);
        printFileTime(time);
        printFileTime(time + 1);
    }
    printFileTime(~std::uint64_t{0});
    // The ends of years and of February, in 110 years of each of three centuries.
    for (const std::uint64_t start : {0u, 1200u * 365u + 291u, 9999u * 365u}) {
        for (std::uint64_t year = 0; year < 110; ++year) {
            const std::uint64_t midnight = (start + year * 365 + year / 4) * day;
            printFileTime(midnight);
            printFileTime(midnight + 58 * day + 86'399 * second + 9'999'999);
            printFileTime(midnight + 59 * day);
            printFileTime(midnight + 60 * day);
            printFileTime(midnight + 365 * day - 1);
        }
    }
    Sequence random(3);
    for (int i = 0; i < 1000; ++i)
        printFileTime(random.next() >> random.below(12));
}

namespace {

void printSystemTime(const SystemTime_s& time) {
    print("system time " + shown(time) + " " + shown(dateString(time)) + " " + shown(timeString(time)));
}

} // namespace

void printSystemTimes() {
    constexpr std::uint16_t SystemTime_s::*fields[]{&SystemTime_s::year, &SystemTime_s::month,  &SystemTime_s::day,
                                                    &SystemTime_s::hour, &SystemTime_s::minute, &SystemTime_s::second};
    constexpr const char* names[]{"year", "month", "day", "hour", "minute", "second"};
    // Every value of one field, with valid values in the others.
    for (std::size_t field = 0; field < 6; ++field) {
        Runs runs(std::string("date of the ") + names[field]);
        for (unsigned value = 0; value <= 0xFFFF; ++value) {
            SystemTime_s time{2020, 2, 1, 1, 1, 1};
            time.*fields[field] = static_cast<std::uint16_t>(value);
            runs.add(value, shown(dateString(time)));
        }
    }
    for (std::uint16_t minute = 0; minute < 70; ++minute) {
        for (std::uint16_t sec = 0; sec < 70; ++sec) {
            if (minute < 26 || sec < 3) {
                print("time " + std::to_string(minute) + " " + std::to_string(sec) + " " +
                      shown(timeString({2020, 2, 1, 1, minute, sec})));
            }
        }
    }
    Sequence random(4);
    const std::vector<std::uint16_t> values{0,    1,    2,    6,    7,     12,    13,     23,     24,    28,
                                            29,   30,   31,   32,   59,    60,    61,     1600,   1601,  1900,
                                            2000, 2023, 2024, 9999, 30827, 30828, 0x7FFF, 0x8000, 0xFFFF};
    for (int i = 0; i < 1500; ++i) {
        SystemTime_s time{};
        for (const auto field : fields)
            time.*field = random.of(values);
        if (i % 2 == 0) {
            time.minute = static_cast<std::uint16_t>(time.minute % 26);
            time.second = static_cast<std::uint16_t>(time.second % 62);
        }
        printSystemTime(time);
    }
}

} // namespace velmor_tests
