#include "importer/exchange/Streams.h"

#include "importer/exchange/RecordFields.h"

#include <iterator>
#include <limits>
#include <vector>

namespace importer::exchange {
namespace {

using Velmor::ExternalGUID;
using Velmor::ExternalVersion;
using Velmor::IFC4_MapConversion;
using Velmor::IFC4_MapProjection;
using Velmor::StringOperations;
using Velmor::WideString;

constexpr std::string_view infoMark = "VELMINFO";
constexpr std::uint32_t infoVersion = 3;
constexpr std::string_view stateMark = "VELMSTAT";
constexpr std::uint32_t stateVersion = 3;
constexpr std::size_t blockSize = 65536; // one request to the system; also what a wild length can make a reader allocate
constexpr unsigned identitySize = 96;
constexpr std::size_t globalIdEnd = 30; // where the NUL stands behind the characters of a GlobalId
constexpr unsigned longestVersion = 124;
constexpr unsigned digestSize = 20;

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

ExternalGUID identity(Fields& fields, ExternalGUID::Type_t type, const char* field) {
    const auto stream = fields.bytes(identitySize, field);
    const auto result = ExternalGUID::fromByteStream(identitySize, stream.data());
    if (result.getType() != type && result.getType() != ExternalGUID::Invalid) {
        throw FormatError(std::string("expected ") + field + " of type " + std::to_string(type) + " or 0, found " +
                          std::to_string(result.getType()));
    }
    // A text without an end would be read beyond its record.
    if (result.getType() == ExternalGUID::IFCGlobalID && stream[globalIdEnd] != '\0')
        throw FormatError(std::string("expected ") + field + " with a NUL behind its 22 characters");
    return result;
}

ExternalVersion version(Fields& fields) {
    const auto stream = fields.text("version");
    const auto type = stream.size() < 4 ? std::numeric_limits<std::uint64_t>::max() : numberIn(stream.substr(0, 4));
    constexpr std::size_t sizes[] = {4, 28, longestVersion, 92};
    if (type >= std::size(sizes) || stream.size() != sizes[type]) {
        throw FormatError("expected a version of 4, 28, 124 or 92 bytes of type 0, 1, 2 or 3, found " +
                          std::to_string(stream.size()) + " bytes");
    }
    ExternalVersion result;
    result.fromByteStream(static_cast<unsigned>(stream.size()), stream.data());
    return result;
}

StreamTotals totals(Fields& fields, const char* field) {
    StreamTotals result;
    result.records = fields.u64(field);
    result.bytes = fields.u64(field);
    result.checksum = fields.u64(field);
    return result;
}

// The mark and the format version that the first record of its kind begins with.
void mark(Fields& fields, std::string_view mark, std::uint32_t formatVersion) {
    if (fields.bytes(mark.size(), "mark") != mark)
        throw FormatError("expected the mark \"" + std::string(mark) + "\"");
    const auto version = fields.u32("format version");
    if (version != formatVersion) {
        throw VersionError("expected format version " + std::to_string(formatVersion) + ", found " +
                           std::to_string(version));
    }
}

// Texts of a georeference, in the order of its record.
constexpr const WideString& (IFC4_MapProjection::*projectionTexts[])() const = {
    &IFC4_MapProjection::getName,          &IFC4_MapProjection::getDescription,    &IFC4_MapProjection::getGeodeticDatum,
    &IFC4_MapProjection::getVerticalDatum, &IFC4_MapProjection::getProjectionType, &IFC4_MapProjection::getZone,
    &IFC4_MapProjection::getUnitName};

void appendGeoreference(std::string& out, const IFC4_MapConversion& conversion) {
    const auto& origin = conversion.getSourceOrigin();
    for (const double number : {origin.x, origin.y, origin.z, conversion.getEastings(), conversion.getNorthings(),
                                conversion.getOrthogonalHeight(), conversion.getXAxisAbscissa(),
                                conversion.getXAxisOrdinate(), conversion.getScaleToMapProjection()})
        appendReal(out, number);
    const auto& projection = conversion.getMapProjection();
    for (const auto text : projectionTexts)
        appendText(out, StringOperations::ConvertToUTF8((projection.*text)()));
    appendReal(out, projection.getScaleToMetric());
}

IFC4_MapConversion georeference(Fields& fields) {
    double numbers[9];
    for (auto& number : numbers)
        number = fields.real("map conversion");
    WideString texts[std::size(projectionTexts)];
    for (auto& text : texts) {
        const auto utf8 = fields.text("projected system");
        text = StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(utf8.data()), utf8.size());
    }
    const auto scaleToMetric = fields.real("scale of the projected system");
    return {{numbers[0], numbers[1], numbers[2]},
            numbers[3],
            numbers[4],
            numbers[5],
            numbers[6],
            numbers[7],
            numbers[8],
            {texts[0], texts[1], texts[2], texts[3], texts[4], texts[5], texts[6], scaleToMetric}};
}

void appendDigest(std::string& out, const Velmor::Sha1::Digest& digest) {
    const auto& bytes = digest.asBytes();
    out.append(bytes.begin(), bytes.end());
}

Velmor::Sha1::Digest digest(Fields& fields, const char* field) {
    const auto bytes = fields.bytes(digestSize, field);
    return {std::vector<unsigned char>(bytes.begin(), bytes.end())};
}

std::string lengthPrefix(std::string_view payload) {
    if (payload.size() > std::numeric_limits<std::uint32_t>::max())
        throw WriteError("a record of more than 4 GiB cannot be written");
    std::string prefix;
    append(prefix, payload.size(), 4);
    return prefix;
}

std::uint64_t fnv1a(std::uint64_t hash, std::string_view bytes) {
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    return hash;
}

std::uint64_t checksumOf(std::string_view bytes) {
    return fnv1a(StreamTotals().checksum, bytes);
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
    append(out, infoVersion, 4);
    appendText(out, record.error);
    appendText(out, record.schema);
    appendTotals(out, record.objects);
    appendTotals(out, record.attributes);
    appendTotals(out, record.solids);
    appendTotals(out, record.textures);
    appendTotals(out, record.problems);
    append(out, record.problemsOmitted, 8);
    append(out, record.objectsWithoutClass, 8);
    append(out, record.georeference ? 1 : 0, 4);
    if (record.georeference)
        appendGeoreference(out, *record.georeference);
    return out;
}

std::string encode(const StateHeader& record) {
    std::string out(stateMark);
    append(out, stateVersion, 4);
    append(out, record.origin ? 1 : 0, 4);
    if (record.origin) {
        appendDigest(out, record.origin->model);
        appendDigest(out, record.origin->importer);
    }
    appendTotals(out, record.objects);
    appendTotals(out, record.attributes);
    append(out, checksumOf(out), 8);
    return out;
}

ObjectRecord decodeObject(std::string_view payload) {
    Fields fields(payload);
    ObjectRecord record;
    record.line = fields.u64("line");
    record.instance = fields.u64("instance");
    record.globalId = identity(fields, ExternalGUID::IFCGlobalID, "identity by GlobalId");
    record.spatialHash = identity(fields, ExternalGUID::SpatialHash, "identity by geometry");
    record.version = version(fields);
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
    mark(fields, infoMark, infoVersion);
    InfoRecord record;
    record.error = fields.text("error");
    record.schema = fields.text("schema");
    record.objects = totals(fields, "totals of the objects");
    record.attributes = totals(fields, "totals of the attributes");
    record.solids = totals(fields, "totals of the solids");
    record.textures = totals(fields, "totals of the textures");
    record.problems = totals(fields, "totals of the problems");
    record.problemsOmitted = fields.u64("number of problems omitted");
    record.objectsWithoutClass = fields.u64("number of objects without a class");
    if (fields.flag("presence of a georeference"))
        record.georeference = georeference(fields);
    fields.end();
    return record;
}

StateHeader decodeStateHeader(std::string_view payload) {
    Fields fields(payload);
    mark(fields, stateMark, stateVersion);
    StateHeader record;
    if (fields.flag("presence of digests")) {
        auto model = digest(fields, "digest of the model");
        record.origin = {std::move(model), digest(fields, "digest of the importer")};
    }
    record.objects = totals(fields, "totals of the objects");
    record.attributes = totals(fields, "totals of the attributes");
    const auto checksum = fields.u64("checksum of the header");
    fields.end();
    // Nothing else would tell a damaged digest from that of another model.
    const auto expected = checksumOf(payload.substr(0, payload.size() - 8));
    if (checksum != expected) {
        throw FormatError("expected the checksum " + std::to_string(expected) + " of the header, found " +
                          std::to_string(checksum));
    }
    return record;
}

RecordWriter::RecordWriter(Velmor::FileStream& stream, std::string name) : stream_(stream), name_(std::move(name)) {}

void RecordWriter::write(std::string_view payload) {
    block_ += lengthPrefix(payload);
    block_ += payload;
    totals_.add(payload);
    if (block_.size() >= blockSize)
        flush();
}

void RecordWriter::flush() {
    // A success may still have written less than asked for (a disk that has just become full): the totals, which are read
    // back or compared by the other side, bring that to light.
    if (!block_.empty() && !stream_.write(block_.size(), block_.data()))
        throw WriteError(name_ + " cannot be written; is the disk full?");
    block_.clear();
}

void ProblemWriter::write(const ProblemRecord& problem) {
    if (totals().records < maxLoggedProblems)
        writer_.write(encode(problem));
    else
        ++untold_;
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
    const auto atHand = [this] { return block_.size() - position_; };
    if (atHand() < 4 && !fill(4)) {
        if (atHand() == 0)
            return false;
        throw FormatError(where() + "expected a record, found the end of the file");
    }
    const auto length = static_cast<std::size_t>(numberIn(std::string_view(block_).substr(position_, 4)));
    if (atHand() < 4 + length && !fill(4 + length))
        throw FormatError(where() + "expected a record of " + std::to_string(length) + " bytes, found the end of the file");
    payload.assign(block_, position_ + 4, length);
    position_ += 4 + length;
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
    if (totals != expected) {
        throw FormatError(reader.where() + "expected the checksum " + std::to_string(expected.checksum) + " of " +
                          std::to_string(expected.bytes) + " bytes, found " + std::to_string(totals.checksum) + " of " +
                          std::to_string(totals.bytes));
    }
}

void readObjects(RecordReader& reader, const StreamTotals& expected, const std::function<void(ObjectRecord&&)>& sink) {
    readRecords(reader, expected, "an object", [&sink](std::string_view payload) { sink(decodeObject(payload)); });
}

void requireEnd(RecordReader& reader) {
    const auto records = reader.totals().records;
    std::string payload;
    if (reader.next(payload))
        throw FormatError(reader.where() + "expected the end of the file behind " + std::to_string(records) + " records");
}

} // namespace importer::exchange
