// Calls Win32, and converts the results as the library does.

#include "PlainMatching.h"
#include "Results.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace velmor_tests {
namespace {

constexpr DWORD bufferUnits = 260;
constexpr DWORD maximumResult = 520; // the size of the buffer in bytes

struct FullPath {
    wchar_t text[bufferUnits]{};
    wchar_t* file = nullptr;
    DWORD length = 0;

    FullPath(const std::wstring& path, DWORD capacity) { length = GetFullPathNameW(path.c_str(), capacity, text, &file); }
    bool isAccepted() const { return length >= 1 && length <= maximumResult; }
};

SYSTEMTIME shifted(const Velmor::SystemTime_s& time) {
    SYSTEMTIME out{};
    out.wYear = time.year;
    out.wMonth = time.month;
    out.wDayOfWeek = time.day;
    out.wDay = time.hour;
    out.wHour = time.minute;
    out.wMinute = time.second;
    return out;
}

std::wstring formatted(const Velmor::SystemTime_s& time, DWORD flags, const wchar_t* picture) {
    const SYSTEMTIME parts = shifted(time);
    wchar_t text[1024]{};
    GetTimeFormatW(LOCALE_USER_DEFAULT, flags, &parts, picture, text, 1023);
    return text;
}

} // namespace

std::wstring fullPath(const std::wstring& path) {
    const FullPath full(path, bufferUnits);
    return full.isAccepted() ? full.text : L"";
}

std::wstring fullFolder(const std::wstring& path) {
    const FullPath full(path, bufferUnits);
    return full.file && full.isAccepted() ? std::wstring(full.text, static_cast<const wchar_t*>(full.file)) : L"";
}

std::wstring fileWithoutPath(const std::wstring& path) {
    const FullPath full(path, 258); // the library uses 258 instead of 260 for the file name
    return full.isAccepted() && full.file ? full.file : L"";
}

std::optional<std::wstring> fileWithoutExtension(const std::wstring& path) {
    const FullPath full(path, bufferUnits);
    if (!full.isAccepted() || !full.file)
        return std::nullopt;
    const std::wstring file = full.file;
    return file.substr(0, file.find(L'.'));
}

std::wstring withEndingSlash(const std::wstring& path) {
    return path.empty() || path.back() == L'\\' || path.back() == L'/' ? path : path + L'\\';
}

bool matches(const std::wstring& fileName, const std::wstring& extensions) {
    return plainMatchOfList(fileName, extensions);
}

Velmor::SystemTime_s systemTime(std::uint64_t fileTime) {
    FILETIME time{};
    time.dwLowDateTime = static_cast<DWORD>(fileTime);
    time.dwHighDateTime = static_cast<DWORD>(fileTime >> 32);
    SYSTEMTIME parts{};
    if (!FileTimeToSystemTime(&time, &parts))
        return {};
    return {parts.wYear, parts.wMonth, parts.wDay, parts.wHour, parts.wMinute, parts.wSecond};
}

std::wstring dateString(const Velmor::SystemTime_s& time) {
    return formatted(time, 0, L"ddd',' MMM dd yy");
}

std::wstring timeString(const Velmor::SystemTime_s& time) {
    return formatted(time, TIME_FORCE24HOURFORMAT, L"HH':'mm':'ss");
}

Version productVersion(const std::filesystem::path& file, bool damaged) {
    if (damaged)
        return {false, {}};
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), nullptr);
    if (size == 0)
        return {false, {}};
    std::vector<char> block(size);
    void* root = nullptr;
    UINT rootSize = 0;
    if (!GetFileVersionInfoW(file.c_str(), 0, size, block.data()) || !VerQueryValueA(block.data(), "\\", &root, &rootSize))
        return {false, {}};
    VS_FIXEDFILEINFO fixed{};
    std::memcpy(&fixed, root, sizeof fixed);
    return {true,
            {HIWORD(fixed.dwProductVersionMS), LOWORD(fixed.dwProductVersionMS), HIWORD(fixed.dwProductVersionLS),
             LOWORD(fixed.dwProductVersionLS)}};
}

} // namespace velmor_tests
