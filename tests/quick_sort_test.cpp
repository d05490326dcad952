#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <numeric>

#include <gtest/gtest.h>

#include "maths/containers/mlQuickSortDynArrInt.h"
#include "maths/core/mlRandom.h"
#include "platform/doublecoQuickSortIndex.h"
#include "tests/support/values.h"

namespace {

using Ints = std::vector<int>;

/// Sorts Ints, which grow on access, by the keys that they refer to, and counts the comparisons. It decides a key that
/// is INT_MAX while the sort asks, so that the pivots are as bad as can be.
/// Source: McIlroy, A killer adversary for quicksort (1999).
class CountingSort : public coQuickSort {
public:
    explicit CountingSort(Ints const & given) : keys(given) {}

    int obj_compare(void const * a, void const * b) const override {
        int const x = *static_cast<int const *>(a), y = *static_cast<int const *>(b);
        ++comparisons;
        if (keys[x] == INT_MAX && keys[y] == INT_MAX) keys[x == candidate_ ? x : y] = decided_++;
        if (keys[x] == INT_MAX || keys[y] == INT_MAX) candidate_ = keys[x] == INT_MAX ? x : y;
        return (keys[x] > keys[y]) - (keys[x] < keys[y]);
    }
    void * arr_get(void * array, int i) const override {
        Ints & ints = *static_cast<Ints *>(array);
        if (i >= static_cast<int>(ints.size())) ints.resize(i + 1);
        return &ints[i];
    }
    void arr_swap(void * array, int i, int j) const override {
        std::swap(static_cast<Ints *>(array)->at(i), static_cast<Ints *>(array)->at(j));
    }

    mutable Ints keys;
    mutable long comparisons = 0;

private:
    mutable int candidate_ = 0, decided_ = 0;
};

class QuickSortOfSize : public testing::TestWithParam<int> {};

TEST_P(QuickSortOfSize, TakesAboutNLogNComparisonsForEveryInput) {
    int const n = GetParam();
    mlRandom random(n);
    for (int kind = 0; kind < 7; ++kind) {
        Ints keys(n), all(n);
        for (int i = 0; i < n; ++i) {
            int const noise = static_cast<int>(random.uniform(0.0, 1e9));
            keys[i] = std::array{i, -i, 7, std::min(i, n - i), i % 2, noise, INT_MAX}[kind];
        }
        std::iota(all.begin(), all.end(), 0);
        Ints ints = all;
        CountingSort sorter(keys);
        sorter.sort(&ints, n);
        EXPECT_LE(sorter.comparisons, 5L * n * std::bit_width(static_cast<unsigned>(n))) << "kind " << kind;
        EXPECT_TRUE(
            std::is_sorted(ints.begin(), ints.end(), [&](int x, int y) { return sorter.keys[x] < sorter.keys[y]; }));
        std::sort(ints.begin(), ints.end());
        EXPECT_EQ(ints, all); // still each once
    }
}
INSTANTIATE_TEST_SUITE_P(, QuickSortOfSize, testing::Values(0, 1, 2, 3, 5, 10, 50, 1000, 20000));

TEST(QuickSort, SortsTheFirstObjectsOnlyAndMayExtendTheArray) {
    CountingSort const by_value({0, 1, 2, 3});
    Ints ints{3, 1, 2, 0};
    by_value.sort(&ints, 3);
    EXPECT_EQ(ints, (Ints{1, 2, 3, 0}));
    by_value.sort(&ints, 6);
    EXPECT_EQ(ints, (Ints{0, 0, 0, 1, 2, 3}));
    intcoDynArr array{5, -2, 9, 0};
    mlQuickSortDynArrInt().sort(&array, 4);
    EXPECT_EQ(contents(array), (Ints{-2, 0, 5, 9}));
    mlQuickSortDynArrInt().arr_swap(&array, 0, 6);
    EXPECT_EQ(array.size() + array[6], 7 - 2);
}

TEST(QuickSort, OrdersIndicesByTheirKeysAndEndsWithNaN) {
    mlRandom random(1);
    doublecoPageArr keys;
    intcoPageArr index;
    for (int i = 0; i < 2000; ++i) {
        keys[i] = random.normal();
        index[i] = 1999 - i;
    }
    doublecoQuickSortIndex const sorter(keys, index);
    sorter.sort(&index, 2000);
    for (int i = 1; i < 2000; ++i)
        ASSERT_LE(keys[index[i - 1]], keys[index[i]]);
    for (int i = 0; i < 2000; i += 3)
        keys[i] = nan_value;
    sorter.sort(&index, 2000);
    Ints order = contents(index);
    std::sort(order.begin(), order.end());
    EXPECT_EQ(std::unique(order.begin(), order.end()), order.end()); // still each index once
}

} // namespace
