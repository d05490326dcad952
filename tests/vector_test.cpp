#include "tests/support/matrices.h"
#include "tests/support/test.h"

namespace {

static_assert(sizeof(mlVector) == sizeof(doublecoDynArr));

TEST(Vector, KeepsItsSizeInAssignmentsThatRunInIndexOrder) {
    Vector v{1, 2, 3, 4, 5}, empty{};
    if (!checked_build) empty = v;
    EXPECT_EQ(empty.size(), 0);
    v = v.slice(4, -1, 5);
    EXPECT_EQ(contents(v), (Values{5, 4, 3, 4, 5}));
    v += Vector{0, 1, 2, 3, 4, 99};
    v -= Vector{1, 9, 1, 9, 1, 9, 1, 9, 1}.slice(0, 2, 5);
    v += v.slice(4, -1, 5);
    v += 3.0;
    v -= 5.0;
    EXPECT_EQ(contents(v), (Values{10, 8, 6, 14, 18}));
    EXPECT_EQ(contents(v.become(utConvert, Values{7, 8}.data(), 2)), (Values{7, 8, 6, 14, 18}));
    v.delete_element(3);
    v.delete_element(0);
    EXPECT_EQ(contents(v), (Values{8, 6, 18}));
    EXPECT_EQ(contents(v.become(mlVectorZero, 2)), Values(3));
    v.fill(1.0);
    EXPECT_EQ(contents(v), (Values{1, 1, 1}));
}

TEST(Vector, MaximaPassOverNaNAndEqualityComparesThePrefixThatTheFirstOperandHas) {
    Vector const v{1, 2}, longer{1, 2, 3}, with_nan{nan_value, -3, 2};
    EXPECT_EQ((Values{with_nan.max_absolute_value(), norm_diff(with_nan, longer), norm_diff(mlVector(), v)}),
              (Values{3, 5, -largest_double}));
    EXPECT_FALSE(std::signbit(scalar_product(Vector{-0.0}, v))); // sums start from 0
    EXPECT_EQ(std::tuple(v == longer, mlVector() == v, with_nan == with_nan, Vector({1, 5}) != longer),
              std::tuple(1, 1, 0, 1));
}

static_assert(std::is_trivially_copy_constructible_v<mlSlice> && std::is_trivially_destructible_v<mlSlice>);
static_assert(!std::is_assignable_v<decltype(std::declval<mlVector const &>().slice()), mlSlice>);

TEST(Slice, WritesThroughOverItsOwnLengthInIndexOrder) {
    Vector v{0, 1, 2, 3, 4, 5, 6, 7};
    mlSlice odd = v.slice(1, 2, 3), up = v.slice(1, 1, 6);
    EXPECT_EQ(contents(odd.slice(2, -1, 3).slice(1, 1, 2)), (Values{3, 1}));
    odd -= 1.0;
    odd -= v.slice(6, -1, 4);
    EXPECT_EQ(contents(v), (Values{0, -6, 2, -2, 4, 0, 6, 7}));
    odd = Vector{7, 8, 9, 10};
    EXPECT_EQ(printed(v.slice()), "<0,7,2,8,4,9,6,7>");
    up = v.slice(0, 1, 6);
    EXPECT_EQ(contents(v), (Values{0, 0, 0, 0, 0, 0, 0, 7})); // the first element ripples up
    up.add_multiple(2.0, Vector{1, 2, 3, 4, 5, 6, 99});
    odd.add_multiple(-1.0, v.slice(2, 1, 3));
    v.add_multiple(1.0, v.slice(7, -1, 8));
    v.add_multiple(0.5, v);
    EXPECT_EQ(contents(v), (Values{10.5, 15, 9, 12, 24, 12, 33, 21}));
    mlMatrix m;
    mlSlice last = m.become(0, 3).col(2); // of no storage: it may start anywhere
    last = m.col(1);
    EXPECT_EQ(printed(last), "<>");
}

TEST(Slice, StridedResultsAreThoseOfTheVectorOfItsElements) {
    mlVector x, v(mlVectorZero, 9);
    fill_random(x, 100, 1);
    mlSlice const s = x.slice(99, -5, 9), t = x.slice(0, 3, 9);
    v = s;
    EXPECT_EQ((Values{s.modulus_squared(), s.max_absolute_value(), distance_squared(s, t)}),
              (Values{v.modulus_squared(), v.max_absolute_value(), distance_squared(v.slice(), t)}));
    Vector const a{0, 1, 2, 3}, b{0, 1, 2, -1};
    EXPECT_EQ((Values{scalar_product(a.slice(1, 1, 2), b.slice()), distance_squared(a.slice(0, 1, 3), b.slice()),
                      norm_diff(a.slice(0, 1, 3), b.slice())}),
              (Values{2, 0, 0}))
        << "as many elements as the first operand has";
    EXPECT_EQ(std::pair(a.slice(3, -1, 3) == b.slice(1, 1, 3), a.slice() != b.slice()), std::pair(1, 1))
        << "these ignore start and stride";
}

} // namespace
