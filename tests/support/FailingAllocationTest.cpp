#include "support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

using velmor_tests::FailAllocation;

// The compiler may neither see that a block is unused nor what its size is.
void* volatile block = nullptr;
volatile std::size_t size = 40;

bool allocates() {
    block = std::malloc(size);
    const bool result = block != nullptr;
    std::free(block);
    return result;
}

TEST(FailAllocation, FailsTheNextOneOnly) {
    bool first = true;
    bool second = false;
    unsigned seen = 0;
    bool happened = false;
    std::size_t failedSize = 0;
    {
        FailAllocation failure(1);
        first = allocates();
        second = allocates();
        seen = failure.seen();
        happened = failure.happened();
        failedSize = failure.failedSize();
    }
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
    EXPECT_EQ(seen, 2u);
    EXPECT_TRUE(happened);
    EXPECT_EQ(failedSize, 40u);
    EXPECT_TRUE(allocates());
}

TEST(FailAllocation, FailsTheThirdAndAllLater) {
    bool results[5];
    {
        FailAllocation failure(3, true);
        for (bool& result : results)
            result = allocates();
    }
    EXPECT_TRUE(results[0] && results[1]);
    EXPECT_FALSE(results[2] || results[3] || results[4]);
    EXPECT_TRUE(allocates());
}

TEST(FailAllocation, CountsCallocAndRealloc) {
    void* zeroed = nullptr;
    void* grown = nullptr;
    std::size_t zeroedSize = 0;
    std::size_t grownSize = 0;
    void* const kept = std::malloc(size);
    {
        FailAllocation failure(1);
        block = zeroed = std::calloc(3, size);
        zeroedSize = failure.failedSize();
    }
    {
        FailAllocation failure(1);
        block = grown = std::realloc(kept, 2 * size);
        grownSize = failure.failedSize();
    }
    EXPECT_EQ(zeroed, nullptr);
    EXPECT_EQ(zeroedSize, 120u);
    EXPECT_EQ(grown, nullptr);
    EXPECT_EQ(grownSize, 80u);
    if (grown == nullptr)
        std::free(kept);
}

TEST(FailAllocation, LeavesOtherThreadsAlone) {
    std::atomic<bool> armed{false};
    std::atomic<bool> done{false};
    bool failed = false;
    std::thread other([&] {
        FailAllocation failure(1, true);
        armed = true;
        while (!done)
            std::this_thread::yield();
        failed = !allocates();
    });
    while (!armed)
        std::this_thread::yield();
    const bool here = allocates();
    done = true;
    other.join();
    EXPECT_TRUE(here);
    EXPECT_TRUE(failed);
}

TEST(FailAllocation, DoesNotCountOperatorNew) {
    unsigned seen = 1;
    {
        FailAllocation failure(1, true);
        const auto number = std::make_unique<int>(3);
        block = number.get();
        const std::vector<char> bytes(size);
        seen = failure.seen();
    }
    EXPECT_EQ(seen, 0u);
}

} // namespace
