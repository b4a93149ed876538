#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

unsigned getFullPathName(const WideChar* path, unsigned capacity, WideChar* buffer, WideChar** filePart) {
    *filePart = nullptr; // the call does not change it for an empty path
    return GetFullPathNameW(path, capacity, buffer, filePart);
}

} // namespace Velmor::os
