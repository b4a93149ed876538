#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

namespace {

/// MapGenericMask and AccessCheck.
/// @param genericWrite the only member of the generic mapping that is not 0.
/// @param[out] granted not changed if a call fails.
bool checkAccess(PSECURITY_DESCRIPTOR descriptor, HANDLE token, DWORD desired, DWORD genericWrite, bool* granted) {
    GENERIC_MAPPING mapping = {0, genericWrite, 0, 0};
    MapGenericMask(&desired, &mapping);
    PRIVILEGE_SET privileges = {};
    DWORD privilegesSize = sizeof privileges;
    DWORD grantedAccess = 0;
    BOOL status = FALSE;
    if (AccessCheck(descriptor, token, desired, &mapping, &privileges, &privilegesSize, &grantedAccess, &status) == FALSE)
        return false;
    *granted = status != FALSE;
    return true;
}

FoundFile toFoundFile(const WIN32_FIND_DATAW& data) {
    return {data.dwFileAttributes, data.cFileName};
}

} // namespace

std::uint32_t getFileAttributes(const WideChar* path) {
    static_assert(invalidFileAttributes == INVALID_FILE_ATTRIBUTES && directoryAttribute == FILE_ATTRIBUTE_DIRECTORY);
    return GetFileAttributesW(path);
}

bool getFileAttributesEx(const WideChar* path, FileInformation* information) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (GetFileAttributesExW(path, GetFileExInfoStandard, &data) == FALSE)
        return false;
    *information = {data.nFileSizeHigh, data.nFileSizeLow, data.ftLastWriteTime.dwHighDateTime,
                    data.ftLastWriteTime.dwLowDateTime};
    return true;
}

bool createDirectory(const WideChar* path) {
    return CreateDirectoryW(path, nullptr) != FALSE;
}

bool deleteFile(const WideChar* path) {
    return DeleteFileW(path) != FALSE;
}

bool removeDirectory(const WideChar* path) {
    return RemoveDirectoryW(path) != FALSE;
}

HANDLE findFirstFile(const WideChar* pattern, FoundFile& found) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(pattern, &data);
    if (search == INVALID_HANDLE_VALUE)
        return search;
    try {
        found = toFoundFile(data);
    } catch (...) {
        FindClose(search);
        throw;
    }
    return search;
}

bool findNextFile(HANDLE search, FoundFile& found) {
    WIN32_FIND_DATAW data;
    if (FindNextFileW(search, &data) == FALSE)
        return false;
    found = toFoundFile(data);
    return true;
}

void findClose(HANDLE search) {
    FindClose(search);
}

bool getDiskFreeSpace(const WideChar* path, std::uint64_t* available) {
    ULARGE_INTEGER bytes;
    if (GetDiskFreeSpaceExW(path, &bytes, nullptr, nullptr) == FALSE)
        return false;
    *available = bytes.QuadPart;
    return true;
}

void checkFileAccess(const WideChar* path, bool* read, bool* write) {
    // Frozen: on failure the descriptor and the token are not released, and a failed OpenThreadToken leaves the thread
    // impersonating itself.
    constexpr SECURITY_INFORMATION wanted =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD needed = 0;
    GetFileSecurityW(path, wanted, nullptr, 0, &needed);
    if (needed == 0)
        return;
    void* const descriptor = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, needed);
    if (descriptor == nullptr)
        return;
    if (GetFileSecurityW(path, wanted, descriptor, needed, &needed) == FALSE)
        return;
    if (ImpersonateSelf(SecurityImpersonation) == FALSE)
        return;
    HANDLE token = nullptr;
    if (OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE | TOKEN_QUERY, FALSE, &token) == FALSE)
        return;
    RevertToSelf();

    bool mayWrite = false;
    if (!checkAccess(descriptor, token, FILE_WRITE_DATA | FILE_APPEND_DATA, FILE_GENERIC_WRITE, &mayWrite))
        return;
    // Frozen: the mapping has the read rights in the member for writing. No effect: the mask contains no generic right.
    bool mayRead = false;
    if (!checkAccess(descriptor, token, READ_CONTROL | FILE_READ_ATTRIBUTES, FILE_GENERIC_READ, &mayRead))
        return;

    HeapFree(GetProcessHeap(), 0, descriptor);
    CloseHandle(token);
    *write = mayWrite;
    *read = mayRead;
}

} // namespace Velmor::os
