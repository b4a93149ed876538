#pragma once

// The operating-system interface of the library. No other folder makes a system call.
//
// Each function has the contract of the Win32 function that its comment names. On Windows (win32/) it is a call of that
// function; on Linux (posix/) it has the same results. The comments give the Win32 names of arguments and results, and
// document where the POSIX implementation or the set of accepted arguments differs. The logic of the exported classes is not
// here.
//
// Lengths and capacities of wide text are in UTF-16 code units. All functions may be called from any thread.

#include <Velmor/Handle.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>

namespace Velmor::os {

// Debugger ----------------------------------------------------------------------------------------------------------------

/// IsDebuggerPresent. POSIX: whether the process is traced (TracerPid in /proc/self/status).
bool isDebuggerPresent();

/// DebugBreak. POSIX: raises SIGTRAP.
void debugBreak();

/// OutputDebugStringA. POSIX: a write to descriptor -1, which fails and is visible to a tracer only.
void outputDebugString(const char* text);

// Locks -------------------------------------------------------------------------------------------------------------------

/// sizeof(CRITICAL_SECTION). The caller allocates the memory of a lock with this size and the alignment of malloc.
std::size_t lockSize();

void initializeLock(void* lock); ///< InitializeCriticalSection
void deleteLock(void* lock);     ///< DeleteCriticalSection
void enterLock(void* lock);      ///< EnterCriticalSection; recursive
void leaveLock(void* lock);      ///< LeaveCriticalSection

// Events ------------------------------------------------------------------------------------------------------------------

HANDLE createEvent();            ///< CreateEventW: manual reset, not signaled, no name. Null on failure
void setEvent(HANDLE event);     ///< SetEvent
void waitForEvent(HANDLE event); ///< WaitForSingleObjectEx: no timeout, not alertable

// Handles -----------------------------------------------------------------------------------------------------------------

/// INVALID_HANDLE_VALUE: all bits set.
inline HANDLE invalidHandle() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}

/// CloseHandle, for handles of files, events, processes and threads. POSIX: closing a handle of an event, process or thread
/// twice fails and has no other effect.
bool closeHandle(HANDLE handle);

/// GetHandleInformation: whether the handle is open in this process.
bool isHandleOpen(HANDLE handle);

/// GetLastError. POSIX: the Win32 error code that corresponds to the failure.
unsigned lastError();

// Code pages --------------------------------------------------------------------------------------------------------------

/// CP_THREAD_ACP: the code page of the calling thread.
inline constexpr unsigned threadCodePage = 3;

/// GetACP. POSIX: the code page of the locale in the environment; UTF-8 for the C and POSIX locales.
unsigned systemCodePage();

/// MultiByteToWideChar with flags 0.
/// @param sourceLength in bytes; -1 for a text that ends with a NUL, which is converted too.
/// @param capacity     of the destination; 0 to compute the length only.
/// @return the number of units written or, for capacity 0, required; 0 on failure.
int multiByteToWide(unsigned codePage, const char* source, int sourceLength, WideChar* destination, int capacity);

/// WideCharToMultiByte with flags 0 and the default character of the system. Lengths as in `multiByteToWide`.
int wideToMultiByte(unsigned codePage, const WideChar* source, int sourceLength, char* destination, int capacity);

// Environment -------------------------------------------------------------------------------------------------------------

/// GetEnvironmentVariableW.
/// @return the length without the terminator; if the buffer is too small, the required capacity; 0 for a missing variable.
unsigned getEnvironmentVariable(const WideChar* name, WideChar* buffer, unsigned capacity);

/// SetEnvironmentVariableW with a value that is not null.
bool setEnvironmentVariable(const WideChar* name, const WideChar* value);

/// ExpandEnvironmentStringsW. POSIX: a buffer that is too small receives the beginning of the text with a terminator.
/// @return the required capacity, including the terminator.
unsigned expandEnvironmentStrings(const WideChar* text, WideChar* buffer, unsigned capacity);

// Paths -------------------------------------------------------------------------------------------------------------------

/// GetFullPathNameW. POSIX: a path that begins with a drive letter or two backslashes is normalized by the rules of Windows;
/// every other path is a path of the system.
/// @param[out] filePart receives the position of the file name in the buffer; null if the path has no file name.
/// @return the length without the terminator; if the buffer is too small, the required capacity (the buffer is not changed);
///         0 on failure.
unsigned getFullPathName(const WideChar* path, unsigned capacity, WideChar* buffer, WideChar** filePart);

// Files -------------------------------------------------------------------------------------------------------------------

/// The arguments of CreateFileW that differ between the callers.
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

/// CreateFileW. POSIX: flock enforces the share mode between the users of this library.
/// @return the handle; `invalidHandle()` on failure.
HANDLE createFile(const WideChar* path, const FileArguments& arguments);

/// ReadFile, synchronous.
/// @param[out] count receives the number of bytes read, also on failure.
bool readFile(HANDLE file, void* buffer, std::uint32_t size, std::uint32_t* count);

/// WriteFile, synchronous.
bool writeFile(HANDLE file, const void* data, std::uint32_t size);

/// SetFilePointer with FILE_BEGIN. A negative distance fails and does not change the position.
bool setFilePointer(HANDLE file, std::int32_t distance);

/// GetTempPathW: the temporary folder of the user, with a separator at its end.
/// @return the length without the terminator; if the buffer is too small, the required capacity.
unsigned getTempPath(unsigned capacity, WideChar* buffer);

/// GetTempFileNameW with unique number 0: creates an empty file.
/// @param[out] name has a capacity of 260 units; not changed on failure.
/// @return the number in the name; 0 on failure.
unsigned getTempFileName(const WideChar* folder, const WideChar* prefix, WideChar* name);

// Information about files -------------------------------------------------------------------------------------------------

inline constexpr std::uint32_t invalidFileAttributes = 0xFFFFFFFF; ///< INVALID_FILE_ATTRIBUTES
inline constexpr std::uint32_t directoryAttribute = 0x10;          ///< FILE_ATTRIBUTE_DIRECTORY

/// GetFileAttributesW. POSIX: follows symbolic links; a broken link is a missing file.
std::uint32_t getFileAttributes(const WideChar* path);

/// The members of WIN32_FILE_ATTRIBUTE_DATA that the library uses.
struct FileInformation {
    std::uint32_t sizeHigh;
    std::uint32_t sizeLow;
    std::uint32_t lastWriteTimeHigh;
    std::uint32_t lastWriteTimeLow;
};

/// GetFileAttributesExW with GetFileExInfoStandard. POSIX: follows symbolic links; the size of a folder is 0.
bool getFileAttributesEx(const WideChar* path, FileInformation* information);

bool createDirectory(const WideChar* path); ///< CreateDirectoryW
bool deleteFile(const WideChar* path);      ///< DeleteFileW
bool removeDirectory(const WideChar* path); ///< RemoveDirectoryW

/// The members of WIN32_FIND_DATAW that the library uses.
struct FoundFile {
    std::uint32_t attributes = 0;
    WideString name;
};

/// FindFirstFileW. POSIX: only these two kinds of patterns are supported.
/// @param pattern either an optional folder with a separator at its end, followed by "*": lists the folder (the current one
///                without a folder); or the path of one file or folder.
/// @return the search handle; `invalidHandle()` on failure.
HANDLE findFirstFile(const WideChar* pattern, FoundFile& found);

bool findNextFile(HANDLE search, FoundFile& found); ///< FindNextFileW
void findClose(HANDLE search);                      ///< FindClose

/// GetDiskFreeSpaceExW for a folder: the number of bytes that are available to the calling user.
bool getDiskFreeSpace(const WideChar* path, std::uint64_t* available);

/// GetFileSecurityW, ImpersonateSelf, OpenThreadToken, RevertToSelf and AccessCheck: whether the user of the calling thread
/// may read the attributes of a file or folder, and whether this user may write or append to it. POSIX: faccessat for the
/// effective user.
/// @param[out] read,write not changed on failure.
void checkFileAccess(const WideChar* path, bool* read, bool* write);

// Version resources -------------------------------------------------------------------------------------------------------

/// GetFileVersionInfoSizeW, called only after the version resource was validated. POSIX: the size of the version resource of
/// a PE file.
/// @return the size in bytes; 0 on failure and for a PE file that is damaged or has no version resource.
std::uint32_t getFileVersionInfoSize(const WideChar* path);

/// GetFileVersionInfoW.
bool getFileVersionInfo(const WideChar* path, std::uint32_t size, void* block);

/// VerQueryValueA with "\\": dwProductVersionMS and dwProductVersionLS of VS_FIXEDFILEINFO.
bool queryProductVersion(const void* block, std::uint32_t size, std::uint32_t* high, std::uint32_t* low);

// Times -------------------------------------------------------------------------------------------------------------------

/// SYSTEMTIME.
struct SystemTime {
    std::uint16_t year;
    std::uint16_t month;
    std::uint16_t dayOfWeek;
    std::uint16_t day;
    std::uint16_t hour;
    std::uint16_t minute;
    std::uint16_t second;
    std::uint16_t milliseconds;
};

/// FileTimeToSystemTime.
/// @return false if the highest bit of the file time is set.
bool fileTimeToSystemTime(std::uint64_t fileTime, SystemTime* time);

/// GetTimeFormatW with LOCALE_USER_DEFAULT. POSIX: the picture may contain HH, mm, ss, quoted text, and other letters, which
/// are copied.
/// @param force24Hours TIME_FORCE24HOURFORMAT instead of no flag.
/// @return the length with the terminator; 0 on failure, for example for an invalid time of day (the date is not checked).
int getTimeFormat(const SystemTime& time, bool force24Hours, const WideChar* picture, WideChar* buffer, int capacity);

// Processes ---------------------------------------------------------------------------------------------------------------

/// CreateProcessW with DETACHED_PROCESS and BELOW_NORMAL_PRIORITY_CLASS, the environment and the current folder of the
/// caller. POSIX: fork and execve.
/// @param commandLine may be modified by the call.
/// @return the process handle; null on failure.
HANDLE createProcess(const WideChar* application, WideChar* commandLine, bool inheritHandles);

/// STILL_ACTIVE: the exit code of a process or thread that has not ended.
inline constexpr unsigned stillActive = 259;

bool getExitCodeProcess(HANDLE process, unsigned* exitCode); ///< GetExitCodeProcess
bool terminateProcess(HANDLE process, unsigned exitCode);    ///< TerminateProcess

// Threads -----------------------------------------------------------------------------------------------------------------

/// _beginthreadex with the default stack size; the thread runs at once.
/// @return the thread handle; null on failure.
HANDLE createThread(unsigned (*start)(void*), void* argument);

bool lowerThreadPriority(HANDLE thread);                   ///< SetThreadPriority with THREAD_PRIORITY_BELOW_NORMAL
bool getExitCodeThread(HANDLE thread, unsigned* exitCode); ///< GetExitCodeThread
void sleep(unsigned milliseconds);                         ///< Sleep

// Modules -----------------------------------------------------------------------------------------------------------------

/// The character that separates the folders in "PATH".
WideChar searchPathSeparator();

/// LoadLibraryExW with LOAD_WITH_ALTERED_SEARCH_PATH. POSIX: dlopen, after the dependencies that are found in "PATH".
/// @return the module; null on failure.
void* loadModule(const WideChar* name);

void* executableModule();                              ///< GetModuleHandleW(null)
void* symbolAddress(void* module, const char* symbol); ///< GetProcAddress
void freeModule(void* module);                         ///< FreeLibrary

/// GetModuleHandleExA with GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS and GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT. Null is
/// an address of the program.
/// @return the module; null if no module contains the address.
void* moduleOfAddress(const void* address);

/// GetModuleFileNameW.
/// @return the length without the terminator; if the buffer is too small, the capacity, and the buffer contains
///         the beginning of the path with a terminator; 0 on failure.
unsigned getModuleFileName(void* module, WideChar* buffer, unsigned capacity);

/// SetErrorMode. POSIX: does nothing and returns 0.
/// @return the previous mode.
unsigned setErrorMode(unsigned mode);

} // namespace Velmor::os
