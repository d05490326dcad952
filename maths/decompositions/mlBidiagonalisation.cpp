#include "maths/decompositions/mlBidiagonalisation.h"

#include <algorithm>
#include <cmath>

#include "maths/decompositions/mlLevel1.h"

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

void reflect(mlFortranVector const & h, mlFortranVector const & y) { ml_daxpy(-ml_ddot(h, y) / h(1), h, y); }

/// Clears column l below the diagonal and keeps what row l has become in e.
void transform_column(mlSVDWork const & w, int l) {
    bool const reflects = l <= column_steps(w);
    mlFortranVector const h = w.x.column(l, l);
    if (reflects) w.s(l) = make_reflector(h);
    for (int j = l + 1; j <= w.p(); ++j) {
        if (reflects && ml_counts(w.s(l))) reflect(h, w.x.column(j, l));
        w.e(j) = w.x(l, j);
    }
    if (w.want_u && reflects) {
        for (int i = l; i <= w.n(); ++i)
            w.u(i, l) = w.x(i, l);
    }
}

/// Clears row l, which stands in e, right of the super-diagonal.
void transform_row(mlSVDWork const & w, int l) {
    mlFortranVector const h = w.e.view(l + 1, w.p());
    w.e(l) = make_reflector(h);
    if (l < w.n() && ml_counts(w.e(l))) {
        mlFortranVector const product = w.work.view(l + 1, w.n()); // of the rows below with h
        for (int i = 1; i <= product.size(); ++i)
            product(i) = 0.0;
        for (int j = l + 1; j <= w.p(); ++j)
            ml_daxpy(w.e(j), w.x.column(j, l + 1), product);
        for (int j = l + 1; j <= w.p(); ++j)
            ml_daxpy(-w.e(j) / w.e(l + 1), product, w.x.column(j, l + 1));
    }
    if (w.want_v) {
        for (int i = l + 1; i <= w.p(); ++i)
            w.v(i, l) = w.e(i);
    }
}

void make_unit_column(mlFortranMatrix const & m, int j) {
    for (int i = 1; i <= m.rows(); ++i)
        m(i, j) = 0.0;
    m(j, j) = 1.0;
}

void generate_u(mlSVDWork const & w) {
    int const steps = column_steps(w);
    for (int j = steps + 1; j <= w.u_cols; ++j)
        make_unit_column(w.u, j);
    for (int l = steps; l >= 1; --l) {
        if (!ml_counts(w.s(l))) {
            make_unit_column(w.u, l);
            continue;
        }
        mlFortranVector const h = w.u.column(l, l);
        for (int j = l + 1; j <= w.u_cols; ++j)
            reflect(h, w.u.column(j, l));
        ml_dscal(-1.0, h);
        h(1) = 1.0 + h(1);
        for (int i = 1; i < l; ++i)
            w.u(i, l) = 0.0;
    }
}

void generate_v(mlSVDWork const & w) {
    for (int l = w.p(); l >= 1; --l) {
        if (l <= row_steps(w) && ml_counts(w.e(l))) {
            for (int j = l + 1; j <= w.p(); ++j)
                reflect(w.v.column(l, l + 1), w.v.column(j, l + 1));
        }
        make_unit_column(w.v, l);
    }
}

} // namespace

int ml_bidiagonalise(mlSVDWork const & w) {
    int const n = w.n(), p = w.p();
    if (n < 1 || p < 1) return 0;
    int const columns = column_steps(w), rows = row_steps(w);
    for (int l = 1; l <= std::max(columns, rows); ++l) {
        transform_column(w, l);
        if (l <= rows) transform_row(w, l);
    }
    // What is left of x, and the zeros that complete the bidiagonal matrix.
    int const order = std::min(p, n + 1);
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
