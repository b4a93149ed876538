#pragma once

// Gives tests access to the private functions of StringOperations: the arguments of an explicit instantiation may name
// private members.

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

PrivateDecoder::Function privateFunction(PrivateDecoder);
PrivateEncoder::Function privateFunction(PrivateEncoder);
PrivateCounter::Function privateFunction(PrivateCounter);

template <class Member, typename Member::Function function>
struct PrivateAccess {
    friend typename Member::Function privateFunction(Member) { return function; }
};

template struct PrivateAccess<PrivateDecoder, &Velmor::StringOperations::ConvertFromUTF8>;
template struct PrivateAccess<PrivateEncoder, &Velmor::StringOperations::ConvertToUTF8>;
template struct PrivateAccess<PrivateCounter, &Velmor::StringOperations::StringLengthUTF8>;

/// The private ConvertFromUTF8.
inline std::size_t decode(const unsigned char* source, std::size_t length, Velmor::WideChar* destination,
                          std::size_t capacity, bool reserveTerminator) {
    return privateFunction(PrivateDecoder())(source, length, destination, capacity, reserveTerminator);
}

/// The private ConvertToUTF8.
inline std::size_t encode(const Velmor::WideChar* source, std::size_t length, unsigned char* destination,
                          std::size_t capacity) {
    return privateFunction(PrivateEncoder())(source, length, destination, capacity);
}

/// The private StringLengthUTF8.
inline std::size_t count(const unsigned char* source, std::size_t length) {
    return privateFunction(PrivateCounter())(source, length);
}

} // namespace velmor_tests
