#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

unsigned getFullPathName(const WideChar* path, unsigned capacity, WideChar* buffer, WideChar** filePart) {
    *filePart = nullptr; // an empty path leaves it alone
    return GetFullPathNameW(path, capacity, buffer, filePart);
}

} // namespace Velmor::os
