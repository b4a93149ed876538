#pragma once

// The encoding of texts in the exchange structure (ISO 10303-21).

#include <Velmor/WideText.h>

#include <string_view>

namespace importer {

/// Decodes what stands between the apostrophes of a text: doubled apostrophes and backslashes, \X2\..\X0\, \X4\..\X0\,
/// \X\hh, \S\c in the code page that \P?\ chose. Line breaks, and the directives \N\ and \F\, are nothing. Bytes above 0x7F,
/// which the standard does not allow but files have, are taken as UTF-8 where they are, else as ISO 8859-1. What is no valid
/// directive stays as it stands.
Velmor::WideString decodeText(std::string_view encoded);

} // namespace importer
