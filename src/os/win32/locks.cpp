#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

std::size_t lockSize() {
    return sizeof(CRITICAL_SECTION);
}

void initializeLock(void* lock) {
    InitializeCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
}

void deleteLock(void* lock) {
    DeleteCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
}

void enterLock(void* lock) {
    EnterCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
}

void leaveLock(void* lock) {
    LeaveCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
}

} // namespace Velmor::os
