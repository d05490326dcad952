#pragma once

#include "maths/polynomials/all_roots/mlScaledPolynomial.h"

/// How far the nearest root of a polynomial can be from a point, for use inside the library. Serves clusters too.
///
/// With C_k = p^(k)(z) / k!, the sum of all products of k of the 1 / (z - root) is C_k / p. Were all roots further away
/// than d, its modulus would be below binomial(n, k) / d^k. So for every k a root lies within
///     d_k = (binomial(n, k) |p(z)| / |C_k|)^(1/k),
/// and the smallest of them is taken, each computed with |p| from above, |C_k| from below.
/// Source: Henrici, Applied and Computational Complex Analysis 1 (1974), section 6.4.
class mlRootEnclosure {
public:
    /// A bound of the distance of z from the nearest root, in the polynomial's scale, in which z had best be near the
    /// unit circle; infinity when rounding leaves none. `value_bound` gets one of |p(z)|, `sum` that of the magnitudes
    /// of its terms, or of both divided by |z|^n. O(n) for each k.
    double distance(mlScaledPolynomial const & p, mlComplex z, double & value_bound, double & sum);

private:
    double distance_from(mlComplex w, double value_bound, double slope);
    double next_coefficient(int k, mlComplex w, double r);
    double reversed_distance(mlScaledPolynomial const & p, mlComplex z, double & value_bound, double & sum);
    void load(mlScaledPolynomial const & p, bool reversed);

    int n_ = 0;
    doublecoDynArr re_, im_, magnitudes_; // what is left of the tables of Horner's rule at w and at |w|
};
