#pragma once

// A second, simple implementation of the UTF-8 conversions, to which the tests compare the library.

#include "Utf8Text.h"

#include <algorithm>
#include <cstddef>

namespace velmor_tests {

struct Decoded {
    std::size_t written = 0;
    Units buffer; // the whole destination; elements that are not written are `untouchedUnit`
};

inline Decoded modelDecode(const Bytes& source, std::size_t capacity, bool reserveTerminator) {
    Decoded result{0, Units(capacity, untouchedUnit)};
    if (capacity == 0)
        return result;
    const std::size_t limit = reserveTerminator ? capacity - 1 : capacity;
    std::size_t position = 0;
    while (position < source.size() && result.written < limit) {
        const unsigned first = source[position++];
        if (first == 0)
            break;
        if (first < 0x80) {
            result.buffer[result.written++] = static_cast<WideChar>(first);
        } else if (first >= 0xC0 && first < 0xE0) {
            if (position == source.size())
                break;
            const unsigned second = source[position++];
            result.buffer[result.written++] = static_cast<WideChar>((first % 0x20) * 0x40 + second % 0x40);
        } else if (first >= 0xE0 && first < 0xF0) {
            if (source.size() - position < 2)
                continue; // the first byte is dropped, and the next byte begins a new sequence
            const unsigned second = source[position++];
            const unsigned third = source[position++];
            result.buffer[result.written++] =
                static_cast<WideChar>((first % 0x10) * 0x1000 + (second % 0x40) * 0x40 + third % 0x40);
        } else {
            result.written = 0;
            return result; // no terminator
        }
    }
    if (result.written < capacity)
        result.buffer[result.written] = 0;
    return result;
}

inline std::size_t modelCount(const Bytes& source) {
    std::size_t characters = 0;
    for (std::size_t position = 0; position < source.size(); ++characters) {
        const unsigned first = source[position];
        if (first == 0)
            return characters;
        if (first < 0x80)
            position += 1;
        else if (first >= 0xC0 && first < 0xE0)
            position += 2;
        else if (first >= 0xE0 && first < 0xF0)
            position += 3;
        else
            return 0;
    }
    return characters;
}

/// Whether a text contains U+ABCD (EA AF 8D), which `modelText` would confuse with `untouchedUnit`.
inline bool containsUntouchedUnit(const Bytes& source) {
    const Decoded decoded = modelDecode(source, source.size() + 1, true);
    const auto end = decoded.buffer.begin() + static_cast<std::ptrdiff_t>(decoded.written);
    return std::find(decoded.buffer.begin(), end, untouchedUnit) != end;
}

inline WideString modelText(const Bytes& source) {
    if (source.empty() || source[0] == 0)
        return {};
    const std::size_t characters = modelCount(source);
    Units units = modelDecode(source, characters, false).buffer;
    std::replace(units.begin(), units.end(), untouchedUnit, WideChar{0});
    return WideString(units.begin(), units.end());
}

struct Encoded {
    std::size_t written = 0;
    Bytes buffer; // the whole destination; bytes that are not written are `untouchedByte`
};

inline Bytes modelEncodeUnit(unsigned unit) {
    const auto byte = [](unsigned value) { return static_cast<unsigned char>(value); };
    if (unit < 0x80)
        return {byte(unit)};
    if (unit < 0x800)
        return {byte(0xC0 + unit / 0x40), byte(0x80 + unit % 0x40)};
    return {byte(0xE0 + unit / 0x1000), byte(0x80 + unit / 0x40 % 0x40), byte(0x80 + unit % 0x40)};
}

inline Encoded modelEncode(const Units& source, std::size_t capacity) {
    Encoded result{0, Bytes(capacity, untouchedByte)};
    const std::size_t last = capacity - 1;
    for (const WideChar unit : source) {
        const Bytes sequence = modelEncodeUnit(unit);
        if (result.written + sequence.size() <= last) {
            std::copy(sequence.begin(), sequence.end(), result.buffer.begin() + static_cast<std::ptrdiff_t>(result.written));
            result.written += sequence.size();
        }
        if (unit == 0)
            break;
    }
    result.buffer[std::min(result.written, last)] = 0;
    return result;
}

} // namespace velmor_tests
