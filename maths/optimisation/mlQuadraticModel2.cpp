#include "maths/optimisation/mlQuadraticModel2.h"

#include <cmath>

namespace {

double const margin = 1e-12; // by which a step must beat a simpler one, relatively

double clamped(double x, double low, double high) {
    if (x < low) return low;
    if (x > high) return high;
    return x;
}

/// The best of the steps offered so far.
class Contest {
public:
    Contest(mlQuadraticModel2 const & model, mlPair const & low, mlPair const & high)
        : model_(model), low_(low), high_(high) {}

    void offer(mlPair const & s) {
        double const change = model_.change(s);
        if (!(change < lowest_ - margin * std::fabs(lowest_))) return;
        lowest_ = change;
        best_ = s;
    }

    /// The best of the steps whose component `fixed` is at `value`: the foot of the parabola or an end of the edge.
    void offer_edge(int fixed, double value) {
        int const free = 1 - fixed;
        double const slope = model_.g[free] + model_.b.uv * value;
        double const curvature = model_.b.diagonal(free);
        mlPair s;
        s[fixed] = value;
        if (curvature > 0.0) {
            s[free] = clamped(-slope / curvature, low_[free], high_[free]);
            return offer(s);
        }
        for (double const end : {low_[free], high_[free]}) {
            s[free] = end;
            offer(s);
        }
    }

    mlPair const & best() const { return best_; }

private:
    mlQuadraticModel2 const & model_;
    mlPair const & low_;
    mlPair const & high_;
    mlPair best_ = {0.0, 0.0};
    double lowest_ = 0.0;
};

} // namespace

double mlQuadraticModel2::change(mlPair const & s) const {
    mlPair const bs = b.times(s);
    return (g[0] + 0.5 * bs[0]) * s[0] + (g[1] + 0.5 * bs[1]) * s[1];
}

mlPair mlQuadraticModel2::step_within(mlPair const & low, mlPair const & high) const {
    if (b.is_positive()) {
        double const a = g[0] / b.uu, c = g[1] / b.vv, p = b.uv / b.uu, q = b.uv / b.vv; // no product overflows
        mlPair const s = {(p * c - a) / (1.0 - p * q), (q * a - c) / (1.0 - p * q)};
        if (low[0] <= s[0] && s[0] <= high[0] && low[1] <= s[1] && s[1] <= high[1]) return s;
    }
    Contest contest(*this, low, high);
    for (int fixed : {1, 0}) // one parameter stays
        contest.offer_edge(fixed, 0.0);
    mlPair const bg = b.times(g);
    double const gg = g[0] * g[0] + g[1] * g[1], gbg = g[0] * bg[0] + g[1] * bg[1];
    if (gbg > 0.0) { // down the slope: the shortest step where B has rank one
        double const t = -gg / gbg;
        contest.offer({clamped(t * g[0], low[0], high[0]), clamped(t * g[1], low[1], high[1])});
    }
    for (int fixed : {0, 1}) {
        contest.offer_edge(fixed, low[fixed]);
        contest.offer_edge(fixed, high[fixed]);
    }
    return contest.best();
}

void mlSymmetric2::update(mlPair const & s, mlPair const & y) {
    mlPair const bs = times(s);
    mlPair const r = {y[0] - bs[0], y[1] - bs[1]};
    double const rs = r[0] * s[0] + r[1] * s[1];
    double const rr = r[0] * r[0] + r[1] * r[1], ss = s[0] * s[0] + s[1] * s[1];
    if (!(ss > 0.0) || !std::isfinite(rr) || !std::isfinite(ss)) return;
    if (rs * rs > 0.01 * rr * ss) {
        uu += r[0] / rs * r[0];
        uv += r[0] / rs * r[1];
        vv += r[1] / rs * r[1];
    } else {
        double const p = s[0] / ss, q = s[1] / ss, c = rs / ss;
        uu += 2.0 * r[0] * p - c * s[0] * p;
        uv += r[0] * q + r[1] * p - c * s[0] * q;
        vv += 2.0 * r[1] * q - c * s[1] * q;
    }
}
