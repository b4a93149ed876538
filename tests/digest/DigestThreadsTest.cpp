// Digests on several threads at once; what a thread sanitizer is to see.

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "RandomBytes.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using namespace velmor_tests;
using Velmor::Sha1;

namespace {

/// Runs something on several threads, which begin together; gives how often it answered no.
template <class Check>
int faultsOn(unsigned count, Check check) {
    std::atomic<unsigned> ready{0};
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            ++ready;
            while (ready != count)
                std::this_thread::yield();
            if (!check(number))
                ++faults;
        });
    for (std::thread& thread : threads)
        thread.join();
    return faults;
}

/// Ends the scenario with an error when a thread had another digest.
void require(bool condition) {
    if (!condition) {
        std::fputs("a thread had another digest\n", stderr);
        std::exit(1);
    }
}

} // namespace

VELMOR_SCENARIO(FirstInvalidDigestOnManyThreads) {
    const std::vector<unsigned char> fiveZeros(5, 0);
    const int faults = faultsOn(
        8, [&](unsigned number) { return Sha1::Digest::fromString(std::string(number, 'a')).asBytes() == fiveZeros; });
    require(faults == 0);
}

VELMOR_SCENARIO(FirstHashOnManyThreads) {
    const Bytes message(200, 'x');
    const std::vector<unsigned char> expected = plainSha1(message);
    require(faultsOn(8, [&](unsigned) { return Sha1::FromData(message).asBytes() == expected; }) == 0);
}

class FirstUseOnManyThreads : public testing::TestWithParam<const char*> {};

TEST_P(FirstUseOnManyThreads, GivesEachTheRightDigest) {
    for (int i = 0; i < 10; ++i) { // each in a process of its own, where it is the first
        const ScenarioRun run = runAlone(GetParam());
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u) << run.error;
        EXPECT_EQ(run.error, "");
    }
}

INSTANTIATE_TEST_SUITE_P(DigestThreads, FirstUseOnManyThreads,
                         testing::Values("FirstInvalidDigestOnManyThreads", "FirstHashOnManyThreads"));

TEST(DigestThreads, EveryThreadHashesItsOwnData) {
    EXPECT_EQ(faultsOn(8,
                       [](unsigned number) {
                           Random random(number);
                           bool right = true;
                           for (int i = 0; i < 50; ++i) {
                               const Bytes message = random.bytes(random.upTo(2000));
                               right = right && Sha1::FromData(message).asBytes() == plainSha1(message);
                           }
                           return right;
                       }),
              0);
}

TEST(DigestThreads, OneFileIsHashedByManyThreads) {
    const TemporaryFolder folder;
    const Bytes content = Random(1).bytes((2 << 20) + 17);
    writeFile(folder / "file", std::string(content.begin(), content.end()));
    const auto expected = plainSha1(content);
    const Velmor::WideString path = wide(folder / "file");
    EXPECT_EQ(faultsOn(4, [&](unsigned) { return Sha1::FromFile(path).asBytes() == expected; }), 0);
}

TEST(DigestThreads, OneDigestIsReadByManyThreads) {
    const Sha1::Digest digest = Sha1::FromData(bytesOf("abc"));
    const std::string text = "a9993e364706816aba3e25717850c26c9cd0d89d";
    EXPECT_EQ(faultsOn(8,
                       [&](unsigned) {
                           bool right = true;
                           for (int i = 0; i < 100; ++i)
                               right = right && digest.asString() == text && digest.asWString().size() == 40 &&
                                       digest.asBase64String() == "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=" &&
                                       digest.asBase64WString().size() == 28 && Sha1::Digest(digest) == digest &&
                                       Sha1::Digest::fromString(text) == digest;
                           return right;
                       }),
              0);
}
