#include <gtest/gtest.h>

#include "maths/core/mlTinyVector.h"
#include "platform/coPageArr.h"

// Built and run only where the library checks its callers.

TEST(CheckedDeathTest, MisuseStopsWithTheOperationAndItsOperands) {
    mlVector v(mlVectorZero, 3), y;
    mlVector const & fixed = v;
    mlMatrix const m(mlMatrixZero, 2, 4);
    mlMatrix shaped(mlMatrixZero, 2, 4), shapeless;
    mlTinyVector3 tiny(mlVectorZero);
    intcoPageArr pages{1, 2, 3};
    int out[8];
    EXPECT_DEATH(static_cast<void>(fixed[3]), "index 3 of 3");
    EXPECT_DEATH(v.slice(1, 2, 3), "start 1, stride 2, length 3 of 3");
    EXPECT_DEATH(v = m.row(0).slice(0, 1, 2), "3 elements wanted, 2 given");
    EXPECT_DEATH(v += y, "vector sum: 3 elements wanted, 0 given");
    EXPECT_DEATH(m(1, 4), "\\(1, 4\\) of 2 x 4");
    EXPECT_DEATH(shaped(0, 4) = 1.0, "\\(0, 4\\) of 2 x 4");
    EXPECT_DEATH(shaped[8] = 1.0, "element 8 of 8, of a 2 x 4 matrix");
    EXPECT_DEATH(static_cast<void>(m[8]), "element 8 of 8, of a 2 x 4 matrix");
    EXPECT_DEATH(mlMatrix(mlMatrixProduct, m, m), "2 x 4 times 2 x 4");
    EXPECT_DEATH(multiply(m, v, y), "4 elements wanted, 3 given");
    EXPECT_DEATH(tiny[3], "component 3 of 3");
    EXPECT_DEATH(pages.copyout(out, 4, 0, 0), "copyout: 4 elements from 0 on of 3");
    v[5] = 1.0; // growth is no misuse
    v.slice(9, 1, 0);
    shapeless(0, 7) = shapeless[9] = shaped(3, 1) = 1.0;
}
