// Queries about files and folders, and their creation and deletion.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <fcntl.h>
    #include <sys/stat.h>
    #include <sys/statvfs.h>
    #include <unistd.h>
#endif

namespace {

using Velmor::FileOperations;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::TemporaryFolder;
using velmor_tests::wide;
using velmor_tests::writeFile;

/// Paths of files that do not exist.
std::vector<WideString> missingPaths(const TemporaryFolder& folder) {
    const std::string base = narrow(folder.path());
    return {WideString(),
            wide(base + "/missing"),
            wide(base + "/missing/child"),
            wide(base + "/file/child"),
            wide(base + "/file/"),
            wide(base + "\\file\\"),
            wide(base + "/" + std::string(300, 'n')),
            wide(base + "/" + std::string(5000, 'n'))};
}

TEST(FileOperationsQueries, ExistsReturnsTrueForFilesAndFolders) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    const std::string base = narrow(folder.path());
    for (const char* path : {"", "/", "\\", "/file", "\\file", "/folder", "\\folder", "/folder/", "\\folder\\", "/folder/.",
                             "\\folder\\..\\file", "/folder/../folder"})
        EXPECT_TRUE(FileOperations::Exists(wide(base + path))) << path;
    for (const WideString& path : missingPaths(folder))
        EXPECT_FALSE(FileOperations::Exists(path)) << narrow(path);
}

TEST(FileOperationsQueries, IsDirectoryReturnsTrueOnlyForFolders) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    const std::string base = narrow(folder.path());
    for (const char* path : {"", "/", "\\", "/folder", "\\folder", "/folder/", "\\folder\\", "/folder/."})
        EXPECT_TRUE(FileOperations::IsDirectory(wide(base + path))) << path;
    EXPECT_FALSE(FileOperations::IsDirectory(wide(base + "/file")));
    EXPECT_FALSE(FileOperations::IsDirectory(wide(base + "\\file")));
    for (const WideString& path : missingPaths(folder))
        EXPECT_FALSE(FileOperations::IsDirectory(path)) << narrow(path);
}

TEST(FileOperationsQueries, PathEndsAtItsFirstNul) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "four");
    WideString path = wide(folder / "file");
    path += Velmor::WideChar{0};
    path += wide("more");
    EXPECT_TRUE(FileOperations::Exists(path));
    EXPECT_EQ(FileOperations::GetFileSize(path), 4);
    EXPECT_NE(FileOperations::GetFileLastWriteTime(path), 0u);
    EXPECT_TRUE(FileOperations::Delete(path));
    EXPECT_FALSE(std::filesystem::exists(folder / "file"));
}

// ---- Actions ----

TEST(FileOperationsActions, MakeDirectoryCreatesOnlyTheLastLevel) {
    const TemporaryFolder folder;
    const std::string base = narrow(folder.path());
    EXPECT_FALSE(FileOperations::MakeDirectory(wide(base + "/a/b")));
    EXPECT_FALSE(std::filesystem::exists(folder / "a"));
    EXPECT_TRUE(FileOperations::MakeDirectory(wide(base + "/a")));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a"));
    EXPECT_TRUE(FileOperations::MakeDirectory(wide(base + "\\a\\b")));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a" / "b"));
    EXPECT_TRUE(FileOperations::MakeDirectory(wide(base + "/Gr\u00FC\u00DFe \U0001F600")));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "Gr\u00FC\u00DFe \U0001F600"));
    EXPECT_TRUE(FileOperations::MakeDirectory(wide(base + "/c/")));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "c"));
}

TEST(FileOperationsActions, MakeDirectoryFailsForExistingNames) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    writeFile(folder / "folder" / "other", "x");
    EXPECT_FALSE(FileOperations::MakeDirectory(wide(folder / "folder")));
    EXPECT_FALSE(FileOperations::MakeDirectory(wide(folder / "file")));
    EXPECT_FALSE(FileOperations::MakeDirectory(wide(folder / "file" / "child")));
    EXPECT_FALSE(FileOperations::MakeDirectory(WideString()));
    EXPECT_EQ(velmor_tests::readFile(folder / "file"), "x");
    EXPECT_EQ(velmor_tests::readFile(folder / "folder" / "other"), "x");
}

TEST(FileOperationsActions, DeleteRemovesFiles) {
    const TemporaryFolder folder;
    const std::string base = narrow(folder.path());
    writeFile(folder / "a", "x");
    writeFile(folder / "b", "x");
    writeFile(folder / "Gr\u00FC\u00DFe", "x");
    writeFile(folder / "other", "x");
    EXPECT_TRUE(FileOperations::Delete(wide(base + "/a")));
    EXPECT_TRUE(FileOperations::Delete(wide(base + "\\b")));
    EXPECT_TRUE(FileOperations::Delete(wide(base + "/Gr\u00FC\u00DFe")));
    EXPECT_EQ(velmor_tests::entries(folder.path()), 1u);
    EXPECT_TRUE(std::filesystem::exists(folder / "other"));
}

TEST(FileOperationsActions, DeleteFailsForFoldersAndMissingFiles) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    EXPECT_FALSE(FileOperations::Delete(wide(folder / "folder")));
    for (const WideString& path : missingPaths(folder))
        EXPECT_FALSE(FileOperations::Delete(path)) << narrow(path);
    EXPECT_EQ(velmor_tests::entries(folder.path()), 2u);
}

TEST(FileOperationsActions, DeleteDirectoryRemovesOnlyEmptyFolders) {
    const TemporaryFolder folder;
    const std::string base = narrow(folder.path());
    writeFile(folder / "file", "x");
    std::filesystem::create_directories(folder / "full" / "empty");
    std::filesystem::create_directory(folder / "with file");
    writeFile(folder / "with file" / "file", "x");
    EXPECT_FALSE(FileOperations::DeleteDirectory(wide(folder / "full")));
    EXPECT_FALSE(FileOperations::DeleteDirectory(wide(folder / "with file")));
    EXPECT_FALSE(FileOperations::DeleteDirectory(wide(folder / "file")));
    for (const WideString& path : missingPaths(folder))
        EXPECT_FALSE(FileOperations::DeleteDirectory(path)) << narrow(path);
    EXPECT_TRUE(std::filesystem::exists(folder / "full" / "empty"));
    EXPECT_TRUE(std::filesystem::exists(folder / "with file" / "file"));
    EXPECT_TRUE(std::filesystem::exists(folder / "file"));

    EXPECT_TRUE(FileOperations::DeleteDirectory(wide(base + "\\full\\empty")));
    EXPECT_TRUE(FileOperations::DeleteDirectory(wide(base + "/full/")));
    EXPECT_FALSE(std::filesystem::exists(folder / "full"));
    EXPECT_FALSE(FileOperations::DeleteDirectory(wide(base + "/full")));
}

// ---- Sizes and times ----

TEST(FileOperationsQueries, FileSizeIsInBytes) {
    const TemporaryFolder folder;
    for (const std::size_t size : {0u, 1u, 2u, 255u, 4096u, 100'000u}) {
        writeFile(folder / "file", std::string(size, 'x'));
        EXPECT_EQ(FileOperations::GetFileSize(wide(folder / "file")), static_cast<std::int64_t>(size));
    }
}

/// Sets the size of a file. The new part is a hole, which uses no space.
void lengthen(const std::filesystem::path& path, std::uint64_t size) {
#if defined(_WIN32)
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(size);
    EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    CloseHandle(file);
#else
    std::filesystem::resize_file(path, size);
#endif
}

TEST(FileOperationsQueries, FileSizeHas64Bits) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    writeFile(path, "x");
    for (const std::uint64_t size :
         {0x7FFFFFFFull, 0x80000000ull, 0xFFFFFFFFull, 0x100000000ull, 0x123456789ull, 0x280000001ull}) {
        lengthen(path, size);
        EXPECT_EQ(FileOperations::GetFileSize(wide(path)), static_cast<std::int64_t>(size));
    }
}

TEST(FileOperationsQueries, FileSizeOfFoldersAndMissingFilesIsZero) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    for (int i = 0; i < 20; ++i)
        writeFile(folder / "folder" / std::to_string(i), "x");
    EXPECT_EQ(FileOperations::GetFileSize(wide(folder / "folder")), 0);
    for (const WideString& path : missingPaths(folder))
        EXPECT_EQ(FileOperations::GetFileSize(path), 0) << narrow(path);
}

#if defined(_WIN32)
/// Sets the last write time.
/// @return the time that the file system stores.
std::uint64_t setTime(const std::filesystem::path& path, std::uint64_t time) {
    const HANDLE file = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES, 7, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    FILETIME parts{};
    parts.dwLowDateTime = static_cast<DWORD>(time);
    parts.dwHighDateTime = static_cast<DWORD>(time >> 32);
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &parts));
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, &parts));
    CloseHandle(file);
    return static_cast<std::uint64_t>(parts.dwHighDateTime) << 32 | parts.dwLowDateTime;
}
#else
constexpr std::int64_t ticksPerSecond = 10'000'000;
constexpr std::int64_t epoch = 11'644'473'600; // seconds from 1601 to 1970

/// Sets the last write time.
/// @return the time that the file system stores.
std::uint64_t setTime(const std::filesystem::path& path, std::uint64_t time) {
    const auto ticks = static_cast<std::int64_t>(time);
    timespec times[2]{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = ticks / ticksPerSecond - epoch;
    times[1].tv_nsec = ticks % ticksPerSecond * 100 + 99; // the part below one tick is discarded
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return static_cast<std::uint64_t>((status.st_mtim.tv_sec + epoch) * ticksPerSecond + status.st_mtim.tv_nsec / 100);
}
#endif

TEST(FileOperationsQueries, LastWriteTimeHasThePrecisionOfATick) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    const std::uint64_t times[]{
        116'444'736'000'000'000, // 1970-01-01
        116'444'736'000'000'001,
        125'911'584'061'234'567, // 2000-01-01 and a fraction of a second
        132'223'104'000'000'000, // 2020-01-01
        133'801'631'459'999'999,
        138'918'527'999'999'999, // after 2038
        114'868'800'000'000'001, // 1965
        116'444'735'999'999'999, // the last tick of 1969
    };
    for (const char* name : {"file", "folder"}) {
        int exact = 0;
        for (const std::uint64_t time : times) {
            const std::uint64_t stored = setTime(folder / name, time);
            exact += stored == time;
            EXPECT_EQ(FileOperations::GetFileLastWriteTime(wide(folder / name)), stored) << name << " " << time;
        }
        EXPECT_GT(exact, 0) << "the file system stores none of the times exactly";
    }
}

TEST(FileOperationsQueries, WritingUpdatesTheLastWriteTime) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    setTime(folder / "file", 125'911'584'000'000'000);
    writeFile(folder / "file", "y");
    const std::uint64_t written = FileOperations::GetFileLastWriteTime(wide(folder / "file"));
    writeFile(folder / "later", "x");
    const std::uint64_t later = FileOperations::GetFileLastWriteTime(wide(folder / "later"));
    EXPECT_GT(written, 133'000'000'000'000'000u); // 2022
    EXPECT_GE(later, written);
    EXPECT_LT(later - written, 600'000'000u * 10); // ten minutes
}

TEST(FileOperationsQueries, LastWriteTimeOfMissingFilesIsZero) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    for (const WideString& path : missingPaths(folder))
        EXPECT_EQ(FileOperations::GetFileLastWriteTime(path), 0u) << narrow(path);
}

#if !defined(_WIN32)
TEST(FileOperationsQueries, LastWriteTimeOutOfRangeIsTheNearestLimit) {
    // Few file systems store all these times; tmpfs does. The test compares with the stored times.
    std::filesystem::path path = "/dev/shm/velmor-test-" + std::to_string(getpid());
    std::error_code error;
    if (!std::filesystem::is_directory("/dev/shm", error) || !std::ofstream(path)) {
        path = "time of velmor-test-" + std::to_string(getpid());
        writeFile(path, "x");
    }
    constexpr std::int64_t lastTick = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t lastSecond = lastTick / ticksPerSecond - epoch;
    int outOfRange = 0;
    for (const std::int64_t second :
         {std::numeric_limits<std::int64_t>::min(), -(std::int64_t{1} << 62), -epoch - 1'000'000, -epoch - 1, -epoch,
          -epoch + 1, lastSecond - 2, lastSecond - 1, lastSecond, lastSecond + 1, lastSecond + 1'000'000,
          std::int64_t{1} << 45, std::int64_t{1} << 62, std::numeric_limits<std::int64_t>::max()}) {
        timespec times[2]{};
        times[0].tv_nsec = UTIME_OMIT;
        times[1].tv_sec = second;
        times[1].tv_nsec = 999'999'999;
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << second;
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        const std::int64_t stored = status.st_mtim.tv_sec;
        const std::uint64_t found = FileOperations::GetFileLastWriteTime(wide(path));
        if (stored < -epoch) {
            EXPECT_EQ(found, 0u) << stored;
            ++outOfRange;
        } else if (stored >= lastSecond) {
            EXPECT_EQ(found, static_cast<std::uint64_t>(lastTick)) << stored;
            ++outOfRange;
        } else {
            EXPECT_EQ(found, static_cast<std::uint64_t>((stored + epoch) * ticksPerSecond + status.st_mtim.tv_nsec / 100));
        }
    }
    std::filesystem::remove(path);
    if (path.is_absolute()) {
        EXPECT_GT(outOfRange, 4) << "tmpfs does not store the times";
    }
}

TEST(FileOperationsQueries, FollowsLinks) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "seven b");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink("file", folder / "link to file");
    std::filesystem::create_directory_symlink("folder", folder / "link to folder");
    std::filesystem::create_symlink("nowhere", folder / "link to nothing");
    const std::uint64_t time = setTime(folder / "file", 125'911'584'061'234'567);
    EXPECT_TRUE(FileOperations::Exists(wide(folder / "link to file")));
    EXPECT_FALSE(FileOperations::IsDirectory(wide(folder / "link to file")));
    EXPECT_EQ(FileOperations::GetFileSize(wide(folder / "link to file")), 7);
    EXPECT_EQ(FileOperations::GetFileLastWriteTime(wide(folder / "link to file")), time);
    EXPECT_TRUE(FileOperations::IsDirectory(wide(folder / "link to folder")));
    EXPECT_FALSE(FileOperations::Exists(wide(folder / "link to nothing")));
}
#endif

// ---- Free space ----

/// The free space for the user, queried without the library.
std::int64_t freeSpace(const std::filesystem::path& path) {
#if defined(_WIN32)
    return static_cast<std::int64_t>(std::filesystem::space(path).available);
#else
    struct statvfs status {};
    EXPECT_EQ(statvfs(path.c_str(), &status), 0);
    return static_cast<std::int64_t>(status.f_bavail * status.f_frsize);
#endif
}

TEST(FileOperationsQueries, FreeBytesAreThoseAvailableToTheUser) {
    const TemporaryFolder folder;
    const std::string base = narrow(folder.path());
    for (const char* ending : {"", "/", "\\"}) {
        // Other processes write at the same time, so the queries are repeated until they agree.
        const std::int64_t tolerance = 64 << 20;
        std::int64_t available = 0;
        EXPECT_TRUE(velmor_tests::eventually([&] {
            const std::int64_t before = freeSpace(folder.path());
            available = FileOperations::GetFreeBytesAvailable(wide(base + ending));
            const std::int64_t after = freeSpace(folder.path());
            return available >= std::min(before, after) - tolerance && available <= std::max(before, after) + tolerance;
        })) << ending
            << ' ' << available;
        EXPECT_GT(available, 0);
    }
}

TEST(FileOperationsQueries, FreeBytesOfFilesAndMissingFoldersAreZero) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    EXPECT_EQ(FileOperations::GetFreeBytesAvailable(wide(folder / "file")), 0);
    for (const WideString& path : missingPaths(folder))
        EXPECT_EQ(FileOperations::GetFreeBytesAvailable(path), 0) << narrow(path);
}

} // namespace
