#include "os/os.h"
#include "os/posix/handles.h"

#include <chrono>
#include <cstdint>
#include <ratio>

namespace Velmor::os {

bool fileTimeToSystemTime(std::uint64_t fileTime, SystemTime* time) {
    using namespace std::chrono;
    if (fileTime >> 63 != 0) {
        posix::setLastError(posix::errorInvalidParameter);
        return false;
    }
    using Interval = duration<std::int64_t, std::ratio<1, 10'000'000>>;
    const Interval sinceBegin(static_cast<std::int64_t>(fileTime));
    const days wholeDays = floor<days>(sinceBegin);
    constexpr sys_days begin = year{1601} / January / 1;
    const sys_days day = begin + wholeDays;
    const year_month_day date(day);
    const hh_mm_ss clock(floor<milliseconds>(sinceBegin - wholeDays));
    const auto part = [](auto value) { return static_cast<std::uint16_t>(value); };
    *time = {.year = part(static_cast<int>(date.year())),
             .month = part(static_cast<unsigned>(date.month())),
             .dayOfWeek = part(weekday(day).c_encoding()),
             .day = part(static_cast<unsigned>(date.day())),
             .hour = part(clock.hours().count()),
             .minute = part(clock.minutes().count()),
             .second = part(clock.seconds().count()),
             .milliseconds = part(clock.subseconds().count())};
    return true;
}

int getTimeFormat(const SystemTime& time, bool /*force24Hours*/, const WideChar* picture, WideChar* buffer, int capacity) {
    if (time.hour > 23 || time.minute > 59 || time.second > 59) {
        posix::setLastError(posix::errorInvalidParameter);
        return 0;
    }
    WideString text;
    bool quoted = false;
    while (*picture != 0) {
        const WideChar letter = *picture++;
        const bool timeLetter = letter == VELMOR_WIDE('H') || letter == VELMOR_WIDE('m') || letter == VELMOR_WIDE('s');
        if (letter == VELMOR_WIDE('\'')) {
            quoted = !quoted;
        } else if (timeLetter && !quoted) {
            while (*picture == letter)
                ++picture;
            const unsigned value = letter == VELMOR_WIDE('H')   ? time.hour
                                   : letter == VELMOR_WIDE('m') ? time.minute
                                                                : time.second;
            text.push_back(static_cast<WideChar>(VELMOR_WIDE('0') + value / 10));
            text.push_back(static_cast<WideChar>(VELMOR_WIDE('0') + value % 10));
        } else {
            text.push_back(letter);
        }
    }
    const int needed = static_cast<int>(text.size()) + 1;
    if (needed > capacity) {
        posix::setLastError(posix::errorInsufficientBuffer);
        return 0;
    }
    text.copy(buffer, text.size());
    buffer[text.size()] = 0;
    return needed;
}

} // namespace Velmor::os
