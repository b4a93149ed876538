#pragma once

// File descriptors: the class that owns one, and the repetition of system calls that a signal has interrupted.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Velmor::os::posix {

/// Repeats a system call until a signal no longer interrupts it (EINTR). Safe in a child after fork.
/// @return the result of the last call, with its errno.
template <class Call>
auto retryInterrupted(const Call& call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Owns a file descriptor and closes it. Closing preserves errno, so that a function can return the errno of its failure.
class Descriptor {
public:
    /// Takes ownership of a descriptor; a negative number means that there is none.
    explicit Descriptor(int number) : number_(number) {}

    ~Descriptor() { close(); }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

    /// Gives up the ownership.
    int release() { return std::exchange(number_, -1); }

    void close() {
        if (!isOpen())
            return;
        const int savedError = errno;
        ::close(release());
        errno = savedError;
    }

    /// Replaces a descriptor of 0 to 2 by one above them: these numbers belong to the standard streams, even in a process
    /// that has closed them. On failure there is no descriptor, and errno is set.
    void moveAboveStandardStreams(bool inheritable) {
        if (!isOpen() || number_ > STDERR_FILENO)
            return;
        const int moved = fcntl(number_, inheritable ? F_DUPFD : F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close();
        number_ = moved;
    }

private:
    int number_;
};

} // namespace Velmor::os::posix
