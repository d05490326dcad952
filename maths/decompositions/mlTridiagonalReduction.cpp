#include "maths/decompositions/mlTridiagonalReduction.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "maths/core/mlEightSums.h"
#include "maths/decompositions/svd/mlLevel1.h"
#include "maths/kernels/mlTuning.h"

// Step k = 1, 2, ... of the reduction reflects row k of A, right of the diagonal, to (e_k, 0, ..., 0) and, since A is
// symmetric, column k with it:
//
//     A <- H A H = A - v w^T - w v^T,   w = u - (tau / 2) (u . v) v,   u = tau A v
//
// The changes of a panel's steps stay pending. A row takes those before it when its turn comes, and A v those of the
// panel's earlier steps q in the form
//
//     (A - sum v_q w_q^T + w_q v_q^T) v = A v - sum v_q (w_q . v) + w_q (v_q . v)
//
// After a panel what is left of A takes all of them at once, in a product of matrices. So half of the operations are
// such products and the other half are A v. Both triangles of A are kept, so that A v runs along rows; only the upper
// one takes the changes and is then copied to the lower.
//
// Orders of operations: element (i, j), i <= j, takes the changes of a panel in order of the steps, of each step first
// w_i v_j and then v_i w_j, be it in its row's turn or after the panel. Sums run from 0.0 in index order, A v among
// them: (A v)_j has the terms a(i, j) v_i in increasing i, then it subtracts, step by step, (w_q . v) v_q and
// (v_q . v) w_q. Only u . v, the norms of rows and the v_s . v_p of Q are made of eight sums, see `product`.

namespace {

mlRankOneUpdate const no_update{nullptr, nullptr};

/// The Euclidean norm of x. Where squares come near underflow, that of ml_dnrm2.
double norm(mlFortranVector const & x) {
    double const sum = ml_scalar_product(x.from(1), x.from(1), x.size());
    return sum >= 1e-280 ? std::sqrt(sum) : ml_dnrm2(x);
}

/// Turns x into the v of the reflection that takes x to (beta, 0, ..., 0), and returns beta, whose sign is opposite to
/// that of x_1. Where all after x_1 is zero or denormal there is nothing to reflect: tau is 0, beta x_1 and v a unit
/// vector.
double make_reflector(mlFortranVector & x, double & tau) {
    double const rest = norm(x.view(2, x.size())), first = x(1);
    x(1) = 1.0;
    if (!ml_is_nonzero(rest)) {
        std::fill_n(x.from(2), x.size() - 1, 0.0);
        tau = 0.0;
        return first;
    }
    double const beta = -std::copysign(ml_length(first, rest), first);
    tau = (beta - first) / beta;
    double const divisor = first - beta;
    for (int i = 2; i <= x.size(); ++i)
        x(i) /= divisor;
    return beta;
}

class Reduction {
public:
    Reduction(mlFortranMatrix & a, mlFortranVector & d, mlFortranVector & e, mlFortranVector & tau);

    void run();

private:
    void reduce_panel(int first, int last);
    void update_row(int k, int done);
    void form_w(int k, int step);
    void add_pairs(int steps, int col, double * to);
    void update_after(int last, int steps);
    void mirror(int first, int height);

    mlKernels const & kernels_;
    mlFortranMatrix & a_;
    mlFortranVector &d_, &e_, &tau_;
    int const n_;
    mlFortranMatrix pairs_;   // of the panel's steps: row 2 s - 1 is v of step s, row 2 s its w
    mlFortranVector weights_; // of those rows
    mlFortranVector sums_;
    mlFortranMatrix factors_; // the pairs transposed, w before v, for what is left after the panel
};

Reduction::Reduction(mlFortranMatrix & a, mlFortranVector & d, mlFortranVector & e, mlFortranVector & tau)
    : kernels_(ml_kernels()), a_(a), d_(d), e_(e), tau_(tau), n_(a.rows()),
      pairs_(2 * std::min(n_, ml_reduction_panel), n_), weights_(pairs_.rows()), sums_(pairs_.rows()),
      factors_(std::max(0, n_ - ml_reduction_panel), pairs_.rows()) {}

void Reduction::run() {
    for (int first = 1; first <= n_; first += ml_reduction_panel) {
        int const last = std::min(n_, first + ml_reduction_panel - 1);
        reduce_panel(first, last);
        if (last < n_) update_after(last, last - first + 1);
    }
}

void Reduction::reduce_panel(int first, int last) {
    for (int k = first; k <= last; ++k) {
        int const step = k - first + 1;
        update_row(k, step - 1);
        d_(k) = a_(k, k);
        if (k == n_) return;
        mlFortranVector v = a_.row_from(k, k + 1);
        e_(k) = make_reflector(v, tau_(k));
        std::copy_n(v.from(1), n_ - k, pairs_.row(2 * step - 1) + k);
        form_w(k, step);
    }
}

/// to_j += weights . column j of the pairs of the first `steps` steps, for the columns from `col` on.
void Reduction::add_pairs(int steps, int col, double * to) {
    kernels_.update_gemv_transposed(2 * steps, n_ - col + 1, pairs_.block(1, col), no_update, weights_.from(1), to);
}

/// Row k takes the changes of the first `done` steps of its panel.
void Reduction::update_row(int k, int done) {
    for (int s = 1; s <= done; ++s) {
        weights_(2 * s - 1) = -pairs_(2 * s, k);
        weights_(2 * s) = -pairs_(2 * s - 1, k);
    }
    if (done > 0) add_pairs(done, k, a_.row(k) + k - 1);
}

/// Writes w of step k, which is the panel's number `step`, into the pairs.
void Reduction::form_w(int k, int step) {
    int const length = n_ - k;
    double const * const v = pairs_.row(2 * step - 1) + k;
    double * const w = pairs_.row(2 * step) + k;
    std::fill_n(w, length + ml_max_lanes - 1, 0.0);
    if (tau_(k) == 0.0) return;
    kernels_.update_gemv_transposed(length, length, a_.block(k + 1, k + 1), no_update, v, w);
    if (step > 1) {
        mlBlock const before = pairs_.block(1, k + 1);
        kernels_.gemv(2 * (step - 1), length, {before.data, before.ld}, v, sums_.from(1));
        for (int s = 1; s < step; ++s) {
            weights_(2 * s - 1) = -sums_(2 * s);
            weights_(2 * s) = -sums_(2 * s - 1);
        }
        add_pairs(step - 1, k + 1, w);
    }
    for (int i = 0; i < length; ++i)
        w[i] *= tau_(k);
    double const part = -0.5 * tau_(k) * ml_scalar_product(w, v, length);
    for (int i = 0; i < length; ++i)
        w[i] += part * v[i];
}

/// What is left after row `last` takes the changes of the panel that ends there.
void Reduction::update_after(int last, int steps) {
    int const left = n_ - last, inner = 2 * steps, next = last + 1;
    mlBlock const pairs = pairs_.block(1, next), factors = factors_.block(1, 1);
    kernels_.copy_transposed(inner, left, {pairs.data, pairs.ld}, factors);
    for (int i = 1; i <= left; ++i) {
        for (int s = 0; s < inner; s += 2)
            std::swap(factors_.row(i)[s], factors_.row(i)[s + 1]);
    }
    for (int i = 0; i < left; i += ml_tuning::reduction_update_rows) {
        int const height = std::min(ml_tuning::reduction_update_rows, left - i);
        kernels_.gemm_subtract(height, left - i, inner, {factors.data + i * factors.ld, factors.ld},
                               {pairs.data + i, pairs.ld}, a_.block(next + i, next + i));
        mirror(next + i, height);
    }
}

/// Copies what is right of the diagonal in `height` rows from `first` on to below it.
void Reduction::mirror(int first, int height) {
    int const end = first + height;
    for (int i = first; i < end; ++i) {
        for (int j = first; j < i; ++j)
            a_(i, j) = a_(j, i);
    }
    if (end > n_) return;
    mlBlock const right = a_.block(first, end);
    kernels_.copy_transposed(height, n_ - end + 1, {right.data, right.ld}, a_.block(end, first));
}

/// Multiplies the reflections out, the last panel's first, in the form H_first ... H_last = 1 - V T V^T, T an upper
/// triangle: T(p, p) = tau_p, and above that T(q, p) = -tau_p sum T(q, s) (v_s . v_p), the sum over s = q .. p - 1.
/// Before a panel the rows and columns after last + 1 hold the product of all later ones.
class Generation {
public:
    Generation(mlFortranMatrix & q, mlFortranVector const & tau);

    void run();

private:
    void take_vectors(int first, int count);
    void form_triangle(int first, int count);
    void reflect(int first, int count);

    mlKernels const & kernels_;
    mlFortranMatrix & q_;
    mlFortranVector const & tau_;
    int const n_;
    mlFortranMatrix v_;         // V, whose columns are the vectors
    mlFortranMatrix rows_;      // V^T, whose zeros are stored
    mlFortranMatrix product_;   // V^T Q
    mlFortranMatrix t_product_; // T V^T Q
    mlFortranMatrix dots_;      // V^T V, above the diagonal
    mlFortranMatrix t_;
};

Generation::Generation(mlFortranMatrix & q, mlFortranVector const & tau)
    : kernels_(ml_kernels()), q_(q), tau_(tau), n_(q.rows()), v_(n_, std::min(n_, ml_reduction_panel)),
      rows_(v_.cols(), n_), product_(v_.cols(), n_), t_product_(v_.cols(), n_), dots_(v_.cols(), v_.cols()),
      t_(v_.cols(), v_.cols()) {}

void Generation::run() {
    q_(n_, n_) = 1.0;
    int const steps = std::max(0, n_ - 2);
    for (int first = (steps - 1) / ml_reduction_panel * ml_reduction_panel + 1; steps > 0 && first >= 1;
         first -= ml_reduction_panel) {
        int const count = std::min(ml_reduction_panel, steps - first + 1);
        take_vectors(first, count);
        form_triangle(first, count);
        reflect(first, count);
    }
    if (n_ == 1) return;
    std::fill_n(q_.row(1), n_, 0.0);
    for (int i = 1; i <= n_; ++i)
        q_(i, 1) = i == 1 ? 1.0 : 0.0;
}

/// Copies the panel's vectors out of the rows of Q and leaves a unit matrix bordering what is there.
void Generation::take_vectors(int first, int count) {
    int const size = n_ - first;
    for (int p = 1; p <= count; ++p) {
        std::fill_n(rows_.row(p), p - 1, 0.0);
        std::copy_n(q_.row(first + p - 1) + first + p - 1, size - p + 1, rows_.row(p) + p - 1);
    }
    for (int i = first + 1; i <= n_; ++i) {
        bool const taken = i <= first + count;
        std::fill_n(q_.row(i) + first, taken ? size : count, 0.0);
        if (taken) q_(i, i) = 1.0;
    }
    mlBlock const rows = rows_.block(1, 1);
    kernels_.copy_transposed(count, size, {rows.data, rows.ld}, v_.block(1, 1));
}

void Generation::form_triangle(int first, int count) {
    for (int p = 2; p <= count; ++p) {
        for (int s = 1; s < p; ++s)
            dots_(s, p) = ml_scalar_product(rows_.row(s) + p - 1, rows_.row(p) + p - 1, n_ - first - p + 1);
    }
    for (int p = 1; p <= count; ++p) {
        double const tau = tau_(first + p - 1);
        for (int q = 1; q < p; ++q) {
            double sum = 0.0;
            for (int s = q; s < p; ++s)
                sum += t_(q, s) * dots_(s, p);
            t_(q, p) = -tau * sum;
            t_(p, q) = 0.0;
        }
        t_(p, p) = tau;
    }
}

/// Q <- (1 - V T V^T) Q, in the rows and columns from first + 1 on.
void Generation::reflect(int first, int count) {
    int const size = n_ - first;
    mlBlock const v = v_.block(1, 1), rows = rows_.block(1, 1), t = t_.block(1, 1), q = q_.block(first + 1, first + 1);
    mlBlock const product = product_.block(1, 1), t_product = t_product_.block(1, 1);
    kernels_.gemm(count, size, size, {rows.data, rows.ld}, {q.data, q.ld}, product);
    kernels_.gemm(count, size, count, {t.data, t.ld}, {product.data, product.ld}, t_product);
    kernels_.gemm_subtract(size, size, count, {v.data, v.ld}, {t_product.data, t_product.ld}, q);
}

} // namespace

void ml_tridiagonalise(mlFortranMatrix & a, mlFortranVector & d, mlFortranVector & e, mlFortranVector & tau) {
    Reduction(a, d, e, tau).run();
}

void ml_generate_tridiagonal_basis(mlFortranMatrix & a, mlFortranVector const & tau) { Generation(a, tau).run(); }
