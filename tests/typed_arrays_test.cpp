#include <gtest/gtest.h>

#include "maths/containers/mlTinyVectorcoDynArr.h"
#include "maths/containers/mlTinyVectorcoPageArr.h"
#include "maths/containers/mlVectorcoDynArr.h"
#include "tests/support/printed.h"

namespace {

template <class Stream, class T>
concept PrintsTo = requires(Stream & stream, T const & object) {
    stream << object;
};

static_assert(PrintsTo<utOstream, mlVectorcoDynArr> && PrintsTo<std::ostream, mlTinyVector6coPageArr>);
static_assert(!PrintsTo<std::ostream, doublecoDynArr> && !PrintsTo<utOstream, mlMatrix>);

TEST(TypedArrays, PrintAnIndentedFrame) {
    std::ostringstream stream;
    utOstream indenting(stream, 1, 3);
    mlTinyVector2 const v(mlVectorZero);
    stream << mlTinyVector2coDynArr{v, v};
    EXPECT_EQ(&(indenting << mlTinyVector2coPageArr{v} << mlVectorcoDynArr()), &indenting);
    EXPECT_EQ(stream.str(), "coDynArr {\n  size 2\n  <0,0>\n  <0,0>\n}\n"
                            "   coPageArr {\n      size 1\n      <0,0>\n   }\n   coDynArr {\n      size 0\n   }\n");
}

TEST(TypedArrays, VectorsThatLandInFreshSlotsComeOutEmpty) {
    mlVectorcoDynArr ones, target;
    ones.expand(2);
    for (mlVector & v : ones)
        v.become(mlVectorZero, 3).fill(1.0);
    target.become(utCopy, ones);
    EXPECT_EQ(target[0].size() + mlVectorcoDynArr(utCopy, ones)[1].size(), 0);
    target[0].become(mlVectorZero, 2); // slots that hold vectors take as many values as those hold
    target.become(utCopy, ones);
    EXPECT_EQ(printed(target), "coDynArr {\n  size 2\n  < 1.000000 1.000000 > \n\n  < > \n\n}\n");
    ones.clear(0);
    target.shrink(1, 1);
    EXPECT_EQ(ones[0].size() + target[0].size(), 3); // kept slots keep their vectors, others hold none
}

template <class Array> void expect_visits(int n, auto first) {
    Array array;
    typename Array::coIterator iterator(&array);
    EXPECT_EQ((iterator.*first)(), nullptr);
    array[n - 1].fill(0.0);
    int i = 0;
    for (mlTinyVector2 const * v = (iterator.*first)(); v != nullptr; v = iterator.next(), ++i)
        EXPECT_TRUE(v == &array[i] && iterator.index() == i);
    EXPECT_EQ(i, n);
    EXPECT_EQ(iterator.next(), nullptr);
}

TEST(TypedArrays, IteratorsVisitInOrderAndEndWithANullPointer) {
    for (int n : {1, 256, 257}) {
        expect_visits<mlTinyVector2coDynArr>(n, &mlTinyVector2coDynArrcoIterator::first);
        expect_visits<mlTinyVector2coPageArr>(n, &mlTinyVector2coPageArrcoIterator::do_first);
    }
    intcoDynArr array{1, 2};
    coDynArrcoIterator<int> const iterator(&array);
    EXPECT_EQ(iterator.invariant(), 1);
    array.shrink(1, 0);
    EXPECT_EQ(iterator.invariant(), 0);
}

} // namespace
