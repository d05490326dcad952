#include <array>

#include "bits/digest.h"

namespace {

double polynomial(double t) { return ((0.3 * t - 1.7) * t + 0.1) * t * t - 2.0 * t + 0.7; }

class Polynomial : public mlFunction {
public:
    double function(double t) const override { return polynomial(t); }
    double t_min() const override { return -3.0; }
    double t_max() const override { return 3.0; }
};

class Rational : public mlFunction {
public:
    double function(double t) const override { return 1.0 / (1.0 + t * t); }
};

class Surface : public mlFunction2 {
public:
    double function(double u, double v) const override { return polynomial(u) * v + u * v * v; }
    double u_min() const override { return -1.0; }
    double u_max() const override { return 1.0; }
    double v_min() const override { return -2.0; }
    double v_max() const override { return 2.0; }
};

class Bowl : public mlFunctionN1 {
public:
    explicit Bowl(int n) { dimension = n; }
    double function(mlSlice const & x) const override {
        double sum = 1.0;
        for (int i = 0; i < dimension; ++i)
            sum += (i + 1) * x[i] * x[i] - x[i] * x[(i + 1) % dimension];
        return sum;
    }
};

void digest_differences() {
    ExactDigest digest("finite differences and lines");
    Operands operands(21);
    Polynomial const f;
    Surface const surface;
    for (int i = 0; i < 200; ++i) {
        double const t = 3.5 * operands.number(), h = 0.5 * operands.number();
        digest(mlFunctionApproxDeriv(f, h).function(t));
        digest(mlFunction2ApproxUDeriv(surface, h).function(t, h));
        digest(mlFunction2ApproxVDeriv(surface, h).function(h, t));
        double const du = operands.number(), dv = operands.number();
        mlLineOnFunction2 const line(du, dv, 0.1, 0.2, &surface);
        digest(line.function(t));
        digest(line.t_min());
        digest(line.t_max());
    }
    for (int n = 1; n < 8; ++n) {
        Bowl const bowl(n);
        mlVector x, g;
        mlMatrix h;
        operands.become(x, n);
        bowl.gradient(x.slice(), g);
        bowl.hessian(x.slice(), h);
        digest(g);
        digest(h);
    }
}

void digest_integrals() {
    ExactDigest digest("integrals");
    Operands operands(22);
    Rational const f;
    for (int i = 0; i < 40; ++i) {
        double const a = 4.0 * operands.number(), b = 4.0 * operands.number();
        for (int levels = 0; levels < 12; levels += 3) {
            digest(mlIntegrateTrapezoid(1e-6, levels).integrate(f, a, b));
            digest(mlIntegrateSimpson(1e-8, levels).integrate(f, a, b));
            digest(mlIntegrateRomberg(1e-10, levels).integrate(f, a, b));
        }
    }
}

void digest_callables() {
    ExactDigest digest("functions from callables");
    Operands operands(23);
    mlFunctionOf const f([](double t) { return t * t * t - t; }, [](double t) { return 3.0 * t * t - 1.0; });
    mlFunction2Of const surface([](double u, double v) { return u * u * v; },
                                [](double u, double v) {
                                    return std::array{2.0 * u * v, u * u};
                                });
    auto const products = [](mlSlice const & x, mlVector & y) {
        y[0] = x[0] * x[1] * x[2];
        y[1] = x[0] / (1.0 + x[1] * x[1]);
    };
    mlFunctionNOf const system(3, 2, products);
    mlMatrix jacobian(mlMatrixZero, 2, 3);
    mlVector x;
    for (int i = 0; i < 100; ++i) {
        operands.become(x, 3);
        x[0] *= 1000.0;
        for (int order = 0; order < 3; ++order) {
            digest(f.function_derivative(order, x[1]));
            digest(surface.uv_function_derivative(order, i % 3, x[1], x[2]));
        }
        system.function_gradient(x.slice(), jacobian);
        digest(jacobian);
    }
}

} // namespace

void digest_functions() {
    digest_callables();
    digest_differences();
    digest_integrals();
}
