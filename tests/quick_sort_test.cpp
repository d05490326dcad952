#include <algorithm>
#include <bit>
#include <numeric>

#include <gtest/gtest.h>

#include "maths/containers/mlQuickSortDynArrInt.h"
#include "maths/core/mlRandom.h"
#include "platform/doublecoQuickSortIndex.h"
#include "tests/support/values.h"

namespace {

using Ints = std::vector<int>;

/// Sorts Ints, which grow on access, and counts the comparisons. `order` may decide which of two ints comes first.
class CountingSort : public coQuickSort {
public:
    int obj_compare(void const * a, void const * b) const override {
        ++comparisons;
        return order(*static_cast<int const *>(a), *static_cast<int const *>(b));
    }
    void * arr_get(void * array, int i) const override {
        Ints & ints = *static_cast<Ints *>(array);
        if (i >= static_cast<int>(ints.size())) ints.resize(i + 1);
        return &ints[i];
    }
    void arr_swap(void * array, int i, int j) const override {
        std::swap(static_cast<Ints *>(array)->at(i), static_cast<Ints *>(array)->at(j));
    }
    virtual int order(int x, int y) const { return x - y; }

    mutable long comparisons = 0;
};

/// Decides the values of the ints, which are indices, while the sort asks, so that its pivots are as bad as can be.
/// Source: McIlroy, A killer adversary for quicksort (1999).
struct Adversary : CountingSort {
    explicit Adversary(int n) : undecided(n), values(n, n) {}

    int order(int x, int y) const override {
        if (values[x] == undecided && values[y] == undecided) values[x == candidate ? x : y] = decided++;
        if (values[x] == undecided)
            candidate = x;
        else if (values[y] == undecided)
            candidate = y;
        return values[x] - values[y];
    }

    int undecided;
    mutable Ints values;
    mutable int candidate = 0, decided = 0;
};

class QuickSortOfSize : public testing::TestWithParam<int> {};

TEST_P(QuickSortOfSize, TakesAboutNLogNComparisonsForEveryInput) {
    int const n = GetParam();
    long const allowed = 5L * n * std::bit_width(static_cast<unsigned>(n));
    mlRandom random(n);
    for (int kind = 0; kind < 6; ++kind) {
        Ints ints(n);
        for (int i = 0; i < n; ++i) {
            int const values[] = {i, -i, 7, std::min(i, n - i), i % 2, static_cast<int>(random.uniform(0.0, 1e9))};
            ints[i] = values[kind];
        }
        Ints expected = ints;
        std::sort(expected.begin(), expected.end());
        CountingSort sorter;
        sorter.sort(&ints, n);
        EXPECT_EQ(ints, expected);
        EXPECT_LE(sorter.comparisons, allowed) << "kind " << kind;
    }
    Ints indices(n);
    std::iota(indices.begin(), indices.end(), 0);
    Adversary const adversary(n);
    adversary.sort(&indices, n);
    EXPECT_LE(adversary.comparisons, allowed);
    EXPECT_TRUE(std::is_sorted(indices.begin(), indices.end(),
                               [&](int x, int y) { return adversary.values[x] < adversary.values[y]; }));
}
INSTANTIATE_TEST_SUITE_P(, QuickSortOfSize, testing::Values(0, 1, 2, 3, 5, 10, 50, 1000, 20000));

TEST(QuickSort, SortsTheFirstObjectsOnlyAndMayExtendTheArray) {
    Ints ints{3, 1, 2, -1};
    CountingSort().sort(&ints, 3);
    EXPECT_EQ(ints, (Ints{1, 2, 3, -1}));
    CountingSort().sort(&ints, 6);
    EXPECT_EQ(ints, (Ints{-1, 0, 0, 1, 2, 3}));
    intcoDynArr array{5, -2, 9, 0};
    mlQuickSortDynArrInt sorter;
    sorter.sort(&array, 4);
    EXPECT_EQ(contents(array), (Ints{-2, 0, 5, 9}));
    sorter.arr_swap(&array, 0, 6);
    EXPECT_EQ(array.size(), 7);
    EXPECT_EQ(array[6], -2);
}

TEST(QuickSort, OrdersIndicesByTheirKeysAndEndsWithNaN) {
    mlRandom random(1);
    for (bool const with_nan : {false, true}) {
        doublecoPageArr keys;
        intcoPageArr index;
        for (int i = 0; i < 2000; ++i) {
            keys[i] = with_nan && i % 3 == 0 ? nan_value : random.normal();
            index[i] = 1999 - i;
        }
        doublecoQuickSortIndex(keys, index).sort(&index, 2000);
        Ints order = contents(index);
        auto const ascending = [&](int a, int b) { return keys[a] < keys[b]; };
        EXPECT_TRUE(with_nan || std::is_sorted(order.begin(), order.end(), ascending));
        std::sort(order.begin(), order.end());
        for (int i = 0; i < 2000; ++i)
            ASSERT_EQ(order[i], i); // still each index once
    }
}

} // namespace
