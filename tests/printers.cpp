#include "maths/maths.h"

// Objects for a debugger to show. The comment after each definition has what it must print.

void stop_here(mlSlice const &, mlSlice const &) {}

int main() {
    mlVector vector{1, 2, 3};                   //= vector of 3 = {1, 2, 3}
    mlVector nothing;                           //= vector of 0
    mlMatrix matrix{{1, 2, 3}, {4, 5, 6}};      //= matrix of 2 x 3 = {{1, 2, 3}, {4, 5, 6}}
    mlMatrix const no_cols(mlMatrixZero, 2, 0); //= matrix of 2 x 0
    mlSlice col = matrix.col(1);                //= slice of 2, start 1, stride 3 = {2, 5}
    mlSlice backwards = vector.slice(2, -1, 3); //= slice of 3, start 2, stride -1 = {3, 2, 1}
    mlTinyVector3 tiny;                         //= vector of 3 = {4, 5, 6}
    tiny = matrix.row(1);

    intcoDynArr ints(4, 1); //= array of 2, room for 4 = {7, 8}
    ints[0] = 7;
    ints[1] = 8;
    mlVectorcoDynArr vectors; //= array of 2 = {vector of 0, vector of 1 = {9}}
    vectors[1].become(mlVectorZero, 1).fill(9.0);
    doublecoDynArr2D table(1, 2, 1, 1); //= array of 1 x 2 = {{1, 2}}
    table(0, 0) = 1.0;
    table(0, 1) = 2.0;
    intcoPageArr paged(1, 1, 1); //= paged array of 3, 2 pages of 2 = {10, 11, 12}
    for (int i = 0; i < 3; ++i)
        paged[i] = 10 + i;

    mlSparseElement element(3, 2.5); //= [3] = 2.5
    mlSparseRow row;                 //= sparse row of 2 = {[1] = 0.5, [40] = -2}
    row.append_element(1, 0.5);
    row.append_element(40, -2.0);
    mlSparseMatrix all(mlMatrixZero, 2, 9); //= sparse matrix of 2 x 9 = {sparse row of 0, sparse row of 1 = {[7] = 3}}
    all.set(1, 7, 3.0);
    mlSparseSymMatrix symmetric(mlMatrixZero, 1); //= sparse matrix of 1 x 1 = {sparse row of 1 = {[0] = 3}}
    symmetric.set(0, 0, 3.0);

    stop_here(col, backwards); // GCC warns of what is never used
}
