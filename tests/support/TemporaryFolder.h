#pragma once

#include <filesystem>
#include <string>

namespace velmor_tests {

/// A folder of its own for one test, which vanishes with it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// A whole file.
std::string readFile(const std::filesystem::path& file);

/// Writes a whole file, and the folders to it.
void writeFile(const std::filesystem::path& file, const std::string& content);

/// A text with every occurrence of a part replaced. The part must occur.
std::string replaced(std::string text, const std::string& part, const std::string& by);

} // namespace velmor_tests
