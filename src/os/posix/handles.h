#pragma once

// The handles of this system. A file's handle is the number of its descriptor, so that a child may inherit it under the same
// value. Every other handle is the number of an object in a table; such numbers lie above all descriptors and are never
// given out twice, so that a stale handle, or one that is closed twice, meets nobody else's object.

#include "os/os.h"

#include <memory>

namespace Velmor::os::posix {

/// What a handle that is no descriptor refers to.
class Object {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;
};

/// Enters an object into the table.
/// @return its handle; null if there is no memory.
HANDLE addObject(std::shared_ptr<Object> object);

/// The object of a handle, kept alive by the result; null for any other value.
std::shared_ptr<Object> findObject(HANDLE handle);

/// The object of a handle if it is of the given kind; else null, with the last error set.
template <class Kind>
std::shared_ptr<Kind> findObjectOf(HANDLE handle);

/// The descriptor of a file handle; -1 for null (which is no file's handle: `handleOf` never gives it), for
/// `invalidHandle()` and for the handles of objects.
int descriptorOf(HANDLE handle);

/// The handle of a descriptor, which must be above 0.
HANDLE handleOf(int descriptor);

/// Sets the calling thread's last error to a Win32 code.
void setLastError(unsigned code);

/// Sets the calling thread's last error to the Win32 code that fits an errno.
void setLastErrorFromErrno(int error);

inline constexpr unsigned errorFileNotFound = 2;
inline constexpr unsigned errorPathNotFound = 3;
inline constexpr unsigned errorTooManyOpenFiles = 4;
inline constexpr unsigned errorAccessDenied = 5;
inline constexpr unsigned errorInvalidHandle = 6;
inline constexpr unsigned errorNotEnoughMemory = 8;
inline constexpr unsigned errorGenFailure = 31;
inline constexpr unsigned errorSharingViolation = 32;
inline constexpr unsigned errorFileExists = 80;
inline constexpr unsigned errorInvalidParameter = 87;
inline constexpr unsigned errorBrokenPipe = 109;
inline constexpr unsigned errorDiskFull = 112;
inline constexpr unsigned errorInsufficientBuffer = 122;
inline constexpr unsigned errorInvalidName = 123;
inline constexpr unsigned errorModNotFound = 126;
inline constexpr unsigned errorProcNotFound = 127;
inline constexpr unsigned errorNegativeSeek = 131;
inline constexpr unsigned errorBadExeFormat = 193;
inline constexpr unsigned errorEnvvarNotFound = 203;
inline constexpr unsigned errorFilenameExceedsRange = 206;
inline constexpr unsigned errorDirectory = 267;
inline constexpr unsigned errorResourceDataNotFound = 1812;

template <class Kind>
std::shared_ptr<Kind> findObjectOf(HANDLE handle) {
    std::shared_ptr<Kind> object = std::dynamic_pointer_cast<Kind>(findObject(handle));
    if (object == nullptr)
        setLastError(errorInvalidHandle);
    return object;
}

} // namespace Velmor::os::posix
