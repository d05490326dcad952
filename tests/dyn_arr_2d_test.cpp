#include "platform/coDynArr2D.h"

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"

namespace {

TEST(DynArr2D, KeepsEveryElementInItsPlaceAndNeverShrinks) {
    mlRandom random(1);
    for (int increment = -1; increment < 10; ++increment) {
        doublecoDynArr2D array(2, 3, increment, 5 - increment);
        int rows = 0, cols = 0;
        for (int step = 0; step < 30; ++step) {
            int const r = static_cast<int>(random.uniform(0.0, 2.0 * step));
            int const c = static_cast<int>(random.uniform(0.0, 2.0 * step));
            step % 2 == 0 ? array(r, c) = array.expand(r + 1, c + 1) : array(r, c) = 0.0;
            for (int i = 0; i < std::max(rows, r + 1); ++i) {
                for (int j = 0; j < std::max(cols, c + 1); ++j) {
                    bool const kept = i < rows && j < cols && !(i == r && j == c);
                    ASSERT_TRUE(!kept || array(i, j) == 100 * i + j);
                    array(i, j) = 100 * i + j;
                }
            }
            ASSERT_EQ(array.rows(), rows = std::max(rows, r + 1));
            ASSERT_EQ(array.cols(), cols = std::max(cols, c + 1));
        }
    }
}

} // namespace
