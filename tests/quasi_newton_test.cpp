// The quasi-Newton search: its parts against dense and one-dimensional ones, then ends, boxes, differences and calls.

#include <gtest/gtest.h>

#include <algorithm>

#include "maths/maths.h"
#include "maths/optimisation/quasi_newton/mlBoxStep.h"
#include "maths/optimisation/quasi_newton/mlWolfeSearch.h"
#include "tests/support/traces.h"
#include "tests/support/values.h"

namespace {

/// A sequence of numbers from -1 to 1.
struct Numbers {
    double operator()() { return choice(2000001) / 1e6 - 1.0; }
    mlVector vector(int n) {
        mlVector v(mlVectorZero, n);
        for (double & x : v)
            x = (*this)();
        return v;
    }
    Choice choice;
};

/// Pairs of a random positive definite Hessian, and the dense matrix that BFGS makes of the last of them.
struct Model {
    Model(int n, int memory, int made, int seed)
        : numbers{Choice(seed)}, pairs(n, memory), hessian(mlMatrixIdentity, n), b(mlMatrixIdentity, n) {
        mlMatrix root(mlMatrixZero, n, n), square;
        for (int i = 0; i < n * n; ++i)
            root.data()[i] = numbers();
        multiply_transposed(root, root, square);
        hessian += square;
        std::vector<mlVector> steps;
        mlVector y, bs;
        for (int k = 0; k < made; ++k) {
            steps.push_back(numbers.vector(n));
            multiply(hessian, steps.back(), y);
            pairs.remember(steps.back(), y);
        }
        b *= pairs.theta();
        for (int k = std::max(0, made - memory); k < made; ++k) {
            multiply(hessian, steps[k], y);
            multiply(b, steps[k], bs);
            double const sy = scalar_product(steps[k], y), sbs = scalar_product(steps[k], bs);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j)
                    b(i, j) += y[i] * y[j] / sy - bs[i] * bs[j] / sbs;
        }
    }

    /// The model's gradient at x + d.
    mlVector gradient(mlVector const & g, mlVector const & d) const {
        mlVector bd;
        multiply(b, d, bd);
        bd += g;
        return bd;
    }

    Numbers numbers;
    mlCurvaturePairs pairs;
    mlMatrix hessian, b;
};

// The path along the projected gradient is marched in small steps to its first minimum: what it holds stays held, and
// the model falls at least as far; to its minimum where no bound is in the way but those that hold from the start.
TEST(BoxStep, LeadsBelowTheProjectedPathAndToTheMinimumOfTheDenseModel) {
    for (int seed = 0; seed < 120; ++seed) {
        int const n = 2 + seed % 11, memory = 1 + seed % 5, fixed = seed % n;
        bool const open = seed % 2 == 0;
        Model m(n, memory, seed % 9, seed);
        mlVector const zero(mlVectorZero, n), g = m.numbers.vector(n);
        mlVector lower = m.numbers.vector(n), upper = m.numbers.vector(n), z(mlVectorZero, n), path(mlVectorZero, n);
        for (int j = 0; j < n; ++j) {
            lower[j] = open ? -infinity : -0.2 * std::fabs(lower[j]);
            upper[j] = open || j % 3 == 0 ? infinity : 0.2 * std::fabs(upper[j]);
            if (open && j < fixed) (g[j] > 0.0 ? lower : upper)[j] = 0.0;
        }
        ASSERT_TRUE(mlBoxStep(lower, upper, memory).find(zero, g, m.pairs, z));
        mlVector const left = m.gradient(g, z);
        double first = 0.0;
        for (int step = 0; !open && step < 4000; ++step) {
            for (int j = 0; j < n; ++j)
                path[j] = std::clamp(-1e-3 * step * g[j], lower[j], upper[j]);
            double const now = 0.5 * (scalar_product(m.gradient(g, path), path) + scalar_product(g, path));
            if (now > first + 1e-14) break;
            first = now;
        }
        EXPECT_LE(0.5 * (scalar_product(left, z) + scalar_product(g, z)), first + 1e-6) << seed;
        for (int j = 0; j < n; ++j) {
            EXPECT_TRUE(lower[j] <= z[j] && z[j] <= upper[j]);
            bool const held = open ? j < fixed && seed % 9 > 0 : path[j] == lower[j] || path[j] == upper[j];
            EXPECT_TRUE(!held || z[j] == path[j]) << seed << ' ' << j;
            EXPECT_TRUE(!open || held || seed % 9 == 0 || std::fabs(left[j]) < 1e-9) << seed << ' ' << j;
        }
    }
}

// The minimum lies far beyond the bound of one variable, and the other one's way to it, not cut off, would lead up.
TEST(BoxStep, GoesStraightAsFarAsTheBoxAllowsWhereTheProjectedStepWouldLeadUp) {
    mlCurvaturePairs pairs(2, 2); // of the Hessian (1 0.99; 0.99 1)
    pairs.remember(Vector{1.0, 0.0}, Vector{1.0, 0.99});
    pairs.remember(Vector{-0.99, 1.0}, Vector{0.0, 0.0199});
    double const t = 1.09 / 1.684, share = (0.7 - t) / (0.703 / 0.0199 - t); // the path ends at t (1, 0.3)
    for (double const sign : {1.0, -1.0}) {
        Vector const lower{sign > 0.0 ? -1.0 : -0.7, -10.0}, upper{sign > 0.0 ? 0.7 : 1.0, 10.0};
        Vector const zero{0.0, 0.0}, g{-sign, -0.3 * sign};
        mlVector z(mlVectorZero, 2);
        ASSERT_TRUE(mlBoxStep(lower, upper, 2).find(zero, g, pairs, z));
        EXPECT_NEAR(sign * z[0], 0.7, 1e-12);
        EXPECT_NEAR(sign * z[1], 0.3 * t + share * (-0.69 / 0.0199 - 0.3 * t), 1e-12);
    }
}

TEST(WolfeSearch, MeetsBothConditionsWithinTheLargestStepAndBacksOutOfNaN) {
    struct {
        double (*f)(double);
        double (*slope)(double);
        double largest;
        int tries;
    } const cases[] = {
        {[](double t) { return -t / (t * t + 2.0); },
         [](double t) { return (t * t - 2.0) / (t * t + 2.0) / (t * t + 2.0); }, 1e10, 5},
        {[](double t) { return std::pow(t + 0.004, 5) - 2.0 * std::pow(t + 0.004, 4); },
         [](double t) { return 5.0 * std::pow(t + 0.004, 4) - 8.0 * std::pow(t + 0.004, 3); }, 1e10, 12},
        {[](double t) { return -t; }, [](double) { return -1.0; }, 0.5, 6},
        {[](double t) { return -1e-4 * t - 0.01 * (1.0 - std::exp(-100.0 * t)); },
         [](double t) { return -1e-4 - std::exp(-100.0 * t); }, 1e10, 3},
        {[](double t) { return t < 3.0 ? -std::sqrt(3.0 - t) - 2.0 * t : nan_value; },
         [](double t) { return 0.5 / std::sqrt(3.0 - t) - 2.0; }, 1e10, 10},
        {[](double t) { return t < 0.5 ? -t : 1e3 * (t - 0.5) - 0.5; }, [](double t) { return t < 0.5 ? -1.0 : 1e3; },
         1e10, 31}, // a kink: no step has a slope that is small enough
    };
    for (auto const & c : cases) {
        bool const smooth = &c != &cases[5];
        for (double first = 1e-3; first < 1e3; first *= 10.0) {
            mlWolfeSearch search;
            search.begin(c.f(0.0), c.slope(0.0), std::min(first, c.largest), c.largest);
            mlWolfeSearch::State state = mlWolfeSearch::goes_on;
            double t = 0.0;
            for (int tries = 1; state == mlWolfeSearch::goes_on; ++tries) {
                t = search.step();
                ASSERT_TRUE(0.0 < t && t <= c.largest && tries <= c.tries) << &c - cases << ' ' << first << ' ' << t;
                state = search.next(c.f(t), c.slope(t));
            }
            EXPECT_EQ(state == mlWolfeSearch::stuck, !smooth) << &c - cases << ' ' << first;
            bool const flat = std::fabs(c.slope(t)) <= -0.9 * c.slope(0.0) || t == c.largest;
            EXPECT_TRUE(!smooth || (flat && c.f(t) <= c.f(0.0) + 1e-3 * t * c.slope(0.0)));
        }
    }
}

/// Chained Rosenbrock and its gradient.
double valley(mlSlice const & x) {
    double sum = 0.0;
    for (int i = 0; i + 1 < x.length(); ++i)
        sum += 100.0 * (x[i + 1] - x[i] * x[i]) * (x[i + 1] - x[i] * x[i]) + (1.0 - x[i]) * (1.0 - x[i]);
    return sum;
}

void valley_gradient(mlSlice const & x, mlVector & g) {
    g.fill(0.0);
    for (int i = 0; i + 1 < x.length(); ++i) {
        double const off = x[i + 1] - x[i] * x[i];
        g[i] += -400.0 * off * x[i] - 2.0 * (1.0 - x[i]);
        g[i + 1] += 200.0 * off;
    }
}

TEST(QuasiNewton, IsOptimalInEveryBoxAndNeverCallsOutsideOfIt) {
    int all_calls = 0;
    for (int seed = 0; seed < 80; ++seed) {
        int const n = 2 + seed % 7;
        bool const supplied = seed % 2 == 0;
        Numbers numbers{Choice(seed)};
        mlVector lower(mlVectorZero, n), upper(mlVectorZero, n), x(mlVectorZero, n);
        for (int j = 0; j < n; ++j) {
            x[j] = 3.0 * numbers();
            lower[j] = numbers() - 0.6;
            upper[j] = lower[j] + std::max(0.0, 1.5 * numbers()); // some are equal
            if (numbers.choice(4) == 0) lower[j] = -infinity;
            if (numbers.choice(4) == 0) upper[j] = largest_double;
        }
        int calls = 0;
        auto const value = [&](mlSlice const & p) {
            ++calls;
            for (int j = 0; j < n; ++j)
                EXPECT_TRUE(lower[j] <= p[j] && p[j] <= upper[j]) << seed << ' ' << j << ' ' << p[j];
            return valley(p);
        };
        mlQuasiNewton search(n, 1 + seed % 12);
        search.set_box(lower, upper);
        mlQuasiNewtonStatus const status = supplied ? search.minimise(mlFunctionN1Of(n, value, valley_gradient), x)
                                                    : search.minimise(mlFunctionN1Of(n, value), x);
        EXPECT_LE(status, mlQuasiNewtonNoDecrease);
        EXPECT_EQ(calls, search.calls());
        EXPECT_EQ(search.value(), valley(x.slice()));
        all_calls += supplied ? calls : 0;
        mlVector g(mlVectorZero, n);
        valley_gradient(x.slice(), g);
        for (int j = 0; j < n; ++j) {
            double const sign = search.at_bound(j), tolerance = 1e-5 * (1.0 + search.value());
            double const left = lower[j] == upper[j] ? 0.0 : sign == 0.0 ? std::fabs(g[j]) : sign * g[j];
            EXPECT_LT(left, tolerance) << seed << ' ' << j;
        }
    }
    EXPECT_LE(all_calls, 500); // a slip in the model costs calls before it costs results
}

TEST(QuasiNewton, SaysHowItEndedWithTheBestPointSoFar) {
    using End = std::pair<mlQuasiNewtonStatus, int>; // braces are evaluated in order
    mlFunctionN1Of const supplied(2, valley, valley_gradient);
    mlFunctionN1Of const by_values(2, valley);
    mlQuasiNewton search(2);
    mlVector x(mlVectorZero, 2);
    auto const from = [&](mlFunctionN1 const & function, double a, double b) {
        x = Vector{a, b};
        return search.minimise(function, x);
    };
    EXPECT_EQ(search.status(), mlQuasiNewtonIterationLimit);
    EXPECT_EQ(from(supplied, -1.2, 1.0), mlQuasiNewtonConverged);
    EXPECT_LE(search.projected_gradient_norm(), 1e-8);
    search.set_gradient_tolerance(-1.0); // no gradient is below 0
    EXPECT_EQ((End{from(supplied, 1.0, 1.0), search.calls()}), End(mlQuasiNewtonConverged, 1));
    search.set_value_tolerance(0.5);
    EXPECT_EQ(from(supplied, 0.99, 0.99), mlQuasiNewtonSmallDecrease);
    search.set_value_tolerance(-1.0);
    auto const wrong = [](mlSlice const & p, mlVector & g) { g[0] = 2.0 * p[0], g[1] = 2.0 * p[1] + 1e-3; };
    auto const bowl = [](mlSlice const & p) { return 1.0 + p[0] * p[0] + p[1] * p[1]; };
    EXPECT_EQ(from(mlFunctionN1Of(2, bowl, wrong), 1.0, 2.0), mlQuasiNewtonNoDecrease);
    EXPECT_LT(search.calls(), 100);
    search.set_max_iterations(3);
    EXPECT_EQ((End{from(supplied, -1.2, 1.0), search.iterations()}), End(mlQuasiNewtonIterationLimit, 3));
    search.set_max_iterations(1000);
    for (int const most : {-1, 0, 1, 4, 5, 6, 17}) {
        search.set_max_calls(most);
        EXPECT_EQ((End{from(supplied, -1.2, 1.0), search.calls()}), End(mlQuasiNewtonCallLimit, std::max(most, 0)));
        EXPECT_LE(valley(x.slice()), 24.2);
        int const points = most < 5 ? (most > 0 ? 1 : 0) : most / 5 * 5; // 5 calls for a gradient
        EXPECT_EQ((End{from(by_values, -1.2, 1.0), search.calls()}), End(mlQuasiNewtonCallLimit, points)) << most;
    }
    search.set_max_calls(1000);
    auto const falling = [](mlSlice const & p) { return p[0] > 2.0 ? -infinity : -p[0] * p[0]; };
    EXPECT_EQ(from(mlFunctionN1Of(2, falling), 1.0, 0.0), mlQuasiNewtonUnbounded);
    EXPECT_TRUE(x[0] > 1.0 && x[0] <= 2.0);
    auto const kept_right = [](mlSlice const & p) { return p[0] > 0.0 ? p[0] - std::log(p[0]) : nan_value; };
    EXPECT_EQ(from(mlFunctionN1Of(2, kept_right), -1.0, 0.0), mlQuasiNewtonNotFinite);
    for (double const start : {1e-3, 0.3, 40.0, 1e5}) { // steps that leave the domain are taken back
        EXPECT_LE(from(mlFunctionN1Of(2, kept_right), start, 0.0), mlQuasiNewtonNoDecrease);
        EXPECT_NEAR(x[0], 1.0, 1e-5) << start;
    }
    EXPECT_EQ((End{from(supplied, nan_value, 0.0), search.calls()}), End(mlQuasiNewtonNotFinite, 0));
    search.set_box(Vector{0.0, 1.0}, Vector{0.0, 0.0});
    EXPECT_EQ(from(supplied, 7.0, 7.0), mlQuasiNewtonEmptyBox);
    EXPECT_EQ(x[0], 7.0);
}

/// A gradient that the class supplies in part only.
struct Partly : mlFunctionN1 {
    Partly() { dimension = 2; }
    double function(mlSlice const & x) const override { return ++calls, x[0] * x[0] + std::sin(x[1]); }
    void gradient(mlSlice const & x, mlVector & g) const override {
        mlVector inner(mlVectorZero, 2);
        EXPECT_EQ(mlFunctionN1Of(2, [](mlSlice const & p) { return p[0]; }).supplied_gradient(x, inner), 0);
        calculate_gradient_by_finite_differences(x, g);
        g[0] = 2.0 * x[0];
    }
    mutable int calls = 0;
};

TEST(SuppliedGradient, IsToldFromDifferencesWithoutACall) {
    Partly f;
    mlVector const x{0.5, 0.25};
    mlVector g;
    EXPECT_EQ(f.supplied_gradient(x.slice(), g), 0);
    EXPECT_EQ(f.calls, 0);
    f.gradient(x.slice(), g); // not refused any more
    EXPECT_EQ(f.calls, 4);
    EXPECT_NEAR(g[1], std::cos(0.25), 1e-8);
    EXPECT_EQ(mlFunctionN1Of(2, valley, valley_gradient).supplied_gradient(x.slice(), g), 1);
    EXPECT_EQ(g[1], 0.0);
}

// Parabolas' slopes come out to roundoff, on bounds too.
TEST(QuasiNewton, TakesDifferencesOfSecondOrderInsideTheBox) {
    mlFunctionN1Of const f(
        4, [](mlSlice const & x) { return 3.0 * (x[0] - 2.0) * (x[0] - 2.0) + x[1] * x[1] - x[2] * x[2] + x[3]; });
    mlQuasiNewton search(4);
    search.set_max_iterations(0);
    for (double const width : {1.0, 2e-5, 1e-6}) {
        search.set_box(Vector{1.0 - width, -0.5 * width, 0.0, 1.0}, Vector{1.0, infinity, width, 1.0});
        mlVector x{1.0, 0.1 * width, width, 1.0};
        EXPECT_EQ(search.minimise(f, x), mlQuasiNewtonIterationLimit);
        EXPECT_EQ(search.calls(), 7);
        Values const slopes{-6.0, 0.2 * width, -2.0 * width, 0.0};
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(search.gradient()[j], slopes[j], 1e-15 / std::min(width, 1e-5)) << width << ' ' << j;
    }
}

} // namespace
