#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

unsigned getEnvironmentVariable(const WideChar* name, WideChar* buffer, unsigned capacity) {
    return GetEnvironmentVariableW(name, buffer, capacity);
}

bool setEnvironmentVariable(const WideChar* name, const WideChar* value) {
    return SetEnvironmentVariableW(name, value) != FALSE;
}

unsigned expandEnvironmentStrings(const WideChar* text, WideChar* buffer, unsigned capacity) {
    return ExpandEnvironmentStringsW(text, buffer, capacity);
}

} // namespace Velmor::os
