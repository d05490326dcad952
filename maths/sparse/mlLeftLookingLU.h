#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "maths/sparse/mlSparseLU.h"
#include "maths/sparse/mlSymbolicLU.h"

/// The columns of a triangular factor, without its diagonal. For use inside the library.
struct mlSparseTriangle {
    explicit mlSparseTriangle(int columns) : starts(columns + std::ptrdiff_t{1}, 0) {}

    /// Makes room for elements [0, size).
    void reserve(std::ptrdiff_t size) {
        if (size <= rows.size()) return;
        std::ptrdiff_t const room = std::max(size, rows.size() + rows.size() / 2);
        rows.resize(room);
        values.resize(room);
    }

    /// Gives back the room that is not used.
    void shrink() {
        rows.resize(starts[starts.size() - 1]);
        values.resize(starts[starts.size() - 1]);
    }

    /// x -= s times column j.
    void subtract(int j, double s, double * x) const {
        std::ptrdiff_t const end = starts[j + 1];
        for (std::ptrdiff_t p = starts[j]; p < end; ++p)
            x[rows[p]] -= values[p] * s;
    }

    coLongArray<std::ptrdiff_t> starts; ///< of column j, and of the one after the last
    coLongArray<int> rows;
    coLongArray<double> values;
};

/// The factors P A Q = L U + F. For use inside the library.
struct mlSparseLUFactors {
    explicit mlSparseLUFactors(mlSymbolicLU const & symbolic);

    /// Makes room for as many elements of L and U as there are in others of that pattern.
    void reserve_as(mlSparseLUFactors const & other) {
        l.reserve(other.l.rows.size());
        u.reserve(other.u.rows.size());
    }

    intcoDynArr row_order;   ///< row_order[k] is the row of A at place k
    mlSparseTriangle l, u;   ///< u's elements in increasing order of rows
    mlVector pivots;         ///< the diagonal of U; 0 from the column on where the factorisation ended
    coLongArray<int> f_rows; ///< the rows of F's elements by columns, which start as in the analysis
    coLongArray<double> f_values;
    int exchanges = 0; ///< of rows
};

/// A set of numbers below a bound, whose least is found and taken out at once. For use inside the library.
class mlIncreasingSet {
public:
    explicit mlIncreasingSet(int bound) : words_(bound / 64 + 1, 0), groups_(bound / 4096 + 1, 0) {}

    /// k is not in the set yet.
    void insert(int k) {
        ++count_;
        group_ = std::min(group_, k >> 12);
        words_[k >> 6] |= std::uint64_t{1} << (k & 63);
        groups_[k >> 12] |= std::uint64_t{1} << ((k >> 6) & 63);
    }

    /// The least element, which is taken out; -1 when there is none.
    int take_least() {
        if (count_ == 0) return -1;
        --count_;
        while (groups_[group_] == 0)
            ++group_;
        int const w = group_ * 64 + std::countr_zero(groups_[group_]);
        int const k = w * 64 + std::countr_zero(words_[w]);
        words_[w] &= words_[w] - 1;
        if (words_[w] == 0) groups_[group_] &= groups_[group_] - 1;
        return k;
    }

private:
    coLongArray<std::uint64_t> words_, groups_; // a bit for each number, and one for each word that is not 0
    int group_ = 0, count_ = 0;                 // no group before it has any; of elements
};

/// The numbers of a factorisation P A Q = L U + F, column by column from the left. For use inside the library.
///
/// The elements that a column gets: those of A in the block, and for each of them that is above the diagonal, the
/// elements of L's column of its place, in turn. Once the columns k and j have both u(k, j) and l(j, k), column k need
/// not be searched below row j any more: column j has all of these rows, which "pruning" takes out of the search.
/// Then the columns of L are subtracted in increasing order.
/// Lifetime: one factorisation. Failure: std::bad_alloc.
/// Source: Gilbert & Peierls, Sparse partial pivoting in time proportional to arithmetic operations (1988); Eisenstat &
/// Liu, Exploiting structural symmetry in unsymmetric sparse symbolic factorization (1992).
class mlLeftLookingLU {
public:
    /// Copies the numbers of a, which the analysis fits.
    mlLeftLookingLU(mlSymbolicLU const & symbolic, mlSparseMatrix const & a, double diagonal_preference,
                    mlSparseLUFactors & factors);

    /// Writes the factors; `failed` becomes the column of A where it ends, if it does.
    mlSparseLUStatus factor(int & failed);

private:
    void set_row_weights();
    mlSparseLUStatus factor_column(int j, int first);
    void find_elements(int j, int first);
    bool subtract_columns(int j);
    int find_pivot(int j, double threshold) const;
    void exchange_rows(int j, int row);
    void store_column_of_l(int j);
    void prune(int j);
    void finish(int columns);

    mlSymbolicLU const & symbolic_;
    mlSparseLUFactors & factors_;
    double const diagonal_preference_;
    coLongArray<double> elements_; // of A: outside, then inside
    double const * inside_;
    int non_finite_ = -1;            // a column of A with such an element
    coLongArray<double> weights_;    // of rows, by their places before any exchange, by which rows are named here
    coLongArray<double> x_;          // the column at work
    coLongArray<int> place_, row_;   // of each row, and the row at each place
    coLongArray<int> seen_;          // the last column that a row had an element in
    coLongArray<int> above_, below_; // the places above the diagonal, increasing, and the rows from it down
    int num_above_ = 0, num_below_ = 0;
    coLongArray<std::ptrdiff_t> search_ends_; // where the part of L's columns ends that is searched
    mlIncreasingSet to_search_;
};
