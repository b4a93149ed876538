#pragma once

// Number, size and checksum of the records of a stream.

#include <cstdint>
#include <string>
#include <string_view>

namespace importer::exchange {

class Fields;

/// What writer and reader of a stream compute from its records. Both must get the same result: a write may be
/// shorter than requested and still report success.
struct StreamTotals {
    std::uint64_t records = 0;
    std::uint64_t bytes = 0;                      ///< Of all records, including their length prefixes.
    std::uint64_t checksum = 0xCBF29CE484222325u; ///< FNV-1a of these bytes, 64 bits.

    /// Adds one record.
    /// @param payload the record without its length prefix.
    void add(std::string_view payload);

    bool operator==(const StreamTotals&) const = default;
};

/// The length prefix of a record.
/// @throws WriteError for a record of more than 4 GiB.
std::string lengthPrefix(std::string_view payload);

/// FNV-1a, 64 bits.
std::uint64_t checksumOf(std::string_view bytes);

/// Appends three numbers of 64 bits: records, bytes and checksum.
void appendTotals(std::string& out, const StreamTotals& totals);

/// @param field name of the field in messages.
/// @throws FormatError when the record ends before the totals do.
StreamTotals takeTotals(Fields& fields, const char* field);

} // namespace importer::exchange
