#include <type_traits>

#include <gtest/gtest.h>

#include "maths/maths.h"

// What keeps a reference to an argument, and uses it later, takes no temporary for it.

namespace {

template <class T, class Kept, class... Rest>
constexpr bool refuses_a_temporary =
    std::is_constructible_v<T, Kept &, Rest...> && std::is_constructible_v<T, Kept const &, Rest...> &&
    !std::is_constructible_v<T, Kept, Rest...> && !std::is_constructible_v<T, Kept const, Rest...>;

struct Function : mlFunction {};

TEST(Temporaries, AreRefusedByWhatWouldOutliveThem) {
    EXPECT_TRUE((refuses_a_temporary<mlLUDecomposition, mlMatrix>));
    EXPECT_TRUE((refuses_a_temporary<mlMatrixOperator, mlMatrix>));
    EXPECT_TRUE((refuses_a_temporary<mlSymEigenVecs, mlMatrix>));
    EXPECT_TRUE((refuses_a_temporary<mlATAEigenVecs, mlMatrix>));
    EXPECT_TRUE((refuses_a_temporary<mlAsymEigenVecs2, mlMatrix>));
    EXPECT_TRUE((refuses_a_temporary<mlAsymEigenVecs3, mlMatrix>));
    EXPECT_TRUE((refuses_a_temporary<mlFunctionApproxDeriv, Function, double>));
    EXPECT_TRUE((refuses_a_temporary<mlFunction2ApproxUDeriv, mlFunction2, double>));
    EXPECT_TRUE((refuses_a_temporary<mlFunction2ApproxVDeriv, mlFunction2, double>));
    EXPECT_TRUE((refuses_a_temporary<mlMinimiser, Function, double, double, double, double>));
    EXPECT_TRUE((refuses_a_temporary<mlMinimiser2, mlFunction2, double, double, double>));
    EXPECT_TRUE((refuses_a_temporary<mlVectorMinimiser2, mlFunctionN, double, double, double>));
    EXPECT_TRUE((refuses_a_temporary<mlLineOnFunctionN1, mlVector, mlVector &, mlFunctionN1 *>));
    EXPECT_FALSE((std::is_constructible_v<mlLineOnFunctionN1, mlVector &, mlVector, mlFunctionN1 *>));
    EXPECT_FALSE((std::is_constructible_v<mlLineOnFunctionN1, mlVector, mlVector, mlFunctionN1 *>));
    EXPECT_FALSE((std::is_constructible_v<mlLevenbergMarquardt, mlDistanceLeastSquares>));
    EXPECT_TRUE((std::is_constructible_v<mlCholeskyDecomposition, mlMatrix>)) << "copies what it is given";
}

TEST(ConstSlices, AreNotCopiedToWritableOnesByAConstructor) {
    using View = decltype(std::declval<mlMatrix const &>().row(0));
    static_assert(std::is_same_v<View, mlSlice const>);
    EXPECT_FALSE((std::is_constructible_v<mlSlice, View>));
    EXPECT_TRUE((std::is_constructible_v<mlSlice, View &> && std::is_constructible_v<mlSlice, mlSlice>));
    EXPECT_TRUE((std::is_convertible_v<View, View>)) << "a function may return one";
}

} // namespace
