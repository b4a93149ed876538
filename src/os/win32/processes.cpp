#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

static_assert(stillActive == STILL_ACTIVE);

HANDLE createProcess(const WideChar* application, WideChar* commandLine, bool inheritHandles) {
    STARTUPINFOW startupInfo = {};
    startupInfo.cb = sizeof startupInfo;
    PROCESS_INFORMATION processInfo = {};
    if (CreateProcessW(application, commandLine, nullptr, nullptr, inheritHandles,
                       DETACHED_PROCESS | BELOW_NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startupInfo,
                       &processInfo) == FALSE)
        return nullptr;
    return processInfo.hProcess; // Frozen: the handle of the primary thread is never closed.
}

bool getExitCodeProcess(HANDLE process, unsigned* exitCode) {
    DWORD code = 0;
    if (GetExitCodeProcess(process, &code) == FALSE)
        return false;
    *exitCode = code;
    return true;
}

bool terminateProcess(HANDLE process, unsigned exitCode) {
    return TerminateProcess(process, exitCode) != FALSE;
}

} // namespace Velmor::os
