#pragma once

// Lets chosen allocations of the statically linked library fail, and counts what it holds (INTERNAL suites only; see
// velmor_add_suite).

#include <cstddef>

namespace velmor_tests {

/// Which allocations count.
enum class Allocations {
    CHeap, ///< malloc, calloc and realloc.
    All    ///< These, and `operator new`, which then throws or, in its form that does not, gives null.
};

/// While an object of this type lives, the n-th allocation of the calling thread from its construction on fails (n = 1: the
/// next one), and, if asked, every later one too. Only calls made by code linked into the suite count: the library's and
/// the suite's own, but no malloc inside a shared library; `operator new` counts wherever it is called.
/// Objects do not nest. Make it just before the call under test: the suite's own allocations count as well.
class FailAllocation {
public:
    explicit FailAllocation(unsigned n, bool andAllLater = false, Allocations which = Allocations::CHeap);
    ~FailAllocation();
    FailAllocation(const FailAllocation&) = delete;
    FailAllocation& operator=(const FailAllocation&) = delete;

    /// Number of allocations seen so far, failed ones included.
    unsigned seen() const;

    /// Whether an allocation was made to fail.
    bool happened() const;

    /// Size in bytes of the first allocation that was made to fail.
    std::size_t failedSize() const;

    /// Size in bytes of all allocations seen so far, whether they have been given back or not.
    std::size_t totalSize() const;

    /// Counts an allocation of the given size and tells whether it fails; for the allocation functions themselves.
    bool refuses(std::size_t size, Allocations kind);

private:
    unsigned first_;
    bool andAllLater_;
    Allocations which_;
    unsigned seen_ = 0;
    bool happened_ = false;
    std::size_t failedSize_ = 0;
    std::size_t totalSize_ = 0;
};

/// While an object of this type lives, notes when one block is given back. Objects do not nest; one thread at a time.
class WatchFree {
public:
    explicit WatchFree(const void* block);
    ~WatchFree();
    WatchFree(const WatchFree&) = delete;
    WatchFree& operator=(const WatchFree&) = delete;

    /// How often it was given back. A later block in the same place counts as the same one.
    unsigned times() const;

    /// How many allocations the living `FailAllocation` had seen when it was given back first; 0 if there was none.
    unsigned seenBefore() const;

    /// Takes note of a block that is given back; for the allocation functions themselves.
    void given(const void* block);

private:
    const void* block_;
    unsigned times_ = 0;
    unsigned seenBefore_ = 0;
};

/// Number of blocks that code linked into the suite has taken, from the C heap or by `operator new`, and not given back.
/// Compare two of these: the suite's own blocks and those of the runtime's start are in it.
long liveAllocations();

} // namespace velmor_tests
