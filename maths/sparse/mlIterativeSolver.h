#pragma once

#include "maths/optimisation/mlObserver.h"
#include "maths/sparse/mlMatrixOperator.h"

/// How an iterative solution ended.
enum mlIterativeStatus : int {
    mlIterativeConverged = 0,      ///< the residual, computed anew, is within the tolerance
    mlIterativeIterationLimit = 1, ///< out of iterations; before the first solution too
    mlIterativeStopped = 2,        ///< the observer ended it
    mlIterativeStagnated = 3,      ///< roundoff keeps the residual above the tolerance
    mlIterativeNotPositive = 4,    ///< conjugate gradients: the matrix or the preconditioner is not positive definite
    mlIterativeBreakdown = 5,      ///< bi-conjugate gradients: a coefficient's divisor is 0 but for roundoff
    mlIterativeNotFinite = 6       ///< NaN or infinity came up; x is as it was
};

/// What iterative solvers of A x = b share: start, stopping rule, history, observer. `mlConjugateGradients` is the one
/// for symmetric positive-definite A, `mlBiConjugateGradients` for any other.
///
///     mlIncompleteFactors const factors(a);
///     mlConjugateGradients solver;
///     solver.set_preconditioner(&factors);
///     if (solver.solve(a, b, x) != mlIterativeConverged) ...
///
/// A is a matrix, sparse or dense, or an `mlLinearOperator`: something that multiplies a vector. So is a
/// preconditioner, which multiplies by something near A's inverse: `mlDiagonalPreconditioner`, `mlIncompleteFactors`,
/// or one's own. It changes the iterates, not the rule for ending.
/// Convergence: ||b - A x|| <= tolerance * ||b||, in the 2-norm; the tolerance is 1e-10 unless set. The residual r that
/// the iteration updates drifts away from b - A x by roundoff. When r meets the rule, or is not above 2⁻⁵³ ||b||,
/// b - A x is computed and takes its place. If that meets the rule the solution has converged; if it is not above
/// 2⁻⁵³ ||b|| itself, or above half of what it was at the last such check, it has stagnated; else the iteration starts
/// anew from there. For b = 0, x becomes 0.
/// At any other end x is the last iterate, which need not be the one of the smallest residual, and b - A x is computed.
/// An observer is told of ||r|| / ||b||, of the multiplications by A so far and of the length of the change of x.
/// Order of operations: all vectors by elements in index order, products rounded before they are added. Scalar products
/// are eight sums from 0.0, sum s of the elements s, s + 8, s + 16, ..., added as
/// ((0 + 1) + (2 + 3)) + ((4 + 5) + (6 + 7)); norms are square roots of such. b and x are multiplied by 2⁻⁶⁰⁰ first,
/// and x divided by it in the end, when b's largest magnitude is above 2⁴⁰⁰; by 2⁶⁰⁰ when it is below 2⁻⁴⁰⁰.
/// Bad input: nothing is checked. Failure: the status; std::bad_alloc, which like what an operator or observer throws
/// leaves x as it was. Ends for NaN and infinity.
/// Lifetime: A and b are used by the call only; preconditioner and observer must outlive the solutions that they are
/// set for. Threads: one object, one thread.
class MATHS_API mlIterativeSolver : public mlObservable {
public:
    mlIterativeSolver(mlIterativeSolver const &) = delete;
    mlIterativeSolver & operator=(mlIterativeSolver const &) = delete;

    /// Solves A x = b from x = 0. x gets just n elements; it may be b.
    mlIterativeStatus solve(mlLinearOperator const & a, mlVector const & b, mlVector & x) {
        return run(a, b, x, false);
    }
    mlIterativeStatus solve(mlMatrixOperator const & a, mlVector const & b, mlVector & x) {
        return run(a, b, x, false);
    }

    /// The same from an x of n elements that is near the solution: that of a system like this one, or where an earlier
    /// solution ended.
    mlIterativeStatus improve(mlLinearOperator const & a, mlVector const & b, mlVector & x) {
        return run(a, b, x, true);
    }
    mlIterativeStatus improve(mlMatrixOperator const & a, mlVector const & b, mlVector & x) {
        return run(a, b, x, true);
    }

    /// Takes this preconditioner for the solutions to come; nullptr, as at first, takes none.
    void set_preconditioner(mlLinearOperator const * m) { preconditioner_ = m; }

    /// Relative to ||b||. 0 and less ask for all that roundoff allows, and then the solution stagnates.
    void set_tolerance(double tolerance) { tolerance_ = tolerance; }

    /// At most this many; 10000 at first.
    void set_max_iterations(int n) { max_iterations_ = n; }

    /// Of the last solution.
    [[nodiscard]] mlIterativeStatus status() const { return status_; }
    [[nodiscard]] int iterations() const { return iterations_; }

    /// Its multiplications by A, those that compute b - A x included.
    [[nodiscard]] int calls() const { return calls_; }

    /// ||b - A x|| / ||b|| for its x; NaN when the status is `mlIterativeNotFinite`.
    [[nodiscard]] double residual() const { return residual_; }

    /// ||r|| / ||b|| as the iteration updates it: at the start, and after each iteration.
    [[nodiscard]] mlVector const & history() const { return history_; }

protected:
    /// Of an iteration. `restart`: nothing was done, and the same is to be tried fresh.
    enum Outcome { done, restart, not_positive, breakdown, not_finite };

    mlIterativeSolver() = default;
    ~mlIterativeSolver();

    /// Sets the number of elements of a work vector.
    static void resize(mlVector & v, int n);

    /// product = A v.
    void multiply(mlVector const & v, mlVector & product);

    /// M v for the preconditioner M, in `storage` unless there is none.
    mlVector const & precondition(mlVector const & v, mlVector & storage) const;
    [[nodiscard]] bool preconditioned() const { return preconditioner_ != nullptr; }

    /// Whether a residual of this norm is to be checked.
    [[nodiscard]] bool is_small(double norm) const;

    mlVector x_, r_;
    double squared_norm_ = 0.0; ///< r^T r
    double step_ = 0.0;         ///< length of the last change of x, needed when observed()

private:
    /// Makes room for n elements.
    virtual void prepare(int n) = 0;

    /// One iteration from x_ and r_, with which it leaves squared_norm_. `fresh`: begins anew, without what came
    /// before.
    virtual Outcome iterate(bool fresh) = 0;

    mlIterativeStatus run(mlLinearOperator const & a, mlVector const & b, mlVector & x, bool warm);
    void search(bool warm);
    bool settle();
    bool ends_with(mlIterativeStatus status);
    void compute_residual();
    void note();

    mlLinearOperator const * a_ = nullptr;
    mlLinearOperator const * preconditioner_ = nullptr;
    mlVector b_, history_;
    double tolerance_ = 1e-10, norm_b_ = 0.0, scale_ = 1.0, residual_ = 0.0;
    double checked_norm_ = 0.0;        // ||b - A x|| when r was checked last
    bool exact_ = true, fresh_ = true; // whether r is b - A x as computed; whether the next iteration begins anew
    int max_iterations_ = 10000, iterations_ = 0, calls_ = 0;
    mlIterativeStatus status_ = mlIterativeIterationLimit;
};
