#include "simd/Dispatch.h"

#include "simd/ForcedKernel.h"

#include <gtest/gtest.h>

#if defined(VELMOR_X86_64)
    #include <cpuid.h>
#endif

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace velmor_tests;
using Velmor::simd::Dispatch;
using Velmor::simd::InstructionSet;
using Velmor::simd::isSupported;
using Velmor::simd::Kernel;

namespace {

using Function = int (*)();

/// An instruction set that no processor has.
constexpr auto missing = static_cast<InstructionSet>(-1);

constexpr Kernel<Function> kernels[] = {
    {"first", InstructionSet::Baseline, [] { return 1; }},
    {"second", InstructionSet::Baseline, [] { return 2; }},
    {"unsupported", missing, [] { return 3; }},
    {"after unsupported", InstructionSet::Baseline, [] { return 4; }},
};

int call(Dispatch<Function>& dispatch) {
    return dispatch.functions()();
}

} // namespace

TEST(Dispatch, ListsTheKernelsBeforeTheFirstUnsupportedOne) {
    const Dispatch<Function> dispatch(kernels);
    EXPECT_EQ(kernelNames(dispatch), (std::vector<std::string>{"first", "second"}));
}

TEST(Dispatch, AlwaysListsTheFirstKernel) {
    static constexpr Kernel<Function> one[] = {{"plain", InstructionSet::Baseline, [] { return 1; }}};
    Dispatch<Function> dispatch(one);
    EXPECT_EQ(kernelNames(dispatch), std::vector<std::string>{"plain"});
    EXPECT_EQ(call(dispatch), 1);
}

TEST(Dispatch, ChoosesTheLastSupportedKernel) {
    Dispatch<Function> dispatch(kernels);
    EXPECT_EQ(call(dispatch), 2);
    EXPECT_EQ(call(dispatch), 2);
}

TEST(Dispatch, UsesTheForcedKernelUntilItIsReleased) {
    Dispatch<Function> dispatch(kernels);
    {
        const ForcedKernel forced(dispatch, kernels[0]);
        EXPECT_EQ(call(dispatch), 1);
    }
    EXPECT_EQ(call(dispatch), 2);
    {
        const ForcedKernel forced(dispatch, kernels[3]);
        EXPECT_EQ(call(dispatch), 4);
    }
    EXPECT_EQ(call(dispatch), 2);
}

TEST(Dispatch, GivesConcurrentFirstCallsTheSameKernel) {
    for (int round = 0; round < 50; ++round) {
        Dispatch<Function> dispatch(kernels);
        std::atomic<int> different{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { different += call(dispatch) != 2; });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(different, 0);
    }
}

TEST(InstructionSet, SupportsWhatTheProcessorReports) {
    bool sse2 = false;
    bool ssse3 = false;
    bool shaExtensions = false;
#if defined(VELMOR_X86_64)
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    sse2 = true;
    ssse3 = __get_cpuid(1, &a, &b, &c, &d) && (c & bit_SSSE3);
    shaExtensions = ssse3 && __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_SHA);
#endif
    EXPECT_TRUE(isSupported(InstructionSet::Baseline));
    EXPECT_EQ(isSupported(InstructionSet::Sse2), sse2);
    EXPECT_EQ(isSupported(InstructionSet::Ssse3), ssse3);
    EXPECT_EQ(isSupported(InstructionSet::ShaExtensions), shaExtensions);
    EXPECT_FALSE(isSupported(missing));
}
