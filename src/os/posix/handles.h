#pragma once

// Handles. A file handle is the number of its descriptor, so that it has the same value in a child that inherits it. The
// handle of an event, process or thread is the key of an object in a table. The keys are larger than all descriptors and are
// never reused: a handle that is used after it was closed, or closed twice, does not affect another object.
//
// The error codes of Win32 and the last error of the calling thread.

#include "os/os.h"

#include <memory>

namespace Velmor::os::posix {

/// The base class of events, processes and threads.
class Object {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;
};

/// Adds an object to the table.
/// @return its handle; null if memory is exhausted.
HANDLE addObject(std::shared_ptr<Object> object);

/// Returns the object of a handle and shares its ownership; null if the handle has no object.
std::shared_ptr<Object> findObject(HANDLE handle);

/// Returns the object of a handle if it has the given type; otherwise null, and sets the last error.
template <class Kind>
std::shared_ptr<Kind> findObjectOf(HANDLE handle);

/// Returns the descriptor of a file handle; -1 for null, for `invalidHandle()` and for the handles of objects. Null is never
/// a file handle: descriptor 0 has none.
int descriptorOf(HANDLE handle);

/// Returns the handle of a descriptor, which must be greater than 0.
HANDLE handleOf(int descriptor);

/// Sets the last error of the calling thread to a Win32 code.
void setLastError(unsigned code);

/// Sets the last error of the calling thread to the Win32 code that corresponds to an errno.
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
