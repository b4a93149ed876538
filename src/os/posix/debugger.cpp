#include "os/os.h"
#include "os/posix/descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace Velmor::os {

namespace {

/// Reads the beginning of /proc/self/status, which contains the line of the tracer within its first 4 KiB.
std::size_t readStatus(char* buffer, std::size_t capacity) {
    const posix::Descriptor file(open("/proc/self/status", O_RDONLY | O_CLOEXEC));
    std::size_t length = 0;
    while (file.isOpen() && length < capacity) {
        const ssize_t count =
            posix::retryInterrupted([&] { return read(file.number(), buffer + length, capacity - length); });
        if (count <= 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    return length;
}

} // namespace

bool isDebuggerPresent() {
    constexpr char key[] = "\nTracerPid:";
    const int savedError = errno;
    char status[4096];
    status[readStatus(status, sizeof status - 1)] = '\0';
    errno = savedError;
    const char* line = std::strstr(status, key);
    return line != nullptr && std::strtol(line + sizeof key - 1, nullptr, 10) != 0;
}

void debugBreak() {
    std::raise(SIGTRAP);
}

void outputDebugString(const char* text) {
    // The call fails because there is no such descriptor, but a tracer sees its text (strace -e trace=write).
    const int savedError = errno;
    if (write(-1, text, std::strlen(text)) < 0)
        errno = savedError;
}

} // namespace Velmor::os
