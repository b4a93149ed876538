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

constexpr std::size_t maximumPath = 260; // MAX_PATH, the terminator included

/// A descriptor that is closed unless it is released.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return number_; }

    int release() {
        const int number = number_;
        number_ = -1;
        return number;
    }

    /// Leaves the numbers of the standard streams to those, also in a process that has closed them.
    void moveAboveStandardStreams(bool inheritable) {
        if (number_ < 0 || number_ > STDERR_FILENO)
            return;
        const int moved = fcntl(number_, inheritable ? F_DUPFD : F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(number_);
        number_ = moved;
    }

private:
    int number_;
};

/// Fails with a Win32 code.
HANDLE refuse(unsigned code) {
    posix::setLastError(code);
    return invalidHandle();
}

HANDLE refuseFromErrno() {
    posix::setLastErrorFromErrno(errno);
    return invalidHandle();
}

/// Fails with the code of errno. A descriptor that is open, but not for this, is told from one that is not open.
bool failAccess(int descriptor) {
    const int error = errno;
    if (error == EBADF && fcntl(descriptor, F_GETFD) >= 0)
        posix::setLastError(posix::errorAccessDenied);
    else
        posix::setLastErrorFromErrno(error);
    return false;
}

/// Keeps a write to a pipe that nobody reads, or beyond the file-size limit, from ending the process: it fails instead, as
/// any other write.
class WriteSignalsHeld {
public:
    WriteSignalsHeld() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGPIPE);
        sigaddset(&signals_, SIGXFSZ);
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        for (const int signal : {SIGPIPE, SIGXFSZ})
            if (sigismember(&pending, signal) == 1)
                sigdelset(&signals_, signal); // was there before and is not ours to take
        pthread_sigmask(SIG_BLOCK, &signals_, &former_);
    }

    ~WriteSignalsHeld() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

    /// Takes the signal that came with a failed write. Keeps errno.
    void discard() const {
        const int savedError = errno;
        const timespec noWait = {};
        while (sigtimedwait(&signals_, nullptr, &noWait) > 0) {
        }
        errno = savedError;
    }

    WriteSignalsHeld(const WriteSignalsHeld&) = delete;
    WriteSignalsHeld& operator=(const WriteSignalsHeld&) = delete;

private:
    sigset_t signals_;
    sigset_t former_;
};

/// A number to begin the search for a free name with; it differs from process to process and from call to call.
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
    Descriptor file(open(name->c_str(), flags, 0666));
    file.moveAboveStandardStreams(arguments.inheritable);
    if (file.number() < 0)
        return refuseFromErrno();

    struct stat status = {};
    if (fstat(file.number(), &status) != 0)
        return refuseFromErrno();
    if (S_ISDIR(status.st_mode))
        return refuse(posix::errorAccessDenied);

    if (S_ISREG(status.st_mode)) {
        // The sharing rules hold between those who ask for the lock: the users of this library. It belongs to the open file,
        // so that a child that inherits the handle holds it too. A file system without locks has no rules.
        if (flock(file.number(), (arguments.shareReading ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 && errno == EWOULDBLOCK)
            return refuse(posix::errorSharingViolation);
        // Only now: a file that somebody else holds is not to be emptied.
        if (arguments.create && ftruncate(file.number(), 0) != 0)
            return refuseFromErrno();
    }
    // At once instead of at the last close, so that the file vanishes however its processes end.
    if (arguments.deleteOnClose && unlink(name->c_str()) != 0)
        return refuseFromErrno();
    if (arguments.sequential)
        posix_fadvise(file.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    return posix::handleOf(file.release());
}

bool readFile(HANDLE file, void* buffer, std::uint32_t size, std::uint32_t* count) {
    *count = 0;
    const int descriptor = posix::descriptorOf(file);
    for (;;) {
        const ssize_t result = read(descriptor, static_cast<char*>(buffer) + *count, size - *count);
        if (result < 0 && errno == EINTR)
            continue;
        if (result < 0) // behind a part that was read, the next call meets the failure
            return *count != 0 || failAccess(descriptor);
        *count += static_cast<std::uint32_t>(result);
        if (result == 0 || *count == size)
            return true;
        // One call may yield less than is there, but only of a file more can be asked without waiting for it.
        struct stat status = {};
        if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
            return true;
    }
}

bool writeFile(HANDLE file, const void* data, std::uint32_t size) {
    const int descriptor = posix::descriptorOf(file);
    if (descriptor < 0) { // not even tried: a tracer would take it for a message on the debugger channel
        posix::setLastError(posix::errorInvalidHandle);
        return false;
    }
    const WriteSignalsHeld held;
    std::uint32_t written = 0;
    for (;;) {
        const ssize_t result = write(descriptor, static_cast<const char*>(data) + written, size - written);
        if (result < 0 && errno == EINTR)
            continue;
        if (result < 0) {
            if (errno == EPIPE || errno == EFBIG)
                held.discard();
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
    if (*folder == 0) { // there was no folder to be had; the current one is no place for temporary files
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
            continue; // stands for failure
        char ending[endingLength + 1];
        std::snprintf(ending, sizeof ending, "%04x.tmp", number);
        const WideString candidate = path + posix::wideName(ending);
        const Descriptor created(
            open(posix::narrowName(candidate.c_str()).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (created.number() >= 0) {
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
