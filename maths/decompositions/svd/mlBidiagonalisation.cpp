#include "maths/decompositions/svd/mlBidiagonalisation.h"

#include <algorithm>
#include <cmath>

#include "maths/decompositions/svd/mlLevel1.h"
#include "maths/kernels/mlTuning.h"
#include "platform/coScratch.h"

// Step l = 1, 2, ... of the reduction reflects column l and then row l of A, which is what is left of x:
//
//     from the left:   h from rows l .. n of column l,        H = I - h h^T / h_1
//                      A <- H A is w = A^T h / (-h_1), A += h w^T          for columns l + 1 .. p, rows l .. n
//
//     from the right:  g from columns l + 1 .. p of row l,    G = I - g g^T / g_1
//                      A <- A G is q = A g, A += q (g / (-g_1))^T          for rows l + 1 .. n, columns l + 1 .. p
//
// So a reflection takes a sweep of A for its sums, A^T h or A g, and another one for its rank-one update. The update
// stays pending and is applied in the sweep that forms the next sums: that of the left reflection l with the sums of
// the right one l, that of the right reflection l with the sums of the left one l + 1. What is needed before, row l or
// column l + 1, has the update applied to it alone. To flush is to apply a pending update without new sums.
//
// Norms are ml_dnrm2's (mlLevel1.h): the root of the sum of squares from 0.0 in index order, with the elements divided
// by the largest magnitude first where that sum would come near overflow or underflow.
//
// The sums A^T h and A g run in index order from 0.0, whatever the sweep. A^T h is divided by -h_1 when it is complete.
// A g is not divided: g is, after it was used for A g. "Non-zero" is a number of at least DBL_MIN in magnitude
// (ml_is_nonzero): zeros, denormals and NaN are not. A rank-one update A += c r^T leaves a column unchanged whose r_j
// isn't non-zero, and terms of A g whose g_j isn't are left out; all terms of A^T h are taken.
//
// mlFortranMatrix counts from 1 and is stored by rows; row() and from() are addresses, row_from() and view() vectors
// that share the elements. Kernels read and write up to ml_max_lanes - 1 columns past the last one, from whatever
// column they start (not only up to the next multiple): mlFortranMatrix and the w below have room for that.

namespace {

// Columns that are reflected from the left, and rows from the right.
int column_steps(mlSVDWork const & work) { return std::max(0, std::min(work.n() - 1, work.p())); }
int row_steps(mlSVDWork const & work) { return std::max(0, std::min(work.p() - 2, work.n())); }

/// Turns x into the h of the reflection I - h h^T / h_1 that takes x to (d, 0, ..., 0): x is multiplied by 1 / -d, then
/// 1 is added to its first element. Returns d, whose magnitude is the norm of x and whose sign is opposite to that of
/// x_1, or minus when x_1 isn't non-zero. When the norm is zero, denormal or NaN, so is d (-0.0 for zero), and x stays
/// as it is: there is nothing to reflect.
double make_reflector(mlFortranVector & x) {
    double norm = ml_dnrm2(x);
    if (ml_is_nonzero(norm)) {
        if (ml_is_nonzero(x(1))) norm = std::copysign(norm, x(1));
        ml_dscal(1.0 / norm, x);
        x(1) = 1.0 + x(1);
    }
    return -norm;
}

mlRankOneUpdate const no_update{nullptr, nullptr};

/// The update alone, of all of a from (row, col) on. Either may be one past the last: nothing is left to update then.
void flush(mlFortranMatrix & a, int row, int col, mlRankOneUpdate pending) {
    ml_kernels().rank_one_update(a.rows() - row + 1, a.cols() - col + 1, a.block(row, col), pending);
}

/// A reflection from the left, of columns of a matrix a: h has an element for each row of a, w one for each column. h_1
/// is element `row`; the elements of h before it, and those of w before `col`, are not used.
class LeftReflection {
public:
    explicit LeftReflection(mlFortranMatrix const & a)
        : scratch_(static_cast<std::size_t>(a.rows()) + a.cols() + ml_max_lanes - 1), h_(scratch_.data(), a.rows()),
          w_(scratch_.data() + a.rows(), a.cols()) {}

    mlFortranVector & h() { return h_; }

    /// A += h w^T, of all of a from (row, col) on.
    mlRankOneUpdate update(int row, int col) const { return {h_.from(row), w_.from(col)}; }

    /// Applies `pending` to all of a from (row, col) on, then w = a^T h / (-h_1) there.
    void form_w(mlFortranMatrix & a, int row, int col, mlRankOneUpdate pending) {
        clear_sums(col);
        add_sums(a, row, a.rows(), col, pending);
        divide_sums(row, col);
    }

    /// The same in steps, for rows taken in pieces: clear_sums once, add_sums for each range of rows in increasing
    /// order, divide_sums once. Until then w holds the sums a^T h.
    void clear_sums(int col) { std::fill_n(w_.from(col), w_.size() - col + 1 + ml_max_lanes - 1, 0.0); }
    void add_sums(mlFortranMatrix & a, int first_row, int last_row, int col, mlRankOneUpdate pending) {
        ml_kernels().update_gemv_transposed(last_row - first_row + 1, a.cols() - col + 1, a.block(first_row, col),
                                            pending, h_.from(first_row), w_.from(col));
    }
    double & sum(int col) { return w_(col); }
    void divide_sums(int row, int col) { ml_kernels().divide(ml_padded(w_.size() - col + 1), w_.from(col), -h_(row)); }

    LeftReflection(LeftReflection const &) = delete; // h_ and w_ point into scratch_
    LeftReflection & operator=(LeftReflection const &) = delete;

private:
    coScratch<ml_tuning::reflection_scratch> scratch_; // h, w, padding of w
    mlFortranVector h_;
    mlFortranVector w_;
};

/// The reduction of x. Between the calls at most one update is pending: the left reflection's after reflect_column, the
/// right one's after reflect_row.
class Reduction {
public:
    explicit Reduction(mlSVDWork & work);

    void run();

private:
    void reflect_column(int l);
    void reflect_row(int l);

    // The pending update, for all of x from (row, col) on; no_update when nothing is pending.
    mlRankOneUpdate pending_left(int row, int col) const { return left_pending_ ? left_.update(row, col) : no_update; }
    mlRankOneUpdate pending_right(int row, int col) const {
        return right_pending_ ? mlRankOneUpdate{q_.from(row), row_factors_ + col - 1} : no_update;
    }

    mlSVDWork & work_;
    LeftReflection left_;
    coScratch<ml_tuning::reflection_scratch> scratch_;
    mlFortranVector q_;                    // A g, an element for each row of x
    double const * row_factors_ = nullptr; // g / (-g_1), in the row l of x reflected last: [j - 1] is column j's, j > l
    bool left_pending_ = false;
    bool right_pending_ = false;
};

Reduction::Reduction(mlSVDWork & work)
    : work_(work), left_(work.x), scratch_(work.n()), q_(scratch_.data(), work.n()) {}

void Reduction::run() {
    int const row_count = row_steps(work_), steps = std::max(column_steps(work_), row_count);
    for (int l = 1; l <= steps; ++l) {
        reflect_column(l);
        if (l <= row_count)
            reflect_row(l);
        else
            flush(work_.x, l + 1, l + 1, pending_left(l + 1, l + 1));
    }
    // Pending only when p = n + 1: the last step ended with a row.
    flush(work_.x, steps + 1, steps + 1, pending_right(steps + 1, steps + 1));
}

/// Reflects column l, from the diagonal down, to (s(l), 0, ..., 0), while x keeps what was reflected. Afterwards no
/// right update is pending, and row l is up to date.
void Reduction::reflect_column(int l) {
    int const n = work_.n(), p = work_.p();
    if (right_pending_ && ml_is_nonzero(row_factors_[l - 1])) { // column l alone
        for (int i = l; i <= n; ++i)
            work_.x(i, l) += q_(i) * row_factors_[l - 1];
    }
    left_pending_ = false;
    if (l <= column_steps(work_)) {
        mlFortranVector h = left_.h().view(l, n); // h_1 is in row l
        for (int i = l; i <= n; ++i)
            h(i - l + 1) = work_.x(i, l);
        work_.s(l) = make_reflector(h);
        left_pending_ = ml_is_nonzero(work_.s(l));
        if (work_.want_u) {
            for (int i = l; i <= n; ++i)
                work_.u(i, l) = h(i - l + 1);
        }
    }
    if (left_pending_) {
        left_.form_w(work_.x, l, l + 1, pending_right(l, l + 1));
        ml_kernels().rank_one_update(1, p - l, work_.x.block(l, l + 1), left_.update(l, l + 1)); // row l alone
    } else {
        flush(work_.x, l, l + 1, pending_right(l, l + 1));
    }
    right_pending_ = false;
}

/// Reflects row l, right of the diagonal, to (e(l), 0, ..., 0), while x keeps g / (-g_1) there. Afterwards no left
/// update is pending.
void Reduction::reflect_row(int l) {
    int const n = work_.n(), p = work_.p();
    mlFortranVector g = work_.x.row_from(l, l + 1);
    work_.e(l) = make_reflector(g);
    if (work_.want_v) {
        for (int i = l + 1; i <= p; ++i)
            work_.v(i, l) = work_.x(l, i);
    }
    right_pending_ = l < n && ml_is_nonzero(work_.e(l)); // for l = n no row is left
    if (!right_pending_) return flush(work_.x, l + 1, l + 1, pending_left(l + 1, l + 1));

    ml_kernels().update_gemv(n - l, p - l, work_.x.block(l + 1, l + 1), pending_left(l + 1, l + 1), g.from(1),
                             q_.from(l + 1));
    ml_kernels().divide(ml_padded(p - l), g.from(1), -g(1));
    row_factors_ = work_.x.row(l);
}

void make_unit_column(mlFortranMatrix & m, int j) {
    for (int i = 1; i <= m.rows(); ++i)
        m(i, j) = 0.0;
    m(j, j) = 1.0;
}

/// Multiplies the reflections out whose vectors stand in the columns of a basis, from the last one back. Again the
/// rank-one update of each stays pending and is applied in the sweep that forms the sums of the next.
class Generation {
public:
    explicit Generation(mlFortranMatrix & basis)
        : basis_(basis), reflections_{LeftReflection(basis), LeftReflection(basis)} {}

    /// Reflects the columns after column l by the h that stands in column l, from row `row` down. The pending
    /// update, if any, is that of the call for l + 1 and row + 1: it leaves row `row` and column l + 1 alone. If there
    /// was no such call, `flush_pending` comes first.
    void reflect_columns_after(int l, int row);

    /// Applies the pending update, if any. To be called where a column has no reflection, and at the end.
    void flush_pending();

private:
    mlFortranMatrix & basis_;
    LeftReflection reflections_[2]; // column l uses that of l % 2, while that of the other one may be pending
    LeftReflection const * pending_ = nullptr;
    int pending_row_ = 0; // the pending update is of all of the basis from (pending_row_, pending_col_) on
    int pending_col_ = 0;
};

void Generation::reflect_columns_after(int l, int row) {
    LeftReflection & reflection = reflections_[l % 2];
    mlFortranVector & h = reflection.h();
    for (int i = row; i <= basis_.rows(); ++i)
        h(i) = basis_(i, l);
    if (pending_ == nullptr) {
        reflection.form_w(basis_, row, l + 1, no_update);
    } else { // it is of the rows after `row` and the columns after l + 1
        reflection.clear_sums(l + 1);
        reflection.add_sums(basis_, row, row, l + 1, no_update); // row `row` first: its terms count, zero or not
        for (int i = row + 1; i <= basis_.rows(); ++i)
            reflection.sum(l + 1) += h(i) * basis_(i, l + 1);
        reflection.add_sums(basis_, row + 1, basis_.rows(), l + 2, pending_->update(row + 1, l + 2));
        reflection.divide_sums(row, l + 1);
    }
    pending_ = &reflection;
    pending_row_ = row;
    pending_col_ = l + 1;
}

void Generation::flush_pending() {
    if (pending_ != nullptr) flush(basis_, pending_row_, pending_col_, pending_->update(pending_row_, pending_col_));
    pending_ = nullptr;
}

/// u = H_1 H_2 ... H_steps: before step l the columns after l hold H_{l+1} ... H_steps, but for a pending update.
void generate_u(mlSVDWork & work) {
    int const steps = column_steps(work);
    Generation generation(work.u);
    for (int j = steps + 1; j <= work.u_cols; ++j)
        make_unit_column(work.u, j);
    for (int l = steps; l >= 1; --l) {
        if (!ml_is_nonzero(work.s(l))) {
            generation.flush_pending();
            make_unit_column(work.u, l);
            continue;
        }
        generation.reflect_columns_after(l, l);
        for (int i = 1; i < l; ++i) // column l itself: H_l times the unit vector, where h_1 is in row l
            work.u(i, l) = 0.0;
        for (int i = l; i <= work.n(); ++i)
            work.u(i, l) *= -1.0;
        work.u(l, l) = 1.0 + work.u(l, l);
    }
    generation.flush_pending();
}

/// v = G_1 G_2 ...: G_l leaves coordinates 1 .. l alone, so that column l becomes a unit vector.
void generate_v(mlSVDWork & work) {
    Generation generation(work.v);
    for (int l = work.p(); l >= 1; --l) {
        if (l <= row_steps(work) && ml_is_nonzero(work.e(l)))
            generation.reflect_columns_after(l, l + 1);
        else
            generation.flush_pending();
        make_unit_column(work.v, l);
    }
    generation.flush_pending();
}

} // namespace

int ml_bidiagonalise(mlSVDWork & work) {
    int const n = work.n(), p = work.p();
    if (n < 1 || p < 1) return 0;
    Reduction(work).run();
    // What was not reflected, and the zeros that complete the bidiagonal matrix.
    int const column_count = column_steps(work), row_count = row_steps(work), order = std::min(p, n + 1);
    if (column_count < p) work.s(column_count + 1) = work.x(column_count + 1, column_count + 1);
    if (n < order) work.s(order) = 0.0;
    if (row_count + 1 < order) work.e(row_count + 1) = work.x(row_count + 1, order);
    work.e(order) = 0.0;
    return order;
}

void ml_generate_bases(mlSVDWork & work) {
    if (work.want_u) generate_u(work);
    if (work.want_v) generate_v(work);
}
