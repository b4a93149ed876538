#include "os/os.h"
#include "os/posix/handles.h"
#include "os/posix/paths.h"
#include "os/versionresource.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Velmor::os {

namespace {

/// Reads the version resource of a regular file. Other files are not opened: opening a pipe would wait for a writer.
bool readValidResource(const WideChar* path, std::vector<unsigned char>& resource) {
    const auto name = posix::systemPath(path);
    struct stat status = {};
    if (name && stat(name->c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        readVersionResource(path, resource) == VersionResource::valid)
        return true;
    posix::setLastError(posix::errorResourceDataNotFound);
    return false;
}

} // namespace

std::uint32_t getFileVersionInfoSize(const WideChar* path) {
    std::vector<unsigned char> resource;
    return readValidResource(path, resource) ? static_cast<std::uint32_t>(resource.size()) : 0;
}

bool getFileVersionInfo(const WideChar* path, std::uint32_t size, void* block) {
    std::vector<unsigned char> resource;
    if (!readValidResource(path, resource))
        return false;
    if (resource.size() > size) { // the file has changed since its size was read
        posix::setLastError(posix::errorInsufficientBuffer);
        return false;
    }
    std::copy(resource.begin(), resource.end(), static_cast<unsigned char*>(block));
    return true;
}

bool queryProductVersion(const void* block, std::uint32_t size, std::uint32_t* high, std::uint32_t* low) {
    return readProductVersion(static_cast<const unsigned char*>(block), size, high, low);
}

} // namespace Velmor::os
