#include "platform/coDynArr.h"

#include <climits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "maths/core/mlRandom.h"
#include "tests/support/values.h"

namespace {

static_assert(!std::is_constructible_v<intcoDynArr, enum utConvert, int> && !std::is_copy_constructible_v<intcoDynArr>);

/// The growth step that an array is made with.
class GrowingArray : public testing::TestWithParam<int> {};

TEST_P(GrowingArray, FollowsAModelThatCounts) {
    intcoDynArr array(5, GetParam());
    int capacity = 5, increment = GetParam();
    std::vector<int> elements;
    auto const reach = [&](int slots) {
        while (capacity < slots)
            capacity += std::max(increment, 1);
    };
    mlRandom random(1);
    for (int step = 0; step < 2000; ++step) {
        int const n = static_cast<int>(random.uniform(0.0, 40.0)), size = array.size();
        int const action = static_cast<int>(random.uniform(0.0, 14.0));
        if (action == 0) {
            array.expand(n);
            reach(n);
            for (int i = size; i < n; ++i)
                elements.push_back(array[i] = i);
        } else if (action == 1) {
            array.reserve(n);
            reach(n);
        } else if (action < 4) {
            int const cut = n < 9 ? 0 : n - 10; // a negative one does nothing
            array.shrink(cut, step % 2);
            if (cut >= 0 && step % 2 == 1) capacity = std::min(capacity, cut);
            if (cut >= 0 && cut < size) elements.resize(cut);
        } else if (action == 4) {
            intcoDynArr other(n + 3, 1 + n % 5);
            for (int i = 0; i < n; ++i)
                other[i] = -i;
            array.become(utCopy, intcoDynArr(utCopy, other));
            reach(n); // still by the old increment
            increment = 1 + n % 5;
            elements = contents(other);
        } else {
            array[size] = step;
            reach(size + 1);
            elements.push_back(step);
        }
        array.become(utCopy, array);
        ASSERT_EQ(array.capacity(), capacity) << "step " << step;
        ASSERT_EQ(array.increment(), increment);
        ASSERT_EQ(contents(array), elements);
        ASSERT_EQ(array.data() == nullptr, capacity == 0);
    }
}
INSTANTIATE_TEST_SUITE_P(, GrowingArray, testing::Values(1, 4, 10, 0, -2));

TEST(DynArr, ResizeFollowsItsFormulaBelowTheCapacityToo) {
    struct Array : intcoDynArr {
        using intcoDynArr::intcoDynArr;
        using intcoDynArr::resize;
    } array(10, 4);
    for (int i = 0; i < 10; ++i)
        array[i] = i;
    array.resize(3); // 10 + (-7 - -3) + 4
    EXPECT_EQ(array.capacity(), 10);
    array.resize(1); // 10 + (-9 - -1) + 4
    EXPECT_EQ(contents(array), (std::vector{0, 1, 2, 3, 4, 5}));
}

TEST(DynArr, HoldsNothingWhileItsCapacityIsNegative) {
    intcoDynArr array(utCopy, intcoDynArr(-5, 1));
    array.expand(-3);
    EXPECT_EQ(array.size(), 0);
    array[0] = 7;
    EXPECT_THROW(array[INT_MAX], std::bad_alloc);
    EXPECT_EQ(contents(array), std::vector{7});
}

/// Counts its living objects, of which there can be 12. Can only be moved.
struct Counted {
    Counted() {
        if (living == 12) throw std::runtime_error("no more");
        ++living;
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
        EXPECT_THROW(array.reserve(9), std::runtime_error);
        array.shrink(5, 1);
        EXPECT_EQ(Counted::living, 5);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(array[i].value, i);
    }
    EXPECT_EQ(Counted::living, 0);
}

} // namespace
