#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

static_assert(threadCodePage == CP_THREAD_ACP);

unsigned systemCodePage() {
    return GetACP();
}

int multiByteToWide(unsigned codePage, const char* source, int sourceLength, WideChar* destination, int capacity) {
    return MultiByteToWideChar(codePage, 0, source, sourceLength, destination, capacity);
}

int wideToMultiByte(unsigned codePage, const WideChar* source, int sourceLength, char* destination, int capacity) {
    return WideCharToMultiByte(codePage, 0, source, sourceLength, destination, capacity, nullptr, nullptr);
}

} // namespace Velmor::os
