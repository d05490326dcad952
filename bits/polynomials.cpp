#include "bits/digest.h"

namespace {

void digest_arithmetic() {
    ExactDigest digest("polynomials and curves");
    Operands operands(41);
    mlPolynomial polynomial;
    mlTinyVector2Polynomial curve;
    for (int n = 0; n < 12; ++n) {
        mlVector a, b, x, y, c(mlVectorZero, n + 2), product(mlVectorZero, 2 * n + 1);
        for (mlVector * const v : {&a, &b, &x, &y})
            operands.become(*v, n + 1);
        int degree;
        mlPolynomial::multiply(n, a.data(), n, b.data(), degree, product.data());
        digest(product);
        double value;
        mlPolynomial::evaluate(n, a.data(), x[0], value);
        digest(value);
        polynomial.fit(x.data(), y.data(), n, c.data());
        digest(c);
        polynomial.fit(-1.0, 2.0, y.data(), n, c.data());
        digest(c);
        degree = n;
        mlPolynomial::integral(degree, c.data());
        digest(c);
        mlPolynomial::derivative(2, degree, c.data());
        digest(c);

        coDynArr<mlTinyVector2> points, coefficients;
        points.expand(n + 1);
        coefficients.expand(n + 1);
        for (int i = 0; i <= n; ++i) {
            points[i][0] = x[i];
            points[i][1] = y[i];
        }
        curve.fit(0.0, 1.0, points.data(), n, coefficients.data());
        coefficients.expand(n + 2);
        degree = n;
        mlTinyVector2Polynomial::integral(degree, coefficients.data());
        for (int i = 0; i <= degree; ++i)
            digest(coefficients[i].slice());
    }
}

class Cubic : public mlFunction {
public:
    double function(double t) const override { return (t * t - 2.0) * t - 0.3; }
    double function_derivative(int, double t) const override { return 3.0 * t * t - 2.0; }
};

void digest_roots() {
    ExactDigest exact("roots of quadratics, iterative roots");
    RuntimeDigest runtime("roots of cubics and quartics");
    Operands operands(42);
    Cubic const f;
    for (int i = 0; i < 500; ++i) {
        double const a = operands.graded(20), b = operands.graded(20), c = operands.number(), d = operands.number();
        double r[4];
        int converged;
        exact(mlRootSolve::quadratic_solve(a, b, c, r[0], r[1]));
        exact(r[0]);
        exact(r[1]);
        exact(mlRootSolve::newton_raphson(f, 3.0 * c, 1e-12, converged, 40));
        exact(mlRootSolve::newton_raphson(f, 1.0 + 0.1 * c, 2.0, 1e-12, converged, 40));
        exact(mlRootSolve::regula_falsi(f, c, 2.0 + d, 1e-12, converged, 60));
        runtime(mlRootSolve::cubic_solve(a, b, c, d, r[0], r[1], r[2]));
        runtime(mlSlice(r, 0, 3, 1));
        runtime(mlRootSolve::quartic_solve(c, a, b, d, c + d, r[0], r[1], r[2], r[3]));
        runtime(mlSlice(r, 0, 4, 1));
    }
}

} // namespace

void digest_polynomials() {
    digest_arithmetic();
    digest_roots();
}
