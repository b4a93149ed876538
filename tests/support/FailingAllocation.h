#pragma once

// Makes chosen allocations of the statically linked library fail, and counts the blocks that are not yet freed (INTERNAL
// suites only; see velmor_add_suite).

#include <cstddef>

namespace velmor_tests {

/// Which allocations are counted and may fail.
enum class Allocations {
    CHeap, ///< malloc, calloc and realloc.
    All    ///< Also `operator new`, which then throws; its nothrow form returns null.
};

/// Makes the n-th allocation of the calling thread fail (n = 1: the next one), and with `andAllLater` also all later ones,
/// until the object is destroyed. Calls in code that is linked into the suite count: the library and the suite itself.
/// malloc inside a shared library does not count; `operator new` counts everywhere.
/// Objects do not nest. Create one directly before the call under test: allocations of the test count too.
class FailAllocation {
public:
    explicit FailAllocation(unsigned n, bool andAllLater = false, Allocations which = Allocations::CHeap);
    ~FailAllocation();
    FailAllocation(const FailAllocation&) = delete;
    FailAllocation& operator=(const FailAllocation&) = delete;

    /// Number of allocations so far, including those that failed.
    unsigned seen() const;

    /// Whether an allocation failed.
    bool happened() const;

    /// Size in bytes of the first allocation that failed.
    std::size_t failedSize() const;

    /// Sum of the sizes in bytes of all allocations so far, including freed and failed ones.
    std::size_t totalSize() const;

    /// Counts an allocation and returns whether it must fail. Called by the allocation functions.
    bool shouldFail(std::size_t size, Allocations kind);

private:
    unsigned first_;
    bool andAllLater_;
    Allocations which_;
    unsigned seen_ = 0;
    bool happened_ = false;
    std::size_t failedSize_ = 0;
    std::size_t totalSize_ = 0;
};

/// Counts how often one block is freed. Objects do not nest. Not thread-safe.
class WatchFree {
public:
    explicit WatchFree(const void* block);
    ~WatchFree();
    WatchFree(const WatchFree&) = delete;
    WatchFree& operator=(const WatchFree&) = delete;

    /// How often the block was freed. A later block at the same address counts as the same block.
    unsigned times() const;

    /// `FailAllocation::seen()` at the time the block was first freed; 0 if no `FailAllocation` existed.
    unsigned seenBefore() const;

    /// Called by the functions that free a block.
    void noteFree(const void* block);

private:
    const void* block_;
    unsigned times_ = 0;
    unsigned seenBefore_ = 0;
};

/// Number of blocks that code in the suite has allocated, on the C heap or with `operator new`, and not freed.
/// Compare two values: the number includes blocks of the suite and of the runtime's start.
long liveAllocations();

} // namespace velmor_tests
