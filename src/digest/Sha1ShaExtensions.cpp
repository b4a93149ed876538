#include "digest/Sha1X86.h"

#if defined(VELMOR_SHA1_X86)

    #include <utility>

    #define VELMOR_SHA VELMOR_KERNEL("ssse3,sha")
    #define VELMOR_SHA_PART VELMOR_KERNEL_PART("ssse3,sha")

namespace Velmor::sha1 {

namespace {

/// A block on its way through the eighty steps. In every register the word with the lowest number is in the highest lane.
struct Block {
    __m128i abcd;
    __m128i eAndWords; ///< The words of the next four steps; `e` is added to the first of them.
    __m128i words[8];  ///< Those of the last eight groups of four steps: eight registers in turn.
};

template <int group>
VELMOR_SHA_PART __m128i read(const unsigned char* block) {
    return _mm_shuffle_epi8(load(block + std::size_t{16} * group), _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F));
}

/// Makes the words of a group from those of the groups before it.
template <int group>
VELMOR_SHA_PART void expand(__m128i (&words)[8]) {
    __m128i& made = words[group % 8];
    const __m128i& back1 = words[(group - 1) % 8];
    const __m128i& back2 = words[(group - 2) % 8];
    const __m128i& back4 = words[(group - 4) % 8];
    if constexpr (group < 8) {
        const __m128i& back3 = words[group - 3];
        made = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(back4, back3), back2), back1);
    } else {
        // w[t] = rotl(w[t-6] ^ w[t-16] ^ w[t-28] ^ w[t-32], 2), which is the schedule put into itself. These are more
        // instructions, but such as need not wait for the unit that does the steps: four per cent faster.
        const __m128i& back7 = words[(group - 7) % 8];
        const __m128i& back8 = made;
        const __m128i sixWordsBack = _mm_alignr_epi8(back2, back1, 8);
        made = rotateLeft<2>(_mm_xor_si128(sixWordsBack, _mm_xor_si128(back4, _mm_xor_si128(back7, back8))));
    }
}

/// Four steps, and beside them the words of a later group.
template <int group>
VELMOR_SHA_PART void fourSteps(Block& block, __m128i eBefore) {
    // Out of `abcd` comes the `e` of four steps later. It is taken first: so the copy that both instructions ask for, as
    // they write over their operand, is not in the chain of the steps, which is what takes the time.
    const __m128i next = _mm_sha1nexte_epu32(block.abcd, group < 19 ? block.words[(group + 1) % 8] : eBefore);
    block.abcd = _mm_sha1rnds4_epu32(block.abcd, block.eAndWords, group / 5);
    block.eAndWords = next;
    if constexpr (group < 16)
        expand<group + 4>(block.words);
}

template <int... group>
VELMOR_SHA_PART void eightySteps(Block& block, __m128i eBefore, std::integer_sequence<int, group...>) {
    (fourSteps<group>(block, eBefore), ...);
}

} // namespace

VELMOR_SHA void compressShaExtensions(State& state, const unsigned char* blocks, std::size_t count) {
    constexpr int reversal = 0x1B;
    __m128i abcd = _mm_shuffle_epi32(load(state), reversal);
    __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
    for (; count > 0; --count, blocks += blockSize) {
        Block block = {abcd, e, {read<0>(blocks), read<1>(blocks), read<2>(blocks), read<3>(blocks)}};
        block.eAndWords = _mm_add_epi32(block.eAndWords, block.words[0]);
        eightySteps(block, e, std::make_integer_sequence<int, 20>());
        abcd = _mm_add_epi32(abcd, block.abcd);
        e = block.eAndWords;
    }
    store(state, _mm_shuffle_epi32(abcd, reversal));
    state[4] = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(e, reversal)));
}

} // namespace Velmor::sha1

#endif
