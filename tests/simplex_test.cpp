#include "maths/optimisation/mlDownHillSimplex.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/traces.h"

namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();
double const infinity = std::numeric_limits<double>::infinity();

/// A search from the point whose coordinates are all `at`.
struct Search {
    Search(int n, TracedFunctionN1::Formula formula, int speed = mlDownHillSimplexThorough, double at = 0.0)
        : f(n, std::move(formula)) {
        mlDownHillSimplex simplex(n);
        mlVector start(mlVectorZero, n);
        start.fill(at);
        value = simplex.solve(f, start, mlDownHillSimplexSpeed(speed));
        simplex.result(x);
        calls = simplex.number_of_calls();
        EXPECT_EQ(calls, static_cast<int>(f.points.size()));
    }
    TracedFunctionN1 f;
    mlVector x;
    double value;
    int calls;
};

double bowl(mlSlice const & x) { // 3 at (0.73, 1.73, ...)
    double sum = 3.0;
    for (int i = 0; i < x.length(); ++i)
        sum += (i + 1) * std::pow(x[i] - i - 0.73, 2);
    return sum;
}

TEST(Simplex, FindsMinimaFromASimplexWhoseLastVertexIsTheStart) {
    for (int n : {1, 2, 3, 5}) {
        Search const search(n, bowl);
        EXPECT_NEAR(search.value, 3.0, 1e-8);
        EXPECT_EQ(bowl(search.x.slice()), search.value);
        for (int i = 0; i <= n; ++i) {
            for (int j = 0; j < n; ++j)
                EXPECT_EQ(search.f.points[i][j], i == j ? 0.1 : 0.0) << "vertex " << i;
        }
    }
    EXPECT_LT(Search(2, bowl, mlDownHillSimplexCoarse).calls, Search(2, bowl, mlDownHillSimplexQuick).calls);
}

/// The vertices (0.1, 0), (0, 0.1) and (0, 0) have the values 3, 2 and 1, and the first is reflected to (-0.1, 0.1).
struct Step {
    std::vector<double> values; // there, and at the points asked for after it
    double x, y;                // the point asked for next
};

TEST(Simplex, ExpandsContractsAndShrinksByTheReflectedValue) {
    Step const steps[] = {
        {{1.5}, -0.1, 0},                   // better than the second highest: that one is reflected next
        {{1.0}, -0.2, 0.15},                // as good as the best: expand
        {{0.5, 0.7, 0.6, 0.55}, -0.2, 0.2}, // a failed expansion leaves the reflected vertex
        {{2.0}, -0.05, 0.075},              // as bad as the second highest, yet kept: contract from there
        {{5.0}, 0.05, 0.025},               // no better than before: contract inside
        {{2.5, 2.6}, -0.05, 0.05},          // the contraction must beat the reflected value: shrink towards the lowest
        {{2.5, 2.6, 9, 8}, 0.05, 0},        // every vertex but the lowest, and go on from there
        {{5.0, nan}, 0.05, 0},              // from where the highest was, when nothing replaced it
    };
    for (Step const & step : steps) {
        std::vector<double> values{3, 2, 1};
        values.insert(values.end(), step.values.begin(), step.values.end());
        std::size_t calls = 0;
        Search const search(2, [&](mlSlice const &) { return calls < values.size() ? values[calls++] : nan; });
        std::vector<double> const & next = search.f.points[values.size()];
        EXPECT_NEAR(next[0], step.x, 1e-15) << "after " << testing::PrintToString(step.values);
        EXPECT_NEAR(next[1], step.y, 1e-15) << "after " << testing::PrintToString(step.values);
    }
}

TEST(Simplex, EndsAtItsLimitOfCallsWhateverTheValues) {
    TracedFunctionN1::Formula const constant = [](mlSlice const &) { return infinity; };
    TracedFunctionN1::Formula const falling = [](mlSlice const & x) { return -std::exp(x[0] + x[1]); };
    TracedFunctionN1::Formula const undefined = [](mlSlice const & x) { return std::sqrt(x[0] - 0.05); };
    int const limits[] = {20000, 100, 600, 2000, 20000, 20000}; // of the speeds -1 to 4
    for (int speed = -1; speed <= 4; ++speed) {
        EXPECT_EQ(Search(3, constant, speed).calls, limits[speed + 1]);
        EXPECT_NEAR(Search(2, falling, speed).calls, limits[speed + 1] + 1, 1.0);
        EXPECT_LT(Search(2, undefined, speed).calls, limits[speed + 1] + 4);
        EXPECT_EQ(Search(2, undefined, speed, -1.0).calls, limits[speed + 1] + 3) << "NaN everywhere, steps of 4 calls";
    }
}

TEST(Simplex, StopsAtOnceWhereNothingCanImprove) {
    Search const flat(2, [](mlSlice const &) { return 7.0; });
    EXPECT_EQ(flat.calls, 3);
    EXPECT_EQ(flat.x.sum(), 0.0) << "of equal values the last vertex, the start, is the lowest";
    EXPECT_EQ(Search(2, [](mlSlice const & x) { return 1e-22 * bowl(x); }).calls, 3) << "highest value below 1e-20";
    double value = 0.0;
    EXPECT_EQ(Search(
                  2, [&](mlSlice const &) { return ++value; }, 3, 1e30)
                  .calls,
              3)
        << "the vertices coincide";
    EXPECT_EQ(Search(0, [](mlSlice const &) { return 5.0; }).value, 5.0);
}

TEST(Simplex, TakesTheLimitOfTheSearchThatBeganLast) {
    int calls = 0;
    Search const outer(3, [&](mlSlice const &) {
        if (++calls == 50) Search const inner(1, bowl, mlDownHillSimplexCoarse);
        return infinity;
    });
    EXPECT_EQ(outer.calls, 100);
}

} // namespace
