#pragma once

// Text for people: messages and tables go out in UTF-8, on both systems.

#include <Velmor/WideText.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace importer::exchange {

/// Text of a model made fit for a terminal: control characters, marks of the direction of writing and halves of a character
/// without the other half become '?'. The two halves of a character beyond U+FFFF, which the library encodes one by one,
/// become one UTF-8 character.
std::string printable(std::string_view text);

/// The first part of a text, cut between two characters, with "..." when something is cut off.
std::string shortened(std::string_view text, std::size_t bytes);

/// A path as the library takes it.
/// @throws std::filesystem::filesystem_error for a path that is no text.
Velmor::WideString wide(const std::filesystem::path& path);

/// A path for a message.
std::string utf8(const std::filesystem::path& path);

} // namespace importer::exchange
