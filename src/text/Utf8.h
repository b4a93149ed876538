#pragma once

#include <Velmor/WideText.h>

#include <cstddef>

// The UTF-8 kernels of StringOperations. Only sequences of one, two and three bytes exist, each for one code unit;
// continuation bytes are masked, never checked. Nothing is reported and nothing is terminated here.
//
// Each kernel stands here twice: in the plain form, which is the definition, and in the form that the library uses, which
// takes runs of text at a time and must give the same results.

namespace Velmor::utf8 {

/// What became of a source text.
struct Outcome {
    std::size_t count; ///< Code units written, or characters counted, before the end or the error.
    bool valid;        ///< No stray continuation byte and no byte of 0xF0 or above was met.
};

/// Decodes up to the first zero byte or until the destination is full. A two-byte sequence that the end cuts off ends the
/// text; of a three-byte sequence only the lead is dropped, and its continuation bytes are read as leads.
Outcome decode(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity);

/// Counts the characters up to the first zero byte. A sequence that the end cuts off counts as one.
Outcome countCharacters(const unsigned char* source, std::size_t length);

/// Encodes up to and including the first zero unit. A character that does not fit is skipped: a later, shorter one may still
/// follow.
/// @return the number of bytes written.
std::size_t encode(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity);

/// Size of a text in both forms.
struct Extent {
    std::size_t units; ///< Code units before the first zero unit.
    std::size_t bytes; ///< Bytes that they take.
};

Extent extentOf(const WideChar* source, std::size_t length);

namespace plain {

Outcome decode(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity);
Outcome countCharacters(const unsigned char* source, std::size_t length);
std::size_t encode(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity);
Extent extentOf(const WideChar* source, std::size_t length);

} // namespace plain

} // namespace Velmor::utf8
