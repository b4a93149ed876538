#include "text/PrivateStringOperations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace velmor_tests;
using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;
using Bytes = std::vector<unsigned char>;
using Units = std::vector<WideChar>;

constexpr WideChar untouched = 0xABCD;
constexpr unsigned char untouchedByte = 0xEE;

unsigned char at(const Bytes& bytes, std::size_t index) {
    return bytes[index];
}

// The plain model -----------------------------------------------------------------------------------------------------

struct Decoded {
    std::size_t written = 0;
    Units buffer; // of the capacity; what is not written stays `untouched`
};

Decoded modelDecode(const Bytes& source, std::size_t capacity, bool reserveTerminator) {
    Decoded result{0, Units(capacity, untouched)};
    if (capacity == 0)
        return result;
    const std::size_t limit = reserveTerminator ? capacity - 1 : capacity;
    std::size_t position = 0;
    while (position < source.size() && result.written < limit) {
        const unsigned lead = at(source, position++);
        if (lead == 0)
            break;
        if (lead < 0x80) {
            result.buffer[result.written++] = static_cast<WideChar>(lead);
        } else if (lead >= 0xC0 && lead < 0xE0) {
            if (position == source.size())
                break;
            const unsigned next = at(source, position++);
            result.buffer[result.written++] = static_cast<WideChar>((lead % 0x20) * 0x40 + next % 0x40);
        } else if (lead >= 0xE0 && lead < 0xF0) {
            if (source.size() - position < 2)
                continue; // dropped: what follows is a lead of its own
            const unsigned second = at(source, position++);
            const unsigned third = at(source, position++);
            result.buffer[result.written++] =
                static_cast<WideChar>((lead % 0x10) * 0x1000 + (second % 0x40) * 0x40 + third % 0x40);
        } else {
            result.written = 0;
            return result; // no terminator
        }
    }
    if (result.written < capacity)
        result.buffer[result.written] = 0;
    return result;
}

std::size_t modelCount(const Bytes& source) {
    std::size_t characters = 0;
    for (std::size_t position = 0; position < source.size(); ++characters) {
        const unsigned lead = at(source, position);
        if (lead == 0)
            return characters;
        if (lead < 0x80)
            position += 1;
        else if (lead >= 0xC0 && lead < 0xE0)
            position += 2;
        else if (lead >= 0xE0 && lead < 0xF0)
            position += 3;
        else
            return 0;
    }
    return characters;
}

WideString modelText(const Bytes& source) {
    if (source.empty() || source[0] == 0)
        return {};
    const std::size_t characters = modelCount(source);
    Units units = modelDecode(source, characters, false).buffer;
    std::replace(units.begin(), units.end(), untouched, WideChar{0}); // no model input decodes to that unit, see below
    return WideString(units.begin(), units.end());
}

// U+ABCD is EA AF 8D; a text that holds it would confuse modelText.
bool holdsUntouched(const Bytes& source) {
    const Decoded decoded = modelDecode(source, source.size() + 1, true);
    for (std::size_t i = 0; i < decoded.written; ++i)
        if (decoded.buffer[i] == untouched)
            return true;
    return false;
}

struct Encoded {
    std::size_t written = 0;
    Bytes buffer;
};

Bytes encodeUnit(unsigned unit) {
    const auto byte = [](unsigned value) { return static_cast<unsigned char>(value); };
    if (unit < 0x80)
        return {byte(unit)};
    if (unit < 0x800)
        return {byte(0xC0 + unit / 0x40), byte(0x80 + unit % 0x40)};
    return {byte(0xE0 + unit / 0x1000), byte(0x80 + unit / 0x40 % 0x40), byte(0x80 + unit % 0x40)};
}

Encoded modelEncode(const Units& source, std::size_t capacity) {
    Encoded result{0, Bytes(capacity, untouchedByte)};
    const std::size_t last = capacity - 1;
    for (const WideChar unit : source) {
        const Bytes sequence = encodeUnit(unit);
        if (result.written + sequence.size() <= last) {
            std::copy(sequence.begin(), sequence.end(), result.buffer.begin() + static_cast<std::ptrdiff_t>(result.written));
            result.written += sequence.size();
        }
        if (unit == 0)
            break;
    }
    result.buffer[std::min(result.written, last)] = 0;
    return result;
}

// Calls in blocks of exactly the size needed, so that a sanitizer sees a step outside ---------------------------------

template <class Item>
std::unique_ptr<Item[]> exactCopy(const std::vector<Item>& items) {
    auto copy = std::make_unique<Item[]>(items.size());
    std::copy(items.begin(), items.end(), copy.get());
    return copy;
}

Decoded decodeExact(const Bytes& source, std::size_t capacity, bool reserveTerminator) {
    const auto from = exactCopy(source);
    const auto to = exactCopy(Units(capacity, untouched));
    const std::size_t written = decode(from.get(), source.size(), to.get(), capacity, reserveTerminator);
    return {written, Units(to.get(), to.get() + capacity)};
}

Encoded encodeExact(const Units& source, std::size_t capacity) {
    const auto from = exactCopy(source);
    const auto to = exactCopy(Bytes(capacity, untouchedByte));
    const std::size_t written = encode(from.get(), source.size(), to.get(), capacity);
    return {written, Bytes(to.get(), to.get() + capacity)};
}

WideString text(const Bytes& source) {
    const auto from = exactCopy(source);
    return StringOperations::ConvertFromUTF8(from.get(), source.size());
}

WideString textOfTerminated(Bytes source) {
    source.push_back(0);
    const auto from = exactCopy(source);
    return StringOperations::ConvertFromUTF8(from.get());
}

WideString units(std::initializer_list<unsigned> values) {
    WideString result;
    for (const unsigned value : values)
        result.push_back(static_cast<WideChar>(value));
    return result;
}

std::string show(const Bytes& bytes) {
    static const char* const digits = "0123456789ABCDEF";
    std::string result;
    for (const unsigned char byte : bytes)
        result += {digits[byte / 16], digits[byte % 16], ' '};
    return result;
}

void expectDecodes(const Bytes& source, std::size_t capacity, bool reserveTerminator) {
    const Decoded expected = modelDecode(source, capacity, reserveTerminator);
    const Decoded got = decodeExact(source, capacity, reserveTerminator);
    ASSERT_EQ(got.written, expected.written) << show(source) << "into " << capacity << ", " << reserveTerminator;
    if (source.empty() || expected.written != 0 || capacity == 0 || expected.buffer[0] == 0) {
        ASSERT_EQ(got.buffer, expected.buffer) << show(source) << "into " << capacity << ", " << reserveTerminator;
    }
}

// Decoding: strings ---------------------------------------------------------------------------------------------------

TEST(Utf8Text, DecodesOneTwoAndThreeByteSequences) {
    EXPECT_EQ(text({0x41}), units({0x41}));
    EXPECT_EQ(text({0xC3, 0xA9}), units({0xE9}));
    EXPECT_EQ(text({0xE2, 0x82, 0xAC}), units({0x20AC}));
    EXPECT_EQ(text({0x61, 0xC3, 0xA9, 0x62, 0xE2, 0x82, 0xAC, 0x63}), units({0x61, 0xE9, 0x62, 0x20AC, 0x63}));
    EXPECT_EQ(text({0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}), units({0xD83D, 0xDE00})); // surrogates, each by itself
}

TEST(Utf8Text, AFourByteSequenceIsAnError) {
    EXPECT_EQ(text({0xF0, 0x9F, 0x98, 0x80}), WideString());
    EXPECT_EQ(text({0x41, 0x42, 0xF0, 0x9F, 0x98, 0x80, 0x43}), WideString());
}

TEST(Utf8Text, AStrayContinuationByteIsAnError) {
    EXPECT_EQ(text({0x80}), WideString());
    EXPECT_EQ(text({0x41, 0xBF, 0x42}), WideString());
}

TEST(Utf8Text, AZeroByteEndsIt) {
    EXPECT_EQ(text({0x41, 0x00, 0x42}), units({0x41}));
    EXPECT_EQ(text({0x41, 0x00, 0xFF}), units({0x41}));
    EXPECT_EQ(text({0x00, 0x41}), WideString());
    EXPECT_EQ(text({0x00, 0xFF}), WideString());
}

TEST(Utf8Text, NothingGivesNothing) {
    EXPECT_EQ(StringOperations::ConvertFromUTF8(nullptr), WideString());
    EXPECT_EQ(StringOperations::ConvertFromUTF8(nullptr, 0), WideString());
    EXPECT_EQ(StringOperations::ConvertFromUTF8(nullptr, 5), WideString());
    EXPECT_EQ(text({}), WideString());
    EXPECT_EQ(textOfTerminated({}), WideString());
}

TEST(Utf8Text, ACutOffSequenceLeavesAZeroUnit) {
    EXPECT_EQ(text({0x41, 0xC3}), units({0x41, 0}));
    EXPECT_EQ(text({0x41, 0xE2}), units({0x41, 0}));
    EXPECT_EQ(text({0x41, 0xE2, 0x82}), units({0x41, 0}));
    EXPECT_EQ(text({0xC3}), units({0}));
    EXPECT_EQ(text({0xE2, 0x41}), units({0x41}));          // the lead is dropped, the next byte stands for itself
    EXPECT_EQ(text({0x41, 0xE2, 0xC3}), units({0x41, 0})); // here the next byte is a lead without its continuation
}

TEST(Utf8Text, OverlongFormsAndWrongContinuationsAreTaken) {
    EXPECT_EQ(text({0xC0, 0x80}), units({0}));
    EXPECT_EQ(text({0xC1, 0xBF}), units({0x7F}));
    EXPECT_EQ(text({0xE0, 0x80, 0x80, 0x41}), units({0, 0x41}));
    EXPECT_EQ(text({0xC3, 0x41}), units({0xC1}));
    EXPECT_EQ(text({0xC3, 0xFF}), units({0xFF}));
    EXPECT_EQ(text({0xC3, 0x00, 0x41}), units({0xC0, 0x41})); // a continuation may be a zero byte
    EXPECT_EQ(text({0xE2, 0x41, 0xC1}), units({0x2041}));
    EXPECT_EQ(text({0xEF, 0xFF, 0xFF}), units({0xFFFF}));
}

TEST(Utf8Text, TheTerminatedFormMeasuresItsText) {
    EXPECT_EQ(textOfTerminated({0x41, 0xC3, 0xA9}), units({0x41, 0xE9}));
    EXPECT_EQ(textOfTerminated({0x41, 0xE2}), units({0x41, 0}));
    EXPECT_EQ(textOfTerminated({0x41, 0xC3}), units({0x41, 0}));
    EXPECT_EQ(textOfTerminated({0xF0, 0x9F, 0x98, 0x80}), WideString());
    EXPECT_EQ(textOfTerminated(Bytes(100000, 0x61)), WideString(100000, VELMOR_WIDE('a')));
}

// Decoding: buffers ---------------------------------------------------------------------------------------------------

TEST(Utf8Decoder, ReservesTheTerminatorWhenAsked) {
    const Bytes abcdef{'a', 'b', 'c', 'd', 'e', 'f'};
    const Decoded reserved = decodeExact(abcdef, 3, true);
    EXPECT_EQ(reserved.written, 2u);
    EXPECT_EQ(reserved.buffer, (Units{'a', 'b', 0}));
    const Decoded full = decodeExact(abcdef, 3, false);
    EXPECT_EQ(full.written, 3u);
    EXPECT_EQ(full.buffer, (Units{'a', 'b', 'c'}));
}

TEST(Utf8Decoder, ThePublicFormReservesTheTerminator) {
    const Bytes abcdef{'a', 'b', 'c', 'd', 'e', 'f'};
    for (std::size_t capacity = 1; capacity < 9; ++capacity) {
        const auto to = exactCopy(Units(capacity, untouched));
        const std::size_t written = StringOperations::ConvertFromUTF8(abcdef.data(), abcdef.size(), to.get(), capacity);
        const Decoded expected = modelDecode(abcdef, capacity, true);
        EXPECT_EQ(written, std::min<std::size_t>(capacity - 1, 6));
        EXPECT_EQ(Units(to.get(), to.get() + capacity), expected.buffer);
    }
}

TEST(Utf8Decoder, ACapacityOfZeroWritesNothing) {
    WideChar unit = untouched;
    const Bytes source{'a', 'b'};
    for (const bool reserve : {false, true}) {
        EXPECT_EQ(decode(source.data(), 2, &unit, 0, reserve), 0u);
        EXPECT_EQ(decode(source.data(), 0, &unit, 0, reserve), 0u);
        EXPECT_EQ(decode(source.data(), 2, nullptr, 0, reserve), 0u);
    }
    EXPECT_EQ(StringOperations::ConvertFromUTF8(source.data(), 2, &unit, 0), 0u);
    EXPECT_EQ(unit, untouched);
}

TEST(Utf8Decoder, NoSourceGivesATerminatorOnly) {
    EXPECT_EQ(decodeExact({}, 2, true).buffer, (Units{0, untouched}));
    EXPECT_EQ(decodeExact({}, 2, false).buffer, (Units{0, untouched}));
    WideChar unit = untouched;
    EXPECT_EQ(decode(nullptr, 0, &unit, 1, true), 0u);
    EXPECT_EQ(unit, 0);
}

TEST(Utf8Decoder, AnErrorWritesNoTerminator) {
    for (const unsigned lead : {0x80u, 0xBFu, 0xF0u, 0xF7u, 0xF8u, 0xFCu, 0xFEu, 0xFFu}) {
        const auto bad = static_cast<unsigned char>(lead);
        const Decoded first = decodeExact({bad, 'b'}, 4, true);
        EXPECT_EQ(first.written, 0u);
        EXPECT_EQ(first.buffer[0], untouched);
        const Decoded second = decodeExact({'a', bad}, 4, true);
        EXPECT_EQ(second.written, 0u);
        EXPECT_EQ(second.buffer[1], untouched);
    }
}

TEST(Utf8Decoder, AnErrorBehindTheCapacityIsNotReached) {
    EXPECT_EQ(decodeExact({'a', 'b', 0xFF}, 2, false).written, 2u);
    EXPECT_EQ(decodeExact({'a', 'b', 0xFF}, 3, true).buffer, (Units{'a', 'b', 0}));
    EXPECT_EQ(decodeExact({'a', 'b', 0xFF}, 3, false).written, 0u);
    EXPECT_EQ(decodeExact({0xFF}, 1, true).buffer, (Units{0})); // full from the beginning: nothing is read
}

TEST(Utf8Decoder, EveryInputOfOneAndTwoBytesAtEveryCapacity) {
    for (unsigned first = 0; first < 256; ++first)
        for (std::size_t capacity = 0; capacity < 4; ++capacity)
            for (const bool reserve : {false, true})
                expectDecodes({static_cast<unsigned char>(first)}, capacity, reserve);
    for (unsigned both = 0; both < 65536; ++both)
        for (std::size_t capacity = 0; capacity < 4; ++capacity)
            for (const bool reserve : {false, true})
                expectDecodes({static_cast<unsigned char>(both >> 8), static_cast<unsigned char>(both)}, capacity, reserve);
}

TEST(Utf8Decoder, EveryInputOfThreeBytes) {
    // Without the machinery of the other tests: there are sixteen million.
    for (unsigned value = 0; value < 1u << 24; ++value) {
        const unsigned char source[3]{static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
                                      static_cast<unsigned char>(value)};
        std::array<unsigned, 4> expected{untouched, untouched, untouched, untouched};
        std::size_t written = 0;
        bool error = false;
        for (std::size_t position = 0; position < 3;) {
            const unsigned lead = source[position++];
            if (lead == 0 || (lead / 32 == 6 && position == 3))
                break;
            if (lead / 16 == 14 && position != 1)
                continue;
            if (lead / 64 == 2 || lead / 16 == 15) {
                error = true;
                break;
            }
            unsigned unit = lead;
            if (lead / 32 == 6)
                unit = lead % 32 * 64 + source[position++] % 64u;
            else if (lead / 16 == 14)
                unit = lead % 16 * 4096 + source[1] % 64u * 64 + source[2] % 64u, position = 3;
            expected[written++] = unit;
        }
        if (!error)
            expected[written] = 0;
        WideChar buffer[4]{untouched, untouched, untouched, untouched};
        const std::size_t result = decode(source, 3, buffer, 4, true);
        const bool right =
            error ? result == 0 : result == written && std::equal(expected.begin(), expected.end(), std::begin(buffer));
        ASSERT_TRUE(right) << show({source[0], source[1], source[2]});
    }
}

TEST(Utf8Decoder, RandomInputsAtRandomCapacities) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 100000; ++round) {
        Bytes source(random() % 12);
        for (unsigned char& byte : source) {
            // Mostly good leads and continuations, so that long inputs get far.
            static const unsigned char common[] = {0x41, 0x7F, 0x80, 0xA9, 0xBF, 0xC3, 0xDF, 0xE0, 0xE2, 0xEF};
            byte = random() % 8 == 0 ? static_cast<unsigned char>(random()) : common[random() % std::size(common)];
        }
        expectDecodes(source, random() % 14, random() % 2 == 0);
    }
}

// Long texts, of which a kernel may take many characters at a time -------------------------------------------------------

/// A text whose characters take one byte, two, three, or any of them.
Bytes longText(std::mt19937& random, unsigned style, std::size_t atLeast) {
    Bytes text;
    while (text.size() < atLeast) {
        const unsigned size = style < 3 ? style + 1 : static_cast<unsigned>(random() % 3) + 1;
        const auto byte = [&](unsigned first, unsigned count) {
            return static_cast<unsigned char>(first + random() % count);
        };
        if (size == 1)
            text.push_back(byte(1, 127));
        else if (size == 2)
            text.insert(text.end(), {byte(0xC0, 32), byte(0x80, 64)});
        else
            text.insert(text.end(), {byte(0xE0, 16), byte(0x80, 64), byte(0x80, 64)});
    }
    return text;
}

void expectText(const Bytes& source) {
    ASSERT_EQ(count(exactCopy(source).get(), source.size()), modelCount(source)) << show(source);
    if (!holdsUntouched(source)) {
        ASSERT_EQ(text(source), modelText(source)) << show(source);
    }
}

TEST(Utf8Decoder, EveryByteAtEveryPlaceOfALongText) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (unsigned style = 0; style < 4; ++style) {
        const Bytes good = longText(random, style, 52);
        for (std::size_t place = 0; place < good.size(); ++place) {
            for (unsigned value = 0; value < 256; ++value) {
                Bytes source = good;
                source[place] = static_cast<unsigned char>(value);
                expectDecodes(source, source.size() + 1, true);
                expectText(source);
            }
        }
    }
}

TEST(Utf8Decoder, LongTextsOfEveryLengthAndCapacity) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (unsigned style = 0; style < 4; ++style) {
        const Bytes good = longText(random, style, 80);
        for (std::size_t length = 0; length <= good.size(); ++length) {
            const Bytes source(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
            expectText(source);
            for (std::size_t capacity = 0; capacity <= length + 2; ++capacity) {
                expectDecodes(source, capacity, true);
                expectDecodes(source, capacity, false);
            }
        }
    }
}

TEST(Utf8Decoder, LongTextsWithMistakes) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 30000; ++round) {
        Bytes source = longText(random, static_cast<unsigned>(random() % 4), random() % 200);
        for (auto mistakes = random() % 4; mistakes > 0 && !source.empty(); --mistakes) {
            static const unsigned char common[] = {0x00, 0x41, 0x80, 0xBF, 0xC3, 0xE2, 0xEF, 0xF0, 0xFF};
            source[random() % source.size()] = common[random() % std::size(common)];
        }
        expectDecodes(source, source.size() + 1, true);
        expectDecodes(source, random() % (source.size() + 20), random() % 2 == 0);
        expectText(source);
    }
}

// Counting ------------------------------------------------------------------------------------------------------------

TEST(Utf8Counter, CountsCharacters) {
    EXPECT_EQ(count(nullptr, 0), 0u);
    const auto of = [](const Bytes& source) { return count(exactCopy(source).get(), source.size()); };
    EXPECT_EQ(of({0x41, 0xC3, 0xA9, 0xE2, 0x82, 0xAC}), 3u);
    EXPECT_EQ(of({0x41, 0x00, 0x42}), 1u);
    EXPECT_EQ(of({0x00}), 0u);
    EXPECT_EQ(of({0x41, 0x00, 0xFF}), 1u);
    EXPECT_EQ(of({0xC3}), 1u); // cut off, and yet it counts
    EXPECT_EQ(of({0xE2}), 1u);
    EXPECT_EQ(of({0xE2, 0x82}), 1u);
    EXPECT_EQ(of({0xC3, 0x00, 0x41}), 2u); // what is skipped is not looked at
    EXPECT_EQ(of({0xE2, 0xFF, 0xFF, 0x41}), 2u);
    EXPECT_EQ(of({0x41, 0x80}), 0u);
    EXPECT_EQ(of({0x41, 0xF0}), 0u);
    EXPECT_EQ(of({0xFF}), 0u);
}

TEST(Utf8Counter, EveryInputOfThreeBytes) {
    for (unsigned value = 0; value < 1u << 24; ++value) {
        const unsigned char source[3]{static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
                                      static_cast<unsigned char>(value)};
        std::size_t expected = 0;
        for (std::size_t position = 0; position < 3; ++expected) {
            const unsigned lead = source[position];
            if (lead == 0)
                break;
            if (lead / 64 == 2 || lead / 16 == 15) {
                expected = 0;
                break;
            }
            position += lead < 128 ? 1 : lead < 0xE0 ? 2 : 3;
        }
        ASSERT_EQ(count(source, 3), expected) << show({source[0], source[1], source[2]});
    }
}

TEST(Utf8Text, EveryInputOfOneAndTwoBytesAndManyOfThree) {
    const auto expectText = [](const Bytes& source) {
        if (!holdsUntouched(source)) {
            ASSERT_EQ(text(source), modelText(source)) << show(source);
        }
    };
    for (unsigned value = 0; value < 256; ++value)
        expectText({static_cast<unsigned char>(value)});
    for (unsigned value = 0; value < 65536; ++value)
        expectText({static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)});
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 300000; ++i) {
        const auto value = random();
        expectText({static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
                    static_cast<unsigned char>(value)});
    }
}

// Encoding ------------------------------------------------------------------------------------------------------------

TEST(Utf8Encoder, SkipsWhatDoesNotFitAndGoesOn) {
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 3).written, 2u);
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 3).buffer, (Bytes{0xC3, 0xA9, 0}));
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 2).written, 1u);
    EXPECT_EQ(encodeExact({0xE9, 0x41}, 2).buffer, (Bytes{0x41, 0}));
    EXPECT_EQ(encodeExact({0x20AC, 0xE9, 0x41, 0x42}, 4).buffer, (Bytes{0xE2, 0x82, 0xAC, 0}));
    EXPECT_EQ(encodeExact({0x41, 0x20AC, 0x42, 0x43}, 4).buffer, (Bytes{0x41, 0x42, 0x43, 0}));
}

TEST(Utf8Encoder, SurrogatesAreEncodedEachByItself) {
    const Encoded pair = encodeExact({0xD83D, 0xDE00}, 7);
    EXPECT_EQ(pair.written, 6u);
    EXPECT_EQ(pair.buffer, (Bytes{0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80, 0}));
}

TEST(Utf8Encoder, AZeroUnitIsWrittenAndEnds) {
    const Encoded ended = encodeExact({0x41, 0, 0x42}, 8);
    EXPECT_EQ(ended.written, 2u);
    EXPECT_EQ(ended.buffer, (Bytes{0x41, 0, 0, untouchedByte, untouchedByte, untouchedByte, untouchedByte, untouchedByte}));
    EXPECT_EQ(encodeExact({0x41, 0, 0x42}, 2).written, 1u); // no room for it: it ends the loop all the same
    EXPECT_EQ(encodeExact({0x41, 0, 0x42}, 2).buffer, (Bytes{0x41, 0}));
    EXPECT_EQ(encodeExact({0x20AC, 0, 0x42}, 3).written, 1u);
}

TEST(Utf8Encoder, NoSourceGivesATerminatorOnly) {
    EXPECT_EQ(encodeExact({}, 1).written, 0u);
    EXPECT_EQ(encodeExact({}, 2).buffer, (Bytes{0, untouchedByte}));
    unsigned char byte = untouchedByte;
    EXPECT_EQ(encode(nullptr, 0, &byte, 1), 0u);
    EXPECT_EQ(byte, 0);
}

TEST(Utf8Encoder, ACapacityOfZeroWritesNothing) {
    unsigned char bytes[4]{untouchedByte, untouchedByte, untouchedByte, untouchedByte};
    const WideChar source[2]{0x41, 0x20AC};
    encode(source, 2, bytes + 2, 0);
    encode(source, 0, bytes + 2, 0);
    EXPECT_EQ(Bytes(std::begin(bytes), std::end(bytes)), Bytes(4, untouchedByte));
}

TEST(Utf8Encoder, EveryUnitAtEveryCapacity) {
    for (unsigned unit = 0; unit < 65536; ++unit) {
        for (std::size_t capacity = 1; capacity < 7; ++capacity) {
            const Units source{static_cast<WideChar>(unit), 0x42};
            const Encoded expected = modelEncode(source, capacity);
            const Encoded got = encodeExact(source, capacity);
            ASSERT_EQ(got.written, expected.written) << unit << " into " << capacity;
            ASSERT_EQ(got.buffer, expected.buffer) << unit << " into " << capacity;
        }
    }
}

TEST(Utf8Encoder, RandomTextsAtRandomCapacities) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 100000; ++round) {
        Units source(random() % 10);
        for (WideChar& unit : source) {
            static const WideChar common[] = {0x41, 0x7F, 0x80, 0x7FF, 0x800, 0xD83D, 0xDE00, 0xFFFF};
            unit = random() % 4 == 0 ? static_cast<WideChar>(random() % 65536) : common[random() % std::size(common)];
            if (random() % 20 == 0)
                unit = 0;
        }
        const std::size_t capacity = 1 + random() % 32;
        const Encoded expected = modelEncode(source, capacity);
        const Encoded got = encodeExact(source, capacity);
        ASSERT_EQ(got.written, expected.written);
        ASSERT_EQ(got.buffer, expected.buffer);
    }
}

/// A text whose units take one byte, two, three, or any of them.
Units longUnits(std::mt19937& random, unsigned style, std::size_t length) {
    Units result(length);
    for (WideChar& unit : result) {
        const unsigned size = style < 3 ? style + 1 : static_cast<unsigned>(random() % 3) + 1;
        const unsigned first = size == 1 ? 1 : size == 2 ? 0x80 : 0x800;
        const unsigned last = size == 1 ? 0x7F : size == 2 ? 0x7FF : 0xFFFF;
        unit = static_cast<WideChar>(first + random() % (last - first + 1));
    }
    return result;
}

void expectEncodes(const Units& source, std::size_t capacity) {
    const Encoded expected = modelEncode(source, capacity);
    const Encoded got = encodeExact(source, capacity);
    ASSERT_EQ(got.written, expected.written) << source.size() << " units into " << capacity;
    ASSERT_EQ(got.buffer, expected.buffer) << source.size() << " units into " << capacity;
}

TEST(Utf8Encoder, LongTextsOfEveryLengthAndCapacity) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (unsigned style = 0; style < 4; ++style) {
        const Units all = longUnits(random, style, 60);
        for (std::size_t length = 0; length <= all.size(); ++length)
            for (std::size_t capacity = 1; capacity < 3 * length + 55; ++capacity)
                expectEncodes(Units(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(length)), capacity);
    }
}

TEST(Utf8Encoder, LongTextsWithZerosAndOddUnits) {
    const auto seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 30000; ++round) {
        Units source = longUnits(random, static_cast<unsigned>(random() % 4), random() % 120);
        for (auto odd = random() % 4; odd > 0 && !source.empty(); --odd) {
            static const WideChar common[] = {0, 0x7F, 0x80, 0x7FF, 0x800, 0x7FFF, 0x8000, 0xD83D, 0xDE00, 0xFFFF};
            source[random() % source.size()] = common[random() % std::size(common)];
        }
        expectEncodes(source, 3 * source.size() + 1);
        expectEncodes(source, 1 + random() % (3 * source.size() + 60));

        const Units before(source.begin(), std::find(source.begin(), source.end(), WideChar{0}));
        Bytes expected = modelEncode(before, 3 * before.size() + 1).buffer;
        expected.resize(modelEncode(before, 3 * before.size() + 1).written);
        const std::string encoded = StringOperations::ConvertToUTF8(WideString(source.begin(), source.end()));
        ASSERT_EQ(Bytes(encoded.begin(), encoded.end()), expected);
    }
}

TEST(Utf8Text, EveryUnitComesBack) {
    for (unsigned unit = 1; unit < 65536; ++unit) {
        const WideString source(1, static_cast<WideChar>(unit));
        const std::string bytes = StringOperations::ConvertToUTF8(source);
        const Bytes expected = encodeUnit(unit);
        ASSERT_EQ(Bytes(bytes.begin(), bytes.end()), expected);
        ASSERT_EQ(text(expected), source);
        ASSERT_EQ(textOfTerminated(expected), source);
    }
}

TEST(Utf8Text, EncodesUpToTheFirstZeroUnit) {
    EXPECT_EQ(StringOperations::ConvertToUTF8(WideString()), "");
    EXPECT_EQ(StringOperations::ConvertToUTF8(units({0x41, 0, 0x42})), "A");
    EXPECT_EQ(StringOperations::ConvertToUTF8(units({0, 0x42})), "");
}

TEST(Utf8Text, LongTextsLoseNothing) {
    WideString source;
    std::string expected;
    for (unsigned i = 0; i < 200000; ++i) {
        const unsigned unit = 1 + i * 7919 % 65535;
        source.push_back(static_cast<WideChar>(unit));
        for (const unsigned char byte : encodeUnit(unit))
            expected.push_back(static_cast<char>(byte));
    }
    const std::string encoded = StringOperations::ConvertToUTF8(source);
    EXPECT_TRUE(encoded == expected);
    EXPECT_TRUE(StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(encoded.data()), encoded.size()) ==
                source);
}

} // namespace
