#include "maths/core/mlMatrix.h"
#include "maths/core/mlVectorRuns.h"
#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlScratch.h"

namespace {

mlConstBlock block(mlMatrix const & m) { return {m.data(), m.cols()}; }

void size_exactly(mlVector & y, int n) {
    y.clear(0);
    y.expand(n);
}

} // namespace

void multiply(mlMatrix const & a, mlMatrix const & b, mlMatrix & c) {
    MATHS_CHECK(a.cols() == b.rows(), "multiply: %d x %d times %d x %d", a.rows(), a.cols(), b.rows(), b.cols());
    if (&c == &a || &c == &b) {
        mlMatrix const product(mlMatrixProduct, a, b);
        c.become(utCopy, product);
        return;
    }
    if (a.rows() > 0 && b.cols() > 0) {
        c.become(a.rows(), b.cols());
        ml_kernels().multiply(a.rows(), b.cols(), a.cols(), block(a), block(b), {c.data(), c.cols()});
    } else {
        c.become(mlMatrixZero, a.rows(), b.cols());
    }
}

void multiply(mlMatrix const & a, mlVector const & x, mlVector & y) {
    MATHS_CHECK(&x != &y, "multiply: a vector of %d elements can't become its own product", x.size());
    ml_check_length("multiply", a.cols(), x.size());
    size_exactly(y, a.rows());
    ml_kernels().multiply_vector(a.rows(), a.cols(), block(a), x.data(), y.data());
}

void multiply(mlMatrix const & a, mlSlice const & x, mlVector & y) {
    ml_check_length("multiply", a.cols(), x.length());
    size_exactly(y, a.rows());
    mlScratch<> gathered(a.cols());
    ml_run_update(mlDenseRun<double>{gathered.data()}, ml_run(x), a.cols(), mlAssign());
    ml_kernels().multiply_vector(a.rows(), a.cols(), block(a), gathered.data(), y.data());
}
