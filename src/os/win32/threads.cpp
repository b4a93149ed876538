#include "os/os.h"

#include <process.h>
#include <windows.h>

namespace Velmor::os {

HANDLE createThread(unsigned (*start)(void*), void* argument) {
    unsigned threadId = 0;
    return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, start, argument, 0, &threadId));
}

bool lowerThreadPriority(HANDLE thread) {
    return SetThreadPriority(thread, THREAD_PRIORITY_BELOW_NORMAL) != FALSE;
}

bool getExitCodeThread(HANDLE thread, unsigned* exitCode) {
    DWORD code = 0;
    if (GetExitCodeThread(thread, &code) == FALSE)
        return false;
    *exitCode = code;
    return true;
}

void sleep(unsigned milliseconds) {
    Sleep(milliseconds);
}

} // namespace Velmor::os
