#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

bool fileTimeToSystemTime(std::uint64_t fileTime, SystemTime* time) {
    const FILETIME parts = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
    SYSTEMTIME result;
    if (FileTimeToSystemTime(&parts, &result) == FALSE)
        return false;
    *time = {result.wYear, result.wMonth,  result.wDayOfWeek, result.wDay,
             result.wHour, result.wMinute, result.wSecond,    result.wMilliseconds};
    return true;
}

int getTimeFormat(const SystemTime& time, bool force24Hours, const WideChar* picture, WideChar* buffer, int capacity) {
    const SYSTEMTIME parts = {time.year, time.month,  time.dayOfWeek, time.day,
                              time.hour, time.minute, time.second,    time.milliseconds};
    return GetTimeFormatW(LOCALE_USER_DEFAULT, force24Hours ? TIME_FORCE24HOURFORMAT : 0, &parts, picture, buffer, capacity);
}

} // namespace Velmor::os
