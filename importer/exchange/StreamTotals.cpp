#include "importer/exchange/StreamTotals.h"

#include "importer/exchange/RecordFields.h"

#include <limits>

// FNV-1a with 64 bits: start with the offset basis 0xCBF29CE484222325; for each byte, exclusive or, then multiply by the FNV
// prime 0x100000001B3. The checksum of a stream is updated record by record; the length prefixes are part of it, so moving a
// byte from one record to the next changes the checksum. It detects damage, not manipulation.

namespace importer::exchange {

namespace {

std::uint64_t fnv1a(std::uint64_t hash, std::string_view bytes) {
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    return hash;
}

} // namespace

void StreamTotals::add(std::string_view payload) {
    ++records;
    bytes += 4 + payload.size();
    checksum = fnv1a(fnv1a(checksum, lengthPrefix(payload)), payload);
}

std::string lengthPrefix(std::string_view payload) {
    if (payload.size() > std::numeric_limits<std::uint32_t>::max())
        throw WriteError("a record of more than 4 GiB cannot be written");
    std::string prefix;
    append(prefix, payload.size(), 4);
    return prefix;
}

std::uint64_t checksumOf(std::string_view bytes) {
    return fnv1a(StreamTotals().checksum, bytes);
}

void appendTotals(std::string& out, const StreamTotals& totals) {
    append(out, totals.records, 8);
    append(out, totals.bytes, 8);
    append(out, totals.checksum, 8);
}

StreamTotals takeTotals(Fields& fields, const char* field) {
    StreamTotals result;
    result.records = fields.u64(field);
    result.bytes = fields.u64(field);
    result.checksum = fields.u64(field);
    return result;
}

} // namespace importer::exchange
