#pragma once

#include "support/TemporaryFolder.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace velmor_tests {

/// One line of the host's table, as it is printed.
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

/// What a run of import_host did.
struct HostRun {
    int exitCode = -1;
    std::string output; ///< Standard output, carriage returns removed.
    std::string error;  ///< Standard error, likewise.

    /// The table of the last import in the output, by class; "total" is its last line.
    std::map<std::string, TableRow> table() const;
};

/// Runs import_host.
/// @param arguments what stands behind the program's name.
/// @param before    shell commands that come first, on Linux only ("ulimit -f 8;").
HostRun runHost(const std::vector<std::string>& arguments, const std::string& before = {});

/// A program of the build, by its name without an ending.
std::filesystem::path program(const std::string& name);

/// A model of examples/models.
std::filesystem::path exampleModel(const std::string& name);

/// Writes a copy of a model with a comment more: other content, with the same meaning and all of it in the same lines.
/// @return the copy.
std::string commented(const std::filesystem::path& model, const std::filesystem::path& copy);

} // namespace velmor_tests
