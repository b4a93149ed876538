// The fast UTF-8 kernels against the plain ones, which are the definition: the same counts, and the same buffers down to the
// units behind the text, which stay as they were.

#include "text/Utf8.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using Velmor::WideChar;
using Velmor::WideString;
using Velmor::utf8::Outcome;

using Bytes = std::vector<unsigned char>;
using Units = std::vector<WideChar>;

constexpr WideChar untouchedUnit = 0xABCD;
constexpr unsigned char untouchedByte = 0xEE;

std::string hex(const Bytes& bytes) {
    std::string text;
    char digits[4];
    for (const unsigned char byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

std::string hex(const Units& units) {
    std::string text;
    char digits[8];
    for (const WideChar unit : units) {
        std::snprintf(digits, sizeof digits, "%04X ", static_cast<unsigned>(unit));
        text += digits;
    }
    return text;
}

bool same(const Outcome& left, const Outcome& right) {
    return left.count == right.count && left.valid == right.valid;
}

/// Whether the fast decoder and the plain one agree on a text and a capacity.
bool decodesAlike(const Bytes& source, std::size_t capacity) {
    Units expected(capacity, untouchedUnit);
    Units actual(capacity, untouchedUnit);
    const Outcome plain = Velmor::utf8::plain::decode(source.data(), source.size(), expected.data(), capacity);
    const Outcome fast = Velmor::utf8::decode(source.data(), source.size(), actual.data(), capacity);
    return same(plain, fast) && expected == actual;
}

bool countsAlike(const Bytes& source) {
    return same(Velmor::utf8::plain::countCharacters(source.data(), source.size()),
                Velmor::utf8::countCharacters(source.data(), source.size()));
}

bool encodesAlike(const Units& source, std::size_t capacity) {
    Bytes expected(capacity, untouchedByte);
    Bytes actual(capacity, untouchedByte);
    const std::size_t plain = Velmor::utf8::plain::encode(source.data(), source.size(), expected.data(), capacity);
    const std::size_t fast = Velmor::utf8::encode(source.data(), source.size(), actual.data(), capacity);
    return plain == fast && expected == actual;
}

bool measuresAlike(const Units& source) {
    const Velmor::utf8::Extent plain = Velmor::utf8::plain::extentOf(source.data(), source.size());
    const Velmor::utf8::Extent fast = Velmor::utf8::extentOf(source.data(), source.size());
    return plain.units == fast.units && plain.bytes == fast.bytes;
}

/// Random numbers whose seed every failure tells; VELMOR_SEED repeats a run.
class Random {
public:
    Random() {
        const char* given = std::getenv("VELMOR_SEED");
        seed_ = given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
        engine_.seed(seed_);
    }

    unsigned seed() const { return seed_; }
    unsigned below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
    bool once(unsigned in) { return below(in) == 0; }

private:
    unsigned seed_;
    std::mt19937 engine_;
};

/// A unit of one to three bytes; `kinds` has one entry for every kind that may come, an entry twice makes it likelier.
WideChar randomUnit(Random& random, const std::string& kinds) {
    switch (kinds[random.below(static_cast<unsigned>(kinds.size()))]) {
    case '1':
        return static_cast<WideChar>(1 + random.below(0x7F));
    case '2':
        return static_cast<WideChar>(0x80 + random.below(0x780));
    case '3':
        return static_cast<WideChar>(0x800 + random.below(0xF800));
    case '0':
        return 0;
    default: // the ends of the ranges
        constexpr WideChar ends[] = {0x01, 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDFFF, 0xE000, 0xFFFF};
        return ends[random.below(sizeof ends / sizeof ends[0])];
    }
}

Units randomUnits(Random& random, const std::string& kinds, std::size_t length) {
    Units units;
    for (std::size_t i = 0; i < length; ++i)
        units.push_back(randomUnit(random, kinds));
    return units;
}

Bytes encoded(const Units& units) {
    Bytes bytes(3 * units.size());
    bytes.resize(Velmor::utf8::plain::encode(units.data(), units.size(), bytes.data(), bytes.size()));
    return bytes;
}

constexpr const char* scripts[] = {"1", "2", "3", "1111111112", "1112", "33333331", "12", "23", "123", "1231230e", "e"};

/// Bytes of every role: zero, ASCII, continuations, leads of two, three and more bytes, and what is none.
constexpr unsigned char roles[] = {0x00, 0x01, 0x41, 0x7F, 0x80, 0xBF, 0xC0, 0xC3, 0xDF, 0xE0, 0xE2, 0xEF, 0xF0, 0xF4, 0xFF};

TEST(Utf8Kernels, EveryShortSequenceDecodesAlikeAtEveryPlaceOfABlock) {
    const Bytes around[] = {Bytes(40, 'a'), encoded(Units(20, 0xE9)), encoded(Units(14, 0x4E2D))};
    for (const Bytes& text : around) {
        for (std::size_t place = 0; place < 20; ++place) {
            for (const unsigned char first : roles) {
                for (const unsigned char second : roles) {
                    for (const unsigned char third : roles) {
                        Bytes source = text;
                        source[place] = first;
                        source[place + 1] = second;
                        source[place + 2] = third;
                        ASSERT_TRUE(decodesAlike(source, source.size())) << hex(source);
                        ASSERT_TRUE(countsAlike(source)) << hex(source);
                    }
                }
            }
        }
    }
}

TEST(Utf8Kernels, EveryPairOfBytesDecodesAlikeAcrossABlocksEnd) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        Bytes source(48, 'a');
        source[15] = static_cast<unsigned char>(pair >> 8);
        source[16] = static_cast<unsigned char>(pair);
        ASSERT_TRUE(decodesAlike(source, source.size())) << hex(source);
        ASSERT_TRUE(countsAlike(source)) << hex(source);
    }
}

TEST(Utf8Kernels, EveryUnitEncodesAlikeAtEveryPlaceOfABlock) {
    const WideChar around[] = {u'a', 0xE9, 0x4E2D};
    for (const WideChar other : around) {
        for (std::size_t place = 0; place < 16; ++place) {
            Units source(20, other);
            for (unsigned unit = 0; unit < 0x10000; ++unit) {
                source[place] = static_cast<WideChar>(unit);
                ASSERT_TRUE(encodesAlike(source, 70)) << hex(source);
                ASSERT_TRUE(measuresAlike(source)) << hex(source);
            }
        }
    }
}

TEST(Utf8Kernels, TextOfEveryLengthConvertsAlike) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    for (const char* script : scripts) {
        for (std::size_t length = 0; length < 150; ++length) {
            const Units units = randomUnits(random, script, length);
            const Bytes bytes = encoded(units);
            ASSERT_TRUE(decodesAlike(bytes, length)) << hex(bytes);
            ASSERT_TRUE(countsAlike(bytes)) << hex(bytes);
            ASSERT_TRUE(encodesAlike(units, 3 * length)) << hex(units);
            ASSERT_TRUE(encodesAlike(units, bytes.size())) << hex(units);
            ASSERT_TRUE(measuresAlike(units)) << hex(units);
        }
    }
}

TEST(Utf8Kernels, BuffersOfEverySizeAreFilledAlike) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    for (const char* script : scripts) {
        const Units units = randomUnits(random, script, 70);
        const Bytes bytes = encoded(units);
        for (std::size_t capacity = 0; capacity < 220; ++capacity) {
            ASSERT_TRUE(decodesAlike(bytes, capacity)) << hex(bytes) << capacity;
            ASSERT_TRUE(encodesAlike(units, capacity)) << hex(units) << capacity;
        }
    }
}

TEST(Utf8Kernels, DamagedTextDecodesAlike) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    for (int round = 0; round < 60000; ++round) {
        const char* script = scripts[static_cast<std::size_t>(round) % (sizeof scripts / sizeof scripts[0])];
        Bytes bytes = encoded(randomUnits(random, script, random.below(100)));
        for (unsigned damages = 1 + random.below(3); damages > 0 && !bytes.empty(); --damages) {
            const std::size_t place = random.below(static_cast<unsigned>(bytes.size()));
            if (random.once(3))
                bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(place));
            else
                bytes[place] =
                    random.once(2) ? roles[random.below(sizeof roles)] : static_cast<unsigned char>(random.below(256));
        }
        ASSERT_TRUE(decodesAlike(bytes, random.once(4) ? random.below(120) : bytes.size())) << hex(bytes);
        ASSERT_TRUE(countsAlike(bytes)) << hex(bytes);
    }
}

TEST(Utf8Kernels, NoiseDecodesAlike) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    for (int round = 0; round < 60000; ++round) {
        Bytes bytes(random.below(80));
        const bool any = random.once(2);
        for (unsigned char& byte : bytes)
            byte = any ? static_cast<unsigned char>(random.below(256)) : roles[random.below(12)];
        ASSERT_TRUE(decodesAlike(bytes, random.below(90))) << hex(bytes);
        ASSERT_TRUE(countsAlike(bytes)) << hex(bytes);
    }
}

TEST(Utf8Kernels, ZeroUnitEndsTheTextWhereverItStands) {
    for (std::size_t place = 0; place < 70; ++place) {
        Units units(70, u'a');
        units[place] = 0;
        Bytes buffer(300, untouchedByte);
        EXPECT_EQ(Velmor::utf8::encode(units.data(), units.size(), buffer.data(), buffer.size()), place + 1);
        EXPECT_EQ(buffer[place], 0);
        EXPECT_EQ(buffer[place + 1], untouchedByte);
        EXPECT_EQ(Velmor::utf8::extentOf(units.data(), units.size()).units, place);
    }
}

TEST(Utf8Kernels, WellFormedTextComesBackUnchanged) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    for (int round = 0; round < 2000; ++round) {
        const Units units = randomUnits(random, "1112233e", 1 + random.below(300));
        const Bytes bytes = encoded(units);
        ASSERT_EQ(Velmor::utf8::extentOf(units.data(), units.size()).bytes, bytes.size());
        ASSERT_EQ(Velmor::utf8::countCharacters(bytes.data(), bytes.size()).count, units.size());
        Units back(units.size());
        ASSERT_EQ(Velmor::utf8::decode(bytes.data(), bytes.size(), back.data(), back.size()).count, units.size());
        ASSERT_EQ(back, units) << hex(units);
    }
}

} // namespace
