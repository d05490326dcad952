#include "platform/coStorage.h"

#include <gtest/gtest.h>

#include "maths/containers/mlTinyVectorcoPageArr.h"
#include "maths/containers/mlVectorcoDynArr.h"
#include "platform/coBufferGuard.h"
#include "tests/support/values.h"

namespace {

/// The operations of arrays, vectors and matrices that allocate.
struct Script {
    void run() {
        v.become(mlVectorZero, 3)[5] = 1.0;
        vectors[3].become(mlVectorZero, 4);
        vectors.shrink(2, 1);
        m.become(mlMatrixHilbert, 3).append_col(Vector{1, 2, 3});
        m.append_row(Vector{1, 2, 3, 4});
        multiply(m, m, m);
        n.become(utCopy, m).expand(5, 6, 1.0);
        mlMatrix const square(mlMatrixProduct, n, mlMatrix(mlMatrixTranspose, n));
        v.become(mlMatrixProduct, n, vectors[4].become(mlVectorZero, 6));
        for (int i = 0; i < 40; ++i)
            pages[i] = i;
        other.become(utCopy, intcoPageArr(utCopy, pages));
        pages.shrink(20, 1);
        other.shrink(3, 1);
        other.repaginate();
    }

    void expect_sound() {
        EXPECT_LE(m.rows() * m.cols(), m.size());
        EXPECT_LE(n.rows() * n.cols(), n.size());
        for (intcoPageArr * array : {&pages, &other}) {
            EXPECT_LE(array->size(), array->blocks() * array->page_size());
            for (int i = 0; i < array->size(); ++i)
                EXPECT_EQ((*array)[i], i);
        }
        run();
    }

    mlVector v;
    mlMatrix m, n;
    mlVectorcoDynArr vectors;
    intcoPageArr pages = intcoPageArr(2, 1, 1), other;
};

TEST(Storage, FailureOfAnyAllocationIsReportedAndLeavesSoundObjects) {
    int failures = 0;
    for (bool failed = true; failed; failures += failed) {
        Script script;
        failed = false;
        coFailStorageAfter(failures);
        try {
            script.run();
        } catch (std::bad_alloc const &) {
            failed = true;
        }
        coFailStorageAfter(-1);
        script.expect_sound();
        ASSERT_LT(failures, 1000);
    }
    EXPECT_GT(failures, 30);
}

TEST(BufferGuard, CopiesInsideItsRunAndNowhereElse) {
    std::vector<int> buffer(5);
    int const source[] = {1, 2, 3, 4, 5};
    int * const run = buffer.data() + 1;
    coBufferGuard<int, 0> const guard(run, 3);
    guard.copy(run - 1, source, 1);
    guard.copy(run + 1, source, 3ull);
    guard.copy(run, source, -1);
    guard.copy(run, nullptr, 1);
    guard.copy(run, source, 3);
    guard.copy(run + 1, run, std::size_t{2}); // in increasing order: the first ripples up
    EXPECT_EQ(buffer, (std::vector{0, 1, 1, 1, 0}));
}

} // namespace
