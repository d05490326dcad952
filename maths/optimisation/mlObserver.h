#pragma once

#include <type_traits>
#include <utility>

#include "maths/maths_api.h"

/// What a search knows at the end of an iteration.
struct mlProgress {
    int iteration; ///< the number of iterations that have ended, from 1
    double value;  ///< at the current point, of what the search makes small; NaN where it does not know it
    int calls;     ///< evaluations so far, those of a fit over all points counting 1; -1 where they are not counted
    double step;   ///< the length of the last step; for a search by values alone, how far it still ranges
};

/// Is told by a fit or search of every iteration, and can end it.
///
/// `set_observer` of the classes derived from `mlObservable` takes one, as `ml_powell_minimum_search` does; each says
/// what its value and step are. Without one a search makes no other call and gives no other bit.
/// Lifetime: the observer must outlive the searches that it is set for. What `iterated` throws passes through:
/// results and status then tell nothing, and another search may begin.
class MATHS_API mlObserver {
public:
    mlObserver() = default;
    mlObserver(mlObserver const &) = delete;
    mlObserver & operator=(mlObserver const &) = delete;
    virtual ~mlObserver();

    /// Called at the end of each iteration but one in which the search meets its own rule for ending; the last of a
    /// limited number of iterations is told of too, but for Powell's sweeps. Returns whether to go on: false ends the
    /// search, with the best point so far, and a status that says so.
    virtual bool iterated(mlProgress const & progress) = 0;
};

/// An observer made of a callable: `bool f(mlProgress const &)`.
///
///     mlObserverOf watch([&](mlProgress const & p) { history.push_back(p.value); return p.calls < 1000; });
///     fitter.set_observer(&watch);
template <class F>
    requires std::is_invocable_r_v<bool, F &, mlProgress const &>
class mlObserverOf final : public mlObserver {
public:
    explicit mlObserverOf(F f) : f_(std::move(f)) {}
    bool iterated(mlProgress const & progress) override { return f_(progress); }

private:
    F f_;
};

/// A fit or search that an observer can watch.
class mlObservable {
public:
    /// Tells this observer of the iterations to come, those of a search under way included; nullptr, as at first, tells
    /// none.
    void set_observer(mlObserver * observer) { observer_ = observer; }

    /// 1 when the observer ended the last search.
    [[nodiscard]] int stopped() const { return stopped_; }

protected:
    ~mlObservable() = default;

    void begin_observation() {
        iteration_ = 0;
        stopped_ = false;
    }

    /// Whether there is anybody to find out values and steps for.
    [[nodiscard]] bool observed() const { return observer_ != nullptr; }

    /// Tells the observer, if there is one, of an iteration that has ended. Returns whether the search has to end.
    bool stops(double value, int calls, double step) {
        stopped_ = observed() && !observer_->iterated({++iteration_, value, calls, step});
        return stopped_;
    }

private:
    mlObserver * observer_ = nullptr;
    int iteration_ = 0;
    bool stopped_ = false;
};
