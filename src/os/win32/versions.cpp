#include "os/os.h"
#include "os/versionresource.h"

#include <windows.h>

namespace Velmor::os {

std::uint32_t getFileVersionInfoSize(const WideChar* path) {
    // The system call may crash on a damaged version resource.
    std::vector<unsigned char> resource;
    if (readVersionResource(path, resource) == VersionResource::invalid)
        return 0;
    return GetFileVersionInfoSizeW(path, nullptr);
}

bool getFileVersionInfo(const WideChar* path, std::uint32_t size, void* block) {
    return GetFileVersionInfoW(path, 0, size, block) != FALSE;
}

bool queryProductVersion(const void* block, std::uint32_t /*size*/, std::uint32_t* high, std::uint32_t* low) {
    void* value = nullptr;
    UINT length = 0;
    if (VerQueryValueA(block, "\\", &value, &length) == FALSE || length < sizeof(VS_FIXEDFILEINFO))
        return false;
    const auto* const information = static_cast<const VS_FIXEDFILEINFO*>(value);
    *high = information->dwProductVersionMS;
    *low = information->dwProductVersionLS;
    return true;
}

} // namespace Velmor::os
