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
    EXPECT_EQ(printed(mlTinyVector3coDynArr()), "coDynArr {\n  size 0\n}\n");
    mlTinyVector2 const v(mlVectorZero);
    EXPECT_EQ(printed(mlTinyVector2coDynArr{v, v}), "coDynArr {\n  size 2\n  <0,0>\n  <0,0>\n}\n");
    std::ostringstream stream;
    utOstream indenting(stream, 1, 3);
    EXPECT_EQ(&(indenting << mlTinyVector2coPageArr{v}), &indenting);
    EXPECT_EQ(stream.str(), "   coPageArr {\n      size 1\n      <0,0>\n   }\n");
}

/// Two vectors of three ones each.
struct Ones : mlVectorcoDynArr {
    Ones() { (*this)[1].become(mlVectorZero, 3).fill(1.0), (*this)[0].become(mlVectorZero, 3).fill(1.0); }
};

TEST(TypedArrays, VectorsThatLandInFreshSlotsComeOutEmpty) {
    Ones ones, grown, shrunk;
    mlVectorcoDynArr target;
    grown[2].expand(0);
    shrunk.shrink(1, 1);
    target.become(utCopy, ones);
    EXPECT_EQ(grown[0].size() + shrunk[0].size() + target[0].size() + mlVectorcoDynArr(utCopy, ones)[1].size(), 0);
    target[0].become(mlVectorZero, 2); // slots that hold vectors take as many values as those hold
    target.become(utCopy, ones);
    EXPECT_EQ(printed(target), "coDynArr {\n  size 2\n  < 1.000000 1.000000 > \n\n  < > \n\n}\n");
    ones.clear(0);
    EXPECT_EQ(ones[0].size(), 3); // kept slots keep their vectors
}

template <class Array> void expect_visits(Array & array, int n, auto first) {
    typename Array::coIterator iterator(&array);
    EXPECT_EQ((iterator.*first)(), nullptr);
    array[n - 1].fill(0.0);
    int i = 0;
    for (mlTinyVector2 const * v = (iterator.*first)(); v != nullptr; v = iterator.next()) {
        EXPECT_EQ(v, &array[i]);
        EXPECT_EQ(iterator.index(), i++);
    }
    EXPECT_EQ(i, n);
    EXPECT_EQ(iterator.next(), nullptr);
}

TEST(TypedArrays, IteratorsVisitInOrderAndEndWithANullPointer) {
    for (int n : {1, 255, 256, 257, 600}) {
        mlTinyVector2coDynArr array;
        mlTinyVector2coPageArr pages;
        expect_visits(array, n, &mlTinyVector2coDynArrcoIterator::first);
        expect_visits(pages, n, &mlTinyVector2coPageArrcoIterator::do_first);
        mlTinyVector2coDynArrcoIterator iterator(&array);
        EXPECT_EQ(iterator.invariant(), 1);
        array.shrink(n - 1, 0);
        EXPECT_EQ(iterator.invariant(), 0);
    }
}

} // namespace
