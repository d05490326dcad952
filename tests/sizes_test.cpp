#include <climits>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

// Sizes that an int can't hold, mostly requested without that memory being needed.

namespace {

TEST(Sizes, OfArraysThatLeaveIntThrowAndChangeNothing) {
    int const run[5] = {};
    intcoPageArr pages{1, 2, 3}, none;
    EXPECT_THROW(pages[INT_MAX], std::bad_alloc);
    EXPECT_THROW(pages.copyin(run, 5, INT_MAX - 2, 0), std::bad_alloc);
    EXPECT_THROW(none.copy(pages, 3, INT_MAX - 1, 0), std::bad_alloc);
    EXPECT_THROW(coPageArr<char>(31, 1, 1), std::bad_alloc);
    EXPECT_EQ(std::tuple(contents(pages), none.size(), none.blocks()), std::tuple((std::vector{1, 2, 3}), 0, 0));
    pages.shrink(INT_MIN, 1); // counts as 0
    EXPECT_EQ(std::tuple(pages.size(), pages.blocks(), pages.repaginate()), std::tuple(0, 0, 0));

    doublecoDynArr2D table(2, 2, 7, 7);
    table(1, 1) = 5.0;
    EXPECT_THROW(table(INT_MAX, 0), std::bad_alloc);
    EXPECT_THROW(table(0, INT_MAX - 1), std::bad_alloc); // once an increment is added
    EXPECT_EQ(std::tuple(table.rows(), table(1, 1)), std::tuple(2, 5.0));
}

TEST(Sizes, OfMatricesThatLeaveIntThrowAndChangeNothing) {
    mlMatrix no_cols, wide(mlMatrixZero, 0, INT_MAX), tall(mlMatrixZero, INT_MAX, 0), row(mlMatrixZero, 1, 1 << 16);
    EXPECT_THROW(no_cols.become(30000, 0).append_row(mlVector(mlVectorZero, 100000)), std::bad_alloc);
    EXPECT_THROW(tall.append_row(mlVector()), std::bad_alloc);
    EXPECT_THROW(wide.append_col(mlVector()), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(wide.diagonal()), std::bad_alloc); // whose stride is a column more
    EXPECT_THROW(row(1 << 16, 3), std::bad_alloc);
    EXPECT_THROW(mlSingularValueDecomposition{wide}, std::bad_alloc);
    EXPECT_TRUE(no_cols.rows() == 30000 && tall.rows() == INT_MAX && wide.cols() == INT_MAX && row.size() == 1 << 16);

    mlSparseRow sparse_row;
    mlSparseElement const element(1, 2.0);
    EXPECT_THROW(sparse_row.append_elements(&element, (1 << 30) + 1), std::bad_alloc); // room is doubled
    sparse_row.append_elements(&element, 1);
    EXPECT_THROW(sparse_row.append_elements(&element, INT_MAX), std::bad_alloc);
    EXPECT_EQ(sparse_row.size(), 1);
    mlSparseMatrix sparse(mlMatrixZero, 1, INT_MAX), column(mlMatrixZero, 1, 1);
    column.set(0, 0, 1.0);
    EXPECT_THROW(sparse.concatenate_right(column), std::bad_alloc);
    EXPECT_EQ(std::tuple(sparse.cols(), sparse.num_non_zero_elements()), std::tuple(INT_MAX, 0));
    column.extract_sub_matrix(0, INT_MIN, 1, INT_MAX, sparse); // columns that there are none of
    EXPECT_EQ(std::tuple(sparse.cols(), sparse.num_non_zero_elements()), std::tuple(INT_MAX, 0));
}

TEST(Sizes, OfACacheAndOfAFitThatLeaveIntThrow) {
    struct Wide : mlFunctionN {
        explicit Wide(int n) { input_dimension = n, output_dimension = 1; }
        void function(mlSlice const &, mlVector &) const override {}
        void function_gradient(mlSlice const &, mlMatrix &) const override {}
    };
    for (int const n : {20, 21, 41, 1000}) {
        Wide const f(n);
        EXPECT_THROW(mlCachedFunctionN{&f}, std::bad_alloc) << n;
    }
    double x = 0.0, y = 0.0, c = 0.0;
    EXPECT_THROW(mlPolynomial().fit(&x, &y, INT_MAX, &c), std::bad_alloc);
    EXPECT_THROW(ml_svd(&x, &y, INT_MAX, 1), std::bad_alloc); // under the sanitizers
}

} // namespace
