#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velmor_tests {

/// A new, empty folder. The destructor removes it with its content.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }
    /// @param name in UTF-8 on every system.
    std::filesystem::path operator/(const char* name) const;

private:
    std::filesystem::path path_;
};

/// The content of a file.
/// @throws std::runtime_error if it cannot be read.
std::string readFile(const std::filesystem::path& file);

/// The content of a file; nothing if it cannot be opened.
std::optional<std::string> tryReadFile(const std::filesystem::path& file);

/// Writes a file, and creates the folders above it.
/// @throws std::runtime_error if it cannot be written.
void writeFile(const std::filesystem::path& file, const std::string& content);

/// A text with every occurrence of a part replaced.
/// @throws std::runtime_error if the part does not occur.
std::string replaced(std::string text, const std::string& part, const std::string& by);

} // namespace velmor_tests
