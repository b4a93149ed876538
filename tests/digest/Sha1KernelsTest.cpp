// Every kernel that this processor runs, against published digests and against the plain one, which is the definition; and
// how hashers come to their kernel.

#include <Velmor/Digest.h>

#include "digest/Sha1Kernels.h"

#include <gtest/gtest.h>

#if defined(VELMOR_SHA1_X86)
    #include <cpuid.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Velmor::Sha1;
using Velmor::sha1::blockSize;
using Velmor::sha1::Kernel;
using Velmor::sha1::State;

std::string stateText(const State& state) {
    std::string text;
    char digits[12];
    for (const std::uint32_t word : state) {
        std::snprintf(digits, sizeof digits, "%08x ", static_cast<unsigned>(word));
        text += digits;
    }
    return text;
}

/// Makes all hashers use a kernel as long as it lives.
class Forced {
public:
    explicit Forced(const Kernel& kernel) { Velmor::sha1::forceKernel(&kernel); }
    ~Forced() { Velmor::sha1::forceKernel(nullptr); }
    Forced(const Forced&) = delete;
    Forced& operator=(const Forced&) = delete;
};

/// Random numbers whose seed every failure tells; VELMOR_SEED repeats a run.
class Random {
public:
    unsigned below(std::size_t bound) { return static_cast<unsigned>(engine_() % bound); }
    std::uint32_t word() { return static_cast<std::uint32_t>(engine_()); }
    unsigned seed() const { return seed_; }

private:
    static unsigned chooseSeed() {
        const char* const given = std::getenv("VELMOR_SEED");
        return given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
    }

    unsigned seed_ = chooseSeed();
    std::mt19937 engine_{seed_};
};

std::vector<char> randomBytes(Random& random, std::size_t size) {
    std::vector<char> bytes(size);
    for (char& byte : bytes)
        byte = static_cast<char>(random.below(256));
    return bytes;
}

class EveryKernel : public testing::TestWithParam<Kernel> {};

INSTANTIATE_TEST_SUITE_P(Sha1, EveryKernel,
                         testing::ValuesIn(Velmor::sha1::kernels().begin(), Velmor::sha1::kernels().end()),
                         [](const testing::TestParamInfo<Kernel>& kernel) {
                             std::string name = kernel.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST_P(EveryKernel, GivesThePublishedDigests) {
    const struct {
        std::string message;
        const char* digest;
    } cases[] = {
        {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
         "a49b2446a02c645bf419f995b67091253a04a259"},
        {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    };
    const Forced forced(GetParam());
    for (const auto& [message, digest] : cases)
        EXPECT_EQ(Sha1::FromData({message.begin(), message.end()}).asString(), digest) << message.size() << " bytes";
}

TEST_P(EveryKernel, GivesWhatThePlainOneGives) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    for (int round = 0; round < 2000; ++round) {
        const std::size_t count = random.below(40);
        // At any alignment, and exactly up to the end of the allocation.
        const std::size_t offset = random.below(64);
        const auto size = offset + count * blockSize;
        const std::unique_ptr<unsigned char[]> bytes(new unsigned char[size]);
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<unsigned char>(random.below(256));
        State expected;
        for (std::uint32_t& word : expected)
            word = random.word();
        State actual;
        std::copy(std::begin(expected), std::end(expected), actual);
        Velmor::sha1::compressPlain(expected, bytes.get() + offset, count);
        GetParam().compress(actual, bytes.get() + offset, count);
        ASSERT_EQ(stateText(actual), stateText(expected)) << count << " blocks at " << offset;
    }
}

TEST_P(EveryKernel, GivesTheSameForAnyPieces) {
    Random random;
    SCOPED_TRACE("VELMOR_SEED=" + std::to_string(random.seed()));
    const Forced forced(GetParam());
    for (int round = 0; round < 300; ++round) {
        const std::vector<char> message = randomBytes(random, random.below(2000));
        Sha1 hasher;
        for (std::size_t done = 0; done < message.size();) {
            const std::size_t piece = std::min<std::size_t>(random.below(300), message.size() - done);
            const auto begin = message.begin() + static_cast<std::ptrdiff_t>(done);
            hasher.appendData({begin, begin + static_cast<std::ptrdiff_t>(piece)});
            done += piece;
        }
        ASSERT_EQ(hasher.calculateDigest().asString(), Sha1::FromData(message).asString()) << message.size() << " bytes";
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
