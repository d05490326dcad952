#include "maths/core/mlNorms.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/core/mlVectorRuns.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

namespace {

template <mlRunOfDoubles X> double magnitude_sum(X x, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += std::fabs(x[i]);
    return sum;
}

/// The largest of magnitude(0 .. n - 1), which are not negative, or a NaN among them.
template <std::regular_invocable<int> Magnitude> double largest(Magnitude magnitude, int n) {
    double maximum = 0.0;
    for (int i = 0; i < n; ++i) {
        double const m = magnitude(i);
        if (m > maximum || m != m) maximum = m;
    }
    return maximum;
}

template <mlRunOfDoubles X> double scaled_root(X x, int n, double scale) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        double const scaled = x[i] * scale;
        sum += scaled * scaled;
    }
    return std::sqrt(sum) / scale;
}

template <mlRunOfDoubles X> double root_of_squares(X x, int n) {
    double const sum = ml_run_scalar_product(x, x, n);
    if (sum > std::numeric_limits<double>::max()) return scaled_root(x, n, 0x1p-600);
    if (sum < 0x1p-960) return scaled_root(x, n, 0x1p600);
    return std::sqrt(sum);
}

mlDenseRun<double const> row(mlMatrix const & m, int r) { return {m.data() + r * m.cols()}; }

} // namespace

double one_norm(mlVector const & v) { return magnitude_sum(ml_run(v), v.size()); }
double one_norm(mlSlice const & s) { return magnitude_sum(ml_run(s), s.length()); }

double one_norm(mlMatrix const & m) {
    int const cols = m.cols();
    coScratch<ml_tuning::gemv_scratch> scratch(static_cast<std::size_t>(std::max(cols, 0)));
    double * const sums = scratch.data();
    std::fill_n(sums, cols, 0.0);
    for (int r = 0; r < m.rows(); ++r) {
        for (int c = 0; c < cols; ++c)
            sums[c] += std::fabs(row(m, r)[c]);
    }
    return largest([sums](int c) { return sums[c]; }, cols);
}

double infinity_norm(mlVector const & v) {
    return largest([x = ml_run(v)](int i) { return std::fabs(x[i]); }, v.size());
}
double infinity_norm(mlSlice const & s) {
    return largest([x = ml_run(s)](int i) { return std::fabs(x[i]); }, s.length());
}
double infinity_norm(mlMatrix const & m) {
    return largest([&m](int r) { return magnitude_sum(row(m, r), m.cols()); }, m.rows());
}

double euclidean_norm(mlVector const & v) { return root_of_squares(ml_run(v), v.size()); }
double euclidean_norm(mlSlice const & s) { return root_of_squares(ml_run(s), s.length()); }
double frobenius_norm(mlMatrix const & m) {
    return root_of_squares(mlDenseRun<double const>{m.data()}, m.rows() * m.cols());
}
