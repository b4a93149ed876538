#pragma once

// Models that the tests of import_host write, and places in their texts.

#include <cstddef>
#include <filesystem>
#include <string>

namespace velmor_tests {

/// Writes the workshop model with every occurrence of a part replaced.
/// @return the path of the file.
std::string changedWorkshop(const std::filesystem::path& file, const std::string& part, const std::string& by);

/// A model of equal walls in a row, named "Wall 0", "Wall 1" and so on: about 350 bytes each.
std::string manyWalls(unsigned count);

/// The number of occurrences of a part in a text.
std::size_t occurrences(const std::string& text, const std::string& part);

/// The place of an instance in a model as reports format it: "line 50, #123".
std::string place(const std::string& text, const std::string& instance);

} // namespace velmor_tests
