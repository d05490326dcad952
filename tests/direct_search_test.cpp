#include "tests/support/test.h"
#include "tests/support/traces.h"

namespace {

/// A search from the point whose coordinates are all `at`, by an object that has made a search before.
struct Search {
    Search(int n, TracedFunctionN1::Formula formula, int speed = mlDownHillSimplexThorough, double at = 0.0)
        : f(n, std::move(formula)) {
        mlDownHillSimplex simplex(n);
        mlVector start(Values(n, at));
        TracedFunctionN1 flat(n, [](mlSlice const &) { return 7.0; });
        simplex.solve(flat, start, mlDownHillSimplexCoarse);
        EXPECT_EQ(simplex.number_of_calls(), n + 1);
        simplex.result(x);
        EXPECT_EQ(x, start) << "into a longer vector; of equal values the last vertex, the start, is the lowest";
        value = simplex.solve(f, start, mlDownHillSimplexSpeed(speed));
        simplex.result(x);
        calls = simplex.number_of_calls();
        EXPECT_EQ(calls, std::ssize(f.points));
    }
    TracedFunctionN1 f;
    mlVector x{1.0, 2.0, 3.0, 4.0, 5.0};
    double value;
    int calls;
};

/// A quadratic form whose lowest point is (0.73, 1.73, 2.73, ...), with the value 1.
double bowl(mlSlice const & x) {
    double sum = 1.0;
    for (int i = 0; i < x.length(); ++i) {
        double const off = x[i] - i - 0.73 + (i > 0 ? 0.5 * (x[i - 1] - i + 0.27) : 0.0);
        sum += (i + 1) * off * off;
    }
    return sum;
}

TEST(Simplex, FindsMinimaInItsCalls) {
    int const calls[] = {36, 89, 184};
    for (int n = 1; n <= 3; ++n) {
        Search const search(n, bowl);
        EXPECT_EQ(search.calls, calls[n - 1]) << "n = " << n;
        EXPECT_NEAR(search.value, 1.0, 1e-8);
        EXPECT_EQ(bowl(search.x.slice()), search.value);
    }
}

TEST(Simplex, ExpandsContractsAndShrinksByTheReflectedValue) {
    // The vertices (0.1, 0), (0, 0.1), (0, 0) have the values 3, 2, 1, and the first is reflected to (-0.1, 0.1), which
    // has the first of the values given. The others are the values at the points of the next calls; the call after
    // those is at (x, y).
    auto const expect = [](Values values, double x, double y) {
        values.insert(values.begin(), {3, 2, 1});
        auto const f = [&, k = 0u](mlSlice const &) mutable { return k < values.size() ? values[k++] : nan_value; };
        Values const next = Search(2, f).f.points[values.size()];
        EXPECT_LT(std::hypot(next[0] - x, next[1] - y), 1e-15) << testing::PrintToString(values);
    };
    expect({1.5}, -0.1, 0);                   // better than the second highest: that one is reflected next
    expect({1.0}, -0.2, 0.15);                // as good as the best: expand
    expect({0.5, 0.7, 0.6, 0.55}, -0.2, 0.2); // a failed expansion leaves the reflected vertex
    expect({2.0}, -0.05, 0.075);              // as bad as the second highest, yet kept: contract from there
    expect({5.0}, 0.05, 0.025);               // no better than before: contract inside
    expect({2.5, 2.6}, -0.05, 0.05);   // the contraction must beat the reflected value: shrink towards the lowest
    expect({2.5, 2.6, 9, 8}, 0.05, 0); // every vertex but the lowest, and go on from there
    expect({5.0, nan_value}, 0.05, 0); // from where the highest was, when nothing replaced it
}

TEST(Simplex, EndsAtItsLimitOfCallsWhateverTheValues) {
    auto const constant = [](double answer) { return [answer](mlSlice const &) { return answer; }; };
    int const limits[] = {20000, 100, 600, 2000, 20000, 20000}; // of the speeds -1 to 4
    for (int speed = -1; speed <= 4; ++speed) {
        EXPECT_EQ(Search(3, constant(infinity), speed).calls, limits[speed + 1]);
        EXPECT_EQ(Search(2, constant(nan_value), speed, -1.0).calls, limits[speed + 1] + 3) << "steps of 4";
    }
    auto const begins_another = [calls = 0](mlSlice const &) mutable {
        if (++calls == 50) Search(1, bowl, mlDownHillSimplexCoarse);
        return infinity;
    };
    EXPECT_EQ(Search(3, begins_another).calls, 100) << "the limit is that of the search that began last";
}

TEST(Simplex, StopsAtOnceWhereNothingCanImprove) {
    TracedFunctionN1::Formula const rising = [value = 0](mlSlice const &) mutable { return ++value; };
    EXPECT_EQ(Search(2, [](mlSlice const & x) { return 1e-22 * bowl(x); }).calls, 3) << "highest value below 1e-20";
    EXPECT_EQ(Search(2, rising, 3, 1e30).calls, 3) << "the vertices coincide";
    EXPECT_EQ(Search(0, rising).value, 1.0);
}

/// A search from a start along the axes.
struct Powell {
    Powell(Values const & start, double tolerance, TracedFunctionN1::Formula formula, int first_iteration = 0)
        : f(static_cast<int>(start.size()), std::move(formula)), x(start), directions(mlMatrixIdentity, f.dimension),
          iterations(first_iteration), least(ml_powell_minimum_search(x, directions, tolerance, iterations, f)) {}
    TracedFunctionN1 f;
    mlVector x;
    mlMatrix directions;
    int iterations;
    double least;
};

TEST(Powell, FindsTheMinimaOfQuadraticForms) {
    int const calls[] = {29, 321, 725, 1246, 1689, 2178};
    for (int n = 1; n <= 6; ++n) {
        Powell const search(Values(n, 2.0), 1e-14, bowl);
        EXPECT_EQ(std::ssize(search.f.points), calls[n - 1]) << "n = " << n;
        EXPECT_NEAR(search.least, 1.0, 1e-12) << "n = " << n;
        EXPECT_EQ(search.least, bowl(search.x.slice()));
    }
}

TEST(Powell, StopsWhereItsCounterEquals39AndNotBeyond) {
    for (int const start : {37, 38, 39, 40}) {
        Powell const search(Values(6, 2.0), 1e-14, bowl, start);
        EXPECT_EQ(search.iterations, start < 40 ? 39 : 80);
        EXPECT_EQ(search.least < 1.0 + 1e-12, start == 40); // no limit any more: to the end
    }
}

TEST(Powell, ReturnsToTheBestSweepWhenTheValueHasGrownTenfoldAndToTheStartWhereItIsInfinite) {
    // From the first look beyond the minimum at 3 on, there is only a far higher one at 7; no tolerance is ever met.
    Powell const search({0.0}, -10.0, [grown = false](mlSlice const & x) mutable {
        grown = grown || x[0] > 5.5;
        return grown ? 1000.0 + (x[0] - 7.0) * (x[0] - 7.0) : 1.0 + (x[0] - 3.0) * (x[0] - 3.0);
    });
    EXPECT_EQ(search.iterations, 1);
    EXPECT_NEAR(search.x[0], 3.0, 1e-6);
    EXPECT_NEAR(search.least, 1.0, 1e-12);
    EXPECT_GT(search.f.points.back()[0], 5.0);
    Powell const nowhere({3.0, 4.0}, 1e-9, [](mlSlice const &) { return infinity; });
    EXPECT_EQ(contents(nowhere.x), (Values{3.0, 4.0}));
    EXPECT_EQ(nowhere.least, largest_double);
}

TEST(Powell, ReplacesTheFirstOfTheDirectionsThatDecreaseMostAndNoneWhenNoneDecreases) {
    // Both lines take exactly 1 off the sum of two rounded magnitudes; the way of the sweep leads far down.
    Powell const equal({1.0, 1.0}, 1e-9, [](mlSlice const & x) {
        if (x[0] < -0.5 && x[1] < -0.5) return -1.3;
        return std::round(4.0 * std::fabs(x[0])) / 4.0 + std::round(4.0 * std::fabs(x[1])) / 4.0;
    });
    EXPECT_EQ(contents(equal.directions.col(0)), (Values{0.0, 1.0}));
    // The first line gives nothing but NaN, so neither line counts as a decrease, and yet the sweep ends lower.
    Powell const none({0.0, 0.0}, 1e-9, [first = true](mlSlice const & x) mutable {
        if (std::exchange(first, false)) return 5.0;
        if (x[0] == 2.0 && x[1] == 2.0) return -10.0; // the extrapolated point
        return x[1] == 0.0 ? nan_value : 1.0 + (x[1] - 1.0) * (x[1] - 1.0);
    });
    EXPECT_EQ(none.least, -10.0);
    EXPECT_EQ(none.directions, mlMatrix(mlMatrixIdentity, 2));
}

} // namespace
