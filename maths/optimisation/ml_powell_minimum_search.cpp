#include "maths/optimisation/ml_powell_minimum_search.h"

#include <cmath>

#include "maths/functions/mlLineOnFunctionN1.h"
#include "maths/optimisation/mlObserver.h"
#include "maths/optimisation/ml_brent_minimum_search.h"
#include "maths/optimisation/ml_minimum_bracketing.h"

namespace {

int const last_iteration = 39;
double const line_tolerance = 0.2;
int const line_iterations = 100;
double const tiny = 1e-25;
int const none = -1;

class PowellSearch : public mlObservable {
public:
    PowellSearch(mlVector & x, mlMatrix & directions, mlFunctionN1 & f)
        : f_(f), x_(x), directions_(directions), n_(x.size()), start_(mlVectorZero, n_),
          extrapolated_(mlVectorZero, n_), direction_(mlVectorZero, n_), best_point_(mlVectorZero, n_),
          line_(x_, direction_, &f) {
        start_ = x_;
        best_point_ = x_; // as long as no sweep has ended at a finite value
        value_ = before_sweep_ = f_.function(x_.slice());
    }

    // Minimises along each direction in turn and keeps the best point at which a sweep has ended.
    void sweep() {
        largest_decrease_ = 0.0;
        best_direction_ = none;
        for (int i = 0; i < n_; ++i) {
            direction_ = directions_.col(i);
            double const before = value_;
            minimise_along_direction();
            if (before - value_ > largest_decrease_) {
                largest_decrease_ = before - value_;
                best_direction_ = i;
            }
        }
        if (value_ < best_value_) {
            best_point_ = x_;
            best_value_ = value_;
        }
    }

    bool finished(double tolerance, int iterations) const {
        return 2.0 * (before_sweep_ - value_) <= tolerance * (std::fabs(before_sweep_) + std::fabs(value_)) + tiny ||
               iterations == last_iteration || value_ > 10.0 * best_value_;
    }

    // The observer's word, who is told of the sweep.
    bool is_stopped() { return stops(value_, -1, observed() ? std::sqrt(distance_squared(x_, start_)) : 0.0); }

    // Minimises along the whole way of the sweep as well, when that promises more than the directions do.
    void follow_sweep() {
        for (int j = 0; j < n_; ++j) {
            extrapolated_[j] = 2.0 * x_[j] - start_[j];
            direction_[j] = x_[j] - start_[j];
            start_[j] = x_[j];
        }
        double const beyond = f_.function(extrapolated_.slice());
        if (beyond < before_sweep_ && promises_a_decrease(beyond)) {
            minimise_along_direction();
            replace_best_direction();
        }
        before_sweep_ = value_;
    }

    // Moves x back to the best point if it is not there, and returns the value there.
    double end_at_best() {
        if (value_ > best_value_) {
            x_ = best_point_;
            value_ = best_value_;
        }
        return value_;
    }

private:
    // Moves x to the minimum along direction_, which becomes the step taken.
    void minimise_along_direction() {
        double a = 0.0, b = 1.0, c, fa, fb, fc, t;
        ml_minimum_bracketing(line_, a, b, c, fa, fb, fc);
        value_ = ml_brent_minimum_search(line_, a, b, c, line_tolerance, line_iterations, &t);
        direction_ *= t;
        x_ += direction_;
    }

    // Deliberate: square roots where the published test has squares; a negative difference gives NaN, and the test
    // fails.
    bool promises_a_decrease(double beyond) const {
        return 2.0 * (before_sweep_ - 2.0 * value_ + beyond) * std::sqrt(before_sweep_ - value_ - largest_decrease_) -
                   largest_decrease_ * std::sqrt(before_sweep_ - beyond) <
               0.0;
    }

    // The last direction takes the place of the best one, the new one the last place.
    void replace_best_direction() {
        if (best_direction_ == none) return;
        for (int j = 0; j < n_; ++j) {
            directions_(j, best_direction_) = directions_(j, n_ - 1);
            directions_(j, n_ - 1) = direction_[j];
        }
    }

    mlFunctionN1 & f_;
    mlVector & x_;
    mlMatrix & directions_;
    int n_;
    mlVector start_; // of the sweep
    mlVector extrapolated_;
    mlVector direction_;
    mlVector best_point_;
    mlLineOnFunctionN1 line_; // through x along direction, as they change
    double value_;            // at x
    double before_sweep_;
    double largest_decrease_ = 0.0; // by one direction in the sweep
    int best_direction_ = none;     // the one that made it
    double best_value_ = mlUnboundedMax;
};

} // namespace

double ml_powell_minimum_search(mlVector & x, mlMatrix & directions, double tolerance, int & iterations,
                                mlFunctionN1 & f, mlObserver * observer) {
    MATHS_CHECK(directions.rows() == x.size() && directions.cols() == x.size(),
                "powell: directions %d x %d in %d dimensions", directions.rows(), directions.cols(), x.size());
    MATHS_CHECK(f.dimension == x.size(), "powell: the function's `dimension` is %d, the start has %d elements",
                f.dimension, x.size());
    PowellSearch search(x, directions, f);
    search.set_observer(observer);
    search.sweep();
    while (!search.finished(tolerance, iterations) && !search.is_stopped()) {
        search.follow_sweep();
        ++iterations;
        search.sweep();
    }
    return search.end_at_best();
}

double ml_powell_minimum_search(mlVector & x, mlMatrix & directions, double tolerance, int & iterations,
                                mlFunctionN1 & f) {
    return ml_powell_minimum_search(x, directions, tolerance, iterations, f, nullptr);
}
