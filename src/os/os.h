#pragma once

// What the library needs of an operating system, and nothing more: the only door to it. On Windows each function is the
// Win32 call that its comment names; on POSIX it gives the same results, with what logic that takes. The library's own logic
// does not live here.

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

// Paths -------------------------------------------------------------------------------------------------------------------

/// GetFullPathNameW. POSIX: Windows' rules for a path with a drive letter or two backslashes at its head; any other path is
/// the system's.
/// @param[out] filePart receives where the file name begins in the buffer; null if the path names no file.
/// @return the length without the terminator; the capacity that is needed, if the buffer is too small, which is then not
///         touched; 0 on failure.
unsigned getFullPathName(const WideChar* path, unsigned capacity, WideChar* buffer, WideChar** filePart);

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

// What is known about files -----------------------------------------------------------------------------------------------

inline constexpr std::uint32_t invalidFileAttributes = 0xFFFFFFFF; ///< INVALID_FILE_ATTRIBUTES
inline constexpr std::uint32_t directoryAttribute = 0x10;          ///< FILE_ATTRIBUTE_DIRECTORY

/// GetFileAttributesW. POSIX: of what a link leads to; a link that leads nowhere is no file.
std::uint32_t getFileAttributes(const WideChar* path);

/// The part of WIN32_FILE_ATTRIBUTE_DATA that is wanted.
struct FileInformation {
    std::uint32_t sizeHigh;
    std::uint32_t sizeLow;
    std::uint32_t lastWriteTimeHigh;
    std::uint32_t lastWriteTimeLow;
};

/// GetFileAttributesExW, GetFileExInfoStandard. POSIX: as above; the size of a folder is 0.
bool getFileAttributesEx(const WideChar* path, FileInformation* information);

bool createDirectory(const WideChar* path); ///< CreateDirectoryW
bool deleteFile(const WideChar* path);      ///< DeleteFileW
bool removeDirectory(const WideChar* path); ///< RemoveDirectoryW

/// The part of WIN32_FIND_DATAW that is wanted.
struct FoundFile {
    std::uint32_t attributes = 0;
    WideString name;
};

/// FindFirstFileW, for all that a folder holds or for one file or folder.
/// @param pattern the folder, with a separator at its end (the current one, if empty), and an asterisk; or what names the
///                one, without an asterisk as its last part.
/// @return the search; `invalidHandle()` on failure.
HANDLE findFirstFile(const WideChar* pattern, FoundFile& found);

bool findNextFile(HANDLE search, FoundFile& found); ///< FindNextFileW
void findClose(HANDLE search);                      ///< FindClose

/// GetDiskFreeSpaceExW, for a folder: the bytes that are free to the calling user.
bool getDiskFreeSpace(const WideChar* path, std::uint64_t* available);

/// GetFileSecurityW, ImpersonateSelf, OpenThreadToken and AccessCheck: whether the calling thread's user may see the
/// attributes of a file or folder, and whether he may write or append to it. POSIX: the effective user.
/// @param[out] read,write not touched on failure.
void checkFileAccess(const WideChar* path, bool* read, bool* write);

// Versions of programs and libraries --------------------------------------------------------------------------------------

/// GetFileVersionInfoSizeW, for a PE file once it was seen to be sound. POSIX: the size of its version resource.
/// @return 0 on failure, and for a PE file that is damaged or has no version.
std::uint32_t getFileVersionInfoSize(const WideChar* path);

/// GetFileVersionInfoW.
bool getFileVersionInfo(const WideChar* path, std::uint32_t size, void* block);

/// VerQueryValueA for the root: the product version of VS_FIXEDFILEINFO.
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
/// @return false for a time whose highest bit is set.
bool fileTimeToSystemTime(std::uint64_t fileTime, SystemTime* time);

/// GetTimeFormatW with LOCALE_USER_DEFAULT. POSIX: pictures of hours of 24, minutes and seconds, each of two digits, quoted
/// text and letters that stand for themselves.
/// @param force24Hours TIME_FORCE24HOURFORMAT instead of no flag.
/// @return the length with the terminator; 0 on failure, for a time that is none (the date is not looked at).
int getTimeFormat(const SystemTime& time, bool force24Hours, const WideChar* picture, WideChar* buffer, int capacity);

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

/// GetModuleHandleExA from an address, the count of references unchanged. Null stands for the program.
/// @return the module; null if there is none.
void* moduleOfAddress(const void* address);

/// GetModuleFileNameW.
/// @return the length without the terminator; the capacity if the buffer is too small, which then holds what fits,
///         terminated; 0 on failure.
unsigned getModuleFileName(void* module, WideChar* buffer, unsigned capacity);

/// SetErrorMode. POSIX: there are no dialogs; nothing happens.
/// @return the former mode.
unsigned setErrorMode(unsigned mode);

} // namespace Velmor::os
