// How many digits of a linear system's solution survive as its condition grows: by LU decomposition, by singular
// values, by Cholesky decomposition of a symmetric matrix of that condition, by the QR decomposition, and by Cholesky
// decomposition of the normal equations, whose condition is the square of it.
//
// conditioning     The systems are generated: A = U^T diag(s) V, U and V random orthogonal, s falling from the
//                  condition to 1 by equal factors, with the solution (1, ..., 1).

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "maths/maths.h"

namespace {

int const order = 12;
int const draws = 21;

/// Rows of length 1 at right angles to each other, from random ones.
void draw_orthogonal(mlRandom & random, mlMatrix & q) {
    q.become(order, order);
    for (double & x : q)
        x = random.uniform(-1.0, 1.0);
    for (int pass = 0; pass < 2; ++pass) // the second one removes what roundoff left
        mlGramSchmidt const orthogonal(&q);
    for (int r = 0; r < order; ++r) {
        double const length = std::sqrt(q.row(r).modulus_squared());
        for (int c = 0; c < order; ++c)
            q(r, c) /= length;
    }
}

/// a = U^T diag(s) V.
void compose(mlMatrix const & u, mlVector const & s, mlMatrix const & v, mlMatrix & a) {
    a.become(mlMatrixZero, order, order);
    for (int k = 0; k < order; ++k) {
        for (int i = 0; i < order; ++i) {
            for (int j = 0; j < order; ++j)
                a(i, j) += u(k, i) * s[k] * v(k, j);
        }
    }
}

/// The decimal digits to which every element of x is 1, from 0 to 16.
double digits_of(mlVector const & x) {
    double error = 0.0;
    for (double const x_i : x)
        error = std::max(error, std::fabs(x_i - 1.0));
    return std::clamp(-std::log10(error), 0.0, 16.0);
}

template <class Decomposition> double digits_by(mlMatrix const & a, mlVector const & b) {
    Decomposition const decomposition(a);
    if (decomposition.is_singular()) return 0.0;
    mlVector x;
    decomposition.solve(b, x);
    return digits_of(x);
}

/// All singular values count, however small: `solve` would leave out those below 1e-7 of the largest.
double digits_by_svd(mlMatrix const & a, mlVector const & b) {
    mlSingularValueDecomposition const svd(a);
    mlVector x;
    multiply(svd.inverse(0.0), b, x);
    return digits_of(x);
}

/// The columns of A are the vectors that the decomposition takes, so A = Q^T R^T, and R^T x = Q b.
double digits_by_qr(mlMatrix const & a, mlVector const & b) {
    mlMatrix q, r, q_columns;
    mlQRDecomposition qr(&q, &r);
    qr.set_Q_orthonormal();
    mlVector column(mlVectorZero, order), x(mlVectorZero, order);
    for (int j = 0; j < order; ++j) {
        column = a.col(j);
        qr.add(&column);
        if (q.rows() <= j) return 0.0; // it depends on the columns before
    }
    qr.get_orthonormal_Q(q_columns);
    for (int i = order - 1; i >= 0; --i) {
        x[i] = scalar_product(q_columns.col(i), b.slice());
        for (int j = i + 1; j < order; ++j)
            x[i] -= r(j, i) * x[j];
        x[i] /= r(i, i);
    }
    return digits_of(x);
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + draws / 2, values.end());
    return values[draws / 2];
}

void solve_systems(int exponent) {
    mlRandom random(1 + exponent);
    mlVector s(mlVectorZero, order), ones(mlVectorZero, order), b, normal_b;
    ones.fill(1.0);
    for (int k = 0; k < order; ++k)
        s[k] = std::pow(10.0, exponent * (1.0 - k / (order - 1.0)));

    std::vector<double> lu(draws), svd(draws), cholesky(draws), qr(draws), normal(draws);
    mlMatrix u, v, a, a_transposed, product;
    for (int draw = 0; draw < draws; ++draw) {
        draw_orthogonal(random, u);
        draw_orthogonal(random, v);
        compose(u, s, v, a);
        multiply(a, ones, b);
        lu[draw] = digits_by<mlLUDecomposition>(a, b);
        svd[draw] = digits_by_svd(a, b);
        qr[draw] = digits_by_qr(a, b);

        a_transposed.become(mlMatrixTranspose, a);
        multiply(a_transposed, a, product);
        multiply(a_transposed, b, normal_b);
        normal[draw] = digits_by<mlCholeskyDecomposition>(product, normal_b);

        compose(v, s, v, a);
        multiply(a, ones, b);
        cholesky[draw] = digits_by<mlCholeskyDecomposition>(a, b);
    }
    std::printf("  %9.0e   %6.1f   %6.1f   %8.1f   %6.1f   %16.1f\n", std::pow(10.0, exponent), median(lu), median(svd),
                median(cholesky), median(qr), median(normal));
}

} // namespace

int main() {
    std::printf("Digits of the solution of %d equations, the median of %d systems\n", order, draws);
    std::printf("  %9s   %6s   %6s   %8s   %6s   %16s\n", "condition", "LU", "SVD", "Cholesky", "QR",
                "normal equations");
    for (int exponent = 0; exponent <= 16; ++exponent)
        solve_systems(exponent);
}
