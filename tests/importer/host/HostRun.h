#pragma once

#include "support/TemporaryFolder.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace velmor_tests {

/// One line of the table in a report.
struct TableRow {
    unsigned long long objects = 0;
    unsigned long long added = 0;
    unsigned long long unchanged = 0;
    unsigned long long modified = 0;
    std::string lowestSimilarity;
    unsigned long long gone = 0;

    bool operator==(const TableRow&) const = default;
};

void PrintTo(const TableRow& row, std::ostream* stream);

/// The result of one run of import_host.
struct HostRun {
    int exitCode = -1;  ///< -1 if a signal ended the program.
    std::string output; ///< Standard output, carriage returns removed.
    std::string error;  ///< Standard error, carriage returns removed.

    /// The table of the last import in the output, by class; the key of its last line is "total".
    std::map<std::string, TableRow> table() const;
};

/// Runs import_host.
/// @param arguments without the name of the program.
/// @param shell     on Linux, shell commands in front of the program ("ulimit -f 8;"); ignored on Windows.
HostRun runHost(const std::vector<std::string>& arguments, const std::string& shell = {});

/// For runHost: resets the signal handlers of the host. The process that runs the tests may ignore these signals.
inline constexpr const char* defaultSignals = "exec env --default-signal=HUP,INT,TERM";

/// For runHost: the standard output of the host goes to a full disk.
inline constexpr const char* outputToFullDisk = "toFullDisk() { \"$@\" >/dev/full; }; toFullDisk";

/// A program of the build.
/// @param name without extension.
std::filesystem::path program(const std::string& name);

/// A model of examples/models.
std::filesystem::path exampleModel(const std::string& name);

/// Copies a model and appends a comment: the content differs, the objects and their lines are the same. `copy` may be
/// `model`.
/// @return the path of the copy.
std::string copyWithComment(const std::filesystem::path& model, const std::filesystem::path& copy);

} // namespace velmor_tests
