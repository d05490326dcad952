#include "maths/optimisation/ml_brent_minimum_search.h"

#include <algorithm>
#include <cmath>

#include "platform/utCheck.h"

namespace {

double const golden_section = 0.381966;
double const tiny = 1e-20;

double with_sign_of(double magnitude, double sign) { return sign >= 0.0 ? magnitude : -magnitude; }

struct Sample {
    double t;
    double value;
};

class BrentSearch {
public:
    BrentSearch(mlFunction & f, double a, double b, double c, double tolerance)
        : f_(f), tolerance_(tolerance), low_(std::min(a, c)), high_(std::max(a, c)), x_(at(b)), w_(x_), v_(x_) {}

    // True when the interval has closed around x. Also sets the tolerances at x, for the step that follows.
    bool converged() {
        middle_ = (low_ + high_) * 0.5;
        least_step_ = tolerance_ * std::fabs(x_.t) + tiny;
        margin_ = 2.0 * least_step_;
        return std::fabs(x_.t - middle_) <= margin_ - (high_ - low_) * 0.5;
    }

    void iterate() {
        if (!(std::fabs(before_last_) > least_step_ && step_to_parabola())) step_to_golden_section();
        double const stride = std::fabs(step_) >= least_step_ ? step_ : with_sign_of(least_step_, step_);
        Sample const u = at(x_.t + stride);
        if (u.value <= x_.value) {
            move_to(u);
        } else {
            keep_beside(u);
        }
    }

    Sample const & best() const { return x_; }

private:
    Sample at(double t) const { return {t, f_.function(t)}; }

    // Steps to the minimum p / q of the parabola through x, w and v, unless it lies outside the interval or the step is
    // not under half of the last but one.
    bool step_to_parabola() {
        double const r = (x_.value - v_.value) * (x_.t - w_.t);
        double q = (x_.value - w_.value) * (x_.t - v_.t);
        double p = (x_.t - v_.t) * q - (x_.t - w_.t) * r;
        q = 2.0 * (q - r);
        if (q > 0.0) p = -p;
        q = std::fabs(q);
        double const limit = std::fabs(0.5 * q * before_last_);
        before_last_ = step_;
        if (limit <= std::fabs(p) || p <= q * (low_ - x_.t) || p >= q * (high_ - x_.t)) return false;
        step_ = p / q;
        double const u = x_.t + step_;
        if (u - low_ < margin_ || high_ - u < margin_) step_ = with_sign_of(least_step_, middle_ - x_.t);
        return true;
    }

    void step_to_golden_section() {
        before_last_ = x_.t < middle_ ? high_ - x_.t : low_ - x_.t;
        step_ = golden_section * before_last_;
    }

    // u is the best point now.
    void move_to(Sample const & u) {
        (u.t >= x_.t ? low_ : high_) = x_.t;
        v_ = w_;
        w_ = x_;
        x_ = u;
    }

    // x stays the best point; u ends the interval and may be the second or third best.
    void keep_beside(Sample const & u) {
        (u.t < x_.t ? low_ : high_) = u.t;
        if (u.value <= w_.value || w_.t == x_.t) {
            v_ = w_;
            w_ = u;
        } else if (u.value <= v_.value || v_.t == x_.t || v_.t == w_.t) {
            v_ = u;
        }
    }

    mlFunction & f_;
    double tolerance_;
    double low_;
    double high_;
    double middle_ = 0.0;
    double least_step_ = 0.0;
    double margin_ = 0.0;
    double step_ = 0.0;
    double before_last_ = 0.0; // the step before the last one, or the width that golden section cut

    Sample x_; // the best point
    Sample w_; // the second best
    Sample v_; // the w before
};

} // namespace

double ml_brent_minimum_search(mlFunction & f, double a, double b, double c, double tolerance, int max_iterations,
                               double * xmin) {
    // b need not lie between a and c: in one case `ml_minimum_bracketing` returns c between a and b, and callers pass
    // that on.
    MATHS_CHECK(!((b < a && a < c) || (c < a && a < b) || (a == c && b != a)),
                "Brent's search: %g is not between %g and %g", b, a, c);
    BrentSearch search(f, a, b, c, tolerance);
    for (int iteration = 1; iteration <= max_iterations && !search.converged(); ++iteration)
        search.iterate();
    *xmin = search.best().t;
    return search.best().value;
}
