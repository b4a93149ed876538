#pragma once

#include <stdexcept>

namespace importer::host {

/// A model cannot be imported. The message gives the reason.
class ImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The command line is invalid. The message gives the reason.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The state cannot be read or written. The message names the file and the reason.
class StateError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace importer::host
