#include "platform/coBufferGuard.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

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
