#include "platform/os/os.h"

#include <windows.h>

namespace Velmor::os {

bool closeHandle(HANDLE handle) {
    return CloseHandle(handle) != FALSE;
}

unsigned lastError() {
    return GetLastError();
}

} // namespace Velmor::os
