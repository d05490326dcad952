#pragma once

#include "maths/sparse/mlSparseCholesky.h"
#include "maths/sparse/mlSymbolicCholesky.h"

/// The numbers of a factorisation A = P L D L^T P^T, panel by panel from the left. For use inside the library.
///
/// Each panel starts as the elements of A, and takes the updates of those panels before it that have elements in the
/// rows of its columns, in increasing order: so every element has its terms subtracted in increasing order of columns,
/// whatever the panels. Until its row's turn, an element of a finished panel is u(i, j) = l(i, j) d(j); the update of
/// the panel that holds column i divides it.
/// Lifetime: one factorisation. Failure: std::bad_alloc from the constructor, nothing after it.
/// Source: Ng & Peyton, Block sparse Cholesky algorithms on advanced uniprocessor computers (1993).
class mlPanelFactorisation {
public:
    mlPanelFactorisation(mlSymbolicCholesky const & symbolic, mlSparseSymMatrix const & a);

    /// Writes the panels' elements and the pivots; `failed` becomes the row of L where it ends, if it does.
    mlSparseCholeskyStatus factor(double * elements, double * d, int & failed);

private:
    double * panel(int p) const { return elements_ + symbolic_.start(p); }
    double * line(int row, int p) const {
        return panel(p) + static_cast<std::ptrdiff_t>(line_[row]) * symbolic_.cols(p);
    }
    void place_elements();
    void take_updates(int to);
    void update(int from, int to);
    void subtract_in_place(double const * u, int rows, int inner, int cols, int const * below, int to);
    void subtract_copied(double const * u, int rows, int inner, int cols, int const * below, int to);
    int factor_own_rows(int p);
    void factor_rows_below(int p);
    void link(int p);
    void clear_rows_after(int row) const;

    mlSymbolicCholesky const & symbolic_;
    mlSparseSymMatrix const & a_;
    double *elements_ = nullptr, *d_ = nullptr;
    coLongArray<double> thresholds_;       // of the pivots
    coLongArray<int> line_;                // of each row in the panel at work
    coLongArray<int> first_, next_, used_; // the panels that update each one next, linked; their rows that have
    coLongArray<int> sources_;             // those of the panel at work
    coLongArray<double> multipliers_, copy_;
};
