// A module for the suite of DynamicLibrary, built in two variants with the same file name. It stores the search path at the
// time of loading.

#include "TestModule.h"

#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
    #include <windows.h>
#endif

namespace {

int calls = 0;

#if defined(_WIN32)

wchar_t pathAtLoad[32768];

#else

struct PathAtLoad {
    char text[65536] = {};

    PathAtLoad() {
        const char* path = std::getenv("PATH");
        if (path != nullptr)
            std::strncpy(text, path, sizeof text - 1);
    }
} pathAtLoad;

#endif

} // namespace

VELMOR_TEST_MODULE int velmorModuleVariant() {
    return VELMOR_MODULE_VARIANT;
}

/// Counts its own calls since the module was loaded.
VELMOR_TEST_MODULE int velmorModuleCalls() {
    return ++calls;
}

VELMOR_TEST_MODULE int velmorModuleData;
int velmorModuleData = 4711;

/// "PATH" at the time of loading: UTF-16 on Windows, UTF-8 on other systems.
VELMOR_TEST_MODULE const void* velmorModulePath() {
#if defined(_WIN32)
    return pathAtLoad;
#else
    return pathAtLoad.text;
#endif
}

#if defined(_WIN32)
/// Fails to load as often as VELMOR_MODULE_REFUSALS specifies, and decrements the variable each time.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        GetEnvironmentVariableW(L"PATH", pathAtLoad, sizeof pathAtLoad / sizeof *pathAtLoad);
        wchar_t refusals[2] = {};
        if (GetEnvironmentVariableW(L"VELMOR_MODULE_REFUSALS", refusals, 2) == 1 && refusals[0] > L'0') {
            --refusals[0];
            SetEnvironmentVariableW(L"VELMOR_MODULE_REFUSALS", refusals);
            return FALSE;
        }
    }
    return TRUE;
}
#endif
