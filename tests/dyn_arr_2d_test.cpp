#include "platform/coDynArr2D.h"

#include <gtest/gtest.h>

namespace {

TEST(DynArr2D, KeepsEveryElementInItsPlaceAndNeverShrinks) {
    for (int increment = -1; increment < 10; ++increment) {
        doublecoDynArr2D array(2, 3, increment, 5 - increment);
        array.expand(0, 5);
        EXPECT_EQ(array.rows(), 0);
        for (int n = 0; n < 30; ++n) { // elements in an order that makes either side grow
            array(7 * n % 30, n) = 7 * n % 30 + 100 * n;
            array.expand(n % 4, n % 5);
        }
        EXPECT_EQ(array.rows(), 30);
        EXPECT_EQ(array.cols(), 30);
        for (int n = 0; n < 30; ++n)
            EXPECT_EQ(array(7 * n % 30, n), 7 * n % 30 + 100 * n);
    }
}

} // namespace
