#pragma once

/// @file
/// Paths, files, folders and file times.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <cstdint>
#include <vector>

namespace Velmor {

/// A date and time of day.
struct SystemTime_s {
    std::uint16_t year;   ///< The full year, for example 2020.
    std::uint16_t month;  ///< 1 to 12.
    std::uint16_t day;    ///< 1 to 31.
    std::uint16_t hour;   ///< 0 to 23.
    std::uint16_t minute; ///< 0 to 59.
    std::uint16_t second; ///< 0 to 59.
};

static_assert(sizeof(SystemTime_s) == 12, "the layout of a system time is fixed");

/// Operations on paths, files and folders.
///
/// Paths are Windows paths. On Linux a path that begins with a drive letter or with two backslashes is normalized by the
/// rules of Windows; every other path is a path of the system, with slashes and backslashes as separators (see
/// docs/portability.md).
///
/// Units: lengths of paths are in UTF-16 code units.
///
/// Failure: a function that fails returns an empty string, an empty list, false or 0. Only a failed memory allocation throws
/// an exception. Where a function documents it, the first failure in the process is reported to an attached debugger.
///
/// Threads: all functions may run concurrently.
class VELMOR_API FileOperations {
public:
    /// Makes a path absolute and normalizes it.
    /// @return the path. Empty and reported if the path cannot be normalized or has 520 units or more; empty, but not
    ///         reported, if it has 260 to 519 units.
    static WideString GetFullPath(const WideString& path);

    /// Returns the folder of the normalized path, with the separator at its end.
    /// @return the folder. Empty and reported if the path has no file name or has 260 units or more.
    static WideString GetFullFolder(const WideString& path);

    /// Returns the file name of the normalized path, with its extension.
    /// @return the name. Empty and reported if the path has no file name or has 258 units or more.
    static WideString GetFileWithoutPath(const WideString& path);

    /// Returns the file name of the normalized path up to its first dot. The misspelled name is part of the interface.
    /// @param path must contain a file name and have fewer than 260 units; for other paths the result is unspecified. A path
    ///             that cannot be normalized is reported.
    static WideString GetFileWithoutExtenstion(const WideString& path);

    /// Returns the path with a backslash at its end. An empty path and a path that ends in a separator are not changed.
    static WideString InsertEndingDirectorySlash(const WideString& path);

    /// Matches a file name against a list of patterns, for example "*.ifc|*.ifczip". The comparison runs from the end of the
    /// name, ignores the case of ASCII letters, and ignores the first character of both the pattern and the name. An empty
    /// pattern ends the list: the patterns after it are not tried.
    /// @return true if a pattern matches or the list is empty; otherwise false, also for an empty name.
    static bool MatchExtension(const WideString& fileName, const WideString& extensions);

    /// Lists the files of one folder, without subfolders.
    /// @return the file names, without the folder, in the order of the file system; empty if the folder cannot be read.
    static std::vector<WideString> ScanFilesInDirectory(const WideString& directory);

    /// Returns whether a file or folder exists.
    static bool Exists(const WideString& path);

    /// Returns whether a path is an existing folder.
    static bool IsDirectory(const WideString& path);

    /// Creates a folder. Its parent folder must exist.
    /// @return false on failure, also if the folder already exists.
    static bool MakeDirectory(const WideString& path);

    /// Deletes a file. The first failure in the process is reported.
    static bool Delete(const WideString& path);

    /// Deletes an empty folder.
    static bool DeleteDirectory(WideString path);

    /// Returns the size of a file in bytes; 0 for a folder and for a missing file.
    static std::int64_t GetFileSize(const WideString& path);

    /// Returns the time of the last write as a file time: 100-nanosecond intervals since 1601-01-01 UTC. 0 for a missing
    /// file.
    static std::uint64_t GetFileLastWriteTime(const WideString& path);

    /// Returns the number of bytes that the calling user can still write to the disk of a folder; 0 on failure, for example
    /// if the path is not a folder.
    static std::int64_t GetFreeBytesAvailable(const WideString& path);

    /// Returns the path of the module (program or library) that contains an address; the path of the program for null.
    /// @return the first 259 units of the path; empty if no module contains the address.
    static WideString GetModuleByAddress(const void* address);

    /// Reads the product version of a program or library from its version resource.
    /// @param[out] major,minor,build,revision receive the four numbers; 0 on failure.
    /// @return false if the file has no version resource or is damaged.
    static bool GetProductVersion(const WideString& path, unsigned* major, unsigned* minor, unsigned* build,
                                  unsigned* revision);

    /// Returns whether the user may read the attributes of a file or folder and, on Windows, its security descriptor. This
    /// is not the right to read its content.
    static bool HasReadAccess(const WideString& path);

    /// Returns whether the user may write and append to a file, or add entries to a folder.
    static bool HasWriteAccess(const WideString& path);

    /// Converts a file time (100-nanosecond intervals since 1601-01-01) to a date and time of day in UTC.
    /// @return the time; all fields 0 if the highest bit of the file time is set.
    static SystemTime_s ConvertToSystemTime(std::uint64_t fileTime);

    /// Formats a time with the time picture "ddd',' MMM dd yy". The fields are shifted: the day is used as the day of the
    /// week, the hour as the day, the minute as the hour and the second as the minute.
    /// @return the text; empty if the shifted fields are not a valid time.
    static WideString ConvertSystemTimeToDateString(const SystemTime_s& time);

    /// Formats a time with the time picture "HH':'mm':'ss". The fields are shifted as in `ConvertSystemTimeToDateString`;
    /// the second is 0.
    /// @return the text; empty if the shifted fields are not a valid time.
    static WideString ConvertSystemTimeToTimeString(const SystemTime_s& time);

private:
    /// Matches a file name against one pattern of `length` units, at least 1.
    static bool MatchExtension(const WideString& fileName, const WideChar* token, unsigned length);
    static unsigned ParseExtension(const WideChar* text);
    static int MyToUpper(int c);
    static void oe_file_access_core(const WideString& path, bool* read, bool* write);
};

} // namespace Velmor
