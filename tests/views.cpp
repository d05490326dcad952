#include "maths/maths.h"

// A program that calls no function whose result a debugger is asked for: they are inline, and it has no code of them.
// Each comment with an expression has what gdb must print for it.

void stop_here(void const *) {}

int main() {
    mlMatrix m{{1, 2, 3}, {4, 5, 6}};
    mlVector v{7, 8, 9};
    mlSlice s(m.data(), 3, 3, 1);
    mlTinyVector2 tiny(mlVectorZero);
    mlTinyVector2coPageArr pages{tiny, tiny, tiny};
    doublecoDynArr2D table(2, 3, 1, 1);
    table.expand(1, 1);
    // m.row(1)                          //= slice of 3, start 3, stride 1 = {4, 5, 6}
    // m.col(2)                          //= slice of 2, start 2, stride 3 = {3, 6}
    // m.diagonal()                      //= slice of 2, start 0, stride 4 = {1, 5}
    // m.rows() * 10 + m.cols()          //= 23
    // m.operator()(1, 2) + m[0]         //= 7
    // v.slice()                         //= slice of 3, start 0, stride 1 = {7, 8, 9}
    // v.slice(2, -1, 3)                 //= slice of 3, start 2, stride -1 = {9, 8, 7}
    // s.slice(2, -2, 2)                 //= slice of 2, start 5, stride -2 = {6, 4}
    // s[1] + v[2]                       //= 14
    // v.size() + pages.size()           //= 6
    // pages[2]                          //= vector of 2 = {0, 0}
    // table.rows() + tiny[1]            //= 1
    stop_here(&s);
    stop_here(&pages);
    stop_here(&table);
    return v.data() == nullptr;
}
