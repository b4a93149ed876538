#pragma once

// The fields of a record, one after another: appended when it is encoded, taken and checked when it is decoded.

#include "importer/exchange/Streams.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace importer::exchange {

/// Appends the lowest bytes of a number, the lowest first.
inline void append(std::string& out, std::uint64_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i)
        out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

inline void appendReal(std::string& out, double value) {
    append(out, std::bit_cast<std::uint64_t>(value), 8);
}

/// Appends a text: its length in bytes and its bytes.
inline void appendText(std::string& out, std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw WriteError("a text of more than 4 GiB cannot be written");
    append(out, text.size(), 4);
    out += text;
}

/// The number that all the bytes make, the lowest first.
inline std::uint64_t numberIn(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

inline double realIn(std::string_view bytes) {
    return std::bit_cast<double>(numberIn(bytes));
}

/// Takes the fields of a record one after another. Each throws FormatError when the record ends before it.
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

    std::uint32_t u32(const char* field) { return static_cast<std::uint32_t>(numberIn(bytes(4, field))); }

    std::uint64_t u64(const char* field) { return numberIn(bytes(8, field)); }

    double real(const char* field) { return realIn(bytes(8, field)); }

    std::string_view text(const char* field) { return bytes(u32(field), field); }

    /// A number of two choices.
    bool flag(const char* field) {
        const auto value = u32(field);
        if (value > 1)
            throw FormatError(std::string("expected 0 or 1 as ") + field + ", found " + std::to_string(value));
        return value == 1;
    }

    bool atEnd() const { return rest_.empty(); }

    /// The record must be used up.
    void end() const {
        if (!atEnd())
            throw FormatError("expected the end of the record, found " + std::to_string(rest_.size()) + " more bytes");
    }

private:
    std::string_view rest_;
};

} // namespace importer::exchange
