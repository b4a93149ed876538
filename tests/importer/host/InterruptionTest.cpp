#include "importer/host/Interruption.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace importer::host;

namespace velmor_tests {

TEST(Interruption, MakesTheNextCheckThrow) {
    const auto before = std::signal(SIGTERM, SIG_DFL);
    catchInterruptions();
    EXPECT_NO_THROW(checkInterruption());
    std::raise(SIGTERM);
    std::signal(SIGTERM, before);
    EXPECT_THROW(checkInterruption(), ImportError);
}

TEST(Interruption, StaysIgnoredIfItWasIgnored) {
    const auto before = std::signal(SIGTERM, SIG_IGN);
    catchInterruptions();
    EXPECT_EQ(std::signal(SIGTERM, before), SIG_IGN);
}

} // namespace velmor_tests
