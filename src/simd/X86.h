#pragma once

#include "simd/Processor.h"

// Vector helpers of the kernels for x86-64.

#if defined(VELMOR_X86_64)

    #include <immintrin.h>

    // The instruction sets that a function uses above the baseline, as a comma-separated list. Only a function with this
    // mark may use them; all other code of its file runs on every processor. A function that is inlined into it must carry
    // the same list. MSVC accepts every intrinsic everywhere.
    #if defined(__GNUC__)
        #define VELMOR_TARGET(sets) __attribute__((target(sets)))
        #define VELMOR_TARGET_INLINE(sets) __attribute__((target(sets), always_inline)) inline
    #else
        #define VELMOR_TARGET(sets)
        #define VELMOR_TARGET_INLINE(sets) __forceinline
    #endif

namespace Velmor::simd {

/// Reads 16 bytes at any address.
inline __m128i load(const void* source) {
    return _mm_loadu_si128(static_cast<const __m128i*>(source));
}

/// Writes 16 bytes at any address.
inline void store(void* destination, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(destination), value);
}

/// Reads two numbers at any address.
inline __m128d loadPair(const double* source) {
    return _mm_loadu_pd(source);
}

/// Writes two numbers at any address.
inline void storePair(double* destination, __m128d value) {
    _mm_storeu_pd(destination, value);
}

/// `chosen` where the bits of `mask` are set, `other` elsewhere.
inline __m128i select(__m128i mask, __m128i chosen, __m128i other) {
    return _mm_or_si128(_mm_and_si128(mask, chosen), _mm_andnot_si128(mask, other));
}

/// Rotates each of the four 32-bit words.
template <int bits>
inline __m128i rotateLeft(__m128i words) {
    return _mm_or_si128(_mm_slli_epi32(words, bits), _mm_srli_epi32(words, 32 - bits));
}

} // namespace Velmor::simd

#endif
