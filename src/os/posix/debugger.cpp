#include "os/os.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace Velmor::os {

namespace {

/// The beginning of /proc/self/status, which holds the tracer's line well within its first 4 KiB.
std::size_t readStatus(char* buffer, std::size_t capacity) {
    const int descriptor = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return 0;
    std::size_t length = 0;
    while (length < capacity) {
        const ssize_t count = read(descriptor, buffer + length, capacity - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    close(descriptor);
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
    // A write to no descriptor: the call fails and changes nothing, and a tracer sees its text (strace -e trace=write).
    const int savedError = errno;
    if (write(-1, text, std::strlen(text)) < 0)
        errno = savedError;
}

} // namespace Velmor::os
