#pragma once

#include <cstdio>

#include <benchmark/benchmark.h>

#include "benchmarks/race.h"

/// Prints each race's results with their goals as a table, and at the end how many goals were met. Results with a set
/// narrower than the widest are left out unless it has a goal.
class TableReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const &) override;
    void ReportRuns(std::vector<Run> const & runs) override;
    void Finalize() override;

    /// Some race could not be run.
    bool failed() const { return failed_; }

private:
    std::size_t printed_ = 0; // of all results
    bool failed_ = false;
};

/// Writes the machine's and the peers' description as lines that begin with '#', then a line a result, comma-separated.
void write(std::FILE * file, std::vector<Result> const & results);
