#include "benchmarks/race.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include <benchmark/benchmark.h>

namespace {

std::vector<Result> results_so_far;

double const shortest_batch = 0.5e-3; // seconds: thousands of ticks of the clock
double const time_for_a_race = 0.6;   // seconds, as far as it takes no fewer than the fewest rounds
double const fewest_rounds = 5, most_rounds = 61;

double seconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Operation> double duration(Operation operation) {
    double const start = seconds();
    operation();
    return seconds() - start;
}

double median(Values values) {
    std::sort(values.begin(), values.end());
    std::size_t const half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : 0.5 * (values[half - 1] + values[half]);
}

} // namespace

// One iteration is a whole race, which has rounds of its own: the framework repeats one function, but the contestants
// have to take turns.
bool enter(char const * operation, std::vector<int> const & sizes, std::function<bool(Race &)> event) {
    auto * const benchmark =
        benchmark::RegisterBenchmark(operation, [operation = std::string(operation), event](benchmark::State & state) {
            for (auto _ : state) {
                Race race(operation, static_cast<int>(state.range(0)));
                if (!event(race)) {
                    state.SkipWithError("the libraries disagree");
                    break;
                }
                for (Result const & result : race.results()) {
                    if (result.set == ml_instruction_set()) state.counters["to_" + result.peer] = result.ratio;
                    results_so_far.push_back(result);
                }
                state.SetIterationTime(1e-9 * race.results().front().own_nanoseconds);
            }
        });
    for (int const size : sizes)
        benchmark->Arg(size);
    benchmark->Iterations(1)->UseManualTime();
    return true;
}

std::vector<Result> const & all_results() { return results_so_far; }

/// Does every operation once and compares the results.
bool Race::agree() {
    Values expected;
    for (Contestant & contestant : contestants_) {
        ml_use_instruction_set(contestant.set);
        contestant.repeat(1);
        std::span<double const> const found = contestant.found();
        if (&contestant == &contestants_.front()) expected.assign(found.begin(), found.end());
        bool same = found.size() == expected.size() && !expected.empty();
        double largest = 0.0, difference = 0.0;
        for (std::size_t i = 0; same && i < expected.size(); ++i) {
            largest = std::max(largest, std::fabs(expected[i]));
            difference = std::max(difference, std::fabs(expected[i] - found[i]));
            same = std::isfinite(found[i]);
        }
        if (!same || !(difference <= tolerance_ * largest)) {
            std::fprintf(stderr, "%s/%d: %s finds other results: %g of %g away\n", operation_.c_str(), size_,
                         contestant.library.c_str(), difference, largest);
            return false;
        }
    }
    return true;
}

/// Finds how many operations take long enough to be timed, and returns the time of one round.
double Race::calibrate() {
    double round = 0.0;
    for (Contestant & contestant : contestants_) {
        ml_use_instruction_set(contestant.set);
        double time = duration([&] { contestant.repeat(contestant.batch); });
        while (time < shortest_batch) {
            contestant.batch *= time > 0.1 * shortest_batch ? 2 : 10;
            time = duration([&] { contestant.repeat(contestant.batch); });
        }
        round += time;
    }
    return round;
}

bool Race::run() {
    mlInstructionSet const widest = ml_instruction_set();
    bool const good = agree();
    if (good) {
        double const rounds = std::clamp(time_for_a_race / calibrate(), fewest_rounds, most_rounds);
        for (int round = 0; round < rounds; ++round)
            for (Contestant & contestant : contestants_) {
                ml_use_instruction_set(contestant.set);
                double const time = duration([&] { contestant.repeat(contestant.batch); });
                contestant.times.push_back(time / static_cast<double>(contestant.batch) / contestant.count);
            }
    }
    ml_use_instruction_set(widest);
    if (!good) return false;

    for (Contestant const & own : contestants_)
        for (Contestant const & peer : contestants_) {
            if (own.library != "maths" || peer.library == "maths") continue;
            Values ratios;
            for (std::size_t round = 0; round < own.times.size(); ++round)
                ratios.push_back(own.times[round] / peer.times[round]);
            results_.push_back({operation_, size_, peer.library, own.set, 1e9 * median(own.times),
                                1e9 * median(peer.times), median(ratios)});
        }
    return true;
}
