// Textures while an allocation fails.

#include <Velmor/ForeignObject.h>

#include "support/FailingAllocation.h"
#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <vector>

using namespace velmor_tests;
using Velmor::PngTexture;

namespace {

/// Whether an operation throws std::bad_alloc if its first allocation fails.
template <class Operation>
bool throwsWithoutMemory(Operation operation) {
    return outcomeOf(1, false, operation).threw;
}

} // namespace

TEST(PngTextureMemory, FailedAllocationThrowsAndChangesNothing) {
    const std::vector<char> bytes(1000, 'x');
    const PngTexture source(bytes);
    PngTexture target(std::vector<char>(10, 'y'));
    EXPECT_TRUE(throwsWithoutMemory([&] { const PngTexture texture(bytes); }));
    EXPECT_TRUE(throwsWithoutMemory([&] { const PngTexture copy(source); }));
    EXPECT_TRUE(throwsWithoutMemory([&] { target = source; }));
    EXPECT_EQ(source.getData(), bytes);
    EXPECT_EQ(target.getData(), std::vector<char>(10, 'y'));
}

TEST(PngTextureMemory, AssignmentWithinCapacityDoesNotAllocate) {
    const PngTexture source(std::vector<char>(1000, 'x'));
    PngTexture target(std::vector<char>(1000, 'y'));
    EXPECT_FALSE(throwsWithoutMemory([&] { target = source; }));
    EXPECT_EQ(target.getData(), source.getData());
}

TEST(PngTextureMemory, EmptyTextureDoesNotAllocate) {
    EXPECT_FALSE(throwsWithoutMemory([] {
        const PngTexture texture;
        const PngTexture copy(texture);
        const PngTexture other{std::vector<char>()};
    }));
}

TEST(PngTextureMemory, DestructorReleasesBytes) {
    const std::vector<char> bytes(1000, 'x');
    const long before = liveAllocations();
    long duringLife;
    {
        const PngTexture texture(bytes);
        duringLife = liveAllocations();
    }
    EXPECT_EQ(duringLife, before + 1);
    EXPECT_EQ(liveAllocations(), before);
}
