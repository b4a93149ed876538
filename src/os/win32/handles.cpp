#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

bool closeHandle(HANDLE handle) {
    return CloseHandle(handle) != FALSE;
}

bool isHandleOpen(HANDLE handle) {
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) != FALSE;
}

unsigned lastError() {
    return GetLastError();
}

} // namespace Velmor::os
