#include "text/Utf8.h"

namespace Velmor::utf8::plain {

namespace {

constexpr bool isTwoByteLead(unsigned byte) {
    return (byte & 0xE0) == 0xC0;
}

constexpr bool isThreeByteLead(unsigned byte) {
    return (byte & 0xF0) == 0xE0;
}

inline WideChar fromTwo(const unsigned char* bytes) {
    return static_cast<WideChar>((bytes[0] & 0x1Fu) << 6 | (bytes[1] & 0x3Fu));
}

inline WideChar fromThree(const unsigned char* bytes) {
    return static_cast<WideChar>((bytes[0] & 0x0Fu) << 12 | (bytes[1] & 0x3Fu) << 6 | (bytes[2] & 0x3Fu));
}

/// Bytes that a code unit takes.
constexpr std::size_t sizeOf(unsigned unit) {
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

inline void toTwo(unsigned unit, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(0xC0 | unit >> 6);
    bytes[1] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
}

inline void toThree(unsigned unit, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(0xE0 | unit >> 12);
    bytes[1] = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
    bytes[2] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
}

} // namespace

Outcome decode(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity) {
    std::size_t written = 0;
    std::size_t position = 0;
    while (position < length && written < capacity) {
        const unsigned byte = source[position++];
        if (byte == 0)
            break;
        if (byte < 0x80) {
            destination[written++] = static_cast<WideChar>(byte);
        } else if (isTwoByteLead(byte)) {
            if (position >= length)
                break;
            destination[written++] = fromTwo(source + position - 1);
            position += 1;
        } else if (isThreeByteLead(byte)) {
            // Cut off, only the lead is dropped: the byte behind it is meant to be read as a lead.
            if (position >= length - 1)
                continue;
            destination[written++] = fromThree(source + position - 1);
            position += 2;
        } else {
            return {written, false};
        }
    }
    return {written, true};
}

Outcome countCharacters(const unsigned char* source, std::size_t length) {
    std::size_t count = 0;
    std::size_t position = 0;
    while (position < length) {
        const unsigned byte = source[position];
        if (byte == 0)
            break;
        if (byte < 0x80)
            position += 1;
        else if (isTwoByteLead(byte))
            position += 2;
        else if (isThreeByteLead(byte))
            position += 3;
        else
            return {count, false};
        ++count;
    }
    return {count, true};
}

std::size_t encode(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    std::size_t position = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const unsigned unit = source[i];
        const std::size_t size = sizeOf(unit);
        // What does not fit is skipped on purpose, not the end: a shorter character behind it may fit.
        if (size <= capacity - position) {
            unsigned char* const bytes = destination + position;
            if (size == 1)
                bytes[0] = static_cast<unsigned char>(unit);
            else if (size == 2)
                toTwo(unit, bytes);
            else
                toThree(unit, bytes);
            position += size;
        }
        if (unit == 0)
            break;
    }
    return position;
}

Extent extentOf(const WideChar* source, std::size_t length) {
    Extent extent{0, 0};
    while (extent.units < length && source[extent.units] != 0)
        extent.bytes += sizeOf(source[extent.units++]);
    return extent;
}

} // namespace Velmor::utf8::plain
