#include "support/TemporaryFolder.h"

#include "support/Utf16.h"

#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace velmor_tests {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("velmor-test-" + std::to_string(random()));
    } while (!fs::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path TemporaryFolder::operator/(const char* name) const {
    return path_ / pathOf(name);
}

std::string readFile(const fs::path& file) {
    std::optional<std::string> content = tryReadFile(file);
    if (!content)
        throw std::runtime_error("cannot read " + file.string());
    return std::move(*content);
}

std::optional<std::string> tryReadFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

void writeFile(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
}

std::string replaced(std::string text, const std::string& part, const std::string& by) {
    auto at = text.find(part);
    if (at == std::string::npos)
        throw std::runtime_error("the text to replace does not occur: '" + part + "'");
    for (; at != std::string::npos; at = text.find(part, at + by.size()))
        text.replace(at, part.size(), by);
    return text;
}

} // namespace velmor_tests
