#pragma once

// Runs a test with one kernel of an algorithm (INTERNAL suites only).

#include "simd/Dispatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace velmor_tests {

/// Makes the process use a kernel while this object exists.
template <class Functions>
class ForcedKernel {
public:
    ForcedKernel(Velmor::simd::Dispatch<Functions>& dispatch, const Velmor::simd::Kernel<Functions>& kernel)
        : dispatch_(dispatch) {
        dispatch_.force(&kernel);
    }
    ~ForcedKernel() { dispatch_.force(nullptr); }
    ForcedKernel(const ForcedKernel&) = delete;
    ForcedKernel& operator=(const ForcedKernel&) = delete;

private:
    Velmor::simd::Dispatch<Functions>& dispatch_;
};

/// The parameters of a suite that runs for every kernel.
template <class Functions>
auto allKernels(const Velmor::simd::Dispatch<Functions>& dispatch) {
    return testing::ValuesIn(dispatch.kernels().begin(), dispatch.kernels().end());
}

/// The parameters of a suite that compares each other kernel to the plain one. Empty on a processor without vector kernels.
template <class Functions>
auto vectorKernels(const Velmor::simd::Dispatch<Functions>& dispatch) {
    return testing::ValuesIn(dispatch.kernels().begin() + 1, dispatch.kernels().end());
}

/// The name of a kernel as part of a test's name.
struct KernelName {
    template <class Functions>
    std::string operator()(const testing::TestParamInfo<Velmor::simd::Kernel<Functions>>& info) const {
        std::string name = info.param.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name;
    }
};

template <class Functions>
std::vector<std::string> kernelNames(const Velmor::simd::Dispatch<Functions>& dispatch) {
    std::vector<std::string> names;
    for (const Velmor::simd::Kernel<Functions>& kernel : dispatch.kernels())
        names.emplace_back(kernel.name);
    return names;
}

} // namespace velmor_tests
