#pragma once

#include <cmath>
#include <limits>

#include "maths/decompositions/svd/mlFortranVector.h"
#include "maths/kernels/mlKernels.h"

// The level-1 operations on vectors that the singular value decomposition is built from, under their published names.
// For use inside the library. Every sum starts from 0.0 and goes in index order: results are fixed to the last bit. Of
// two vectors, the first gives the number of elements.
// Source: Lawson, Hanson, Kincaid & Krogh, Basic linear algebra subprograms for Fortran usage (1979).

/// Whether x is at least DBL_MIN, 2.2e-308, in magnitude, infinities among them. Denormals are not "non-zero" here, nor
/// is a NaN, or an iteration could go on for ever.
[[nodiscard]] inline bool ml_is_nonzero(double x) { return std::fabs(x) >= std::numeric_limits<double>::min(); }

/// The scalar product.
[[nodiscard]] inline double ml_ddot(mlFortranVector const & x, mlFortranVector const & y) {
    double sum = 0.0;
    for (int i = 1; i <= x.size(); ++i)
        sum += x(i) * y(i);
    return sum;
}

/// The Euclidean norm, from the plain sum of squares unless that comes near overflow or underflow.
[[nodiscard]] inline double ml_dnrm2(mlFortranVector const & x) {
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

/// The length of (x, y), from the plain sum of squares unless that comes near overflow or underflow.
[[nodiscard]] inline double ml_length(double x, double y) {
    double const sum = x * x + y * y;
    if (sum >= 1e-280 && sum <= 1e300) return std::sqrt(sum);
    double const largest = std::fabs(x) > std::fabs(y) ? std::fabs(x) : std::fabs(y);
    if (largest == 0.0) return 0.0;
    return largest * std::sqrt((x / largest) * (x / largest) + (y / largest) * (y / largest));
}

/// x *= a.
inline void ml_dscal(double a, mlFortranVector & x) {
    for (int i = 1; i <= x.size(); ++i)
        x(i) *= a;
}

/// The rotation that takes (a, b) to (r, 0). a becomes r, which has the sign of the larger of both in magnitude, b's
/// when they are equal. When |a| + |b| isn't non-zero, a becomes 0 and the rotation is that by no angle.
[[nodiscard]] inline mlRotation ml_drotg(double & a, double b) {
    double const scale = std::fabs(a) + std::fabs(b);
    if (!ml_is_nonzero(scale)) {
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

/// (x, y) becomes (c x + s y, c y - s x).
inline void ml_rotate(double & x, double & y, mlRotation const & rotation) {
    double const before = x;
    x = rotation.c * before + rotation.s * y;
    y = rotation.c * y - rotation.s * before;
}
