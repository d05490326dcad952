#include <tuple>

#include <gtest/gtest.h>

#include "maths/containers/mlTinyVectorcoDynArr.h"
#include "maths/containers/mlTinyVectorcoPageArr.h"
#include "maths/containers/mlVectorcoDynArr.h"
#include "tests/support/values.h"

namespace {

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
    target[0].become(mlVectorZero, 2); // a slot that holds a vector takes as many values as that vector has elements
    target.become(utCopy, ones);
    EXPECT_EQ(printed(target), "coDynArr {\n  size 2\n  < 1.000000 1.000000 > \n\n  < > \n\n}\n");
    ones.clear(0);
    target.shrink(1, 1);
    EXPECT_EQ(ones[0].size() + target[0].size(), 3); // kept slots keep their vectors, others hold none
}

TEST(TypedArrays, IteratorsVisitInOrderAndEndWithANullPointer) {
    auto const expect_visits = [](auto && array, auto iterator, auto first) {
        EXPECT_EQ((iterator.*first)(), nullptr);
        array[256].fill(0.0);
        int i = 0;
        for (mlTinyVector2 const * v = (iterator.*first)(); v != nullptr; v = iterator.next(), ++i)
            EXPECT_EQ(std::tuple(v, iterator.index()), std::tuple(&array[i], i));
        EXPECT_EQ(std::tuple(i, iterator.next()), std::tuple(257, nullptr));
        array.shrink(1, 1);
        EXPECT_EQ(iterator.invariant(), 0);
        iterator.reset();
        EXPECT_EQ(iterator.invariant(), 1);
        for ((iterator.*first)(); iterator.next() != nullptr;)
            EXPECT_EQ(iterator.invariant(), 1);
    };
    mlTinyVector2coDynArr row;
    mlTinyVector2coPageArr pages;
    expect_visits(row, mlTinyVector2coDynArrcoIterator(&row), &mlTinyVector2coDynArrcoIterator::first);
    expect_visits(pages, mlTinyVector2coPageArrcoIterator(&pages), &mlTinyVector2coPageArrcoIterator::first);
    pages.clear(0);
    expect_visits(pages, mlTinyVector2coPageArrcoIterator(&pages), &mlTinyVector2coPageArrcoIterator::do_first);
    mlTinyVector2coPageArrcoIterator const iterator(&pages);
    pages.repaginate();
    EXPECT_EQ(iterator.invariant(), 0) << "of other pages";
}

} // namespace
