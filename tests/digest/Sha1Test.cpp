#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "Sha1Checks.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace velmor_tests;
using Velmor::Sha1;

namespace {

Sha1 hasherOf(const Bytes& message) {
    Sha1 hasher;
    hasher.appendData(message);
    return hasher;
}

/// The fields of a hasher, read from its memory.
struct State {
    std::uint32_t blockFill = 0;
    std::array<char, 64> block{};
    Words words{};
    std::uint64_t totalLength = 0;

    explicit State(const Sha1& hasher) {
        const char* const object = reinterpret_cast<const char*>(&hasher);
        std::memcpy(&blockFill, object, 4);
        std::memcpy(block.data(), object + 4, 64);
        std::memcpy(words.data(), object + 68, 20);
        std::memcpy(&totalLength, object + 88, 8);
    }

    /// The bytes that have not been compressed.
    Bytes waiting() const { return Bytes(block.begin(), block.begin() + std::min<std::uint32_t>(blockFill, 64)); }
};

static_assert(std::is_standard_layout_v<Sha1> && !std::is_polymorphic_v<Sha1>);
static_assert(std::is_copy_constructible_v<Sha1> && std::is_copy_assignable_v<Sha1>);

} // namespace

// Digests -------------------------------------------------------------------------------------------------------------

TEST(Sha1, ComputesThePublishedDigests) {
    checkPublishedDigests();
}

TEST(Sha1, ComputesTheDigestsOfTheShortMessageVectors) {
    checkShortMessages();
}

TEST(Sha1, ComputesTheDigestsOfTheLongMessageVectors) {
    checkLongMessages();
}

TEST(Sha1, ComputesTheCheckpointsOfTheMonteCarloVectors) {
    checkMonteCarlo();
}

TEST(Sha1, EqualsTheReferenceForEveryLengthUpTo5000) {
    checkEveryLength();
}

TEST(Sha1, ComputesDigestsOfTwentyBytes) {
    EXPECT_EQ(Sha1().calculateDigest().asBytes().size(), 20u);
    EXPECT_EQ(Sha1::FromData(Bytes(100, 'x')).asBytes().size(), 20u);
}

TEST(Sha1, StartsWithTheEmptyMessage) {
    EXPECT_EQ(Sha1().calculateDigest(), Sha1::FromData(Bytes()));
}

// Pieces --------------------------------------------------------------------------------------------------------------

TEST(Sha1, AcceptsPiecesOfAnySize) {
    for (const std::size_t size :
         {0u, 1u, 54u, 55u, 56u, 57u, 62u, 63u, 64u, 65u, 119u, 120u, 127u, 128u, 129u, 191u, 1000u}) {
        const Bytes message = Random(size).bytes(size);
        const std::vector<unsigned char> expected = plainSha1(message);
        EXPECT_EQ(Sha1::FromData(message).asBytes(), expected) << size;
        for (const std::size_t piece : {0u, 1u, 2u, 3u, 31u, 63u, 64u, 65u, 127u, 128u, 129u})
            EXPECT_EQ(digestInPieces(message, piece).asBytes(), expected) << size << " bytes by " << piece;
    }
}

TEST(Sha1, AcceptsEverySplitInTwoPieces) {
    const Bytes message = Random(2).bytes(200);
    const std::vector<unsigned char> expected = plainSha1(message);
    for (std::ptrdiff_t at = 0; at <= 200; ++at) {
        Sha1 hasher;
        hasher.appendData(Bytes(message.begin(), message.begin() + at));
        hasher.appendData(Bytes(message.begin() + at, message.end()));
        EXPECT_EQ(hasher.calculateDigest().asBytes(), expected) << at;
    }
}

TEST(Sha1, AcceptsRandomPieces) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Random random(seed);
        const std::size_t longest = seed % 3 == 0 ? 10 : seed % 3 == 1 ? 200 : 5000;
        Sha1 hasher;
        Bytes whole;
        for (unsigned pieces = random.upTo(40u); pieces > 0; --pieces) {
            const Bytes piece = random.bytes(random.upTo(longest));
            hasher.appendData(piece);
            whole = whole + piece;
            ASSERT_EQ(Sha1(hasher).calculateDigest().asBytes(), plainSha1(whole));
        }
        EXPECT_EQ(hasher.calculateDigest().asBytes(), plainSha1(whole));
        EXPECT_EQ(Sha1::FromData(whole).asBytes(), plainSha1(whole));
    }
}

TEST(Sha1, IgnoresEmptyPieces) {
    Sha1 hasher;
    hasher.appendData({});
    hasher.appendData(bytesOf("ab"));
    hasher.appendData({});
    hasher.appendData({});
    hasher.appendData(bytesOf("c"));
    hasher.appendData({});
    EXPECT_EQ(hasher.calculateDigest().asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1, AcceptsBytesOfEveryValue) {
    for (int value = 0; value < 256; ++value) {
        const Bytes message(70, static_cast<char>(value));
        EXPECT_EQ(Sha1::FromData(message).asBytes(), plainSha1(message)) << value;
    }
}

// Copies and moves ----------------------------------------------------------------------------------------------------

TEST(Sha1, CopiesAreIndependent) {
    const Bytes head = Random(3).bytes(100);
    for (const std::size_t size : {0u, 1u, 27u, 28u, 29u, 100u}) {
        const Bytes one = Random(4).bytes(size);
        const Bytes other = Random(5).bytes(size + 7);
        Sha1 first = hasherOf(head);
        Sha1 second(first);
        first.appendData(one);
        second.appendData(other);
        Sha1 third;
        third.appendData(Bytes(33, 'z'));
        third = second;
        third.appendData(one);
        EXPECT_EQ(second.calculateDigest().asBytes(), plainSha1(head + other));
        EXPECT_EQ(third.calculateDigest().asBytes(), plainSha1(head + other + one));
        EXPECT_EQ(first.calculateDigest().asBytes(), plainSha1(head + one));
    }
}

TEST(Sha1, KeepsItsStateWhenMovedFrom) {
    const Bytes head = Random(6).bytes(100);
    const Bytes tail = Random(7).bytes(50);
    Sha1 source = hasherOf(head);
    Sha1 constructed(std::move(source));
    Sha1 assigned = hasherOf(tail);
    assigned = std::move(source); // NOLINT(bugprone-use-after-move): its state is kept
    source.appendData(tail);
    EXPECT_EQ(source.calculateDigest().asBytes(), plainSha1(head + tail));
    EXPECT_EQ(constructed.calculateDigest().asBytes(), plainSha1(head));
    EXPECT_EQ(assigned.calculateDigest().asBytes(), plainSha1(head));
}

TEST(Sha1, CopiesAndMovesTheWholeState) {
    for (const std::size_t size : {0u, 5u, 63u, 64u, 100u}) {
        const Sha1 source = hasherOf(Random(8).bytes(size));
        const State expected(source);
        Sha1 moved(source);
        Sha1 target;
        target = source;
        Sha1 moveTarget;
        moveTarget = Sha1(source);
        const Sha1 constructed(std::move(moved));
        for (const Sha1* copy : std::initializer_list<const Sha1*>{&target, &moveTarget, &constructed}) {
            const State state(*copy);
            EXPECT_EQ(state.blockFill, expected.blockFill);
            EXPECT_EQ(state.waiting(), expected.waiting());
            EXPECT_EQ(state.words, expected.words);
            EXPECT_EQ(state.totalLength, expected.totalLength);
        }
    }
}

TEST(Sha1, IsUnchangedBySelfAssignment) {
    Sha1 hasher = hasherOf(bytesOf("ab"));
    Sha1& same = hasher;
    hasher = same;
    hasher = std::move(same);
    hasher.appendData(bytesOf("c"));
    EXPECT_EQ(hasher.calculateDigest().asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1, StartsANewMessageAfterAssignmentOfANewHasher) {
    Sha1 hasher = hasherOf(bytesOf("the previous message"));
    hasher.calculateDigest();
    hasher = Sha1();
    hasher.appendData(bytesOf("abc"));
    EXPECT_EQ(hasher.calculateDigest().asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

// After the digest ----------------------------------------------------------------------------------------------------

TEST(Sha1, ComputesASecondDigestOfThePaddedMessage) {
    for (const std::size_t size : {0u, 1u, 3u, 55u, 56u, 57u, 63u, 64u, 65u, 119u, 120u, 128u, 1000u}) {
        const Bytes message = Random(9).bytes(size);
        Sha1 hasher = hasherOf(message);
        const Sha1::Digest first = hasher.calculateDigest();
        const Sha1::Digest second = hasher.calculateDigest();
        EXPECT_EQ(first.asBytes(), plainSha1(message)) << size;
        EXPECT_EQ(second.asBytes(), plainSha1(padded(message))) << size;
        EXPECT_FALSE(first == second);
        EXPECT_EQ(hasher.calculateDigest().asBytes(), plainSha1(padded(padded(message)))) << size;
    }
}

TEST(Sha1, AppendsAfterThePaddingOnceTheDigestIsCalculated) {
    for (const std::size_t size : {0u, 3u, 55u, 56u, 63u, 64u, 65u, 100u})
        for (const std::size_t more : {1u, 63u, 64u, 65u, 200u}) {
            const Bytes message = Random(10).bytes(size);
            const Bytes tail = Random(11).bytes(more);
            Sha1 hasher = hasherOf(message);
            hasher.calculateDigest();
            hasher.appendData(tail);
            EXPECT_EQ(hasher.calculateDigest().asBytes(), plainSha1(padded(message) + tail)) << size << ", " << more;
        }
}

// The state -----------------------------------------------------------------------------------------------------------

TEST(Sha1, StartsWithTheInitialStateOfTheStandard) {
    const State state{Sha1()};
    EXPECT_EQ(state.blockFill, 0u);
    EXPECT_EQ(state.words, (Words{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0}));
    EXPECT_EQ(state.totalLength, 0u);
}

TEST(Sha1, CompressesEveryWholeBlock) {
    const Bytes message = Random(12).bytes(300);
    for (std::size_t size = 0; size <= message.size(); ++size) {
        const Bytes head(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(size));
        const State state(hasherOf(head));
        ASSERT_EQ(state.blockFill, size % 64) << size;
        EXPECT_EQ(state.waiting(), Bytes(head.end() - static_cast<std::ptrdiff_t>(size % 64), head.end())) << size;
        EXPECT_EQ(state.words, plainBlocks(head)) << size;
        EXPECT_EQ(state.totalLength, size);
    }
}

TEST(Sha1, HasTheStateOfThePaddedMessageAfterTheDigest) {
    for (std::size_t size = 0; size <= 130; ++size) {
        const Bytes message = Random(13).bytes(size);
        Sha1 hasher = hasherOf(message);
        const Sha1::Digest digest = hasher.calculateDigest();
        const State state(hasher);
        EXPECT_EQ(state.blockFill, 0u) << size;
        EXPECT_EQ(state.words, plainBlocks(padded(message))) << size;
        EXPECT_EQ(bytesOf(state.words), digest.asBytes()) << size;
        EXPECT_EQ(state.totalLength, padded(message).size()) << size;
    }
}

TEST(Sha1, ComputesTheLengthInBitsModulo2To64) {
    // Appending messages of these lengths would take hours. The test writes the length into the hasher.
    const std::uint64_t lengths[] = {0x1FFFFFC0,         0x20000000,         0xFFFFFFC0,
                                     0x100000000,        0x123456789ABCDE40, 0x1FFFFFFFFFFFFFC0,
                                     0x2000000000000000, 0x2000000000000040, 0xFFFFFFFFFFFFFFC0};
    for (const std::uint64_t length : lengths) {
        Sha1 hasher;
        std::memcpy(reinterpret_cast<char*>(&hasher) + 88, &length, 8);
        Bytes block(64, 0);
        block[0] = static_cast<char>(0x80);
        for (std::size_t i = 0; i < 8; ++i)
            block[56 + i] = static_cast<char>(length * 8 >> (56 - 8 * i) & 0xFF);
        EXPECT_EQ(hasher.calculateDigest().asBytes(), bytesOf(plainBlocks(block))) << length;
        EXPECT_EQ(State(hasher).totalLength, length + 64) << length;
    }
}
