#include "tests/support/matrices.h"
#include "tests/support/test.h"

namespace {

static_assert(sizeof(mlMatrix) == sizeof(doublecoDynArr) + 2 * sizeof(int));

template <class A, class B>
concept Swaps = requires(A & a, B & b) {
    a.swap(b);
};
static_assert(Swaps<mlVector, doublecoDynArr> && !Swaps<mlMatrix, mlVector> && !Swaps<mlVector, mlMatrix>);

void expect_table(mlMatrix const & m, std::vector<Values> const & table) {
    ASSERT_EQ(m.rows(), static_cast<int>(table.size()));
    ASSERT_GE(m.size(), m.rows() * m.cols());
    for (int r = 0; r < m.rows(); ++r)
        EXPECT_EQ(contents(m.row(r)), table[r]) << "row " << r;
}

TEST(Matrix, EmptyShapesKeepOneStoredZeroWhereAnElementIsNeeded) {
    mlMatrix const none, product(mlMatrixProduct, none, none), transpose(mlMatrixTranspose, none);
    mlMatrix const zero(mlMatrixZero, 0, 4), conversion(utConvert, nullptr, 0, 0);
    mlMatrix copy(utCopy, none);
    for (mlMatrix const * m : {&product, &std::as_const(copy), &zero, &conversion})
        EXPECT_EQ(contents(*m), Values{0.0});
    EXPECT_EQ(transpose.size() + mlMatrix(mlMatrixHilbert, 0).size() + copy.become(0, 3).size(), 0);
    EXPECT_EQ(printed(zero), "");
}

TEST(Matrix, BecomesWhatItsTagsSay) {
    mlMatrix m(utConvert, Values{1, 2, 3, 4, 5, 6}.data(), 2, 3);
    EXPECT_EQ(m.capacity(), 8); // from a capacity of 2 by increments of 3
    mlMatrix const transpose(mlMatrixTranspose, m);
    expect_table(transpose, {{1, 4}, {2, 5}, {3, 6}});
    expect_table(m.become(utConvert, m.data() + 1, 2, 2), {{2, 3}, {4, 5}}); // from its own storage
    m.become(utCopy, transpose);
    expect_table(m.become(utCopy, m), {{1, 4}, {2, 5}, {3, 6}});
    expect_table(m.become(mlMatrixHilbert, 2), {{1, 1 / 2.0}, {1 / 2.0, 1 / 3.0}});
    expect_table(m.become(1, 2), {{1, 1 / 2.0}});              // with the values that the storage holds
    EXPECT_THROW(m.expand(70000, 70000, 0.0), std::bad_alloc); // more than an int can count
    expect_table(m, {{1, 1 / 2.0}});
    EXPECT_THROW(m.become(mlMatrixZero, 1 << 16, 1 << 16), std::bad_alloc);
    expect_table(m, {});
}

TEST(Matrix, IsEditedByRowsColumnsAndSlices) {
    mlMatrix m(mlMatrixZero, 0, 0), column, rows; // m has a spare element in its storage
    for (Values const & row : {Values{1, 2}, {3, 4}})
        m.append_row(mlVector(row));
    m.append_col(Vector{5, 6});
    m.swap_cols(1, 2);
    m.swap_rows(1, 0);
    m.col(1)[0] = m.diagonal()[1] = 7.0;
    expect_table(m, {{3, 7, 4}, {1, 7, 2}});
    m.delete_col(1);
    expect_table(m, {{3, 4}, {1, 2}});
    m.expand(3, 1, 8.0);
    expect_table(m, {{3}, {1}, {8}});
    m.expand(2, 3, 9.0);
    expect_table(m, {{3, 9, 9}, {1, 9, 9}});
    EXPECT_EQ(contents(m.diagonal()), (Values{3, 9}));
    m.expand(2, 1, 0.0); // the storage stays
    m.delete_row(0);     // the whole of it moves up
    EXPECT_EQ(contents(m), (Values{1, 9, 1, 9, 9}));
    m(5, 0) = 4.0; // extends the storage, not the shape
    EXPECT_EQ(m.size(), 6);
    column.append_col(Vector{1, 2});
    expect_table(column, {{1}, {2}});
    rows.become(2, 0).append_row(Vector{1, 2, 3});
    expect_table(rows, {{0, 0, 0}, {0, 0, 0}, {1, 2, 3}});
}

TEST(Matrix, KeepsShapeAndStorageTogether) {
    mlMatrix a(mlMatrixIdentity, 2), b(mlMatrixZero, 5, 4);
    a.swap(b);
    expect_table(b, {{1, 0}, {0, 1}});
    EXPECT_EQ(std::tuple(a.rows(), a.cols(), a.size()), std::tuple(5, 4, 20));
    a.clear(0);
    b.clear(1);
    EXPECT_EQ(std::tuple(a.rows() + a.cols() + b.rows() + b.cols(), a.capacity(), b.capacity()), std::tuple(0, 20, 0));
    a.become(mlMatrixZero, 100000, 1);
    a(1, 0) = a(0, 0) = 5.0;
    a.expand(1, 100000, 7.0); // in the same storage, where either shape fits but not what spans both
    EXPECT_EQ(std::tuple(a.size(), a(0, 0), a(0, 1), a(0, 99999)), std::tuple(100000, 5.0, 7.0, 7.0));
    a.expand(100000, 1, 8.0);
    EXPECT_EQ(std::tuple(a.size(), a(0, 0), a(1, 0)), std::tuple(100000, 5.0, 8.0));
}

TEST(Matrix, MultipliesASliceOfNeighboursWhereItIs) {
    mlMatrix const a(mlMatrixZero, 3, 5000);
    Vector y{7, 8, 9, 10};
    coFailStorageAfter(0);
    EXPECT_THROW(multiply(a, a.row(2).slice(4999, -1, 5000), y), std::bad_alloc); // whose elements are gathered
    EXPECT_EQ(contents(y), (Values{7, 8, 9, 10}));
    EXPECT_NO_THROW(multiply(a, a.row(2), y));
    coFailStorageAfter(-1);
    EXPECT_EQ(contents(y), Values(3));
}

TEST(Matrix, SumsStartFromZero) {
    mlMatrix const negative{{-0.0, -0.0, -0.0}, {-0.0, -0.0, -0.0}, {-0.0, -0.0, -0.0}}, positive(mlMatrixHilbert, 3);
    mlMatrix product;
    mlVector y;
    multiply(negative, positive, product);
    multiply(negative, positive.col(0), y);
    EXPECT_FALSE(std::signbit(product(0, 0)) || std::signbit(product(2, 2)) || std::signbit(y[0]));
}

TEST(Matrix, ComparesStoredValuesWhateverTheShape) {
    Values const values = {1, -5, 3, 4, nan_value, 6};
    mlMatrix const a(utConvert, values.data(), 2, 2), b(utConvert, values.data(), 2, 3);
    mlMatrix c(utConvert, values.data(), 4, 1);
    EXPECT_EQ(std::tuple(a == c, a != b, b == b), std::tuple(1, 0, 0)); // b only has further elements
    EXPECT_EQ(equal(b, b, 0.0), 1);                                     // a NaN difference exceeds no tolerance
    c[3] += 0.5;
    EXPECT_EQ(std::pair(equal(a, c, 0.5), equal(a, c, 0.49)), std::pair(1, 0));
    EXPECT_EQ(mlMatrix(utConvert, values.data(), 1, 2).max_absolute_value(), 1.0); // 1 and -5, with its sign
}

} // namespace
