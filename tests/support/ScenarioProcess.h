#pragma once

// The part of UnderDebugger.h that each system does in its own way.

#include "support/UnderDebugger.h"

namespace velmor_tests {

/// Runs the registered scenario of that name in this process; what main() does for `scenarioArgument`.
/// @return the exit code of the process.
int runScenarioHere(const std::string& name);

/// Runs a scenario in a fresh process of this program, with or without a debugger. The texts are as the system gave them.
ScenarioRun runScenarioProcess(const std::string& scenario, const std::vector<std::string>& environment, bool underDebugger,
                               std::chrono::seconds limit);

/// Notes a break of the scenario.
inline void countBreak(ScenarioRun& run) {
    ++run.breaks;
    run.reportsBeforeBreak.push_back(run.reports.size());
}

/// The name of a variable given as "NAME=value", with the equals sign.
inline std::string variablePrefix(const std::string& variable) {
    return variable.substr(0, variable.find('=') + 1);
}

inline constexpr const char* limitReached = "\n[the scenario did not end in time and was ended]\n";

} // namespace velmor_tests
