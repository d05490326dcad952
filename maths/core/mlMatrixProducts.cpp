#include "maths/core/mlMatrix.h"
#include "maths/core/mlVectorRuns.h"
#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

namespace {

mlConstBlock block(mlMatrix const & m) { return {m.data(), m.cols()}; }

void size_exactly(mlVector & y, int n) {
    y.reserve(n); // first, since it may fail
    y.clear(0);
    y.expand(n);
}

/// `rows` sums side by side.
template <int rows> void multiply_rows(mlConstBlock a, int inner, double const * x, double * y) {
    double sums[rows] = {};
    for (int k = 0; k < inner; ++k) {
        for (int r = 0; r < rows; ++r)
            sums[r] += a.data[r * a.ld + k] * x[k]; // NOLINT(clang-analyzer-core*): a gathered x is whole
    }
    for (int r = 0; r < rows; ++r)
        y[r] = sums[r];
}

/// y = a x without a kernel, which is faster while there are few elements.
void multiply_little(int rows, int inner, mlConstBlock a, double const * x, double * y) {
    int r = 0;
    for (; r + 4 <= rows; r += 4)
        multiply_rows<4>({a.data + r * a.ld, a.ld}, inner, x, y + r);
    for (; r + 2 <= rows; r += 2)
        multiply_rows<2>({a.data + r * a.ld, a.ld}, inner, x, y + r);
    if (r < rows) multiply_rows<1>({a.data + r * a.ld, a.ld}, inner, x, y + r);
}

void multiply_vector(mlMatrix const & a, double const * x, double * y) {
    int const plain = ml_tuning::gemv_plain_max;
    auto const method = a.rows() <= plain && a.cols() <= plain ? multiply_little : ml_kernels().gemv;
    method(a.rows(), a.cols(), block(a), x, y);
}

/// c = a b of order 3, whose 27 products take no longer than calling a kernel would.
void multiply_3(double const * a, double const * b, double * c) {
    for (int i = 0; i < 9; i += 3) {
        double const x = a[i], y = a[i + 1], z = a[i + 2];
        for (int j = 0; j < 3; ++j)
            c[i + j] = 0.0 + x * b[j] + y * b[3 + j] + z * b[6 + j];
    }
}

} // namespace

void multiply(mlMatrix const & a, mlMatrix const & b, mlMatrix & c) {
    MATHS_CHECK(a.cols() <= b.rows(), "multiply: %d x %d times %d x %d", a.rows(), a.cols(), b.rows(), b.cols());
    if (&c == &a || &c == &b) {
        mlMatrix const product(mlMatrixProduct, a, b);
        c.become(utCopy, product);
        return;
    }
    if (a.rows() == 3 && a.cols() == 3 && b.cols() == 3) {
        c.become(3, 3);
        multiply_3(a.data(), b.data(), c.data());
    } else if (a.rows() > 0 && a.cols() > 0 && b.cols() > 0) {
        c.become(a.rows(), b.cols());
        ml_kernels().gemm(a.rows(), b.cols(), a.cols(), block(a), block(b), {c.data(), c.cols()});
    } else { // also without terms, when b may have no storage to point into
        c.become(mlMatrixZero, a.rows(), b.cols());
    }
}

void multiply(mlMatrix const & a, mlVector const & x, mlVector & y) {
    MATHS_CHECK(&x != &y, "multiply: a vector of %d elements can't become its own product", x.size());
    ml_check_length("multiply", a.cols(), x.size());
    size_exactly(y, a.rows());
    multiply_vector(a, x.data(), y.data());
}

void multiply(mlMatrix const & a, mlSlice const & x, mlVector & y) {
    ml_check_length("multiply", a.cols(), x.length());
    if (x.stride() == 1 && a.cols() > 0) {
        size_exactly(y, a.rows());
        multiply_vector(a, x.data() + x.start(), y.data());
        return;
    }
    coScratch<ml_tuning::gemv_scratch> gathered(a.cols());
    ml_run_update(mlDenseRun<double>{gathered.data()}, ml_run(x), a.cols(), mlAssign());
    size_exactly(y, a.rows());
    multiply_vector(a, gathered.data(), y.data());
}
