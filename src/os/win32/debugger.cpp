#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

bool isDebuggerPresent() {
    return IsDebuggerPresent() != FALSE;
}

void debugBreak() {
    DebugBreak();
}

void outputDebugString(const char* text) {
    OutputDebugStringA(text);
}

} // namespace Velmor::os
