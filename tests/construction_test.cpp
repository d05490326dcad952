#include <algorithm>
#include <numeric>
#include <ranges>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

// How values come into objects and go from one to the next.

namespace {

template <class... T>
constexpr bool only_moved_when_made = ((std::is_nothrow_move_constructible_v<T> &&
                                        !std::is_copy_constructible_v<T>)&&...);

static_assert(only_moved_when_made<mlVector, mlMatrix, doublecoDynArr, mlVectorcoDynArr, doublecoDynArr2D,
                                   mlTinyVector2coPageArr, mlSparseRow, mlSparseMatrix, mlSparseSymMatrix>);
static_assert(!std::is_assignable_v<mlMatrix &, mlMatrix> && !std::is_assignable_v<mlSparseMatrix &, mlSparseMatrix>);
static_assert(!std::is_assignable_v<doublecoDynArr &, doublecoDynArr>);
static_assert(!std::is_constructible_v<doublecoDynArr, mlMatrix>, "the matrix would keep its shape");

mlVector counted_from(double first, int n) {
    mlVector v(mlVectorZero, n);
    std::iota(v.begin(), v.end(), first);
    return v;
}

/// Moves `source` to a new object, and on by `become`; `place` and `print` tell where and what its elements are.
template <class T, class Place> void expect_to_move(T source, Place place) {
    auto const at = place(source);
    T made(std::move(source));
    EXPECT_EQ(place(made), at);
    T target;
    target.become(std::move(made));
    EXPECT_EQ(place(target), at);
    target.become(std::move(target));
    EXPECT_EQ(place(target), at) << "moved to itself";
    source.become(T());
    EXPECT_NE(place(source), at);
    EXPECT_NE(place(made), at);
}

TEST(Moves, TakeTheStorageAndLeaveTheSourceEmptyAndOfUse) {
    auto const storage = [](auto const & array) { return std::pair(array.data(), array.size()); };
    expect_to_move(counted_from(1, 3), storage);
    expect_to_move(mlMatrix(mlMatrixHilbert, 3),
                   [](mlMatrix const & m) { return std::tuple(m.data(), m.rows(), m.cols(), m.size()); });
    mlVectorcoDynArr vectors;
    vectors[1].become(counted_from(1, 3));
    expect_to_move(std::move(vectors), storage);
    mlTinyVector2coPageArr pages;
    pages[300].fill(1.0);
    expect_to_move(std::move(pages), [](mlTinyVector2coPageArr const & array) {
        return std::tuple(array.blocks() > 0 ? array.page(1) : nullptr, array.size());
    });
    mlSparseRow row;
    row.append_element(3, 1.0);
    expect_to_move(std::move(row), storage);
    auto const first_row = [](auto const & m) { return std::pair(m.rows() > 0 ? m.element(0, 0) : 0.0, m.cols()); };
    expect_to_move(mlSparseMatrix(mlMatrixIdentity, 3), first_row);
    expect_to_move(mlSparseSymMatrix(mlMatrixIdentity, 3), first_row);

    doublecoDynArr2D table(2, 2, 1, 1);
    table(1, 1) = 7.0;
    doublecoDynArr2D const made(std::move(table));
    EXPECT_TRUE(table.rows() == 0 && made.rows() == 2 && made(1, 1) == 7.0);
    table(2, 0) = 5.0; // what was moved from grows again
    mlVector v = counted_from(1, 3), w(std::move(v));
    v[1] = 4.0;
    EXPECT_TRUE(table(2, 0) == 5.0 && v.size() == 2 && v[1] == 4.0 && contents(w) == (Values{1, 2, 3}));
}

TEST(Moves, InAStandardVectorOfVectorsKeepElementsWhereAllHaveOneSize) {
    std::vector<mlVector> list;
    for (int i = 0; i < 5; ++i)
        list.push_back(counted_from(10 * i, 3)); // which grows and moves them
    list.erase(list.begin() + 1);                // which assigns
    EXPECT_EQ(contents(list[1]), (Values{20, 21, 22}));
    list[0].become(counted_from(5, 1));
    using std::swap;
    swap(list[0], list[2]); // which exchanges storage
    EXPECT_TRUE(contents(list[0]) == (Values{30, 31, 32}) && contents(list[2]) == Values{5});
    if (checked_build) return;
    list.erase(list.begin() + 2);
    EXPECT_EQ(contents(list.back()), Values{40}) << "cut off: an assignment resizes nothing";
}

} // namespace
