#include "os/posix/environment.h"

#include "os/posix/handles.h"
#include "os/posix/names.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Velmor::os {

namespace {

/// Makes each access to the environment through this library atomic, as in Win32. It does not protect against setenv calls
/// of the program itself.
std::mutex& environmentMutex() {
    static std::mutex* const instance = new std::mutex; // never destroyed: threads may run after main
    return *instance;
}

/// Returns the value of a variable; nothing if it is missing.
std::optional<WideString> wideValue(const WideString& name) {
    const auto value = posix::environmentValue(posix::narrowName(name.c_str()).c_str());
    if (!value)
        return std::nullopt;
    return posix::wideName(*value);
}

} // namespace

namespace posix {

std::optional<std::string> environmentValue(const char* name) {
    if (*name == '\0' || std::strchr(name, '=') != nullptr)
        return std::nullopt; // not a valid name, but getenv("A=B") would find "A=B=value"
    const std::lock_guard<std::mutex> lock(environmentMutex());
    const char* const value = std::getenv(name);
    if (value == nullptr)
        return std::nullopt;
    return value;
}

std::vector<std::string> environmentEntries() {
    const std::lock_guard<std::mutex> lock(environmentMutex());
    std::vector<std::string> entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
        entries.emplace_back(*entry);
    return entries;
}

} // namespace posix

unsigned getEnvironmentVariable(const WideChar* name, WideChar* buffer, unsigned capacity) {
    const auto value = wideValue(name);
    if (!value) {
        posix::setLastError(posix::errorEnvvarNotFound);
        return 0;
    }
    const unsigned length = static_cast<unsigned>(value->size());
    if (length >= capacity)
        return length + 1;
    std::copy_n(value->c_str(), length + 1, buffer);
    return length;
}

bool setEnvironmentVariable(const WideChar* name, const WideChar* value) {
    const std::string narrowName = posix::narrowName(name);
    const std::string narrowValue = posix::narrowName(value);
    const std::lock_guard<std::mutex> lock(environmentMutex());
    if (setenv(narrowName.c_str(), narrowValue.c_str(), 1) == 0)
        return true;
    posix::setLastErrorFromErrno(errno);
    return false;
}

unsigned expandEnvironmentStrings(const WideChar* text, WideChar* buffer, unsigned capacity) {
    const WideString source = text;
    WideString expanded;
    std::size_t position = 0;
    while (position < source.size()) {
        const std::size_t opening = std::min(source.find(VELMOR_WIDE('%'), position), source.size());
        expanded.append(source, position, opening - position);
        const std::size_t closing = source.find(VELMOR_WIDE('%'), opening + 1);
        if (closing == WideString::npos) {
            expanded.append(source, opening); // a percent sign without a second one is copied
            break;
        }
        if (const auto value = wideValue(source.substr(opening + 1, closing - opening - 1)))
            expanded += *value;
        else
            expanded.append(source, opening, closing + 1 - opening); // a missing variable is copied with its percent signs
        position = closing + 1;
    }

    if (capacity != 0) {
        const std::size_t fits = std::min<std::size_t>(expanded.size(), capacity - 1);
        std::copy_n(expanded.c_str(), fits, buffer);
        buffer[fits] = 0;
    }
    if (expanded.size() >= capacity)
        posix::setLastError(posix::errorInsufficientBuffer);
    return static_cast<unsigned>(expanded.size() + 1);
}

} // namespace Velmor::os
