#include "maths/decompositions/mlBidiagonalisation.h"

#include <algorithm>
#include <cmath>

#include "maths/decompositions/mlLevel1.h"
#include "maths/kernels/mlScratch.h"

namespace {

// Columns and rows that the reduction transforms.
int column_steps(mlSVDWork const & w) { return std::max(0, std::min(w.n() - 1, w.p())); }
int row_steps(mlSVDWork const & w) { return std::max(0, std::min(w.p() - 2, w.n())); }

/// Turns x into the vector h of the reflection 1 - h h^T / h(1), which takes x to (d, 0, ..., 0). Answers d, which
/// doesn't count as non-zero when there is nothing to reflect.
double make_reflector(mlFortranVector const & x) {
    double norm = ml_dnrm2(x);
    if (ml_counts(norm)) {
        if (ml_counts(x(1))) norm = std::copysign(norm, x(1));
        ml_dscal(1.0 / norm, x);
        x(1) = 1.0 + x(1);
    }
    return -norm;
}

mlRankOne const no_change{nullptr, nullptr};

/// What a reflection of columns needs: the reflector h and, for each column, the factor by which it takes h.
class ColumnReflection {
public:
    explicit ColumnReflection(mlFortranMatrix const & x)
        : scratch_(static_cast<std::size_t>(x.rows()) + x.cols() + mlKernels::padding_cols),
          h_(scratch_.data(), x.rows()), factors_(scratch_.data() + x.rows(), x.cols()) {}

    mlFortranVector const & h() const { return h_; }

    /// The change that is due to the columns from `col` on, in the rows from `row` down.
    mlRankOne change(int row, int col) const { return {h_.from(row), factors_.from(col)}; }

    /// Finds the factors of the columns of x from `col` on, for the h that begins in row `row`, once x has what it is
    /// owed.
    void find_factors(mlFortranMatrix const & x, int row, int col, mlRankOne owed) const {
        clear_products(col);
        add_products(x, row, x.rows(), col, owed);
        make_factors(row, col);
    }

    /// The same in steps: the products of h and the columns stand in for the factors at first.
    void clear_products(int col) const {
        std::fill_n(factors_.from(col), factors_.size() - col + 1 + mlKernels::padding_cols, 0.0);
    }
    void add_products(mlFortranMatrix const & x, int row, int last_row, int col, mlRankOne owed) const {
        ml_kernels().sum_columns(last_row - row + 1, x.cols() - col + 1, x.block(row, col), owed, h_.from(row),
                                 factors_.from(col));
    }
    double & product(int col) const { return factors_(col); }
    void make_factors(int row, int col) const {
        int const cols = factors_.size() - col + 1;
        if (cols > 0) ml_kernels().divide(mlKernels::padded(cols), factors_.from(col), -h_(row));
    }

private:
    mlScratch<> scratch_;
    mlFortranVector const h_;
    mlFortranVector const factors_;
};

/// The change alone, of everything from (row, col) on.
void make_change(mlFortranMatrix const & x, int row, int col, mlRankOne change) {
    ml_kernels().add_rank_one(x.rows() - row + 1, x.cols() - col + 1, x.block(row, col), change);
}

/// The reduction of x by columns and rows in turn. Reflecting takes a sweep of x for sums and one for a change of rank
/// one. The change is left owing and made in the sweep of the next sums: that of a column's reflection in the sums
/// along rows, that of a row's in the sums down columns.
class Reduction {
public:
    explicit Reduction(mlSVDWork const & w);

    void run();

private:
    void transform_column(int l);
    void transform_row(int l);

    mlRankOne owed_by_column(int l) const { return column_owes_ ? columns_.change(l, l) : no_change; }
    mlRankOne owed_by_row(int row, int col) const {
        return row_owes_ ? mlRankOne{products_.from(row), row_factors_ + col - 1} : no_change;
    }

    mlSVDWork const & w_;
    ColumnReflection columns_;
    mlScratch<> scratch_;
    mlFortranVector const products_;       // the rows' with the reflector of the row above them
    double const * row_factors_ = nullptr; // by which the columns take those: they take the place of that row
    bool column_owes_ = false;
    bool row_owes_ = false;
};

Reduction::Reduction(mlSVDWork const & w) : w_(w), columns_(w.x), scratch_(w.n()), products_(scratch_.data(), w.n()) {}

void Reduction::run() {
    int const rows = row_steps(w_), steps = std::max(column_steps(w_), rows);
    for (int l = 1; l <= steps; ++l) {
        transform_column(l);
        if (l <= rows)
            transform_row(l);
        else
            make_change(w_.x, l + 1, l + 1, owed_by_column(l + 1));
    }
    make_change(w_.x, steps + 1, steps + 1, owed_by_row(steps + 1, steps + 1));
}

/// Clears column l below the diagonal.
void Reduction::transform_column(int l) {
    int const n = w_.n(), p = w_.p();
    for (int i = l; i <= n && row_owes_ && ml_counts(row_factors_[l - 1]); ++i)
        w_.x(i, l) += products_(i) * row_factors_[l - 1];
    column_owes_ = false;
    if (l <= column_steps(w_)) {
        mlFortranVector const & h = columns_.h();
        for (int i = l; i <= n; ++i)
            h(i) = w_.x(i, l);
        w_.s(l) = make_reflector(h.view(l, n));
        column_owes_ = ml_counts(w_.s(l));
        for (int i = l; w_.want_u && i <= n; ++i)
            w_.u(i, l) = h(i);
    }
    if (column_owes_) {
        columns_.find_factors(w_.x, l, l + 1, owed_by_row(l, l + 1));
        ml_kernels().add_rank_one(1, p - l, w_.x.block(l, l + 1), columns_.change(l, l + 1));
    } else {
        make_change(w_.x, l, l + 1, owed_by_row(l, l + 1));
    }
    row_owes_ = false;
}

/// Clears row l right of the super-diagonal.
void Reduction::transform_row(int l) {
    int const n = w_.n(), p = w_.p();
    mlFortranVector const h = w_.x.row_from(l, l + 1);
    w_.e(l) = make_reflector(h);
    for (int i = l + 1; w_.want_v && i <= p; ++i)
        w_.v(i, l) = w_.x(l, i);
    row_owes_ = l < n && ml_counts(w_.e(l));
    if (!row_owes_) return make_change(w_.x, l + 1, l + 1, owed_by_column(l + 1));

    ml_kernels().sum_rows(n - l, p - l, w_.x.block(l + 1, l + 1), owed_by_column(l + 1), h.from(1),
                          products_.from(l + 1));
    ml_kernels().divide(mlKernels::padded(p - l), h.from(1), -h(1));
    row_factors_ = w_.x.row(l);
}

void make_unit_column(mlFortranMatrix const & m, int j) {
    for (int i = 1; i <= m.rows(); ++i)
        m(i, j) = 0.0;
    m(j, j) = 1.0;
}

/// Multiplies the reflections out that stand in the columns of a basis, from the last one back. Again a reflection's
/// change is left owing and made in the sweep of the next one's sums.
class Generation {
public:
    explicit Generation(mlFortranMatrix const & basis)
        : basis_(basis), reflections_{ColumnReflection(basis), ColumnReflection(basis)} {}

    /// The reflector in column l, from row `row` down, reflects the columns behind it. In these, row `row` is zero.
    void reflect_behind(int l, int row);

    /// Makes the change that is owed. To be called before a column is left out, and at the end.
    void settle();

private:
    mlFortranMatrix const & basis_;
    ColumnReflection const reflections_[2];
    ColumnReflection const * owes_ = nullptr;
    int owed_row_ = 0; // from here on, and in the columns
    int owed_col_ = 0; // from here on
};

void Generation::reflect_behind(int l, int row) {
    ColumnReflection const & reflection = reflections_[l % 2];
    for (int i = row; i <= basis_.rows(); ++i)
        reflection.h()(i) = basis_(i, l);
    if (owes_ == nullptr) {
        reflection.find_factors(basis_, row, l + 1, no_change);
    } else { // to the columns behind l + 1, in the rows below `row`
        reflection.clear_products(l + 1);
        reflection.add_products(basis_, row, row, l + 1, no_change);
        for (int i = row + 1; i <= basis_.rows(); ++i)
            reflection.product(l + 1) += reflection.h()(i) * basis_(i, l + 1);
        reflection.add_products(basis_, row + 1, basis_.rows(), l + 2, owes_->change(row + 1, l + 2));
        reflection.make_factors(row, l + 1);
    }
    owes_ = &reflection;
    owed_row_ = row;
    owed_col_ = l + 1;
}

void Generation::settle() {
    if (owes_ != nullptr) make_change(basis_, owed_row_, owed_col_, owes_->change(owed_row_, owed_col_));
    owes_ = nullptr;
}

void generate_u(mlSVDWork const & w) {
    int const steps = column_steps(w);
    Generation generation(w.u);
    for (int j = steps + 1; j <= w.u_cols; ++j)
        make_unit_column(w.u, j);
    for (int l = steps; l >= 1; --l) {
        if (!ml_counts(w.s(l))) {
            generation.settle();
            make_unit_column(w.u, l);
            continue;
        }
        generation.reflect_behind(l, l);
        for (int i = 1; i < l; ++i)
            w.u(i, l) = 0.0;
        for (int i = l; i <= w.n(); ++i)
            w.u(i, l) *= -1.0;
        w.u(l, l) = 1.0 + w.u(l, l);
    }
    generation.settle();
}

void generate_v(mlSVDWork const & w) {
    Generation generation(w.v);
    for (int l = w.p(); l >= 1; --l) {
        if (l <= row_steps(w) && ml_counts(w.e(l)))
            generation.reflect_behind(l, l + 1);
        else
            generation.settle();
        make_unit_column(w.v, l);
    }
    generation.settle();
}

} // namespace

int ml_bidiagonalise(mlSVDWork const & w) {
    int const n = w.n(), p = w.p();
    if (n < 1 || p < 1) return 0;
    Reduction(w).run();
    // What is left of x, and the zeros that complete the bidiagonal matrix.
    int const columns = column_steps(w), rows = row_steps(w), order = std::min(p, n + 1);
    if (columns < p) w.s(columns + 1) = w.x(columns + 1, columns + 1);
    if (n < order) w.s(order) = 0.0;
    if (rows + 1 < order) w.e(rows + 1) = w.x(rows + 1, order);
    w.e(order) = 0.0;
    return order;
}

void ml_generate_bases(mlSVDWork const & w) {
    if (w.want_u) generate_u(w);
    if (w.want_v) generate_v(w);
}
