#include <bit>
#include <numeric>
#include <set>

#include "tests/support/test.h"
#include "tests/support/traces.h"

namespace {

static_assert(!std::is_constructible_v<intcoDynArr, enum utConvert, int> && !std::is_copy_constructible_v<intcoDynArr>);
static_assert(!std::is_constructible_v<intcoPageArr, enum utConvert, int, int>);

using Ints = std::vector<int>;

/// 0, 1, ... n - 1
Ints counting(int n) {
    Ints values(n);
    std::iota(values.begin(), values.end(), 0);
    return values;
}

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
            int const n = choose(40), old_size = size, operation = choose(13);
            if (operation == 0) {
                array.expand(n);
                size = std::max(size, n);
                reach(n);
            } else if (operation == 1) {
                array.reserve(n);
                reach(n);
            } else if (operation == 2) {
                int const cut = n < 9 ? 0 : n - 10, release = choose(2); // below 0 nothing is cut
                array.shrink(cut, release);
                if (cut >= 0) size = std::min(size, cut);
                if (cut >= 0 && release) capacity = std::min(capacity, cut);
            } else if (operation == 3) {
                intcoDynArr other(n + 3, 1 + n % 5);
                for (int i = 0; i < n; ++i)
                    other[i] = i;
                array.become(utCopy, intcoDynArr(utCopy, other));
                size = n;
                reach(n); // still by the old increment
                increment = 1 + n % 5;
            } else {
                array[size] = size;
                reach(++size);
            }
            for (int i = old_size; i < array.size(); ++i)
                array[i] = i;
            array.become(utCopy, array);
            ASSERT_EQ(contents(array), counting(size)) << "step " << step;
            ASSERT_EQ(std::tuple(array.capacity(), array.increment(), array.data() == nullptr),
                      std::tuple(capacity, increment, capacity == 0))
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
    EXPECT_EQ(contents(negative), std::vector{7});
}

TEST(DynArr, AsksForStorageSeldomWhenItGrowsByOneAndGivesItBack) {
    intcoDynArr array(0, 1);
    coFailStorageAfter(20);
    EXPECT_NO_THROW({
        for (int i = 0; i < 200000; ++i)
            array[i] = i;
        array.shrink(1000, 1);
    });
    coFailStorageAfter(0);
    EXPECT_THROW(array.reserve(3000), std::bad_alloc);
    coFailStorageAfter(-1);
    EXPECT_EQ(std::tuple(array.capacity(), contents(array)), std::tuple(1000, counting(1000)));
}

/// Counts its living objects, of which there can be 12. Can only be moved.
struct Counted {
    Counted() {
        if (++living > 12) throw --living;
    }
    ~Counted() { --living; }
    Counted & operator=(Counted && other) {
        value = std::exchange(other.value, -1);
        return *this;
    }
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

TEST(PageArr, FollowsAModelAcrossPagesOverItselfAndWithAsFewPagesAsItNeeds) {
    Choice below(11);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        int const shift = below(6), n = 1 + below(40), first = below(n), count = 1 + below(n - first);
        int const target = below(n + 1), kept = below(20), release = below(2);
        auto const pages = [shift](int slots) { return (slots + (1 << shift) - 1) >> shift; };
        intcoPageArr array(shift, 0, 1), source{7, 8, 9};
        Ints model = counting(n), run(count + 3);
        array.copyin(model.data(), n - first, first, first);
        int const * const start = &array[0];
        array.copyin(model.data(), first, 0, 0);
        array.copyout(run.data(), count, first, 3);
        array.copy(array, count, target, first);
        EXPECT_EQ(&array[0], start) << "elements stay where they are";
        model.resize(std::max(n, target + count));
        std::copy(run.begin() + 3, run.end(), model.begin() + target);
        ASSERT_EQ(contents(array), model) << count << " from " << first << " to " << target;
        array.reverse();
        std::reverse(model.begin(), model.end());
        array.copy(source, 50, 1, 0); // no more than the source has
        model.resize(std::max<std::size_t>(model.size(), 4));
        std::iota(model.begin() + 1, model.begin() + 4, 7);
        source.become(utCopy, source.become(utCopy, array));
        ASSERT_EQ(contents(source), model);

        int const size = std::min<int>(kept, model.size()), made = array.blocks();
        array.shrink(kept > 0 ? kept : INT_MIN, release);
        model.resize(size);
        EXPECT_EQ(std::tuple(contents(array), array.blocks()),
                  std::tuple(model, release ? std::min(made, pages(kept)) : made));
        int const slots = array.blocks() << shift, saved = array.repaginate(), page = array.page_size();
        if (size >= 1 << shift)
            EXPECT_EQ(std::tuple(page, saved), std::tuple(1 << shift, 0));
        else // the smallest page that holds them
            EXPECT_EQ(std::tuple(page, saved, array.blocks()),
                      size == 0 ? std::tuple(1 << shift, slots, 0)
                                : std::tuple(int(std::bit_ceil(0u + size)), slots - page, 1));
        EXPECT_EQ(std::tuple(contents(array), 1 << array.page_shift()), std::tuple(model, page));
        source.clear(1);
        source.copyin(nullptr, 0, kept, 0); // nothing is copied, yet the array is extended up to there
        EXPECT_EQ(std::tuple(source.size(), source.blocks()), std::tuple(kept, pages(kept)));
    }
}

TEST(BufferGuard, CopiesInsideItsRunAndNowhereElse) {
    Ints buffer(5);
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

TEST(TypedArrays, VectorsThatLandInFreshSlotsComeOutEmpty) {
    mlVectorcoDynArr ones, target;
    ones.expand(2);
    for (mlVector & v : ones)
        v.become(mlVectorZero, 3).fill(1.0);
    target.become(utCopy, ones);
    EXPECT_EQ(target[0].size() + mlVectorcoDynArr(utCopy, ones)[1].size(), 0);
    target[0].become(mlVectorZero, 2); // a slot that holds a vector takes as many values as that vector has elements
    target.become(utCopy, ones);
    EXPECT_EQ(printed(target), "coDynArr {\n  size 2\n  < 1.000000 1.000000 > \n\n  < > \n\n}\n");
    ones.clear(0);
    target.shrink(1, 1);
    EXPECT_EQ(ones[0].size() + target[0].size(), 3); // kept slots keep their vectors, others hold none
}

TEST(TypedArrays, IteratorsVisitInOrderAndEndWithANullPointer) {
    auto const expect_visits = [](auto && array, auto iterator) {
        EXPECT_EQ(iterator.first(), nullptr);
        array[256].fill(0.0);
        int i = 0;
        for (mlTinyVector2 const * v = iterator.first(); v != nullptr; v = iterator.next()) {
            EXPECT_EQ(std::tuple(v, iterator.index(), iterator.invariant()), std::tuple(&array[i], i, 1));
            ++i;
        }
        EXPECT_EQ(std::tuple(i, iterator.next()), std::tuple(257, nullptr));
        array.shrink(1, 1);
        EXPECT_EQ(iterator.invariant(), 0);
        iterator.reset();
        EXPECT_EQ(iterator.invariant(), 1);
    };
    mlTinyVector2coDynArr row;
    mlTinyVector2coPageArr pages;
    expect_visits(row, mlTinyVector2coDynArrcoIterator(&row));
    expect_visits(pages, mlTinyVector2coPageArrcoIterator(&pages));
    mlTinyVector2coPageArrcoIterator const iterator(&pages);
    pages.repaginate();
    EXPECT_EQ(iterator.invariant(), 0) << "of other pages";
}

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
            SCOPED_TRACE(testing::Message() << "n = " << n << ", kind " << kind);
            Ints keys(n);
            intcoDynArr ints;
            for (int i = 0; i < n; ++i)
                keys[ints[i] = i] = std::array{i, -i, std::min(i, n - i), i % 2, choose(INT_MAX), INT_MAX}[kind];
            CountingSort const sorter(keys);
            sorter.sort(&ints, n);
            EXPECT_LE(sorter.comparisons, 5L * n * std::bit_width(static_cast<unsigned>(n)));
            EXPECT_TRUE(std::ranges::is_sorted(ints, {}, [&](int i) { return sorter.keys[i]; }));
            EXPECT_EQ(std::set(ints.begin(), ints.end()).size(), keys.size());
        }
    }
}

TEST(QuickSort, SortsTheFirstObjectsOnlyAndMayExtendTheArray) {
    struct : mlQuickSortDynArrInt {
        void * arr_get(void * array, int i) const override {
            asked.push_back(i);
            return mlQuickSortDynArrInt::arr_get(array, i);
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
    for (int i = 0; i < 2000; ++i)
        keys[index[i] = i] = i % 3 ? i % 7 : nan_value;
    sorter.sort(&index, 2000);
    Ints const order = contents(index);
    EXPECT_EQ(std::set(order.begin(), order.end()).size(), 2000u) << "still each once";
    EXPECT_EQ(std::inner_product(order.begin(), order.end(), counting(2000).begin(), 0LL), 1574096943)
        << "the order of equal ones is not theirs, but always the same";
}

} // namespace
