#include "Streams.h"

#include <iterator>
#include <limits>
#include <vector>

namespace importer {
namespace {

using Velmor::ExternalGUID;
using Velmor::ExternalVersion;

constexpr std::uint32_t formatVersion = 1;
constexpr std::string_view infoMark = "VELMINFO";
constexpr std::string_view stateMark = "VELMSTAT";
constexpr std::size_t blockSize = 65536; // one request to the system; also what a wild length can make a reader allocate
constexpr unsigned identitySize = 96;
constexpr unsigned longestVersion = 124;

void append(std::string& out, std::uint64_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i) {
        out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    }
}

void appendText(std::string& out, std::string_view text) {
    append(out, text.size(), 4);
    out += text;
}

void appendIdentity(std::string& out, const ExternalGUID& identity) {
    unsigned size = 0;
    const char* const bytes = identity.getBytes(&size);
    out.append(bytes, size);
}

void appendTotals(std::string& out, const StreamTotals& totals) {
    append(out, totals.records, 8);
    append(out, totals.bytes, 8);
    append(out, totals.checksum, 8);
}

std::uint64_t number(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

// Takes the fields of a record one after another.
class Fields {
public:
    explicit Fields(std::string_view payload) : rest_(payload) {}

    std::string_view bytes(std::uint64_t size, const char* field) {
        if (size > rest_.size()) {
            throw FormatError("expected " + std::to_string(size) + " bytes of " + field + ", found " +
                              std::to_string(rest_.size()));
        }
        const auto result = rest_.substr(0, static_cast<std::size_t>(size));
        rest_.remove_prefix(static_cast<std::size_t>(size));
        return result;
    }

    std::uint32_t u32(const char* field) { return static_cast<std::uint32_t>(number(bytes(4, field))); }

    std::uint64_t u64(const char* field) { return number(bytes(8, field)); }

    std::string_view text(const char* field) { return bytes(u32(field), field); }

    ExternalGUID identity(ExternalGUID::Type_t type, const char* field) {
        const auto stream = bytes(identitySize, field);
        const auto result = ExternalGUID::fromByteStream(identitySize, stream.data());
        if (result.getType() != type && result.getType() != ExternalGUID::Invalid) {
            throw FormatError(std::string("expected ") + field + " of type " + std::to_string(type) + " or 0, found " +
                              std::to_string(result.getType()));
        }
        return result;
    }

    ExternalVersion version() {
        const auto stream = text("version");
        const auto type = stream.size() < 4 ? std::numeric_limits<std::uint64_t>::max() : number(stream.substr(0, 4));
        constexpr std::size_t sizes[] = {4, 28, longestVersion, 92};
        if (type >= std::size(sizes) || stream.size() != sizes[type]) {
            throw FormatError("expected a version of 4, 28, 124 or 92 bytes of type 0, 1, 2 or 3, found " +
                              std::to_string(stream.size()) + " bytes");
        }
        ExternalVersion result;
        result.fromByteStream(static_cast<unsigned>(stream.size()), stream.data());
        return result;
    }

    StreamTotals totals(const char* field) {
        StreamTotals result;
        result.records = u64(field);
        result.bytes = u64(field);
        result.checksum = u64(field);
        return result;
    }

    // The mark and the format version that the first record of its kind begins with.
    void mark(std::string_view mark) {
        if (bytes(mark.size(), "mark") != mark) {
            throw FormatError("expected the mark \"" + std::string(mark) + "\"");
        }
        const auto version = u32("format version");
        if (version != formatVersion) {
            throw FormatError("expected format version " + std::to_string(formatVersion) + ", found " +
                              std::to_string(version));
        }
    }

    void end() const {
        if (!rest_.empty()) {
            throw FormatError("expected the end of the record, found " + std::to_string(rest_.size()) + " more bytes");
        }
    }

private:
    std::string_view rest_;
};

std::string lengthPrefix(std::string_view payload) {
    if (payload.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw WriteError("a record of more than 4 GiB cannot be written");
    }
    std::string prefix;
    append(prefix, payload.size(), 4);
    return prefix;
}

std::uint64_t fnv1a(std::uint64_t hash, std::string_view bytes) {
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    }
    return hash;
}

} // namespace

ExternalGUID noIdentity() {
    return ExternalGUID::fromByteStream(0, nullptr);
}

void StreamTotals::add(std::string_view payload) {
    ++records;
    bytes += 4 + payload.size();
    checksum = fnv1a(fnv1a(checksum, lengthPrefix(payload)), payload);
}

std::string encode(const ObjectRecord& record) {
    std::string out;
    append(out, record.line, 8);
    append(out, record.instance, 8);
    appendIdentity(out, record.globalId);
    appendIdentity(out, record.spatialHash);
    char version[longestVersion];
    appendText(out, std::string_view(version, record.version.toByteStream(sizeof version, version)));
    appendText(out, record.className);
    appendText(out, record.name);
    return out;
}

std::string encode(const ProblemRecord& record) {
    std::string out;
    append(out, record.line, 8);
    append(out, record.instance, 8);
    appendText(out, record.reason);
    return out;
}

std::string encode(const InfoRecord& record) {
    std::string out(infoMark);
    append(out, formatVersion, 4);
    appendText(out, record.error);
    appendText(out, record.schema);
    appendTotals(out, record.objects);
    appendTotals(out, record.problems);
    append(out, record.problemsUntold, 8);
    return out;
}

std::string encode(const StateHeader& record) {
    std::string out(stateMark);
    append(out, formatVersion, 4);
    appendTotals(out, record.objects);
    return out;
}

ObjectRecord decodeObject(std::string_view payload) {
    Fields fields(payload);
    ObjectRecord record;
    record.line = fields.u64("line");
    record.instance = fields.u64("instance");
    record.globalId = fields.identity(ExternalGUID::IFCGlobalID, "identity by GlobalId");
    record.spatialHash = fields.identity(ExternalGUID::SpatialHash, "identity by geometry");
    record.version = fields.version();
    record.className = fields.text("class name");
    record.name = fields.text("name");
    fields.end();
    return record;
}

ProblemRecord decodeProblem(std::string_view payload) {
    Fields fields(payload);
    ProblemRecord record;
    record.line = fields.u64("line");
    record.instance = fields.u64("instance");
    record.reason = fields.text("reason");
    fields.end();
    return record;
}

InfoRecord decodeInfo(std::string_view payload) {
    Fields fields(payload);
    fields.mark(infoMark);
    InfoRecord record;
    record.error = fields.text("error");
    record.schema = fields.text("schema");
    record.objects = fields.totals("totals of the objects");
    record.problems = fields.totals("totals of the problems");
    record.problemsUntold = fields.u64("number of problems untold");
    fields.end();
    return record;
}

StateHeader decodeStateHeader(std::string_view payload) {
    Fields fields(payload);
    fields.mark(stateMark);
    StateHeader record;
    record.objects = fields.totals("totals of the objects");
    fields.end();
    return record;
}

RecordWriter::RecordWriter(Velmor::FileStream& stream, std::string name) : stream_(stream), name_(std::move(name)) {}

void RecordWriter::write(std::string_view payload) {
    block_ += lengthPrefix(payload);
    block_ += payload;
    totals_.add(payload);
    if (block_.size() >= blockSize) {
        flush();
    }
}

void RecordWriter::flush() {
    // A success may still have written less than asked for (a disk that has just become full): the totals, which are read
    // back or compared by the other side, bring that to light.
    if (!block_.empty() && !stream_.write(block_.size(), block_.data())) {
        throw WriteError(name_ + " cannot be written; is the disk full?");
    }
    block_.clear();
}

void ProblemWriter::write(const ProblemRecord& problem) {
    if (totals().records < problemsHandedOver) {
        writer_.write(encode(problem));
    } else {
        ++untold_;
    }
}

RecordReader::RecordReader(Velmor::FileStream& stream, std::string name) : stream_(stream), name_(std::move(name)) {
    stream_.seekToBegin();
}

// Sees to it that `wanted` bytes are at hand; false when the stream ends before. The block grows by what is really there,
// whatever is wanted.
bool RecordReader::fill(std::size_t wanted) {
    block_.erase(0, position_);
    position_ = 0;
    std::vector<char> chunk;
    while (block_.size() < wanted) {
        if (!stream_.read(blockSize, chunk)) {
            throw FormatError(name_ + " cannot be read");
        }
        if (chunk.empty()) {
            return false;
        }
        block_.append(chunk.data(), chunk.size());
    }
    return true;
}

bool RecordReader::next(std::string& payload) {
    recordBegin_ = totals_.bytes;
    const auto atHand = [this] { return block_.size() - position_; };
    if (atHand() < 4 && !fill(4)) {
        if (atHand() == 0) {
            return false;
        }
        throw FormatError(where() + "expected a record, found the end of the file");
    }
    const auto length = static_cast<std::size_t>(number(std::string_view(block_).substr(position_, 4)));
    if (atHand() < 4 + length && !fill(4 + length)) {
        throw FormatError(where() + "expected a record of " + std::to_string(length) + " bytes, found the end of the file");
    }
    payload.assign(block_, position_ + 4, length);
    position_ += 4 + length;
    totals_.add(payload);
    return true;
}

void RecordReader::require(std::string& payload, const char* expected) {
    if (!next(payload)) {
        throw FormatError(where() + "expected " + expected + ", found the end of the file");
    }
}

std::string RecordReader::where() const {
    return name_ + ": byte " + std::to_string(recordBegin_) + ": ";
}

void readObjects(RecordReader& reader, const StreamTotals& expected, const std::function<void(ObjectRecord&&)>& sink) {
    StreamTotals totals;
    std::string payload;
    while (totals.records < expected.records) {
        reader.require(payload, "an object");
        totals.add(payload);
        try {
            sink(decodeObject(payload));
        } catch (const FormatError& error) {
            throw FormatError(reader.where() + error.what());
        }
    }
    if (reader.next(payload)) {
        throw FormatError(reader.where() + "expected the end of the file behind " + std::to_string(expected.records) +
                          " objects");
    }
    if (totals != expected) {
        throw FormatError(reader.where() + "expected the checksum " + std::to_string(expected.checksum) + " of " +
                          std::to_string(expected.bytes) + " bytes, found " + std::to_string(totals.checksum) + " of " +
                          std::to_string(totals.bytes));
    }
}

} // namespace importer
