#pragma once

// Writing and reading sequences of records: the streams between importer and host, and the state file of the host.
// docs/importer/streams.md describes the bytes.

#include <Velmor/Platform.h>

#include "importer/exchange/Errors.h"
#include "importer/exchange/StreamTotals.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace importer::exchange {

/// Writes records to a stream, in blocks.
class RecordWriter {
public:
    /// @param stream not owned; must outlive the writer. Writing starts at its file position.
    /// @param name   name of the stream in messages.
    RecordWriter(Velmor::FileStream& stream, std::string name);

    /// Appends one record.
    /// @throws WriteError
    void write(std::string_view payload);

    /// Writes the bytes that are still buffered. The destructor does not; it discards them.
    /// @throws WriteError
    void flush();

    /// The records passed to `write` so far.
    const StreamTotals& totals() const { return totals_; }

private:
    Velmor::FileStream& stream_;
    std::string name_;
    std::string block_; // not yet written
    StreamTotals totals_;
};

/// Reads records from a stream, in blocks. Starts at the beginning of the stream.
class RecordReader {
public:
    /// @param stream not owned; must outlive the reader.
    /// @param name   name of the stream in messages.
    RecordReader(Velmor::FileStream& stream, std::string name);

    /// Reads the next record.
    /// @return false at the end of the stream.
    /// @throws FormatError when the stream cannot be read or ends within the record.
    bool next(std::string& payload);

    /// Reads the next record, which must exist.
    /// @param expected description of the record in the message.
    /// @throws FormatError also at the end of the stream.
    void require(std::string& payload, const char* expected);

    /// The records read so far.
    const StreamTotals& totals() const { return totals_; }

    /// Prefix for a message about the record that was read last: "name: byte 123: ".
    std::string where() const;

private:
    bool fill(std::size_t wanted);

    Velmor::FileStream& stream_;
    std::string name_;
    std::string block_;             // read from the stream
    std::size_t position_ = 0;      // in block_: the first byte that no record has used
    std::uint64_t recordBegin_ = 0; // in the stream: start of the record that was read last
    StreamTotals totals_;
};

/// Reads the number of records that the writer counted.
/// @param expected the totals of the writer.
/// @param what     one record in messages: "an object".
/// @param sink     receives the bytes of each record, before the totals are compared.
/// @throws FormatError when the stream is damaged, when its totals differ, or when the sink throws it. A message of the sink
/// is completed with the position.
void readRecords(RecordReader& reader, const StreamTotals& expected, const char* what,
                 const std::function<void(std::string_view)>& sink);

/// @throws FormatError unless the stream is at its end.
void requireEnd(RecordReader& reader);

} // namespace importer::exchange
