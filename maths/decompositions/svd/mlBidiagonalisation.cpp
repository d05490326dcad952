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
//                      A <- A G is p = A g, A += p (g / (-g_1))^T          for rows l + 1 .. n, columns l + 1 .. p
//
// So a reflection takes a sweep of A for its sums, A^T h or A g, and another one for its rank-one update. The update
// stays pending and is applied in the sweep that forms the next sums: that of the left reflection l with the sums of
// the right one l, that of the right reflection l with the sums of the left one l + 1. What is needed before, row l or
// column l + 1, has the update applied to it alone. To flush is to apply a pending update without new sums.
//
// Every sum runs in index order from 0.0, whatever the sweep, and is divided when it is complete. "Non-zero" is a
// number of at least DBL_MIN in magnitude (ml_is_nonzero): zeros, denormals and NaN are not. A rank-one
// update A += a b^T leaves a column unchanged whose b_j isn't non-zero, and terms of A g whose g_j isn't are left out;
// all terms of A^T h are taken.
//
// The matrices are stored by rows. Kernels read and write up to ml_max_lanes - 1 columns past a row's end, for which
// mlFortranMatrix and the w below have room.

namespace {

// Columns that are reflected from the left, and rows from the right.
int column_steps(mlSVDWork const & w) { return std::max(0, std::min(w.n() - 1, w.p())); }
int row_steps(mlSVDWork const & w) { return std::max(0, std::min(w.p() - 2, w.n())); }

/// Turns x into the h of the reflection I - h h^T / h_1 that takes x to (d, 0, ..., 0): x is multiplied by 1 / -d, then
/// 1 is added to its first element. Returns d, whose magnitude is the norm of x and whose sign is opposite to that of
/// x_1, or minus when x_1 isn't non-zero. When the norm isn't non-zero, nor is d, and x stays as it is: there is
/// nothing to reflect.
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

/// The update alone, of all of a from (row, col) on.
void flush(mlFortranMatrix & a, int row, int col, mlRankOneUpdate pending) {
    ml_kernels().rank_one_update(a.rows() - row + 1, a.cols() - col + 1, a.block(row, col), pending);
}

/// A reflection from the left, of columns of a matrix a: the vector h, an element a row of a, and w, one a column.
/// Of h only the rows from some `row` on are in use, which holds h_1, and of w only the columns from some `col` on.
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

    /// The same in steps. At first w holds the sums a^T h: zeros, then what some rows add to them, then the next rows.
    void clear_sums(int col) { std::fill_n(w_.from(col), w_.size() - col + 1 + ml_max_lanes - 1, 0.0); }
    void add_sums(mlFortranMatrix & a, int first_row, int last_row, int col, mlRankOneUpdate pending) {
        ml_kernels().update_gemv_transposed(last_row - first_row + 1, a.cols() - col + 1, a.block(first_row, col),
                                            pending, h_.from(first_row), w_.from(col));
    }
    double & sum(int col) { return w_(col); }
    void divide_sums(int row, int col) { ml_kernels().divide(ml_padded(w_.size() - col + 1), w_.from(col), -h_(row)); }

private:
    coScratch<ml_tuning::reflection_scratch> scratch_; // h, w, padding of w
    mlFortranVector h_;
    mlFortranVector w_;
};

/// The reduction of x. At most one update is pending at a time: the left reflection's from the middle of a step to its
/// end, the right one's from there to the middle of the next.
class Reduction {
public:
    explicit Reduction(mlSVDWork & w);

    void run();

private:
    void reflect_column(int l);
    void reflect_row(int l);

    // For all of x from (row, col) on.
    mlRankOneUpdate pending_left(int row, int col) const { return left_pending_ ? left_.update(row, col) : no_update; }
    mlRankOneUpdate pending_right(int row, int col) const {
        return right_pending_ ? mlRankOneUpdate{p_.from(row), row_factors_ + col - 1} : no_update;
    }

    mlSVDWork & w_;
    LeftReflection left_;
    coScratch<ml_tuning::reflection_scratch> scratch_;
    mlFortranVector p_;                    // A g, an element a row of x
    double const * row_factors_ = nullptr; // g / (-g_1), kept where g was, in row l of x: [j - 1] is column j's
    bool left_pending_ = false;
    bool right_pending_ = false;
};

Reduction::Reduction(mlSVDWork & w) : w_(w), left_(w.x), scratch_(w.n()), p_(scratch_.data(), w.n()) {}

void Reduction::run() {
    int const rows = row_steps(w_), steps = std::max(column_steps(w_), rows);
    for (int l = 1; l <= steps; ++l) {
        reflect_column(l);
        if (l <= rows)
            reflect_row(l);
        else
            flush(w_.x, l + 1, l + 1, pending_left(l + 1, l + 1));
    }
    flush(w_.x, steps + 1, steps + 1, pending_right(steps + 1, steps + 1));
}

/// Reflects column l to (s(l), 0, ..., 0). Afterwards no right update is pending, and row l is up to date.
void Reduction::reflect_column(int l) {
    int const n = w_.n(), p = w_.p();
    for (int i = l; i <= n && right_pending_ && ml_is_nonzero(row_factors_[l - 1]); ++i)
        w_.x(i, l) += p_(i) * row_factors_[l - 1]; // column l alone
    left_pending_ = false;
    if (l <= column_steps(w_)) {
        mlFortranVector h = left_.h().view(l, n); // h_1 is in row l
        for (int i = l; i <= n; ++i)
            h(i - l + 1) = w_.x(i, l);
        w_.s(l) = make_reflector(h);
        left_pending_ = ml_is_nonzero(w_.s(l));
        for (int i = l; w_.want_u && i <= n; ++i)
            w_.u(i, l) = h(i - l + 1);
    }
    if (left_pending_) {
        left_.form_w(w_.x, l, l + 1, pending_right(l, l + 1));
        ml_kernels().rank_one_update(1, p - l, w_.x.block(l, l + 1), left_.update(l, l + 1)); // row l alone
    } else {
        flush(w_.x, l, l + 1, pending_right(l, l + 1));
    }
    right_pending_ = false;
}

/// Reflects row l, right of the diagonal, to (e(l), 0, ..., 0). Afterwards no left update is pending.
void Reduction::reflect_row(int l) {
    int const n = w_.n(), p = w_.p();
    mlFortranVector g = w_.x.row_from(l, l + 1);
    w_.e(l) = make_reflector(g);
    for (int i = l + 1; w_.want_v && i <= p; ++i)
        w_.v(i, l) = w_.x(l, i);
    right_pending_ = l < n && ml_is_nonzero(w_.e(l)); // for l = n no row is left
    if (!right_pending_) return flush(w_.x, l + 1, l + 1, pending_left(l + 1, l + 1));

    ml_kernels().update_gemv(n - l, p - l, w_.x.block(l + 1, l + 1), pending_left(l + 1, l + 1), g.from(1),
                             p_.from(l + 1));
    ml_kernels().divide(ml_padded(p - l), g.from(1), -g(1));
    row_factors_ = w_.x.row(l);
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

    /// Reflects the columns after column l by the h that stands in column l, from row `row` down. In those columns row
    /// `row` is zero. An update still pending is that of the call for l + 1 and row + 1; otherwise `flush_pending`
    /// comes first.
    void reflect_columns_after(int l, int row);

    /// Applies the pending update, if any. To be called where a column has no reflection, and at the end.
    void flush_pending();

private:
    mlFortranMatrix & basis_;
    LeftReflection reflections_[2]; // column l uses that of l % 2, while that of the other one may be pending
    LeftReflection const * pending_ = nullptr;
    int pending_row_ = 0; // of all of the basis from (pending_row_, pending_col_) on
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
        reflection.add_sums(basis_, row, row, l + 1, no_update);
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

/// u = H_1 H_2 ... H_steps: before l is treated, the columns after it hold H_{l+1} ... H_steps.
void generate_u(mlSVDWork & w) {
    int const steps = column_steps(w);
    Generation generation(w.u);
    for (int j = steps + 1; j <= w.u_cols; ++j)
        make_unit_column(w.u, j);
    for (int l = steps; l >= 1; --l) {
        if (!ml_is_nonzero(w.s(l))) {
            generation.flush_pending();
            make_unit_column(w.u, l);
            continue;
        }
        generation.reflect_columns_after(l, l);
        for (int i = 1; i < l; ++i) // column l itself: H_l times the unit vector, where h_1 is in row l
            w.u(i, l) = 0.0;
        for (int i = l; i <= w.n(); ++i)
            w.u(i, l) *= -1.0;
        w.u(l, l) = 1.0 + w.u(l, l);
    }
    generation.flush_pending();
}

/// v = G_1 G_2 ...: G_l leaves coordinate l alone, so that column l becomes a unit vector.
void generate_v(mlSVDWork & w) {
    Generation generation(w.v);
    for (int l = w.p(); l >= 1; --l) {
        if (l <= row_steps(w) && ml_is_nonzero(w.e(l)))
            generation.reflect_columns_after(l, l + 1);
        else
            generation.flush_pending();
        make_unit_column(w.v, l);
    }
    generation.flush_pending();
}

} // namespace

int ml_bidiagonalise(mlSVDWork & w) {
    int const n = w.n(), p = w.p();
    if (n < 1 || p < 1) return 0;
    Reduction(w).run();
    // What was not reflected, and the zeros that complete the bidiagonal matrix.
    int const columns = column_steps(w), rows = row_steps(w), order = std::min(p, n + 1);
    if (columns < p) w.s(columns + 1) = w.x(columns + 1, columns + 1);
    if (n < order) w.s(order) = 0.0;
    if (rows + 1 < order) w.e(rows + 1) = w.x(rows + 1, order);
    w.e(order) = 0.0;
    return order;
}

void ml_generate_bases(mlSVDWork & w) {
    if (w.want_u) generate_u(w);
    if (w.want_v) generate_v(w);
}
