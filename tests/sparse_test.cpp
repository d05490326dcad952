#include "tests/support/matrices.h"
#include "tests/support/test.h"
#include "tests/support/traces.h"

namespace {

/// About a third of the elements.
mlMatrix random_elements(Choice & choice, int rows, int cols) {
    return matrix_of(rows, cols, [&](int, int) { return choice(3) == 0 ? (choice(201) - 100) * 0.01 : 0.0; });
}

/// a + sign b, b's corner at (row, col) and zeros around both.
mlMatrix sum(mlMatrix const & a, mlMatrix const & b, double sign = 1.0, int row = 0, int col = 0) {
    return matrix_of(std::max(a.rows(), row + b.rows()), std::max(a.cols(), col + b.cols()), [&](int i, int j) {
        double const x = i < a.rows() && j < a.cols() ? a(i, j) : 0.0;
        bool const in_b = row <= i && i < row + b.rows() && col <= j && j < col + b.cols();
        return in_b ? x + sign * b(i - row, j - col) : x;
    });
}

/// It makes protected members public.
struct General : mlSparseMatrix {
    explicit General(mlMatrix const & dense) : mlSparseMatrix(mlMatrixZero, dense.rows(), dense.cols()) {
        for (int k = 0; k < dense.rows() * dense.cols(); ++k)
            if (dense[k] != 0.0) set(k / dense.cols(), k % dense.cols(), dense[k]);
    }
    using mlSparseMatrix::row;
    using mlSparseMatrix::row_dot_product;
};

/// m has the elements, which only rows in order give all, and products of the dense matrix, to the bit. So have the
/// operators that iterative solvers make of a square one.
template <class Matrix> void expect_acts_like(mlMatrix const & dense, Matrix const & m) {
    mlMatrix decompressed, b, product;
    m.decompress(decompressed);
    ASSERT_EQ(std::tuple(m.rows(), m.cols()), std::tuple(dense.rows(), dense.cols()));
    for (int k = 0; k < dense.rows() * dense.cols(); ++k)
        ASSERT_EQ(std::pair(m.element(k / dense.cols(), k % dense.cols()), decompressed[k]),
                  std::pair(dense[k], dense[k]));
    fill_random(b, dense.cols(), 3, 1);
    multiply(dense, b, product);
    mlVector x(b.col(1)), quotient, image(product.col(1));
    if (m.rows() == m.cols()) {
        mlMatrixOperator(m).multiply(x, image);
        mlDiagonalPreconditioner(m).multiply(x, quotient);
        for (int i = 0; i < m.rows(); ++i)
            EXPECT_EQ(quotient[i], dense(i, i) == 0.0 ? x[i] : x[i] / dense(i, i));
    }
    m.multiply_vector(x, x); // the results take their factors' places
    m.multiply_matrix(b, b);
    EXPECT_EQ(std::tuple(contents(product), contents(product.col(1)), contents(product.col(1))),
              std::tuple(contents(b), contents(x), contents(image)));
}

/// One random operation on both. Half of those with a second operand take the matrix itself.
void change(mlSparseMatrix & m, mlMatrix & dense, Choice & choice) {
    bool const itself = choice(2) == 0;
    mlMatrix const a = sum(dense, mlMatrix()),
                   b = itself ? sum(a, mlMatrix()) : random_elements(choice, a.rows(), a.cols());
    mlMatrix const b_turned(mlMatrixTranspose, b);
    auto const expect = [&](mlMatrix const & result) { dense.become(utCopy, result); };
    mlSparseMatrix const made(utCopy, General(b)), &other = itself ? m : made, turned(mlMatrixTranspose, other);
    int const row = choice(std::max(a.rows() - 5, 1)), col = choice(std::max(a.cols() - 5, 1));
    int const rows = std::min(a.rows(), 6), cols = std::min(a.cols(), 6);
    switch (a.rows() > 12 || a.cols() > 12 ? 0 : choice(11)) {
    case 0:
        other.extract_sub_matrix(row, col, rows, cols, m);
        expect(matrix_of(rows, cols, [&](int i, int j) { return b(row + i, col + j); }));
        break;
    case 1: m += other, expect(sum(a, b)); break;
    case 2: m -= other, expect(sum(a, b, -1.0)); break;
    case 3: m.concatenate_below(other), expect(sum(a, b, 1.0, a.rows(), 0)); break;
    case 4: m.concatenate_right(other), expect(sum(a, b, 1.0, 0, a.cols())); break;
    case 5: m.concatenate_diagonal(other), expect(sum(a, b, 1.0, a.rows(), a.cols())); break;
    case 6: m.become(mlMatrixTranspose, other), expect(b_turned); break;
    case 7: m.become(mlMatrixProduct, m, turned), multiply(a, b_turned, dense); break;
    case 8: m.become(mlMatrixProduct, turned, m), multiply(b_turned, a, dense); break;
    case 9: m.become(utCopy, other), expect(b); break;
    case 10: m *= 3.0, m /= 7.0, dense *= 3.0, dense /= 7.0; break;
    }
}

constexpr std::pair<int, int> shapes[] = {{0, 3}, {3, 0}, {9, 1}, {4, 6}};

TEST(SparseMatrix, ActsLikeTheDenseMatrixAfterEveryOperation) {
    Choice choice(1);
    for (int step = 0; step < 3600 && !HasFailure();) {
        auto const & [rows, cols] = shapes[step / 30 % 4];
        mlMatrix dense = random_elements(choice, rows, cols);
        General m(dense);
        do {
            change(m, dense, choice);
            expect_acts_like(dense, m);
        } while (++step % 30 > 0);
    }
}

TEST(SparseSymMatrix, StoresTheUpperTriangle) {
    Choice choice(2);
    for (auto const & shape : shapes) {
        int const rows = shape.first, n = shape.second;
        mlMatrix const a = random_elements(choice, rows, n), border = random_elements(choice, n, rows);
        mlMatrix const turned(mlMatrixTranspose, a), border_turned(mlMatrixTranspose, border),
            gram(mlMatrixProduct, turned, a);
        mlSparseSymMatrix m(mlMatrixPremultiplyTranspose, General(a)), last_column(mlMatrixZero, n), copy;
        expect_acts_like(gram, m);
        expect_acts_like(gram, mlSparseMatrix(utCopy, m));
        for (int i = 0; i < n; ++i)
            last_column.set(i, n - 1, gram(i, n - 1));
        m -= last_column;
        m.concatenate(General(border));
        m.concatenate_diagonal(m);
        copy.become(utCopy, m);
        m += copy;
        mlMatrix const rest = matrix_of(n, n, [&](int i, int j) { return std::max(i, j) == n - 1 ? 0.0 : gram(i, j); });
        expect_acts_like(sum(gram, rest, -1.0), last_column);
        mlMatrix const half = sum(rest, border, 1.0, 0, n), bordered = sum(half, border_turned, 1.0, n, 0),
                       twice = sum(bordered, bordered, 1.0, n + rows, n + rows);
        expect_acts_like(sum(twice, twice), m);
    }
}

TEST(SparseRow, DoublesItsRoomFromEight) {
    mlSparseRow row, grown;
    for (int i = 0; i < 40; ++i) {
        row.append_element(i, 0.5);
        EXPECT_EQ(row.capacity(), i < 8 ? 8 : i < 16 ? 16 : i < 32 ? 32 : 64);
    }
    mlSparseRow copy(utCopy, row);
    EXPECT_EQ(copy.capacity(), 64); // a copy gets as much room, and doubles it like the row
    while (copy.size() < 65)
        copy.append_element(copy.size(), 0.5);
    EXPECT_EQ(copy.capacity(), 128);
    copy.clear(1);
    copy.append_elements(row.data(), 16);
    EXPECT_EQ(copy.capacity(), 16);
    for (int i = 0; i < 3; ++i)
        grown[i] = mlSparseElement(i, 0.5); // as an array
    grown.append_elements(std::array{mlSparseElement(7, 1.0)}.data(), 1);
    EXPECT_EQ(grown.capacity(), 4);
    row.clear(1);
    row.append_element(3, 1.0);
    EXPECT_EQ(row.capacity(), 8);
    row.shrink(1, 1); // as an array, without the row: until the row reserves again, it grows by its increment
    row.append_element(4, 1.0);
    EXPECT_EQ(row.capacity(), 2);
}

TEST(SparseRow, IteratorsStepAndMeetInCommonColumns) {
    struct Symmetric : mlSparseSymMatrix {
        using mlSparseSymMatrix::row_dot_self;
    };
    General const m(mlMatrix{{0, 0.1, 0.2, 0, 0.3}, {3.0, 0, 0.7, 0, 0.9}, {0, 0, 0, 0, 0}});
    mlSparseRowIT a = m.row_iterator(0), b = m.row_iterator(1), none = m.row_iterator(2);
    EXPECT_EQ(a.next()->index, 2); // straight after a reset, the step is to element 1
    double result = 1.0;
    EXPECT_EQ(General::row_dot_product(a, b, result), 1);
    EXPECT_EQ(result, 0.7 * 0.2 + 0.9 * 0.3);
    EXPECT_EQ(General::row_dot_product(none, b, result), 0);
    EXPECT_EQ(result, 0.0);
    EXPECT_EQ(Symmetric::row_dot_self(a), 0.1 * 0.1 + 0.2 * 0.2 + 0.3 * 0.3);
    EXPECT_EQ(mlSparseElement().invalid(), 0); // never set is not invalid
    EXPECT_EQ(mlSparseElement(2147483647, 1.0).invalid(), 1);
}

TEST(SparseMatrix, KeepsExplicitZerosAndTheirSignsAndALongerResultsSize) {
    mlSparseMatrix const unit(mlMatrixIdentity, 2);
    mlSparseMatrix m(utCopy, unit), negative(mlMatrixZero, 2, 2);
    m -= unit;
    negative -= m;
    negative.become(mlMatrixProduct, unit, negative);
    EXPECT_EQ(std::pair(m.num_non_zero_elements(), negative.num_non_zero_elements()), std::pair(2, 2));
    EXPECT_TRUE(std::signbit(negative.element(1, 1)));
    mlVector x{1, 2, 3}, y{9, 9, 9}, z{9, 9, 9};
    m.multiply_vector(x, y);
    mlSparseSymMatrix(mlMatrixIdentity, 2).multiply_vector(x, z);
    EXPECT_EQ(std::tuple(contents(y), contents(z)), std::tuple(Values(2), (Values{1, 2, 0})));
}

TEST(SparseMatrix, LosesElementsThatAreOutOfOrderAndSumsTheLaterOfTwoInOneColumnFirst) {
    if (checked_build) GTEST_SKIP() << "stops at such a row";
    mlSparseRow row;
    for (int const column : {2, 9, 5, 12})
        row.append_element(column, 1.0);
    Values found;
    for (int column = 0; column < 14; ++column)
        found.push_back(row.element(column));
    EXPECT_EQ(found, (Values{0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0})) << "without 5";
    General a(mlMatrix{{1, 1e16}, {1, 1}});
    a.row(1).append_elements(std::array{mlSparseElement(1, -1e16)}.data(), 1);
    mlSparseSymMatrix const product(mlMatrixPremultiplyTranspose, a);
    EXPECT_EQ(product.element(0, 1), 1.0);
    EXPECT_DOUBLE_EQ(product.element(1, 1), 2e32);
}

// The address sanitizer reports what this leaks.
TEST(SparseMatrix, EmptiesItsRowsOwnsEachOnceAndKeepsItsShape) {
    for (int const rows : {0, 2, 9}) {
        General m(mlMatrix(mlMatrixIdentity, 5));
        m.clear(1);
        expect_acts_like(mlMatrix(mlMatrixZero, 5, 5), m);
        EXPECT_EQ(m.row(m, 1).capacity(), 0);
        m.set_invalid();
        EXPECT_EQ(std::tuple(m.invalid(), m.cols()), std::tuple(1, 0));
        m += mlSparseMatrix();
        m.become(mlMatrixIdentity, 4);
        m.become(mlMatrixZero, 4, 4);
        EXPECT_EQ(m.row(m, 1).capacity(), 8); // kept
        m.set_invalid();
        m.become(mlMatrixZero, rows, 3);
        expect_acts_like(mlMatrix(mlMatrixZero, rows, 3), m);
    }
    EXPECT_EQ(mlSparseMatrix(mlMatrixZero, 4, 4).last_in_row(2), -1);
    EXPECT_EQ(mlSparseSymMatrix(mlMatrixZero, 4).last_in_row(2), 1);
}

} // namespace
