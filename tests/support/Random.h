#pragma once

// Random test data. A test that fails prints the seed of each Random that is alive.
//
//     Random random;         // other data in each run; VELMOR_SEED=<seed> in the environment repeats a run
//     Random random(seed);   // the same data in every run and on every system
//
// std::shuffle and the distributions of <random> accept a Random as their source of bits.

#include <Velmor/WideText.h>

#include "support/Setting.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace velmor_tests {

class Random {
public:
    using result_type = std::uint64_t;

    Random() : Random(seedOfThisRun(), "VELMOR_SEED=") {}
    explicit Random(std::uint64_t seed) : Random(seed, "seed ") {}

    Random(const Random&) = delete;
    Random& operator=(const Random&) = delete;

    std::uint64_t seed() const { return seed_; }

    static constexpr std::uint64_t min() { return 0; }
    static constexpr std::uint64_t max() { return std::numeric_limits<std::uint64_t>::max(); }
    std::uint64_t operator()() { return engine_(); }

    std::uint64_t bits() { return engine_(); }

    /// An integer from 0 to `end` - 1.
    template <class Integer>
    Integer below(Integer end) {
        return static_cast<Integer>(engine_() % static_cast<std::uint64_t>(end));
    }

    /// An integer from 0 to `last`.
    template <class Integer>
    Integer upTo(Integer last) {
        return static_cast<Integer>(engine_() % (static_cast<std::uint64_t>(last) + 1));
    }

    /// True in one of n draws.
    bool oneIn(unsigned n) { return below(n) == 0; }

    template <class Value, std::size_t count>
    Value oneOf(const Value (&values)[count]) {
        return values[below(count)];
    }

    /// Uniform in [low, high).
    double real(double low, double high) { return low + unit() * (high - low); }

    /// Uniform in [-bound, bound).
    double realWithin(double bound) { return (unit() * 2 - 1) * bound; }

    template <class Byte = char>
    std::vector<Byte> bytes(std::size_t size) {
        std::vector<Byte> bytes(size);
        for (Byte& byte : bytes)
            byte = static_cast<Byte>(engine_() >> 13 & 0xFF);
        return bytes;
    }

    /// UTF-16 code units of any value, unpaired surrogates included; about one in 1000 is NUL.
    Velmor::WideString text(std::size_t length) {
        Velmor::WideString text(length, Velmor::WideChar{0});
        for (Velmor::WideChar& unit : text)
            unit = static_cast<Velmor::WideChar>(oneIn(1000) ? 0 : 1 + below(0xFFFF));
        return text;
    }

private:
    Random(std::uint64_t seed, const char* label)
        : seed_(seed), engine_(seed), trace_(__FILE__, __LINE__, label + std::to_string(seed)) {}

    static std::uint64_t seedOfThisRun() {
        const std::optional<std::string> given = variable("VELMOR_SEED");
        return given ? std::strtoull(given->c_str(), nullptr, 10) : std::random_device{}();
    }

    /// Uniform in [0, 1), in steps of 2^-53.
    double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }

    std::uint64_t seed_;
    std::mt19937_64 engine_;
    testing::ScopedTrace trace_; // prints the seed with each failure of this thread
};

} // namespace velmor_tests
