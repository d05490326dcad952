#include <iostream>

#include "maths/maths.h"
#include "maths/version.h"
#include "platform/utOstream.h"

int main() {
    mlMatrix const a(mlMatrixHilbert, 3);
    mlVector b(mlVectorZero, 3), x;
    b.fill(1.0);
    mlLUDecomposition(a).solve(b, x);
    utOstream out(std::cout, 0, 4);
    out << MATHS_VERSION_STRING << " " << x;
}
