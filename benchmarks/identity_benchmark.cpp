// Compares the identity database with its peers. The output of the benchmarks is followed by a table of nanoseconds per
// item. For each peer it also shows the ratio of its time to that of the library: above 1 the library is faster.

#include "identity_peers.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            // The name is operation/peer.
            const std::string name = run.run_name.function_name;
            const std::size_t slash = name.find('/');
            const std::string row = name.substr(0, slash) + ", " + run.run_name.args;
            if (times_.find(row) == times_.end())
                rows_.push_back(row);
            // Uses the fastest of several repetitions, which was disturbed least.
            const double time = 1e9 / run.counters.at("items_per_second").value;
            double& best = times_[row].try_emplace(name.substr(slash + 1), std::numeric_limits<double>::max()).first->second;
            best = std::min(best, time);
        }
    }

    void Finalize() override {
        std::printf("\n%-32s %12s   peers\n", "nanoseconds per item", "velmor");
        for (const std::string& row : rows_) {
            std::map<std::string, double>& times = times_[row];
            const double own = times["velmor"];
            std::printf("%-32s %12.1f  ", row.c_str(), own);
            for (const auto& [name, time] : times) {
                if (name != "velmor")
                    std::printf(" %s %.1f (x %.2f)", name.c_str(), time, time / own);
            }
            std::printf("\n");
        }
    }

private:
    std::vector<std::string> rows_;
    std::map<std::string, std::map<std::string, double>> times_;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmarks::printPeakMemory(1'000'000);
    benchmarks::registerKeyed();
    benchmarks::registerSpatial();
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
