#include "importer/exchange/Streams.h"

#include "importer/exchange/RecordFields.h"

#include <utility>
#include <vector>

// A stream is a sequence of records: length (4 bytes, little-endian) and payload. Writer and reader buffer one block, so
// that a small record does not need a system call of its own. Both compute totals: number of records, number of bytes, and
// checksum (StreamTotals). The reader compares its totals with those of the writer, which are in the info record or in the
// header of the state file.
//
// The length of a record is not trusted: the reader requests one block at a time and stores only the bytes it received.

namespace importer::exchange {

namespace {

constexpr std::size_t blockSize = 65536; // bytes per system call
constexpr std::size_t prefixSize = 4;

} // namespace

RecordWriter::RecordWriter(Velmor::FileStream& stream, std::string name) : stream_(stream), name_(std::move(name)) {}

void RecordWriter::write(std::string_view payload) {
    block_ += lengthPrefix(payload);
    block_ += payload;
    totals_.add(payload);
    if (block_.size() >= blockSize)
        flush();
}

void RecordWriter::flush() {
    // A write that reports success may still be short when the disk has become full. The totals reveal that.
    if (!block_.empty() && !stream_.write(block_.size(), block_.data()))
        throw WriteError(name_ + " cannot be written; check that the disk is not full");
    block_.clear();
}

RecordReader::RecordReader(Velmor::FileStream& stream, std::string name) : stream_(stream), name_(std::move(name)) {
    stream_.seekToBegin();
}

// Reads until `wanted` bytes are in the block from position 0 on. Returns false when the stream ends before.
bool RecordReader::fill(std::size_t wanted) {
    block_.erase(0, position_);
    position_ = 0;
    std::vector<char> chunk;
    while (block_.size() < wanted) {
        if (!stream_.read(blockSize, chunk))
            throw FormatError(name_ + " cannot be read");
        if (chunk.empty())
            return false;
        block_.append(chunk.data(), chunk.size());
    }
    return true;
}

bool RecordReader::next(std::string& payload) {
    recordBegin_ = totals_.bytes;
    const auto available = [this] { return block_.size() - position_; };
    if (available() < prefixSize && !fill(prefixSize)) {
        if (available() == 0)
            return false;
        throw FormatError(where() + "expected a record, found the end of the file");
    }
    const auto length = static_cast<std::size_t>(numberIn(std::string_view(block_).substr(position_, prefixSize)));
    if (available() < prefixSize + length && !fill(prefixSize + length))
        throw FormatError(where() + "expected a record of " + std::to_string(length) + " bytes, found the end of the file");
    payload.assign(block_, position_ + prefixSize, length);
    position_ += prefixSize + length;
    totals_.add(payload);
    return true;
}

void RecordReader::require(std::string& payload, const char* expected) {
    if (!next(payload))
        throw FormatError(where() + "expected " + expected + ", found the end of the file");
}

std::string RecordReader::where() const {
    return name_ + ": byte " + std::to_string(recordBegin_) + ": ";
}

void readRecords(RecordReader& reader, const StreamTotals& expected, const char* what,
                 const std::function<void(std::string_view)>& sink) {
    StreamTotals totals;
    std::string payload;
    while (totals.records < expected.records) {
        reader.require(payload, what);
        totals.add(payload);
        try {
            sink(payload);
        } catch (const FormatError& error) {
            throw FormatError(reader.where() + error.what());
        }
    }
    if (totals != expected)
        throw FormatError(reader.where() + "expected the checksum " + std::to_string(expected.checksum) + " of " +
                          std::to_string(expected.bytes) + " bytes, found " + std::to_string(totals.checksum) + " of " +
                          std::to_string(totals.bytes));
}

void requireEnd(RecordReader& reader) {
    const std::uint64_t records = reader.totals().records;
    std::string payload;
    if (reader.next(payload))
        throw FormatError(reader.where() + "expected the end of the file after " + std::to_string(records) +
                          (records == 1 ? " record" : " records") + ", found more");
}

} // namespace importer::exchange
