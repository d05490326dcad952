#include "maths/functions/mlCachedFunctionN.h"

#include <array>

#include <gtest/gtest.h>

#include "maths/functions/mlDomain.h"
#include "tests/support/values.h"

namespace {

/// Two functions of two variables that answer ten times which call this is, and the orders.
struct Counted : mlFunctionN {
    Counted() { input_dimension = output_dimension = 2; }
    void function(mlSlice const & at, mlVector & y) const override {
        function_derivative(at, std::array{0, 0}.data(), y);
    }
    void function_gradient(mlSlice const &, mlMatrix &) const override { FAIL() << "never to be called"; }
    void function_derivative(mlSlice const & at, int * const orders, mlVector & y) const override {
        mlFunctionN::function_derivative(at, orders, y); // which leaves the answer as it is
        ++calls;
        if (at[0] == 13.0) throw std::bad_alloc();
        y.become(utConvert, Values{10.0 * calls + orders[0], 10.0 * calls + orders[1]}.data(), 2);
    }
    mutable int calls = 0;
};

struct CachedFunction : testing::Test, Counted {
    /// The call that answered.
    int ask(double first, double second = 0.0) {
        cache.function(Vector{first, second}.slice(), y);
        return static_cast<int>(y[0]) / 10;
    }
    mlCachedFunctionN cache{this};
    Vector y{0}; // never resized
};

TEST_F(CachedFunction, RemembersTheLastArgumentUntilCancelledButNoNaNAndNoEmptyMark) {
    EXPECT_EQ(ask(0.0), 1) << "nothing is known at the start, not even at zero";
    EXPECT_EQ(ask(0.0, 5.0), 2);
    EXPECT_EQ(ask(0.0), 3) << "one argument at a time";
    cache.function(Vector{0, 0, 0, 9}.slice(2, 1, 2), y);
    EXPECT_EQ(y[0], 30.0) << "arguments are told apart from the storage's beginning: start and stride are ignored";
    cache.cancel_cache();
    EXPECT_EQ(ask(0.0), 4);
    EXPECT_THROW(ask(13.0), std::bad_alloc);
    EXPECT_EQ(ask(0.0), 6) << "a call that failed leaves no answer";
    EXPECT_EQ(ask(mlUnboundedMin) + ask(mlUnboundedMin), 7 + 8);
    EXPECT_EQ(ask(0.0, nan_value) + ask(0.0, nan_value), 9 + 10);
    EXPECT_EQ(y.size(), 1);
}

TEST_F(CachedFunction, KeepsASlotForEachCombinationOfOrdersWhichServesTheJacobianToo) {
    Vector const zero{0, 0};
    for (int call = 0; call < 18; ++call) {
        int const slot = call % 9;
        int orders[] = {slot % 3, slot / 3};
        cache.function_derivative(zero.slice(), orders, y);
        EXPECT_EQ(y[0], 10 * (slot + 1) + orders[0]);
    }
    EXPECT_EQ(ask(0.0), 1) << "no order at all is the value";
    mlMatrix jacobian(mlMatrixZero, 3, 3);
    cache.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(contents(jacobian), (Values{21, 40, 0, 20, 41, 0, 0, 0, 0})); // the shape stays
    cache.cancel_cache();
    cache.function_gradient(zero.slice(), jacobian);
    EXPECT_EQ(calls, 11);
}

} // namespace
