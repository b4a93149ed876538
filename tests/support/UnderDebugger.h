#pragma once

// Runs a scenario of the test program in a fresh process, alone or under a debugger, and tells what a debugger saw of it:
// ptrace on Linux, a WaitForDebugEvent loop on Windows.
//
//     VELMOR_SCENARIO(WrongTypeGetterTwice) {
//         ExternalGUID guid = ExternalGUID::fromCadmaticObi(1);
//         guid.getDWGHandle();
//         guid.getDWGHandle();
//     }
//
//     TEST(ExternalGUID, WrongTypeGetterBreaksOnce) {
//         const auto run = velmor_tests::runUnderDebugger("WrongTypeGetterTwice");
//         EXPECT_EQ(run.breaks, 1);
//         EXPECT_EQ(run.channel, "");
//     }

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace velmor_tests {

/// How long a scenario may take before it is ended. Its `error` then ends with a line that says so.
inline constexpr std::chrono::seconds scenarioLimit{120};

/// What a scenario did.
struct ScenarioRun {
    int breaks = 0;                              ///< Breaks into the debugger (the loader's own initial one is not counted).
    std::string channel;                         ///< All text of the debugger channel, in order.
    std::vector<std::string> reports;            ///< The same text, one entry a report.
    std::vector<std::size_t> reportsBeforeBreak; ///< For each break, how many reports came before it.
    std::string output;                          ///< All text on standard output, carriage returns removed.
    std::string error;                           ///< All text on standard error, carriage returns removed.
    bool exited = false;                         ///< Ended by itself, not by a signal or an unhandled exception.
    unsigned exitCode = 0;                       ///< Its exit code when it exited, else the signal or exception code.
};

/// Runs a scenario in a fresh process of this program under a debugger, which goes on after every break. Processes that the
/// scenario starts are not debugged.
/// @param environment variables to set for it, as "NAME=value" (UTF-8); it inherits the others.
ScenarioRun runUnderDebugger(const std::string& scenario, const std::vector<std::string>& environment = {},
                             std::chrono::seconds limit = scenarioLimit);

/// Runs a scenario in a fresh process of this program without a debugger.
ScenarioRun runAlone(const std::string& scenario, const std::vector<std::string>& environment = {},
                     std::chrono::seconds limit = scenarioLimit);

/// Registers a scenario under a name; used through the macro below. The process exits with 0 when it returns.
struct ScenarioRegistration {
    ScenarioRegistration(const char* name, void (*function)());
};

/// The command-line argument that makes main() run the scenario behind it, and nothing else.
inline constexpr const char* scenarioArgument = "--velmor-scenario=";

/// Path of the running test program, in UTF-8.
std::string programPath();

} // namespace velmor_tests

#define VELMOR_SCENARIO(name)                                                                                               \
    static void velmorScenario##name();                                                                                     \
    static const ::velmor_tests::ScenarioRegistration velmorScenarioRegistration##name(#name, &velmorScenario##name);       \
    static void velmorScenario##name()
