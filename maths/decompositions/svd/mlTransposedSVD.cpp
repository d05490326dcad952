#include "maths/decompositions/svd/mlTransposedSVD.h"

#include "maths/decompositions/svd/ml_svd_linpack.h"

namespace {

void copy_to(mlMatrix & to, mlFortranMatrix const & from) {
    int const cols = from.cols();
    to.become(from.rows(), cols);
    for (int r = 0; r < from.rows(); ++r)
        std::copy_n(from.row(r + 1), cols, to.data() + static_cast<std::ptrdiff_t>(r) * cols);
}

} // namespace

void ml_copy_transpose(mlMatrix const & a, mlFortranMatrix & x) {
    ml_kernels().copy_transposed(a.rows(), a.cols(), {a.data(), a.cols()}, x.block(1, 1));
}

// The left vectors of x are the right ones of its transpose.
int ml_transposed_svd(mlFortranMatrix & x, mlVector & s, mlMatrix & u, mlMatrix & v, int job) {
    int const n = x.rows(), m = x.cols(), smaller = std::min(m, n);
    int const left_job = job % 100 / 10;
    bool const want_left = left_job != 0, want_right = job % 10 != 0;
    mlFortranVector values(std::min(n + 1, m)), e(values.size());
    mlFortranMatrix left(want_left ? n : 1, !want_left ? 1 : left_job == 1 ? n : smaller);
    mlFortranMatrix right(want_right ? m : 1, want_right ? m : 1);
    if (!want_left) left(1, 1) = 0.0;
    if (!want_right) right(1, 1) = 0.0;
    int info = 0;
    ml_svd_linpack(x, values, e, left, right, job, info);

    s.clear(0);
    s.expand(smaller);
    for (int i = 0; i < smaller; ++i)
        s[i] = values(i + 1);
    copy_to(v, left);
    copy_to(u, right);
    return info == 0;
}

void ml_transposed_ata_eigen(mlFortranMatrix & x, doublecoDynArr & values, mlMatrix & vectors) {
    mlVector s;
    mlMatrix u;
    ml_transposed_svd(x, s, u, vectors, 10); // u (m x m) is not needed
    values.reserve(x.rows());
    for (int i = 0; i < x.rows(); ++i)
        values[values.size()] = i < s.size() ? s[i] * s[i] : 0.0;
}
