#pragma once

/// @file
/// Locks and events, files, file streams, environment variables, processes, threads and modules.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

/// A raw handle, as it crosses the interface. On Windows the same type as in <windows.h>; elsewhere a file handle is the
/// number of its descriptor, and docs/portability.md says what the others are.
typedef void* HANDLE;

namespace Velmor {

/// A recursive mutual-exclusion lock, entered and left through `Lock` objects.
///
/// Failure: when the constructor's allocation fails, nothing is reported; destroying such a section is safe, locking it is
/// undefined.
///
/// Threads: that is what it is for. A thread that holds the section may lock it again; each `Lock` leaves once.
class VELMOR_API CriticalSection {
public:
    /// Guard: holds a section from its construction to the end of its scope.
    class VELMOR_API Lock {
    public:
        /// Enters a section, waiting until it is free.
        /// @param section not owned, and outlives the guard; with null the guard does nothing.
        explicit Lock(CriticalSection* section);

        /// Leaves the section.
        ~Lock();

        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        CriticalSection* section_;
    };

    /// A section that nobody holds.
    CriticalSection();

    /// Frees the section, which nobody may hold.
    ~CriticalSection();

    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

protected:
    /// Stores the guard as the current one, then waits for the section.
    void Enter(Lock* lock);

    /// Leaves the section, then forgets the current guard, whichever guard is given.
    void Leave(Lock* lock);

private:
    void* section_; // the operating system's lock, from malloc; null if there was no memory
    std::atomic<Lock*>
        currentLock_; // bookkeeping for whoever looks at it in a debugger; not protected by the lock, never read
};

static_assert(sizeof(CriticalSection) == 2 * sizeof(void*), "the layout of a section is fixed");
static_assert(sizeof(CriticalSection::Lock) == sizeof(void*), "the layout of a guard is fixed");

/// Announces one event, once: a signal that was raised stays raised.
///
/// Failure: an event that could not be made is not detected; raising it and waiting for it then do nothing.
///
/// Ownership: the object owns the event's handle. Assignment shares the event: both objects then refer to it and both close
/// it; the handle that the target held before is not closed.
///
/// Threads: any thread may raise it, any number of threads may wait for it.
class VELMOR_API Signal {
public:
    /// A signal that is not raised.
    Signal();

    /// Closes the event.
    ~Signal();

    Signal(const Signal&) = delete;

    /// Shares the other's event; see the class.
    Signal& operator=(const Signal& other);

    /// Raises the signal for good.
    void raise();

    /// Returns when the signal is raised, at once if it already is.
    void wait();

private:
    HANDLE event_;
};

static_assert(sizeof(Signal) == sizeof(void*), "a signal is one handle");

/// A point in time by its parts.
struct SystemTime_s {
    std::uint16_t year;   ///< The full year, 2020 for instance.
    std::uint16_t month;  ///< 1 to 12.
    std::uint16_t day;    ///< 1 to 31.
    std::uint16_t hour;   ///< 0 to 23.
    std::uint16_t minute; ///< 0 to 59.
    std::uint16_t second; ///< 0 to 59.
};

static_assert(sizeof(SystemTime_s) == 12, "the layout of a system time is fixed");

/// Paths, folders, and what is known about files.
///
/// Paths are Windows paths; off Windows, one with a drive letter or two backslashes at its head is normalised as Windows
/// does it, and any other is a path of the system, with both separators (docs/portability.md).
///
/// Failure: nothing throws but a failed allocation. What cannot be had is empty, false or 0; where it says so, the first
/// time in the process is reported to an attached debugger.
///
/// Threads: all operations may run concurrently.
class VELMOR_API FileOperations {
public:
    /// The path made absolute and normalised.
    /// @return empty, reported, for a path that cannot be normalised and for one of 520 units or more; empty, not reported,
    ///         for one of 260 to 519 units.
    static WideString GetFullPath(const WideString& path);

    /// The folder of the normalised path, with its backslash.
    /// @return empty, reported, for a path without a file name and for one of 260 units or more.
    static WideString GetFullFolder(const WideString& path);

    /// The file name of the path, with its extension.
    /// @return empty, reported, for a path without a file name and for one of 258 units or more.
    static WideString GetFileWithoutPath(const WideString& path);

    /// The file name of the path up to its first dot. (The name is spelt so on purpose.)
    /// @param path must name a file, in less than 260 units. For any other the result is not defined; what cannot be
    ///             normalised is reported.
    static WideString GetFileWithoutExtenstion(const WideString& path);

    /// The path, with a backslash appended unless it is empty or ends in a separator.
    static WideString InsertEndingDirectorySlash(const WideString& path);

    /// Whether a file name matches one of the tokens of a list such as "*.ifc|*.ifczip". The comparison runs from the end,
    /// without regard to the case of ASCII letters, and never looks at the first character of token or name. An empty token
    /// ends the list.
    /// @return true for an empty list; otherwise false for an empty name.
    static bool MatchExtension(const WideString& fileName, const WideString& extensions);

    /// The bare names of the files of one folder, in the order in which the system tells them; no folders.
    /// @return empty when the folder cannot be read.
    static std::vector<WideString> ScanFilesInDirectory(const WideString& directory);

    /// Whether there is such a file or folder.
    static bool Exists(const WideString& path);

    /// Whether there is such a folder.
    static bool IsDirectory(const WideString& path);

    /// Creates a folder, its last level only.
    /// @return false also when it exists already.
    static bool MakeDirectory(const WideString& path);

    /// Deletes a file. The first failure in the process is reported.
    static bool Delete(const WideString& path);

    /// Deletes an empty folder.
    static bool DeleteDirectory(WideString path);

    /// The size of a file in bytes; 0 for a folder, and when there is no such file.
    static std::int64_t GetFileSize(const WideString& path);

    /// When a file was last written: 100-nanosecond intervals since 1601-01-01 UTC; 0 when there is no such file.
    static std::uint64_t GetFileLastWriteTime(const WideString& path);

    /// Free bytes on the disk of a folder, for the calling user; 0 when they cannot be had, as for a file.
    static std::int64_t GetFreeBytesAvailable(const WideString& path);

    /// The file name of the module (program or library) that contains an address; of the program for null.
    /// @return at most the first 259 units of the name; empty when no module contains the address.
    static WideString GetModuleByAddress(const void* address);

    /// The product version of a program or library, from its version resource.
    /// @param[out] major,minor,build,revision its four numbers; 0 when they cannot be had.
    /// @return false for a file without a version, and for a damaged one.
    static bool GetProductVersion(const WideString& path, unsigned* major, unsigned* minor, unsigned* build,
                                  unsigned* revision);

    /// Whether the user may see the attributes of a file or folder, and on Windows who may do what to it; not whether its
    /// content can be read.
    static bool HasReadAccess(const WideString& path);

    /// Whether the user may write or append to a file, or add to a folder.
    static bool HasWriteAccess(const WideString& path);

    /// The parts of a file time (100-nanosecond intervals since 1601-01-01), in UTC.
    /// @return all zero for a time beyond what the system takes.
    static SystemTime_s ConvertToSystemTime(std::uint64_t fileTime);

    /// Text in the picture "ddd',' MMM dd yy" of a time format, filled with the shifted parts on purpose: day as the day of
    /// the week, hour as the day, minute as the hour, second as the minute.
    /// @return empty when the system refuses the parts.
    static WideString ConvertSystemTimeToDateString(const SystemTime_s& time);

    /// Text in the picture "HH':'mm':'ss", of the same shifted parts.
    /// @return empty when the system refuses the parts.
    static WideString ConvertSystemTimeToTimeString(const SystemTime_s& time);

private:
    /// @param length of the token, at least 1.
    static bool MatchExtension(const WideString& fileName, const WideChar* token, unsigned length);
    static unsigned ParseExtension(const WideChar* text);
    static int MyToUpper(int c);
    static void oe_file_access_core(const WideString& path, bool* read, bool* write);
};

/// A file handle with the few operations that the exchange of data between processes needs.
///
/// Failure: the factories always return a stream; when a file could not be opened its handle is `INVALID_HANDLE_VALUE` (all
/// bits set; off Windows, where there is no such macro, `ProcessOperations::InvalidHandle()`), which `getHandle` shows. The
/// first failure in the process, per factory and for writing, is reported to an attached debugger.
///
/// Ownership: the caller deletes the streams that the factories return; deleting closes the handle, unless the stream came
/// from `createFromHandle`.
///
/// Threads: one stream must not be used by two threads at once. A handle inherited by a child shares its file position with
/// the parent's.
class VELMOR_API FileStream {
public:
    /// A stream on no handle.
    FileStream();

    /// Closes the handle if the stream owns one.
    ~FileStream();

    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    /// Opens an existing file for reading. Others may read it too, but not write it while it is open. Children do not
    /// inherit the handle.
    static FileStream* openFileForReading(const WideString& path);

    /// Creates a file for writing, or empties it. Nobody else may open it while it is open. Children do not inherit the
    /// handle.
    static FileStream* createFileForWriting(const WideString& path);

    /// Creates an empty file "KXFxxxx.tmp" in the user's temporary folder for reading and writing. Children may inherit the
    /// handle; the file is reached through it only, and vanishes when its last handle in any process closes.
    static FileStream* createTemporaryFile();

    /// A stream on a handle that somebody else owns and closes.
    static FileStream* createFromHandle(HANDLE handle);

    /// Reads a block at the file position.
    /// @param size     number of bytes wanted; only its low 32 bits count for the request.
    /// @param[out] out receives what was read: fewer bytes at the end of the file, none behind it or on failure.
    /// @return false when the system refused to read; a short block is a success.
    bool read(std::uint64_t size, std::vector<char>& out);

    /// Writes a block at the file position.
    /// @param size number of bytes; only its low 32 bits count.
    /// @param data the bytes.
    /// @return false when the system refused to write. The number of bytes written is not compared with `size`.
    bool write(std::uint64_t size, const char* data);

    /// Moves the file position to the beginning.
    void seekToBegin();

    /// Moves the file position. Only offsets below 2 GiB reach their place: the low 32 bits are taken as a signed distance.
    /// @param offset in bytes from the beginning.
    void seekToOffset(std::uint64_t offset);

    /// The handle, or `INVALID_HANDLE_VALUE`.
    HANDLE getHandle() const;

    /// True exactly when the handle is **not** usable. The sense is inverted and stays so; compare `getHandle()` with
    /// `INVALID_HANDLE_VALUE` to see whether a file was opened.
    bool isValid() const;

protected:
    /// A stream on a handle.
    /// @param handle the handle, or `INVALID_HANDLE_VALUE`.
    /// @param owns   whether the stream closes it.
    FileStream(HANDLE handle, bool owns);

private:
    HANDLE handle_;
    bool owns_;
};

static_assert(sizeof(FileStream) == 2 * sizeof(void*), "the layout of a stream is fixed");

/// Variables of the process environment: text, numbers, and handles for child processes.
///
/// Failure: nothing throws but a failed allocation of a result; a missing variable gives the neutral value told below.
///
/// Threads: the environment belongs to the process and nothing is locked; concurrent writers race.
class VELMOR_API EnvironmentVariables {
public:
    EnvironmentVariables& operator=(const EnvironmentVariables&) = default;
    EnvironmentVariables& operator=(EnvironmentVariables&&) = default;

    /// Replaces every `%NAME%` of a text by that variable's value; names without a variable stay as they are.
    /// @return the text; empty without memory. What comes back for an expansion of more than 32,766 units is not defined.
    static WideString ExpandVariables(const WideString& text);

    /// The value of a variable, of up to 32,766 units.
    /// @return the value; empty when the variable is missing, without memory, and on Linux for a longer value.
    static WideString GetString(const WideString& name);

    /// Sets a variable. An empty value sets it to the empty text and does not remove it.
    static void SetString(const WideString& name, const WideString& value);

    /// The number that a variable's text begins with.
    /// @return the number; 0 for a missing variable, a text of 20 units or more, and a text that is no number.
    static int GetInt(const WideString& name);

    /// Sets a variable to a number in decimal.
    static void SetInt(const WideString& name, int value);

    /// The handle that a variable publishes, as the signed decimal number of its value. It is not validated.
    /// @return the handle; `INVALID_HANDLE_VALUE` for a missing or empty variable and for a text of 2,047 units or more (the
    ///         first time reported to an attached debugger); null for a text that is no number or has 1,024 to 2,046 units.
    static HANDLE GetFileStreamHandle(const WideString& name);

    /// Publishes a handle for child processes, as the signed decimal number of its value.
    static void SetFileStreamHandle(const WideString& name, HANDLE handle);
};

/// Child processes.
///
/// Failure: stated per operation; nothing throws, nothing is reported.
///
/// Ownership: a process handle is the caller's, who closes it with `closeProcess`; the process runs on without it. On
/// Windows one more handle, of the child's primary thread, stays open for every child until the caller's process ends.
///
/// Threads: all operations may run concurrently.
class VELMOR_API ProcessOperations {
public:
    ProcessOperations& operator=(const ProcessOperations&) = default;
    ProcessOperations& operator=(ProcessOperations&&) = default;

    /// The handle that stands for no process: all bits set.
    static HANDLE InvalidHandle();

    /// Starts a program, detached from the console and at lowered priority, in the caller's folder and with the caller's
    /// environment.
    /// @param application    path of the executable.
    /// @param commandLine    the command line, the program's name first, quoted by the rules of `CommandLineToArgvW`.
    /// @param inheritHandles whether the child gets the inheritable handles, under the same values.
    /// @return the process handle; `InvalidHandle()` when the program could not be started.
    static HANDLE createProcess(const WideString& application, const WideString& commandLine, bool inheritHandles);

    /// Whether a process has ended.
    /// @param process        its handle.
    /// @param[out] exitCode  receives the exit code, only when the result is true.
    /// @return true when it has ended; false while it runs, for an exit code of 259, and for a handle of no process.
    static bool hasEnded(HANDLE process, unsigned* exitCode);

    /// Ends a process with the given exit code; does nothing to one that has ended.
    static void terminateProcess(HANDLE process, unsigned exitCode);

    /// Closes a process handle; the process runs on. On Linux a thread of the library's own then waits for its end.
    static void closeProcess(HANDLE process);
};

/// Worker threads.
///
/// Failure: stated per operation; nothing throws, nothing is reported.
///
/// Ownership: a thread handle is the caller's, who closes it with `closeThread`; the thread runs on without it.
///
/// Threads: all operations may run concurrently.
class VELMOR_API ThreadOperations {
public:
    ThreadOperations& operator=(const ThreadOperations&) = default;
    ThreadOperations& operator=(ThreadOperations&&) = default;

    /// Starts a thread with a private copy of an argument block, and waits until that copy is taken: for ever if the system
    /// cannot start a thread.
    /// @param function      runs on the new thread with the copy and its size; its result is the thread's exit code. The
    ///                      copy is freed when it returns; it is null if there was no memory for it.
    /// @param data          the argument block; needed only until this call returns.
    /// @param size          its size in bytes.
    /// @param lowerPriority whether the thread runs at lowered priority.
    /// @return the thread handle; null when there was no memory for what the call itself needs.
    static unsigned* createThread(unsigned (*function)(void* data, std::uint64_t size), const void* data, std::uint64_t size,
                                  bool lowerPriority);

    /// Whether a thread has ended.
    /// @param thread        its handle.
    /// @param[out] exitCode always receives a value: 259 while the thread runs, its exit code after that, 0 for a handle of
    ///                      no thread.
    /// @return false while it runs; true when it has ended, and also for a handle of no thread.
    static bool hasEnded(unsigned* thread, unsigned* exitCode);

    /// Does nothing: a thread is never ended from outside.
    static void terminateThread(unsigned* thread, unsigned exitCode);

    /// Closes a thread handle; the thread runs on.
    static void closeThread(unsigned* thread);

    /// Lets the calling thread sleep.
    /// @param milliseconds the time; milliseconds, despite the name.
    static void usleep(int milliseconds);
};

/// A module that is loaded at run time from a given folder.
///
/// Failure: the factories always return an object; `isValid` tells whether it holds a module. A failed load is reported to
/// an attached debugger.
///
/// Ownership: the caller deletes the objects that the factories return; deleting unloads the module.
///
/// Threads: loading changes the variable "PATH" of the process for a moment; nothing is locked.
class VELMOR_API DynamicLibrary {
public:
    /// Unloads the module.
    ~DynamicLibrary();

    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    /// Loads a module; the folder stands first in "PATH" meanwhile, so that the module and what it depends on are found
    /// there. "PATH" is restored in every case; one that was not set is left empty. When it cannot be read, being too long
    /// or for want of memory, it is left alone and nothing is loaded.
    /// @param name   the module's file name, with or without its ending, or its path.
    /// @param folder the folder.
    static DynamicLibrary* loadDynamicLibrary(const WideString& name, const WideString& folder);

    /// The main executable of the process.
    static DynamicLibrary* getExecutable();

    /// The address of an exported symbol.
    /// @param symbol its name.
    /// @return the address; null when there is no such symbol or no module.
    void* getSymbolAddress(const std::string& symbol);

    /// Whether the object holds a module.
    bool isValid() const;

protected:
    /// Takes over a module handle of the platform (`HMODULE` on Windows).
    explicit DynamicLibrary(void* module);

private:
    void* module_;
};

static_assert(sizeof(DynamicLibrary) == sizeof(void*), "a module is one handle");

} // namespace Velmor
