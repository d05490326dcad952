#pragma once

#include "maths/sparse/mlMinimumDegree.h"
#include "maths/sparse/mlSparseSymMatrix.h"

/// What follows from the pattern alone of a factorisation A = P L D L^T P^T: the order P, the pattern of L, and where
/// the elements of A go. For use inside the library.
///
/// Rows and columns of P^T A P and of L are numbered in the order of elimination. The parent of column j, its first
/// element below the diagonal, is the next column that it has an effect on; the columns form trees by it, and are
/// numbered so that the descendants of a column come immediately before it. Row k of L has elements in the columns i
/// where row k of P^T A P has one, and on the ways from those to k, from parent to parent.
/// Neighbouring columns of L with elements in the same rows, but for their own triangle, are kept together as a panel,
/// a dense matrix: first the rows of these columns themselves, whose upper triangle is not used, then those below.
/// Failure: std::bad_alloc. Immutable, so that threads may share it.
/// Source: Liu, The role of elimination trees in sparse factorization (1990); Ng & Peyton, Block sparse Cholesky
/// algorithms on advanced uniprocessor computers (1993).
class mlSymbolicCholesky {
public:
    explicit mlSymbolicCholesky(mlSparseSymMatrix const & a);

    [[nodiscard]] int size() const { return order_.size(); }

    /// order()[k] is the row of A that is eliminated as the k-th.
    [[nodiscard]] intcoDynArr const & order() const { return order_; }

    /// The elements of L below its diagonal.
    [[nodiscard]] std::ptrdiff_t num_elements() const { return num_elements_; }

    [[nodiscard]] int panels() const { return panels_; }
    [[nodiscard]] int panel_of(int column) const { return panel_of_[column]; }
    [[nodiscard]] int first_column(int panel) const { return first_columns_[panel]; }
    [[nodiscard]] int cols(int panel) const { return first_columns_[panel + 1] - first_columns_[panel]; }

    /// The rows below the panel's own, increasing, and how many they are.
    [[nodiscard]] int const * rows_below(int panel) const { return below_.columns.data() + below_.starts[panel]; }
    [[nodiscard]] int num_below(int panel) const {
        return static_cast<int>(below_.starts[panel + 1] - below_.starts[panel]);
    }

    /// Where the panel starts among the elements of all of them; element (i, j) of it is i * cols(panel) + j further.
    [[nodiscard]] std::ptrdiff_t start(int panel) const { return starts_[panel]; }

    /// The elements of all panels, those not used included.
    [[nodiscard]] std::ptrdiff_t storage() const { return starts_[panels_]; }

    /// Where A's elements, in the order in which it stores them, stand among the elements of the panels.
    [[nodiscard]] std::ptrdiff_t const * slots() const { return slots_.data(); }

    /// 1 when a has the pattern that this was made of.
    [[nodiscard]] int fits(mlSparseSymMatrix const & a) const;

private:
    void find_parents(mlSparsePattern const & graph);
    void postorder();
    void count_elements(mlSparsePattern const & graph, int * counts) const;
    void find_panels(int const * counts);
    void find_rows_below(mlSparsePattern const & graph);
    void place_elements(mlSparseSymMatrix const & a);
    std::ptrdiff_t slot_of(int i, int j) const;

    intcoDynArr order_;
    coLongArray<int> places_, parents_; // places_[order_[k]] is k; parents: -1 for a root
    coLongArray<int> panel_of_, first_columns_;
    mlSparsePattern below_; // a row of it for each panel
    coLongArray<std::ptrdiff_t> starts_, slots_;
    std::ptrdiff_t num_elements_ = 0;
    int panels_ = 0;
};

/// Calls visit(i, element) for each element of a's rows i = 0, 1, ... in turn.
template <class Visit> void ml_for_each_element(mlSparseSymMatrix const & a, Visit visit) {
    for (int i = 0; i < a.rows(); ++i) {
        mlSparseRowIT row = a.upper_triangle_iterator(i);
        for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next())
            visit(i, *e);
    }
}
