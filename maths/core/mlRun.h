#pragma once

#include <cmath>
#include <concepts>
#include <cstddef>
#include <limits>
#include <utility>

// The arithmetic that vectors, slices and fixed-size vectors share, over runs of doubles that are contiguous or
// strided. For use inside the library. Every sum starts from 0.0 and goes in index order: results are fixed to the last
// bit.

/// A run: element i is x[i], a double or converted to one.
template <class X>
concept mlRunOfDoubles = std::convertible_to<decltype(std::declval<X const &>()[0]), double>;

/// Element i is first[i].
template <class Double> struct mlDenseRun {
    Double * first;
    Double & operator[](int i) const { return first[i]; }
};

/// Element i is data[start + i * stride]. The start stays apart from the pointer, which is null in an empty view.
template <class Double> struct mlStridedRun {
    Double * data;
    std::ptrdiff_t start;
    std::ptrdiff_t stride;
    Double & operator[](int i) const { return data[start + i * stride]; }
};

/// Every element is the same value.
struct mlConstantRun {
    double value;
    double operator[](int) const { return value; }
};

struct mlAssign {
    void operator()(double & x, double y) const { x = y; }
};
struct mlAdd {
    void operator()(double & x, double y) const { x += y; }
};
struct mlSubtract {
    void operator()(double & x, double y) const { x -= y; }
};
struct mlMultiply {
    void operator()(double & x, double y) const { x *= y; }
};
struct mlDivide {
    void operator()(double & x, double y) const { x /= y; }
};

/// change(x[i], y[i]) for i = 0 .. n - 1, in this order: x and y may overlap.
template <mlRunOfDoubles X, mlRunOfDoubles Y, std::invocable<double &, double> Change>
void ml_run_update(X x, Y y, int n, Change change) {
    for (int i = 0; i < n; ++i)
        change(x[i], y[i]);
}

/// The running maximum before the first element.
inline constexpr double mlLeastDouble = -std::numeric_limits<double>::max();

template <mlRunOfDoubles X> double ml_run_sum(X x, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += x[i];
    return sum;
}

template <mlRunOfDoubles X, mlRunOfDoubles Y> double ml_run_scalar_product(X x, Y y, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += x[i] * y[i];
    return sum;
}

template <mlRunOfDoubles X, mlRunOfDoubles Y> double ml_run_distance_squared(X x, Y y, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        double const difference = x[i] - y[i];
        sum += difference * difference;
    }
    return sum;
}

/// The largest of magnitude(0 .. n - 1); a NaN never replaces the running maximum.
template <std::regular_invocable<int> Magnitude> double ml_run_maximum(Magnitude magnitude, int n) {
    double maximum = mlLeastDouble;
    for (int i = 0; i < n; ++i) {
        double const m = magnitude(i);
        if (m > maximum) maximum = m;
    }
    return maximum;
}

template <mlRunOfDoubles X> double ml_run_max_absolute_value(X x, int n) {
    return ml_run_maximum([x](int i) { return std::fabs(x[i]); }, n);
}

template <mlRunOfDoubles X, mlRunOfDoubles Y> double ml_run_norm_diff(X x, Y y, int n) {
    return ml_run_maximum([x, y](int i) { return std::fabs(x[i] - y[i]); }, n);
}

template <mlRunOfDoubles X, mlRunOfDoubles Y> int ml_run_equal(X x, Y y, int n) {
    for (int i = 0; i < n; ++i) {
        if (!(x[i] == y[i])) return 0;
    }
    return 1;
}
