#include "digest/Sha1Compression.h"

#include <bit>

// FIPS 180-4 with its names: Ch, Parity and Maj of section 4.1.1, the constants of section 4.2.1 and the steps of
// section 6.1.2. The message schedule has 16 words instead of 80 (section 6.1.3): step t replaces the word of step
// t - 16.

namespace Velmor::digest {

namespace {

using Word = std::uint32_t;

constexpr Word ch(Word x, Word y, Word z) {
    return (x & y) ^ (~x & z);
}

constexpr Word parity(Word x, Word y, Word z) {
    return x ^ y ^ z;
}

constexpr Word maj(Word x, Word y, Word z) {
    return (x & y) ^ (x & z) ^ (y & z);
}

constexpr Word bigEndian(const unsigned char* bytes) {
    return Word{bytes[0]} << 24 | Word{bytes[1]} << 16 | Word{bytes[2]} << 8 | Word{bytes[3]};
}

/// The compression of one block.
struct Block {
    Word w[16];
    Word a, b, c, d, e;

    template <int first, Word (*f)(Word, Word, Word)>
    void twentySteps(Word k) {
        for (int t = first; t < first + 20; ++t) {
            Word& word = w[t % 16];
            if (t >= 16)
                word = std::rotl(w[(t - 3) % 16] ^ w[(t - 8) % 16] ^ w[(t - 14) % 16] ^ word, 1);
            const Word next = std::rotl(a, 5) + f(b, c, d) + e + k + word;
            e = d;
            d = c;
            c = std::rotl(b, 30);
            b = a;
            a = next;
        }
    }
};

} // namespace

void plain::compress(State& state, const unsigned char* blocks, std::size_t count) {
    for (; count > 0; --count, blocks += blockSize) {
        Block block;
        for (int t = 0; t < 16; ++t)
            block.w[t] = bigEndian(blocks + std::ptrdiff_t{4} * t);
        block.a = state[0];
        block.b = state[1];
        block.c = state[2];
        block.d = state[3];
        block.e = state[4];
        block.twentySteps<0, ch>(0x5A827999);
        block.twentySteps<20, parity>(0x6ED9EBA1);
        block.twentySteps<40, maj>(0x8F1BBCDC);
        block.twentySteps<60, parity>(0xCA62C1D6);
        state[0] += block.a;
        state[1] += block.b;
        state[2] += block.c;
        state[3] += block.d;
        state[4] += block.e;
    }
}

} // namespace Velmor::digest
