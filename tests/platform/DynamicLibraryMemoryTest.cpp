#include <Velmor/Platform.h>

#include "Tools.h"
#include "support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <memory>

using namespace velmor_tests;
using Velmor::WideString;

TEST(DynamicLibrary, DoesNotChangeThePathIfTheAllocationFails) {
    const VariableSetting path("PATH", "some/where");
    const WideString module = wide("velmor_no_such_module");
    const WideString folder = wide("folder");
    std::unique_ptr<Velmor::DynamicLibrary> library;
    {
        const FailAllocation fail(1);
        library.reset(Velmor::DynamicLibrary::loadDynamicLibrary(module, folder));
        EXPECT_EQ(fail.failedSize(), 65536u);
    }
    EXPECT_FALSE(library->isValid());
    EXPECT_EQ(variable("PATH"), "some/where");
}
