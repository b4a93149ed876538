// The interface takes nothing from a program: on Windows it stands beside <windows.h>, before and behind it; elsewhere it
// defines HANDLE and nothing else of Win32, so these names are the program's own.

#include <Velmor/Velmor.h>

#include <type_traits>

#if defined(_WIN32)

    #if defined(_WINDOWS_) || defined(_INC_WINDOWS)
        #error "the interface includes <windows.h>"
    #endif
    #include <windows.h>

static_assert(std::is_same_v<HANDLE, void*>);
static_assert(std::is_same_v<Velmor::WideString, std::wstring>);

#else

    #if defined(INVALID_HANDLE_VALUE) || defined(CALLBACK) || defined(WINAPI) || defined(TRUE) || defined(_WIN32)
        #error "the interface defines names of Win32"
    #endif

struct HMODULE {};
struct HINSTANCE {};
struct DWORD {};
struct BOOL {};
struct WCHAR {};
struct LPCWSTR {};
struct CRITICAL_SECTION {};
struct SYSTEMTIME {};
enum { INVALID_HANDLE_VALUE, INFINITE, STILL_ACTIVE, CP_ACP, ERROR_SUCCESS };

static_assert(std::is_same_v<HANDLE, void*>);
static_assert(sizeof(Velmor::WideChar) == 2);

#endif
