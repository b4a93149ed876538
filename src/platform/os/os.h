#pragma once

// What the library needs of an operating system, and nothing more: the only door to it. On Windows each function is the
// Win32 call that its comment names; on POSIX it gives the same results. Logic does not live here.

#include <Velmor/Platform.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>

namespace Velmor::os {

// Debugger ----------------------------------------------------------------------------------------------------------------

/// IsDebuggerPresent. POSIX: the process is traced.
bool isDebuggerPresent();

/// DebugBreak. POSIX: raises SIGTRAP.
void debugBreak();

/// OutputDebugStringA. POSIX: a write that a tracer sees and nobody else.
void outputDebugString(const char* text);

// Locks: the caller gives the memory --------------------------------------------------------------------------------------

/// Size in bytes of a lock, aligned as malloc aligns. sizeof(CRITICAL_SECTION).
std::size_t lockSize();

void initializeLock(void* lock); ///< InitializeCriticalSection
void deleteLock(void* lock);     ///< DeleteCriticalSection
void enterLock(void* lock);      ///< EnterCriticalSection, recursive for the holding thread
void leaveLock(void* lock);      ///< LeaveCriticalSection

// Events ------------------------------------------------------------------------------------------------------------------

HANDLE createEvent();            ///< CreateEventW, manual reset, not signalled, unnamed; null on failure
void setEvent(HANDLE event);     ///< SetEvent
void waitForEvent(HANDLE event); ///< WaitForSingleObjectEx, infinite, not alertable

// Handles -----------------------------------------------------------------------------------------------------------------

/// INVALID_HANDLE_VALUE: all bits set.
inline HANDLE invalidHandle() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}

/// CloseHandle, for every kind of handle. POSIX: a stale handle of an event, process or thread does no harm.
bool closeHandle(HANDLE handle);

/// GetHandleInformation: whether the handle is open in this process.
bool isHandleOpen(HANDLE handle);

/// GetLastError, of the calling thread's last failed call. POSIX: the Win32 code that fits the failure.
unsigned lastError();

// Code pages --------------------------------------------------------------------------------------------------------------

/// CP_THREAD_ACP: the code page of the calling thread.
inline constexpr unsigned threadCodePage = 3;

/// GetACP. POSIX: the code page of the environment's locale, UTF-8 for C/POSIX.
unsigned systemCodePage();

/// MultiByteToWideChar with flags 0. A source length of -1 reads up to and including the NUL; a capacity of 0 counts.
int multiByteToWide(unsigned codePage, const char* source, int sourceLength, WideChar* destination, int capacity);

/// WideCharToMultiByte with flags 0 and the default character. Lengths as above.
int wideToMultiByte(unsigned codePage, const WideChar* source, int sourceLength, char* destination, int capacity);

// Environment -------------------------------------------------------------------------------------------------------------

/// GetEnvironmentVariableW.
/// @return the length without the terminator; the capacity that is needed, if the buffer is too small; 0 for a missing
///         variable.
unsigned getEnvironmentVariable(const WideChar* name, WideChar* buffer, unsigned capacity);

/// SetEnvironmentVariableW, with a value.
bool setEnvironmentVariable(const WideChar* name, const WideChar* value);

/// ExpandEnvironmentStringsW.
/// @return the capacity that is needed, the terminator included; a buffer that is too small holds what fits, terminated.
unsigned expandEnvironmentStrings(const WideChar* text, WideChar* buffer, unsigned capacity);

// Files -------------------------------------------------------------------------------------------------------------------

/// How CreateFileW opens a file.
struct FileArguments {
    bool read = false;          ///< GENERIC_READ
    bool write = false;         ///< GENERIC_WRITE
    bool shareReading = false;  ///< FILE_SHARE_READ instead of 0
    bool inheritable = false;   ///< bInheritHandle
    bool create = false;        ///< CREATE_ALWAYS instead of OPEN_EXISTING
    bool sequential = false;    ///< FILE_FLAG_SEQUENTIAL_SCAN
    bool temporary = false;     ///< FILE_ATTRIBUTE_TEMPORARY instead of FILE_ATTRIBUTE_NORMAL
    bool deleteOnClose = false; ///< FILE_FLAG_DELETE_ON_CLOSE
};

/// CreateFileW.
/// @return the handle, or `invalidHandle()`.
HANDLE createFile(const WideChar* path, const FileArguments& arguments);

/// ReadFile, not overlapped.
/// @param[out] count receives the number of bytes read, also on failure.
bool readFile(HANDLE file, void* buffer, std::uint32_t size, std::uint32_t* count);

/// WriteFile, not overlapped.
bool writeFile(HANDLE file, const void* data, std::uint32_t size);

/// SetFilePointer from FILE_BEGIN; a negative distance fails and leaves the position.
bool setFilePointer(HANDLE file, std::int32_t distance);

/// GetTempPathW: the user's temporary folder, with the separator at its end.
/// @return the length; the capacity that is needed, if the buffer is too small.
unsigned getTempPath(unsigned capacity, WideChar* buffer);

/// GetTempFileNameW with unique number 0: creates an empty file.
/// @param[out] name has room for 260 units; untouched on failure.
/// @return the number in the name; 0 on failure.
unsigned getTempFileName(const WideChar* folder, const WideChar* prefix, WideChar* name);

// Processes ---------------------------------------------------------------------------------------------------------------

/// CreateProcessW, detached and below normal priority, with the caller's environment and current folder. The primary
/// thread's handle stays open.
/// @param commandLine may be written into.
/// @return the process handle; null on failure.
HANDLE createProcess(const WideChar* application, WideChar* commandLine, bool inheritHandles);

/// The exit code of a process or thread that has not ended.
inline constexpr unsigned stillActive = 259;

bool getExitCodeProcess(HANDLE process, unsigned* exitCode); ///< GetExitCodeProcess
bool terminateProcess(HANDLE process, unsigned exitCode);    ///< TerminateProcess

// Threads -----------------------------------------------------------------------------------------------------------------

/// _beginthreadex: runs at once, default stack.
/// @return the thread handle; null on failure.
HANDLE createThread(unsigned (*start)(void*), void* argument);

bool lowerThreadPriority(HANDLE thread);                   ///< SetThreadPriority, THREAD_PRIORITY_BELOW_NORMAL
bool getExitCodeThread(HANDLE thread, unsigned* exitCode); ///< GetExitCodeThread
void sleep(unsigned milliseconds);                         ///< Sleep

// Modules -----------------------------------------------------------------------------------------------------------------

/// What stands between the folders of "PATH".
WideChar searchPathSeparator();

/// LoadLibraryExW with LOAD_WITH_ALTERED_SEARCH_PATH.
/// @return the module; null on failure.
void* loadModule(const WideChar* name);

void* executableModule();                              ///< GetModuleHandleW(null)
void* symbolAddress(void* module, const char* symbol); ///< GetProcAddress
void freeModule(void* module);                         ///< FreeLibrary

/// SetErrorMode. POSIX: there are no dialogs; nothing happens.
/// @return the former mode.
unsigned setErrorMode(unsigned mode);

} // namespace Velmor::os
