#pragma once

/// @file
/// Child processes and worker threads.

#include <Velmor/Export.h>
#include <Velmor/Handle.h>
#include <Velmor/WideText.h>

#include <cstdint>

namespace Velmor {

/// Child processes.
///
/// Failure: documented per function. Nothing is reported, and only a failed memory allocation throws an exception.
///
/// Ownership: the caller owns a process handle and closes it with `closeProcess`. Closing the handle does not end the
/// process. On Windows the handle of the primary thread of each child stays open until the calling process ends.
///
/// Threads: all functions may run concurrently.
class VELMOR_API ProcessOperations {
public:
    ProcessOperations& operator=(const ProcessOperations&) = default;
    ProcessOperations& operator=(ProcessOperations&&) = default;

    /// Returns the value that means "no process": all bits set.
    static HANDLE InvalidHandle();

    /// Starts a program without a console and at below-normal priority, in the current folder and with the environment of
    /// the caller.
    /// @param application    path of the executable file.
    /// @param commandLine    the command line, beginning with the program name, quoted by the rules of `CommandLineToArgvW`.
    /// @param inheritHandles whether the child inherits the inheritable handles, which have the same values in the child.
    /// @return the process handle; `InvalidHandle()` if the program could not be started.
    static HANDLE createProcess(const WideString& application, const WideString& commandLine, bool inheritHandles);

    /// Returns whether a process has ended.
    /// @param process       its handle.
    /// @param[out] exitCode receives the exit code if the result is true; otherwise it is not changed.
    /// @return true if the process has ended with an exit code other than 259. False while it runs, if its exit code is 259,
    ///         and for a handle that is not a process.
    static bool hasEnded(HANDLE process, unsigned* exitCode);

    /// Ends a process with the given exit code. Does nothing if the process has already ended.
    static void terminateProcess(HANDLE process, unsigned exitCode);

    /// Closes a process handle; the process continues to run. On Linux the library then starts a thread that waits for the
    /// end of the process.
    static void closeProcess(HANDLE process);
};

/// Worker threads.
///
/// Failure: documented per function. Nothing is reported and nothing throws an exception.
///
/// Ownership: the caller owns a thread handle and closes it with `closeThread`. Closing the handle does not end the thread.
///
/// Threads: all functions may run concurrently.
class VELMOR_API ThreadOperations {
public:
    ThreadOperations& operator=(const ThreadOperations&) = default;
    ThreadOperations& operator=(ThreadOperations&&) = default;

    /// Starts a thread with a private copy of an argument block. Returns after the thread has made the copy; never returns
    /// if the system cannot start a thread.
    /// @param function      runs on the new thread with the copy and its size; its result is the exit code of the
    ///                      thread. The copy is null if memory is exhausted; it is freed after the function has returned.
    /// @param data          the argument block; not used after this call has returned.
    /// @param size          its size in bytes.
    /// @param lowerPriority whether the thread runs at below-normal priority.
    /// @return the thread handle; null if the call could not allocate memory for itself.
    static unsigned* createThread(unsigned (*function)(void* data, std::uint64_t size), const void* data, std::uint64_t size,
                                  bool lowerPriority);

    /// Returns whether a thread has ended.
    /// @param thread        its handle.
    /// @param[out] exitCode always receives a value: 259 while the thread runs, then its exit code; 0 for a handle that
    ///                      is not a thread.
    /// @return false while the thread runs; true if it has ended and for a handle that is not a thread.
    static bool hasEnded(unsigned* thread, unsigned* exitCode);

    /// Does nothing; the thread continues to run.
    static void terminateThread(unsigned* thread, unsigned exitCode);

    /// Closes a thread handle; the thread continues to run.
    static void closeThread(unsigned* thread);

    /// Suspends the calling thread.
    /// @param milliseconds the time in milliseconds, in spite of the name of the function.
    static void usleep(int milliseconds);
};

} // namespace Velmor
