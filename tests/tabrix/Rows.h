#pragma once

// Tables and rows for the tests of the store.

#include "ReferenceStore.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

inline Velmor::tabrix::Table* makeTable(Velmor::tabrix::TableSpec spec, std::vector<Velmor::tabrix::FieldSpec> fields) {
    return Velmor::tabrix::createTable(spec, ended(std::move(fields)).data());
}

/// The bytes of a value.
template <class T>
Bytes bytesOf(const T& value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

/// A text, filled with zeros up to a width or cut to it.
inline Bytes inlineText(std::size_t width, const std::string& text) {
    Bytes bytes(width, 0);
    std::copy_n(text.begin(), std::min(width, text.size()), bytes.begin());
    return bytes;
}

/// Copies bytes to a field of a row.
inline void putBytes(const ReferenceLayout& layout, Bytes& row, std::size_t field, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), row.begin() + static_cast<std::ptrdiff_t>(layout.fields[field].offset));
}

} // namespace velmor_tests
