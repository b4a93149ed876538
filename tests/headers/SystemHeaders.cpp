// The public headers do not conflict with a program. On Windows they work together with <windows.h>, which they do not
// include. On other systems the only name of Win32 that they define is HANDLE; a program may define all other names.

#include <Velmor/Velmor.h>

#include <type_traits>

#if defined(_WIN32)

    #if defined(_WINDOWS_) || defined(_INC_WINDOWS)
        #error "the public headers include <windows.h>"
    #endif
    #include <windows.h>

static_assert(std::is_same_v<HANDLE, void*>);
static_assert(std::is_same_v<Velmor::WideString, std::wstring>);

#else

    #if defined(INVALID_HANDLE_VALUE) || defined(CALLBACK) || defined(WINAPI) || defined(TRUE) || defined(_WIN32)
        #error "the public headers define names of Win32"
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
