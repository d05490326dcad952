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

/// Sorts an array of ints by the keys that they refer to and counts the comparisons. Keys start as INT_MAX and are
/// given their values during the comparisons, so that the pivots are as bad as can be.
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
    for (int const n : {0, 1, 2, 3, 5, 50, 20000}) {
        Choice choose(n);
        for (int kind = 0; kind < 6; ++kind) {
            Ints keys(n), sorted(n);
            intcoDynArr ints;
            for (int i = 0; i < n; ++i)
                keys[ints[i] = i] = std::array{i, -i, std::min(i, n - i), i % 2, choose(INT_MAX), INT_MAX}[kind];
            CountingSort const sorter(keys);
            sorter.sort(&ints, n);
            EXPECT_LE(sorter.comparisons, 5L * n * std::bit_width(static_cast<unsigned>(n))) << "kind " << kind;
            std::transform(ints.begin(), ints.end(), sorted.begin(), [&](int i) { return sorter.keys[i]; });
            EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end())) << "kind " << kind;
            EXPECT_EQ(std::set(ints.begin(), ints.end()).size(), keys.size());
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
    sorter.arr_put_copy(&array, 0, &array[1]); // there are no copies
    sorter.obj_destroy(sorter.obj_create_copy(&array[0]));
    array.shrink(4, 0);
    sorter.sort(&array, 3);
    EXPECT_EQ(contents(array), (Ints{INT_MIN, 5, 9, 0}));
    EXPECT_EQ(sorter.asked[0], 2) << "the array is extended before an address is held";
    sorter.arr_swap(&array, 0, 600); // which moves the array
    EXPECT_EQ(array[600], INT_MIN);
}

TEST(QuickSort, OrdersIndicesByTheirKeysAndEndsWithNaN) {
    doublecoPageArr keys{0.5, -3.0, infinity, 0.25, -3.0};
    intcoPageArr index{0, 1, 2, 3};
    doublecoQuickSortIndex const sorter(keys, index);
    sorter.sort(&index, 4);
    EXPECT_EQ(contents(index), (Ints{1, 3, 0, 2}));
    for (int i = 0; i < 7; ++i)
        keys[index[i] = i] = 1.0;
    sorter.sort(&index, 7);
    index.shrink(7, 0);
    EXPECT_EQ(contents(index), (Ints{5, 4, 6, 0, 1, 3, 2})) << "the order of equal ones is not theirs, but always this";
    for (int i = 0; i < 2000; ++i)
        keys[index[i] = i] = i % 3 ? i % 7 : nan_value;
    sorter.sort(&index, 2000);
    Ints const order = contents(index);
    EXPECT_EQ(std::set(order.begin(), order.end()).size(), 2000u) << "still each once";
}

} // namespace
