#pragma once

#include <Velmor/WideText.h>

#include "simd/Dispatch.h"

#include <cstddef>

// The variant of UTF-8 that StringOperations uses. One sequence of one, two or three bytes is one code unit:
//
//     bytes                         code unit
//     0xxxxxxx                      0000 to 007F
//     110yyyyy 10xxxxxx             0080 to 07FF
//     1110zzzz 10yyyyyy 10xxxxxx    0800 to FFFF, surrogates included
//
// A decoder masks continuation bytes and does not check them. A sequence may be longer than necessary. All other first bytes
// (10xxxxxx and 1111xxxx) are errors. The functions report nothing and write no terminator. See simd/Dispatch.h for the
// layout of the kernels.

namespace Velmor::text {

struct DecodeResult {
    std::size_t count; ///< Code units that were written, or characters that were counted, before the end or the error.
    bool valid;        ///< False if an invalid first byte was found.
};

/// Decodes up to the first zero byte, or until the destination is full. At an incomplete sequence of two bytes at
/// the end of the source, decoding ends. Of an incomplete sequence of three bytes only the first byte is dropped; the next
/// byte begins a new sequence.
/// @param capacity size of `destination` in code units. Nothing after the code units of the result changes.
using DecodeUtf8 = DecodeResult(const unsigned char* source, std::size_t length, WideChar* destination,
                                std::size_t capacity);

/// Counts the characters up to the first zero byte. A sequence that the end cuts off counts as one.
using CountUtf8 = DecodeResult(const unsigned char* source, std::size_t length);

/// Encodes up to the first zero unit, which is written too. A character that does not fit is skipped; a shorter one after it
/// is still written.
/// @param capacity size of `destination` in bytes. Nothing after the bytes of the result changes.
/// @return the number of bytes written.
using EncodeUtf8 = std::size_t(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity);

struct Utf8Size {
    std::size_t units; ///< Code units before the first zero unit.
    std::size_t bytes; ///< Bytes of their encoding.
};

/// Measures a text up to its first zero unit, which is not included.
using MeasureUtf8 = Utf8Size(const WideChar* source, std::size_t length);

namespace plain {
DecodeUtf8 decodeUtf8;
CountUtf8 countUtf8;
EncodeUtf8 encodeUtf8;
MeasureUtf8 measureUtf8;
} // namespace plain

namespace sse2 {
DecodeUtf8 decodeUtf8;
CountUtf8 countUtf8;
EncodeUtf8 encodeUtf8;
MeasureUtf8 measureUtf8;
} // namespace sse2

struct Utf8Functions {
    DecodeUtf8* decode;
    CountUtf8* count;
    EncodeUtf8* encode;
    MeasureUtf8* measure;
};

using Utf8Kernel = simd::Kernel<Utf8Functions>;

extern simd::Dispatch<Utf8Functions> utf8Dispatch;

inline DecodeResult decodeUtf8(const unsigned char* source, std::size_t length, WideChar* destination,
                               std::size_t capacity) {
    return utf8Dispatch.functions().decode(source, length, destination, capacity);
}

inline DecodeResult countUtf8(const unsigned char* source, std::size_t length) {
    return utf8Dispatch.functions().count(source, length);
}

inline std::size_t encodeUtf8(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    return utf8Dispatch.functions().encode(source, length, destination, capacity);
}

inline Utf8Size measureUtf8(const WideChar* source, std::size_t length) {
    return utf8Dispatch.functions().measure(source, length);
}

} // namespace Velmor::text
