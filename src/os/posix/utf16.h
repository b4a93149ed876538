#pragma once

#include <cstdint>

namespace Velmor::os::posix {

/// Whether a code unit is the first half of a pair.
constexpr bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

/// Whether a code unit is the second half of a pair.
constexpr bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

} // namespace Velmor::os::posix
