#include "importer/exchange/StateRecords.h"

#include "importer/exchange/RecordFields.h"

#include <utility>
#include <vector>

namespace importer::exchange {

namespace {

using Velmor::Sha1;

constexpr std::string_view stateMark = "VELMSTAT";
constexpr std::uint32_t stateVersion = 3;
constexpr unsigned digestSize = 20;
constexpr std::size_t checksumSize = 8;

void appendDigest(std::string& out, const Sha1::Digest& digest) {
    const auto& bytes = digest.asBytes();
    out.append(bytes.begin(), bytes.end());
}

Sha1::Digest takeDigest(Fields& fields, const char* field) {
    const std::string_view bytes = fields.bytes(digestSize, field);
    return {std::vector<unsigned char>(bytes.begin(), bytes.end())};
}

} // namespace

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
    append(out, checksumOf(out), checksumSize);
    return out;
}

StateHeader decodeStateHeader(std::string_view payload) {
    Fields fields(payload);
    fields.mark(stateMark, stateVersion);
    StateHeader record;
    if (fields.flag("presence of digests")) {
        Sha1::Digest model = takeDigest(fields, "digest of the model");
        record.origin = {std::move(model), takeDigest(fields, "digest of the importer")};
    }
    record.objects = takeTotals(fields, "totals of the objects");
    record.attributes = takeTotals(fields, "totals of the attributes");
    const std::uint64_t checksum = fields.u64("checksum of the header");
    fields.end();
    // Without a checksum, a damaged digest would look like the digest of another model.
    const std::uint64_t expected = checksumOf(payload.substr(0, payload.size() - checksumSize));
    if (checksum != expected)
        throw FormatError("expected the checksum " + std::to_string(expected) + " of the header, found " +
                          std::to_string(checksum));
    return record;
}

} // namespace importer::exchange
