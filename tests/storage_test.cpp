#include "platform/coStorage.h"

#include <gtest/gtest.h>

#include "maths/core/mlMatrix.h"
#include "platform/coBufferGuard.h"
#include "platform/coPageArr.h"
#include "tests/support/values.h"

namespace {

/// Operations that could leave an object at odds with its storage when an allocation fails.
struct Script {
    void run() {
        m.become(mlMatrixHilbert, 3).append_col(Vector{1, 2, 3});
        m.append_row(Vector{1, 2, 3, 4});
        multiply(m, m, m);
        m.expand(5, 6, 1.0);
        for (int i = 0; i < 40; ++i)
            pages[i] = i;
        other.become(utCopy, pages);
        pages.shrink(20, 1);
        other.shrink(3, 1);
        other.repaginate();
    }
    mlMatrix m;
    intcoPageArr pages = intcoPageArr(2, 1, 1), other;
};

TEST(Storage, FailureOfAnyAllocationLeavesSoundObjects) {
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
        EXPECT_LE(script.m.rows() * script.m.cols(), script.m.size());
        for (intcoPageArr * array : {&script.pages, &script.other}) {
            ASSERT_LE(array->size(), array->blocks() * array->page_size());
            for (int i = 0; i < array->size(); ++i)
                EXPECT_EQ((*array)[i], i);
        }
        script.run();
    }
    EXPECT_GT(failures, 20);
}

TEST(BufferGuard, CopiesInsideItsRunAndNowhereElse) {
    Values buffer(5);
    double const source[] = {1, 2, 3, 4, 5};
    double * const run = buffer.data() + 1;
    coBufferGuard<double, 0> const guard(run, 3);
    guard.copy(run - 1, source, 1);
    guard.copy(run + 1, source, 3ull);
    guard.copy(run, source, -1);
    guard.copy(run, nullptr, 1);
    guard.copy(run, source, 3);
    guard.copy(run + 1, run, std::size_t{2}); // in increasing order: the first ripples up
    EXPECT_EQ(buffer, (Values{0, 1, 1, 1, 0}));
}

} // namespace
