#pragma once

#include "maths/core/mlRange.h"
#include "maths/core/mlVector.h"
#include "maths/maths_api.h"

class mlRootIteration;

/// How a search for all roots of a polynomial ended.
enum mlPolynomialSolverStatus : int {
    mlPolynomialSolverSolved = 0,        ///< every root met the stopping test
    mlPolynomialSolverEverywhere = 1,    ///< all coefficients are zero, or n is negative: no roots are listed
    mlPolynomialSolverNotFinite = 2,     ///< a coefficient is NaN or infinite: no roots are listed
    mlPolynomialSolverIterationLimit = 3 ///< the roots listed are the best found
};

/// All roots, real and complex, of a polynomial with real coefficients, each with a rigorous bound of its error.
///
/// The coefficients ascend, as those of `mlPolynomial` do: \f$a_0 + a_1 t + \dots + a_n t^n\f$. Exactly zero leading
/// ones lower the degree, each zero at the low end is a root exactly 0.0, and no other coefficient is negligible. Both
/// zeros count as zero. A constant other than zero is solved and has no roots.
/// The list: by ascending real part, roots of equal real part by ascending magnitude of the imaginary one. A multiple
/// root is listed as often as its multiplicity. A conjugate pair has equal real parts and opposite imaginary parts to
/// the bit, and is adjacent in the list, the negative one first. No zero in the list is negative.
/// Real roots: a root is real exactly when the method finds it so, and its imaginary part is then exactly 0.0. Two real
/// roots too close for rounding to separate may come out as a pair with a tiny imaginary part, and a pair that close to
/// the real axis as two equal real roots.
///
/// Accuracy, with \f$\epsilon = 2^{-52}\f$, n = `num_roots()` and \f$S = \sum_i |a_i| |z|^i\f$. Every root z meets the
/// stopping test \f$|p(z)| \le 4 n \epsilon S\f$, unless the status says otherwise. The error of a root that rounding
/// can separate from the others is at most \f$8 n \epsilon S / |p'(z)|\f$; mostly it is the last bit of z, because
/// values are taken as if with twice the digits. Of a k-fold root, that leaves about 30 / k digits, and at most 16.
/// `error_bound` holds always, for roots in clusters too: rounding is part of it. It is at most a thousand times the
/// figure above for a root that rounding can separate from the others, and below |z| in a narrow cluster. A polynomial
/// of degree two, zero roots not counted, goes through `mlRootSolve::quadratic_solve` where the roots that it finds are
/// real and meet the stopping test, else it is solved like all others.
/// Range: coefficients and roots from 1e-300 to 1e300, all in one polynomial if need be; scaling is by powers of two.
/// A root too large for a double, from 1.74e308 on, is listed at the end of the range, in its direction as far as that
/// is known, with an infinite bound; one below the normal numbers may be too coarse to meet the stopping test. The
/// status is `mlPolynomialSolverIterationLimit` then.
///
/// Failure: the status; std::bad_alloc, after which no roots are listed. The method has no proof of convergence; after
/// 120 sweeps in either of its two phases the points found so far are the roots, and are judged by the stopping test.
/// Threads: one object, one thread; storage is kept for the next polynomial. The bits of a result depend on the
/// coefficients alone.
/// Cost: \f$16 n^2\f$ operations and \f$n^2\f$ divisions a sweep over all points, which come closer to the roots for 5
/// to 15 sweeps, then about \f$100 n^2\f$ operations; O(n) storage. Ill-conditioned and multiple roots take several
/// times as long. Source: Ehrlich, A modified Newton method for polynomials (1967); Aberth, Iteration methods for
/// finding all zeros of a polynomial simultaneously (1973), from the starting points of Bini, Numerical computation of
/// polynomial zeros by means of Aberth's method (1996), taken to real factors of degree two.
class MATHS_API mlPolynomialSolver {
public:
    mlPolynomialSolver();
    mlPolynomialSolver(mlPolynomialSolver const &) = delete;
    mlPolynomialSolver & operator=(mlPolynomialSolver const &) = delete;
    ~mlPolynomialSolver();

    /// Finds the roots of \f$a_0 + a_1 t + \dots + a_n t^n\f$, and forgets those of the polynomial before. Nothing is
    /// read for a negative n.
    mlPolynomialSolverStatus solve(int n, double const * a);

    /// What the last `solve` returned; `mlPolynomialSolverEverywhere` before the first.
    [[nodiscard]] mlPolynomialSolverStatus status() const { return status_; }

    /// The degree without zero leading coefficients.
    [[nodiscard]] int num_roots() const { return num_roots_; }

    /// Root i of the list, 0 <= i < num_roots().
    [[nodiscard]] double real_part(int i) const { return real_[checked(i)]; }
    [[nodiscard]] double imaginary_part(int i) const { return imaginary_[checked(i)]; }

    /// A root of the polynomial lies no further from root i than this, in the plane; 0.0 for a root exactly 0.0.
    [[nodiscard]] double error_bound(int i) const { return bound_[checked(i)]; }

    [[nodiscard]] int num_real_roots() const { return num_real_roots_; }

    /// The real roots, ascending; all of them, or those in the closed range. `out` is given exactly that size.
    void real_roots(mlVector & out) const;
    void real_roots(mlRange const & range, mlVector & out) const;

private:
    int checked(int i) const {
        MATHS_CHECK(i >= 0 && i < num_roots_, "polynomial root: index %d of %d roots", i, num_roots_);
        return i;
    }
    void list_roots(int zeros);

    mlPolynomialSolverStatus status_ = mlPolynomialSolverEverywhere;
    int num_roots_ = 0, num_real_roots_ = 0;
    doublecoDynArr numbers_;
    double *real_ = nullptr, *imaginary_ = nullptr, *bound_ = nullptr; // views of them
    intcoDynArr order_;
    mlRootIteration * iteration_; // owned
};
