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
    if (stops_at_misuse("roots of quadratics, iterative roots")) return; // brackets without a change of sign
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

/// A cubic on a short domain that claims the same slope everywhere, which leads astray. Its calls are results.
class Astray : public mlFunction {
public:
    Astray(double root, double factor, double slope, Digest & calls)
        : root_(root), factor_(factor), slope_(slope), calls_(calls) {}
    double function(double t) const override {
        double const d = t - root_;
        calls_(t);
        return factor_ * (d * d + 0.5) * d;
    }
    double function_derivative(int order, double t) const override {
        calls_(order);
        calls_(t);
        return slope_;
    }
    double t_min() const override { return -1.0; }
    double t_max() const override { return 1.0; }

private:
    double root_, factor_, slope_;
    Digest & calls_;
};

void digest_searches_for_roots() {
    if (stops_at_misuse("searches for roots, call by call")) return; // brackets without a change of sign
    ExactDigest digest("searches for roots, call by call");
    Operands operands(43);
    for (int i = 0; i < 1000; ++i) {
        double const slope = 0.25 * operands.below(17) - 2.0, a = -operands.below(5), b = 0.5 * operands.below(5);
        Astray const f(0.25 * operands.below(9) - 1.0, i % 2 == 0 ? 1.0 : -1.0, slope, digest);
        int const limit = operands.below(9);
        int converged;
        digest(mlRootSolve::newton_raphson(f, a + b, 0.0625, converged, limit));
        digest(converged);
        digest(mlRootSolve::newton_raphson(f, a, b, 0.0625, converged, limit));
        digest(converged);
        digest(mlRootSolve::regula_falsi(f, a, b, 0.0625, converged, limit));
        digest(converged);
    }
}

void digest_all_roots() {
    ExactDigest digest("all roots of polynomials, with bounds");
    Operands operands(44);
    mlPolynomialSolver solver;
    for (int i = 0; i < 300; ++i) { // of one scale, graded, wide, and with double roots
        int const n = 1 + (i * i) % 37;
        mlVector a(mlVectorZero, n + 1);
        for (int k = 0; k <= n; ++k)
            a[k] = operands.graded(i % 3 == 0 ? 0 : i % 3 == 1 ? 30 : 400);
        int degree = n;
        mlVector square(mlVectorZero, 2 * n + 1);
        if (i % 5 == 0) mlPolynomial::multiply(n, a.data(), n, a.data(), degree, square.data());
        digest(solver.solve(degree, i % 5 == 0 ? square.data() : a.data()));
        for (int k = 0; k < solver.num_roots(); ++k) {
            digest(solver.real_part(k));
            digest(solver.imaginary_part(k));
            digest(solver.error_bound(k));
        }
    }
}

} // namespace

void digest_polynomials() {
    digest_arithmetic();
    digest_roots();
    digest_searches_for_roots();
    digest_all_roots();
}
