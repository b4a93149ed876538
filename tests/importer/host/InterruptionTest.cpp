#include "importer/host/Interruption.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace importer::host;

TEST(Interruption, EndsTheNextStepInsteadOfTheProgram) {
    const auto before = std::signal(SIGTERM, SIG_DFL);
    catchInterruptions();
    EXPECT_NO_THROW(checkInterruption());
    std::raise(SIGTERM);
    std::signal(SIGTERM, before);
    EXPECT_THROW(checkInterruption(), ImportError);
}

TEST(Interruption, ThatIsIgnoredStaysIgnored) {
    const auto before = std::signal(SIGTERM, SIG_IGN);
    catchInterruptions();
    EXPECT_EQ(std::signal(SIGTERM, before), SIG_IGN);
}
