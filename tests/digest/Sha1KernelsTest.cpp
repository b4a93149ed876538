// Every kernel that this processor runs, against published digests and against the standard's own steps, written once more
// apart from the library; and how hashers come to their kernel.

#include "digest/Sha1Kernels.h"

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "RandomBytes.h"
#include "Sha1Checks.h"

#include <gtest/gtest.h>

#if defined(VELMOR_SHA1_X86)
    #include <cpuid.h>
#endif

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace velmor_tests;

namespace {

using Velmor::Sha1;
using Velmor::sha1::blockSize;
using Velmor::sha1::Kernel;
using Velmor::sha1::State;

/// Makes all hashers use a kernel as long as it lives.
class Forced {
public:
    explicit Forced(const Kernel& kernel) { Velmor::sha1::forceKernel(&kernel); }
    ~Forced() { Velmor::sha1::forceKernel(nullptr); }
    Forced(const Forced&) = delete;
    Forced& operator=(const Forced&) = delete;
};

class EveryKernel : public testing::TestWithParam<Kernel> {};

INSTANTIATE_TEST_SUITE_P(Sha1, EveryKernel,
                         testing::ValuesIn(Velmor::sha1::kernels().begin(), Velmor::sha1::kernels().end()),
                         [](const testing::TestParamInfo<Kernel>& kernel) {
                             std::string name = kernel.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST_P(EveryKernel, GivesThePublishedDigests) {
    const Forced forced(GetParam());
    checkPublishedDigests();
}

TEST_P(EveryKernel, MeetsTheVectorsOfShortMessages) {
    const Forced forced(GetParam());
    checkShortMessages();
}

TEST_P(EveryKernel, MeetsTheVectorsOfLongMessages) {
    const Forced forced(GetParam());
    checkLongMessages();
}

TEST_P(EveryKernel, MeetsTheCheckpointsOfTheMonteCarloTest) {
    const Forced forced(GetParam());
    checkMonteCarlo();
}

TEST_P(EveryKernel, EveryLengthToFiveThousandEqualsThePlainOne) {
    const Forced forced(GetParam());
    checkEveryLength();
}

TEST_P(EveryKernel, CompressesAnyStateAndBlocksAsTheStandardDoes) {
    for (std::uint32_t seed = 1; seed <= 2000; ++seed) {
        Random random(seed);
        const std::size_t count = random.upTo(39);
        // At any alignment, and exactly up to the end of the allocation.
        const std::size_t offset = random.upTo(63);
        const Bytes bytes = random.bytes(offset + count * blockSize);
        State state;
        for (std::uint32_t& word : state)
            word = static_cast<std::uint32_t>(random.upTo(0xFFFFFFFF));
        const Words expected =
            plainBlocks(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end()), std::to_array(state));
        GetParam().compress(state, reinterpret_cast<const unsigned char*>(bytes.data()) + offset, count);
        ASSERT_EQ(std::to_array(state), expected) << "seed " << seed << ", " << count << " blocks at " << offset;
    }
}

TEST_P(EveryKernel, AnyPiecesGiveTheDigestOfTheWhole) {
    const Forced forced(GetParam());
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        Random random(seed);
        const Bytes message = random.bytes(random.upTo(1999));
        Sha1 hasher;
        for (std::size_t done = 0; done < message.size();) {
            const std::size_t piece = std::min(random.upTo(299), message.size() - done);
            const auto begin = message.begin() + static_cast<std::ptrdiff_t>(done);
            hasher.appendData({begin, begin + static_cast<std::ptrdiff_t>(piece)});
            done += piece;
        }
        ASSERT_EQ(hasher.calculateDigest().asBytes(), plainSha1(message))
            << "seed " << seed << ", " << message.size() << " bytes";
    }
}

std::vector<std::string> names() {
    std::vector<std::string> found;
    for (const Kernel& kernel : Velmor::sha1::kernels())
        found.emplace_back(kernel.name);
    return found;
}

TEST(Sha1Kernels, AreThoseOfTheProcessor) {
    std::vector<std::string> expected = {"plain"};
#if defined(VELMOR_SHA1_X86)
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) && (c & bit_SSSE3))
        expected.emplace_back("ssse3");
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_SHA))
        expected.emplace_back("sha extensions");
#endif
    EXPECT_EQ(names(), expected);
}

/// What the hashers ask of their kernel.
struct Call {
    const unsigned char* blocks;
    std::size_t count;

    bool operator==(const Call& other) const = default;
};

std::vector<Call> calls;

constexpr Kernel recording = {"recording", [](State&, const unsigned char* blocks, std::size_t count) {
                                  calls.push_back({blocks, count});
                              }};

TEST(Sha1Kernels, AForcedOneServesAllHashersUntilItIsReleased) {
    calls.clear();
    {
        const Forced forced(recording);
        Sha1::FromData({});
        EXPECT_EQ(calls.size(), 1u);
    }
    EXPECT_EQ(Sha1::FromData({}).asString(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(calls.size(), 1u);
}

TEST(Sha1Kernels, GetWholeBlocksWhereTheyLie) {
    calls.clear();
    const Forced forced(recording);
    const std::vector<char> data(3 * blockSize + 10);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data.data());
    Sha1 hasher;
    hasher.appendData(data);
    EXPECT_EQ(calls, (std::vector<Call>{{bytes, 3}}));

    // The ten bytes left over are completed to a block of the hasher's own; two more whole ones follow.
    calls.clear();
    hasher.appendData(data);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].count, 1u);
    EXPECT_EQ(calls[1], (Call{bytes + blockSize - 10, 2}));
}

} // namespace
