#pragma once

// The private statics of StringOperations, for the suites: access is not checked in an explicit instantiation's arguments.

#include <Velmor/Text.h>

namespace velmor_tests {

struct PrivateDecoder {
    using Function = std::size_t (*)(const unsigned char*, std::size_t, Velmor::WideChar*, std::size_t, bool);
};
struct PrivateEncoder {
    using Function = std::size_t (*)(const Velmor::WideChar*, std::size_t, unsigned char*, std::size_t);
};
struct PrivateCounter {
    using Function = std::size_t (*)(const unsigned char*, std::size_t);
};

PrivateDecoder::Function reach(PrivateDecoder);
PrivateEncoder::Function reach(PrivateEncoder);
PrivateCounter::Function reach(PrivateCounter);

template <class Member, typename Member::Function function>
struct Reached {
    friend typename Member::Function reach(Member) { return function; }
};

template struct Reached<PrivateDecoder, &Velmor::StringOperations::ConvertFromUTF8>;
template struct Reached<PrivateEncoder, &Velmor::StringOperations::ConvertToUTF8>;
template struct Reached<PrivateCounter, &Velmor::StringOperations::StringLengthUTF8>;

/// The private ConvertFromUTF8.
inline std::size_t decode(const unsigned char* source, std::size_t length, Velmor::WideChar* destination,
                          std::size_t capacity, bool reserveTerminator) {
    return reach(PrivateDecoder())(source, length, destination, capacity, reserveTerminator);
}

/// The private ConvertToUTF8.
inline std::size_t encode(const Velmor::WideChar* source, std::size_t length, unsigned char* destination,
                          std::size_t capacity) {
    return reach(PrivateEncoder())(source, length, destination, capacity);
}

/// The private StringLengthUTF8.
inline std::size_t count(const unsigned char* source, std::size_t length) {
    return reach(PrivateCounter())(source, length);
}

} // namespace velmor_tests
