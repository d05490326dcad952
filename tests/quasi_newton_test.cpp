// The quasi-Newton search: its parts against dense and one-dimensional ones, then ends, boxes, differences and calls.

#include <gtest/gtest.h>

#include <algorithm>

#include "maths/maths.h"
#include "maths/optimisation/quasi_newton/mlBoxStep.h"
#include "maths/optimisation/quasi_newton/mlWolfeSearch.h"
#include "tests/support/matrices.h"
#include "tests/support/values.h"

namespace {

/// Numbers from -1 to 1.
mlVector random_vector(int n, mlRandom & random) {
    mlVector v(mlVectorZero, n);
    for (double & x : v)
        x = random.uniform(-1.0, 1.0);
    return v;
}

/// Pairs of a random positive definite Hessian, and the dense matrix b that BFGS makes of the last of them.
struct Model {
    Model(int n, int memory, int made, mlRandom & random) : pairs(n, memory), b(mlMatrixIdentity, n) {
        mlMatrix root, square, hessian(mlMatrixIdentity, n);
        fill_random(root, n, n, made);
        multiply_transposed(root, root, square);
        hessian += square;
        std::vector<mlVector> steps, changes(made);
        for (int k = 0; k < made; ++k) {
            steps.push_back(random_vector(n, random));
            multiply(hessian, steps[k], changes[k]);
            pairs.remember(steps[k], changes[k]);
        }
        b *= pairs.theta();
        for (int k = std::max(0, made - memory); k < made; ++k) {
            mlVector const &s = steps[k], &y = changes[k], bs(mlMatrixProduct, b, s);
            double const sy = scalar_product(s, y), sbs = scalar_product(s, bs);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j)
                    b(i, j) += y[i] * y[j] / sy - bs[i] * bs[j] / sbs;
        }
    }

    mlCurvaturePairs pairs;
    mlMatrix b;
};

// The path along the projected gradient is marched in small steps to its first minimum: what it holds stays held, and
// the model falls at least as far; to its minimum where no bound is in the way but those that hold from the start.
TEST(BoxStep, LeadsBelowTheProjectedPathAndToTheMinimumOfTheDenseModel) {
    for (int seed = 0; seed < 120; ++seed) {
        int const n = 2 + seed % 11, memory = 1 + seed % 5, fixed = seed % n;
        bool const open = seed % 2 == 0;
        mlRandom random(seed);
        Model const model(n, memory, seed % 9, random);
        mlVector const zero(mlVectorZero, n), g = random_vector(n, random);
        mlVector lower = random_vector(n, random), upper = random_vector(n, random), z(mlVectorZero, n),
                 path(mlVectorZero, n);
        for (int j = 0; j < n; ++j) {
            lower[j] = open ? -infinity : -0.2 * std::fabs(lower[j]);
            upper[j] = open || j % 3 == 0 ? infinity : 0.2 * std::fabs(upper[j]);
            if (open && j < fixed) (g[j] > 0.0 ? lower : upper)[j] = 0.0;
        }
        ASSERT_TRUE(mlBoxStep(lower, upper, memory).find(zero, g, model.pairs, z));
        auto const value = [&](mlVector const & d) {
            return scalar_product(g, d) + 0.5 * scalar_product(d, mlVector(mlMatrixProduct, model.b, d));
        };
        double first = 0.0;
        for (int step = 0; !open && step < 4000; ++step) {
            for (int j = 0; j < n; ++j)
                path[j] = std::clamp(-1e-3 * step * g[j], lower[j], upper[j]);
            if (value(path) > first + 1e-14) break;
            first = value(path);
        }
        EXPECT_LE(value(z), first + 1e-6) << seed;
        mlVector left(mlMatrixProduct, model.b, z); // of the slope
        left += g;
        for (int j = 0; j < n; ++j) {
            EXPECT_EQ(z[j], std::clamp(z[j], lower[j], upper[j])) << seed << ' ' << j;
            bool const held = open ? j < fixed && seed % 9 > 0 : path[j] == lower[j] || path[j] == upper[j];
            if (held) {
                EXPECT_EQ(z[j], path[j]) << seed << ' ' << j;
            } else if (open && seed % 9 > 0) {
                EXPECT_LT(std::fabs(left[j]), 1e-9) << seed << ' ' << j;
            }
        }
    }
}

// The minimum lies far beyond the bound of one variable. The path ends before it, and the other one's way to it, not
// cut off, would lead up; or it ends on the bound, where x + (bound - x) rounds to less, and the other one goes on
// alone.
TEST(BoxStep, GoesStraightAsFarAsTheBoxAllowsWhereTheProjectedStepWouldLeadUp) {
    mlCurvaturePairs pairs(2, 2); // of the Hessian (1 0.99; 0.99 1)
    pairs.remember(Vector{1.0, 0.0}, Vector{1.0, 0.99});
    pairs.remember(Vector{-0.99, 1.0}, Vector{0.0, 0.0199});
    double const t = 1.09 / 1.684, share = (0.7 - t) / (0.703 / 0.0199 - t); // the path ends at t (1, 0.3)
    for (auto const & [start, bound, other] :
         {std::tuple(0.0, 0.7, 0.3 * t + share * (-0.69 / 0.0199 - 0.3 * t)), {0.1, 0.45, 0.3 - 0.99 * 0.35}})
        for (double const sign : {1.0, -1.0}) {
            Vector const lower{std::min(sign * bound, 0.0), -10.0}, upper{std::max(sign * bound, 0.0), 10.0};
            mlVector z(mlVectorZero, 2);
            ASSERT_TRUE(
                mlBoxStep(lower, upper, 2).find(Vector{sign * start, 0.0}, Vector{-sign, -0.3 * sign}, pairs, z));
            EXPECT_NEAR(sign * z[0], bound, 1e-12);
            EXPECT_NEAR(sign * z[1], other, 1e-12) << "from " << start;
        }
}

TEST(WolfeSearch, MeetsBothConditionsWithinTheLargestStepAndBacksOutOfNaN) {
    struct {
        std::pair<double, double> (*at)(double); ///< value and slope
        double largest;
        int tries; ///< from all first steps together
    } const cases[] = {
        {[](double t) { return std::pair(-t / (t * t + 2.0), (t * t - 2.0) / (t * t + 2.0) / (t * t + 2.0)); }, 1e10,
         15},
        {[](double t) {
             double const r = t + 0.004;
             return std::pair(std::pow(r, 5) - 2.0 * std::pow(r, 4), 5.0 * std::pow(r, 4) - 8.0 * std::pow(r, 3));
         },
         1e10, 57},
        {[](double t) { return std::pair(-t, -1.0); }, 0.5, 15},
        {[](double t) { return std::pair(-1e-4 * t + 0.01 * std::expm1(-100.0 * t), -1e-4 - std::exp(-100.0 * t)); },
         1e10, 9},
        {[](double t) { return std::pair(-std::sqrt(3.0 - t) - 2.0 * t, 0.5 / std::sqrt(3.0 - t) - 2.0); }, 1e10, 41},
        {[](double t) { return std::pair(t < 60.0 ? -t : nan_value, -1.0); }, 1e10, 53},
        // a kink: no step has a slope that is small enough
        {[](double t) { return t < 0.5 ? std::pair(-t, -1.0) : std::pair(1e3 * (t - 0.5) - 0.5, 1e3); }, 1e10, 183},
    };
    for (auto const & c : cases) {
        bool const smooth = c.tries < 100;
        auto const start = c.at(0.0);
        int tries = 0;
        for (double first = 1e-3; first < 1e3; first *= 10.0) {
            SCOPED_TRACE(testing::Message() << "case " << &c - cases << " from " << first);
            mlWolfeSearch search;
            search.begin(start.first, start.second, std::min(first, c.largest), c.largest);
            mlWolfeSearch::State state = mlWolfeSearch::goes_on;
            double t = 0.0;
            for (; state == mlWolfeSearch::goes_on; ++tries) {
                t = search.step();
                ASSERT_EQ(t, std::clamp(t, 1e-9, c.largest));
                ASSERT_LT(tries, 1000);
                state = search.next(c.at(t).first, c.at(t).second);
            }
            EXPECT_EQ(state == mlWolfeSearch::stuck, !smooth);
            if (!smooth) continue;
            EXPECT_LE(c.at(t).first, start.first + 1e-3 * t * start.second);
            bool const at_end = t == c.largest || (state == mlWolfeSearch::at_most && std::isnan(c.at(2.0 * t).first));
            EXPECT_LE(at_end ? 0.0 : std::fabs(c.at(t).second), -0.9 * start.second);
        }
        EXPECT_EQ(tries, c.tries) << "case " << &c - cases;
    }
}

// It falls ever on to a wall: where interpolation stays beside the low end, the interval is halved.
TEST(WolfeSearch, HalvesAnIntervalThatHardlyShrinks) {
    mlWolfeSearch search;
    search.begin(0.0, -1.0, 1.0, 1.0);
    search.next(500.0, 1e3);
    double const low = search.step();
    search.next(-low, -1.0);
    EXPECT_LT(low, 0.1);
    EXPECT_DOUBLE_EQ(search.step(), low + 0.5 * (1.0 - low));
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
        mlRandom random(seed + 200);
        mlVector lower = random_vector(n, random), upper = random_vector(n, random), x = random_vector(n, random);
        x *= 3.0;
        for (int j = 0; j < n; ++j) {
            lower[j] -= 0.6;
            upper[j] = lower[j] + std::max(0.0, 1.5 * upper[j]); // some are equal
            if (random.uniform() < 0.25) lower[j] = -infinity;
            if (random.uniform() < 0.25) upper[j] = largest_double;
        }
        int calls = 0;
        auto const value = [&](mlSlice const & p) {
            ++calls;
            for (int j = 0; j < n; ++j)
                EXPECT_EQ(p[j], std::clamp(p[j], lower[j], upper[j])) << seed << ' ' << j;
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
    EXPECT_EQ(all_calls, 480); // a slip in the model costs calls before it costs results
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
    for (int const most : {-1, 0, 1, 4, 5, 6, 9, 17}) {
        search.set_max_calls(most);
        EXPECT_EQ((End{from(supplied, -1.2, 1.0), search.calls()}), End(mlQuasiNewtonCallLimit, std::max(most, 0)));
        EXPECT_LE(valley(x.slice()), 24.2);
        int const points = most < 5 ? (most > 0 ? 1 : 0) : most / 5 * 5; // 5 calls for a gradient
        EXPECT_EQ((End{from(by_values, -1.2, 1.0), search.calls()}), End(mlQuasiNewtonCallLimit, points)) << most;
    }
    search.set_max_calls(1000);
    auto const falling = [](mlSlice const & p) { return p[0] > 2.0 ? -infinity : -p[0] * p[0]; };
    EXPECT_EQ(from(mlFunctionN1Of(2, falling), 1.0, 0.0), mlQuasiNewtonUnbounded);
    EXPECT_EQ(x[0], std::clamp(x[0], 1.0, 2.0));
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

TEST(SuppliedGradient, IsToldFromDifferencesWithoutACall) {
    int calls = 0;
    mlVector const x{0.5, 0.25};
    mlVector g;
    mlFunctionN1Of const by_values(2, [&](mlSlice const & p) { return ++calls, valley(p); });
    mlFunctionN1Of const supplied(2, valley, [&](mlSlice const & p, mlVector & to) {
        EXPECT_EQ(by_values.supplied_gradient(p, to), 0); // refused to the one, not to the other
        valley_gradient(p, to);
    });
    EXPECT_EQ(supplied.supplied_gradient(x.slice(), g), 1);
    EXPECT_EQ(std::pair(g[1], calls), std::pair(0.0, 0));
    by_values.gradient(x.slice(), g); // not refused any more
    EXPECT_EQ(calls, 4);
    EXPECT_NEAR(g[1], 0.0, 1e-5);
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
