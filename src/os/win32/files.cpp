#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

HANDLE createFile(const WideChar* path, const FileArguments& arguments) {
    SECURITY_ATTRIBUTES security = {sizeof security, nullptr, TRUE};
    const DWORD access = (arguments.read ? GENERIC_READ : 0) | (arguments.write ? GENERIC_WRITE : 0);
    const DWORD attributes = (arguments.temporary ? FILE_ATTRIBUTE_TEMPORARY : 0) |
                             (arguments.create && !arguments.temporary ? FILE_ATTRIBUTE_NORMAL : 0) |
                             (arguments.sequential ? FILE_FLAG_SEQUENTIAL_SCAN : 0) |
                             (arguments.deleteOnClose ? FILE_FLAG_DELETE_ON_CLOSE : 0);
    return CreateFileW(path, access, arguments.shareReading ? FILE_SHARE_READ : 0,
                       arguments.inheritable ? &security : nullptr, arguments.create ? CREATE_ALWAYS : OPEN_EXISTING,
                       attributes, nullptr);
}

bool readFile(HANDLE file, void* buffer, std::uint32_t size, std::uint32_t* count) {
    DWORD read = 0;
    const bool succeeded = ReadFile(file, buffer, size, &read, nullptr) != FALSE;
    *count = read;
    return succeeded;
}

bool writeFile(HANDLE file, const void* data, std::uint32_t size) {
    DWORD written = 0;
    return WriteFile(file, data, size, &written, nullptr) != FALSE;
}

bool setFilePointer(HANDLE file, std::int32_t distance) {
    return SetFilePointer(file, distance, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER;
}

unsigned getTempPath(unsigned capacity, WideChar* buffer) {
    return GetTempPathW(capacity, buffer);
}

unsigned getTempFileName(const WideChar* folder, const WideChar* prefix, WideChar* name) {
    return GetTempFileNameW(folder, prefix, 0, name);
}

} // namespace Velmor::os
