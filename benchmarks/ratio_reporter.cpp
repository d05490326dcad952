#include "benchmarks/ratio_reporter.h"

#include <algorithm>
#include <cstdio>

bool RatioReporter::ReportContext(Context const &) { return true; }

void RatioReporter::ReportRuns(std::vector<Run> const & runs) {
    for (Run const & run : runs) {
        if (run.error_occurred) {
            std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
            failed_ = true;
            continue;
        }
        if (run.run_type != Run::RT_Iteration) continue; // a mean or the like

        std::string const & name = run.run_name.function_name;
        std::size_t const slash = std::min(name.find('/'), name.size() - 1);
        auto const counter = run.counters.begin();
        bool const counts = counter != run.counters.end();
        Timing const timing{name.substr(0, slash),
                            name.substr(slash + 1),
                            run.run_name.args,
                            run.cpu_accumulated_time * 1e9 / static_cast<double>(run.iterations),
                            counts ? counter->first : "",
                            counts ? counter->second.value : 0.0};
        auto const known = std::find_if(timings_.begin(), timings_.end(), [&](Timing const & other) {
            return other.operation == timing.operation && other.library == timing.library && other.size == timing.size;
        });
        if (known == timings_.end())
            timings_.push_back(timing);
        else
            known->nanoseconds = std::min(known->nanoseconds, timing.nanoseconds);
    }
}

RatioReporter::Timing const * RatioReporter::own_timing_beside(Timing const & peer) const {
    for (Timing const & timing : timings_)
        if (timing.library == "maths" && timing.operation == peer.operation && timing.size == peer.size) return &timing;
    return nullptr;
}

void RatioReporter::Finalize() {
    std::printf("%-24s %6s  %-12s %14s %14s %8s\n", "operation", "size", "peer", "maths [ns]", "peer [ns]", "ratio");
    for (Timing const & peer : timings_) {
        if (peer.library == "maths") continue;
        Timing const * const own = own_timing_beside(peer);
        if (own == nullptr) continue;
        std::printf("%-24s %6s  %-12s %14.0f %14.0f %8.2f", peer.operation.c_str(), peer.size.c_str(),
                    peer.library.c_str(), own->nanoseconds, peer.nanoseconds, own->nanoseconds / peer.nanoseconds);
        if (peer.count > 0.0) std::printf("  %.0f : %.0f %s", own->count, peer.count, peer.counted.c_str());
        std::printf("\n");
    }
}
