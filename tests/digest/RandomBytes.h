#pragma once

// Random messages and splits; a seed gives the same ones on every system.

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace velmor_tests {

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    /// A number from 0 to `last`.
    std::size_t upTo(std::size_t last) { return engine_() % (last + 1); }

    template <class Byte = char>
    std::vector<Byte> bytes(std::size_t size) {
        std::vector<Byte> bytes(size);
        for (Byte& byte : bytes)
            byte = static_cast<Byte>(engine_() >> 13 & 0xFF);
        return bytes;
    }

private:
    std::mt19937 engine_;
};

} // namespace velmor_tests
