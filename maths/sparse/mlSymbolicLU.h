#pragma once

#include "maths/sparse/mlMinimumDegree.h"
#include "maths/sparse/mlSparseMatrix.h"

class mlBlockTriangularForm;

/// Which rows each column has elements in: those of column j are rows[starts[j]] .. rows[starts[j + 1] - 1]. For use
/// inside the library.
struct mlSparseColumns {
    coLongArray<std::ptrdiff_t> starts; ///< more than there are columns
    coLongArray<int> rows;
};

/// What follows from the pattern alone of a factorisation of a square matrix A by columns from the left: block upper
/// triangular form, the order of the columns, and where the elements of A go. For use inside the library.
///
/// Places count rows and columns in the order of elimination, before any row exchange. In each block the columns have
/// the order of minimum degree of the pattern of B + B^T, B being the block with its diagonal filled.
/// Failure: std::bad_alloc. Immutable, so that threads may share it.
class mlSymbolicLU {
public:
    explicit mlSymbolicLU(mlSparseMatrix const & a);

    [[nodiscard]] int size() const { return columns_.size(); }

    /// rows()[k] and columns()[k] are the row and the column of A at place k.
    [[nodiscard]] intcoDynArr const & rows() const { return rows_; }
    [[nodiscard]] intcoDynArr const & columns() const { return columns_; }

    /// The least column of A for which there is no row, of those that make the matrix singular by its pattern; or -1.
    [[nodiscard]] int unmatched_column() const { return unmatched_; }

    /// Block b has the places from first(b) up to first(b + 1).
    [[nodiscard]] int blocks() const { return static_cast<int>(firsts_.size()) - 1; }
    [[nodiscard]] int first(int block) const { return firsts_[block]; }

    /// The elements of A in the blocks of the diagonal, and those above them, by places.
    [[nodiscard]] mlSparseColumns const & inside() const { return inside_; }
    [[nodiscard]] mlSparseColumns const & outside() const { return outside_; }

    /// The number of A's elements.
    [[nodiscard]] std::ptrdiff_t num_elements() const { return slots_.size(); }

    /// Where A's elements, in the order in which it stores them, stand among those outside, followed by those inside.
    [[nodiscard]] std::ptrdiff_t const * slots() const { return slots_.data(); }

    /// 1 when a has the pattern that this was made of.
    [[nodiscard]] int fits(mlSparseMatrix const & a) const;

private:
    void order_columns(mlSparsePattern const & pattern, mlBlockTriangularForm const & form);
    void place_elements(mlSparsePattern const & pattern, mlBlockTriangularForm const & form);

    intcoDynArr rows_, columns_;
    int unmatched_ = -1;
    coLongArray<int> firsts_;
    mlSparseColumns inside_, outside_;
    coLongArray<std::ptrdiff_t> slots_;
};

/// Calls visit(i, element) for each element of a's rows i = 0, 1, ... in turn.
template <class Visit> void ml_for_each_element(mlSparseMatrix const & a, Visit visit) {
    for (int i = 0; i < a.rows(); ++i) {
        mlSparseRowIT row = a.row_iterator(i);
        for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next())
            visit(i, *e);
    }
}
