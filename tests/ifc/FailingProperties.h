#pragma once

// Operations on properties while each of their allocations fails in turn (INTERNAL suites only).
//
// A test recognizes an allocation by its size. The sets below have different numbers of properties, so that no two kinds of
// allocation have the same size.

#include "ifc/PlainProperty.h"
#include "support/WithFailure.h"

#include <cstddef>
#include <functional>
#include <set>

namespace velmor_tests {

using Sizes = std::set<std::size_t>;

inline constexpr std::size_t longStringLength = 700;

inline constexpr std::size_t propertySize = 1048;
inline constexpr std::size_t valueSize = 80;
inline constexpr std::size_t complexSize = 528;
inline constexpr std::size_t stringSize = 2 * (longStringLength + 1);

/// Size of the array of a set.
constexpr std::size_t arraySize(std::size_t slots) {
    return 8 * slots;
}

/// A set of four properties, one of which contains a set of three, one of which contains a set of two.
PlainSet layered();

/// The sizes of the arrays in a copy of `layered()`.
inline const Sizes layeredArrays{arraySize(2), arraySize(3), arraySize(4)};

/// The sizes of all other blocks in a copy of `layered()`.
inline const Sizes layeredBlocks{propertySize, valueSize, complexSize, stringSize};

/// A set with other content than `layered()`, as the target of assignments.
PlainSet formerContent();

/// The expected copy of a set after an allocation of this size failed: a set whose array has this size is empty.
PlainSet copyAfterFailure(PlainSet set, std::size_t failedSize);
PlainProperty copyAfterFailure(PlainProperty property, std::size_t failedSize);

/// The allocation that fails.
struct Failure {
    unsigned n;       ///< Counted from 1.
    bool andAllLater; ///< Whether all later allocations fail too.

    /// Runs an operation while the allocation fails.
    template <class Operation>
    Outcome during(Operation operation) const {
        return outcomeOf(n, andAllLater, operation);
    }
};

/// Calls `run` once for each allocation of its operation: first with only this allocation failing, then with all later ones
/// failing too. Expects that no block leaks, and that every size in `silent` and `throwing` fails at least once.
/// @param silent   sizes of allocations that fail without an exception: arrays of sets.
/// @param throwing sizes of allocations that throw.
/// @param run      inflicts the failure, checks the result, releases all that it allocated, and returns the outcome.
void failEachAllocation(const Sizes& silent, const Sizes& throwing, const std::function<Outcome(const Failure&)>& run);

} // namespace velmor_tests
