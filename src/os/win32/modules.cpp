#include "os/os.h"

#include <windows.h>

namespace Velmor::os {

WideChar searchPathSeparator() {
    return L';';
}

void* loadModule(const WideChar* name) {
    return LoadLibraryExW(name, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

void* executableModule() {
    return GetModuleHandleW(nullptr);
}

void* symbolAddress(void* module, const char* symbol) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), symbol));
}

void freeModule(void* module) {
    FreeLibrary(static_cast<HMODULE>(module));
}

void* moduleOfAddress(const void* address) {
    HMODULE module = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExA(flags, static_cast<const char*>(address), &module) != FALSE ? module : nullptr;
}

unsigned getModuleFileName(void* module, WideChar* buffer, unsigned capacity) {
    const DWORD length = GetModuleFileNameW(static_cast<HMODULE>(module), buffer, capacity);
    if (length == capacity && capacity != 0)
        buffer[capacity - 1] = 0; // older systems do not terminate a truncated path
    return length;
}

unsigned setErrorMode(unsigned mode) {
    return SetErrorMode(mode);
}

} // namespace Velmor::os
