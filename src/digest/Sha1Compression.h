#pragma once

#include "simd/Dispatch.h"

#include <cstddef>
#include <cstdint>

// The compression function of SHA-1 (FIPS 180-4, section 6.1.2). It updates five chaining values with one block of 64 bytes
// after another. See simd/Dispatch.h for the layout of the kernels.

namespace Velmor::digest {

inline constexpr std::size_t blockSize = 64;

/// The chaining values H0 to H4.
using State = std::uint32_t[5];

/// Compresses `count` consecutive blocks into the state, without copying them. `blocks` needs no alignment.
using Compress = void(State& state, const unsigned char* blocks, std::size_t count);

namespace plain {
Compress compress;
}

namespace ssse3 {
Compress compress;
}

namespace shaExtensions {
Compress compress;
}

using Kernel = simd::Kernel<Compress*>;

extern simd::Dispatch<Compress*> compressDispatch;

inline void compress(State& state, const unsigned char* blocks, std::size_t count) {
    compressDispatch.functions()(state, blocks, count);
}

} // namespace Velmor::digest
