// Calls the library.

#include "Results.h"
#include "platform/Tools.h"

namespace velmor_tests {

using Velmor::FileOperations;
using Velmor::SystemTime_s;
using Velmor::WideString;

WideString fullPath(const WideString& path) {
    return FileOperations::GetFullPath(path);
}

WideString fullFolder(const WideString& path) {
    return FileOperations::GetFullFolder(path);
}

WideString fileWithoutPath(const WideString& path) {
    return FileOperations::GetFileWithoutPath(path);
}

std::optional<WideString> fileWithoutExtension(const WideString& path) {
    // The result is defined if and only if the path has a full folder.
    if (FileOperations::GetFullFolder(path).empty())
        return std::nullopt;
    return FileOperations::GetFileWithoutExtenstion(path);
}

WideString withEndingSlash(const WideString& path) {
    return FileOperations::InsertEndingDirectorySlash(path);
}

bool matches(const WideString& fileName, const WideString& extensions) {
    return FileOperations::MatchExtension(fileName, extensions);
}

SystemTime_s systemTime(std::uint64_t fileTime) {
    return FileOperations::ConvertToSystemTime(fileTime);
}

WideString dateString(const SystemTime_s& time) {
    return FileOperations::ConvertSystemTimeToDateString(time);
}

WideString timeString(const SystemTime_s& time) {
    return FileOperations::ConvertSystemTimeToTimeString(time);
}

Version productVersion(const std::filesystem::path& file, bool /*damaged*/) {
    Version version{false, {9, 9, 9, 9}};
    auto& [major, minor, build, revision] = version.numbers;
    version.known = FileOperations::GetProductVersion(wide(file), &major, &minor, &build, &revision);
    return version;
}

} // namespace velmor_tests
