#pragma once

#include <array>
#include <cmath>

/// Two numbers, one for each parameter. For use inside the library.
using mlPair = std::array<double, 2>;

/// A symmetric 2 x 2 matrix by its three elements. For use inside the library.
struct mlSymmetric2 {
    static constexpr double singular = 1e-14;
    static constexpr double narrow = 0.05;
    double uu = 0.0, uv = 0.0, vv = 0.0;

    mlPair times(mlPair const & s) const { return {uu * s[0] + uv * s[1], uv * s[0] + vv * s[1]}; }
    bool is_finite() const { return std::isfinite(uu) && std::isfinite(uv) && std::isfinite(vv); }
    /// No direction of it is flat, up to roundoff of its determinant, or bends down.
    bool is_positive() const { return uu > 0.0 && vv > 0.0 && 1.0 - uv / uu * (uv / vv) > singular; }
    /// Its determinant is below `fraction` of the product of its diagonal, in magnitude.
    bool is_nearly_singular(double fraction) const { return std::fabs(1.0 - uv / uu * (uv / vv)) < fraction; }
    /// Not clearly positive: small errors of it change the way along the floor of a valley much.
    bool is_narrow() const { return !is_positive() || is_nearly_singular(narrow); }
    double diagonal(int i) const { return i == 0 ? uu : vv; }

    /// The rank-one update that makes the matrix map s to y, where it is well determined; else the least symmetric one.
    /// Nothing happens where the numbers are not finite.
    /// Source: the symmetric rank-one update, Powell's symmetric Broyden update; Nocedal & Wright.
    void update(mlPair const & s, mlPair const & y);
};

inline mlSymmetric2 operator+(mlSymmetric2 const & a, mlSymmetric2 const & b) {
    return {a.uu + b.uu, a.uv + b.uv, a.vv + b.vv};
}

/// The change g s + 1/2 s'B s of a function of two parameters for a step s. For use inside the library.
struct mlQuadraticModel2 {
    mlPair g = {0.0, 0.0};
    mlSymmetric2 b;

    double change(mlPair const & s) const;
    bool is_finite() const { return std::isfinite(g[0]) && std::isfinite(g[1]) && b.is_finite(); }

    /// The step within low <= s <= high, which hold 0, that lowers the model most: exact, for an indefinite B too. Of
    /// steps that lower it equally, one that moves fewer parameters is taken; no step at all where none lowers it.
    mlPair step_within(mlPair const & low, mlPair const & high) const;
};
