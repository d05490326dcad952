#pragma once

#include "maths/maths_api.h"

/// Mean and variance of a sequence of values, updated value by value without storing them.
///
/// Source: Welford, Note on a method for calculating corrected sums of squares and products (1962).
class mlStats {
public:
    mlStats() = default;

    void add(double x) {
        count_ += 1;
        double const deviation = x - mean_;
        mean_ += deviation / static_cast<double>(count_);
        squares_ += deviation * (x - mean_);
    }

    [[nodiscard]] long long count() const { return count_; }

    /// 0.0 when there are no values.
    [[nodiscard]] double mean() const { return mean_; }

    /// Sample variance, \f$\frac{1}{n - 1} \sum_i (x_i - \bar x)^2\f$; 0.0 for fewer than two values.
    [[nodiscard]] double variance() const { return count_ < 2 ? 0.0 : squares_ / static_cast<double>(count_ - 1); }

private:
    long long count_ = 0;
    double mean_ = 0.0;
    double squares_ = 0.0; // sum of squared deviations from the mean
};
