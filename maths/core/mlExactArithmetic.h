#pragma once

// Error-free transformations, for use inside the library: sums and products with their rounding errors, which are
// doubles too as long as nothing overflows (beyond 2^996) or underflows.
//
// Source: Dekker, A floating-point technique for extending the available precision (1971); Knuth, The Art of Computer
// Programming 2; Ogita, Rump & Oishi, Accurate sum and dot product (2005).

/// a + b; gives `error` what the sum lost.
inline double ml_exact_sum(double a, double b, double & error) {
    double const sum = a + b, virtual_b = sum - a;
    error = (a - (sum - virtual_b)) + (b - virtual_b);
    return sum;
}

/// A double as the sum of two of 26 bits.
struct mlSplit {
    mlSplit() = default;
    explicit mlSplit(double x) {
        double const c = 134217729.0 * x; // 2^27 + 1
        high = c - (c - x);
        low = x - high;
    }
    double high, low;
};

/// What `product`, the rounded product of two numbers, has lost.
inline double ml_product_error(double product, mlSplit a, mlSplit b) {
    return ((a.high * b.high - product) + a.high * b.low + a.low * b.high) + a.low * b.low;
}

/// A sum of products in twice the working precision.
class mlPreciseSum {
public:
    void add(double x) {
        double error;
        high_ = ml_exact_sum(high_, x, error);
        low_ += error;
    }

    void add_product(double a, double b) {
        double const product = a * b;
        add(product);
        low_ += ml_product_error(product, mlSplit(a), mlSplit(b));
    }

    double value() const { return high_ + low_; }

private:
    double high_ = 0.0, low_ = 0.0;
};
