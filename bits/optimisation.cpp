#include <array>
#include <cmath>
#include <limits>

#include "bits/digest.h"

namespace {

class Valley : public mlFunctionN1 {
public:
    explicit Valley(int n) { dimension = n; }
    double function(mlSlice const & x) const override {
        double sum = 0.0;
        for (int i = 0; i + 1 < dimension; ++i) {
            double const a = x[i + 1] - x[i] * x[i], b = 1.0 - x[i];
            sum += 100.0 * a * a + b * b;
        }
        return sum;
    }
};

class Quartic : public mlFunction {
public:
    Quartic(double centre, int orders) : centre_(centre) { highest_derivative_order = orders; }
    double function(double t) const override {
        double const d = t - centre_;
        return d * d * (d * d - 1.0) + 0.1 * d;
    }
    double function_derivative(int order, double t) const override {
        double const d = t - centre_;
        return order == 1 ? d * (4.0 * d * d - 2.0) + 0.1 : 12.0 * d * d - 2.0;
    }

private:
    double centre_;
};

void digest_line_searches() {
    ExactDigest digest("minima of functions of one variable");
    Operands operands(31);
    for (int i = 0; i < 100; ++i) {
        double const centre = operands.number();
        Quartic f(centre, i % 3);
        double a = centre - 2.0, b = centre - 1.9 + operands.number(), c, fa, fb, fc, x;
        ml_minimum_bracketing(f, a, b, c, fa, fb, fc);
        for (double const value : {a, b, c, fa, fb, fc})
            digest(value);
        digest(ml_brent_minimum_search(f, a, b, c, 1e-8, 60, &x));
        digest(x);
        int found, range_end, not_converged;
        mlMinimiser minimiser(f, centre + operands.number(), -2.0, 2.0, 1e-5);
        digest(minimiser.minimise(found, range_end, not_converged));
        minimiser.change_range(-2.5);
        digest(minimiser.minimise(found, range_end, not_converged));
        for (int const flag : {found, range_end, not_converged})
            digest(flag);
    }
}

/// Stairs on both sides of a centre, on which ties abound, with a curvature that need not be true. Its calls are
/// results.
class Stairs : public mlFunction {
public:
    Stairs(double centre, double curvature, int orders, Digest & calls)
        : centre_(centre), curvature_(curvature), calls_(calls) {
        highest_derivative_order = orders;
    }
    double function(double t) const override { return std::fabs(step(0, t)); }
    double function_derivative(int order, double t) const override {
        double const s = step(order, t);
        return order == 2 ? curvature_ : s > 0.0 ? 0.5 : s < 0.0 ? -0.5 : 0.0;
    }
    double t_min() const override { return -8.0; }
    double t_max() const override { return 8.0; }

private:
    double step(int order, double t) const {
        calls_(order);
        calls_(t);
        return std::floor((t - centre_) * 4.0);
    }

    double centre_, curvature_;
    Digest & calls_;
};

void digest_stairs() {
    ExactDigest digest("searches down stairs, call by call");
    Operands operands(35);
    for (int i = 0; i < 2000; ++i) {
        double const centre = 0.5 * operands.below(17) - 4.0;
        double const curvature = std::array{0.25, 1.0, 16.0, -1.0, 1e-17, 1e20}[operands.below(6)];
        Stairs const f(centre, curvature, i % 3, digest);
        double const lo = std::array{mlUnboundedMin, -8.0, -1.0}[operands.below(3)];
        double const hi = std::array{mlUnboundedMax, 8.0, 1.0}[operands.below(3)];
        double const start = 0.5 * operands.below(41) - 10.0;
        mlMinimiser minimiser(f, start, lo, hi, std::array{1.0, 0.25, 0.0009765625}[operands.below(3)]);
        for (int again = 0; again < 2; ++again) {
            int flags[3];
            digest(minimiser.minimise(flags[0], flags[1], flags[2]));
            for (int const flag : flags)
                digest(flag);
            minimiser.change_range(operands.below(31) - 15.0);
        }
    }
}

void digest_brackets() {
    ExactDigest digest("brackets down stairs, call by call");
    Operands operands(36);
    for (int i = 0; i < 2000; ++i) {
        Stairs f(0.5 * operands.below(401) - 100.0, 0.0, 0, digest);
        double a = operands.below(21) - 10.0, b = a + 0.75 * operands.below(4) - 1.25, c, fa, fb, fc, x;
        ml_minimum_bracketing(f, a, b, c, fa, fb, fc);
        for (double const value : {a, b, c, fa, fb, fc})
            digest(value);
        double const tolerance = std::array{0.2, 1e-3, 1e-8}[operands.below(3)];
        digest(ml_brent_minimum_search(f, a, b, c, tolerance, i % 2 == 0 ? 3 : 100, &x));
        digest(x);
    }
}

void digest_searches() {
    ExactDigest digest("minima of functions of several variables");
    Operands operands(32);
    for (int n = 2; n < 6; ++n) {
        for (int i = 0; i < 5; ++i) {
            Valley f(n);
            mlVector start, x(mlVectorZero, n);
            operands.become(start, n);
            mlDownHillSimplex simplex(n);
            digest(simplex.solve(f, start, static_cast<mlDownHillSimplexSpeed>(i)));
            digest(simplex.number_of_calls());
            simplex.result(x);
            digest(x);
            x = start;
            mlMatrix directions(mlMatrixIdentity, n);
            int iterations = 0;
            digest(ml_powell_minimum_search(x, directions, 1e-12, iterations, f));
            digest(iterations);
            digest(x);
            digest(directions);
        }
    }
}

/// Signed distances of points from a circle with the parameters centre and radius.
class Circle : public mlDistanceLeastSquares {
public:
    Circle(double const * xy, int n) : mlDistanceLeastSquares(3, n), xy_(xy) {}
    void normalise_parameters(mlVector & p) override { p[2] = std::fabs(p[2]); }
    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        double const x = xy_[2 * point] - parameters[0], y = xy_[2 * point + 1] - parameters[1];
        double const length = std::sqrt(x * x + y * y);
        d = length - parameters[2];
        gradient[0] = -x / length;
        gradient[1] = -y / length;
        gradient[2] = -1.0;
    }
    void distance(double & d, int point) override {
        double const x = xy_[2 * point] - parameters[0], y = xy_[2 * point + 1] - parameters[1];
        d = std::sqrt(x * x + y * y) - parameters[2];
    }

private:
    double const * xy_;
};

void digest_fits() {
    ExactDigest digest("least-squares fits");
    Operands operands(33);
    for (int i = 0; i < 40; ++i) {
        mlVector points, start, result;
        operands.become(points, 40);
        operands.become(start, 3);
        Circle circle(points.data(), 20);
        mlLevenbergMarquardt fit(circle);
        fit.set_strict(i % 2 == 1);
        fit.set_max_iterations(60);
        digest(fit.fit(start, result));
        digest(result);
        digest(circle.point_distribution_quality(result));
    }
}

void digest_curves() {
    ExactDigest digest("curve fits and their quality");
    Operands operands(38);
    auto const f = [](double x, mlVector const & p) { return p[0] / (1.0 + p[1] * p[1] * x * x) + p[2]; };
    auto const df = [](double x, mlVector const & p, mlVector & g) {
        double const q = 1.0 + p[1] * p[1] * x * x;
        g[0] = 1.0 / q;
        g[1] = -2.0 * p[0] * p[1] * x * x / (q * q);
        g[2] = 1.0;
    };
    for (int i = 0; i < 40; ++i) {
        int const n = 3 + i % 9;
        mlVector x, y, weights, p;
        operands.become(x, n);
        operands.become(y, n);
        operands.become(weights, n);
        operands.become(p, 3);
        weights += 1.0;
        if (i % 8 == 0) x.fill(0.5); // leaves p[0] and p[2] undetermined
        mlFitQuality const quality = i % 2 == 0 ? ml_curve_fit(x.slice(), y.slice(), p, f)
                                                : ml_curve_fit(x.slice(), y.slice(), weights.slice(), p, f, df);
        digest(p);
        for (int const number : {static_cast<int>(quality.status()), quality.rank(), quality.degrees_of_freedom()})
            digest(number);
        for (double const number : {quality.residual_sum(), quality.residual_deviation(), quality.relative_offset()})
            digest(number);
        digest(quality.standard_errors());
        digest(quality.covariance());
        digest(quality.correlations());
    }
}

void digest_bounded_fits() {
    ExactDigest digest("bounded fits");
    Operands operands(39);
    for (int i = 0; i < 60; ++i) {
        mlVector points, start, lower, upper, result(mlVectorZero, 3);
        operands.become(points, 40);
        operands.become(start, 3);
        operands.become(lower, 3);
        operands.become(upper, 3);
        lower -= 0.5;
        upper += 0.5;
        Circle circle(points.data(), 20);
        mlBoundedFit fit(circle, lower, upper);
        fit.set_max_iterations(i % 5 == 4 ? 2 : 100);
        digest(fit.fit(start, result));
        digest(fit.residual_sum());
        digest(fit.iterations());
        digest(result);
        for (int j = 0; j < 3; ++j)
            digest(fit.at_bound(j));
    }
}

/// x_i^2 + sum of the others = constants that put a root near (1, ..., 1).
class System : public mlFunctionN {
public:
    explicit System(int n) { input_dimension = output_dimension = n; }
    void function(mlSlice const & x, mlVector & y) const override {
        for (int i = 0; i < input_dimension; ++i)
            y[i] = x[i] * x[i] - x[i] + x.sum() - 1.01 * input_dimension;
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        for (int i = 0; i < input_dimension; ++i) {
            for (int j = 0; j < input_dimension; ++j)
                jacobian(i, j) = i == j ? 2.0 * x[i] : 1.0;
        }
    }
};

void digest_newton() {
    ExactDigest digest("systems of equations");
    Operands operands(34);
    for (int n = 1; n < 30; ++n) {
        System const f(n);
        mlVector x;
        operands.become(x, n);
        x += 1.5;
        int converged;
        mlNewtonRaphson newton(mlNRDim, n);
        newton.solve(f, x, 1e-12, converged);
        digest(converged);
        digest(newton.status());
        digest(x);
    }
}

/// Small integers, for which many constraints meet in a point and many depend on others, and graded numbers.
void digest_programmes() {
    ExactDigest digest("quadratic programmes");
    Operands operands(37);
    for (int i = 0; i < 400; ++i) {
        bool const integer = i % 2 == 0;
        auto const number = [&] { return integer ? operands.below(5) - 2.0 : operands.graded(10); };
        int const n = 1 + operands.below(i < 380 ? 8 : 40), squares = operands.below(n + 2), sign = operands.below(3);
        mlMatrix g(mlMatrixZero, n, n);
        mlVector slope(mlVectorZero, n), normal(mlVectorZero, n), x;
        for (int k = 0; k < squares; ++k) {
            for (double & a : normal)
                a = integer ? operands.below(5) - 2.0 : operands.number();
            double const factor = sign == 0 && k % 2 == 0 ? -1.0 : 1.0;
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    g(r, c) += factor * normal[r] * normal[c];
        }
        for (double & s : slope)
            s = number();
        mlConstrainedQuadraticMinimiser minimiser(g, slope);
        for (int k = 0; k < 2 * n; ++k) {
            for (double & a : normal)
                a = number();
            double const bound = -operands.below(4);
            operands.below(8) == 0 ? minimiser.add_equality(normal.slice(), bound)
                                   : minimiser.add_inequality(normal.slice(), bound);
        }
        for (int again = 0; again < 2; ++again) {
            digest(minimiser.minimise(x));
            digest(minimiser.value());
            digest(minimiser.iterations());
            digest(x);
            for (int k = 0; k < minimiser.num_constraints(); ++k) {
                digest(minimiser.multiplier(k));
                digest(minimiser.is_active(k));
            }
            int const bounded = operands.below(n); // first: the order of arguments is the compiler's choice
            minimiser.add_lower_bound(bounded, operands.below(3) - 1.0);
        }
    }
}

/// (u, v) -> (10 (v - a u u), b - u, c u v): its squared length is a bent valley, with a residual unless c is 0. Its
/// calls are results.
class BentValley : public mlFunctionN {
public:
    BentValley(double a, double b, double c, Digest & calls) : a_(a), b_(b), c_(c), calls_(calls) {
        input_dimension = 2;
        output_dimension = 3;
    }
    void function(mlSlice const & x, mlVector & y) const override { derive(x, 0, 0, y); }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        mlVector column(mlVectorZero, 3);
        for (int k = 0; k < 2; ++k) {
            derive(x, 1 - k, k, column);
            for (int i = 0; i < 3; ++i)
                jacobian(i, k) = column[i];
        }
    }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        derive(x, orders[0], orders[1], y);
    }

private:
    void derive(mlSlice const & x, int i, int j, mlVector & y) const {
        double const u = x[0], v = x[1];
        for (double const number : {u, v, 1.0 * i, 1.0 * j})
            calls_(number);
        double const powers[] = {u * u, 2.0 * u, 2.0}; // of u, and its derivatives
        y[0] = 10.0 * ((i == 0 ? (j == 0 ? v : j == 1 ? 1.0 : 0.0) : 0.0) - (j == 0 ? a_ * powers[i] : 0.0));
        y[1] = j > 0 || i > 1 ? 0.0 : i == 1 ? -1.0 : b_ - u;
        y[2] = i > 1 || j > 1 ? 0.0 : c_ * (i == 0 ? u : 1.0) * (j == 0 ? v : 1.0);
    }

    double a_, b_, c_;
    Digest & calls_;
};

void digest_minimum(mlBaseMinimiser2 & minimiser, Operands & operands, Digest & digest) {
    for (int again = 0; again < 2; ++again) {
        double u, v;
        int flags[4];
        digest(minimiser.minimise(u, v, flags[0], flags[1], flags[2], flags[3]));
        for (double const x : {u, v})
            digest(x);
        for (int const n : flags)
            digest(n);
        for (int const n : {static_cast<int>(minimiser.state()), minimiser.iterations(), minimiser.number_of_calls()})
            digest(n);
        double const low = operands.number() - 1.0;
        minimiser.set_window(low, low + 1.5, again == 0 ? mlUnboundedMin : low, low + 0.125 * operands.below(9));
    }
}

void digest_windows() {
    ExactDigest digest("minima of functions of two variables, call by call");
    Operands operands(37);
    for (int i = 0; i < 300; ++i) {
        double const a = operands.number(), b = 2.0 * operands.number(), c = i % 2 * operands.number();
        BentValley const f(a, b, c, digest);
        mlSquaredLengthFunc2 square(&f);
        square.highest_derivative_order = i % 3;
        double const u = 2.0 * operands.number(), v = 2.0 * operands.number();
        double const resolution = std::array{1e-3, 1e-6, 1e-9}[operands.below(3)];
        mlMinimiser2 by_square(square, u, v, resolution);
        digest_minimum(by_square, operands, digest);
        mlVectorMinimiser2 by_vector(f, u, v, resolution, i % 3);
        by_vector.set_absolute_minimum(i % 5 == 0 ? 0.01 : -1.0);
        digest_minimum(by_vector, operands, digest);
    }
}

/// Valleys and quartics in boxes of all kinds, by gradients and by differences, call by call, beyond where they are
/// defined too.
void digest_quasi_newton() {
    ExactDigest digest("quasi-Newton searches, call by call");
    Operands operands(40);
    double const infinity = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 300; ++i) {
        int const n = 1 + operands.below(i < 280 ? 8 : 60), memory = operands.below(12);
        double const edge = i % 4 == 0 ? 1.5 : 1e9, quartic = operands.below(3);
        auto const value = [&](mlSlice const & x) {
            double sum = 0.0;
            for (int j = 0; j < n; ++j) {
                digest(x[j]);
                if (x[j] > edge) return std::numeric_limits<double>::quiet_NaN();
                double const a = (j + 1 < n ? x[j + 1] : 1.0) - x[j] * x[j], b = 1.0 - x[j];
                sum += 10.0 * a * a + b * b + quartic * x[j] * x[j] * x[j] * x[j];
            }
            return sum;
        };
        auto const gradient = [&](mlSlice const & x, mlVector & g) {
            g.fill(0.0);
            for (int j = 0; j < n; ++j) {
                double const a = (j + 1 < n ? x[j + 1] : 1.0) - x[j] * x[j], b = 1.0 - x[j];
                g[j] += 4.0 * quartic * x[j] * x[j] * x[j] - 40.0 * a * x[j] - 2.0 * b;
                if (j + 1 < n) g[j + 1] += 20.0 * a;
            }
        };
        mlVector x, lower, upper;
        operands.become(x, n);
        operands.become(lower, n);
        operands.become(upper, n);
        for (int j = 0; j < n; ++j) {
            x[j] *= 2.0;
            lower[j] = operands.below(3) == 0 ? -infinity : lower[j] - 1.0;
            upper[j] = operands.below(3) == 0 ? mlUnboundedMax : lower[j] > -2.0 ? lower[j] + upper[j] : 0.25;
        }
        mlQuasiNewton search(n, memory);
        if (i % 3 > 0) search.set_box(lower, upper);
        search.set_max_iterations(40);
        mlFunctionN1Of const with(n, value, gradient);
        mlFunctionN1Of const without(n, value);
        digest(i % 2 == 0 ? search.minimise(with, x) : search.minimise(without, x));
        digest(x);
        digest(search.value());
        digest(search.gradient());
        for (int const number : {search.iterations(), search.calls(), search.at_bound(n - 1)})
            digest(number);
    }
}

} // namespace

void digest_optimisation() {
    digest_line_searches();
    digest_stairs();
    digest_brackets();
    digest_searches();
    digest_fits();
    digest_curves();
    digest_bounded_fits();
    digest_newton();
    digest_programmes();
    digest_windows();
    digest_quasi_newton();
}
