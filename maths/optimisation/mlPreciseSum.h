#pragma once

/// A sum of products in twice the working precision, from + - * alone. For use inside the library.
///
/// Source: Ogita, Rump & Oishi, Accurate sum and dot product (2005); Dekker's splitting of a product.
class mlPreciseSum {
public:
    void add(double x) {
        double const sum = high_ + x, back = sum - high_;
        low_ += (high_ - (sum - back)) + (x - back);
        high_ = sum;
    }

    void add_product(double a, double b) {
        double const product = a * b;
        double const a_high = upper_half(a), b_high = upper_half(b);
        double const a_low = a - a_high, b_low = b - b_high;
        add(product);
        low_ += a_low * b_low - (((product - a_high * b_high) - a_low * b_high) - a_high * b_low);
    }

    double value() const { return high_ + low_; }

private:
    static double upper_half(double x) {
        double const spread = 134217729.0 * x; // 2^27 + 1
        return spread - (spread - x);
    }

    double high_ = 0.0, low_ = 0.0;
};
