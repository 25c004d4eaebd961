#include "bench_support.h"

#include <cstdio>
#include <map>

namespace qlm::bench {
namespace {

std::vector<std::pair<std::string, std::string>>& comparisons() {
    static std::vector<std::pair<std::string, std::string>> list;
    return list;
}

// Keeps each benchmark's CPU time under its plain name: the median of the
// repetitions when there are several (--benchmark_repetitions), else the
// one run.
class collecting_reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string name = run.run_name.str();
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                times[name] = run.GetAdjustedCPUTime();
                medians[name] = true;
            } else if (run.run_type == Run::RT_Iteration && !medians[name]) {
                times[name] = run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times;
    std::map<std::string, bool> medians;
};

}  // namespace

void compare(const std::string& ours, const std::string& peer) {
    comparisons().emplace_back(ours, peer);
}

int run_and_compare(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    collecting_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\n%-50s %-40s %s\n", "ours", "peer", "peer time / our time");
    for (const auto& [ours, peer] : comparisons()) {
        const auto o = reporter.times.find(ours), p = reporter.times.find(peer);
        if (o == reporter.times.end() || p == reporter.times.end()) continue;
        std::printf("%-50s %-40s %.3f\n", ours.c_str(), peer.c_str(), p->second / o->second);
    }
    benchmark::Shutdown();
    return 0;
}

}  // namespace qlm::bench
