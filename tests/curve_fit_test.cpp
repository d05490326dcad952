#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "examples/fit/nist.h"
#include "examples/support/agreeing_digits.h"
#include "examples/support/column_table.h"
#include "tests/support/matrices.h"
#include "tests/support/values.h"

namespace {

/// Distances that are linear in the parameters: the rows of a matrix times p, less the right-hand sides.
struct LinearFit : mlDistanceLeastSquares {
    LinearFit(mlMatrix const & rows, Values right)
        : mlDistanceLeastSquares(rows.cols(), rows.rows()), rows_(rows), right_(std::move(right)) {}
    void normalise_parameters(mlVector & p) override { p[0] = peculiar ? std::fabs(p[0]) : p[0]; }
    int n_independent_parameters() const override { return peculiar ? 1 : n_parameters(); }
    double get_last_square_distance() const override { return 7.0; } // for models that say so
    void distance(double & d, int point) override {
        outside = outside || parameters[0] < low || parameters[0] > high;
        d = scalar_product(rows_.row(point), parameters.slice()) - right_[point];
    }
    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        distance(d, point);
        gradient = rows_.row(point);
        gradient *= factor;
    }
    using mlDistanceLeastSquares::precise_square_distance;
    bool peculiar = false; // the first parameter is made positive, one is independent
    double factor = 1.0;   // of gradients
    double low = -infinity, high = infinity;
    bool outside = false; // of these bounds of p[0], ever

private:
    mlMatrix const & rows_;
    Values right_;
};

double digits(mlVector const & found, Values const & certified) {
    double least = 11.0;
    for (int j = 0; j < found.size(); ++j)
        least = std::min(least, agreeing_digits(found[j], certified[j]));
    return least;
}

double digits_of_deviations(mlFitQuality const & quality, NistProblem const & problem) {
    return std::min(agreeing_digits(quality.residual_deviation(), problem.residual_deviation),
                    digits(quality.standard_errors(), problem.deviations));
}

TEST(Fits, HaveNistsCertifiedValuesAndDeviationsByEveryMethod) {
    for (NistProblem const & problem : nist_problems()) {
        SCOPED_TRACE(problem.name);
        ColumnTable const table(std::string(MATHS_EXAMPLE_DATA) + problem.data, 2);
        NistFit model(problem, table.column(0), table.column(1));
        int const m = model.n_parameters();
        EXPECT_EQ(model.n_independent_parameters() + model.get_last_square_distance(), m);
        mlLevenbergMarquardt fitter(model); // reused: a fit must not depend on the one before
        for (Values const & start : problem.starts)
            for (bool const strict : {false, true}) {
                fitter.set_strict(strict);
                mlVector p;
                double const sum = fitter.fit(mlVector(start), p) * model.n_points();
                EXPECT_GE(agreeing_digits(sum, problem.residual_sum), strict ? 10.0 : 4.0);
                EXPECT_GE(digits(p, problem.certified), strict ? 6.0 : 3.5);
            }
        mlFitQuality const at_certified(model, mlVector(problem.certified));
        EXPECT_GE(digits_of_deviations(at_certified, problem), 9.0);
        EXPECT_EQ(at_certified.degrees_of_freedom(), table.rows() - m);
        auto const f = [&](double x, mlVector const & p) {
            double unused[10];
            return problem.formula(p.data(), x, unused);
        };
        auto const df = [&](double x, mlVector const & p, mlVector & g) { problem.formula(p.data(), x, g.data()); };
        for (bool const given : {true, false}) {
            mlVector p(problem.starts[1]);
            mlFitQuality const quality = given ? ml_curve_fit(table.column(0), table.column(1), p, f, df)
                                               : ml_curve_fit(table.column(0), table.column(1), p, f);
            EXPECT_EQ(quality.status(), mlFitQualityDetermined);
            EXPECT_GE(digits(p, problem.certified), 6.0);
            EXPECT_GE(digits_of_deviations(quality, problem), digits(p, problem.certified) - 1.0);
            EXPECT_LT(quality.relative_offset(), 1e-5);
        }
        mlVector p;
        mlBoundedFit fit(model, mlVector(Values(m, -infinity)), mlVector(Values(m, mlUnboundedMax)));
        EXPECT_EQ(fit.fit(mlVector(problem.starts[1]), p), mlBoundedFitConverged);
        EXPECT_GE(agreeing_digits(fit.residual_sum(), problem.residual_sum), 10.0);
        EXPECT_GE(digits(p, problem.certified), 6.0);
    }
}

TEST(CurveFit, WeighsPointsAsIfTheyWereThereAsOften) {
    Vector const x{0, 1, 2, 5}, y{1, 3, 4, 9}, weights{1, 4, 1, 0};
    auto const f = [](double t, mlVector const & p) { return p[0] + p[1] * t; };
    auto const df = [](double t, mlVector const &, mlVector & g) { g[0] = 1.0, g[1] = t; };
    for (bool const given : {true, false}) {
        Vector p{0, 0};
        mlFitQuality const fit = given ? ml_curve_fit(x.slice(), y.slice(), weights.slice(), p, f, df)
                                       : ml_curve_fit(x.slice(), y.slice(), weights.slice(), p, f);
        EXPECT_NEAR(p[0], 17.0 / 6 - 1.5, 1e-9);
        EXPECT_NEAR(p[1], 1.5, 1e-9); // (4 - 1) / 2: the middle is the weights' centre
        EXPECT_NEAR(fit.residual_sum(), 1.0 / 3, 1e-12);
        double const s2 = 1.0 / 6; // times (J'J)^-1 of the weighted line, J'J = (6 6; 6 8)
        EXPECT_NEAR(fit.covariance()(0, 0), s2 * 8 / 12, 1e-9);
        EXPECT_NEAR(fit.covariance()(1, 0), -s2 * 6 / 12, 1e-9);
        EXPECT_NEAR(fit.correlations()(0, 1), -6 / std::sqrt(48.0), 1e-9);
    }
}

TEST(CurveFit, TakesDifferencesOnTheScaleOfTheStart) {
    Values asked;
    auto const f = [&](double, mlVector const & p) { return asked.push_back(p[0]), p[0] * p[0] + p[1]; };
    Vector const x{1}, start{-4, 0};
    mlCurveModel model(x.slice(), x.slice(), start, f);
    double d;
    Vector gradient{9, 9};
    model.distance_and_gradient(d, gradient, 0); // at 0: 4 and 1 are the scales
    model.set_parameters(Vector{8, 1e-3});
    model.distance_and_gradient(d, gradient, 0);
    double const h = 0x1p-17;
    EXPECT_EQ(asked, (Values{0, -4 * h, 4 * h, 0, 0, 8, 8 - 8 * h, 8 + 8 * h, 8, 8}));
    EXPECT_NEAR(gradient[0], 16, 1e-8);
    EXPECT_NEAR(gradient[1], 1, 1e-6);
    EXPECT_EQ(d, 64 + 1e-3 - 1);
}

TEST(FitQuality, TellsWhichParametersTheDataDoNotDetermine) {
    // p[0] + p[1] alone, p[2], nothing of p[3]; the squares of p[2]'s column overflow
    Matrix const rows(5, 4, {1, 1, 1e200, 0, 1, 1, 2e200, 0, 1, 1, 3e200, 0, 1, 1, 4e200, 0, 1, 1, 5e200, 0});
    LinearFit model(rows, {1, 2, 3, 4, 6});
    mlFitQuality const quality(model, Vector{-0.2, -0.2, 1.2e-200, 0});
    EXPECT_EQ(quality.status(), mlFitQualityUndetermined);
    EXPECT_EQ(std::tuple(quality.rank(), quality.degrees_of_freedom()), std::tuple(2, 3));
    for (int j : {0, 1, 3})
        EXPECT_EQ(std::pair(quality.standard_errors()[j], quality.is_determined(j)), std::pair(infinity, false)) << j;
    EXPECT_NEAR(quality.residual_sum(), 0.4, 1e-12);
    EXPECT_NEAR(quality.standard_errors()[2] * 1e200, std::sqrt(0.4 / 3 / 10), 1e-12); // the line's slope
    EXPECT_TRUE(quality.is_determined(2));
    EXPECT_TRUE(std::isnan(quality.covariance()(2, 0)));
    EXPECT_TRUE(std::isnan(quality.correlations()(0, 3)));
    EXPECT_LT(quality.relative_offset(), 1e-6); // it is the minimum
    EXPECT_NEAR(mlFitQuality(model, Vector{0.6, -0.2, 1.2e-200, 0}).relative_offset(),
                std::sqrt(0.8 * 0.8 * 5 / 2 / (0.4 / 3)), 1e-9);
}

TEST(FitQuality, SaysWhenThereIsNoFreedomOrNoNumber) {
    Matrix const square(2, 2, {1, 0, 1, 1}), wide(1, 2, {1, 1});
    LinearFit exact(square, {1, 2}), wanting(wide, {1});
    mlFitQuality const quality(exact, Vector{1, 1}), short_of_points(wanting, Vector{1, 0});
    EXPECT_EQ(std::tuple(quality.status(), quality.degrees_of_freedom()), std::tuple(mlFitQualityNoFreedom, 0));
    EXPECT_TRUE(std::isnan(quality.residual_deviation()));
    EXPECT_TRUE(std::isnan(quality.standard_errors()[0]));
    EXPECT_NEAR(quality.correlations()(0, 1), -std::sqrt(0.5), 1e-15);
    EXPECT_EQ(std::tuple(short_of_points.status(), short_of_points.rank()), std::tuple(mlFitQualityUndetermined, 1));
    mlFitQuality const failed(exact, Vector{nan_value, 1}), at_rest(exact, Vector{1, 1}, 1.0);
    EXPECT_EQ(failed.status(), mlFitQualityNotFinite);
    EXPECT_TRUE(std::isnan(failed.standard_errors()[1]));
    EXPECT_TRUE(std::isnan(failed.covariance()(0, 1)));
    EXPECT_EQ(std::tuple(at_rest.rank(), at_rest.degrees_of_freedom(), at_rest.relative_offset()),
              std::tuple(0, 2, 0.0))
        << "no singular value counts";
}

// The optimality conditions, on random problems: no slope inside, none but outwards on a bound.
TEST(BoundedFit, MeetsTheOptimalityConditionsOfLinearProblems) {
    mlRandom random(5);
    int iterations = 0;
    for (int trial = 0; trial < 300; ++trial) {
        int const m = 1 + trial % 7, n = m + 3;
        mlMatrix rows;
        mlVector lower, upper, start, p, d(mlVectorZero, n);
        fill_random(rows, n, m, trial);
        fill_random(start, m, trial);
        fill_random(lower, m, trial + 1);
        upper.become(utCopy, lower);
        for (int j = 0; j < m; ++j)
            if (j % 4 != 3) upper[j] += random.uniform();
        Values right(n);
        for (int i = 0; i < n; ++i) {
            right[i] = random.uniform(-3.0, 3.0);
            if (trial % 3 == 0) rows.row(i) -= 3.0; // nearly dependent columns
        }
        start *= 2.0;
        LinearFit model(rows, right);
        model.low = lower[0];
        model.high = upper[0];
        mlBoundedFit fit(model, lower, upper);
        SCOPED_TRACE(trial);
        ASSERT_EQ(fit.fit(start, p), mlBoundedFitConverged);
        EXPECT_FALSE(model.outside);
        iterations += fit.iterations();
        model.set_parameters(p);
        for (int i = 0; i < n; ++i)
            model.distance(d[i], i);
        for (int j = 0; j < m; ++j) {
            double const slope = scalar_product(rows.col(j), d.slice());
            double const negligible = 1e-6 * euclidean_norm(d) * euclidean_norm(rows.col(j));
            int const side = fit.at_bound(j);
            EXPECT_EQ(p[j], std::clamp(p[j], lower[j], upper[j])) << j;
            EXPECT_TRUE(lower[j] == upper[j] || -side * slope >= -negligible) << j;
            EXPECT_TRUE(side != 0 || std::fabs(slope) < negligible) << j;
        }
    }
    EXPECT_EQ(iterations, 568);
}

TEST(BoundedFit, TellsOfEmptyBoxesLimitsAndNumbersThatAreNone) {
    mlMatrix const rows{{1, 0}, {1, 0}};
    LinearFit model(rows, {1, 3});
    struct {
        double lower, upper, start;
        int limit;
        mlBoundedFitStatus status;
        double p; // whose start is 7
    } const cases[] = {{1, 0, 0, 9, mlBoundedFitEmptyBox, 7},
                       {nan_value, 0, 0, 9, mlBoundedFitEmptyBox, 7},
                       {-10, 10, nan_value, 9, mlBoundedFitNotFinite, nan_value},
                       {-10, 10, infinity, 9, mlBoundedFitConverged, 2}, // on the box, and from there
                       {-10, 10, 20, 0, mlBoundedFitIterationLimit, 10}};
    for (auto const & c : cases) {
        Vector p{7, 7};
        mlBoundedFit fit(model, Vector{c.lower, -9}, Vector{c.upper, 9});
        fit.set_max_iterations(c.limit);
        SCOPED_TRACE(testing::Message() << c.lower << ", from " << c.start);
        EXPECT_EQ(fit.fit(Vector{c.start, 5}, p), c.status);
        EXPECT_TRUE(same(p[0], c.p) || std::fabs(p[0] - c.p) < 1e-12) << p[0];
        if (c.status == mlBoundedFitEmptyBox) continue;
        EXPECT_EQ(p[1], 5) << "a parameter without a part in it stays";
        EXPECT_EQ(std::tuple(fit.at_bound(0), fit.iterations() > 0), std::tuple(c.p == 10, c.p == 2));
        EXPECT_TRUE(same(fit.residual_sum(), 2 * c.p * c.p - 8 * c.p + 10)) << fit.residual_sum();
    }
}

TEST(Fits, GoByTheModelsOwnSquaresNormalFormAndIndependentParameters) {
    Matrix const rows(3, 2, {1, 0, 1, 1, 0, 1});
    LinearFit model(rows, {1, 2, 3});
    model.peculiar = true;
    model.precise_square_distance = true;
    mlFitQuality const quality(model, Vector{1, 1});
    EXPECT_EQ(std::tuple(quality.residual_sum(), quality.rank(), quality.degrees_of_freedom()), std::tuple(21.0, 2, 2));
    mlBoundedFit fit(model, Vector{-1, -1}, Vector{1, 1});
    fit.set_max_iterations(0);
    Vector p{9, 9};
    EXPECT_EQ(fit.fit(Vector{-0.5, 0}, p), mlBoundedFitIterationLimit);
    EXPECT_EQ(std::tuple(p[0], fit.residual_sum()), std::tuple(0.5, 21.0));
    fit.set_max_iterations(5);
    EXPECT_EQ(fit.fit(Vector{-0.5, 0}, p), mlBoundedFitConverged); // 21 is never below 21
    model.factor = infinity;
    EXPECT_EQ(fit.fit(Vector{-0.5, 0}, p), mlBoundedFitNotFinite);
    EXPECT_EQ(mlFitQuality(model, p).status(), mlFitQualityNotFinite);
    EXPECT_TRUE(std::isnan(mlFitQuality(model, p).relative_offset()));
}

// A linear problem takes a step that the damping shortens, and few more: held parameters move the others at once.
TEST(BoundedFit, TakesAStepForEachChangeOfTheParametersHeld) {
    Matrix const rows(3, 2, {1, -1, 1, 0, 0, 1});
    auto const expect = [&](Values const & right, Vector const & lower, Vector const & start, int iterations) {
        LinearFit model(rows, right);
        mlBoundedFit fit(model, lower, Vector{9, 1});
        mlVector p;
        EXPECT_EQ(fit.fit(start, p), mlBoundedFitConverged);
        EXPECT_EQ(fit.iterations(), iterations) << testing::PrintToString(right);
    };
    expect({0, 0, 1}, {0, -9}, {0, 0}, 4);  // the first one, on its bound without a slope, is free only after a step
    expect({5, 5, 9}, {-9, -9}, {0, 0}, 3); // the second one meets its bound in the first step
}

} // namespace
