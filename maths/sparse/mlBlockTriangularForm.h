#pragma once

#include "maths/sparse/mlMinimumDegree.h"

/// Permutations of the rows and columns of a square sparse matrix A of order n that put a stored element at every place
/// of the diagonal and make the matrix block upper triangular, with as many blocks as can be. For use inside the
/// library.
///
/// First a maximum transversal: stored elements of the diagonal stand for themselves, and every other row in turn gets
/// a column, by taking it from other rows where need be: depth-first searches, in phases, find the ways. Then the
/// strong components of the graph with an edge from each row to the rows that stand for its columns. Both searches go
/// through a row's elements in increasing order of columns, so that the permutations follow from the pattern alone.
/// A matrix that is singular whatever its values are has rows and columns without a partner: these are put together in
/// increasing order.
/// Cost: proportional to the elements for each phase of the transversal, of which a matrix with most of its diagonal
/// needs a few, a triangle with its rows and columns shuffled many; the rest proportional to the elements.
/// Failure: std::bad_alloc. Immutable.
/// Source: Duff, On algorithms for obtaining a maximum transversal (1981); Pothen & Fan, Computing the block triangular
/// form of a sparse matrix (1990); Tarjan, Depth-first search and linear graph algorithms (1972); Duff & Reid, An
/// implementation of Tarjan's algorithm for the block triangularization of a matrix (1978).
class mlBlockTriangularForm {
public:
    /// The pattern by rows, the diagonal included.
    mlBlockTriangularForm(int n, mlSparsePattern const & pattern);

    /// The row that stands for column j, by whose element in that column the place on the diagonal is filled.
    [[nodiscard]] int row_of(int j) const { return row_of_[j]; }

    /// The least column without a row of its own; -1 when all have one.
    [[nodiscard]] int unmatched_column() const { return unmatched_; }

    [[nodiscard]] int blocks() const { return blocks_; }

    /// The block of column j and of the row that stands for it.
    [[nodiscard]] int block_of(int j) const { return block_of_[j]; }

private:
    void match_diagonal(mlSparsePattern const & pattern);
    bool augment(int row, int phase, mlSparsePattern const & pattern);
    void join_what_is_left();
    void find_components(mlSparsePattern const & pattern);
    void close_component(int v);

    int n_, unmatched_ = -1, blocks_ = 0;
    coLongArray<int> row_of_, block_of_;
    coLongArray<int> column_of_;              // of each row; -1 while it has none
    coLongArray<std::ptrdiff_t> free_, next_; // of each row: where to look on for a free column, and for any
    coLongArray<int> stack_, visited_;        // rows on the way, or nodes; by column, the last phase that was there
    coLongArray<int> number_, least_, open_;  // of each node: its number, the least that it leads to; those not closed
    int num_open_ = 0;
};
