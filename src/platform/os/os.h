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

} // namespace Velmor::os
