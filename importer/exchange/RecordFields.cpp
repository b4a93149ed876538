#include "importer/exchange/RecordFields.h"

#include <bit>
#include <limits>

namespace importer::exchange {

void append(std::string& out, std::uint64_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i)
        out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

void appendReal(std::string& out, double value) {
    append(out, std::bit_cast<std::uint64_t>(value), 8);
}

void appendText(std::string& out, std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw WriteError("a text of more than 4 GiB cannot be written");
    append(out, text.size(), 4);
    out += text;
}

std::uint64_t numberIn(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

double realIn(std::string_view bytes) {
    return std::bit_cast<double>(numberIn(bytes));
}

std::string_view Fields::bytes(std::uint64_t size, const char* field) {
    if (size > rest_.size())
        throw FormatError("expected " + std::to_string(size) + " bytes of " + field + ", found " +
                          std::to_string(rest_.size()));
    const std::string_view result = rest_.substr(0, static_cast<std::size_t>(size));
    rest_.remove_prefix(static_cast<std::size_t>(size));
    return result;
}

bool Fields::flag(const char* field) {
    const std::uint32_t value = u32(field);
    if (value > 1)
        throw FormatError(std::string("expected 0 or 1 as ") + field + ", found " + std::to_string(value));
    return value == 1;
}

void Fields::mark(std::string_view mark, std::uint32_t formatVersion) {
    if (bytes(mark.size(), "mark") != mark)
        throw FormatError("expected the mark \"" + std::string(mark) + "\", found other bytes");
    const std::uint32_t found = u32("format version");
    if (found != formatVersion)
        throw VersionError("expected format version " + std::to_string(formatVersion) + ", found " + std::to_string(found));
}

void Fields::end() const {
    if (!atEnd())
        throw FormatError("expected the end of the record, found " + std::to_string(rest_.size()) + " more bytes");
}

} // namespace importer::exchange
