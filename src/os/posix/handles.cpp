#include "os/posix/handles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <mutex>
#include <new>
#include <unordered_map>

namespace Velmor::os {

namespace posix {

namespace {

struct Table {
    std::mutex mutex;
    std::unordered_map<std::uintptr_t, std::shared_ptr<Object>> objects;
    std::uintptr_t next = std::uintptr_t{1} << 32;
};

/// Never destroyed: threads may run after main.
Table& table() {
    static Table* const instance = new Table;
    return *instance;
}

std::uintptr_t numberOf(HANDLE handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

thread_local unsigned lastErrorCode = 0;

struct ErrnoCode {
    int error;
    unsigned code;
};

constexpr ErrnoCode errnoCodes[] = {
    {ENOENT, errorFileNotFound},
    {ENOTDIR, errorPathNotFound},
    {EMFILE, errorTooManyOpenFiles},
    {ENFILE, errorTooManyOpenFiles},
    {EACCES, errorAccessDenied},
    {EPERM, errorAccessDenied},
    {EISDIR, errorAccessDenied},
    {EROFS, errorAccessDenied},
    {ETXTBSY, errorSharingViolation},
    {EWOULDBLOCK, errorSharingViolation},
    {EBADF, errorInvalidHandle},
    {ENOMEM, errorNotEnoughMemory},
    {EEXIST, errorFileExists},
    {EINVAL, errorInvalidParameter},
    {EPIPE, errorBrokenPipe},
    {ENOSPC, errorDiskFull},
    {EDQUOT, errorDiskFull},
    {EFBIG, errorDiskFull},
    {ENOEXEC, errorBadExeFormat},
    {ELOOP, errorInvalidName},
    {ENAMETOOLONG, errorFilenameExceedsRange},
};

} // namespace

HANDLE addObject(std::shared_ptr<Object> object) {
    try {
        Table& all = table();
        const std::lock_guard<std::mutex> lock(all.mutex);
        const std::uintptr_t number = all.next;
        all.objects.emplace(number, std::move(object));
        all.next += 4;
        return reinterpret_cast<HANDLE>(number);
    } catch (const std::bad_alloc&) {
        setLastError(errorNotEnoughMemory);
        return nullptr;
    }
}

std::shared_ptr<Object> findObject(HANDLE handle) {
    Table& all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.objects.find(numberOf(handle));
    return found != all.objects.end() ? found->second : nullptr;
}

int descriptorOf(HANDLE handle) {
    const std::uintptr_t number = numberOf(handle);
    return number > 0 && number <= INT_MAX ? static_cast<int>(number) : -1;
}

HANDLE handleOf(int descriptor) {
    return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(descriptor));
}

void setLastError(unsigned code) {
    lastErrorCode = code;
}

void setLastErrorFromErrno(int error) {
    for (const ErrnoCode& entry : errnoCodes) {
        if (entry.error == error) {
            setLastError(entry.code);
            return;
        }
    }
    setLastError(errorGenFailure);
}

} // namespace posix

bool closeHandle(HANDLE handle) {
    using namespace posix;
    const int descriptor = descriptorOf(handle);
    if (descriptor >= 0) {
        // A child that another thread is starting has a copy of the descriptor until its program runs, and the copy would
        // hold the lock. If the descriptor is not inheritable, the lock is released here.
        const int flags = fcntl(descriptor, F_GETFD);
        if (flags >= 0 && (flags & FD_CLOEXEC) != 0)
            flock(descriptor, LOCK_UN);
        if (close(descriptor) == 0)
            return true;
        setLastErrorFromErrno(errno);
        return false;
    }
    std::shared_ptr<Object> closed; // destroyed after the mutex is unlocked
    {
        Table& all = table();
        const std::lock_guard<std::mutex> lock(all.mutex);
        const auto found = all.objects.find(numberOf(handle));
        if (found != all.objects.end()) {
            closed = std::move(found->second);
            all.objects.erase(found);
        }
    }
    if (closed != nullptr)
        return true;
    setLastError(errorInvalidHandle);
    return false;
}

bool isHandleOpen(HANDLE handle) {
    const int descriptor = posix::descriptorOf(handle);
    if (descriptor >= 0 ? fcntl(descriptor, F_GETFD) >= 0 : posix::findObject(handle) != nullptr)
        return true;
    posix::setLastError(posix::errorInvalidHandle);
    return false;
}

unsigned lastError() {
    return posix::lastErrorCode;
}

} // namespace Velmor::os
