#pragma once

// The encoding of texts in the exchange structure (ISO 10303-21).

#include <Velmor/WideText.h>

#include <optional>
#include <string_view>
#include <vector>

namespace importer::step {

/// Decodes the part of a text between its apostrophes. Doubled apostrophes and backslashes become single ones. The
/// directives \X2\..\X0\, \X4\..\X0\, \X\hh, and \S\c with the code page chosen by \P?\, become characters. Line breaks and
/// the directives \N\ and \F\ are dropped. An invalid directive is kept as text. The standard does not allow bytes above
/// 0x7F, but files contain them: they are decoded as UTF-8 if they are valid UTF-8, otherwise as ISO 8859-1.
Velmor::WideString decodeText(std::string_view encoded);

/// Decodes bytes as UTF-8; those that are not valid UTF-8 as ISO 8859-1.
Velmor::WideString decodeUtf8(std::string_view bytes);

/// The value of a hexadecimal digit of either case; -1 for another character.
int hexDigit(char c);

/// Decodes the part of a binary between its quotes: the number of unused bits, which is 0 for whole bytes, and hexadecimal
/// digits. Line breaks are skipped.
/// @return the bytes; nothing if the binary is damaged or is not a whole number of bytes.
std::optional<std::vector<char>> decodeBinary(std::string_view encoded);

} // namespace importer::step
