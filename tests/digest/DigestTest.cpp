#include <Velmor/Digest.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using Velmor::Sha1;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::Random;

namespace {

using Digest = Sha1::Digest;
using Octets = std::vector<unsigned char>;

const Octets abcBytes = {0xA9, 0x99, 0x3E, 0x36, 0x47, 0x06, 0x81, 0x6A, 0xBA, 0x3E,
                         0x25, 0x71, 0x78, 0x50, 0xC2, 0x6C, 0x9C, 0xD0, 0xD8, 0x9D};
const Octets fiveZeros(5, 0);

std::string plainHex(const Octets& bytes) {
    std::string text;
    for (const unsigned char byte : bytes)
        for (const int nibble : {byte / 16, byte % 16})
            text += static_cast<char>(nibble < 10 ? '0' + nibble : 'a' + nibble - 10);
    return text;
}

/// Base64 computed from the text of all bits: six bits per digit, padded with zero bits and then with equals signs.
std::string plainBase64(const Octets& bytes) {
    std::string bits;
    for (const unsigned char byte : bytes)
        for (int bit = 7; bit >= 0; --bit)
            bits += (byte >> bit & 1) != 0 ? '1' : '0';
    std::string text;
    for (std::size_t i = 0; i < bits.size(); i += 6) {
        std::string six = bits.substr(i, 6);
        six.resize(6, '0');
        const int value = std::stoi(six, nullptr, 2);
        text += static_cast<char>(value < 26    ? 'A' + value
                                  : value < 52  ? 'a' + value - 26
                                  : value < 62  ? '0' + value - 52
                                  : value == 62 ? '+'
                                                : '/');
    }
    while (text.size() % 4 != 0)
        text += '=';
    return text;
}

/// The value of a character of hexadecimal text; 0 if it is not a digit.
unsigned plainNibble(int character) {
    const std::size_t at = std::string("0123456789abcdefABCDEF").find(static_cast<char>(character));
    return at == std::string::npos ? 0 : static_cast<unsigned>(at < 16 ? at : at - 6);
}

WideString widened(const std::string& text) {
    WideString wide;
    for (const char c : text)
        wide += static_cast<WideChar>(c);
    return wide;
}

std::string upperCase(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

static_assert(!std::is_default_constructible_v<Digest>);
static_assert(std::is_constructible_v<Digest, const Octets&>);
static_assert(std::is_copy_constructible_v<Digest> && std::is_copy_assignable_v<Digest>);
static_assert(std::is_nothrow_move_constructible_v<Digest> && std::is_nothrow_move_assignable_v<Digest>);
static_assert(!std::is_polymorphic_v<Digest>);
static_assert(std::is_same_v<decltype(std::declval<const Digest&>().asBytes()), const Octets&>);
static_assert(std::is_same_v<decltype(std::declval<const Digest&>().asString()), std::string>);
static_assert(std::is_same_v<decltype(std::declval<const Digest&>().asWString()), WideString>);
static_assert(std::is_same_v<decltype(std::declval<const Digest&>().asBase64String()), std::string>);
static_assert(std::is_same_v<decltype(std::declval<const Digest&>().asBase64WString()), WideString>);

} // namespace

// Bytes, copies and moves ---------------------------------------------------------------------------------------------

TEST(Digest, CopiesAnyNumberOfBytes) {
    for (const std::size_t size : {0u, 1u, 5u, 19u, 20u, 21u, 64u, 1000u}) {
        Octets bytes = Random(1).bytes<unsigned char>(size);
        const Octets original = bytes;
        const Digest digest(bytes);
        bytes.assign(size, 0x55);
        EXPECT_EQ(digest.asBytes(), original);
    }
}

TEST(Digest, CopiesAreIndependent) {
    Digest first(abcBytes);
    const Digest second(first);
    Digest third(Octets(3, 1));
    third = first;
    first = Digest(Octets(2, 7));
    EXPECT_EQ(first.asBytes(), Octets(2, 7));
    EXPECT_EQ(second.asBytes(), abcBytes);
    EXPECT_EQ(third.asBytes(), abcBytes);
    EXPECT_NE(second.asBytes().data(), third.asBytes().data());
}

TEST(Digest, IsEmptyWhenMovedFrom) {
    for (const std::size_t size : {0u, 1u, 20u, 100u}) {
        const Octets bytes = Random(2).bytes<unsigned char>(size);
        Digest source(bytes);
        Digest constructed(std::move(source));
        EXPECT_EQ(constructed.asBytes(), bytes);
        EXPECT_TRUE(source.asBytes().empty()); // NOLINT(bugprone-use-after-move)
        EXPECT_EQ(source.asString(), "");
        EXPECT_EQ(source, Digest(Octets()));

        for (const std::size_t before : {0u, 1u, 20u, 200u}) {
            Digest assigned(Octets(before, 9));
            Digest other(bytes);
            assigned = std::move(other);
            EXPECT_EQ(assigned.asBytes(), bytes);
            EXPECT_TRUE(other.asBytes().empty()); // NOLINT(bugprone-use-after-move)
            other = assigned;
            EXPECT_EQ(other.asBytes(), bytes);
        }
    }
}

TEST(Digest, IsUnchangedByCopyAssignmentToItself) {
    Digest digest(abcBytes);
    Digest& same = digest;
    digest = same;
    EXPECT_EQ(digest.asBytes(), abcBytes);
}

TEST(Digest, IsUnchangedByMoveAssignmentToItself) {
    Digest digest(abcBytes);
    Digest& same = digest;
    digest = std::move(same);
    EXPECT_EQ(digest.asBytes(), abcBytes);
}

// Equality ------------------------------------------------------------------------------------------------------------

TEST(Digest, EqualsOnlyEqualBytes) {
    const Digest digest(abcBytes);
    EXPECT_TRUE(digest == digest);
    EXPECT_TRUE(digest == Digest(abcBytes));
    for (std::size_t i = 0; i < abcBytes.size(); ++i)
        for (int bit = 0; bit < 8; ++bit) {
            Octets other = abcBytes;
            other[i] = static_cast<unsigned char>(other[i] ^ 1 << bit);
            EXPECT_FALSE(digest == Digest(other)) << i << ", " << bit;
            EXPECT_FALSE(Digest(other) == digest) << i << ", " << bit;
        }
}

TEST(Digest, EqualsOnlyTheSameNumberOfBytes) {
    for (std::size_t one = 0; one <= 25; ++one)
        for (std::size_t other = 0; other <= 25; ++other)
            EXPECT_EQ(Digest(Octets(one, 0)) == Digest(Octets(other, 0)), one == other) << one << ", " << other;
}

TEST(Digest, EqualsAnotherEmptyDigestIfEmpty) {
    EXPECT_TRUE(Digest(Octets()) == Digest(Octets()));
    EXPECT_EQ(Digest(Octets()).asString(), "");
    EXPECT_EQ(Digest(Octets()).asWString(), WideString());
    EXPECT_EQ(Digest(Octets()).asBase64String(), "");
    EXPECT_EQ(Digest(Octets()).asBase64WString(), WideString());
}

// Text forms ----------------------------------------------------------------------------------------------------------

TEST(Digest, FormatsAKnownDigest) {
    const Digest digest(abcBytes);
    EXPECT_EQ(digest.asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(digest.asWString(), VELMOR_WIDE("a9993e364706816aba3e25717850c26c9cd0d89d"));
    EXPECT_EQ(digest.asBase64String(), "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=");
    EXPECT_EQ(digest.asBase64WString(), VELMOR_WIDE("qZk+NkcGgWq6PiVxeFDCbJzQ2J0="));
}

TEST(Digest, FormatsThePublishedExamplesOfBase64) {
    const std::pair<std::string, std::string> cases[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"},
                                                         {"\xFF", "/w=="},
                                                         {"\xFF\xFF", "//8="},
                                                         {"\xFB\xEF\xBE", "++++"}};
    for (const auto& [text, base64] : cases)
        EXPECT_EQ(Digest(Octets(text.begin(), text.end())).asBase64String(), base64);
}

TEST(Digest, FormatsRandomBytes) {
    for (unsigned seed = 1; seed <= 20; ++seed)
        for (std::size_t size = 0; size <= 64; ++size) {
            Random random(seed);
            const Octets bytes = random.bytes<unsigned char>(size);
            const Digest digest(bytes);
            EXPECT_EQ(digest.asString(), plainHex(bytes));
            EXPECT_EQ(digest.asWString(), widened(plainHex(bytes)));
            EXPECT_EQ(digest.asBase64String(), plainBase64(bytes));
            EXPECT_EQ(digest.asBase64WString(), widened(plainBase64(bytes)));
        }
}

TEST(Digest, FormatsEveryByteAtEveryPositionOfAGroup) {
    for (int value = 0; value < 256; ++value)
        for (std::size_t size = 1; size <= 3; ++size)
            for (std::size_t at = 0; at < size; ++at)
                for (const unsigned char other : Octets{0x00, 0xFF}) {
                    Octets bytes(size, other);
                    bytes[at] = static_cast<unsigned char>(value);
                    EXPECT_EQ(Digest(bytes).asString(), plainHex(bytes));
                    EXPECT_EQ(Digest(bytes).asBase64String(), plainBase64(bytes));
                }
}

TEST(Digest, FormatsTwentyBytesAs40HexAnd28Base64Characters) {
    const Digest digest(Random(3).bytes<unsigned char>(20));
    EXPECT_EQ(digest.asString().size(), 40u);
    EXPECT_EQ(digest.asWString().size(), 40u);
    EXPECT_EQ(digest.asBase64String().size(), 28u);
    EXPECT_EQ(digest.asBase64String().back(), '=');
    EXPECT_NE(digest.asBase64String()[26], '=');
    EXPECT_EQ(digest.asBase64WString().size(), 28u);
}

// Parsing hexadecimal text --------------------------------------------------------------------------------------------

TEST(Digest, ParsesItsTextInUpperAndLowerCase) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Random random(seed);
        const Digest digest(random.bytes<unsigned char>(20));
        std::string text = digest.asString();
        EXPECT_EQ(Digest::fromString(text), digest);
        EXPECT_EQ(Digest::fromString(upperCase(text)), digest);
        for (std::size_t i = 0; i < text.size(); i += 2)
            text[i] = upperCase(text).at(i);
        EXPECT_EQ(Digest::fromString(text), digest);
    }
}

TEST(Digest, ParsesEveryCharacterAtEveryPosition) {
    for (const char rest : {'0', 'f'})
        for (std::size_t at = 0; at < 40; ++at)
            for (int character = 0; character < 256; ++character) {
                std::string text(40, rest);
                text[at] = static_cast<char>(character);
                Octets expected(20, rest == 'f' ? 0xFF : 0);
                const unsigned high = at % 2 == 0 ? plainNibble(character) : plainNibble(rest);
                const unsigned low = at % 2 == 0 ? plainNibble(rest) : plainNibble(character);
                expected[at / 2] = static_cast<unsigned char>(16 * high + low);
                ASSERT_EQ(Digest::fromString(text).asBytes(), expected) << "character " << character << " at " << at;
            }
}

TEST(Digest, ParsesOtherCharactersAsZeros) {
    for (int character = 0; character < 256; ++character) {
        if (plainNibble(character) != 0)
            continue;
        EXPECT_EQ(Digest::fromString(std::string(40, static_cast<char>(character))).asBytes(), Octets(20, 0)) << character;
    }
    EXPECT_EQ(Digest::fromString("0x0x0x0x0x0x0x0x0x0x0x0x0x0x0x0x0x0x0x0x").asBytes(), Octets(20, 0));
}

TEST(Digest, ParsesRandomCharacters) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
        Random random(seed);
        const std::vector<unsigned char> characters = random.bytes<unsigned char>(40);
        Octets expected;
        for (std::size_t i = 0; i < 40; i += 2)
            expected.push_back(static_cast<unsigned char>(16 * plainNibble(characters[i]) + plainNibble(characters[i + 1])));
        EXPECT_EQ(Digest::fromString(std::string(characters.begin(), characters.end())).asBytes(), expected);
    }
}

TEST(Digest, ParsesOnlyTextsOf40Characters) {
    for (std::size_t size = 0; size <= 100; ++size)
        for (const char character : {'a', '0', 'g', '\0'}) {
            const Octets bytes = Digest::fromString(std::string(size, character)).asBytes();
            EXPECT_EQ(bytes, size == 40 ? Octets(20, character == 'a' ? 0xAA : 0) : fiveZeros) << size;
        }
    EXPECT_EQ(Digest::fromString("qZk+NkcGgWq6PiVxeFDCbJzQ2J0=").asBytes(), fiveZeros);
    EXPECT_EQ(Digest::fromString("0xa9993e364706816aba3e25717850c26c9cd0d89d").asBytes(), fiveZeros);
    EXPECT_EQ(Digest::fromString(std::string(1 << 20, 'a')).asBytes(), fiveZeros);
}

TEST(Digest, IsFiveZeroBytesForAnInvalidText) {
    // No digest of twenty bytes equals it.
    const Digest invalid = Digest::fromString("");
    EXPECT_EQ(invalid.asBytes(), fiveZeros);
    EXPECT_EQ(invalid.asString(), "0000000000");
    EXPECT_EQ(invalid.asWString(), VELMOR_WIDE("0000000000"));
    EXPECT_EQ(invalid.asBase64String(), "AAAAAAA=");
    EXPECT_EQ(invalid.asBase64WString(), VELMOR_WIDE("AAAAAAA="));
    EXPECT_EQ(invalid, Digest::fromString("not a digest"));
    EXPECT_FALSE(invalid == Digest(Octets(20, 0)));
    EXPECT_FALSE(invalid == Digest::fromString(std::string(40, '0')));
    EXPECT_FALSE(invalid == Digest(Octets()));
    EXPECT_FALSE(invalid == Sha1::FromData({}));
}

TEST(Digest, ReturnsACopyOfTheInvalidDigest) {
    Digest first = Digest::fromString("");
    first = Digest(abcBytes);
    Digest second = Digest::fromString("");
    const Digest third(std::move(second));
    EXPECT_EQ(third.asBytes(), fiveZeros);
    EXPECT_EQ(Digest::fromString("").asBytes(), fiveZeros);
    EXPECT_NE(Digest::fromString("").asBytes().data(), third.asBytes().data());
}
