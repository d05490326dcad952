#include <algorithm>
#include <utility>

#include "bits/digest.h"

namespace {

int const orders[] = {0, 1, 2, 3, 5, 10, 23, 24, 25, 33, 50, 97};

void digest_lu() {
    if (stops_at_misuse("LU decomposition")) return; // singular factors are asked to solve
    ExactDigest digest("LU decomposition");
    Operands operands(11);
    for (int const n : orders) {
        mlMatrix a, inverse, factor;
        mlVector b, x;
        operands.become(a, n, n);
        operands.become(b, n);
        for (int singular = 0; singular < 2; ++singular) {
            for (int i = 0; i < n && singular; ++i)
                a(i, n / 2) = 0.0;
            mlLUDecomposition const lu(a);
            digest(lu.is_singular());
            digest(lu.determinant());
            lu.upper_matrix(factor);
            digest(factor);
            lu.lower_matrix(factor);
            digest(factor);
            lu.solve(b, x);
            digest(x);
            lu.inverse(inverse);
            digest(inverse);
        }
    }
}

void digest_cholesky() {
    ExactDigest digest("Cholesky decomposition");
    Operands operands(12);
    for (int const n : orders) {
        mlMatrix g, a, out;
        mlVector b, x;
        operands.become(g, n, n);
        operands.become(b, n);
        multiply(g, mlMatrix(mlMatrixTranspose, g), a);
        for (int indefinite = 0; indefinite < 2; ++indefinite) {
            if (n > 0 && indefinite) a(n / 2, n / 2) = -1.0;
            mlCholeskyDecomposition const cholesky(a);
            digest(cholesky.is_singular());
            cholesky.matrix_l(out);
            digest(out);
            if (cholesky.is_singular()) continue;
            digest(cholesky.determinant());
            cholesky.solve(b, x);
            digest(x);
            cholesky.inverse(out);
            digest(out);
            cholesky.matrix_l_inverted(out);
            digest(out);
        }
    }
}

void digest_condition() {
    ExactDigest digest("condition and refinement");
    Operands operands(19);
    for (int const n : orders) {
        mlMatrix a, g;
        mlVector b, x;
        operands.become(a, n, n);
        operands.become(b, n);
        for (int i = 0; i < n; ++i)
            a.row(i).add_multiple(-0.999, a.row(n / 2));
        mlLUDecomposition const lu(a);
        multiply_transposed(a, a, g);
        for (int i = 0; i < n; ++i)
            g(i, i) += 1e-3;
        mlCholeskyDecomposition const cholesky(g);
        digest(lu.reciprocal_condition());
        digest(cholesky.reciprocal_condition());
        lu.solve(b.slice(), x);
        digest(lu.refine(b, x));
        digest(x);
        cholesky.solve(b.slice(), x);
        digest(cholesky.refine(b, x));
        digest(x);
    }
}

void digest_qr() {
    ExactDigest digest("QR decomposition and Gram-Schmidt");
    Operands operands(13);
    for (int const n : orders) {
        for (int orthonormal = 0; orthonormal < 2; ++orthonormal) {
            mlMatrix q, r, out;
            mlQRDecomposition qr(&q, &r);
            if (orthonormal) qr.set_Q_orthonormal();
            for (int i = 0; i < n; ++i) {
                mlVector v;
                operands.become(v, n);
                qr.add(&v);
                digest(qr.status());
            }
            digest(q);
            digest(r);
            if (orthonormal) qr.get_orthonormal_Q(out);
            digest(out);
        }
    }
}

void digest_tridiagonal() {
    ExactDigest digest("tridiagonal systems");
    Operands operands(14);
    for (int n = 1; n < 60; ++n) {
        mlVector a, b, c, r, x(mlVectorZero, n);
        for (mlVector * const v : {&a, &b, &c, &r})
            operands.become(*v, n);
        b += 3.0;
        mlTridiagonal const system(n, a.slice(), b.slice(), c.slice());
        mlSlice view = x.slice();
        system.solve(r.slice(), view);
        digest(x);
        system.solve_periodic(r.slice(), view);
        digest(x);
    }
}

void digest_svd() {
    ExactDigest digest("singular values");
    Operands operands(15);
    for (int const n : orders) {
        for (int const m : {n, 2 * n, n / 2 + 1}) {
            mlMatrix a;
            operands.become(a, m, n);
            for (double & x : a)
                x *= n % 2 ? 1.0 : operands.graded(60);
            mlSingularValueDecomposition const svd(a);
            digest(svd.invalid());
            digest(svd.diagonal());
            digest(svd.U());
            digest(svd.V());
            digest(svd.rank(1e-7));
            if (n > 0) digest(svd.inverse(1e-7));
        }
        mlMatrix jacobi;
        mlVector squares(mlVectorZero, n);
        operands.become(jacobi, 2 * n + 2, n);
        if (n > 0) ml_svd(jacobi.data(), squares.data(), n + 2, n);
        digest(jacobi);
        digest(squares);
    }
}

void digest_large_svd() { // of so many rows that rotations are applied in strips
    ExactDigest digest("singular values of tall and wide matrices");
    Operands operands(40);
    for (auto const & [rows, cols] : {std::pair(201, 12), std::pair(300, 80), std::pair(20, 260)}) {
        mlMatrix a;
        operands.become(a, rows, cols);
        mlSingularValueDecomposition const svd(a);
        digest(svd.invalid());
        digest(svd.diagonal());
        digest(svd.U());
        digest(svd.V());
    }
}

void digest_eigen() {
    ExactDigest digest("symmetric eigenvalues and principal components");
    Operands operands(16);
    for (int const n : {1, 2, 3, 5, 10, 20}) {
        mlMatrix a;
        operands.become(a, n, n);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < i; ++j)
                a(i, j) = a(j, i);
        }
        mlSymEigenVecs eigen(a);
        eigen.calculate();
        digest(eigen.eigen_values());
        digest(eigen.eigen_vectors());

        doublecoDynArr2D points(3 * n, n, 1, 1);
        for (int i = 0; i < 3 * n; ++i) {
            for (int j = 0; j < n; ++j)
                points(i, j) = operands.number() * (j + 1);
        }
        mlPCA const pca(points);
        digest(pca.status());
        digest(pca.eigenvalues());
        for (int i = 0; i < pca.eigenvalues().size(); ++i)
            digest(pca.axis(i));
    }
}

void digest_symmetric_eigen() {
    ExactDigest digest("symmetric eigenvalues by QL and QR steps");
    Operands operands(41);
    for (int const n : {0, 1, 2, 3, 4, 5, 10, 16, 17, 18, 33, 48, 49, 97, 130, 210}) {
        for (int kind = 0; kind < 4; ++kind) { // plain, graded either way, with equal values
            mlMatrix a(mlMatrixZero, n, n);
            for (int i = 0; i < n; ++i) {
                for (int j = i; j < n; ++j) {
                    double const x = operands.number();
                    int const grade = kind == 1 ? -i - j : kind == 2 ? i + j : 0;
                    a(i, j) = kind == 3 ? (i == j ? 2.0 : i % 5 == 0 && j == i + 3 ? x : 0.0) : std::ldexp(x, grade);
                }
            }
            mlSymmetricEigen const eigen(a);
            digest(eigen.status());
            digest(eigen.eigen_values());
            digest(eigen.eigen_vectors());
        }
    }
}

void digest_small_eigen() {
    ExactDigest two("eigenvalues of 2 x 2 matrices");
    RuntimeDigest three("eigenvalues of 3 x 3 matrices");
    Operands operands(17);
    for (int i = 0; i < 200; ++i) {
        mlMatrix a, b;
        operands.become(a, 2, 2);
        operands.become(b, 3, 3);
        mlAsymEigenVecs2 eigen2(a);
        eigen2.calculate();
        two(eigen2.eigen_values());
        two(eigen2.eigen_vectors());
        mlAsymEigenVecs3 eigen3(b);
        eigen3.calculate();
        three(eigen3.eigen_values());
        three(eigen3.eigen_vectors());
    }
}

} // namespace

void digest_decompositions() {
    digest_lu();
    digest_cholesky();
    digest_condition();
    digest_qr();
    digest_tridiagonal();
    digest_svd();
    digest_large_svd();
    digest_eigen();
    digest_symmetric_eigen();
    digest_small_eigen();
}
