#include "platform/coPageArr.h"

#include <numeric>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

static_assert(!std::is_constructible_v<intcoPageArr, enum utConvert, int, int>);

std::vector<int> counting(int n) {
    std::vector<int> values(n);
    std::iota(values.begin(), values.end(), 0);
    return values;
}

TEST(PageArr, KeepsElementsInPlaceAndTakesOnlyThePagesThatTheyNeed) {
    intcoPageArr array(2, 1, 0), other{1, 2, 3};
    int const * const first = &array[0];
    array.copyin(counting(40).data(), 40, 0, 0);
    array.shrink(8, 0);
    EXPECT_EQ(std::tuple(&array[0], array.blocks()), std::tuple(first, 10));
    other.become(utCopy, other.become(utCopy, array));
    EXPECT_EQ(contents(intcoPageArr(utCopy, other)), counting(8));
    EXPECT_EQ(other.blocks(), 2); // both full
    array.shrink(20, 1);
    EXPECT_EQ(std::tuple(array.size(), array.blocks()), std::tuple(8, 5));
    array.clear(1);
    array.copyin(nullptr, 0, 6, 0); // nothing is copied, yet the array is extended up to there
    EXPECT_EQ(std::tuple(array.size(), array.blocks()), std::tuple(6, 2));
}

TEST(PageArr, TransfersRunsAcrossPagesAndOverThemselves) {
    Choice below(11);
    for (int trial = 0; trial < 300; ++trial) {
        int const n = 1 + below(40), first = below(n), count = 1 + below(n - first), target = below(n + 1);
        intcoPageArr array(below(4), 0, 1), source{7, 8, 9};
        std::vector<int> model = counting(n), run(count + 3);
        array.copyin(model.data(), n - first, first, first);
        array.copyin(model.data(), first, 0, 0);
        array.copyout(run.data(), count, first, 3);
        array.copy(array, count, target, first);
        model.resize(std::max(n, target + count));
        std::copy(run.begin() + 3, run.end(), model.begin() + target);
        ASSERT_EQ(contents(array), model) << count << " from " << first << " to " << target;
        array.reverse();
        std::reverse(model.begin(), model.end());
        array.copy(source, 50, 1, 0); // no more than the source has
        model.resize(std::max<std::size_t>(model.size(), 4));
        std::iota(model.begin() + 1, model.begin() + 4, 7);
        ASSERT_EQ(contents(array), model);
    }
}

TEST(PageArr, RepaginatesAShortArrayIntoTheSmallestPage) {
    int const cases[][5] = {// size, pages, then slots saved, the size of a page and the pages left
                            {3, 1, 252, 4, 1},     {4, 3, 764, 4, 1},   {5, 1, 248, 8, 1},
                            {200, 2, 256, 256, 1}, {256, 2, 0, 256, 2}, {0, 2, 512, 256, 0}};
    for (auto const & [size, blocks, saved, page_size, blocks_left] : cases) {
        intcoPageArr array;
        array.copyin(counting(256 * blocks).data(), 256 * blocks, 0, 0);
        array.shrink(size, 0);
        EXPECT_EQ(array.repaginate(), saved) << size << " in " << blocks << " pages";
        EXPECT_TRUE(array.page_size() == page_size && 1 << array.page_shift() == page_size);
        EXPECT_EQ(std::tuple(array.blocks(), contents(array)), std::tuple(blocks_left, counting(size)));
    }
}

} // namespace
