#include "maths/decompositions/svd/ml_svd_linpack.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "maths/decompositions/svd/mlBidiagonalisation.h"
#include "maths/decompositions/svd/mlLevel1.h"
#include "maths/decompositions/svd/mlRotatedBasis.h"

namespace {

int const step_limit = 100; // QR steps without finding a value

/// Wilkinson's shift: s_m^2 - mu, mu the eigenvalue of the trailing 2 x 2 block of B^T B nearest to s_m^2, where B is
/// the bidiagonal matrix that ends with the diagonal elements s_{m-1} and s_m and the super-diagonal element e_{m-1}
/// between them. 0.0 when neither what mu depends on is non-zero.
[[nodiscard]] double shift(double sm1, double em1, double sm) {
    double const b = ((sm1 + sm) * (sm1 - sm) + em1 * em1) / 2.0;
    double const c = (sm * em1) * (sm * em1);
    if (!ml_is_nonzero(b) && !ml_is_nonzero(c)) return 0.0;
    double const root = std::sqrt(b * b + c);
    return c / (b + (b < 0.0 ? -root : root));
}

/// The implicitly shifted QR iteration on the bidiagonal matrix of order m, from whose lower end the singular values
/// are taken one by one.
class QRIteration {
public:
    QRIteration(mlSVDWork & w, int order) : w_(w), u_(w.u), v_(w.v), order_(order), m_(order) {}

    /// Returns the number of values not found.
    [[nodiscard]] int run();

    void finish_bases();

private:
    enum class Case { zero_last_value, zero_value, step, found };

    Case inspect();
    void chase_from_last_value();
    void chase_from_value();
    void step();
    void make_positive();
    void insert_sorted();

    mlSVDWork & w_;
    mlRotatedBasis u_;
    mlRotatedBasis v_;
    int const order_; // of the whole matrix
    int m_;           // the block at work is rows l to m
    int l_ = 0;
    int steps_ = 0; // since the last value was found
};

int QRIteration::run() {
    while (m_ != 0 && steps_ < step_limit) {
        switch (inspect()) {
        case Case::zero_last_value: chase_from_last_value(); break;
        case Case::zero_value: chase_from_value(); break;
        case Case::step:
            step();
            ++steps_;
            break;
        case Case::found:
            make_positive();
            insert_sorted();
            steps_ = 0;
            --m_;
            break;
        }
    }
    return m_;
}

void QRIteration::finish_bases() {
    u_.finish(w_.u);
    v_.finish(w_.v);
}

/// Sets what is negligible to zero, finds the block at work and says what it needs.
QRIteration::Case QRIteration::inspect() {
    mlFortranVector & s = w_.s;
    mlFortranVector & e = w_.e;
    int l = m_ - 1;
    for (; l > 0; --l) {
        double const neighbours = std::fabs(s(l)) + std::fabs(s(l + 1));
        if (neighbours + std::fabs(e(l)) == neighbours) {
            e(l) = 0.0;
            break;
        }
    }
    l_ = l + 1;
    if (l_ == m_) return Case::found;
    for (int k = m_; k > l; --k) {
        double neighbours = 0.0;
        if (k != m_) neighbours += std::fabs(e(k));
        if (k != l + 1) neighbours += std::fabs(e(k - 1));
        if (neighbours + std::fabs(s(k)) == neighbours) {
            s(k) = 0.0;
            if (k == m_) return Case::zero_last_value;
            l_ = k + 1;
            return Case::zero_value;
        }
    }
    return Case::step;
}

/// s(m) = 0: rotates e(m - 1) away, up column m.
void QRIteration::chase_from_last_value() {
    mlFortranVector & e = w_.e;
    double f = e(m_ - 1);
    e(m_ - 1) = 0.0;
    for (int k = m_ - 1; k >= l_; --k) {
        mlRotation const rotation = ml_drotg(w_.s(k), f);
        if (k != l_) {
            f = -rotation.s * e(k - 1);
            e(k - 1) = rotation.c * e(k - 1);
        }
        if (w_.want_v) v_.rotate(k, m_, rotation);
    }
}

/// s(l - 1) = 0: rotates e(l - 1) away, along row l - 1.
void QRIteration::chase_from_value() {
    mlFortranVector & e = w_.e;
    double f = e(l_ - 1);
    e(l_ - 1) = 0.0;
    for (int k = l_; k <= m_; ++k) {
        mlRotation const rotation = ml_drotg(w_.s(k), f);
        f = -rotation.s * e(k);
        e(k) = rotation.c * e(k);
        // A NaN can bring a bidiagonal matrix here with one column more than u has.
        if (w_.want_u && k <= w_.u_cols) u_.rotate(k, l_ - 1, rotation);
    }
}

void QRIteration::step() {
    mlFortranVector & s = w_.s;
    mlFortranVector & e = w_.e;
    double const scale =
        std::max({std::fabs(s(m_)), std::fabs(s(m_ - 1)), std::fabs(e(m_ - 1)), std::fabs(s(l_)), std::fabs(e(l_))});
    double const sm = s(m_) / scale, sm1 = s(m_ - 1) / scale, em1 = e(m_ - 1) / scale;
    double const sl = s(l_) / scale, el = e(l_) / scale;
    double f = (sl + sm) * (sl - sm) + shift(sm1, em1, sm);
    double g = sl * el;
    for (int k = l_; k < m_; ++k) {
        mlRotation const right = ml_drotg(f, g);
        if (k != l_) e(k - 1) = f;
        f = s(k);
        ml_rotate(f, e(k), right);
        g = right.s * s(k + 1);
        s(k + 1) = right.c * s(k + 1);
        if (w_.want_v) v_.rotate(k, k + 1, right);

        mlRotation const left = ml_drotg(f, g);
        s(k) = f;
        f = e(k);
        ml_rotate(f, s(k + 1), left);
        g = left.s * e(k + 1);
        e(k + 1) = left.c * e(k + 1);

        if (w_.want_u && k < w_.n()) u_.rotate(k, k + 1, left);
    }
    e(m_ - 1) = f;
}

void QRIteration::make_positive() {
    if (!(w_.s(l_) < 0.0)) return;
    w_.s(l_) = -w_.s(l_);
    if (w_.want_v) v_.negate(l_);
}

/// Moves the value found down to its place among those found before, with its columns of the bases.
void QRIteration::insert_sorted() {
    for (int l = l_; l != order_ && !(w_.s(l) >= w_.s(l + 1)); ++l) {
        std::swap(w_.s(l), w_.s(l + 1));
        if (w_.want_v && l < w_.p()) v_.exchange(l, l + 1);
        if (w_.want_u && l < w_.n()) u_.exchange(l, l + 1);
    }
}

} // namespace

void ml_svd_linpack(mlFortranMatrix & x, mlFortranVector & s, mlFortranVector & e, mlFortranMatrix & u,
                    mlFortranMatrix & v, int job, int & info) {
    int const u_job = job % 100 / 10;
    int const n = x.rows(), p = x.cols();
    mlSVDWork w{x, s, e, u, v, u_job != 0, job % 10 != 0, u_job > 1 ? std::min(n, p) : n};
    int const order = ml_bidiagonalise(w);
    ml_generate_bases(w);
    QRIteration iteration(w, order);
    info = iteration.run();
    iteration.finish_bases();
}
