#pragma once

// Random rows, fields and keys for the tests of the store.

#include "ReferenceStore.h"
#include "support/Random.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace velmor_tests {

/// Fills rows with random values of every field type. There are few different values, so that keys repeat; they include
/// zeros of both signs, infinities, NaNs, empty texts and bytes above 127.
class RandomRows {
public:
    explicit RandomRows(std::uint32_t seed) : random_(seed) {
        for (int i = 0; i < 60; ++i) {
            narrow_.push_back(text<std::string>({'a', 'b', '\x7F', '\x80', '\xFF'}));
            wide_.push_back(text<std::u16string>({u'a', u'\u0100', u'\u8000', u'\uFFFF'}));
        }
    }

    std::uint32_t below(std::uint32_t limit) { return random_.below(limit); }

    void fill(const ReferenceLayout& layout, Bytes& row) {
        for (unsigned char& byte : row)
            byte = static_cast<unsigned char>(below(256)); // the store copies the padding between fields, too
        for (std::size_t i = 0; i < layout.fields.size(); ++i)
            fillField(layout, row, i);
    }

    Velmor::tabrix::FieldSpec field() { return {below(9), static_cast<std::int32_t>(1 + below(6))}; }

    /// A key of some of the fields, each at most once, in any order.
    std::vector<int> key(std::uint32_t fieldCount) {
        std::vector<int> all;
        for (std::uint32_t i = 0; i < fieldCount; ++i)
            all.insert(all.begin() + below(i + 1), static_cast<int>(i));
        all.resize(1 + below(fieldCount));
        return all;
    }

private:
    template <class Text>
    Text text(std::vector<typename Text::value_type> alphabet) {
        Text result;
        for (std::uint32_t length = below(5); length > 0; --length)
            result += alphabet[random_.below(alphabet.size())];
        return result;
    }

    float specialFloat() {
        static const float values[] = {0.0f,
                                       -0.0f,
                                       1.0f,
                                       -1.0f,
                                       1e-45f,
                                       std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::quiet_NaN()};
        return random_.oneOf(values);
    }

    double specialDouble() {
        static const double values[] = {
            0.0, -0.0, 1.0, -1.0, 5e-324, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
        return random_.oneOf(values);
    }

    void fillField(const ReferenceLayout& layout, Bytes& row, std::size_t number) {
        const ReferenceField& field = layout.fields[number];
        switch (field.type) {
        case 0:
            put(layout, row, number, below(8) == 0 ? static_cast<std::uint32_t>(random_.bits()) : below(60) - 30);
            break;
        case 1:
            put(layout, row, number, below(2) == 0 ? specialFloat() : static_cast<float>(below(60)) * 0.25f);
            break;
        case 2:
            put(layout, row, number, below(2) == 0 ? specialDouble() : static_cast<double>(below(60)) * 0.1);
            break;
        case 5: {
            const std::uint64_t high = below(8);
            put(layout, row, number, (high << 32 | below(8)) - 3);
            break;
        }
        case 6:
            put(layout, row, number, narrow_[below(60)].c_str());
            break;
        case 8:
            put(layout, row, number, wide_[below(60)].c_str());
            break;
        default:
            fillInline(row, field);
        }
    }

    void fillInline(Bytes& row, const ReferenceField& field) {
        static const unsigned char bytes[] = {0, 'a', 'b', 0xFF};
        const std::size_t unit = field.type == 7 ? 2 : 1;
        for (std::size_t i = 0; i < field.width; i += unit) {
            row[field.offset + i] = random_.oneOf(bytes);
            if (unit == 2)
                row[field.offset + i + 1] = bytes[below(2)];
        }
    }

    Random random_;
    std::vector<std::string> narrow_;
    std::vector<std::u16string> wide_;
};

} // namespace velmor_tests
