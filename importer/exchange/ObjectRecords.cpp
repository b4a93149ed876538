#include "importer/exchange/ObjectRecords.h"

#include "importer/exchange/RecordFields.h"

#include <iterator>
#include <limits>

namespace importer::exchange {

namespace {

using Velmor::ExternalGUID;
using Velmor::ExternalVersion;

constexpr unsigned identitySize = 96;
constexpr std::size_t globalIdEnd = 30;                  // offset of the NUL that ends the GlobalId
constexpr std::size_t versionSizes[] = {4, 28, 124, 92}; // by type
constexpr unsigned maxVersionSize = 124;

void appendIdentity(std::string& out, const ExternalGUID& identity) {
    unsigned size = 0;
    const char* const bytes = identity.getBytes(&size);
    out.append(bytes, size);
}

// An identity of a type, or of type Invalid.
ExternalGUID takeIdentity(Fields& fields, ExternalGUID::Type_t type, const char* field) {
    const std::string_view stream = fields.bytes(identitySize, field);
    const ExternalGUID result = ExternalGUID::fromByteStream(identitySize, stream.data());
    if (result.getType() != type && result.getType() != ExternalGUID::Invalid)
        throw FormatError(std::string("expected ") + field + " of type " + std::to_string(type) + " or 0, found " +
                          std::to_string(result.getType()));
    // getIFCGlobalID returns a C string: without the NUL, a caller would read outside the identity.
    if (result.getType() == ExternalGUID::IFCGlobalID && stream[globalIdEnd] != '\0')
        throw FormatError(std::string("expected ") + field + " with a NUL after its 22 characters, found another byte");
    return result;
}

ExternalVersion takeVersion(Fields& fields) {
    const std::string_view stream = fields.text("version");
    const std::uint64_t type = stream.size() < 4 ? std::numeric_limits<std::uint64_t>::max() : numberIn(stream.substr(0, 4));
    if (type >= std::size(versionSizes) || stream.size() != versionSizes[type])
        throw FormatError("expected a version of 4, 28, 124 or 92 bytes of type 0, 1, 2 or 3, found " +
                          std::to_string(stream.size()) + " bytes");
    ExternalVersion result;
    result.fromByteStream(static_cast<unsigned>(stream.size()), stream.data());
    return result;
}

} // namespace

ExternalGUID noIdentity() {
    return ExternalGUID::fromByteStream(0, nullptr);
}

std::string encode(const ObjectRecord& record) {
    std::string out;
    append(out, record.line, 8);
    append(out, record.instance, 8);
    appendIdentity(out, record.globalId);
    appendIdentity(out, record.spatialHash);
    char version[maxVersionSize];
    appendText(out, std::string_view(version, record.version.toByteStream(sizeof version, version)));
    appendText(out, record.className);
    appendText(out, record.name);
    return out;
}

ObjectRecord decodeObject(std::string_view payload) {
    Fields fields(payload);
    ObjectRecord record;
    record.line = fields.u64("line");
    record.instance = fields.u64("instance");
    record.globalId = takeIdentity(fields, ExternalGUID::IFCGlobalID, "identity by GlobalId");
    record.spatialHash = takeIdentity(fields, ExternalGUID::SpatialHash, "identity by geometry");
    record.version = takeVersion(fields);
    record.className = fields.text("class name");
    record.name = fields.text("name");
    fields.end();
    return record;
}

void readObjects(RecordReader& reader, const StreamTotals& expected, const std::function<void(ObjectRecord&&)>& sink) {
    readRecords(reader, expected, "an object", [&sink](std::string_view payload) { sink(decodeObject(payload)); });
}

} // namespace importer::exchange
