#pragma once

// SHA-1 step by step as in the Secure Hash Standard (FIPS 180-4), without the library: the reference of the tests.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velmor_tests {

using Bytes = std::vector<char>;
using Words = std::array<std::uint32_t, 5>;

/// H(0), section 5.3.1.
inline constexpr Words plainInitial = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

/// Section 6.1.2 for one block of 64 bytes.
inline void plainCompress(Words& hash, const char* block) {
    const auto rotl = [](std::uint32_t x, int n) { return (x << n) | (x >> (32 - n)); };
    std::uint32_t w[80];
    for (std::size_t t = 0; t < 16; ++t) {
        w[t] = 0;
        for (std::size_t i = 0; i < 4; ++i)
            w[t] = w[t] << 8 | static_cast<unsigned char>(block[4 * t + i]);
    }
    for (std::size_t t = 16; t < 80; ++t)
        w[t] = rotl(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);
    auto [a, b, c, d, e] = hash;
    for (std::size_t t = 0; t < 80; ++t) {
        std::uint32_t f = 0;
        std::uint32_t k = 0;
        if (t < 20) {
            f = (b & c) ^ (~b & d);
            k = 0x5A827999;
        } else if (t < 40) {
            f = b ^ c ^ d;
            k = 0x6ED9EBA1;
        } else if (t < 60) {
            f = (b & c) ^ (b & d) ^ (c & d);
            k = 0x8F1BBCDC;
        } else {
            f = b ^ c ^ d;
            k = 0xCA62C1D6;
        }
        const std::uint32_t next = rotl(a, 5) + f + e + k + w[t];
        e = d;
        d = c;
        c = rotl(b, 30);
        b = a;
        a = next;
    }
    hash[0] += a;
    hash[1] += b;
    hash[2] += c;
    hash[3] += d;
    hash[4] += e;
}

/// The message with its padding, section 5.1.1.
inline Bytes padded(Bytes message) {
    const std::uint64_t bits = std::uint64_t{message.size()} * 8;
    message.push_back(static_cast<char>(0x80));
    while (message.size() % 64 != 56)
        message.push_back(0);
    for (int shift = 56; shift >= 0; shift -= 8)
        message.push_back(static_cast<char>(bits >> shift & 0xFF));
    return message;
}

/// The hash value after all whole blocks of the bytes.
inline Words plainBlocks(const Bytes& bytes, Words hash = plainInitial) {
    for (std::size_t i = 0; i + 64 <= bytes.size(); i += 64)
        plainCompress(hash, bytes.data() + i);
    return hash;
}

/// The five words as twenty bytes, most significant byte first.
inline std::vector<unsigned char> bytesOf(const Words& hash) {
    std::vector<unsigned char> bytes;
    for (const std::uint32_t word : hash)
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(word >> shift & 0xFF));
    return bytes;
}

/// The digest of a message.
inline std::vector<unsigned char> plainSha1(const Bytes& message) {
    return bytesOf(plainBlocks(padded(message)));
}

inline Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

inline Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace velmor_tests
