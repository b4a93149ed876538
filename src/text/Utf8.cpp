#include "text/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Velmor::utf8 {

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

/// Characters that are looked at together.
constexpr std::size_t block = 16;

/// Whether the next `block` bytes all lie in 1..0x7F. Subtracting 1 from every byte sets the top bit of a zero byte; what it
/// borrows from the byte above it can only add to the refusals.
inline bool isAsciiBlock(const unsigned char* bytes) {
    constexpr std::uint64_t ones = 0x0101010101010101, tops = 0x8080808080808080;
    std::uint64_t low, high;
    std::memcpy(&low, bytes, sizeof low);
    std::memcpy(&high, bytes + sizeof low, sizeof high);
    return (((low - ones) | low | (high - ones) | high) & tops) == 0;
}

/// The same for code units.
inline bool isAsciiBlock(const WideChar* units) {
    constexpr std::uint64_t ones = 0x0001000100010001, tops = 0xFF80FF80FF80FF80;
    std::uint64_t part[4];
    std::memcpy(part, units, sizeof part);
    return (((part[0] - ones) | part[0] | (part[1] - ones) | part[1] | (part[2] - ones) | part[2] | (part[3] - ones) |
             part[3]) &
            tops) == 0;
}

/// Through local copies, which overlap nothing: the loop becomes a few vector instructions.
template <class From, class To>
inline void copyAsciiBlock(const From* source, To* destination) {
    From from[block];
    To to[block];
    std::memcpy(from, source, sizeof from);
    for (std::size_t i = 0; i < block; ++i)
        to[i] = static_cast<To>(from[i]);
    std::memcpy(destination, to, sizeof to);
}

} // namespace

namespace plain {

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

} // namespace plain

Outcome decode(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity) {
    std::size_t position = 0;
    std::size_t written = 0;
    // While a character of three bytes surely fits on both sides, no bound needs a test; plain::decode does what is left.
    while (length - position >= block && capacity - written >= block) {
        if (isAsciiBlock(source + position)) {
            copyAsciiBlock(source + position, destination + written);
            position += block;
            written += block;
            continue;
        }
        for (const std::size_t end = position + block - 2; position < end;) {
            const unsigned char* const bytes = source + position;
            const unsigned byte = bytes[0];
            if (byte - 1 < 0x7F) {
                destination[written++] = static_cast<WideChar>(byte);
                position += 1;
            } else if (isThreeByteLead(byte)) {
                destination[written++] = fromThree(bytes);
                position += 3;
            } else if (isTwoByteLead(byte)) {
                destination[written++] = fromTwo(bytes);
                position += 2;
            } else {
                return {written, byte == 0};
            }
        }
    }
    const Outcome rest = plain::decode(source + position, length - position, destination + written, capacity - written);
    return {written + rest.count, rest.valid};
}

Outcome countCharacters(const unsigned char* source, std::size_t length) {
    std::size_t position = 0;
    std::size_t count = 0;
    while (position < length && length - position >= block) {
        if (isAsciiBlock(source + position)) {
            position += block;
            count += block;
            continue;
        }
        for (const std::size_t end = position + block; position < end; ++count) {
            const unsigned byte = source[position];
            if (byte - 1 < 0x7F)
                position += 1;
            else if (isThreeByteLead(byte))
                position += 3;
            else if (isTwoByteLead(byte))
                position += 2;
            else
                return {count, byte == 0};
        }
    }
    if (position >= length)
        return {count, true};
    const Outcome rest = plain::countCharacters(source + position, length - position);
    return {count + rest.count, rest.valid};
}

std::size_t encode(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    std::size_t read = 0;
    std::size_t position = 0;
    while (length - read >= block && capacity - position >= 3 * block) {
        if (isAsciiBlock(source + read)) {
            copyAsciiBlock(source + read, destination + position);
            read += block;
            position += block;
            continue;
        }
        for (const std::size_t end = read + block; read < end; ++read) {
            const unsigned unit = source[read];
            unsigned char* const bytes = destination + position;
            if (unit >= 0x800) {
                toThree(unit, bytes);
                position += 3;
            } else if (unit >= 0x80) {
                toTwo(unit, bytes);
                position += 2;
            } else {
                bytes[0] = static_cast<unsigned char>(unit);
                position += 1;
                if (unit == 0)
                    return position;
            }
        }
    }
    return position + plain::encode(source + read, length - read, destination + position, capacity - position);
}

std::size_t encodedLength(const WideChar* source, std::size_t length) {
    std::size_t size = length;
    for (std::size_t i = 0; i < length; ++i)
        size += static_cast<std::size_t>(source[i] >= 0x80) + static_cast<std::size_t>(source[i] >= 0x800);
    return size;
}

} // namespace Velmor::utf8
