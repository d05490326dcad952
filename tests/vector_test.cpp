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
    v += v.slice(4, -1, 5);
    v += 3.0;
    v -= 5.0;
    EXPECT_EQ(contents(v), (Values{10, 8, 6, 14, 18}));
    EXPECT_EQ(contents(v.become(utConvert, Values{7, 8}.data(), 2)), (Values{7, 8, 6, 14, 18}));
    EXPECT_EQ(contents(v.become(mlVectorZero, 2)), Values(5));
    v.fill(1.0);
    v[3] = 3.0;
    v.delete_element(4);
    v.delete_element(0);
    EXPECT_EQ(contents(v), (Values{1, 1, 3}));
}

TEST(Vector, MaximaPassOverNaNAndEqualityComparesThePrefixThatTheFirstOperandHas) {
    Vector const v{1, 2}, longer{1, 2, 3}, with_nan{nan_value, -3, 2};
    EXPECT_EQ((Values{with_nan.max_absolute_value(), norm_diff(with_nan, longer), norm_diff(mlVector(), v)}),
              (Values{3, 5, -largest_double}));
    EXPECT_FALSE(std::signbit(scalar_product(Vector{-0.0}, v))); // sums start from 0
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
