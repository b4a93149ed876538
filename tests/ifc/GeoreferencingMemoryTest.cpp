#include <Velmor/Georeferencing.h>

#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <utility>

using namespace Velmor;
using namespace velmor_tests;

namespace {

/// Checks that an operation throws and leaks nothing when the copy of any one of the seven texts fails.
template <class Operation>
void expectThrowsForEachText(Operation operation) {
    for (unsigned n = 1; n <= 8; ++n) {
        const Outcome outcome = outcomeOf(n, false, operation);
        EXPECT_EQ(outcome.leaked, 0) << n;
        EXPECT_EQ(outcome.threw, n <= 7) << n;
        EXPECT_EQ(outcome.failed, n <= 7) << "each text must be copied once: " << n;
    }
}

const WideString text(1000, VELMOR_WIDE('t'));

} // namespace

TEST(GeoreferencingMemory, ProjectionThrowsIfTextCannotBeCopied) {
    expectThrowsForEachText([] { const IFC4_MapProjection p(text, text, text, text, text, text, text, 1); });
    const IFC4_MapProjection original(text, text, text, text, text, text, text, 1);
    expectThrowsForEachText([&] { const IFC4_MapProjection copy = original; });
    expectThrowsForEachText([&] {
        IFC4_MapProjection target;
        target = original;
    });
}

TEST(GeoreferencingMemory, ConversionThrowsIfTextCannotBeCopied) {
    const IFC4_MapProjection projection(text, text, text, text, text, text, text, 1);
    const Plexor::Vertex origin(1, 2, 3);
    expectThrowsForEachText([&] { const IFC4_MapConversion conversion(origin, 1, 2, 3, 4, 5, 6, projection); });
    const IFC4_MapConversion original(origin, 1, 2, 3, 4, 5, 6, projection);
    expectThrowsForEachText([&] { const IFC4_MapConversion copy = original; });
    expectThrowsForEachText([&] {
        IFC4_MapConversion target;
        target = original;
    });
}

TEST(GeoreferencingMemory, DefaultsGettersAndMovesDoNotAllocate) {
    IFC4_MapConversion original(Plexor::Vertex(1, 2, 3), 1, 2, 3, 4, 5, 6,
                                IFC4_MapProjection(text, text, text, text, text, text, text, 1));
    unsigned seen;
    {
        const FailAllocation fail(1, true, Allocations::All);
        IFC4_MapConversion moved = std::move(original);
        IFC4_MapConversion assigned;
        assigned = std::move(moved);
        assigned.getMapProjection().getName();
        assigned.getSourceOrigin();
        seen = fail.seen();
    }
    EXPECT_EQ(seen, 0u);
}
