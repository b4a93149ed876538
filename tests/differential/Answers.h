#pragma once

// The questions of the table about files. Two programs answer them: one asks the library, the other Win32 itself.

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

/// Nothing where the answer is not defined.
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

/// @param damaged the file does not hold what it says of itself. Win32 reads on then, from wherever it is led to; to be
///                expected is false.
Version productVersion(const std::filesystem::path& file, bool damaged);

} // namespace velmor_tests
