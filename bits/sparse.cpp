#include "bits/digest.h"

namespace {

void fill(mlSparseMatrix & m, int rows, int cols, Operands & operands) {
    m.become(mlMatrixZero, rows, cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = operands.below(4); j < cols; j += 1 + operands.below(6))
            m.set(i, j, operands.number());
    }
}

void digest_rows(ExactDigest & digest, mlSparseMatrix const & m) {
    for (int i = 0; i < m.rows(); ++i) {
        mlSparseRowIT row = m.row_iterator(i);
        for (mlSparseElement const * e = row.first(); e != nullptr; e = row.next()) {
            digest(e->index);
            digest(e->value);
        }
    }
}

/// A grid of side x side points with some more couplings, made definite by its diagonal but for a few.
void fill_coupled(mlSparseSymMatrix & m, int side, Operands & operands) {
    int const n = side * side;
    m.become(mlMatrixZero, n);
    for (int i = 0; i < n; ++i) {
        m.set(i, i, 4.5 + operands.number());
        for (int j = i + 1; j < n; ++j) {
            bool const beside = (j == i + 1 && j % side > 0) || j == i + side;
            if (beside || operands.below(3 * n) == 0) m.set(i, j, operands.number());
        }
    }
}

void digest_factors(ExactDigest & digest, mlSparseCholesky const & cholesky) {
    digest(static_cast<int>(cholesky.status()));
    digest(cholesky.failed_row());
    digest(static_cast<int>(cholesky.num_non_zero_elements()));
    for (int const row : cholesky.order())
        digest(row);
    digest(cholesky.d());
    mlSparseMatrix l;
    cholesky.matrix_l(l);
    digest_rows(digest, l);
}

void digest_cholesky() {
    ExactDigest digest("sparse Cholesky");
    Operands operands(52);
    for (int side = 1; side < 22; ++side) {
        mlSparseSymMatrix a;
        mlVector x;
        mlMatrix columns;
        fill_coupled(a, side, operands);
        mlSparseCholesky cholesky(a);
        digest_factors(digest, cholesky);
        if (cholesky.status() == mlSparseCholeskyFactored) {
            operands.become(x, a.rows());
            operands.become(columns, a.rows(), 3);
            cholesky.solve(x, x);
            cholesky.solve(columns, columns);
            digest(x);
            digest(columns);
            long long exponent;
            digest(cholesky.determinant(exponent));
            digest(static_cast<int>(exponent));
        }
        mlSparseSymMatrix rows(mlMatrixIdentity, a.rows());
        rows *= -0.4; // leaves fewer definite
        a += rows;
        cholesky.factor(a);
        digest_factors(digest, cholesky);
    }
}

/// Some elements a row and most of the diagonal, on which `size` more or less stand.
void fill_unsymmetric(mlSparseMatrix & m, int n, double size, Operands & operands) {
    m.become(mlMatrixZero, n, n);
    for (int i = 0; i < n; ++i) {
        bool const on_diagonal = operands.below(8) > 0;
        for (int j = 0; j < n; ++j) {
            bool const elsewhere = operands.below(n) < 2;
            if (j == i ? !on_diagonal : !elsewhere) continue;
            double const value = operands.number();
            m.set(i, j, j == i ? size * value : value);
        }
    }
}

void digest_factors(ExactDigest & digest, mlSparseLU const & lu) {
    digest(static_cast<int>(lu.status()));
    digest(lu.failed_column());
    digest(lu.num_blocks());
    digest(lu.num_exchanges());
    for (int const row : lu.row_order())
        digest(row);
    for (int const column : lu.column_order())
        digest(column);
    mlSparseMatrix factor;
    lu.matrix_l(factor);
    digest_rows(digest, factor);
    lu.matrix_u(factor);
    digest_rows(digest, factor);
    lu.matrix_f(factor);
    digest_rows(digest, factor);
}

void digest_lu() {
    ExactDigest digest("sparse LU");
    Operands operands(53);
    for (int n = 1; n < 100; n += 1 + n / 5) {
        for (double const size : {10.0, 1.0, 1e-3}) {
            mlSparseMatrix a;
            mlVector x;
            mlMatrix columns;
            fill_unsymmetric(a, n, size, operands);
            mlSparseLU lu(a);
            digest_factors(digest, lu);
            operands.become(x, n);
            operands.become(columns, n, 3);
            if (lu.status() == mlSparseLUFactored) {
                lu.solve(x, x);
                lu.solve(columns, columns);
                digest(x);
                digest(columns);
                long long exponent;
                digest(lu.determinant(exponent));
                digest(static_cast<int>(exponent));
            }
            lu.factor(a, 1.0);
            digest_factors(digest, lu);
        }
    }
}

template <class Solver, class Matrix>
void digest_solutions(ExactDigest & digest, Matrix const & a, mlVector const & b) {
    mlDiagonalPreconditioner const diagonal(a);
    mlIncompleteFactors const factors(a);
    digest(factors.shift());
    mlLinearOperator const * const preconditioners[] = {nullptr, &diagonal, &factors};
    for (mlLinearOperator const * const preconditioner : preconditioners) {
        Solver solver;
        mlVector x;
        solver.set_preconditioner(preconditioner);
        solver.set_max_iterations(30);
        digest(static_cast<int>(solver.solve(a, b, x)));
        digest(x);
        digest(solver.history());
        digest(solver.residual());
    }
}

void digest_iterative() {
    ExactDigest digest("iterative solvers");
    Operands operands(53);
    for (int side = 1; side < 26; side += 2) {
        mlSparseSymMatrix a;
        mlVector b;
        fill_coupled(a, side, operands);
        operands.become(b, a.rows());
        digest_solutions<mlConjugateGradients>(digest, a, b);
        mlSparseMatrix general(utCopy, a), upper(mlMatrixZero, a.rows(), a.rows());
        for (int i = 0; i + 1 < a.rows(); ++i)
            upper.set(i, i + 1, operands.number());
        general += upper;
        digest_solutions<mlBiConjugateGradients>(digest, general, b);
    }
}

} // namespace

void digest_sparse() {
    digest_cholesky();
    digest_lu();
    digest_iterative();
    ExactDigest digest("sparse matrices");
    Operands operands(51);
    for (int n = 1; n < 40; ++n) {
        mlSparseMatrix a, b, c;
        fill(a, n, n + 2, operands);
        fill(b, n + 2, n, operands);
        c.become(mlMatrixProduct, a, b);
        digest_rows(digest, c);
        c.become(mlMatrixTranspose, b);
        c -= a;
        c *= 1.3;
        c /= 0.7;
        digest_rows(digest, c);
        mlVector x, y(mlVectorZero, n + 2);
        operands.become(x, n + 2);
        c.multiply_vector(x, y);
        digest(y);

        mlSparseSymMatrix const s(mlMatrixPremultiplyTranspose, a);
        mlMatrix dense, product;
        s.decompress(dense);
        digest(dense);
        s.multiply_matrix(dense, product);
        digest(product);
    }
}
