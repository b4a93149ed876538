#pragma once

#include "digest/Sha1Kernels.h"

#if defined(VELMOR_SHA1_X86)

    #include <immintrin.h>

    // A kernel names the instructions that it uses beyond those of every 64-bit processor; all other code of its file stays
    // runnable everywhere. Its parts are inlined into it and must name the same. (MSVC takes any intrinsic anywhere.)
    #if defined(__GNUC__)
        #define VELMOR_KERNEL(instructions) __attribute__((target(instructions)))
        #define VELMOR_KERNEL_PART(instructions) __attribute__((target(instructions), always_inline)) inline
    #else
        #define VELMOR_KERNEL(instructions)
        #define VELMOR_KERNEL_PART(instructions) __forceinline
    #endif

namespace Velmor::sha1 {

inline __m128i load(const void* source) {
    return _mm_loadu_si128(static_cast<const __m128i*>(source));
}

inline void store(void* destination, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(destination), value);
}

template <int bits>
inline __m128i rotateLeft(__m128i words) {
    return _mm_or_si128(_mm_slli_epi32(words, bits), _mm_srli_epi32(words, 32 - bits));
}

} // namespace Velmor::sha1

#endif
