#pragma once

#include "maths/core/mlMatrix.h"

/// Decomposes an m x n matrix A into \f$U \mathrm{diag}(s) V^T\f$, U and V orthogonal, and gives rank, pseudo-inverse
/// and least-squares solutions from that.
///
/// Column k of U and of V is the k-th left and right singular vector; `diagonal()` holds the min(m, n) singular values,
/// none negative, in non-increasing order. Intermediate results below 2.2250738585072014e-308 count as zero, which
/// costs accuracy when the largest element is below about 1e-292; from about 1e307 on, norms overflow.
/// Failure: `invalid()` is 1 when 100 steps in a row did not find the next value; the values reached by then can be
/// read, and no query looks at the flag. With NaN or infinite elements the iteration also ends, with meaningless
/// results. std::bad_alloc.
/// Lifetime: A is needed by the constructor only. Bad input: nothing is checked.
/// Threads: const queries may run in parallel, but the first `inverse` or `solve` writes the cache and must run alone.
/// Cost: about \f$4 m^2 n + 8 m n^2 + 9 n^3\f$ operations with both bases.
/// Source: Dongarra, Moler, Bunch & Stewart, LINPACK Users' Guide (1979), chapter 11, applied to the transpose of A.
class MATHS_API mlSingularValueDecomposition {
public:
    /// Which left and right singular vectors are wanted; a matrix of those not wanted is 1 x 1.
    enum mlJOB_U : int {
        mlNO_U = 0, ///< none
        mlALL_U = 1 ///< m x m
    };
    enum mlJOB_V : int {
        mlNO_V = 0,  ///< none
        mlALL_V = 1, ///< n x n
        mlTHIN_V = 2 ///< n x min(m, n)
    };

    /// All left and all right singular vectors.
    explicit mlSingularValueDecomposition(mlMatrix const & a);
    mlSingularValueDecomposition(mlMatrix const & a, mlJOB_U job_u, mlJOB_V job_v);
    mlSingularValueDecomposition(mlSingularValueDecomposition const &) = delete;
    mlSingularValueDecomposition & operator=(mlSingularValueDecomposition const &) = delete;

    [[nodiscard]] mlMatrix const & U() const { return u_; }
    [[nodiscard]] mlMatrix const & V() const { return v_; }
    [[nodiscard]] mlVector const & diagonal() const { return diagonal_; }

    /// 1 when the iteration did not converge, else 0.
    [[nodiscard]] int invalid() const { return invalid_flag_; }

    /// The n x m pseudo-inverse \f$V \mathrm{diag}(1/s) U^T\f$, in which values not above tolerance * s[0] are left
    /// out, s[0] only when it is 0. Deliberate: it is kept, and later calls return it, whatever their tolerance. Needs
    /// U and V.
    mlMatrix const & inverse(double tolerance) const;

    /// 1 when some value is below tolerance * s[0]; with one value alone, when it is below the tolerance itself; and
    /// without values. Deliberate: so a zero matrix of two or more values is not singular.
    [[nodiscard]] int is_singular(double tolerance) const;

    /// The number of values before the first that is below tolerance * s[0], which itself counts always; with one value
    /// alone, 0 when it is below the tolerance itself. Deliberate: so a zero matrix of k > 1 values has rank k.
    [[nodiscard]] int rank(double tolerance) const;

    /// The least-squares solution of A X = B of the smallest norm: inverse(1e-7) B, with B of m rows. If `inverse` was
    /// called earlier, its result is used, whatever its tolerance. X and x may be B and b; b may view x. Needs U
    /// and V.
    void solve(mlMatrix const & b, mlMatrix & x) const;
    void solve(mlVector const & b, mlVector & x) const;
    void solve(mlSlice const & b, mlVector & x) const;

protected:
    /// The decomposition of a into u diag(s) v^T for job = mlJOB_U + 10 mlJOB_V; s, u and v are sized here.
    /// Returns 1 when it converged, else 0.
    static int SVD(mlMatrix const & a, mlVector & s, mlMatrix & u, mlMatrix & v, int job);

private:
    [[maybe_unused]] mlMatrix const * source_; // what was decomposed, for a debugger to show
    mlMatrix u_;
    mlVector diagonal_;
    mlMatrix v_;
    mutable mlMatrix pseudo_inverse_; // without rows until `inverse` or `solve` is called
    int invalid_flag_;
};
