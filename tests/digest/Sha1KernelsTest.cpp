// Every kernel of SHA-1 that this processor can run, compared to published digests and to the reference, and how the hashers
// call their kernel.

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "Sha1Checks.h"
#include "digest/Sha1Compression.h"
#include "simd/ForcedKernel.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::Sha1;
using Velmor::digest::blockSize;
using Velmor::digest::compressDispatch;
using Velmor::digest::Kernel;
using Velmor::digest::State;
using Velmor::simd::InstructionSet;
using Velmor::simd::isSupported;

namespace {

class Sha1Kernels : public testing::TestWithParam<Kernel> {};

INSTANTIATE_TEST_SUITE_P(Sha1, Sha1Kernels, allKernels(compressDispatch), KernelName());

TEST_P(Sha1Kernels, ComputeThePublishedDigests) {
    const ForcedKernel forced(compressDispatch, GetParam());
    checkPublishedDigests();
}

TEST_P(Sha1Kernels, ComputeTheDigestsOfTheShortMessageVectors) {
    const ForcedKernel forced(compressDispatch, GetParam());
    checkShortMessages();
}

TEST_P(Sha1Kernels, ComputeTheDigestsOfTheLongMessageVectors) {
    const ForcedKernel forced(compressDispatch, GetParam());
    checkLongMessages();
}

TEST_P(Sha1Kernels, ComputeTheCheckpointsOfTheMonteCarloVectors) {
    const ForcedKernel forced(compressDispatch, GetParam());
    checkMonteCarlo();
}

TEST_P(Sha1Kernels, EqualTheReferenceForEveryLengthUpTo5000) {
    const ForcedKernel forced(compressDispatch, GetParam());
    checkEveryLength();
}

TEST_P(Sha1Kernels, EqualTheReferenceForRandomStatesAndBlocks) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        Random random(seed);
        const std::size_t count = random.below(40u);
        // At any alignment, up to the end of the allocation.
        const std::size_t offset = random.below(64u);
        const Bytes bytes = random.bytes(offset + count * blockSize);
        State state;
        for (std::uint32_t& word : state)
            word = static_cast<std::uint32_t>(random.bits());
        const Words expected =
            plainBlocks(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end()), std::to_array(state));
        GetParam().functions(state, reinterpret_cast<const unsigned char*>(bytes.data()) + offset, count);
        ASSERT_EQ(std::to_array(state), expected) << count << " blocks at " << offset;
    }
}

TEST_P(Sha1Kernels, EqualTheReferenceForRandomPieces) {
    const ForcedKernel forced(compressDispatch, GetParam());
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Random random(seed);
        const Bytes message = random.bytes(random.below(2000u));
        Sha1 hasher;
        for (std::size_t done = 0; done < message.size();) {
            const std::size_t piece = std::min<std::size_t>(random.below(300u), message.size() - done);
            const auto begin = message.begin() + static_cast<std::ptrdiff_t>(done);
            hasher.appendData({begin, begin + static_cast<std::ptrdiff_t>(piece)});
            done += piece;
        }
        ASSERT_EQ(hasher.calculateDigest().asBytes(), plainSha1(message)) << message.size() << " bytes";
    }
}

TEST(Sha1Dispatch, ListsTheKernelsOfTheProcessor) {
    std::vector<std::string> expected = {"plain"};
    if (isSupported(InstructionSet::Ssse3))
        expected.emplace_back("ssse3");
    if (isSupported(InstructionSet::ShaExtensions))
        expected.emplace_back("sha extensions");
    EXPECT_EQ(kernelNames(compressDispatch), expected);
}

/// The arguments of a call of a kernel.
struct Call {
    const unsigned char* blocks;
    std::size_t count;

    bool operator==(const Call& other) const = default;
};

std::vector<Call> calls;

constexpr Kernel recordingKernel = {"recording", InstructionSet::Baseline,
                                    [](State&, const unsigned char* blocks, std::size_t count) {
                                        calls.push_back({blocks, count});
                                    }};

TEST(Sha1Dispatch, CallsTheForcedKernelUntilItIsReleased) {
    calls.clear();
    {
        const ForcedKernel forced(compressDispatch, recordingKernel);
        Sha1::FromData({});
        EXPECT_EQ(calls.size(), 1u);
    }
    EXPECT_EQ(Sha1::FromData({}).asString(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(calls.size(), 1u);
}

TEST(Sha1Dispatch, CallsAKernelOnceForAllWholeBlocksWithoutCopyingThem) {
    calls.clear();
    const ForcedKernel forced(compressDispatch, recordingKernel);
    const std::vector<char> data(3 * blockSize + 10);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data.data());
    Sha1 hasher;
    hasher.appendData(data);
    EXPECT_EQ(calls, (std::vector<Call>{{bytes, 3}}));

    // The ten bytes that remain are completed to a block inside the hasher; two whole blocks follow.
    calls.clear();
    hasher.appendData(data);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].count, 1u);
    EXPECT_EQ(calls[1], (Call{bytes + blockSize - 10, 2}));
}

} // namespace
