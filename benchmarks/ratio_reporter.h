#pragma once

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// Prints a line for each operation, size and peer: the times, the library's as a multiple of the peer's,
/// and where benchmarks count something (their one counter: "calls" of a user's function, "steps") both numbers of it.
///
/// Benchmarks are named "operation/library/size" for this, where the library's own is "maths". Of several repetitions
/// the fastest counts, since noise only adds.
class RatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const & context) override;
    void ReportRuns(std::vector<Run> const & runs) override;
    void Finalize() override;

    /// Whether any benchmark ended with an error.
    bool failed() const { return failed_; }

private:
    struct Timing {
        std::string operation, library, size;
        double nanoseconds;
        std::string counted; // what the benchmark counts, if anything
        double count;
    };

    Timing const * own_timing_beside(Timing const & peer) const;

    std::vector<Timing> timings_;
    bool failed_ = false;
};
