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
    __m128i words[4];
};

template <int group>
VELMOR_SHA_PART __m128i read(const unsigned char* block) {
    return _mm_shuffle_epi8(load(block + 16 * group), _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F));
}

/// Four steps. Their words make way for those of the group behind the next three.
template <int group>
VELMOR_SHA_PART void fourSteps(Block& block, __m128i eBefore) {
    __m128i* const words = block.words;
    // Out of `abcd` comes the `e` of four steps later. It is taken first: so the copy that both instructions ask for, as
    // they write over their operand, is not in the chain of the steps, which is what takes the time.
    const __m128i next = _mm_sha1nexte_epu32(block.abcd, group < 19 ? words[(group + 1) % 4] : eBefore);
    block.abcd = _mm_sha1rnds4_epu32(block.abcd, block.eAndWords, group / 5);
    block.eAndWords = next;
    if constexpr (group < 16) {
        const __m128i sum =
            _mm_xor_si128(_mm_sha1msg1_epu32(words[group % 4], words[(group + 1) % 4]), words[(group + 2) % 4]);
        words[group % 4] = _mm_sha1msg2_epu32(sum, words[(group + 3) % 4]);
    }
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
