#pragma once

// Counts the blocks that the library and the suite take with `operator new`, and lets one of them fail. For INTERNAL suites
// that link velmor_watch_new; blocks taken inside shared libraries are not seen.

#include <array>
#include <cstddef>

namespace velmor_tests {

/// While it watches, from its construction to `stop` or its end, every block counts. One thread at a time, one object at a
/// time.
class WatchNew {
public:
    /// @param failing the n-th block is refused with std::bad_alloc (1: the next one); 0 for none.
    explicit WatchNew(unsigned failing = 0);
    ~WatchNew();
    WatchNew(const WatchNew&) = delete;
    WatchNew& operator=(const WatchNew&) = delete;

    /// Ends the watch, so that what the test does next does not count.
    void stop();

    unsigned seen() const { return seen_; }     ///< Blocks that were asked for, the refused one included.
    bool happened() const { return happened_; } ///< Whether a block was refused.
    std::size_t live() const { return live_; }  ///< Bytes taken and not yet given back.
    std::size_t peak() const { return peak_; }  ///< The most bytes that were taken at one time.

    // For the operators themselves.
    bool refuses();
    void taken(const void* block, std::size_t size);
    void given(const void* block);

private:
    struct Block {
        const void* address = nullptr;
        std::size_t size = 0;
    };

    unsigned failing_;
    unsigned seen_ = 0;
    bool happened_ = false;
    std::size_t live_ = 0;
    std::size_t peak_ = 0;
    std::array<Block, 256> blocks_{}; // fixed: to note a block may not take one
};

} // namespace velmor_tests
