#include "Tools.h"

#include <cstdlib>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <fcntl.h>
    #include <unistd.h>
#endif

namespace velmor_tests {

std::size_t entries(const std::filesystem::path& folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

std::vector<HANDLE> invalidHandles() {
    static int variable = 0;
    void* freed = std::malloc(64);
    volatile const auto address =
        reinterpret_cast<std::uintptr_t>(freed); // volatile: g++ reports a use after free otherwise
    std::free(freed);
    std::vector<HANDLE> handles{&variable};
    for (const std::uintptr_t value : {std::uintptr_t{0x12345678}, std::uintptr_t{0x7FFFFFFC}, std::uintptr_t{0x80000000},
                                       std::uintptr_t{0x7FFFFFFFFFFFFFFC}, std::uintptr_t{address}})
        handles.push_back(reinterpret_cast<HANDLE>(value));
    return handles;
}

#if defined(_WIN32)

bool failedInsideTheSystem() {
    return GetLastError() == ERROR_INTERNAL_ERROR;
}

std::size_t openHandles() {
    // Handle values are multiples of four, and the system assigns the lowest free one. No suite opens 16384 handles.
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

namespace {

int descriptor(HANDLE handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

} // namespace

bool failedInsideTheSystem() {
    return false;
}

std::size_t openHandles() {
    return entries("/proc/self/fd") - 1; // without the descriptor that reads the folder
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
