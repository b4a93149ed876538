// Reports of EnvironmentVariables to an attached debugger.

#include <Velmor/Platform.h>

#include "TestVariable.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::EnvironmentVariables;
using Velmor::WideString;

VELMOR_SCENARIO(MissingHandles) {
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_SECOND"));
}

VELMOR_SCENARIO(EmptyHandle) {
    EnvironmentVariables::SetString(wide("VELMOR_FIRST"), WideString());
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
}

VELMOR_SCENARIO(TooLongHandle) {
    setVariable("VELMOR_FIRST", padded(1023, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    setVariable("VELMOR_FIRST", padded(1024, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    setVariable("VELMOR_FIRST", padded(2046, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
    setVariable("VELMOR_SECOND", padded(2047, "452"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_SECOND"));
}

VELMOR_SCENARIO(MissingVariables) {
    const WideString missing = wide("VELMOR_MISSING");
    EnvironmentVariables::GetString(missing);
    EnvironmentVariables::GetInt(missing);
    EnvironmentVariables::ExpandVariables(wide("%VELMOR_MISSING%"));
    setVariable("VELMOR_FIRST", "not a number");
    EnvironmentVariables::GetInt(wide("VELMOR_FIRST"));
    EnvironmentVariables::GetFileStreamHandle(wide("VELMOR_FIRST"));
}

VELMOR_SCENARIO(MissingHandleOfOneCharacter) {
    EnvironmentVariables::GetFileStreamHandle(wide("?"));
    EnvironmentVariables::GetFileStreamHandle(wide("!"));
}

TEST(EnvironmentVariables, MissingHandleIsReportedOnce) {
    const ScenarioRun run = runUnderDebugger("MissingHandles");
    EXPECT_EQ(run.channel, "No handle for VELMOR_FIRST\n");
    EXPECT_EQ(run.output, "No handle for VELMOR_FIRST\n");
    EXPECT_EQ(run.reportsBeforeBreak, std::vector<std::size_t>{1});
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(EnvironmentVariables, EmptyHandleIsReported) {
    const ScenarioRun run = runUnderDebugger("EmptyHandle");
    EXPECT_EQ(run.channel, "No handle for VELMOR_FIRST\n");
    EXPECT_EQ(run.breaks, 1);
}

TEST(EnvironmentVariables, TooLongHandleIsReportedFrom2047CharactersOn) {
    const ScenarioRun run = runUnderDebugger("TooLongHandle");
    EXPECT_EQ(run.channel, "No handle for VELMOR_SECOND\n");
    EXPECT_EQ(run.breaks, 1);
}

TEST(EnvironmentVariables, ReportHasAnEmptyNameIfTheConversionFails) {
    const ScenarioRun run = runUnderDebugger("MissingHandleOfOneCharacter");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"StringOperations::ConvertToCurrentLocale, Invalid Conversion.",
                                                     "No handle for \n"}));
    EXPECT_EQ(run.breaks, 2);
}

TEST(EnvironmentVariables, OtherFailuresAreNotReported) {
    const ScenarioRun run = runUnderDebugger("MissingVariables");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.breaks, 0);
}

TEST(EnvironmentVariables, IsSilentWithoutADebugger) {
    const ScenarioRun run = runAlone("MissingHandles");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}
