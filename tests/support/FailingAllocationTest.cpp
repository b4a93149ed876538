#include "support/FailingAllocation.h"

#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <thread>
#include <vector>

namespace {

using velmor_tests::Allocations;
using velmor_tests::FailAllocation;
using velmor_tests::liveAllocations;
using velmor_tests::WatchFree;

// Volatile, so that the compiler cannot remove an allocation or derive its size.
void* volatile block = nullptr;
volatile std::size_t size = 40;

void* used(void* allocated) {
    block = allocated;
    return allocated;
}

bool allocates() {
    block = std::malloc(size);
    const bool result = block != nullptr;
    std::free(block);
    return result;
}

TEST(FailAllocation, FailsOnlyTheNextAllocation) {
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

TEST(FailAllocation, FailsTheThirdAndAllLaterAllocations) {
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
    void* const original = used(std::malloc(size));
    void* volatile const freedLater = original; // g++ reports a use after realloc otherwise
    {
        FailAllocation failure(1);
        block = zeroed = std::calloc(3, size);
        zeroedSize = failure.failedSize();
    }
    {
        FailAllocation failure(1);
        block = grown = std::realloc(original, 2 * size);
        grownSize = failure.failedSize();
    }
    EXPECT_EQ(zeroed, nullptr);
    EXPECT_EQ(zeroedSize, 120u);
    EXPECT_EQ(grown, nullptr);
    EXPECT_EQ(grownSize, 80u);
    if (grown == nullptr)
        std::free(freedLater);
}

TEST(FailAllocation, DoesNotAffectOtherThreads) {
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

TEST(FailAllocation, DoesNotCountOperatorNewByDefault) {
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

template <class Allocate>
bool returnsBlock(Allocate allocate) {
    try {
        block = allocate();
        return block != nullptr;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool newReturnsBlock() {
    const bool result = returnsBlock([] { return operator new(size); });
    operator delete(result ? block : nullptr);
    return result;
}

bool nothrowNewReturnsBlock() {
    void* const allocated = used(operator new(size, std::nothrow));
    operator delete(allocated, std::nothrow);
    return allocated != nullptr;
}

bool nothrowArrayNewReturnsBlock() {
    void* const allocated = used(operator new[](size, std::nothrow));
    operator delete[](allocated, std::nothrow);
    return allocated != nullptr;
}

bool arrayNewReturnsBlock() {
    const bool result = returnsBlock([] { return operator new[](size); });
    operator delete[](result ? block : nullptr);
    return result;
}

TEST(FailAllocation, FailsOperatorNewOfAllAllocations) {
    bool plain = true;
    bool array = true;
    unsigned seen = 0;
    std::size_t failedSize = 0;
    {
        FailAllocation failure(1, false, Allocations::All);
        plain = newReturnsBlock();
        seen = failure.seen();
        failedSize = failure.failedSize();
    }
    {
        FailAllocation failure(1, false, Allocations::All);
        array = arrayNewReturnsBlock();
    }
    EXPECT_FALSE(plain);
    EXPECT_FALSE(array);
    EXPECT_GE(seen, 1u); // a statically linked runtime allocates the exception on the C heap
    EXPECT_EQ(failedSize, 40u);
    EXPECT_TRUE(newReturnsBlock() && arrayNewReturnsBlock());
}

TEST(FailAllocation, FailsNothrowNewOfAllAllocations) {
    for (bool (*const returnsBlock)() : {nothrowNewReturnsBlock, nothrowArrayNewReturnsBlock}) {
        bool withAll = true;
        bool withCHeap = false;
        unsigned seen = 0;
        std::size_t failedSize = 0;
        {
            const FailAllocation failure(1, true, Allocations::All);
            withAll = returnsBlock();
            seen = failure.seen();
            failedSize = failure.failedSize();
        }
        {
            const FailAllocation failure(1, true);
            withCHeap = returnsBlock();
        }
        EXPECT_FALSE(withAll);
        EXPECT_EQ(seen, 1u);
        EXPECT_EQ(failedSize, 40u);
        EXPECT_TRUE(withCHeap);
        EXPECT_TRUE(returnsBlock());
    }
}

TEST(FailAllocation, CountsMallocAndNewTogether) {
    bool results[4];
    {
        FailAllocation failure(3, false, Allocations::All);
        results[0] = allocates();
        results[1] = newReturnsBlock();
        results[2] = allocates();
        results[3] = newReturnsBlock();
    }
    EXPECT_TRUE(results[0] && results[1] && results[3]);
    EXPECT_FALSE(results[2]);
}

TEST(LiveAllocations, CountsEveryBlockUntilItIsFreed) {
    const auto since = [start = liveAllocations()] { return liveAllocations() - start; };
    void* const allocated = used(std::malloc(size));
    const long afterMalloc = since();
    void* const zeroed = used(std::calloc(2, size));
    const long afterCalloc = since();
    void* grown = used(std::realloc(nullptr, size));
    const long afterRealloc = since();
    grown = used(std::realloc(grown, 100 * size));
    const long afterGrowth = since();
    block = operator new(size);
    const long afterNew = since();
    operator delete(block);
    const long afterDelete = since();
    std::free(grown);
    std::free(zeroed);
    std::free(allocated);
    std::free(nullptr);
    operator delete(nullptr);
    const long atTheEnd = since();
    block = operator new[](size);
    const long afterArrayNew = since();
    operator delete[](block);
    const long afterArrayDelete = since();
    EXPECT_EQ(afterMalloc, 1);
    EXPECT_EQ(afterCalloc, 2);
    EXPECT_EQ(afterRealloc, 3);
    EXPECT_EQ(afterGrowth, 3);
    EXPECT_EQ(afterNew, 4);
    EXPECT_EQ(afterDelete, 3);
    EXPECT_EQ(atTheEnd, 0);
    EXPECT_EQ(afterArrayNew, 1);
    EXPECT_EQ(afterArrayDelete, 0);
}

TEST(LiveAllocations, CountsBlocksOfNothrowNew) {
    const auto since = [start = liveAllocations()] { return liveAllocations() - start; };
    void* const one = used(operator new(size, std::nothrow));
    void* const array = used(operator new[](size, std::nothrow));
    const long allocated = since();
    operator delete(one);
    operator delete[](array, std::nothrow);
    const long released = since();
    EXPECT_EQ(allocated, 2);
    EXPECT_EQ(released, 0);
}

TEST(LiveAllocations, DoesNotCountFailedAllocations) {
    velmor_tests::throwOnce();
    const long before = liveAllocations();
    void* const original = used(std::malloc(size));
    void* volatile const freedLater = original; // g++ reports a use after realloc otherwise
    void* grown = nullptr;
    {
        FailAllocation failure(1, true, Allocations::All);
        allocates();
        block = grown = std::realloc(original, 2 * size);
        newReturnsBlock();
    }
    const long after = liveAllocations();
    std::free(grown != nullptr ? grown : freedLater);
    EXPECT_EQ(grown, nullptr);
    EXPECT_EQ(after, before + 1);
    EXPECT_EQ(liveAllocations(), before);
}

TEST(FailAllocation, SumsTheRequestedSizes) {
    const FailAllocation count(2, false, Allocations::All);
    void* const first = used(std::malloc(100));
    void* const refused = used(std::malloc(20));
    operator delete(used(operator new(1)));
    std::free(first);
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(count.totalSize(), 121u);
}

TEST(WatchFree, CountsHowOftenABlockIsFreed) {
    void* const watched = used(std::calloc(1, 10));
    void* const other = used(std::malloc(10));
    const WatchFree watch(watched);
    std::free(other);
    EXPECT_EQ(watch.times(), 0u);
    {
        const FailAllocation count(0);
        std::free(used(std::malloc(1000)));
        std::free(watched);
    }
    EXPECT_EQ(watch.times(), 1u);
    EXPECT_EQ(watch.seenBefore(), 1u);
}

} // namespace
