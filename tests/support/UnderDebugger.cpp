#include "support/UnderDebugger.h"

#include "support/ScenarioProcess.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace velmor_tests {
namespace {

using Scenarios = std::map<std::string, void (*)()>;

// A static local: registrations run before main(), in an unspecified order.
Scenarios& scenarios() {
    static Scenarios all;
    return all;
}

void removeCarriageReturns(std::string& text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
}

ScenarioRun run(const std::string& scenario, const std::vector<std::string>& environment, bool underDebugger,
                std::chrono::seconds limit) {
    ScenarioRun result = runScenarioProcess(scenario, environment, underDebugger, limit);
    for (const std::string& report : result.reports)
        result.channel += report;
    removeCarriageReturns(result.output);
    removeCarriageReturns(result.error);
    return result;
}

} // namespace

ScenarioRegistration::ScenarioRegistration(const char* name, void (*function)()) {
    if (!scenarios().emplace(name, function).second) {
        std::fprintf(stderr, "two scenarios are named %s\n", name);
        std::abort();
    }
}

int runScenarioHere(const std::string& name) {
    const auto found = scenarios().find(name);
    if (found == scenarios().end()) {
        std::fprintf(stderr, "no scenario is named %s\n", name.c_str());
        return 126;
    }
    found->second();
    return 0;
}

ScenarioRun runUnderDebugger(const std::string& scenario, const std::vector<std::string>& environment,
                             std::chrono::seconds limit) {
    return run(scenario, environment, true, limit);
}

ScenarioRun runAlone(const std::string& scenario, const std::vector<std::string>& environment, std::chrono::seconds limit) {
    return run(scenario, environment, false, limit);
}

} // namespace velmor_tests
