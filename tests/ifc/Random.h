#pragma once

// Random numbers and texts from a seed, which a test that fails prints.

#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>
#include <random>

namespace velmor_tests {

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    std::uint64_t bits() { return engine_(); }
    std::size_t below(std::size_t end) { return bits() % end; }
    bool oneIn(std::size_t n) { return below(n) == 0; }

    template <class Value, std::size_t count>
    Value oneOf(const Value (&values)[count]) {
        return values[below(count)];
    }

    /// Any units, seldom a NUL.
    Velmor::WideString text(std::size_t length) {
        Velmor::WideString result(length, Velmor::WideChar{0});
        for (Velmor::WideChar& unit : result)
            unit = static_cast<Velmor::WideChar>(oneIn(1000) ? 0 : 1 + below(0xFFFF));
        return result;
    }

    /// A text of a length that is worth a try, beyond the 256 units of a record too.
    Velmor::WideString text() {
        static constexpr std::size_t lengths[] = {0, 1, 5, 7, 8, 30, 100, 254, 255, 256, 300};
        return text(oneOf(lengths));
    }

private:
    std::mt19937_64 engine_;
};

} // namespace velmor_tests
