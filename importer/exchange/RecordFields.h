#pragma once

// The fields of a record: appended one after another when it is encoded, taken and checked when it is decoded.
// All numbers are little-endian.

#include "importer/exchange/Errors.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace importer::exchange {

/// Appends the lowest bytes of a number, the lowest first.
/// @param bytes 1 to 8.
void append(std::string& out, std::uint64_t value, unsigned bytes);

/// Appends the eight bytes of a number; every bit is preserved.
void appendReal(std::string& out, double value);

/// Appends a text: its length in bytes (4 bytes) and its bytes.
/// @throws WriteError for a text of more than 4 GiB.
void appendText(std::string& out, std::string_view text);

/// Decodes an unsigned number of up to eight bytes, the lowest byte first.
std::uint64_t numberIn(std::string_view bytes);

/// Decodes a floating-point number of eight bytes.
double realIn(std::string_view bytes);

/// Takes the fields of a record one after another.
///
/// Each function throws FormatError when the record ends before the field does. `field` is the name of the field in the
/// message. Nothing is copied: texts are parts of the record.
class Fields {
public:
    /// @param payload the record without its length prefix; must outlive this object.
    explicit Fields(std::string_view payload) : rest_(payload) {}

    std::string_view bytes(std::uint64_t size, const char* field);

    std::uint32_t u32(const char* field) { return static_cast<std::uint32_t>(numberIn(bytes(4, field))); }

    std::uint64_t u64(const char* field) { return numberIn(bytes(8, field)); }

    double real(const char* field) { return realIn(bytes(8, field)); }

    std::string_view text(const char* field) { return bytes(u32(field), field); }

    /// A number of 32 bits that is 0 or 1.
    bool flag(const char* field);

    /// The mark and the format version that the first record of a stream starts with.
    /// @throws VersionError when the mark matches and the version does not.
    void mark(std::string_view mark, std::uint32_t formatVersion);

    bool atEnd() const { return rest_.empty(); }

    /// @throws FormatError unless all bytes of the record have been taken.
    void end() const;

private:
    std::string_view rest_;
};

} // namespace importer::exchange
