#include <cstdint>
#include <ranges>

#include "tests/support/test.h"

// How values come into objects and go from one to the next, and sizes that an int can't hold, mostly requested without
// that memory being needed.

namespace {

template <class... T>
constexpr bool only_moved_when_made = ((std::is_nothrow_move_constructible_v<T> &&
                                        !std::is_copy_constructible_v<T>)&&...);
static_assert(only_moved_when_made<mlVector, mlMatrix, doublecoDynArr, mlVectorcoDynArr, doublecoDynArr2D,
                                   mlTinyVector2coPageArr, mlSparseRow, mlSparseMatrix, mlSparseSymMatrix>);
static_assert(!std::is_assignable_v<mlMatrix &, mlMatrix> && !std::is_assignable_v<mlSparseMatrix &, mlSparseMatrix> &&
              !std::is_assignable_v<doublecoDynArr &, doublecoDynArr>);
static_assert(!std::is_constructible_v<doublecoDynArr, mlMatrix>, "the matrix would keep its shape");

// What keeps a reference to an argument, and uses it later, takes no temporary for it.
template <class T, class Kept, class... Rest>
constexpr bool refuses_a_temporary =
    std::is_constructible_v<T, Kept &, Rest...> && std::is_constructible_v<T, Kept const &, Rest...> &&
    !std::is_constructible_v<T, Kept, Rest...> && !std::is_constructible_v<T, Kept const, Rest...>;
template <class... T> constexpr bool refuse_a_temporary_matrix = (refuses_a_temporary<T, mlMatrix> && ...);
struct Function : mlFunction {};
static_assert(refuse_a_temporary_matrix<mlLUDecomposition, mlMatrixOperator, mlSymEigenVecs, mlATAEigenVecs,
                                        mlAsymEigenVecs2, mlAsymEigenVecs3>);
static_assert(refuses_a_temporary<mlFunctionApproxDeriv, Function, double>);
static_assert(refuses_a_temporary<mlFunction2ApproxUDeriv, mlFunction2, double>);
static_assert(refuses_a_temporary<mlFunction2ApproxVDeriv, mlFunction2, double>);
static_assert(refuses_a_temporary<mlMinimiser, Function, double, double, double, double>);
static_assert(refuses_a_temporary<mlMinimiser2, mlFunction2, double, double, double>);
static_assert(refuses_a_temporary<mlVectorMinimiser2, mlFunctionN, double, double, double>);
static_assert(refuses_a_temporary<mlLineOnFunctionN1, mlVector, mlVector &, mlFunctionN1 *>);
static_assert(!std::is_constructible_v<mlLineOnFunctionN1, mlVector &, mlVector, mlFunctionN1 *> &&
              !std::is_constructible_v<mlLineOnFunctionN1, mlVector, mlVector, mlFunctionN1 *> &&
              !std::is_constructible_v<mlLevenbergMarquardt, mlDistanceLeastSquares>);

// A constant slice is not copied to a writable one by a constructor, but a function may return one.
using ConstView = decltype(std::declval<mlMatrix const &>().row(0));
static_assert(std::is_same_v<ConstView, mlSlice const> && !std::is_constructible_v<mlSlice, ConstView> &&
              std::is_constructible_v<mlSlice, ConstView &> && std::is_constructible_v<mlSlice, mlSlice> &&
              std::is_convertible_v<ConstView, ConstView>);

/// Moves `source` to a new object, and on by `become`; `place` tells where and how many its elements are.
template <class T> void expect_to_move(T source, auto place) {
    auto const at = place(source), nowhere = place(T());
    T made(std::move(source)), target;
    EXPECT_EQ(std::pair(place(made), place(source)), std::pair(at, nowhere));
    target.become(std::move(made));
    target.become(std::move(target)); // moved to itself
    EXPECT_EQ(std::pair(place(target), place(made)), std::pair(at, nowhere));
}

TEST(Moves, TakeTheStorageAndLeaveTheSourceEmptyAndOfUse) {
    auto const storage = [](auto const & array) { return std::tuple(array.data(), array.size(), array.capacity()); };
    auto const shape = [](auto const & m) { return std::tuple(m.rows() > 0 ? m.element(0, 0) : 0.0, m.cols()); };
    mlTinyVector2coPageArr pages;
    pages[300].fill(1.0);
    mlSparseRow row;
    row.append_element(3, 1.0);
    expect_to_move(mlVector{1, 2, 3}, storage);
    expect_to_move(std::move(row), storage);
    expect_to_move(mlMatrix(mlMatrixHilbert, 3),
                   [](mlMatrix const & m) { return std::tuple(m.data(), m.rows(), m.cols(), m.size()); });
    expect_to_move(std::move(pages), [](mlTinyVector2coPageArr const & array) {
        return std::tuple(array.blocks() > 0 ? array.page(1) : nullptr, array.blocks(), array.size());
    });
    expect_to_move(mlSparseSymMatrix(mlMatrixIdentity, 3), shape);

    doublecoDynArr2D table(2, 2, 1, 1);
    table(1, 1) = 7.0;
    doublecoDynArr2D const made(std::move(table));
    table(2, 0) = 5.0; // what was moved from grows again
    EXPECT_EQ(std::tuple(made.rows(), made(1, 1), table.rows(), table(2, 0)), std::tuple(2, 7.0, 3, 5.0));
}

TEST(Moves, InAStandardVectorOfVectorsKeepElementsWhereAllHaveOneSize) {
    std::vector<mlVector> list;
    for (int i = 0; i < 5; ++i)
        list.push_back(mlVector{10 * i, 10 * i + 1}); // which grows and moves them
    list.erase(list.begin() + 1);                     // which assigns
    list[0].become({5});
    std::ranges::swap(list[0], list[2]); // which exchanges storage
    EXPECT_EQ((Values{list[0][1], list[1][1], list[2][0], list[3][1]}), (Values{31, 21, 5, 41}));
    if (checked_build) return;
    list.erase(list.begin() + 2);
    EXPECT_EQ(contents(list.back()), Values{40}) << "cut off: an assignment resizes nothing";
}

template <class T, class... Arguments>
concept MadeInBraces = requires(Arguments... arguments) {
    T{arguments...};
};
static_assert(!MadeInBraces<mlVector, enum mlMatrixZero, int> && !MadeInBraces<mlVector, enum mlVectorZero> &&
              !MadeInBraces<mlVector, double, enum mlVectorZero> && !MadeInBraces<mlMatrix, enum mlVectorZero, int>);
static_assert(!std::is_constructible_v<mlVector, mlMatrix const &>, "copies nothing by accident");

TEST(Construction, TakesNumbersTagsAndSpansForWhatTheyAre) {
    int const n = 2;
    Values const values{4, 3, 2, 1, 0, 9};
    EXPECT_EQ(contents(mlVector{9, 9, 9, 9}.become({1.5, n, 3.0f})), (Values{1.5, 2, 3}));
    EXPECT_EQ(contents(mlVector{mlVectorZero, 3}), Values(3));
    mlMatrix const m{{1, 2, 3}, {4, 5, 6}}, column{{1}, {2}}, shaped{n, 3}, of_span(values, 2, 3);
    EXPECT_EQ(std::tuple(m.rows(), m.cols(), contents(m)), std::tuple(2, 3, Values{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(std::tuple(column.rows(), shaped.cols(), contents(of_span), of_span.rows()), std::tuple(2, 3, values, 2));
    mlVector y(mlMatrixProduct, m, m.row(0).slice(2, -1, 3));
    EXPECT_EQ(contents(y), (Values{10, 28}));
    y.become(utCopy, std::span(values)); // just these elements, from itself too
    EXPECT_EQ(contents(y.become(utCopy, y.slice(5, -2, 3))), (Values{9, 1, 3}));
    EXPECT_EQ(contents(y.become(utCopy, mlSlice(y.data() + 1, 0, 2, -1))), (Values{1, 9})); // backwards
    if (checked_build) return;
    EXPECT_EQ(contents(mlMatrix{{1, 2}, {3, 4, 5, 6}, {7}}), (Values{1, 2, 3, 4, 7, 0}));
}

static_assert(std::random_access_iterator<mlSliceIterator<double>> && std::ranges::random_access_range<mlSlice> &&
              std::is_same_v<std::ranges::range_reference_t<mlSlice const>, double const &>);

TEST(Slices, WorkWithAlgorithmsAndRanges) {
    mlMatrix m{{3, 1}, {2, 5}, {1, 4}};
    std::ranges::sort(m.col(0));
    mlSlice backwards = mlSlice(m.data(), 5, 3, -2);
    std::ranges::reverse(backwards);
    EXPECT_EQ(contents(m), (Values{1, 4, 2, 5, 3, 1}));
    EXPECT_EQ(std::ranges::distance(mlSlice(nullptr, 7, 0, 2)), 0);
}

TEST(Slices, AreSolvedForAndMultipliedLikeVectorsAlsoInTheResultsOwnStorage) {
    mlMatrix const a{{4, 1, 0}, {1, 3, -1}, {0, -1, 2}};
    mlVector const right{7, 8, 9}, lower{9, 1, 1}, upper{1, 1, 9};
    mlSparseMatrix sparse(mlMatrixIdentity, 3);
    mlSparseSymMatrix symmetric(mlMatrixIdentity, 3);
    sparse.set(0, 2, 5.0);
    symmetric.set(0, 2, 5.0);
    auto const expect_equal = [&](auto solve) {
        mlVector x, own{9, 0, 8, 0, 7}, neighbours{7, 8, 9};
        solve(right, x);
        solve(own.slice(4, -2, 3), own);
        solve(neighbours.slice(), neighbours);
        EXPECT_EQ(contents(neighbours), contents(x));
        EXPECT_EQ(contents(own.slice(0, 1, 3)), contents(x));
    };
    expect_equal([&](auto const & b, mlVector & x) { mlLUDecomposition(a).solve(b, x); });
    expect_equal([&](auto const & b, mlVector & x) { mlCholeskyDecomposition(a).solve(b, x); });
    expect_equal([&](auto const & b, mlVector & x) { mlSingularValueDecomposition(a).solve(b, x); });
    expect_equal([&](auto const & b, mlVector & x) { sparse.multiply_vector(b, x); });
    expect_equal([&](auto const & b, mlVector & x) { symmetric.multiply_vector(b, x); });
    mlTridiagonal const t(3, lower.slice(), a.diagonal(), upper.slice());
    mlMatrix x(mlMatrixZero, 3, 1);
    mlVector plain{7, 8, 9, 99}, own{7, 8, 9, 99}; // longer than the system
    t.solve_periodic(right.slice(), x.col(0));
    t.solve_periodic(own.slice(), own);
    t.solve(plain.slice(), plain);
    EXPECT_EQ(std::pair(contents(own), plain.size()), std::pair(contents(x.col(0)), 3));
}

TEST(Sizes, OfArraysThatLeaveIntThrowAndChangeNothing) {
    EXPECT_THROW(coResizeStorage(nullptr, SIZE_MAX), std::bad_alloc); // with what precedes a block it would be small
    int const run[5] = {};
    intcoPageArr pages{1, 2, 3}, none;
    EXPECT_THROW(pages[INT_MAX], std::bad_alloc);
    EXPECT_THROW(pages.copyin(run, 5, INT_MAX - 2, 0), std::bad_alloc);
    EXPECT_THROW(none.copy(pages, 3, INT_MAX - 1, 0), std::bad_alloc);
    EXPECT_THROW(coPageArr<char>(31, 1, 1), std::bad_alloc);
    EXPECT_EQ(std::tuple(contents(pages), none.size(), none.blocks()), std::tuple((std::vector{1, 2, 3}), 0, 0));

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
    EXPECT_EQ(std::tuple(no_cols.rows(), tall.rows(), wide.cols(), row.size()),
              std::tuple(30000, INT_MAX, INT_MAX, 1 << 16));

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
    sparse.set(0, 7, 1.0);
    sparse.extract_sub_matrix(0, 1, 1, INT_MAX, column); // one of these columns there is not
    EXPECT_EQ(std::tuple(column.cols(), column.element(0, 6)), std::tuple(INT_MAX, 1.0));
}

TEST(Sizes, OfACacheAndOfAFitThatLeaveIntThrow) {
    mlFunctionNOf const f(20, 1, [](mlSlice const &, mlVector &) {}); // 3^20 slots
    EXPECT_THROW(mlCachedFunctionN{&f}, std::bad_alloc);
    double x = 0.0, y = 0.0, c = 0.0;
    EXPECT_THROW(mlPolynomial().fit(&x, &y, INT_MAX, &c), std::bad_alloc);
    EXPECT_THROW(ml_svd(&x, &y, INT_MAX, 1), std::bad_alloc); // under the sanitizers
}

} // namespace
