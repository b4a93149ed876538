#include "platform/os/os.h"
#include "platform/os/posix/handles.h"
#include "platform/os/versionresource.h"

#include <algorithm>

namespace Velmor::os {

std::uint32_t getFileVersionInfoSize(const WideChar* path) {
    std::vector<unsigned char> resource;
    if (readVersionResource(path, resource) == VersionResource::sound)
        return static_cast<std::uint32_t>(resource.size());
    posix::setLastError(posix::errorResourceDataNotFound);
    return 0;
}

bool getFileVersionInfo(const WideChar* path, std::uint32_t size, void* block) {
    std::vector<unsigned char> resource;
    if (readVersionResource(path, resource) != VersionResource::sound || resource.size() > size) {
        posix::setLastError(posix::errorResourceDataNotFound);
        return false;
    }
    std::copy(resource.begin(), resource.end(), static_cast<unsigned char*>(block));
    return true;
}

bool queryProductVersion(const void* block, std::uint32_t size, std::uint32_t* high, std::uint32_t* low) {
    return readProductVersion(static_cast<const unsigned char*>(block), size, high, low);
}

} // namespace Velmor::os
