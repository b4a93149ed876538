#include "platform/os/os.h"

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

unsigned setErrorMode(unsigned mode) {
    return SetErrorMode(mode);
}

} // namespace Velmor::os
