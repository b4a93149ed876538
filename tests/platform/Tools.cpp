#include "Tools.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <fcntl.h>
    #include <unistd.h>
#endif

namespace velmor_tests {

namespace {

std::u8string asUtf8(const std::string& bytes) {
    return std::u8string(bytes.begin(), bytes.end());
}

std::string asBytes(const std::u8string& text) {
    return std::string(text.begin(), text.end());
}

#if !defined(_WIN32)
int descriptor(HANDLE handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}
#endif

} // namespace

Velmor::WideString wide(const std::filesystem::path& path) {
    return path.string<Velmor::WideChar>();
}

Velmor::WideString wide(const char* utf8) {
    return wide(pathOf(utf8));
}

std::string narrow(const Velmor::WideString& text) {
    return narrow(std::filesystem::path(text));
}

std::string narrow(const std::filesystem::path& path) {
    return asBytes(path.u8string());
}

std::filesystem::path pathOf(const std::string& utf8) {
    return std::filesystem::path(asUtf8(utf8));
}

std::optional<std::string> tryReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::size_t entries(const std::filesystem::path& folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

std::optional<std::string> variable(const char* name) {
#if defined(_WIN32)
    const std::wstring wideName = wide(name);
    std::wstring value(32768, L'\0');
    SetLastError(ERROR_SUCCESS);
    value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
    if (value.empty() && GetLastError() == ERROR_ENVVAR_NOT_FOUND)
        return std::nullopt;
    return narrow(value);
#else
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
#endif
}

void setVariable(const char* name, const std::optional<std::string>& value) {
#if defined(_WIN32)
    SetEnvironmentVariableW(wide(name).c_str(), value ? wide(*value).c_str() : nullptr);
#else
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
#endif
}

VariableSetting::VariableSetting(const char* name, const std::optional<std::string>& value)
    : name_(name), old_(variable(name)) {
    setVariable(name, value);
}

VariableSetting::~VariableSetting() {
    setVariable(name_, old_);
}

#if defined(_WIN32)

bool systemStumbled() {
    return GetLastError() == ERROR_INTERNAL_ERROR;
}

std::size_t openHandles() {
    // Handle values are multiples of four and are given from the lowest free one on; none of the suites opens 16384.
    std::size_t count = 0;
    for (std::uintptr_t value = 4; value < 0x10000; value += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1u : 0u;
    }
    return count;
}

bool isOpenFile(HANDLE handle) {
    return handle != noHandle() && GetFileType(handle) == FILE_TYPE_DISK;
}

bool isInheritable(HANDLE handle) {
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) && (flags & HANDLE_FLAG_INHERIT) != 0;
}

HANDLE openHandle(const std::filesystem::path& path) {
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}

std::optional<std::string> readHandle(HANDLE handle, std::size_t size) {
    std::string text(size, '\0');
    DWORD count = 0;
    if (!ReadFile(handle, text.data(), static_cast<DWORD>(size), &count, nullptr))
        return std::nullopt;
    text.resize(count);
    return text;
}

bool writeHandle(HANDLE handle, const std::string& text) {
    DWORD count = 0;
    return WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &count, nullptr) && count == text.size();
}

void closeHandle(HANDLE handle) {
    CloseHandle(handle);
}

#else

bool systemStumbled() {
    return false;
}

std::size_t openHandles() {
    return entries("/proc/self/fd") - 1; // without the one that reads the folder
}

bool isOpenFile(HANDLE handle) {
    return fcntl(descriptor(handle), F_GETFD) != -1;
}

bool isInheritable(HANDLE handle) {
    const int flags = fcntl(descriptor(handle), F_GETFD);
    return flags != -1 && (flags & FD_CLOEXEC) == 0;
}

HANDLE openHandle(const std::filesystem::path& path) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(::open(path.c_str(), O_RDONLY | O_CLOEXEC)));
}

std::optional<std::string> readHandle(HANDLE handle, std::size_t size) {
    std::string text(size, '\0');
    const ssize_t count = ::read(descriptor(handle), text.data(), size);
    if (count < 0)
        return std::nullopt;
    text.resize(static_cast<std::size_t>(count));
    return text;
}

bool writeHandle(HANDLE handle, const std::string& text) {
    return ::write(descriptor(handle), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void closeHandle(HANDLE handle) {
    ::close(descriptor(handle));
}

#endif

} // namespace velmor_tests
