#pragma once

// Runs a scenario of the test program in a new process, with or without a debugger, and returns what the process printed
// and what the debugger saw. The debugger is a ptrace tracer on Linux and a WaitForDebugEvent loop on Windows.
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

/// A scenario that runs longer is terminated; the last line of its `error` reports it. Only a scenario that hangs reaches
/// this limit.
inline constexpr std::chrono::seconds scenarioLimit{120};

/// The result of a scenario.
struct ScenarioRun {
    int breaks = 0;                              ///< Breaks into the debugger, without the loader's initial one.
    std::string channel;                         ///< All text on the debugger channel, in order.
    std::vector<std::string> reports;            ///< The same text, one entry per report.
    std::vector<std::size_t> reportsBeforeBreak; ///< For each break, the number of reports before it.
    std::string output;                          ///< All text on standard output, carriage returns removed.
    std::string error;                           ///< All text on standard error, carriage returns removed.
    bool exited = false;                         ///< Not ended by a signal or an unhandled exception.
    unsigned exitCode = 0;                       ///< The exit code if it exited, else the signal or exception code.
};

/// Runs a scenario in a new process of this program under a debugger, which continues after every break. Processes that
/// the scenario starts are not debugged.
/// @param environment additional variables, as "NAME=value" in UTF-8. All others are inherited.
ScenarioRun runUnderDebugger(const std::string& scenario, const std::vector<std::string>& environment = {},
                             std::chrono::seconds limit = scenarioLimit);

/// Runs a scenario in a new process of this program without a debugger.
ScenarioRun runAlone(const std::string& scenario, const std::vector<std::string>& environment = {},
                     std::chrono::seconds limit = scenarioLimit);

/// Registers a scenario; used by the macro below. The process exits with 0 when the function returns.
struct ScenarioRegistration {
    ScenarioRegistration(const char* name, void (*function)());
};

/// The command-line argument that makes main() run one scenario. The name of the scenario follows it.
inline constexpr const char* scenarioArgument = "--velmor-scenario=";

/// Path of the running test program, in UTF-8.
std::string programPath();

} // namespace velmor_tests

#define VELMOR_SCENARIO(name)                                                                                               \
    static void velmorScenario##name();                                                                                     \
    static const ::velmor_tests::ScenarioRegistration velmorScenarioRegistration##name(#name, &velmorScenario##name);       \
    static void velmorScenario##name()
