#include "maths/core/multiply_transposed.h"

#include <algorithm>
#include <utility>

#include "maths/core/mlVectorRuns.h"
#include "maths/kernels/mlKernels.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

namespace {

mlConstBlock block(mlMatrix const & m, int row, int col) { return {m.data() + row * m.cols() + col, m.cols()}; }

// y^T = x^T A: a product of matrices whose left factor is one row. x_i a(i, j) has the bits of a(i, j) x_i.
void multiply_row(mlMatrix const & a, double const * x, mlVector & y) {
    y.reserve(a.cols()); // first, since it may fail
    y.clear(0);
    y.expand(a.cols());
    if (a.rows() < 1) return y.fill(0.0); // a may have no storage to point into
    ml_kernels().gemm(1, a.cols(), a.rows(), {x, a.rows()}, block(a, 0, 0), {y.data(), a.cols()});
}

} // namespace

void multiply_transposed(mlMatrix const & a, mlVector const & x, mlVector & y) {
    MATHS_CHECK(&x != &y, "multiply: a vector of %d elements can't become its own product", x.size());
    ml_check_length("multiply", a.rows(), x.size());
    multiply_row(a, x.data(), y);
}

void multiply_transposed(mlMatrix const & a, mlSlice const & x, mlVector & y) {
    ml_check_length("multiply", a.rows(), x.length());
    if (x.stride() == 1 && a.rows() > 0) {
        multiply_row(a, x.data() + x.start(), y);
        return;
    }
    coScratch<ml_tuning::gemv_scratch> gathered(a.rows());
    ml_run_update(mlDenseRun<double>{gathered.data()}, ml_run(x), a.rows(), mlAssign());
    multiply_row(a, gathered.data(), y);
}

// A small block of A at a time is copied, transposed and with its sign changed: the kernel that goes on with sums
// subtracts products, and s - (-a) b has the bits of s + a b.
void multiply_transposed(mlMatrix const & a, mlMatrix const & b, mlMatrix & c) {
    MATHS_CHECK(a.rows() <= b.rows(), "multiply: %d x %d transposed times %d x %d", a.rows(), a.cols(), b.rows(),
                b.cols());
    if (&c == &a || &c == &b) {
        mlMatrix product;
        multiply_transposed(a, b, product);
        c.become(std::move(product));
        return;
    }
    c.become(mlMatrixZero, a.cols(), b.cols());
    if (b.cols() < 1) return;
    constexpr int size = ml_tuning::transposed_product_block;
    coScratch<size * size> scratch(size * size);
    double * const copy = scratch.data();
    for (int k = 0; k < a.rows(); k += size) {
        int const inner = std::min(size, a.rows() - k);
        for (int i = 0; i < a.cols(); i += size) {
            int const rows = std::min(size, a.cols() - i);
            ml_kernels().copy_transposed(inner, rows, block(a, k, i), {copy, inner});
            for (int e = 0; e < rows * inner; ++e)
                copy[e] = -copy[e]; // NOLINT(clang-analyzer-core*): the kernel has written it
            ml_kernels().gemm_subtract(rows, b.cols(), inner, {copy, inner}, block(b, k, 0),
                                       {c.data() + i * b.cols(), b.cols()});
        }
    }
}
