#pragma once

#include "maths/polynomials/all_roots/mlComplex.h"
#include "platform/coDynArr.h"

/// A polynomial at a point z: `value` is p(z), `slope` z p'(z) and `sum` the sum of |a_i| |z|^i, rounded, all three
/// divided by z^n (the sum by |z|^n) where |z| > 1.
template <class Number> struct mlScaledValue {
    Number value, slope;
    double sum;
};

/// A polynomial with the variable and the coefficients scaled by powers of two, for use inside the library:
///     c_i = a_i 2^(k i - m), the largest magnitude in [1, 2),
/// so that roots z of a have become roots 2^-k z. Points beyond the unit circle are entered in the polynomial with its
/// coefficients reversed, which keeps all intermediate results below n + 1 in magnitude.
///
/// Coefficients that the scaling makes tiny are rounded, which counts in `value_error`.
class mlScaledPolynomial {
public:
    /// Takes the coefficients a[0 .. n]; a[0] and a[n] are not zero.
    void become(int n, double const * a, int k);

    int degree() const { return n_; }
    int exponent() const { return k_; }
    double coefficient(int i) const { return c_[i]; }

    /// In plain arithmetic. z must not be zero.
    template <class Number> mlScaledValue<Number> evaluate(Number z) const;

    /// The value as if computed with twice the digits and then rounded; with `all` the slope too.
    template <class Number> mlScaledValue<Number> evaluate_precisely(Number z, bool all) const {
        return evaluate_precisely(z, all, ml_modulus(z) > 1.0);
    }
    /// The same, with the coefficients reversed or not as is said.
    template <class Number> mlScaledValue<Number> evaluate_precisely(Number z, bool all, bool reversed) const;

    /// What an exact evaluation can differ from a precise one at most, in modulus: rigorous bounds as long as
    /// `is_safe`. `slope_error` is for slopes in plain arithmetic.
    template <class Number> double value_error(mlScaledValue<Number> const & at) const;
    template <class Number> double slope_error(mlScaledValue<Number> const & at, bool all) const;

    /// False where the sum is so small or large that underflow or overflow may have done harm.
    static bool is_safe(double sum) { return sum > 1e-270 && sum < 1e290; }

private:
    template <bool all, class Number> mlScaledValue<Number> run_precisely(Number z, bool reversed) const;

    int n_ = -1, k_ = 0;
    doublecoDynArr c_;
};
