#pragma once

/// @file
/// File streams for the exchange of data between processes.

#include <Velmor/Export.h>
#include <Velmor/Handle.h>
#include <Velmor/WideText.h>

#include <cstdint>
#include <vector>

namespace Velmor {

/// A file handle with the operations that the exchange of data between processes needs.
///
/// Units: sizes and offsets are in bytes.
///
/// Failure: the factory functions always return a stream. If the file could not be opened, `getHandle` returns
/// `INVALID_HANDLE_VALUE` (all bits set; on Linux, which has no such macro, `ProcessOperations::InvalidHandle()`). The first
/// failure in the process, per factory function and for writing, is reported to an attached debugger.
///
/// Ownership: the caller deletes the streams that the factory functions return. The destructor closes the handle, except for
/// a stream from `createFromHandle`.
///
/// Threads: two threads must not use one stream at the same time. A handle that a child process inherited shares its file
/// position with the handle of the parent.
class VELMOR_API FileStream {
public:
    /// Creates a stream without a handle.
    FileStream();

    /// Closes the handle if the stream owns it.
    ~FileStream();

    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    /// Opens an existing file for reading. While it is open, others may read it but not write to it. Child processes do not
    /// inherit the handle.
    static FileStream* openFileForReading(const WideString& path);

    /// Opens a file for writing; creates it, or truncates an existing file. While it is open, no other open succeeds. Child
    /// processes do not inherit the handle.
    static FileStream* createFileForWriting(const WideString& path);

    /// Creates an empty file "KXFxxxx.tmp" in the temporary folder of the user and opens it for reading and writing. Child
    /// processes may inherit the handle, which is the only way to access the file. The system deletes the file when the last
    /// handle in any process is closed.
    static FileStream* createTemporaryFile();

    /// Creates a stream on a handle that it does not own and never closes.
    static FileStream* createFromHandle(HANDLE handle);

    /// Reads a block at the file position.
    /// @param size     number of bytes to read; only the low 32 bits count.
    /// @param[out] out receives the bytes: fewer than `size` at the end of the file, none after the end and on failure.
    /// @return false if the system call failed. A short block is a success.
    bool read(std::uint64_t size, std::vector<char>& out);

    /// Writes a block at the file position.
    /// @param size number of bytes to write; only the low 32 bits count.
    /// @param data the bytes.
    /// @return false if the system call failed. The number of bytes written is not compared with `size`.
    bool write(std::uint64_t size, const char* data);

    /// Moves the file position to the beginning.
    void seekToBegin();

    /// Moves the file position. Works for offsets below 2 GiB only: the low 32 bits are used as a signed distance.
    /// @param offset from the beginning of the file.
    void seekToOffset(std::uint64_t offset);

    /// Returns the handle, or `INVALID_HANDLE_VALUE`.
    HANDLE getHandle() const;

    /// Returns true if the handle is **not** usable: the result is inverted. To find out whether a file was opened, compare
    /// `getHandle()` with `INVALID_HANDLE_VALUE`.
    bool isValid() const;

protected:
    /// Creates a stream on a handle.
    /// @param handle the handle, or `INVALID_HANDLE_VALUE`.
    /// @param owns   whether the stream closes it.
    FileStream(HANDLE handle, bool owns);

private:
    HANDLE handle_;
    bool owns_;
};

static_assert(sizeof(FileStream) == 2 * sizeof(void*), "the layout of a stream is fixed");

} // namespace Velmor
