#include "maths/functions/mlCachedFunctionN.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "maths/functions/mlDomain.h"

namespace {

/// Two functions of two variables that answer which call this is.
struct Counted : mlFunctionN {
    Counted() { input_dimension = output_dimension = 2; }
    void function(mlSlice const & x, mlVector & y) const override {
        int no_orders[] = {0, 0};
        function_derivative(x, no_orders, y);
    }
    void function_gradient(mlSlice const &, mlMatrix &) const override { FAIL() << "never to be called"; }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        mlFunctionN::function_derivative(x, orders, y); // which leaves y as it is
        ++calls;
        if (failing) throw std::bad_alloc();
        y[0] = 10 * calls + orders[0];
        y[1] = 10 * calls + orders[1];
    }
    mutable int calls = 0;
    bool failing = false;
};

struct CachedFunction : testing::Test, Counted {
    /// The call that answered.
    int ask(double first, double second = 0.0) {
        x[0] = first;
        x[1] = second;
        cache.function(x.slice(), y);
        return static_cast<int>(y[0]) / 10;
    }
    mlCachedFunctionN cache{this};
    mlVector x{mlVectorZero, 2}, y{mlVectorZero, 1}; // y is never resized
};

TEST_F(CachedFunction, RemembersTheLastArgumentUntilCancelled) {
    EXPECT_EQ(ask(0.0), 1) << "nothing is known at the start, not even at zero";
    EXPECT_EQ(ask(0.0), 1);
    EXPECT_EQ(ask(0.0, 5.0), 2);
    EXPECT_EQ(ask(0.0), 3) << "one argument at a time";
    cache.cancel_cache();
    EXPECT_EQ(ask(0.0), 4);
    failing = true;
    EXPECT_THROW(ask(1.0), std::bad_alloc);
    failing = false;
    EXPECT_EQ(ask(0.0), 6) << "a call that failed leaves no answer";
    EXPECT_EQ(y.size(), 1);
}

TEST_F(CachedFunction, FindsArgumentsByTheStorageThatSlicesStartFromButNoNaNAndNoEmptyMark) {
    ask(0.0);
    mlVector storage(mlVectorZero, 4);
    storage[3] = 9.0;
    cache.function(storage.slice(2, 1, 2), y);
    EXPECT_EQ(y[0], 10.0) << "start and stride are ignored";
    EXPECT_EQ(ask(mlUnboundedMin), 2);
    EXPECT_EQ(ask(mlUnboundedMin), 3);
    EXPECT_EQ(ask(0.0, std::nan("")), 4);
    EXPECT_EQ(ask(0.0, std::nan("")), 5);
}

TEST_F(CachedFunction, KeepsASlotForEachCombinationOfOrders) {
    for (int call = 0; call < 18; ++call) {
        int const slot = call % 9;
        int orders[] = {slot % 3, slot / 3};
        cache.function_derivative(x.slice(), orders, y);
        EXPECT_EQ(y[0], 10 * (slot + 1) + orders[0]);
    }
    EXPECT_EQ(ask(0.0), 1) << "no order at all is the value";
}

TEST_F(CachedFunction, AssemblesTheJacobianFromFirstDerivatives) {
    mlMatrix jacobian(mlMatrixZero, 3, 3);
    for (int round = 0; round < 2; ++round)
        cache.function_gradient(x.slice(), jacobian);
    double const expected[] = {11, 20, 0, 10, 21, 0, 0, 0, 0}; // call and order; the shape stays
    EXPECT_EQ(jacobian, mlMatrix(utConvert, expected, 3, 3));
    int orders[] = {0, 1};
    cache.function_derivative(x.slice(), orders, y);
    EXPECT_EQ(calls, 2) << "the same slots serve the derivatives";
}

} // namespace
