#pragma once

// Lets chosen allocations of the statically linked library fail (INTERNAL suites only; see velmor_add_suite).

#include <cstddef>

namespace velmor_tests {

/// While an object of this type lives, the n-th malloc, calloc or realloc of the calling thread from its construction on
/// fails (n = 1: the next one), and, if asked, every later one too. Only calls made by code linked into the suite count:
/// the library's and the suite's own, but not those of `operator new` nor those inside shared libraries.
/// Objects do not nest. Make it just before the call under test: the suite's own allocations count as well.
class FailAllocation {
public:
    explicit FailAllocation(unsigned n, bool andAllLater = false);
    ~FailAllocation();
    FailAllocation(const FailAllocation&) = delete;
    FailAllocation& operator=(const FailAllocation&) = delete;

    /// Number of allocations seen so far, failed ones included.
    unsigned seen() const;

    /// Whether an allocation was made to fail.
    bool happened() const;

    /// Size in bytes of the first allocation that was made to fail.
    std::size_t failedSize() const;

    /// Counts an allocation of the given size and tells whether it fails; for the allocation functions themselves.
    bool refuses(std::size_t size);

private:
    unsigned first_;
    bool andAllLater_;
    unsigned seen_ = 0;
    bool happened_ = false;
    std::size_t failedSize_ = 0;
};

} // namespace velmor_tests
