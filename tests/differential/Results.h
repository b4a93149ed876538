#pragma once

// The operations in the table. Two programs implement them: one calls the library, the other calls Win32.

#include <Velmor/Platform.h>
#include <Velmor/WideText.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace velmor_tests {

Velmor::WideString fullPath(const Velmor::WideString& path);
Velmor::WideString fullFolder(const Velmor::WideString& path);
Velmor::WideString fileWithoutPath(const Velmor::WideString& path);

/// Nothing if the result is undefined.
std::optional<Velmor::WideString> fileWithoutExtension(const Velmor::WideString& path);

Velmor::WideString withEndingSlash(const Velmor::WideString& path);
bool matches(const Velmor::WideString& fileName, const Velmor::WideString& extensions);
Velmor::SystemTime_s systemTime(std::uint64_t fileTime);
Velmor::WideString dateString(const Velmor::SystemTime_s& time);
Velmor::WideString timeString(const Velmor::SystemTime_s& time);

struct Version {
    bool known;
    std::array<unsigned, 4> numbers;

    bool operator==(const Version&) const = default;
};

/// @param damaged the content of the file contradicts its headers. The expected result is a failure; Win32 itself would read
///                other memory.
Version productVersion(const std::filesystem::path& file, bool damaged);

} // namespace velmor_tests
