#include <algorithm>
#include <cmath>
#include <optional>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "maths/sparse/mlSparseMatrix.h"
#include "maths/sparse/mlSparseSymMatrix.h"
#include "tests/support/matrices.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

using Cell = std::optional<double>;

/// What a sparse matrix should hold: at each place a stored value, or nothing.
struct Cells {
    template <class At> Cells(int r, int c, At const & at) : rows(r), cols(c) {
        for (int k = 0; k < rows * cols; ++k)
            values.push_back(at(k / cols, k % cols));
    }
    Cell operator()(int i, int j) const {
        return 0 <= i && i < rows && 0 <= j && j < cols ? values[i * cols + j] : Cell();
    }
    /// Calls take(i, j, value) for every stored element.
    template <class Take> void each(Take const & take) const {
        for (int k = 0; k < rows * cols; ++k)
            if (values[k]) take(k / cols, k % cols, *values[k]);
    }
    int rows, cols;
    std::vector<Cell> values;
};

/// About a third of the elements, some of them explicit zeros of either sign.
Cells random_cells(Choice & choice, int rows, int cols) {
    return Cells(rows, cols, [&](int, int) {
        return choice(3) == 0 ? Cell((choice(201) - 100) * 0.01 * (choice(5) > 0)) : Cell();
    });
}

Cell nothing(int, int) { return Cell(); }
Cell plus(Cell x, Cell y) { return x && y ? Cell(*x + *y) : x ? x : y; }
Cell times(Cell x, Cell y) { return x && y ? Cell(*x * *y) : Cell(); }

Cells sum(Cells const & a, Cells const & b, double sign) {
    return Cells(a.rows, a.cols, [&](int i, int j) { return plus(a(i, j), times(sign, b(i, j))); });
}

Cells product(Cells const & a, Cells const & b) {
    return Cells(a.rows, b.cols, [&](int i, int j) {
        Cell total;
        for (int k = 0; k < a.cols; ++k)
            total = plus(total, times(a(i, k), b(k, j)));
        return total;
    });
}

Cells transpose(Cells const & a) {
    return Cells(a.cols, a.rows, [&](int i, int j) { return a(j, i); });
}

/// The upper triangle of a^T a.
Cells gram(Cells const & a) {
    Cells const full = product(transpose(a), a);
    return Cells(a.cols, a.cols, [&](int i, int j) { return i <= j ? full(i, j) : Cell(); });
}

/// a with b laid over it, b's corner at (row, col).
Cells join(Cells const & a, Cells const & b, int row, int col) {
    return Cells(std::max(a.rows, row + b.rows), std::max(a.cols, col + b.cols), [&](int i, int j) {
        Cell const y = b(i - row, j - col);
        return y ? y : a(i, j);
    });
}

// They show what deriving classes may use to all.
struct General : mlSparseMatrix {
    explicit General(Cells const & cells) : mlSparseMatrix(mlMatrixZero, cells.rows, cells.cols) {
        cells.each([this](int i, int j, double x) { set(i, j, x); });
    }
    using mlSparseMatrix::row;
    using mlSparseMatrix::row_dot_product;
};
struct Symmetric : mlSparseSymMatrix {
    using mlSparseSymMatrix::row_dot_self;
};

/// Shape, stored elements with the sign of their zeros, and their order.
void expect_holds(mlSparseMatrixBase const & m, Cells const & cells) {
    std::vector<std::tuple<int, int, double, bool>> found, wanted;
    for (int i = 0; i < m.rows(); ++i)
        for (mlSparseElement const & e : General(cells).row(m, i))
            found.emplace_back(i, e.index, e.value, std::signbit(e.value));
    cells.each([&](int i, int j, double x) { wanted.emplace_back(i, j, x, std::signbit(x)); });
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(m.num_non_zero_elements(), static_cast<int>(wanted.size()));
    EXPECT_TRUE(m.rows() == cells.rows && m.cols() == cells.cols);
}

/// One random operation on both. Half of those with a second operand take the matrix itself.
void change(mlSparseMatrix & m, Cells & cells, Choice & choice) {
    Cells const a = cells;
    bool const itself = choice(2) == 0;
    Cells const b = itself ? a : random_cells(choice, a.rows, a.cols);
    mlSparseMatrix const made(utCopy, General(b)), &other = itself ? m : made, turned(mlMatrixTranspose, other);
    int const row = choice(std::max(a.rows - 5, 1)), col = choice(std::max(a.cols - 5, 1));
    switch (a.rows > 12 || a.cols > 12 ? 0 : choice(10)) {
    case 0:
        cells = Cells(std::min(a.rows, 6), std::min(a.cols, 6), [&](int i, int j) { return b(row + i, col + j); });
        other.extract_sub_matrix(row, col, cells.rows, cells.cols, m);
        break;
    case 1: m += other, cells = sum(a, b, 1.0); break;
    case 2: m -= other, cells = sum(a, b, -1.0); break;
    case 3: m.concatenate_below(other), cells = join(a, b, a.rows, 0); break;
    case 4: m.concatenate_right(other), cells = join(a, b, 0, a.cols); break;
    case 5: m.concatenate_diagonal(other), cells = join(a, b, a.rows, a.cols); break;
    case 6: m.become(mlMatrixTranspose, other), cells = transpose(b); break;
    case 7: m.become(mlMatrixProduct, m, turned), cells = product(a, transpose(b)); break;
    case 8: m.become(mlMatrixProduct, turned, m), cells = product(transpose(b), a); break;
    case 9:
        m *= 3.0, m /= 7.0;
        cells = Cells(a.rows, a.cols, [&](int i, int j) { return a(i, j) ? Cell(*a(i, j) * 3.0 / 7.0) : Cell(); });
    }
}

/// Elements and products are those of the dense matrix, to the bit.
template <class Matrix> void expect_acts_like(Cells const & full, Matrix const & m, int size_of_product) {
    mlMatrix dense(mlMatrixZero, full.rows, full.cols), decompressed, b, product;
    full.each([&](int i, int j, double x) { dense(i, j) = x; });
    m.decompress(decompressed);
    EXPECT_TRUE(decompressed == dense);
    for (int k = 0; k < full.rows * full.cols; ++k)
        EXPECT_EQ(m.element(k / full.cols, k % full.cols), dense[k]);
    fill_random(b, full.cols, 3, 1);
    mlVector x(mlVectorZero, full.cols), y(mlVectorZero, 20), image;
    x = b.col(1);
    y.fill(9.0);
    multiply(dense, b, product);
    multiply(dense, x, image);
    m.multiply_vector(x, y);
    Values expected = contents(image);
    expected.resize(size_of_product);
    EXPECT_EQ(contents(y), expected);
    m.multiply_vector(x, x); // the results take their factors' places
    m.multiply_matrix(b, b);
    EXPECT_TRUE(x == image && b == product && b.rows() == full.rows);
}

class SparseOfShape : public testing::TestWithParam<std::pair<int, int>> {
protected:
    int const rows = GetParam().first, n = GetParam().second;
    Choice choice{static_cast<unsigned>(rows + 10 * n)};
};

TEST_P(SparseOfShape, OperationsGiveExactlyTheExpectedElements) {
    for (int run = 0; run < 30; ++run) {
        Cells cells = random_cells(choice, rows, n);
        General m(cells);
        for (int step = 0; step < 30 && !HasFailure(); ++step) {
            change(m, cells, choice);
            expect_holds(m, cells);
        }
    }
}

TEST_P(SparseOfShape, ActsLikeTheDenseMatrixAndSoDoesTheUpperTriangleOfASymmetricOne) {
    Cells const a = random_cells(choice, rows, n), added = random_cells(choice, rows, n),
                border = random_cells(choice, n, rows), full = join(gram(a), transpose(gram(a)), 0, 0);
    expect_acts_like(a, General(a), rows);
    mlSparseSymMatrix m(mlMatrixPremultiplyTranspose, General(a));
    expect_holds(m, gram(a));
    expect_holds(mlSparseMatrix(utCopy, m), full);
    expect_acts_like(full, m, 20); // a longer result keeps its size

    m -= mlSparseSymMatrix(mlMatrixPremultiplyTranspose, General(added));
    m.concatenate(General(border));
    m.concatenate_diagonal(m);
    m += m;
    Cells const bordered(n + rows, n + rows, join(sum(gram(a), gram(added), -1.0), border, 0, n)),
        twice = join(bordered, bordered, n + rows, n + rows);
    expect_holds(m, sum(twice, twice, 1.0));
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
    EXPECT_EQ(mlSparseRow(utCopy, row).capacity(), 64); // a copy asks for as much
    row.clear(1);
    row.append_element(3, 1.0);
    EXPECT_EQ(row.capacity(), 8);
    row.shrink(1, 1); // behind the row's back: until it asks for room again, it grows by its increment
    row.append_element(4, 1.0);
    EXPECT_EQ(row.capacity(), 2);
}

TEST(SparseRow, LosesElementsThatAreOutOfOrderWithoutAWord) {
    mlSparseRow row;
    for (int const column : {2, 9, 5, 12})
        row.append_element(column, column);
    for (int column = -1; column < 15; ++column)
        EXPECT_EQ(row.element(column), column == 2 || column == 9 || column == 12 ? column : 0.0);
    EXPECT_EQ(row.last_column_index(), 12);
}

TEST(SparseRow, IteratorsStepAndMeetInCommonColumns) {
    Values const rows[] = {{0, 0.1, 0.2, 0, 0.3}, {3.0, 0, 0.7, 0, 0.9}, Values(5)};
    General const m({3, 5, [&](int i, int j) { return rows[i][j] == 0.0 ? Cell() : rows[i][j]; }});
    mlSparseRowIT a = m.row_iterator(0), b = m.row_iterator(1), none = m.row_iterator(2);
    EXPECT_EQ(a.next()->index, 2); // straight after a reset, the step is to element 1
    mlSparseRowIT copy(a);
    EXPECT_EQ(copy.next()->index, 4);
    EXPECT_TRUE(copy.next() == nullptr && a.index() == 1);
    double result = 1.0;
    EXPECT_EQ(General::row_dot_product(a, b, result), 1);
    EXPECT_EQ(result, 0.7 * 0.2 + 0.9 * 0.3);
    EXPECT_EQ(General::row_dot_product(none, b, result), 0);
    EXPECT_EQ(result, 0.0);
    EXPECT_EQ(Symmetric::row_dot_self(a), 0.1 * 0.1 + 0.2 * 0.2 + 0.3 * 0.3);
    EXPECT_EQ(mlSparseElement().invalid(), 0); // never set is not invalid
    EXPECT_EQ(mlSparseElement(2147483647, 1.0).invalid(), 1);
}

// The sanitizers judge what this leaves behind.
TEST(SparseMatrix, EmptiesItsRowsOwnsEachOnceAndKeepsItsShape) {
    for (int const rows : {0, 2, 5, 9}) {
        General m({5, 5, [](int i, int j) { return i == j ? Cell(1.0) : Cell(); }});
        m.clear(0);
        expect_holds(m, {5, 5, nothing});
        EXPECT_EQ(m.row(m, 1).capacity(), 8);
        m.clear(1);
        expect_holds(m, {5, 5, nothing});
        EXPECT_EQ(m.row(m, 1).capacity(), 0);
        m.set_invalid();
        EXPECT_TRUE(m.invalid() == 1 && m.cols() == 0);
        m += mlSparseMatrix();
        m.become(mlMatrixIdentity, 4);
        m.become(mlMatrixZero, 4, 4);
        EXPECT_EQ(m.row(m, 1).capacity(), 8); // kept
        m.set_invalid();
        m.become(mlMatrixZero, rows, 3);
        expect_holds(m, {rows, 3, nothing});
    }
    EXPECT_EQ(mlSparseMatrix(mlMatrixZero, 4, 4).last_in_row(2), -1);
    EXPECT_EQ(mlSparseSymMatrix(mlMatrixZero, 4).last_in_row(2), 1);
}

} // namespace
