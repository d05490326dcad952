#pragma once

#include <cstddef>

/// A scalar product in eight sums, each from 0.0 in increasing i over the products x_i y_i of i = s, s + 8, s + 16, ...
/// for sum s; the result is ((0 + 1) + (2 + 3)) + ((4 + 5) + (6 + 7)) of them. In a single sum each addition would wait
/// for the one before, and where all terms are equal more roundoff would pile up: reflections made with such a norm
/// would not be orthogonal. For use inside the library.
class mlEightSums {
public:
    /// Adds the next n products; all calls but the last take multiples of 8.
    void add(double const * x, double const * y, std::ptrdiff_t n) {
        std::ptrdiff_t i = 0;
        for (; i + 8 <= n; i += 8)
            for (int s = 0; s < 8; ++s)
                sums_[s] += x[i + s] * y[i + s];
        for (int s = 0; i < n; ++i, ++s)
            sums_[s] += x[i] * y[i];
    }

    [[nodiscard]] double total() const {
        return ((sums_[0] + sums_[1]) + (sums_[2] + sums_[3])) + ((sums_[4] + sums_[5]) + (sums_[6] + sums_[7]));
    }

private:
    double sums_[8] = {};
};

/// x^T y, so summed.
inline double ml_scalar_product(double const * x, double const * y, std::ptrdiff_t n) {
    mlEightSums sums;
    sums.add(x, y, n);
    return sums.total();
}

/// Calls update(start, count) for successive parts of n elements that stay in the first-level cache, and returns r^T r
/// as they leave it.
template <class Update> double ml_update_and_square(double const * r, std::ptrdiff_t n, Update update) {
    std::ptrdiff_t const part = 512;
    mlEightSums sums;
    for (std::ptrdiff_t start = 0; start < n; start += part) {
        std::ptrdiff_t const count = n - start < part ? n - start : part;
        update(start, count);
        sums.add(r + start, r + start, count);
    }
    return sums.total();
}
