#pragma once

// Text for users: messages and tables are UTF-8 on both systems.

#include <Velmor/WideText.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace importer::exchange {

/// Makes text of a model safe for a terminal. Control characters, marks that change the direction of writing, and single
/// surrogates become '?'. Two surrogates that form a character above U+FFFF, which the library encodes separately with three
/// bytes each, become one UTF-8 character of four bytes.
std::string printable(std::string_view text);

/// The text, or its beginning and "..." if it is longer than `bytes`. Cuts between two characters.
std::string shortened(std::string_view text, std::size_t bytes);

/// A path in the form that the library expects.
/// @throws std::filesystem::filesystem_error for a path that cannot be converted.
Velmor::WideString wide(const std::filesystem::path& path);

/// A path for a message.
std::string utf8(const std::filesystem::path& path);

} // namespace importer::exchange
