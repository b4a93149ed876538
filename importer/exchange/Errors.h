#pragma once

// Failures of the exchange between importer and host.

#include <stdexcept>

namespace importer::exchange {

/// A record or a stream is damaged. The message says what was expected and what was found, and where if that is known.
class FormatError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A record has another version of its format.
class VersionError : public FormatError {
public:
    using FormatError::FormatError;
};

/// A stream cannot be written, or a record is too large for its format.
class WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace importer::exchange
