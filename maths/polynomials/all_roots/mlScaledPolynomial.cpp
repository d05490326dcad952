#include "maths/polynomials/all_roots/mlScaledPolynomial.h"

#include <algorithm>
#include <limits>

#include "maths/polynomials/all_roots/mlBinaryScale.h"
#include "maths/polynomials/all_roots/mlExactHorner.h"

namespace {

double const unit = std::numeric_limits<double>::epsilon() / 2.0;

double reciprocal(double z) { return 1.0 / z; }
mlComplex reciprocal(mlComplex z) { return ml_quotient(mlComplex{1.0, 0.0}, z); }

// What w, a rounded 1 / z, is short of it: w (1 - w z), where the difference is exact but for the second order.
double reciprocal_rest(double z, double w) {
    double error;
    double const difference = ml_exact_step(-w, mlFactor<double>(z), 1.0, error);
    return w * (difference + error);
}
mlComplex reciprocal_rest(mlComplex z, mlComplex w) {
    mlComplex error;
    mlComplex const difference = ml_exact_step({-w.re, -w.im}, mlFactor<mlComplex>(z), 1.0, error);
    return w * (difference + error);
}

} // namespace

void mlScaledPolynomial::become(int n, double const * a, int k) {
    n_ = n;
    k_ = k;
    c_.expand(n + 1);
    int largest = std::numeric_limits<int>::min();
    for (int i = 0; i <= n; ++i) {
        if (a[i] != 0.0) largest = std::max(largest, ml_exponent(a[i]) + k * i);
    }
    double * const c = c_.data();
    for (int i = 0; i <= n; ++i)
        c[i] = ml_scale(a[i], k * i - largest);
}

template <class Number> mlScaledValue<Number> mlScaledPolynomial::evaluate(Number z) const {
    double const modulus = ml_modulus(z);
    bool const reversed = modulus > 1.0;
    Number const w = reversed ? reciprocal(z) : z;
    double const r = reversed ? ml_modulus(w) : modulus;
    double const * c = reversed ? c_.data() : c_.data() + n_;
    int const step = reversed ? 1 : -1;
    Number value{}, slope{};
    value = value + *c;
    double sum = std::fabs(*c);
    for (int i = 0; i < n_; ++i) {
        c += step;
        slope = slope * w + value;
        value = value * w + *c;
        sum = sum * r + std::fabs(*c);
    }
    slope = slope * w;
    if (reversed) slope = static_cast<double>(n_) * value - slope; // z p' = z^n (n q - w q')
    return {value, slope, sum};
}

template <bool all, class Number>
mlScaledValue<Number> mlScaledPolynomial::run_precisely(Number z, bool reversed) const {
    Number const rounded = reversed ? reciprocal(z) : z;
    mlFactor<Number> const w = reversed ? mlFactor<Number>(rounded, reciprocal_rest(z, rounded)) : mlFactor<Number>(z);
    double const r = ml_modulus(w.value);
    double const * c = reversed ? c_.data() : c_.data() + n_;
    int const step = reversed ? 1 : -1;
    Number value{}, value_rest{}, slope{}, slope_rest{}, error;
    value = value + *c;
    double sum = std::fabs(*c);
    for (int i = 0; i < n_; ++i) {
        c += step;
        Number const before = slope;
        if constexpr (all) {
            slope = ml_exact_step(slope, w, value, error);
            slope_rest = slope_rest * w.value + (error + value_rest + before * w.rest);
        } else {
            slope = slope * w.value + value;
        }
        Number const old = value;
        value = ml_exact_step(value, w, *c, error);
        value_rest = value_rest * w.value + (error + old * w.rest);
        sum = sum * r + std::fabs(*c);
    }
    value = value + value_rest;
    slope = (slope + slope_rest) * w.value;
    if (reversed) slope = static_cast<double>(n_) * value - slope;
    return {value, slope, sum};
}

template <class Number>
mlScaledValue<Number> mlScaledPolynomial::evaluate_precisely(Number z, bool all, bool reversed) const {
    return all ? run_precisely<true>(z, reversed) : run_precisely<false>(z, reversed);
}

// With e_j the errors of one step, at most u (4 |b_j+1| |w| + |b_j|): the sum of |e_j| |w|^j is below 5 (n + 1) u S,
// its evaluation loses (4 n + 7) u of that, and the rest of a reciprocal counts like another error. Doubled.
template <class Number> double mlScaledPolynomial::value_error(mlScaledValue<Number> const & at) const {
    double const m = n_ + 3.0;
    return 4.0 * unit * ml_size(at.value) + 48.0 * m * m * (unit * unit) * at.sum;
}

// The terms of z p' are at most n times those of p, and n q - w q' doubles that.
template <class Number> double mlScaledPolynomial::slope_error(mlScaledValue<Number> const & at, bool all) const {
    double const m = n_ + 4.0;
    if (!all) return 20.0 * m * n_ * unit * at.sum;
    return 8.0 * unit * (ml_size(at.slope) + n_ * ml_size(at.value)) + 200.0 * m * m * n_ * (unit * unit) * at.sum;
}

template mlScaledValue<double> mlScaledPolynomial::evaluate(double) const;
template mlScaledValue<mlComplex> mlScaledPolynomial::evaluate(mlComplex) const;
template mlScaledValue<double> mlScaledPolynomial::evaluate_precisely(double, bool, bool) const;
template mlScaledValue<mlComplex> mlScaledPolynomial::evaluate_precisely(mlComplex, bool, bool) const;
template double mlScaledPolynomial::value_error(mlScaledValue<double> const &) const;
template double mlScaledPolynomial::value_error(mlScaledValue<mlComplex> const &) const;
template double mlScaledPolynomial::slope_error(mlScaledValue<double> const &, bool) const;
template double mlScaledPolynomial::slope_error(mlScaledValue<mlComplex> const &, bool) const;
