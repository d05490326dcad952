#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/matrices.h"

namespace {

/// What a sparse matrix should hold: the stored elements, in the order of rows and then columns.
struct Cells {
    int rows = 0, cols = 0;
    std::map<std::pair<int, int>, double> at;
};

int pick(mlRandom & random, int n) { return static_cast<int>(random.uniform(0.0, n)); }

/// About a third of the elements, some of them explicit zeros of either sign; of the upper triangle if asked for.
Cells random_cells(mlRandom & random, int rows, int cols, bool upper = false) {
    Cells made{rows, cols, {}};
    for (int i = 0; i < rows; ++i)
        for (int j = upper ? i : 0; j < cols; ++j)
            if (pick(random, 3) == 0) made.at[{i, j}] = random.uniform(-1.0, 1.0) * (pick(random, 5) > 0);
    return made;
}

Cells sum(Cells a, Cells const & b, bool subtract) {
    for (auto const & [at, y] : b.at) {
        auto const [cell, fresh] = a.at.try_emplace(at, subtract ? -y : y);
        if (!fresh) cell->second = subtract ? cell->second - y : cell->second + y;
    }
    return a;
}

Cells product(Cells const & a, Cells const & b) {
    Cells c{a.rows, b.cols, {}};
    for (auto const & [ik, x] : a.at)
        for (auto y = b.at.lower_bound({ik.second, 0}); y != b.at.end() && y->first.first == ik.second; ++y) {
            auto const [cell, fresh] = c.at.try_emplace({ik.first, y->first.second}, x * y->second);
            if (!fresh) cell->second += x * y->second;
        }
    return c;
}

Cells transpose(Cells const & a) {
    Cells t{a.cols, a.rows, {}};
    for (auto const & [at, x] : a.at)
        t.at[{at.second, at.first}] = x;
    return t;
}

/// The elements from (row, col) on that lie within the shape.
Cells block(Cells const & a, int row, int col, int rows, int cols) {
    Cells b{rows, cols, {}};
    for (auto const & [at, x] : a.at) {
        int const i = at.first - row, j = at.second - col;
        if (i >= 0 && i < rows && j >= 0 && j < cols) b.at[{i, j}] = x;
    }
    return b;
}

/// a with b laid over it, b's corner at (row, col).
Cells join(Cells a, Cells const & b, int row, int col) {
    for (auto const & [at, x] : b.at)
        a.at[{at.first + row, at.second + col}] = x;
    a.rows = std::max(a.rows, row + b.rows);
    a.cols = std::max(a.cols, col + b.cols);
    return a;
}

/// Matrices that hold the cells, with what deriving classes may use shown to all.
struct General : mlSparseMatrix {
    explicit General(Cells const & cells) : mlSparseMatrix(mlMatrixZero, cells.rows, cells.cols) {
        for (auto const & [at, x] : cells.at)
            set(at.first, at.second, x);
    }
    using mlSparseMatrix::row;
    using mlSparseMatrix::row_dot_product;
};
struct Symmetric : mlSparseSymMatrix {
    explicit Symmetric(Cells const & cells) : mlSparseSymMatrix(mlMatrixZero, cells.rows) {
        for (auto const & [at, x] : cells.at)
            set(at.first, at.second, x);
    }
    using mlSparseSymMatrix::row_dot_self;
};

mlSparseRowIT row_of(mlSparseMatrix const & m, int i) { return m.row_iterator(i); }
mlSparseRowIT row_of(mlSparseSymMatrix const & m, int i) { return m.upper_triangle_iterator(i); }

/// Shape, stored elements with the sign of their zeros, and their order.
template <class Matrix> void expect_holds(Matrix const & m, Cells const & cells) {
    std::vector<std::pair<std::pair<int, int>, std::uint64_t>> found, wanted;
    for (int i = 0; i < m.rows(); ++i) {
        mlSparseRowIT it = row_of(m, i);
        for (mlSparseElement const * e = it.first(); e != nullptr; e = it.next())
            found.push_back({{i, e->index}, std::bit_cast<std::uint64_t>(e->value)});
    }
    for (auto const & [at, x] : cells.at)
        wanted.push_back({at, std::bit_cast<std::uint64_t>(x)});
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(m.rows(), cells.rows);
    EXPECT_EQ(m.cols(), cells.cols);
    EXPECT_EQ(m.num_non_zero_elements(), static_cast<int>(cells.at.size()));
}

/// One random operation on both. Half of those with a second operand take the matrix itself.
void change(mlSparseMatrix & m, Cells & cells, mlRandom & random) {
    enum { add, subtract, multiply, below, right, diagonal, flip, scale, cut };
    bool const itself = pick(random, 2) == 0;
    int operation = pick(random, cut + 1);
    if (operation == multiply && itself && cells.rows != cells.cols) operation = flip;
    if (cells.rows > 12 || cells.cols > 12) operation = cut;

    Cells const a = cells;
    Cells const b = itself                  ? a
                    : operation == multiply ? random_cells(random, a.cols, a.rows)
                                            : random_cells(random, a.rows, a.cols);
    General const made(b);
    mlSparseMatrix const & other = itself ? m : static_cast<mlSparseMatrix const &>(made);
    switch (operation) {
    case add: m += other, cells = sum(a, b, false); break;
    case subtract: m -= other, cells = sum(a, b, true); break;
    case multiply: m.become(mlMatrixProduct, m, other), cells = product(a, b); break;
    case below: m.concatenate_below(other), cells = join(a, b, a.rows, 0); break;
    case right: m.concatenate_right(other), cells = join(a, b, 0, a.cols); break;
    case diagonal: m.concatenate_diagonal(other), cells = join(a, b, a.rows, a.cols); break;
    case flip: m.become(mlMatrixTranspose, other), cells = transpose(b); break;
    case scale:
        m *= 3.0, m /= 7.0;
        for (auto & cell : cells.at)
            cell.second = cell.second * 3.0 / 7.0;
        break;
    case cut:
        int const rows = std::min(a.rows, 6), cols = std::min(a.cols, 6);
        int const row = pick(random, a.rows - rows + 1), col = pick(random, a.cols - cols + 1);
        cells = block(a, row, col, rows, cols);
        mlSparseMatrix const whole(utCopy, m);
        (itself ? m : whole).extract_sub_matrix(row, col, rows, cols, m);
    }
}

class SparseOfShape : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(SparseOfShape, OperationsGiveExactlyTheExpectedElements) {
    auto const [rows, cols] = GetParam();
    for (int seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        mlRandom random(seed);
        Cells cells = random_cells(random, rows, cols);
        General m(cells);
        for (int step = 0; step < 30 && !HasFailure(); ++step) {
            change(m, cells, random);
            expect_holds(m, cells);
        }
    }
}

/// Elements and products are those of the dense matrix, to the bit.
template <class Matrix> void expect_acts_like(Matrix const & m, mlMatrix const & dense, int size_of_product) {
    mlMatrix b, c, product, from_sparse;
    m.decompress(from_sparse);
    EXPECT_TRUE(from_sparse == dense);
    for (int i = 0; i < dense.rows(); ++i)
        for (int j = 0; j < dense.cols(); ++j)
            EXPECT_EQ(m.element(i, j), dense(i, j));
    fill_random(b, dense.cols(), 3, 1);
    multiply(dense, b, product);
    m.multiply_matrix(b, c);
    EXPECT_TRUE(c.rows() == dense.rows() && c == product);

    mlVector x(mlVectorZero, dense.cols()), y(mlVectorZero, 20), image;
    x = b.col(1);
    y.fill(9.0);
    multiply(dense, x, image);
    m.multiply_vector(x, y);
    EXPECT_TRUE(image == y);
    ASSERT_EQ(y.size(), size_of_product);
    for (int i = image.size(); i < y.size(); ++i)
        EXPECT_EQ(y[i], 0.0);
    m.multiply_vector(x, x); // the result takes the factor's place
    EXPECT_TRUE(image == x);
    m.multiply_matrix(b, b);
    EXPECT_TRUE(b == product);
}

TEST_P(SparseOfShape, ActsLikeTheDenseMatrix) {
    auto const [rows, n] = GetParam();
    mlRandom random(rows + 10 * n);
    auto const make_dense = [](mlMatrix & dense, Cells const & cells) {
        dense.become(mlMatrixZero, cells.rows, cells.cols);
        for (auto const & [at, x] : cells.at)
            dense(at.first, at.second) = x;
    };
    Cells const cells = random_cells(random, rows, n), upper = random_cells(random, n, n, true);
    Cells const full = join(upper, transpose(upper), 0, 0);
    mlMatrix dense;
    make_dense(dense, cells);
    expect_acts_like(General(cells), dense, rows);
    make_dense(dense, full);
    expect_acts_like(Symmetric(upper), dense, 20); // a longer result keeps its size
    expect_holds(mlSparseMatrix(utCopy, Symmetric(upper)), full);
}

TEST_P(SparseOfShape, ASymmetricMatrixHoldsTheUpperTriangle) {
    auto const [rows, n] = GetParam();
    mlRandom random(7 * rows + n);
    Cells const a = random_cells(random, rows, n), added = random_cells(random, n, n, true),
                border = random_cells(random, n, rows);
    Cells upper = product(transpose(a), a);
    std::erase_if(upper.at, [](auto const & cell) { return cell.first.second < cell.first.first; });
    mlSparseSymMatrix m(mlMatrixPremultiplyTranspose, General(a));
    expect_holds(m, upper);

    m -= Symmetric(added);
    upper = sum(upper, added, true);
    m.concatenate(General(border));
    upper = join(join(upper, border, 0, n), Cells{rows, rows, {}}, n, n);
    expect_holds(m, upper);
    m.concatenate_diagonal(m);
    m += m;
    upper = join(upper, upper, n + rows, n + rows);
    expect_holds(m, sum(upper, upper, false));
}

INSTANTIATE_TEST_SUITE_P(, SparseOfShape,
                         testing::Values(std::pair(0, 0), std::pair(0, 3), std::pair(3, 0), std::pair(1, 1),
                                         std::pair(1, 9), std::pair(9, 1), std::pair(4, 6), std::pair(6, 6)));

TEST(SparseRow, DoublesItsRoomFromEight) {
    mlSparseRow row;
    for (int i = 0; i < 40; ++i) {
        row.append_element(i, 0.5);
        EXPECT_EQ(row.capacity(), i < 8 ? 8 : i < 16 ? 16 : i < 32 ? 32 : 64);
    }
    row.clear(0);
    mlSparseRow const copy(utCopy, row);
    EXPECT_EQ(copy.capacity(), 64); // a copy asks for as much
    row.clear(1);
    row.append_element(3, 1.0);
    EXPECT_EQ(row.capacity(), 8);
    row.shrink(1, 1); // behind the row's back: until it asks for room again, it grows by its increment
    row.append_element(4, 1.0);
    EXPECT_EQ(row.capacity(), 2);
}

TEST(SparseRow, FindsEveryElementAndNothingElse) {
    for (int n = 0; n <= 20; ++n) {
        mlSparseRow row;
        for (int i = 0; i < n; ++i)
            row.append_element(2 + 3 * i, i + 1.0);
        EXPECT_EQ(row.last_column_index(), n == 0 ? -1 : 3 * n - 1);
        for (int column = -1; column <= 3 * n + 3; ++column)
            EXPECT_EQ(row.element(column), column >= 2 && column < 3 * n && column % 3 == 2 ? (column + 1) / 3 : 0);
    }
    mlSparseRow disordered;
    for (int const column : {2, 9, 5, 12})
        disordered.append_element(column, column);
    EXPECT_EQ(disordered.element(9), 9.0);
    EXPECT_EQ(disordered.element(5), 0.0); // lost without a word
}

TEST(SparseRow, IteratorsStepAndMeetInCommonColumns) {
    General const m({3, 9, {{{0, 1}, 0.1}, {{0, 4}, 0.2}, {{0, 8}, 0.3}, {{1, 0}, 3.0}, {{1, 4}, 0.7}, {{1, 8}, 0.9}}});
    mlSparseRowIT a = m.row_iterator(0), b = m.row_iterator(1), none = m.row_iterator(2);
    EXPECT_EQ(a.next()->index, 4); // straight after a reset, the step is to element 1
    mlSparseRowIT copy(a);
    EXPECT_EQ(copy.next()->index, 8);
    EXPECT_EQ(copy.next(), nullptr);
    EXPECT_EQ(a.index(), 1);

    double result = 1.0;
    EXPECT_EQ(General::row_dot_product(a, b, result), 1);
    EXPECT_EQ(result, 0.7 * 0.2 + 0.9 * 0.3);
    EXPECT_EQ(General::row_dot_product(none, b, result), 0);
    EXPECT_EQ(result, 0.0);
    EXPECT_EQ(Symmetric::row_dot_self(a), 0.1 * 0.1 + 0.2 * 0.2 + 0.3 * 0.3);
    EXPECT_EQ(mlSparseElement().invalid(), 0); // never set is not invalid
    EXPECT_EQ(mlSparseElement(2147483647, 1.0).invalid(), 1);
}

TEST(SparseMatrix, EmptiesItsRowsAndKeepsItsShape) {
    General m({2, 3, {{{0, 0}, 1.0}, {{1, 2}, 5.0}}});
    m.clear(0);
    expect_holds(m, {2, 3, {}});
    m.become(mlMatrixZero, 2, 4);
    EXPECT_EQ(m.row(m, 1).capacity(), 8); // kept by both
    m.set(1, 3, 6.0);
    m.clear(1);
    expect_holds(m, {2, 4, {}});
    EXPECT_EQ(m.row(m, 1).capacity(), 0);
}

// The sanitizers judge what this leaves behind.
TEST(SparseMatrix, OwnsEachRowOnce) {
    mlSparseRowcoDynArrPrgcoPrgcoDynArr handles;
    for (int i = 0; i < 5; ++i)
        handles[i] = mlSparseRowcoDynArrPrgcoPrg(new mlSparseRow);
    mlSparseRow const * const second = handles[1].ptr();
    handles[4].delete_ptr();
    handles[4] = std::move(handles[0]);
    handles.shrink(2, 1);
    EXPECT_TRUE(handles[0].ptr() == nullptr && handles[1].ptr() == second);

    for (int const rows : {0, 2, 5, 9}) {
        General m({5, 5, {{{0, 0}, 1.0}, {{4, 2}, 1.0}}});
        m.set_invalid();
        EXPECT_TRUE(m.invalid() == 1 && m.cols() == 0);
        m += mlSparseMatrix();
        m.become(mlMatrixIdentity, 4);
        m.set_invalid();
        m.become(mlMatrixZero, rows, 3);
        expect_holds(m, {rows, 3, {}});
        for (int i = 0; i < rows; ++i)
            EXPECT_EQ(m.row(m, i).capacity(), 0) << "a row was not made anew";
    }
    EXPECT_EQ(mlSparseMatrix(mlMatrixZero, 4, 4).last_in_row(2), -1);
    EXPECT_EQ(mlSparseSymMatrix(mlMatrixZero, 4).last_in_row(2), 1);
}

} // namespace
