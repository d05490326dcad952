// The quasi-Newton search: halving, ends, boxes, differences and calls.

#include "maths/optimisation/quasi_newton/mlWolfeSearch.h"
#include "tests/support/matrices.h"
#include "tests/support/test.h"

namespace {

// It falls ever on to a wall: where interpolation stays beside the low end, the interval is halved.
TEST(WolfeSearch, HalvesAnIntervalThatHardlyShrinks) {
    mlWolfeSearch search;
    search.begin(0.0, -1.0, 1.0, 1.0);
    search.next(500.0, 1e3);
    double const low = search.step();
    search.next(-low, -1.0);
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
    int all_calls[] = {0, 0}; // by differences, with gradients
    for (int seed = 0; seed < 400; ++seed) {
        int const n = 2 + seed % 7, supplied = seed % 2;
        mlVector lower, upper, x;
        fill_random(lower, n, seed);
        fill_random(upper, n, seed + 1000);
        fill_random(x, n, seed + 2000);
        for (int j = 0; j < n; ++j) {
            lower[j] -= 0.6;
            upper[j] = lower[j] + std::max(0.0, 1.5 * upper[j]);  // some are equal
            if ((seed + j) % 10 == 0) upper[j] = lower[j] + 1e-6; // less than differences take
            x[j] *= 3.0;
            if ((seed + j) % 4 == 0) lower[j] = -infinity;
            if (seed / 4 % 4 == j % 4) upper[j] = largest_double;
        }
        SCOPED_TRACE(seed);
        auto const value = [&](mlSlice const & p) {
            ++all_calls[supplied];
            for (int j = 0; j < n; ++j)
                EXPECT_EQ(p[j], std::clamp(p[j], lower[j], upper[j])) << j;
            return valley(p);
        };
        mlQuasiNewton search(n, 1 + seed % 12);
        mlVector elsewhere(utCopy, x);
        search.minimise(mlFunctionN1Of(n, valley), elsewhere); // of which the next search keeps nothing
        search.set_box(lower, upper);
        int const before = all_calls[supplied];
        EXPECT_LE(supplied ? search.minimise(mlFunctionN1Of(n, value, valley_gradient), x)
                           : search.minimise(mlFunctionN1Of(n, value), x),
                  mlQuasiNewtonNoDecrease);
        EXPECT_EQ(search.calls(), all_calls[supplied] - before);
        EXPECT_EQ(search.value(), valley(x.slice()));
        mlVector g(mlVectorZero, n);
        valley_gradient(x.slice(), g);
        for (int j = 0; j < n; ++j) {
            double const sign = search.at_bound(j);
            double const left = lower[j] == upper[j] ? 0.0 : sign == 0.0 ? std::fabs(g[j]) : sign * g[j];
            EXPECT_LT(left, 1e-5 * (1.0 + search.value())) << j;
        }
    }
    // A slip costs calls before it costs results.
    EXPECT_EQ(std::pair(all_calls[0], all_calls[1]), std::pair(24461, 2400));
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
    auto const wrong = [](mlSlice const & p, mlVector & g) { g = Vector{2.0 * p[0], 2.0 * p[1] + 1e-3}; };
    auto const bowl = [](mlSlice const & p) { return 1.0 + p[0] * p[0] + p[1] * p[1]; };
    EXPECT_EQ(from(mlFunctionN1Of(2, bowl, wrong), 1.0, 2.0), mlQuasiNewtonNoDecrease);
    EXPECT_EQ(search.calls(), 64);
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
    int calls = 0; // steps that leave the domain are taken back
    for (double const edge : {0.0, 0.9, 0.999}) {
        mlFunctionN1Of const kept_right(
            2, [&](mlSlice const & p) { return p[0] > edge ? p[0] - 2.0 * std::sqrt(p[0] - edge) : nan_value; });
        EXPECT_EQ(from(kept_right, edge - 1.0, 0.0), mlQuasiNewtonNotFinite);
        for (double const start : {1e-3, 0.3, 40.0, 1e5}) {
            EXPECT_LE(from(kept_right, edge + start, 0.0), mlQuasiNewtonNoDecrease);
            EXPECT_NEAR(x[0], edge + 1.0, 1e-5) << start;
            calls += search.calls();
        }
    }
    EXPECT_EQ(calls, 1400);
    auto const kink = [](mlSlice const & p) { return std::fabs(p[0] - 0.3) + 2.0 * std::fabs(p[1] + 0.7 * p[0]); };
    EXPECT_LE(from(mlFunctionN1Of(2, kink), 3.0, 5.0), mlQuasiNewtonNoDecrease);
    EXPECT_EQ(search.calls(), 480) << "a line without a slope that is small enough";
    EXPECT_EQ((End{from(supplied, nan_value, 0.0), search.calls()}), End(mlQuasiNewtonNotFinite, 0));
    search.set_box(Vector{0.0, 1.0}, Vector{0.0, 0.0});
    EXPECT_EQ(from(supplied, 7.0, 7.0), mlQuasiNewtonEmptyBox);
    EXPECT_EQ(x[0], 7.0);
}

TEST(SuppliedGradient, IsToldFromDifferencesEvenInsideOne) {
    mlVector const x{0.5, 0.25};
    mlVector g;
    mlFunctionN1Of const by_values(2, valley);
    mlFunctionN1Of const supplied(2, valley, [&](mlSlice const & p, mlVector & to) {
        EXPECT_EQ(by_values.supplied_gradient(p, to), 0); // refused to the one, not to the other
        valley_gradient(p, to);
    });
    EXPECT_EQ(supplied.supplied_gradient(x.slice(), g), 1);
    EXPECT_EQ(g[1], 0.0);
    by_values.gradient(x.slice(), g); // not refused any more
    EXPECT_NEAR(g[0], -1.0, 1e-5);
    struct AsksAnother : mlFunctionN1 {
        explicit AsksAnother(mlFunctionN1 const & f) : other(f) { dimension = 2; }
        double function(mlSlice const &) const override { return NAN; }
        void gradient(mlSlice const & p, mlVector & to) const override {
            EXPECT_EQ(other.supplied_gradient(p, to), 0);
            mlFunctionN1::gradient(p, to);
        }
        mlFunctionN1 const & other;
    };
    EXPECT_EQ(AsksAnother(by_values).supplied_gradient(x.slice(), g), 0) << "differences after all";
}

} // namespace
