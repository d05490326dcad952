#pragma once

// Steps on runs of doubles that lie side by side, from which the active-set search is built. For use inside
// the library.

/// The scalar product, as four sums of every fourth term, (0 + 1) + (2 + 3) at the end: four chains of additions run
/// side by side.
inline double ml_run_product(double const * a, double const * b, int n) {
    double sums[4] = {0.0, 0.0, 0.0, 0.0};
    int i = 0;
    for (; i + 3 < n; i += 4) {
        for (int lane = 0; lane < 4; ++lane)
            sums[lane] += a[i + lane] * b[i + lane];
    }
    for (; i < n; ++i)
        sums[0] += a[i] * b[i];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

/// y += factor x.
inline void ml_run_add(double factor, double const * x, double * y, int n) {
    for (int i = 0; i < n; ++i)
        y[i] += factor * x[i];
}

/// (a, b) = (c a - s b, s a + c b).
inline void ml_run_rotate(double c, double s, double * a, double * b, int n) {
    for (int i = 0; i < n; ++i) {
        double const first = a[i], second = b[i];
        a[i] = c * first - s * second;
        b[i] = s * first + c * second;
    }
}

/// (x[0], x[1]) = (c x[0] + s x[1], c x[1] + minus_s x[0]) for n pairs, `stride` apart. Two sums, of numbers that the
/// compiler does not know to be related: a sum and a difference of products side by side GCC 12 fuses (vfmsubadd),
/// whatever -ffp-contract says.
[[gnu::noinline]] inline void ml_turn_pairs(double c, double s, double minus_s, double * x, int stride, int n) {
    for (int k = 0; k < n; ++k) {
        double * const pair = x + k * stride;
        double const first = pair[0], second = pair[1];
        pair[0] = c * first + s * second;
        pair[1] = c * second + minus_s * first;
    }
}

/// The largest magnitude, 0.0 when there is none; NaN is passed over.
inline double ml_run_largest(double const * x, int n) {
    double largest = 0.0;
    for (int i = 0; i < n; ++i) {
        double const magnitude = x[i] < 0.0 ? -x[i] : x[i];
        if (magnitude > largest) largest = magnitude;
    }
    return largest;
}
