#include "digest/Sha1X86.h"

#if defined(VELMOR_SHA1_X86)

    #include <bit>
    #include <utility>

    #define VELMOR_SSSE3 VELMOR_KERNEL("ssse3")
    #define VELMOR_SSSE3_PART VELMOR_KERNEL_PART("ssse3")

namespace Velmor::sha1 {

namespace {

using Word = std::uint32_t;

constexpr int groups = 20; ///< Of four steps each.
constexpr int ahead = 4;   ///< By so many groups the schedule runs ahead of the steps.

/// The words of the last eight groups, and what the steps are to add: each word with the constant of its step.
struct Schedule {
    __m128i recent[8];
    Word addends[4 * groups];

    /// Words of a group, `back` groups before `group`.
    VELMOR_SSSE3_PART __m128i words(int group, int back) const { return recent[(group - back) % 8]; }

    template <int group>
    VELMOR_SSSE3_PART void put(__m128i words) {
        constexpr Word constants[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};
        recent[group % 8] = words;
        store(addends + std::size_t{4} * group,
              _mm_add_epi32(words, _mm_set1_epi32(static_cast<int>(constants[group / 5]))));
    }

    template <int group>
    VELMOR_SSSE3_PART void read(const unsigned char* block) {
        const __m128i bigEndian = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
        put<group>(_mm_shuffle_epi8(load(block + std::size_t{16} * group), bigEndian));
    }

    template <int group>
    VELMOR_SSSE3_PART void expand() {
        if constexpr (group < 8) {
            // w[t] = rotl(w[t-3] ^ w[t-8] ^ w[t-14] ^ w[t-16], 1). Of the fourth word w[t-3] is the first of these four: it
            // is left out at first and then comes in, rotated once more.
            const __m128i back3 = _mm_srli_si128(words(group, 1), 4);
            const __m128i back14 = _mm_alignr_epi8(words(group, 3), words(group, 4), 8);
            const __m128i sum = _mm_xor_si128(_mm_xor_si128(back3, words(group, 2)), _mm_xor_si128(back14, words(group, 4)));
            put<group>(_mm_xor_si128(rotateLeft<1>(sum), rotateLeft<2>(_mm_slli_si128(sum, 12))));
        } else {
            // The schedule put into itself: w[t] = rotl(w[t-6] ^ w[t-16] ^ w[t-28] ^ w[t-32], 2).
            const __m128i back6 = _mm_alignr_epi8(words(group, 1), words(group, 2), 8);
            put<group>(rotateLeft<2>(
                _mm_xor_si128(back6, _mm_xor_si128(words(group, 4), _mm_xor_si128(words(group, 7), words(group, 8))))));
        }
    }
};

template <int step>
VELMOR_SSSE3_PART Word mix(Word b, Word c, Word d) {
    if constexpr (step < 20)
        return (b & c) + (~b & d);
    else if constexpr (step >= 40 && step < 60)
        return (b & c) + (d & (b ^ c));
    else
        return b ^ c ^ d;
}

/// One step. Instead of the values, the names of the working variables move on.
template <int step>
VELMOR_SSSE3_PART void oneStep(Word (&working)[5], const Schedule& schedule) {
    const Word a = working[(80 - step) % 5];
    Word& b = working[(81 - step) % 5];
    const Word c = working[(82 - step) % 5];
    const Word d = working[(83 - step) % 5];
    Word& e = working[(84 - step) % 5];
    // Volatile, so that it comes from memory. Compilers would rather take the words out of the registers again, one by one;
    // that costs a tenth of the speed.
    e += static_cast<const volatile Word&>(schedule.addends[step]);
    e += mix<step>(b, c, d);
    e += std::rotl(a, 5);
    b = std::rotl(b, 30);
}

/// Four steps, and beside them the words of a later group: of this block, or behind its end the first of the next block.
template <int group>
VELMOR_SSSE3_PART void fourSteps(Word (&working)[5], Schedule& schedule, const unsigned char* next) {
    if constexpr (group + ahead < groups)
        schedule.expand<group + ahead>();
    else
        schedule.read<group + ahead - groups>(next);
    oneStep<4 * group>(working, schedule);
    oneStep<4 * group + 1>(working, schedule);
    oneStep<4 * group + 2>(working, schedule);
    oneStep<4 * group + 3>(working, schedule);
}

template <int... group>
VELMOR_SSSE3_PART void eightySteps(Word (&working)[5], Schedule& schedule, const unsigned char* next,
                                   std::integer_sequence<int, group...>) {
    (fourSteps<group>(working, schedule, next), ...);
}

} // namespace

VELMOR_SSSE3 void compressSsse3(State& state, const unsigned char* blocks, std::size_t count) {
    if (count == 0)
        return;
    Schedule schedule;
    schedule.read<0>(blocks);
    schedule.read<1>(blocks);
    schedule.read<2>(blocks);
    schedule.read<3>(blocks);
    for (; count > 0; --count, blocks += blockSize) {
        // Behind the last block there is nothing to read; it stands in for its successor.
        const unsigned char* const next = count > 1 ? blocks + blockSize : blocks;
        Word working[5] = {state[0], state[1], state[2], state[3], state[4]};
        eightySteps(working, schedule, next, std::make_integer_sequence<int, groups>());
        for (int i = 0; i < 5; ++i)
            state[i] += working[i];
    }
}

} // namespace Velmor::sha1

#endif
