#include "digest/Sha1Compression.h"
#include "simd/X86.h"

// The message schedule is computed four words at a time in vector registers; the steps stay scalar. The eighty steps are
// twenty groups of four. The schedule runs four groups ahead of the steps, across the boundary of two blocks, so that the
// processor executes the vector instructions between the scalar ones.

#if defined(VELMOR_X86_64)

    #include <bit>
    #include <utility>

    #define VELMOR_SSSE3 VELMOR_TARGET("ssse3")
    #define VELMOR_SSSE3_INLINE VELMOR_TARGET_INLINE("ssse3")

namespace Velmor::digest {

namespace {

using Word = std::uint32_t;

constexpr int groupCount = 20;
constexpr int groupsAhead = 4;

struct Schedule {
    __m128i recent[8];            ///< The words of the last eight groups.
    Word addends[4 * groupCount]; ///< For each step the sum of its word and its constant.

    /// The words of the group that is `back` groups before `group`.
    VELMOR_SSSE3_INLINE __m128i words(int group, int back) const { return recent[(group - back) % 8]; }

    template <int group>
    VELMOR_SSSE3_INLINE void add(__m128i words) {
        constexpr Word constants[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};
        recent[group % 8] = words;
        simd::store(addends + std::size_t{4} * group,
                    _mm_add_epi32(words, _mm_set1_epi32(static_cast<int>(constants[group / 5]))));
    }

    template <int group>
    VELMOR_SSSE3_INLINE void read(const unsigned char* block) {
        const __m128i bigEndian = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
        add<group>(_mm_shuffle_epi8(simd::load(block + std::size_t{16} * group), bigEndian));
    }

    template <int group>
    VELMOR_SSSE3_INLINE void expand() {
        if constexpr (group < 8) {
            // w[t] = rotl(w[t-3] ^ w[t-8] ^ w[t-14] ^ w[t-16], 1). For the fourth word, w[t-3] is the first of these four
            // words: it is left out of the sum and added afterwards, rotated once more.
            const __m128i back3 = _mm_srli_si128(words(group, 1), 4);
            const __m128i back14 = _mm_alignr_epi8(words(group, 3), words(group, 4), 8);
            const __m128i sum = _mm_xor_si128(_mm_xor_si128(back3, words(group, 2)), _mm_xor_si128(back14, words(group, 4)));
            add<group>(_mm_xor_si128(simd::rotateLeft<1>(sum), simd::rotateLeft<2>(_mm_slli_si128(sum, 12))));
        } else {
            // The recurrence substituted into itself: w[t] = rotl(w[t-6] ^ w[t-16] ^ w[t-28] ^ w[t-32], 2).
            const __m128i back6 = _mm_alignr_epi8(words(group, 1), words(group, 2), 8);
            add<group>(simd::rotateLeft<2>(
                _mm_xor_si128(back6, _mm_xor_si128(words(group, 4), _mm_xor_si128(words(group, 7), words(group, 8))))));
        }
    }
};

template <int step>
VELMOR_SSSE3_INLINE Word mix(Word b, Word c, Word d) {
    if constexpr (step < 20)
        return (b & c) + (~b & d);
    else if constexpr (step >= 40 && step < 60)
        return (b & c) + (d & (b ^ c));
    else
        return b ^ c ^ d;
}

/// One step. The five values stay in place; their names a to e move on by one element per step.
template <int step>
VELMOR_SSSE3_INLINE void oneStep(Word (&working)[5], const Schedule& schedule) {
    const Word a = working[(80 - step) % 5];
    Word& b = working[(81 - step) % 5];
    const Word c = working[(82 - step) % 5];
    const Word d = working[(83 - step) % 5];
    Word& e = working[(84 - step) % 5];
    // Volatile forces a read from memory. Otherwise compilers extract the words from the vector registers one by one, which
    // is ten percent slower.
    e += static_cast<const volatile Word&>(schedule.addends[step]);
    e += mix<step>(b, c, d);
    e += std::rotl(a, 5);
    b = std::rotl(b, 30);
}

/// Four steps, and the schedule of a later group: of this block or, after its last group, of the next block.
template <int group>
VELMOR_SSSE3_INLINE void fourSteps(Word (&working)[5], Schedule& schedule, const unsigned char* next) {
    if constexpr (group + groupsAhead < groupCount)
        schedule.expand<group + groupsAhead>();
    else
        schedule.read<group + groupsAhead - groupCount>(next);
    oneStep<4 * group>(working, schedule);
    oneStep<4 * group + 1>(working, schedule);
    oneStep<4 * group + 2>(working, schedule);
    oneStep<4 * group + 3>(working, schedule);
}

template <int... group>
VELMOR_SSSE3_INLINE void eightySteps(Word (&working)[5], Schedule& schedule, const unsigned char* next,
                                     std::integer_sequence<int, group...>) {
    (fourSteps<group>(working, schedule, next), ...);
}

} // namespace

VELMOR_SSSE3 void ssse3::compress(State& state, const unsigned char* blocks, std::size_t count) {
    if (count == 0)
        return;
    Schedule schedule;
    schedule.read<0>(blocks);
    schedule.read<1>(blocks);
    schedule.read<2>(blocks);
    schedule.read<3>(blocks);
    for (; count > 0; --count, blocks += blockSize) {
        // The last block has no next block. It is read again instead, and the result is not used.
        const unsigned char* const next = count > 1 ? blocks + blockSize : blocks;
        Word working[5] = {state[0], state[1], state[2], state[3], state[4]};
        eightySteps(working, schedule, next, std::make_integer_sequence<int, groupCount>());
        for (int i = 0; i < 5; ++i)
            state[i] += working[i];
    }
}

} // namespace Velmor::digest

#endif
