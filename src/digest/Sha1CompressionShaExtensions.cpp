#include "digest/Sha1Compression.h"
#include "simd/X86.h"

// The SHA instructions compute four steps (SHA1RNDS4), the value e of the next four steps (SHA1NEXTE) and a part of the
// message schedule (SHA1MSG1, SHA1MSG2). The eighty steps are twenty groups of four; the schedule runs four groups ahead. In
// every register the word with the lowest number is in the highest lane, as the instructions require.

#if defined(VELMOR_X86_64)

    #include <utility>

    #define VELMOR_SHA VELMOR_TARGET("ssse3,sha")
    #define VELMOR_SHA_INLINE VELMOR_TARGET_INLINE("ssse3,sha")

namespace Velmor::digest {

namespace {

constexpr int groupCount = 20;

/// The compression of one block.
struct Block {
    __m128i abcd;
    __m128i eAndWords; ///< The words of the next four steps, with `e` added to the first of them.
    __m128i words[8];  ///< The words of the last eight groups; group g is in element g % 8.
};

template <int group>
VELMOR_SHA_INLINE __m128i read(const unsigned char* block) {
    const __m128i reversedBytes = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
    return _mm_shuffle_epi8(simd::load(block + std::size_t{16} * group), reversedBytes);
}

/// Computes the words of a group from those of the groups before it.
template <int group>
VELMOR_SHA_INLINE void expand(__m128i (&words)[8]) {
    __m128i& result = words[group % 8];
    const __m128i& back1 = words[(group - 1) % 8];
    const __m128i& back2 = words[(group - 2) % 8];
    const __m128i& back4 = words[(group - 4) % 8];
    if constexpr (group < 8) {
        const __m128i& back3 = words[group - 3];
        result = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(back4, back3), back2), back1);
    } else {
        // The recurrence substituted into itself: w[t] = rotl(w[t-6] ^ w[t-16] ^ w[t-28] ^ w[t-32], 2). These are more
        // instructions, but they do not wait for the execution unit of the steps: four percent faster.
        const __m128i& back7 = words[(group - 7) % 8];
        const __m128i& back8 = result;
        const __m128i sixWordsBack = _mm_alignr_epi8(back2, back1, 8);
        result = simd::rotateLeft<2>(_mm_xor_si128(sixWordsBack, _mm_xor_si128(back4, _mm_xor_si128(back7, back8))));
    }
}

/// Four steps, and the schedule of a later group.
template <int group>
VELMOR_SHA_INLINE void fourSteps(Block& block, __m128i eBefore) {
    // `abcd` before the steps contains the `e` of the next group. Both instructions overwrite their first operand, so the
    // compiler must copy `abcd` once. With SHA1NEXTE first, the copy is not in the dependency chain of the steps, which
    // determines the speed.
    const __m128i next = _mm_sha1nexte_epu32(block.abcd, group < 19 ? block.words[(group + 1) % 8] : eBefore);
    block.abcd = _mm_sha1rnds4_epu32(block.abcd, block.eAndWords, group / 5);
    block.eAndWords = next;
    if constexpr (group < 16)
        expand<group + 4>(block.words);
}

template <int... group>
VELMOR_SHA_INLINE void eightySteps(Block& block, __m128i eBefore, std::integer_sequence<int, group...>) {
    (fourSteps<group>(block, eBefore), ...);
}

} // namespace

VELMOR_SHA void shaExtensions::compress(State& state, const unsigned char* blocks, std::size_t count) {
    constexpr int reversedLanes = 0x1B;
    __m128i abcd = _mm_shuffle_epi32(simd::load(state), reversedLanes);
    __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
    for (; count > 0; --count, blocks += blockSize) {
        Block block = {abcd, e, {read<0>(blocks), read<1>(blocks), read<2>(blocks), read<3>(blocks)}};
        block.eAndWords = _mm_add_epi32(block.eAndWords, block.words[0]);
        eightySteps(block, e, std::make_integer_sequence<int, groupCount>());
        abcd = _mm_add_epi32(abcd, block.abcd);
        e = block.eAndWords;
    }
    simd::store(state, _mm_shuffle_epi32(abcd, reversedLanes));
    state[4] = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(e, reversedLanes)));
}

} // namespace Velmor::digest

#endif
