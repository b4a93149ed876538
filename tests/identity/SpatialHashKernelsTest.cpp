// The kernels of the spatial hash: known values, and each vector kernel compared to the plain kernel.

#include "identity/SpatialHash.h"
#include "simd/ForcedKernel.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::identity::spatialHashDimension;
using Velmor::identity::spatialHashDispatch;
using Velmor::identity::SpatialHashKernel;

namespace {

using Hash = std::array<double, spatialHashDimension>;

/// Equal bits, or both NaN.
bool isEqual(double left, double right) {
    return std::isnan(left) ? std::isnan(right) : std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

/// For every kernel.
class SpatialHashKernels : public testing::TestWithParam<SpatialHashKernel> {
protected:
    Hash hash(unsigned count, const double* xyz) const {
        Hash result;
        result.fill(-1);
        GetParam().functions(count, xyz, result.data());
        return result;
    }
};

/// For every kernel except the plain one.
class SpatialHashVectorKernels : public SpatialHashKernels {
protected:
    void expectEqualsPlain(unsigned count, const double* xyz) const {
        Hash plain;
        plain.fill(-2);
        Velmor::identity::plain::computeSpatialHash(count, xyz, plain.data());
        const Hash actual = hash(count, xyz);
        for (std::size_t i = 0; i < plain.size(); ++i)
            ASSERT_TRUE(isEqual(actual[i], plain[i]))
                << "count " << count << ", number " << i << ": " << actual[i] << " instead of " << plain[i];
    }
};

INSTANTIATE_TEST_SUITE_P(SpatialHash, SpatialHashKernels, allKernels(spatialHashDispatch), KernelName());

INSTANTIATE_TEST_SUITE_P(SpatialHash, SpatialHashVectorKernels, vectorKernels(spatialHashDispatch), KernelName());
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SpatialHashVectorKernels); // no vector kernels off x86-64

} // namespace

TEST_P(SpatialHashKernels, ComputeTheKnownHashOfAClosedCube) {
    const std::vector<double> cube = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1, 0, 0, 0};
    Hash expected;
    expected.fill(0x1.bb67ae8584caap-1);
    expected[0] = expected[1] = expected[2] = 0.5;
    EXPECT_EQ(hash(9, cube.data()), expected);
}

TEST_P(SpatialHashVectorKernels, EqualThePlainKernelForSpecialNumbersAndEveryCount) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    const double numbers[] = {notANumber, infinity, -infinity, 0.0, -0.0, 5e-324, 1e308, -1e308, 1e-160, 1, -1, 2, 3};
    for (unsigned seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        const unsigned first = seed % 5; // some seeds without NaN, some without infinities
        for (unsigned count = 0; count <= 70; ++count) {
            std::vector<double> xyz;
            for (unsigned i = 0; i < 3 * std::max(count, 1u); ++i)
                xyz.push_back(numbers[first + random.below(13 - first)]);
            ASSERT_NO_FATAL_FAILURE(expectEqualsPlain(count, xyz.data()));
        }
    }
}

TEST_P(SpatialHashVectorKernels, EqualThePlainKernelAtEveryAlignment) {
    Random random(7);
    std::vector<double> xyz;
    for (unsigned i = 0; i < 3000; ++i)
        xyz.push_back(random.real(0, 1));
    for (unsigned shift = 0; shift < 4; ++shift)
        ASSERT_NO_FATAL_FAILURE(expectEqualsPlain(900, xyz.data() + shift));
}

TEST(SpatialHashDispatch, CallsTheForcedKernelUntilItIsReleased) {
    static constexpr SpatialHashKernel constant = {"constant", Velmor::simd::InstructionSet::Baseline,
                                                   [](unsigned, const double*, double* hash) { hash[0] = 7; }};
    const double xyz[3] = {1, 2, 3};
    double hash[spatialHashDimension];
    {
        const ForcedKernel forced(spatialHashDispatch, constant);
        Velmor::identity::computeSpatialHash(1, xyz, hash);
        EXPECT_EQ(hash[0], 7);
    }
    Velmor::identity::computeSpatialHash(1, xyz, hash);
    EXPECT_EQ(hash[0], 1);
}

TEST(SpatialHashDispatch, ListsTheKernelsOfTheProcessor) {
#if defined(VELMOR_X86_64)
    EXPECT_EQ(kernelNames(spatialHashDispatch), (std::vector<std::string>{"plain", "sse2"}));
#else
    EXPECT_EQ(kernelNames(spatialHashDispatch), std::vector<std::string>{"plain"});
#endif
}
