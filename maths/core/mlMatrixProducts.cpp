#include <algorithm>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlVectorRuns.h"

namespace {

// Row i of c takes a(i, k) times row k of b, k after k: each element of c gets its terms in increasing k, and the
// inner loop runs along rows.
void add_products(mlMatrix const & a, mlMatrix const & b, double * c) {
    int const cols = b.cols();
    for (int i = 0; i < a.rows(); ++i, c += cols) {
        double const * const a_row = a.data() + i * a.cols();
        for (int k = 0; k < a.cols(); ++k) {
            double const factor = a_row[k];
            double const * const b_row = b.data() + k * cols;
            for (int j = 0; j < cols; ++j)
                c[j] += factor * b_row[j];
        }
    }
}

template <class X> void multiply_run(mlMatrix const & a, X x, mlVector & y) {
    y.clear(0);
    y.expand(a.rows());
    for (int i = 0; i < a.rows(); ++i)
        y.data()[i] = ml_run_scalar_product(mlDenseRun<double const>{a.data() + i * a.cols()}, x, a.cols());
}

} // namespace

void multiply(mlMatrix const & a, mlMatrix const & b, mlMatrix & c) {
    MATHS_CHECK(a.cols() == b.rows(), "multiply: %d x %d times %d x %d", a.rows(), a.cols(), b.rows(), b.cols());
    if (&c == &a || &c == &b) {
        mlMatrix const product(mlMatrixProduct, a, b);
        c.become(utCopy, product);
        return;
    }
    c.become(mlMatrixZero, a.rows(), b.cols());
    add_products(a, b, c.data());
}

void multiply(mlMatrix const & a, mlVector const & x, mlVector & y) {
    MATHS_CHECK(&x != &y, "multiply: a vector of %d elements can't become its own product", x.size());
    ml_check_length("multiply", a.cols(), x.size());
    multiply_run(a, ml_run(x), y);
}

void multiply(mlMatrix const & a, mlSlice const & x, mlVector & y) {
    ml_check_length("multiply", a.cols(), x.length());
    multiply_run(a, ml_run(x), y);
}
