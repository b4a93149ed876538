#pragma once

// The encoding of texts in the exchange structure (ISO 10303-21).

#include <Velmor/WideText.h>

#include <optional>
#include <string_view>
#include <vector>

namespace importer::step {

/// Decodes what stands between the apostrophes of a text: doubled apostrophes and backslashes, \X2\..\X0\, \X4\..\X0\,
/// \X\hh, \S\c in the code page that \P?\ chose. Line breaks, and the directives \N\ and \F\, are nothing. Bytes above 0x7F,
/// which the standard does not allow but files have, are taken as UTF-8 where they are, else as ISO 8859-1. What is no valid
/// directive stays as it stands.
Velmor::WideString decodeText(std::string_view encoded);

/// Decodes bytes as UTF-8 where they are, else as ISO 8859-1.
Velmor::WideString decodeUtf8(std::string_view bytes);

/// The number that a hexadecimal digit of either case stands for; -1 when it is none.
int hexDigit(char c);

/// Decodes what stands between the quotes of a binary: the number of unused bits at its head, 0 to 3, and hexadecimal
/// digits. Line breaks are nothing, as in a text.
/// @return the bytes; nothing when it is damaged or no whole number of bytes, which leaves no bit unused.
std::optional<std::vector<char>> decodeBinary(std::string_view encoded);

} // namespace importer::step
