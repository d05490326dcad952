#include "maths/polynomials/all_roots/mlRootEnclosure.h"

#include <algorithm>
#include <limits>

#include "maths/polynomials/all_roots/mlBinaryScale.h"

namespace {

double const unit = std::numeric_limits<double>::epsilon() / 2.0;
double const infinite = std::numeric_limits<double>::infinity();
double const least_magnitude = 1e-280; // far above what underflow can do
double const upwards = 1.0 + 1e-9;     // covers the rounding of a bound's own computation

double power(double x, int k) {
    double result = 1.0;
    for (; k > 0; k /= 2, x *= x) {
        if (k % 2 == 1) result *= x;
    }
    return result;
}

// A number whose k-th power is at least x, and which is seldom more than a sixteenth too large.
double root_from_above(double x, int k) {
    if (!(x < 1e290)) return infinite;
    if (k == 1) return x * upwards;
    if (k == 2) return std::sqrt(x) * upwards;
    int const e = ml_exponent(x);
    int quotient = e / k;
    if (quotient * k <= e) ++quotient; // 2^(quotient k) >= 2^(e+1) > x
    double const least = x * upwards, top = ml_scale(1.0, quotient);
    for (int i = 16; i < 32; ++i) {
        double const root = i / 32.0 * top;
        if (power(root, k) >= least) return root;
    }
    return top;
}

} // namespace

double mlRootEnclosure::distance(mlScaledPolynomial const & p, mlComplex z, double & value_bound, double & sum) {
    n_ = p.degree();
    mlScaledValue<mlComplex> const at = p.evaluate_precisely(z, true, false);
    sum = at.sum;
    value_bound = (ml_modulus(at.value) + p.value_error(at)) * upwards;
    if (!mlScaledPolynomial::is_safe(sum)) return reversed_distance(p, z, value_bound, sum);
    load(p, false);
    double const slope = ml_modulus(at.slope) / upwards - p.slope_error(at, true);
    return distance_from(z, value_bound, slope / (ml_modulus(z) * upwards));
}

void mlRootEnclosure::load(mlScaledPolynomial const & p, bool reversed) {
    re_.expand(n_ + 1);
    im_.expand(n_ + 1);
    magnitudes_.expand(n_ + 1);
    for (int i = 0; i <= n_; ++i) {
        re_[i] = p.coefficient(reversed ? n_ - i : i);
        im_[i] = 0.0;
        magnitudes_[i] = std::fabs(re_[i]);
    }
}

// Of high degree, the powers of z can overflow: the polynomial with reversed coefficients is taken at a rounded 1 / z
// then. A root of it within d of w is the reciprocal of one within d / (|w| (|w| - d)) of 1 / w.
double mlRootEnclosure::reversed_distance(mlScaledPolynomial const & p, mlComplex z, double & value_bound,
                                          double & sum) {
    if (!(ml_modulus(z) > 1.0)) return infinite;
    mlScaledValue<mlComplex> const at = p.evaluate_precisely(z, false, true);
    sum = at.sum;
    value_bound = (ml_modulus(at.value) + p.value_error(at)) * upwards;
    if (!mlScaledPolynomial::is_safe(sum)) return infinite;

    load(p, true);
    mlComplex const w = ml_quotient(mlComplex{1.0, 0.0}, z);
    double const r = ml_modulus(w), far = 16.0 * unit; // |1 - w z| is at most `far`
    double const d = distance_from(w, (value_bound + 2.0 * far * n_ * sum) * upwards, 0.0);
    if (!(d < 0.9 * r)) return infinite;
    return (d / (r * (r - d)) + far * ml_modulus(z)) * upwards;
}

// `slope` is a lower bound of |C_1|, where there is a better one than plain arithmetic has.
double mlRootEnclosure::distance_from(mlComplex w, double value_bound, double slope) {
    double const r = ml_modulus(w);
    next_coefficient(0, w, r);
    double least = infinite, ways = 1.0;
    for (int k = 1; k <= n_; ++k) {
        ways *= (n_ - k + 1.0) / k; // binomial(n, k)
        double magnitude = next_coefficient(k, w, r);
        if (k == 1) magnitude = std::max(magnitude, slope);
        if (magnitude > 0.0) least = std::min(least, root_from_above(ways * upwards * value_bound / magnitude, k));
        if (least < 1e-6 * r || (k >= 12 && least < 0.01 * r) || (k >= 64 && least < 0.5 * r) || k >= 256) break;
    }
    double const leading = std::fabs(re_[n_]);
    return leading > least_magnitude ? std::min(least, root_from_above(value_bound / leading, n_)) : least;
}

// One more row of Horner's rule leaves C_k in the k-th place; its lower bound, or 0. A coefficient comes by at most
// n products and n + k sums into any result.
double mlRootEnclosure::next_coefficient(int k, mlComplex w, double r) {
    double * const re = re_.data();
    double * const im = im_.data();
    double * const magnitude = magnitudes_.data();
    for (int i = n_ - 1; i >= k; --i) {
        mlComplex const above{re[i + 1], im[i + 1]}, product = above * w;
        re[i] += product.re;
        im[i] += product.im;
        magnitude[i] += magnitude[i + 1] * r;
    }
    if (!(magnitude[k] > least_magnitude && magnitude[k] < 1e290)) return 0.0;
    return ml_modulus(mlComplex{re[k], im[k]}) / upwards - 10.0 * unit * (n_ + k + 4.0) * magnitude[k];
}
