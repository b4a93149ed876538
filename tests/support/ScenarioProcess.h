#pragma once

// The part of UnderDebugger.h that differs by system.

#include "support/UnderDebugger.h"

namespace velmor_tests {

/// Runs a registered scenario in this process. Called by main() for `scenarioArgument`.
/// @return the exit code of the process.
int runScenarioHere(const std::string& name);

/// Runs a scenario in a new process of this program, with or without a debugger. Carriage returns are not removed.
ScenarioRun runScenarioProcess(const std::string& scenario, const std::vector<std::string>& environment, bool underDebugger,
                               std::chrono::seconds limit);

/// Records a break of the scenario.
inline void countBreak(ScenarioRun& run) {
    ++run.breaks;
    run.reportsBeforeBreak.push_back(run.reports.size());
}

/// The name in "NAME=value", with the equals sign.
inline std::string variablePrefix(const std::string& variable) {
    return variable.substr(0, variable.find('=') + 1);
}

inline constexpr const char* limitReached = "\n[the scenario did not end in time and was terminated]\n";

} // namespace velmor_tests
