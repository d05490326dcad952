#pragma once

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// Prints a line for each operation, size and peer: the times, and the library's as a multiple of the peer's.
///
/// Benchmarks are named "operation/library/size" for this, where the library's own is "maths". Of several repetitions
/// the fastest counts, since noise only adds. Where both count their steps in the counter "steps", the line ends with
/// the two numbers.
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
        double steps; // NaN when not counted
    };

    Timing const * own_timing_beside(Timing const & peer) const;

    std::vector<Timing> timings_;
    bool failed_ = false;
};
