#pragma once

// What importer and host say to each other over the streams, and what the host keeps in its state file: length-prefixed
// records, little-endian, checked against their bounds when they are read. docs/formats.md draws them.

#include <Velmor/Velmor.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace importer::exchange {

/// A record or a stream is not what it should be: the message tells where, what was expected and what was found.
class FormatError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A record is of another version of this format.
class VersionError : public FormatError {
public:
    using FormatError::FormatError;
};

/// A stream cannot be written.
class WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An identity of type `Invalid` whose 96 bytes are all defined, unlike those of a default-constructed one.
Velmor::ExternalGUID noIdentity();

/// One object of the model, as the importer hands it over and the host keeps it.
struct ObjectRecord {
    std::uint64_t line = 0;                          ///< Line in the model, from 1.
    std::uint64_t instance = 0;                      ///< Number of its instance.
    Velmor::ExternalGUID globalId = noIdentity();    ///< By GlobalId; type `Invalid` when it has no usable one.
    Velmor::ExternalGUID spatialHash = noIdentity(); ///< By geometry; type `Invalid` when it has no vertices.
    Velmor::ExternalVersion version;                 ///< Geometric fingerprint; type `Invalid` when it has no vertices.
    std::string className;                           ///< "IFCBEAM".
    std::string name;                                ///< UTF-8, as the library encodes it.
    std::vector<std::uint32_t> propertySets;         ///< By their numbers. Not in the record itself: see PropertyRecords.h.
};

/// What spoiled one object.
struct ProblemRecord {
    std::uint64_t line = 0;     ///< Line in the model, from 1.
    std::uint64_t instance = 0; ///< Number of the instance.
    std::string reason;         ///< UTF-8.
};

/// Size and content of a stream, in short: both sides count, and both must come to the same result.
struct StreamTotals {
    std::uint64_t records = 0;
    std::uint64_t bytes = 0;                      ///< Of all records with their length prefixes.
    std::uint64_t checksum = 0xCBF29CE484222325u; ///< FNV-1a of the same bytes.

    /// Takes in one record without its length prefix.
    void add(std::string_view payload);

    bool operator==(const StreamTotals&) const = default;
};

/// How the import went: the last thing an importer writes, to the info stream. Without it the hand-over is incomplete.
struct InfoRecord {
    std::string error;                     ///< What made the import meaningless, UTF-8; empty when it is complete.
    std::string schema;                    ///< "IFC4".
    StreamTotals objects;                  ///< Of the objects stream.
    StreamTotals attributes;               ///< Of the attributes stream.
    StreamTotals solids;                   ///< Of the solids stream.
    StreamTotals textures;                 ///< Of the textures stream.
    StreamTotals problems;                 ///< Of the log stream.
    std::uint64_t problemsOmitted = 0;     ///< That were found beside those in the log stream.
    std::uint64_t objectsWithoutClass = 0; ///< Whose entities the class tables do not have.
    std::optional<Velmor::IFC4_MapConversion> georeference;
};

/// What an import was made of: equal ones give equal results.
struct Origin {
    Velmor::Sha1::Digest model;    ///< Of the model's content.
    Velmor::Sha1::Digest importer; ///< Of the program that read it.

    bool operator==(const Origin&) const = default;
};

/// First record of a state file.
struct StateHeader {
    std::optional<Origin> origin; ///< None when it is not known.
    StreamTotals objects;         ///< Of the object records behind the header.
    StreamTotals attributes;      ///< Of the property sets and assignments behind those.
};

/// The bytes of a record, without its length prefix.
std::string encode(const ObjectRecord& record);
std::string encode(const ProblemRecord& record);
std::string encode(const InfoRecord& record);
std::string encode(const StateHeader& record);

/// The record that the bytes hold. They must be exactly one record; nothing is read beyond them.
/// @throws FormatError
ObjectRecord decodeObject(std::string_view payload);
ProblemRecord decodeProblem(std::string_view payload);
InfoRecord decodeInfo(std::string_view payload);
StateHeader decodeStateHeader(std::string_view payload);

/// Writes records to a stream, in blocks.
class RecordWriter {
public:
    /// @param stream not owned, outlives the writer; what is written begins at its file position.
    /// @param name   what the stream is called in messages.
    RecordWriter(Velmor::FileStream& stream, std::string name);

    /// Appends one record.
    /// @throws WriteError
    void write(std::string_view payload);

    /// Hands the rest to the system. A writer that is destroyed without it loses the rest.
    /// @throws WriteError
    void flush();

    /// What was written so far.
    const StreamTotals& totals() const { return totals_; }

private:
    Velmor::FileStream& stream_;
    std::string name_;
    std::string block_;
    StreamTotals totals_;
};

/// How many problems of one import go into the log stream.
inline constexpr std::uint64_t maxLoggedProblems = 10000;

/// Writes problems to a stream, the first `maxLoggedProblems` of them, and counts the rest.
class ProblemWriter {
public:
    /// @param stream not owned, outlives the writer.
    /// @param name   what the stream is called in messages.
    ProblemWriter(Velmor::FileStream& stream, std::string name) : writer_(stream, std::move(name)) {}

    /// Appends one problem, or counts it.
    /// @throws WriteError
    void write(const ProblemRecord& problem);

    /// Hands the rest to the system, as that of a RecordWriter.
    void flush() { writer_.flush(); }

    /// What was written so far.
    const StreamTotals& totals() const { return writer_.totals(); }

    /// How many were only counted.
    std::uint64_t omitted() const { return untold_; }

private:
    RecordWriter writer_;
    std::uint64_t untold_ = 0;
};

/// Reads records from a stream, in blocks, from its beginning.
class RecordReader {
public:
    /// @param stream not owned, outlives the reader.
    /// @param name   what the stream is called in messages.
    RecordReader(Velmor::FileStream& stream, std::string name);

    /// Reads the next record.
    /// @return false at the end of the stream.
    /// @throws FormatError for a record that the end of the stream cuts off.
    bool next(std::string& payload);

    /// Reads the next record, which must be there.
    /// @param expected what it is, for the message.
    /// @throws FormatError
    void require(std::string& payload, const char* expected);

    /// What was read so far.
    const StreamTotals& totals() const { return totals_; }

    /// Where the record that was read last begins: "name: byte 123: ", for messages about it.
    std::string where() const;

private:
    bool fill(std::size_t wanted);

    Velmor::FileStream& stream_;
    std::string name_;
    std::string block_; // read, and from position_ on not yet handed out
    std::size_t position_ = 0;
    std::uint64_t recordBegin_ = 0;
    StreamTotals totals_;
};

/// Reads as many records as the writer counted.
/// @param expected what the writer counted of them.
/// @param what     one of them, for messages: "an object".
/// @param sink     gets the bytes of each, before the totals are compared.
/// @throws FormatError when the stream is damaged or does not come to the same totals, or when the sink does.
void readRecords(RecordReader& reader, const StreamTotals& expected, const char* what,
                 const std::function<void(std::string_view)>& sink);

/// Reads as many objects as the writer counted, as readRecords.
void readObjects(RecordReader& reader, const StreamTotals& expected, const std::function<void(ObjectRecord&&)>& sink);

/// @throws FormatError when the stream goes on.
void requireEnd(RecordReader& reader);

} // namespace importer::exchange
