#include "text/Utf8.h"

// The reference implementation: one character after another. See Utf8.h for the format.

namespace Velmor::text {

namespace {

constexpr bool beginsTwoBytes(unsigned byte) {
    return (byte & 0xE0) == 0xC0;
}

constexpr bool beginsThreeBytes(unsigned byte) {
    return (byte & 0xF0) == 0xE0;
}

inline WideChar fromTwoBytes(const unsigned char* bytes) {
    return static_cast<WideChar>((bytes[0] & 0x1Fu) << 6 | (bytes[1] & 0x3Fu));
}

inline WideChar fromThreeBytes(const unsigned char* bytes) {
    return static_cast<WideChar>((bytes[0] & 0x0Fu) << 12 | (bytes[1] & 0x3Fu) << 6 | (bytes[2] & 0x3Fu));
}

/// Bytes of the encoding of a code unit.
constexpr std::size_t encodedSize(unsigned unit) {
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

inline void toTwoBytes(unsigned unit, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(0xC0 | unit >> 6);
    bytes[1] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
}

inline void toThreeBytes(unsigned unit, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(0xE0 | unit >> 12);
    bytes[1] = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
    bytes[2] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
}

} // namespace

DecodeResult plain::decodeUtf8(const unsigned char* source, std::size_t length, WideChar* destination,
                               std::size_t capacity) {
    std::size_t written = 0;
    std::size_t position = 0;
    while (position < length && written < capacity) {
        const unsigned byte = source[position++];
        if (byte == 0)
            break;
        if (byte < 0x80) {
            destination[written++] = static_cast<WideChar>(byte);
        } else if (beginsTwoBytes(byte)) {
            if (position >= length)
                break;
            destination[written++] = fromTwoBytes(source + position - 1);
            position += 1;
        } else if (beginsThreeBytes(byte)) {
            // Frozen: only the first byte of a sequence that is cut off is dropped; the next byte begins a new sequence.
            if (position >= length - 1)
                continue;
            destination[written++] = fromThreeBytes(source + position - 1);
            position += 2;
        } else {
            return {written, false};
        }
    }
    return {written, true};
}

DecodeResult plain::countUtf8(const unsigned char* source, std::size_t length) {
    std::size_t count = 0;
    std::size_t position = 0;
    while (position < length) {
        const unsigned byte = source[position];
        if (byte == 0)
            break;
        if (byte < 0x80)
            position += 1;
        else if (beginsTwoBytes(byte))
            position += 2;
        else if (beginsThreeBytes(byte))
            position += 3;
        else
            return {count, false};
        ++count;
    }
    return {count, true};
}

std::size_t plain::encodeUtf8(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    std::size_t position = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const unsigned unit = source[i];
        const std::size_t size = encodedSize(unit);
        // Frozen: a character that does not fit is skipped; a shorter one after it is still written.
        if (size <= capacity - position) {
            unsigned char* const bytes = destination + position;
            if (size == 1)
                bytes[0] = static_cast<unsigned char>(unit);
            else if (size == 2)
                toTwoBytes(unit, bytes);
            else
                toThreeBytes(unit, bytes);
            position += size;
        }
        if (unit == 0)
            break;
    }
    return position;
}

Utf8Size plain::measureUtf8(const WideChar* source, std::size_t length) {
    Utf8Size size{0, 0};
    while (size.units < length && source[size.units] != 0)
        size.bytes += encodedSize(source[size.units++]);
    return size;
}

} // namespace Velmor::text
