#pragma once

// The log stream: problems of single objects.

#include "importer/exchange/Streams.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace importer::exchange {

/// A problem of one object.
struct ProblemRecord {
    std::uint64_t line = 0;     ///< Line in the model, from 1.
    std::uint64_t instance = 0; ///< Number of the instance; 0 if it has none.
    std::string reason;         ///< UTF-8.
};

/// The bytes of a record, without its length prefix.
std::string encode(const ProblemRecord& record);

/// The record in the bytes, which must be exactly one record.
/// @throws FormatError
ProblemRecord decodeProblem(std::string_view payload);

/// Maximum number of problems in the log stream of one import.
inline constexpr std::uint64_t maxLoggedProblems = 10000;

/// Writes the first `maxLoggedProblems` problems to a stream and counts the rest.
class ProblemWriter {
public:
    /// @param stream not owned; must outlive the writer.
    /// @param name   name of the stream in messages.
    ProblemWriter(Velmor::FileStream& stream, std::string name) : writer_(stream, std::move(name)) {}

    /// Appends one problem or counts it.
    /// @throws WriteError
    void write(const ProblemRecord& problem);

    /// As RecordWriter::flush.
    void flush() { writer_.flush(); }

    /// The problems written so far.
    const StreamTotals& totals() const { return writer_.totals(); }

    /// Number of problems that were counted and not written.
    std::uint64_t omitted() const { return omitted_; }

private:
    RecordWriter writer_;
    std::uint64_t omitted_ = 0;
};

} // namespace importer::exchange
