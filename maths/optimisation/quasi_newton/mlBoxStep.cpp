#include "maths/optimisation/quasi_newton/mlBoxStep.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/decompositions/mlLUDecomposition.h"

namespace {

double const infinity = std::numeric_limits<double>::infinity();
double const epsilon = std::numeric_limits<double>::epsilon();

bool is_finite(double x) { return x - x == 0.0; }

double product(double const * a, double const * b, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

// out = A v, A being n x n.
void multiply(mlMatrix const & a, double const * v, mlVector & out, int n) {
    for (int i = 0; i < n; ++i)
        out.data()[i] = product(a.data() + i * n, v, n);
}

void add_multiple(double factor, double const * x, double * y, int n) {
    for (int i = 0; i < n; ++i)
        y[i] += factor * x[i];
}

} // namespace

mlBoxStep::mlBoxStep(mlVector const & lower, mlVector const & upper, int memory) : lower_(lower), upper_(upper) {
    for (mlVector * v : {&t_, &direction_, &is_free_})
        v->become(mlVectorZero, lower.size());
    for (mlVector * v : {&p_, &c_, &u_})
        v->become(mlVectorZero, coTableSize(2, memory));
    queue_.expand(lower.size());
}

bool mlBoxStep::find(mlVector const & x, mlVector const & g, mlCurvaturePairs const & pairs, mlVector & z) {
    return find_cauchy_point(x, g, pairs, z) && (pairs.width() == 0 || minimise_in_subspace(x, g, pairs, z));
}

// Sets out from x against the gradient, without the variables on bounds that it would leave; returns the square of the
// direction's length.
double mlBoxStep::start_path(mlVector const & x, mlVector const & g) {
    double square = 0.0;
    queued_ = 0;
    for (int i = 0; i < x.size(); ++i) {
        t_[i] = infinity;
        if (g[i] > 0.0) t_[i] = (x[i] - lower_[i]) / g[i];
        if (g[i] < 0.0) t_[i] = (x[i] - upper_[i]) / g[i];
        direction_[i] = t_[i] > 0.0 ? -g[i] : 0.0;
        square += direction_[i] * direction_[i];
        if (t_[i] > 0.0 && t_[i] < infinity) queue_[queued_++] = i;
    }
    std::make_heap(queue_.data(), queue_.data() + queued_, [this](int i, int j) { return later(i, j); });
    return square;
}

// Takes the variable that is the next to meet its bound, of several the one of the least index.
int mlBoxStep::next_to_stop() {
    std::pop_heap(queue_.data(), queue_.data() + queued_, [this](int i, int j) { return later(i, j); });
    return queue_[--queued_];
}

// Follows the projected gradient's path from one bound to the next, as long as the model falls.
bool mlBoxStep::find_cauchy_point(mlVector const & x, mlVector const & g, mlCurvaturePairs const & pairs,
                                  mlVector & z) {
    int const w = pairs.width();
    double const theta = pairs.theta(), square = start_path(x, g);
    pairs.products(direction_, p_);
    multiply(pairs.inverse(), p_.data(), u_, w);
    c_.fill(0.0);
    double t = 0.0, slope = -square, curvature = square - product(p_.data(), u_.data(), w); // in units of theta
    double const least_curvature = epsilon * curvature;
    if (!(curvature > 0.0 && is_finite(curvature))) return false;
    double length = -slope / curvature / theta; // of the path, straight on to the model's minimum
    z = x;
    while (queued_ > 0 && !(length < t_[queue_[0]] - t)) {
        int const i = next_to_stop();
        double const stretch = t_[i] - t;
        t = t_[i];
        z[i] = g[i] > 0.0 ? lower_[i] : upper_[i];
        direction_[i] = 0.0;
        add_multiple(stretch, p_.data(), c_.data(), w);
        multiply(pairs.inverse(), pairs.row(i), u_, w);
        double const way = z[i] - x[i], bend = product(u_.data(), c_.data(), w);
        slope += theta * stretch * curvature + g[i] * (g[i] + theta * (way - bend));
        double const turn = 2.0 * product(u_.data(), p_.data(), w) + g[i] * product(u_.data(), pairs.row(i), w);
        curvature -= g[i] * (g[i] + turn);
        if (!(curvature > least_curvature)) curvature = least_curvature; // what rounding leaves of it
        add_multiple(g[i], pairs.row(i), p_.data(), w);
        length = -slope / curvature / theta;
    }
    length = length > 0.0 ? length : 0.0;
    add_multiple(length, p_.data(), c_.data(), w);
    for (int i = 0; i < x.size(); ++i)
        if (direction_[i] != 0.0) z[i] = inside(i, x[i] + (t + length) * direction_[i]);
    return true;
}

// To the model's minimum in the variables that are not on bounds.
bool mlBoxStep::minimise_in_subspace(mlVector const & x, mlVector const & g, mlCurvaturePairs const & pairs,
                                     mlVector & z) {
    int const n = x.size(), w = pairs.width();
    double const theta = pairs.theta();
    multiply(pairs.inverse(), c_.data(), u_, w);
    for (int i = 0; i < n; ++i) {
        is_free_[i] = lower_[i] < z[i] && z[i] < upper_[i] ? 1.0 : 0.0;
        // The model's gradient at z.
        double const of_model = g[i] + theta * ((z[i] - x[i]) - product(pairs.row(i), u_.data(), w));
        direction_[i] = is_free_[i] * of_model;
    }
    pairs.reduce(is_free_, reduced_);
    mlLUDecomposition const lu(reduced_);
    if (lu.is_singular()) return false;
    pairs.products(direction_, p_);
    lu.solve(p_.slice(0, 1, w), u_);
    for (int i = 0; i < n; ++i)
        if (is_free_[i] != 0.0) direction_[i] = -(direction_[i] + product(pairs.row(i), u_.data(), w)) / theta;
    return take_step(x, g, z);
}

// z + direction, projected onto the box, if that leads down from x; else as far as the box allows.
bool mlBoxStep::take_step(mlVector const & x, mlVector const & g, mlVector & z) {
    double slope = 0.0, share = 1.0;
    for (int i = 0; i < x.size(); ++i) {
        double const end = z[i] + direction_[i];
        slope += g[i] * (inside(i, end) - x[i]);
        if (end < lower_[i]) share = std::min(share, (lower_[i] - z[i]) / direction_[i]);
        if (end > upper_[i]) share = std::min(share, (upper_[i] - z[i]) / direction_[i]);
    }
    if (!is_finite(slope)) return false;
    if (slope < 0.0) share = 1.0;
    for (int i = 0; i < x.size(); ++i)
        z[i] = inside(i, z[i] + share * direction_[i]);
    return true;
}
