#include <limits>

#include "bits/digest.h"

namespace {

void digest_vectors() {
    ExactDigest digest("vectors and slices");
    Operands operands(1);
    for (int n = 0; n < 40; ++n) {
        mlVector a, b, strided;
        operands.become(a, n);
        operands.become(b, n);
        operands.become(strided, 3 * n + 2);
        mlSlice const every_third = strided.slice(1, 3, n);
        for (double const x : {a.sum(), a.modulus_squared(), a.max_absolute_value(), scalar_product(a, b),
                               distance_squared(a, b), norm_diff(a, b), every_third.sum(),
                               scalar_product(every_third, a.slice()), norm_diff(a.slice(), every_third)})
            digest(x);
        a += b;
        a *= 1.1;
        a -= every_third;
        a /= 0.3;
        digest(a);
    }
}

void digest_matrices() {
    ExactDigest digest("matrix products");
    Operands operands(2);
    for (int const n : {0, 1, 2, 3, 5, 8, 13, 24, 25, 40, 65, 130}) {
        mlMatrix a, b, c;
        mlVector x, y;
        operands.become(a, n, n + 3);
        operands.become(b, n + 3, n / 2 + 1);
        operands.become(x, n + 3);
        if (n > 4) { // special numbers spread
            a[7] = std::numeric_limits<double>::infinity();
            b[5] = -0.0;
            b[9] = std::numeric_limits<double>::quiet_NaN();
        }
        multiply(a, b, c);
        digest(c);
        multiply(a, x, y);
        digest(y);
        multiply(a, b.col(0), y);
        digest(y);
        digest(c.max_absolute_value());
    }
    digest(mlMatrix(mlMatrixHilbert, 20));
}

void digest_multiples_and_norms() {
    ExactDigest digest("multiples, norms, transposed products");
    Operands operands(5);
    for (int const n : {0, 1, 2, 3, 7, 20, 64, 65, 131}) {
        mlMatrix a, b, c;
        mlVector x, y;
        operands.become(a, n, n / 2 + 2);
        operands.become(b, n, n + 3);
        operands.become(x, n);
        operands.become(y, 2 * n + 1);
        multiply_transposed(a, b, c);
        digest(c);
        multiply_transposed(b, x, y);
        digest(y);
        multiply_transposed(b, a.col(1), y);
        digest(y);
        y.add_multiple(operands.number(), mlVector(utCopy, y));
        x.add_multiple(operands.number(), x.slice(n - 1, -1, n));
        a.col(1).add_multiple(operands.number(), x);
        a *= operands.number();
        for (double const norm : {one_norm(x), infinity_norm(x), euclidean_norm(x), one_norm(a.col(1)), one_norm(a),
                                  infinity_norm(b), frobenius_norm(a)})
            digest(norm);
        mlMatrix const before(utCopy, a);
        a /= operands.number();
        a -= before;
        digest(a);
        a += before;
        digest(a);
        digest(x);
        digest(y);
    }
}

void digest_small_helpers() {
    ExactDigest digest("fixed-size vectors, ranges, statistics");
    Operands operands(3);
    mlStats stats;
    for (int i = 0; i < 300; ++i) {
        double const p[] = {operands.number(), operands.number(), operands.number()};
        double const q[] = {operands.graded(30), operands.graded(30), operands.graded(30)};
        mlTinyVector3 a, b, c;
        a.become(utConvert, p);
        b.become(utConvert, q);
        c.vector_product(a, b);
        c /= q[0];
        a.interpolate(b, c, p[0]);
        for (double const x : {c[0], c[1], c[2], a.sum(), a.modulus_squared(), scalar_triple_product(a, b, c),
                               mlMath::interpolate(p[0], q[0], q[1]), mlMath::rescale(p[0], p[1], p[2], q[0], q[1]),
                               mlRange(p[0], q[0]).position_in_range(p[1]), mlRange(-1.0, p[2]).clip(q[2])})
            digest(x);
        stats.add(q[0]);
        digest(stats.mean());
        digest(stats.variance());
    }
}

void digest_runtime() {
    RuntimeDigest digest("derivatives of elementary functions, normal numbers");
    Operands operands(4);
    mlRandom random(4);
    for (int i = 0; i < 200; ++i) {
        double const x = 10.0 * operands.number();
        for (double const y : {mlMath::sin_derivative(i, x), mlMath::cos_derivative(i, x),
                               mlMath::sinh_derivative(i, x), mlMath::cosh_derivative(i, x), random.normal()})
            digest(y);
    }
}

} // namespace

void digest_core() {
    digest_vectors();
    digest_matrices();
    digest_multiples_and_norms();
    digest_small_helpers();
    digest_runtime();
}
