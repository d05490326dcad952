#pragma once

#include <cmath>
#include <limits>

#include "maths/decompositions/mlFortranVector.h"
#include "maths/kernels/mlKernels.h"

// The level-1 operations on vectors that the singular value decomposition is built from, under their published names.
// For use inside the library. Every sum goes in index order: results are fixed to the last bit. Of two vectors, the
// first gives the number of elements.
// Source: Lawson, Hanson, Kincaid & Krogh, Basic linear algebra subprograms for Fortran usage (1979).

/// Whether x counts as non-zero: it is a normalised number. A NaN counts as zero, or an iteration could go on for ever.
inline bool ml_counts(double x) { return std::fabs(x) >= std::numeric_limits<double>::min(); }

/// The scalar product.
inline double ml_ddot(mlFortranVector const & x, mlFortranVector const & y) {
    double sum = 0.0;
    for (int i = 1; i <= x.size(); ++i)
        sum += x(i) * y(i);
    return sum;
}

/// The Euclidean norm, from the plain sum of squares unless that comes near overflow or underflow.
inline double ml_dnrm2(mlFortranVector const & x) {
    double const sum = ml_ddot(x, x);
    if (sum >= 1e-280 && sum <= 1e300) return std::sqrt(sum);
    double largest = 0.0;
    for (int i = 1; i <= x.size(); ++i) {
        if (std::fabs(x(i)) > largest) largest = std::fabs(x(i));
    }
    if (largest == 0.0) return 0.0;
    double scaled_sum = 0.0;
    for (int i = 1; i <= x.size(); ++i)
        scaled_sum += (x(i) / largest) * (x(i) / largest);
    return largest * std::sqrt(scaled_sum);
}

/// x *= a.
inline void ml_dscal(double a, mlFortranVector const & x) {
    for (int i = 1; i <= x.size(); ++i)
        x(i) *= a;
}

/// The rotation that takes (a, b) to (r, 0). a becomes r, which has the sign of the larger of both.
inline mlRotation ml_drotg(double & a, double b) {
    double const scale = std::fabs(a) + std::fabs(b);
    if (!ml_counts(scale)) {
        a = 0.0;
        return {1.0, 0.0};
    }
    double const a_scaled = a / scale, b_scaled = b / scale;
    double const larger = std::fabs(a) > std::fabs(b) ? a : b;
    double const r = std::copysign(1.0, larger) * (scale * std::sqrt(a_scaled * a_scaled + b_scaled * b_scaled));
    mlRotation const rotation{a / r, b / r};
    a = r;
    return rotation;
}
