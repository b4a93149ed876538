#pragma once

// Bytes and code units of the UTF-8 tests.

#include <Velmor/WideText.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace velmor_tests {

using Velmor::WideChar;
using Velmor::WideString;
using Bytes = std::vector<unsigned char>;
using Units = std::vector<WideChar>;

/// What the elements of a destination contain before a call.
inline constexpr WideChar untouchedUnit = 0xABCD;
inline constexpr unsigned char untouchedByte = 0xEE;

/// A heap block of exactly the size of the items, so that a sanitizer reports each access outside.
template <class Item>
std::unique_ptr<Item[]> exactCopy(const std::vector<Item>& items) {
    auto copy = std::make_unique<Item[]>(items.size());
    std::copy(items.begin(), items.end(), copy.get());
    return copy;
}

inline WideString units(std::initializer_list<unsigned> values) {
    WideString result;
    for (const unsigned value : values)
        result.push_back(static_cast<WideChar>(value));
    return result;
}

inline std::string hex(const Bytes& bytes) {
    std::string text;
    char digits[4];
    for (const unsigned char byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

inline std::string hex(const Units& units) {
    std::string text;
    char digits[8];
    for (const WideChar unit : units) {
        std::snprintf(digits, sizeof digits, "%04X ", static_cast<unsigned>(unit));
        text += digits;
    }
    return text;
}

} // namespace velmor_tests
