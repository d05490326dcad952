#include <gtest/gtest.h>

#include "maths/core/mlMatrix.h"
#include "platform/utOstream.h"
#include "tests/support/printed.h"
#include "tests/support/values.h"

namespace {

static_assert(sizeof(mlVector) == sizeof(doublecoDynArr) && !std::is_copy_constructible_v<mlVector>);
static_assert(!std::is_constructible_v<mlVector, enum mlMatrixZero, int>);

TEST(Vector, KeepsItsSizeInAssignmentsThatRunInIndexOrder) {
    Vector v{1, 2, 3, 4, 5}, empty{};
    empty = v;
    EXPECT_EQ(empty.size(), 0);
    v = v.slice(4, -1, 5);
    EXPECT_EQ(contents(v), (Values{5, 4, 3, 4, 5}));
    v += Vector{0, 1, 2, 3, 4, 99};
    v -= Vector{1, 9, 1, 9, 1, 9, 1, 9, 1}.slice(0, 2, 5);
    EXPECT_EQ(contents(v), (Values{4, 4, 4, 6, 8}));
    EXPECT_EQ(contents(v.become(utConvert, Values{7, 8}.data(), 2)), (Values{7, 8, 4, 6, 8}));
    EXPECT_EQ(contents(v.become(mlVectorZero, 2)), Values(5));
    v.fill(49.0);
    v /= 49.0;
    EXPECT_EQ(v.sum(), 5.0); // 49.0 times the reciprocal would be below 1
    v[3] = 3.0;
    v.delete_element(4);
    v.delete_element(0);
    EXPECT_EQ(contents(v), (Values{1, 1, 3}));
}

TEST(Vector, SumsGoInIndexOrderFromZeroAndMaximaPassOverNaN) {
    Vector const v{1e16, 1, -1e16, 1}, ones{1, 1, 1, 1, 9}, holes{nan_value, -3, 2, nan_value};
    EXPECT_EQ((Values{v.sum(), scalar_product(v, ones), distance_squared(Vector{3, 1}, Vector{1, 2, 9})}),
              (Values{1, 1, 5}));
    EXPECT_FALSE(std::signbit(scalar_product(Vector{-0.0}, ones)));
    EXPECT_EQ(Vector({1e8, 1, 1}).modulus_squared(), 1e16); // 1 + 1 first would give 1e16 + 2
    EXPECT_EQ((Values{holes.max_absolute_value(), norm_diff(holes, ones), norm_diff(mlVector(), ones)}),
              (Values{3, 4, -largest_double}));
}

TEST(Vector, EqualityComparesThePrefixThatTheFirstOperandHas) {
    Vector const v{1, 2}, longer{1, 2, 3}, with_nan{nan_value};
    EXPECT_TRUE(v == longer && mlVector() == v && with_nan != with_nan && Vector({1, 5}) != longer);
}

TEST(Vector, PrintsASpacedFixedPointLineAndRestoresTheFlags) {
    std::ostringstream stream;
    utOstream indenting(stream, 1, 3);
    stream << std::showpos << std::setprecision(2);
    indenting << Vector{0.5, -2};
    stream << mlVector() << 12.5;
    EXPECT_EQ(stream.str(), "   < +0.50 -2.00 > \n< > \n+12");
}

} // namespace
