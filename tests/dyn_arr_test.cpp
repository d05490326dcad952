#include <climits>
#include <cstddef>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/coBufferGuard.h"
#include "platform/coDynArr.h"
#include "platform/coDynArr2D.h"
#include "tests/support/traces.h"

namespace {

static_assert(!std::is_constructible_v<intcoDynArr, enum utConvert, int> && !std::is_copy_constructible_v<intcoDynArr>);

TEST(DynArr, FollowsAModelThatCounts) {
    Choice choose(1);
    for (int increment : {1, 4, 10, 0, -2}) {
        intcoDynArr array(5, increment);
        int capacity = 5, size = 0;
        auto const reach = [&](int slots) {
            while (capacity < slots)
                capacity += std::max(increment, 1);
        };
        for (int step = 0; step < 2000; ++step) {
            int const n = choose(40), old_size = size, cut = n < 9 ? 0 : n - 10, release = choose(2);
            switch (choose(13)) {
            case 0: array.expand(n), reach(n), size = std::max(size, n); break;
            case 1: array.reserve(n), reach(n); break;
            case 2:
                array.shrink(cut, release);
                if (cut < 0) break; // which does nothing
                size = std::min(size, cut);
                if (release) capacity = std::min(capacity, cut);
                break;
            case 3: {
                intcoDynArr other(n + 3, 1 + n % 5);
                for (int i = 0; i < n; ++i)
                    other[i] = i;
                array.become(utCopy, intcoDynArr(utCopy, other)), size = n;
                reach(n); // still by the old increment
                increment = 1 + n % 5;
            } break;
            default: array[size], reach(++size);
            }
            for (int i = old_size; i < array.size(); ++i)
                array[i] = i;
            array.become(utCopy, array);
            ASSERT_EQ(array.size(), size) << "step " << step;
            for (int i = 0; i < size; ++i)
                ASSERT_EQ(array[i], i) << "step " << step;
            ASSERT_EQ(std::tuple(array.capacity(), array.increment(), (array.data() == nullptr)),
                      std::tuple(capacity, increment, (capacity == 0)))
                << "step " << step;
        }
    }
}

TEST(DynArr, FollowsItsFormulaBelowTheCapacityAndHoldsNothingWhileThatIsNegative) {
    struct Array : intcoDynArr {
        using intcoDynArr::intcoDynArr;
        using intcoDynArr::resize;
    } array(10, 4);
    array.expand(10);
    array.resize(3); // 10 + (-7 - -3) + 4
    EXPECT_EQ(array.capacity(), 10);
    array.resize(1); // 10 + (-9 - -1) + 4
    EXPECT_EQ(array.size(), 6);
    intcoDynArr negative(utCopy, intcoDynArr(-5, 1));
    negative.expand(-3);
    EXPECT_EQ(negative.size(), 0);
    negative[0] = 7;
    EXPECT_THROW(negative[INT_MAX], std::bad_alloc);
    EXPECT_EQ(std::tuple(negative.size(), negative[0]), std::tuple(1, 7));
}

TEST(DynArr, AsksForStorageSeldomWhenItGrowsByOneAndGivesItBack) {
    doublecoDynArr array(0, 1);
    coFailStorageAfter(20);
    EXPECT_NO_THROW({
        for (int i = 0; i < 100000; ++i)
            array[i] = i;
        array.shrink(1000, 1);
    });
    coFailStorageAfter(0);
    EXPECT_THROW(array.reserve(3000), std::bad_alloc);
    coFailStorageAfter(-1);
    EXPECT_EQ(array.capacity(), 1000);
    for (int i = 0; i < array.size(); ++i)
        ASSERT_EQ(array[i], i);
}

/// Counts its living objects, of which there can be 12. Can only be moved.
struct Counted {
    Counted() {
        if (++living > 12) throw --living;
    }
    ~Counted() { --living; }
    Counted & operator=(Counted && other) { return value = std::exchange(other.value, -1), *this; }
    int value = 0;
    inline static int living = 0;
};

TEST(DynArr, ConstructsEachSlotMovesWhatCannotBeCopiedAndSurvivesAThrowingElement) {
    {
        coDynArr<Counted> array(2, 2);
        for (int i = 0; i < 5; ++i)
            array[i].value = i;
        EXPECT_EQ(Counted::living, 6);
        EXPECT_THROW(array.reserve(9), int);
        array.shrink(5, 1);
        EXPECT_EQ(Counted::living, 5);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(array[i].value, i);
    }
    EXPECT_EQ(Counted::living, 0);
}

TEST(DynArr2D, KeepsEveryElementInItsPlaceAndNeverShrinks) {
    for (int increment = -1; increment < 10; ++increment) {
        doublecoDynArr2D array(2, 3, increment, 5 - increment);
        array.expand(0, 5);
        EXPECT_EQ(array.rows(), 0);
        for (int n = 0; n < 30; ++n) { // elements in an order that makes either side grow
            array(7 * n % 30, n) = 7 * n % 30 + 100 * n;
            array.expand(n % 4, n % 5);
        }
        EXPECT_EQ(std::tuple(array.rows(), array.cols()), std::tuple(30, 30));
        for (int n = 0; n < 30; ++n)
            EXPECT_EQ(array(7 * n % 30, n), 7 * n % 30 + 100 * n);
    }
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
