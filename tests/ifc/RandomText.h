#pragma once

#include "support/Random.h"

#include <cstddef>

namespace velmor_tests {

/// A random text whose length is near a boundary of the records: empty, short enough for the string's own buffer, one less
/// and one more than the 256 units of an array.
inline Velmor::WideString randomText(Random& random) {
    static constexpr std::size_t lengths[] = {0, 1, 5, 7, 8, 30, 100, 254, 255, 256, 300};
    return random.text(random.oneOf(lengths));
}

} // namespace velmor_tests
