#include "maths/optimisation/ml_minimum_bracketing.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/utCheck.h"

namespace {

double const golden_ratio = 1.618034;
double const longest_stride = 100.0;
double const tiny = 1e-20;

struct Sample {
    double t;
    double value;
};

// The last three points of the walk, downhill from a to b.
struct Walk {
    Walk(mlFunction & function, double t_a, double t_b)
        : f(function), a(at(t_a)), b(at(t_b)) { // in the order of declaration: a is evaluated first
        if (b.value > a.value) std::swap(a, b);
        c = at(golden(a, b));
    }

    // One stride further; when that would pass the minimum, the bracket is made instead.
    void stride() {
        double const u = parabola_minimum();
        double const limit = b.t + longest_stride * (c.t - b.t);
        if ((b.t - u) * (u - c.t) > 0.0) {
            try_between(at(u));
        } else if ((c.t - u) * (u - limit) > 0.0) {
            try_beyond(at(u));
        } else if ((u - limit) * (limit - c.t) >= 0.0) {
            shift(at(limit));
        } else {
            shift(at(golden(b, c)));
        }
    }

    bool descending() const { return !bracketed && b.value > c.value; }

    Sample at(double t) const { return {t, f.function(t)}; }

    static double golden(Sample const & from, Sample const & to) { return to.t + golden_ratio * (to.t - from.t); }

    // Of the parabola through a, b and c.
    double parabola_minimum() const {
        double const r = (b.t - a.t) * (b.value - c.value);
        double const q = (b.t - c.t) * (b.value - a.value);
        double const magnitude = std::max(std::fabs(q - r), tiny);
        double const denominator = q - r < 0.0 ? -magnitude : magnitude;
        return b.t - ((b.t - c.t) * q - (b.t - a.t) * r) / (2.0 * denominator);
    }

    // u lies between b and c: it may close the bracket on either side.
    void try_between(Sample u) {
        if (u.value < c.value) {
            bracketed = true;
            a = b;
            b = u;
        } else if (u.value > b.value) {
            bracketed = true;
            c = u;
        } else {
            shift(at(golden(b, c)));
        }
    }

    // u lies beyond c.
    void try_beyond(Sample u) {
        if (u.value < c.value) {
            double const next = golden(b, c); // not from c to u: formed before the points move on
            shift(u);
            u = at(next);
        }
        shift(u);
    }

    void shift(Sample const & u) {
        a = b;
        b = c;
        c = u;
    }

    mlFunction & f;
    Sample a;
    Sample b;
    Sample c{};
    bool bracketed = false; // before the walk went uphill
};

} // namespace

void ml_minimum_bracketing(mlFunction & f, double & a, double & b, double & c, double & fa, double & fb, double & fc) {
    MATHS_CHECK(a != b, "bracketing: both abscissae are %g", a);
    Walk walk(f, a, b);
    while (walk.descending())
        walk.stride();
    a = walk.a.t;
    b = walk.b.t;
    c = walk.c.t;
    fa = walk.a.value;
    fb = walk.b.value;
    fc = walk.c.value;
}
