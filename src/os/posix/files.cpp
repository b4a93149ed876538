#include "os/posix/descriptors.h"
#include "os/posix/environment.h"
#include "os/posix/handles.h"
#include "os/posix/names.h"
#include "os/posix/paths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>

namespace Velmor::os {

namespace {

constexpr std::size_t maximumPath = 260; // MAX_PATH, including the terminator

HANDLE failWith(unsigned code) {
    posix::setLastError(code);
    return invalidHandle();
}

HANDLE failWithErrno() {
    posix::setLastErrorFromErrno(errno);
    return invalidHandle();
}

/// Sets the last error from errno after a failed read, write or seek. EBADF also means that an open descriptor does not
/// allow the access; this is a different error in Win32.
/// @return false.
bool failAccess(int descriptor) {
    const int error = errno;
    if (error == EBADF && fcntl(descriptor, F_GETFD) >= 0)
        posix::setLastError(posix::errorAccessDenied);
    else
        posix::setLastErrorFromErrno(error);
    return false;
}

/// Blocks the signals that would end the process during a write to a pipe without readers (SIGPIPE) or beyond the file-size
/// limit (SIGXFSZ), so that the write fails as any other. Signals of this kind that were pending before are not affected.
class WriteSignalBlocker {
public:
    WriteSignalBlocker() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGPIPE);
        sigaddset(&signals_, SIGXFSZ);
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        for (const int signal : {SIGPIPE, SIGXFSZ})
            if (sigismember(&pending, signal) == 1)
                sigdelset(&signals_, signal);
        pthread_sigmask(SIG_BLOCK, &signals_, &previous_);
    }

    ~WriteSignalBlocker() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

    /// Removes the pending signal of a failed write. Preserves errno.
    void discardPending() const {
        const int savedError = errno;
        const timespec noWait = {};
        while (sigtimedwait(&signals_, nullptr, &noWait) > 0) {
        }
        errno = savedError;
    }

    WriteSignalBlocker(const WriteSignalBlocker&) = delete;
    WriteSignalBlocker& operator=(const WriteSignalBlocker&) = delete;

private:
    sigset_t signals_;
    sigset_t previous_;
};

/// Returns the number with which the search for an unused temporary name starts. It differs between processes and calls.
unsigned nextNameNumber() {
    static std::atomic<unsigned> next = [] {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<unsigned>(now.tv_nsec) / 64 + static_cast<unsigned>(getpid()) * 251;
    }();
    return next.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

HANDLE createFile(const WideChar* path, const FileArguments& arguments) {
    const auto name = posix::systemPath(path);
    if (!name)
        return invalidHandle();
    const int access = arguments.read && arguments.write ? O_RDWR : arguments.write ? O_WRONLY : O_RDONLY;
    const int flags = access | O_NOCTTY | (arguments.create ? O_CREAT : 0) | (arguments.inheritable ? 0 : O_CLOEXEC);
    posix::Descriptor file(open(name->c_str(), flags, 0666));
    file.moveAboveStandardStreams(arguments.inheritable);
    if (!file.isOpen())
        return failWithErrno();

    struct stat status = {};
    if (fstat(file.number(), &status) != 0)
        return failWithErrno();
    if (S_ISDIR(status.st_mode))
        return failWith(posix::errorAccessDenied);

    if (S_ISREG(status.st_mode)) {
        // The lock implements the share mode between the programs that ask for it: the users of this library. It belongs to
        // the open file, so a child that inherits the handle also holds it. Without support of the file system there is no
        // share mode.
        if (flock(file.number(), (arguments.shareReading ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 && errno == EWOULDBLOCK)
            return failWith(posix::errorSharingViolation);
        // Only after the lock was acquired: a file that another handle has locked must not be truncated.
        if (arguments.create && ftruncate(file.number(), 0) != 0)
            return failWithErrno();
    }
    // The name is removed now, not at the last close, so that the file is deleted even if its processes are killed.
    if (arguments.deleteOnClose && unlink(name->c_str()) != 0)
        return failWithErrno();
    if (arguments.sequential)
        posix_fadvise(file.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    return posix::handleOf(file.release());
}

bool readFile(HANDLE file, void* buffer, std::uint32_t size, std::uint32_t* count) {
    *count = 0;
    const int descriptor = posix::descriptorOf(file);
    for (;;) {
        const ssize_t result =
            posix::retryInterrupted([&] { return read(descriptor, static_cast<char*>(buffer) + *count, size - *count); });
        if (result < 0) // after a partial success, the next call reports the failure
            return *count != 0 || failAccess(descriptor);
        *count += static_cast<std::uint32_t>(result);
        if (result == 0 || *count == size)
            return true;
        // A short read of a regular file is continued. On a pipe or terminal the next read could wait for data.
        struct stat status = {};
        if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
            return true;
    }
}

bool writeFile(HANDLE file, const void* data, std::uint32_t size) {
    const int descriptor = posix::descriptorOf(file);
    if (descriptor < 0) { // not passed to write: a tracer would see a message on the debugger channel
        posix::setLastError(posix::errorInvalidHandle);
        return false;
    }
    const WriteSignalBlocker blocker;
    std::uint32_t written = 0;
    for (;;) {
        const ssize_t result = posix::retryInterrupted(
            [&] { return write(descriptor, static_cast<const char*>(data) + written, size - written); });
        if (result < 0) {
            if (errno == EPIPE || errno == EFBIG)
                blocker.discardPending();
            return failAccess(descriptor);
        }
        written += static_cast<std::uint32_t>(result);
        if (written >= size)
            return true;
    }
}

bool setFilePointer(HANDLE file, std::int32_t distance) {
    if (distance < 0) {
        posix::setLastError(posix::errorNegativeSeek);
        return false;
    }
    const int descriptor = posix::descriptorOf(file);
    return lseek(descriptor, distance, SEEK_SET) >= 0 || failAccess(descriptor);
}

unsigned getTempPath(unsigned capacity, WideChar* buffer) {
    const auto variable = posix::environmentValue("TMPDIR");
    std::string folder = variable && !variable->empty() ? *variable : "/tmp";
    if (folder.back() != '/')
        folder += '/';
    const WideString path = posix::wideName(folder);
    const unsigned length = static_cast<unsigned>(path.size());
    if (length >= capacity)
        return length + 1;
    std::copy_n(path.c_str(), length + 1, buffer);
    return length;
}

unsigned getTempFileName(const WideChar* folder, const WideChar* prefix, WideChar* name) {
    if (*folder == 0) { // getTempPath has failed; the current folder must not be used instead
        posix::setLastError(posix::errorPathNotFound);
        return 0;
    }
    WideString path = folder;
    if (path.back() != VELMOR_WIDE('/'))
        path += VELMOR_WIDE('/');
    path.append(WideString(prefix), 0, 3);
    constexpr std::size_t endingLength = 8; // "xxxx.tmp"
    if (path.size() + endingLength >= maximumPath) {
        posix::setLastError(posix::errorDirectory);
        return 0;
    }

    constexpr unsigned numbers = 0x10000;
    for (unsigned attempt = 0; attempt < numbers; ++attempt) {
        const unsigned number = nextNameNumber() % numbers;
        if (number == 0)
            continue; // 0 is the result of a failure
        char ending[endingLength + 1];
        std::snprintf(ending, sizeof ending, "%04x.tmp", number);
        const WideString candidate = path + posix::wideName(ending);
        const posix::Descriptor created(
            open(posix::narrowName(candidate.c_str()).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (created.isOpen()) {
            std::copy_n(candidate.c_str(), candidate.size() + 1, name);
            return number;
        }
        if (errno != EEXIST) {
            posix::setLastErrorFromErrno(errno);
            return 0;
        }
    }
    posix::setLastError(posix::errorFileExists);
    return 0;
}

} // namespace Velmor::os
