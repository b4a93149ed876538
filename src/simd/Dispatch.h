#pragma once

#include "simd/Processor.h"

#include <atomic>
#include <cstddef>
#include <span>

// A kernel is one way to compute an algorithm. Each algorithm with kernels has the same layout:
//
//     X.h          the contract, the functions that the library calls, and the dispatch object
//     X.cpp        the table of kernels
//     XPlain.cpp   the reference implementation in plain C++, with which the tests compare all other kernels
//     XSse2.cpp    and so on: one file per instruction set, with the same results bit by bit
//
// The dispatch object chooses a kernel at the first call; all later calls use it.

namespace Velmor::simd {

/// @tparam Functions a pointer to a function, or a structure of several.
template <class Functions>
struct Kernel {
    const char* name; ///< For tests and benchmarks.
    InstructionSet needs;
    Functions functions;
};

/// Chooses between the kernels of one algorithm. All operations may run concurrently.
template <class Functions>
class Dispatch {
public:
    /// @param kernels the plain kernel first, then each faster than the one before. It is not copied. A processor that has
    ///                the instruction set of one kernel also has those of all kernels before it.
    template <std::size_t count>
    constexpr explicit Dispatch(const Kernel<Functions> (&kernels)[count]) : kernels_(kernels) {}

    Dispatch(const Dispatch&) = delete;
    Dispatch& operator=(const Dispatch&) = delete;

    /// The kernels that this processor can run, from the plain one to the fastest.
    std::span<const Kernel<Functions>> kernels() const {
        std::size_t count = 1;
        while (count < kernels_.size() && isSupported(kernels_[count].needs))
            ++count;
        return kernels_.first(count);
    }

    /// The functions of the fastest kernel, or of the kernel that `force` set.
    const Functions& functions() {
        const Functions* functions = chosen_.load(std::memory_order_relaxed);
        return functions != nullptr ? *functions : choose();
    }

    /// Makes the whole process use a kernel, for tests and benchmarks. Null selects the fastest kernel again.
    /// @param kernel must exist as long as it is in use.
    void force(const Kernel<Functions>* kernel) {
        chosen_.store(kernel != nullptr ? &kernel->functions : nullptr, std::memory_order_relaxed);
    }

private:
    const Functions& choose() {
        const Functions* const fastest = &kernels().back().functions;
        const Functions* chosenMeanwhile = nullptr;
        const bool isFirst = chosen_.compare_exchange_strong(chosenMeanwhile, fastest, std::memory_order_relaxed);
        return isFirst ? *fastest : *chosenMeanwhile;
    }

    std::span<const Kernel<Functions>> kernels_;
    std::atomic<const Functions*> chosen_ = nullptr;
};

} // namespace Velmor::simd
