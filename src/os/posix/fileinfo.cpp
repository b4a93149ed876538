#include "os/os.h"
#include "os/posix/handles.h"
#include "os/posix/names.h"
#include "os/posix/paths.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

// A search handle is the DIR of the folder. The type of an entry comes from readdir if the file system supplies it; only
// links and unknown types require a call of fstatat. Broken links are skipped, because a link has the attributes of its
// target.

namespace Velmor::os {

namespace {

constexpr std::uint32_t normalAttribute = 0x80; // FILE_ATTRIBUTE_NORMAL

bool failFromErrno() {
    posix::setLastErrorFromErrno(errno);
    return false;
}

/// Returns the status of the file that a path refers to; follows links.
bool getStatus(const WideChar* path, struct stat& status) {
    const auto name = posix::systemPath(path);
    if (!name)
        return false;
    return stat(name->c_str(), &status) == 0 || failFromErrno();
}

std::uint32_t attributesOf(const struct stat& status) {
    return S_ISDIR(status.st_mode) ? directoryAttribute : normalAttribute;
}

/// Converts to 100-nanosecond intervals since 1601: 0 for earlier times, the largest value for times after the range.
std::uint64_t fileTimeOf(const timespec& time) {
    constexpr std::int64_t secondsBefore1970 = 11'644'473'600;
    constexpr std::int64_t unitsPerSecond = 10'000'000;
    constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max();
    const std::int64_t seconds = time.tv_sec;
    if (seconds < -secondsBefore1970)
        return 0;
    if (seconds >= last / unitsPerSecond - secondsBefore1970)
        return last;
    return static_cast<std::uint64_t>((seconds + secondsBefore1970) * unitsPerSecond + time.tv_nsec / 100);
}

/// Calls a function of the system with a path.
template <class Call>
bool perform(const WideChar* path, const Call& call) {
    const auto name = posix::systemPath(path);
    if (!name)
        return false;
    return call(name->c_str()) == 0 || failFromErrno();
}

constexpr auto closeDirectory = [](DIR* directory) { closedir(directory); };
using Directory = std::unique_ptr<DIR, decltype(closeDirectory)>;

/// Reads the next entry of a folder. Skips broken links.
bool nextEntry(DIR* directory, FoundFile& found) {
    while (const dirent* const entry = readdir(directory)) {
        if (entry->d_type == DT_DIR) {
            found.attributes = directoryAttribute;
        } else if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) {
            found.attributes = normalAttribute;
        } else {
            struct stat status = {};
            if (fstatat(dirfd(directory), entry->d_name, &status, 0) != 0)
                continue;
            found.attributes = attributesOf(status);
        }
        found.name = posix::wideName(entry->d_name);
        return true;
    }
    return false;
}

/// The handle of a search for one file, which has no second result.
constexpr HANDLE singleResult = nullptr;

/// Searches for one file or folder.
/// @param nameStart position of the name in the path. An empty name is not found.
HANDLE findSingle(const WideString& path, std::size_t nameStart, FoundFile& found) {
    struct stat status = {};
    if (nameStart == path.size()) {
        posix::setLastError(posix::errorPathNotFound);
        return invalidHandle();
    }
    if (!getStatus(path.c_str(), status))
        return invalidHandle();
    found = {attributesOf(status), path.substr(nameStart)};
    return singleResult;
}

} // namespace

std::uint32_t getFileAttributes(const WideChar* path) {
    struct stat status = {};
    return getStatus(path, status) ? attributesOf(status) : invalidFileAttributes;
}

bool getFileAttributesEx(const WideChar* path, FileInformation* information) {
    struct stat status = {};
    if (!getStatus(path, status))
        return false;
    const std::uint64_t size = S_ISDIR(status.st_mode) ? 0 : static_cast<std::uint64_t>(status.st_size);
    const std::uint64_t time = fileTimeOf(status.st_mtim);
    *information = {static_cast<std::uint32_t>(size >> 32), static_cast<std::uint32_t>(size),
                    static_cast<std::uint32_t>(time >> 32), static_cast<std::uint32_t>(time)};
    return true;
}

bool createDirectory(const WideChar* path) {
    return perform(path, [](const char* name) { return mkdir(name, 0777); });
}

bool deleteFile(const WideChar* path) {
    return perform(path, [](const char* name) { return unlink(name); });
}

bool removeDirectory(const WideChar* path) {
    return perform(path, [](const char* name) { return rmdir(name); });
}

HANDLE findFirstFile(const WideChar* pattern, FoundFile& found) {
    WideString folder = pattern;
    const std::size_t nameStart = folder.find_last_of(VELMOR_WIDE("/\\")) + 1; // 0 without a separator
    if (folder.compare(nameStart, WideString::npos, VELMOR_WIDE("*")) != 0)
        return findSingle(folder, nameStart, found);
    folder.pop_back(); // the asterisk
    const auto name = folder.empty() ? "." : posix::systemPath(folder.c_str());
    if (!name)
        return invalidHandle();
    Directory directory(opendir(name->c_str()), closeDirectory);
    if (directory == nullptr || !nextEntry(directory.get(), found)) {
        failFromErrno();
        return invalidHandle();
    }
    return directory.release();
}

bool findNextFile(HANDLE search, FoundFile& found) {
    return search != singleResult && nextEntry(static_cast<DIR*>(search), found);
}

void findClose(HANDLE search) {
    if (search != singleResult)
        closedir(static_cast<DIR*>(search));
}

bool getDiskFreeSpace(const WideChar* path, std::uint64_t* available) {
    const auto name = posix::systemPath(path);
    if (!name)
        return false;
    struct stat kind = {};
    struct statvfs status = {};
    if (stat(name->c_str(), &kind) != 0 || statvfs(name->c_str(), &status) != 0)
        return failFromErrno();
    if (!S_ISDIR(kind.st_mode)) {
        posix::setLastError(posix::errorDirectory);
        return false;
    }
    *available = std::uint64_t{status.f_bavail} * status.f_frsize;
    return true;
}

void checkFileAccess(const WideChar* path, bool* read, bool* write) {
    const auto name = posix::systemPath(path);
    if (!name)
        return;
    // A user who can search the folders of the path can read the attributes.
    *read = faccessat(AT_FDCWD, name->c_str(), F_OK, AT_EACCESS) == 0;
    // Adding an entry to a folder also requires the right to search it.
    struct stat status = {};
    const bool folder = stat(name->c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    *write = faccessat(AT_FDCWD, name->c_str(), folder ? W_OK | X_OK : W_OK, AT_EACCESS) == 0;
}

} // namespace Velmor::os
