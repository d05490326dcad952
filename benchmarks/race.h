#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "maths/kernels/mlInstructionSet.h"

using Values = std::vector<double>;

/// The library's time for an operation beside one peer's.
struct Result {
    std::string operation;
    int size;
    std::string peer;
    mlInstructionSet set; ///< which the library used
    double own_nanoseconds, peer_nanoseconds;
    double ratio; ///< the median over the rounds of own time : peer's time in the same round
};

/// Times several libraries doing the same operation, side by side: in each round all take their turn, so that what
/// slows the machine slows all of them. Times are those of the thread on the processor, not those on the wall.
///
/// The results must agree before anything is timed: with those of the contestant added first, each to 1e-9 of the
/// largest among them, or to the tolerance set.
class Race {
public:
    Race(std::string operation, int size) : operation_(std::move(operation)), size_(size) {}

    int size() const { return size_; }

    /// Adds a contestant, "maths" or a peer. `run` leaves its results in `found`, a vector or matrix of any library,
    /// which lives as long as the race. The time is taken for each of the `count` things, calls of a user's function
    /// say, that a run does.
    template <class Found, class Run> void add(char const * library, Found const & found, Run run, double count = 1.0) {
        contestants_.push_back({library, ml_instruction_set(), repeated(run), view_of(found), count});
    }

    /// Adds the library once for each instruction set of the machine, the widest first.
    template <class Found, class Run> void add_for_each_set(Found const & found, Run run) {
        for (int set = ml_instruction_set(); set >= 0; --set)
            contestants_.push_back({"maths", mlInstructionSet(set), repeated(run), view_of(found), 1.0});
    }

    void set_tolerance(double tolerance) { tolerance_ = tolerance; }

    /// Runs the race; false, and why on stderr, when the contestants disagree.
    bool run();

    /// After a run: one for each of the library's entries and peers.
    std::vector<Result> const & results() const { return results_; }

private:
    struct Contestant {
        std::string library;
        mlInstructionSet set;
        std::function<void(long)> repeat; ///< does the operation so many times
        std::function<std::span<double const>()> found;
        double count;
        long batch = 1;    ///< operations timed together
        Values times = {}; ///< of one thing counted, by round
    };

    template <class Run> static std::function<void(long)> repeated(Run run) {
        return [run](long times) mutable {
            for (long i = 0; i < times; ++i) {
                run();
                asm volatile("" ::: "memory"); // every result is wanted
            }
        };
    }
    template <class Found> static std::function<std::span<double const>()> view_of(Found const & found) {
        return [&found] { return std::span<double const>(found.data(), static_cast<std::size_t>(found.size())); };
    }

    bool agree();
    double calibrate();

    std::string operation_;
    int size_;
    double tolerance_ = 1e-9;
    std::vector<Contestant> contestants_;
    std::vector<Result> results_;
};

/// Makes an operation a benchmark of the program; returns true. For each size `event` adds the contestants to a race,
/// runs it and returns whether they agreed.
bool enter(char const * operation, std::vector<int> const & sizes, std::function<bool(Race &)> event);

/// The results of all races run so far, in the order of the table.
std::vector<Result> const & all_results();
