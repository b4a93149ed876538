// Digests on several threads at once, also for the thread sanitizer.

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "Tools.h"
#include "support/Random.h"

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

/// Calls `check` with the numbers 0 to count - 1, each on a thread of its own, all at the same time.
/// @return how many calls returned false.
template <class Check>
int failuresOnThreads(unsigned count, Check check) {
    std::atomic<unsigned> ready{0};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            ++ready;
            while (ready != count)
                std::this_thread::yield();
            if (!check(number))
                ++failures;
        });
    for (std::thread& thread : threads)
        thread.join();
    return failures;
}

/// Ends the scenario with an error if a thread had a wrong digest.
void requireNoFailure(int failures) {
    if (failures != 0) {
        std::fprintf(stderr, "%d threads had a wrong digest\n", failures);
        std::exit(1);
    }
}

} // namespace

VELMOR_SCENARIO(FirstInvalidDigestOnManyThreads) {
    const std::vector<unsigned char> fiveZeros(5, 0);
    requireNoFailure(failuresOnThreads(
        8, [&](unsigned number) { return Sha1::Digest::fromString(std::string(number, 'a')).asBytes() == fiveZeros; }));
}

VELMOR_SCENARIO(FirstHashOnManyThreads) {
    const Bytes message(200, 'x');
    const std::vector<unsigned char> expected = plainSha1(message);
    requireNoFailure(failuresOnThreads(8, [&](unsigned) { return Sha1::FromData(message).asBytes() == expected; }));
}

class FirstUseOnManyThreads : public testing::TestWithParam<const char*> {};

TEST_P(FirstUseOnManyThreads, ComputesTheRightDigestOnEach) {
    for (int i = 0; i < 10; ++i) { // each scenario runs in a new process, in which it is the first use
        const ScenarioRun run = runAlone(GetParam());
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u) << run.error;
        EXPECT_EQ(run.error, "");
    }
}

INSTANTIATE_TEST_SUITE_P(DigestThreads, FirstUseOnManyThreads,
                         testing::Values("FirstInvalidDigestOnManyThreads", "FirstHashOnManyThreads"));

TEST(DigestThreads, HashDifferentMessages) {
    EXPECT_EQ(failuresOnThreads(8,
                                [](unsigned number) {
                                    Random random(number);
                                    bool equal = true;
                                    for (int i = 0; i < 50; ++i) {
                                        const Bytes message = random.bytes(random.upTo(2000u));
                                        equal = equal && Sha1::FromData(message).asBytes() == plainSha1(message);
                                    }
                                    return equal;
                                }),
              0);
}

TEST(DigestThreads, HashTheSameFile) {
    const TemporaryFolder folder;
    const Bytes content = Random(1).bytes((2 << 20) + 17);
    writeFile(folder / "file", std::string(content.begin(), content.end()));
    const auto expected = plainSha1(content);
    const Velmor::WideString path = wide(folder / "file");
    EXPECT_EQ(failuresOnThreads(4, [&](unsigned) { return Sha1::FromFile(path).asBytes() == expected; }), 0);
}

TEST(DigestThreads, ReadTheSameDigest) {
    const Sha1::Digest digest = Sha1::FromData(bytesOf("abc"));
    const std::string text = "a9993e364706816aba3e25717850c26c9cd0d89d";
    EXPECT_EQ(failuresOnThreads(8,
                                [&](unsigned) {
                                    bool equal = true;
                                    for (int i = 0; i < 100; ++i)
                                        equal = equal && digest.asString() == text && digest.asWString().size() == 40 &&
                                                digest.asBase64String() == "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=" &&
                                                digest.asBase64WString().size() == 28 && Sha1::Digest(digest) == digest &&
                                                Sha1::Digest::fromString(text) == digest;
                                    return equal;
                                }),
              0);
}
