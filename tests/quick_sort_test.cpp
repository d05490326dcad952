#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <set>

#include <gtest/gtest.h>

#include "maths/containers/mlQuickSortDynArrInt.h"
#include "platform/doublecoQuickSortIndex.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

using Ints = std::vector<int>;

/// Sorts an array of ints by the keys that they refer to and counts the comparisons. It decides a key that is INT_MAX
/// while the sort asks, so that the pivots are as bad as can be.
/// Source: McIlroy, A killer adversary for quicksort (1999).
struct CountingSort : mlQuickSortDynArrInt {
    explicit CountingSort(Ints const & given) : keys(given) {}

    int obj_compare(void const * a, void const * b) const override {
        int const x = *static_cast<int const *>(a), y = *static_cast<int const *>(b);
        ++comparisons;
        if (keys[x] == INT_MAX && keys[y] == INT_MAX) keys[x == candidate ? x : y] = decided++;
        if (keys[x] == INT_MAX || keys[y] == INT_MAX) candidate = keys[x] == INT_MAX ? x : y;
        return mlQuickSortDynArrInt::obj_compare(&keys[x], &keys[y]);
    }

    mutable Ints keys;
    mutable long comparisons = 0;
    mutable int candidate = 0, decided = 0;
};

TEST(QuickSort, TakesAboutNLogNComparisonsForEveryInput) {
    for (int const n : {0, 1, 2, 3, 5, 10, 50, 1000, 20000}) {
        Choice choose(n);
        for (int kind = 0; kind < 7; ++kind) {
            Ints keys(n);
            intcoDynArr ints;
            for (int i = 0; i < n; ++i)
                keys[ints[i] = i] = std::array{i, -i, 7, std::min(i, n - i), i % 2, choose(INT_MAX), INT_MAX}[kind];
            CountingSort const sorter(keys);
            sorter.sort(&ints, n);
            EXPECT_LE(sorter.comparisons, 5L * n * std::bit_width(static_cast<unsigned>(n))) << "kind " << kind;
            for (int i = 1; i < n; ++i)
                ASSERT_LE(sorter.keys[ints[i - 1]], sorter.keys[ints[i]]) << "kind " << kind;
            std::sort(ints.begin(), ints.end());
            for (int i = 0; i < n; ++i)
                ASSERT_EQ(ints[i], i) << "still each once";
        }
    }
}

TEST(QuickSort, SortsTheFirstObjectsOnlyAndMayExtendTheArray) {
    struct : mlQuickSortDynArrInt {
        void * arr_get(void * array, int i) const override {
            return asked.push_back(i), mlQuickSortDynArrInt::arr_get(array, i);
        }
        mutable Ints asked;
    } sorter;
    intcoDynArr array{5, 9, INT_MIN, 0, 7, 7};
    array.shrink(4, 0);
    sorter.sort(&array, 3);
    EXPECT_EQ(contents(array), (Ints{INT_MIN, 5, 9, 0}));
    EXPECT_EQ(sorter.asked[0], 2) << "the array is extended before an address is held";
    sorter.sort(&array, 6);
    EXPECT_EQ(contents(array), (Ints{INT_MIN, 0, 5, 7, 7, 9}));
    sorter.arr_swap(&array, 0, 600); // which moves the array
    EXPECT_EQ(array[600], INT_MIN);
}

TEST(QuickSort, OrdersIndicesByTheirKeysAndEndsWithNaN) {
    Choice choose(1);
    doublecoPageArr keys;
    intcoPageArr index;
    doublecoQuickSortIndex const sorter(keys, index);
    for (int i = 0; i < 2000; ++i)
        keys[index[i] = i] = choose(1000);
    sorter.sort(&index, 2000);
    for (int i = 1; i < 2000; ++i)
        ASSERT_LE(keys[index[i - 1]], keys[index[i]]);
    for (int i = 0; i < 2000; i += 3)
        keys[i] = nan_value;
    sorter.sort(&index, 2000);
    Ints const order = contents(index);
    EXPECT_EQ(std::set(order.begin(), order.end()).size(), 2000u); // still each index once
}

} // namespace
