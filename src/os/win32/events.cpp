#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

HANDLE createEvent() {
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

void setEvent(HANDLE event) {
    SetEvent(event);
}

void waitForEvent(HANDLE event) {
    WaitForSingleObjectEx(event, INFINITE, FALSE);
}

} // namespace Velmor::os
