#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "examples/fit/nist.h"
#include "examples/support/agreeing_digits.h"
#include "examples/support/column_table.h"

namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();

/// Distances that are linear in the parameters, a row of coefficients and a constant a point. `trace` gets a letter for
/// each call: n normalise, s set, g with gradient, d without, q the square distance.
class LinearModel : public mlDistanceLeastSquares {
public:
    LinearModel(std::vector<std::vector<double>> rows, std::vector<double> constants)
        : mlDistanceLeastSquares(static_cast<int>(rows[0].size()), static_cast<int>(constants.size())),
          rows_(std::move(rows)), constants_(std::move(constants)) {}

    void set_parameters(mlVector const & p) override {
        trace += 's';
        mlDistanceLeastSquares::set_parameters(p);
    }
    void normalise_parameters(mlVector & p) override {
        trace += 'n';
        if (normalise) normalise(p);
    }
    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        trace += 'g';
        d = at(point);
        for (int j = 0; j < n_parameters(); ++j)
            gradient[j] = rows_[point][j];
    }
    void distance(double & d, int point) override {
        trace += 'd';
        d = at(point) + offset;
    }
    double get_last_square_distance() const override {
        trace += 'q';
        return 7.0;
    }
    void use_precise_square_distance() { precise_square_distance = 1; }

    std::function<void(mlVector &)> normalise;
    double offset = 0.0; ///< of the distances that are asked for without their gradients
    mutable std::string trace;

private:
    double at(int point) const {
        double d = constants_[point];
        for (int j = 0; j < n_parameters(); ++j)
            d += rows_[point][j] * parameters[j];
        return d;
    }

    std::vector<std::vector<double>> rows_;
    std::vector<double> constants_;
};

/// With its protected operations made public.
class Fitter : public mlLevenbergMarquardt {
public:
    using mlLevenbergMarquardt::calc_matrices;
    using mlLevenbergMarquardt::fit;
    using mlLevenbergMarquardt::mlLevenbergMarquardt;
    using mlLevenbergMarquardt::update_pars;
};

std::string repeat(std::string const & text, int n) {
    std::string all;
    for (; n > 0; --n)
        all += text;
    return all;
}

/// Digits of the parameter that agrees least.
double digits_of_fit(NistProblem const & problem, int start, bool strict, double & digits_of_sum) {
    ColumnTable const table(std::string(MATHS_EXAMPLE_DATA) + problem.data, 2);
    NistFit model(problem, table.column(0), table.column(1));
    mlVector b, result;
    b.become(utConvert, problem.starts[start].data(), model.n_parameters());
    mlLevenbergMarquardt fitter(model);
    fitter.set_strict(strict);
    digits_of_sum = agreeing_digits(fitter.fit(b, result) * model.n_points(), problem.residual_sum);
    double digits = 11.0;
    for (int j = 0; j < model.n_parameters(); ++j)
        digits = std::min(digits, agreeing_digits(result[j], problem.certified[j]));
    return digits;
}

TEST(LevenbergMarquardt, ReachesTheCertifiedValuesOfReferenceFits) {
    for (NistProblem const & problem : nist_problems()) {
        for (int start = 0; start < 2; ++start) {
            double sum;
            EXPECT_GE(digits_of_fit(problem, start, true, sum), 6.0) << problem.name << " strict, start " << start;
            EXPECT_GE(sum, 10.0) << problem.name << " strict, start " << start;
            EXPECT_GE(digits_of_fit(problem, start, false, sum), 3.5) << problem.name << ", start " << start;
            EXPECT_GE(sum, 4.0) << problem.name << ", start " << start;
        }
    }
}

TEST(LevenbergMarquardt, EvaluatesAtTheStartOfEachIterationAndOnceATry) {
    LinearModel model({{1.0}, {1.0}}, {0.0, -2.0});
    Fitter fitter(model);
    mlVector start(mlVectorZero, 1), result;
    start[0] = 5.0;
    fitter.set_max_iterations(2);
    double const mean = fitter.fit(start, result);
    EXPECT_EQ(model.trace, "nsggnsddsggnsdd");
    double const after_one = 5.0 - 8.0 / (2.0 + 3.0 * (0.0001 * 0.04 * 10.0));
    EXPECT_DOUBLE_EQ(mean, (after_one * after_one + (after_one - 2.0) * (after_one - 2.0)) / 2.0)
        << "of the last point linearised at, not of the result";
    EXPECT_NEAR(result[0], 1.0, 1e-8);
}

TEST(LevenbergMarquardt, AnswersTheNormalisedStartWhenItMayNotIterate) {
    LinearModel model({{1.0}}, {0.0});
    model.normalise = [](mlVector & p) { p[0] = 3.0; };
    mlLevenbergMarquardt fitter(model);
    fitter.set_max_iterations(0);
    mlVector const start(mlVectorZero, 1);
    mlVector result(mlVectorZero, 4);
    EXPECT_TRUE(std::isnan(fitter.fit(start, result)));
    EXPECT_EQ(model.trace, "n");
    ASSERT_EQ(result.size(), 1);
    EXPECT_EQ(result[0], 3.0);
}

TEST(LevenbergMarquardt, GivesUpAtTheOptimumWhenLambdaPassesItsLimit) {
    mlVector start(mlVectorZero, 1), result;
    start[0] = 1.0;
    for (bool const strict : {false, true}) {
        LinearModel model({{1.0}, {1.0}}, {0.0, -2.0});
        mlLevenbergMarquardt fitter(model);
        fitter.set_strict(strict);
        EXPECT_EQ(fitter.fit(start, result), 1.0);
        EXPECT_EQ(model.trace, "nsgg" + repeat("nsdd", strict ? 46 : 16));
        EXPECT_EQ(result[0], 1.0);
    }
}

TEST(LevenbergMarquardt, TakesTheLastTrialAfterFiftyFailures) {
    for (double const limit : {1e300, 1e10}) { // fifty failures are too few for the one limit and not for the other
        LinearModel model({{1.0}}, {1e60});
        model.offset = nan;
        mlVector const start(mlVectorZero, 1);
        mlVector result;
        Fitter(model).fit(start, result, 1, 0.0, limit, false);
        EXPECT_EQ(model.trace, "nsg" + repeat("nsd", limit > 1e50 ? 50 : 16));
        EXPECT_EQ(result[0] != 0.0, limit > 1e50);
    }
}

TEST(LevenbergMarquardt, DiscardsATrialAcceptedPastTheLimitOfLambda) {
    LinearModel model({{1.0}}, {1.0});
    mlVector const start(mlVectorZero, 1);
    mlVector result;
    EXPECT_EQ(Fitter(model).fit(start, result, 9, 0.0, 1e-5, false), 1.0); // the first try's lambda is 4e-5
    EXPECT_EQ(model.trace, "nsgnsd");
    EXPECT_EQ(result[0], 0.0);
}

TEST(LevenbergMarquardt, EndsAStrictFitWithANegligibleStepAndTakesIt) {
    mlVector start(mlVectorZero, 1), result;
    start[0] = 1e-16; // 1e-32 squared
    for (bool const strict : {false, true}) {
        LinearModel model({{1.0}}, {0.0});
        mlLevenbergMarquardt fitter(model);
        fitter.set_strict(strict);
        fitter.set_max_iterations(3);
        fitter.fit(start, result);
        EXPECT_EQ(model.trace, "n" + repeat("sgnsd", strict ? 1 : 3));
        EXPECT_LT(result[0], 1e-19);
    }
}

TEST(LevenbergMarquardt, TakesSquareDistancesFromTheModelThatHasThemPrecisely) {
    LinearModel model({{1.0}, {1.0}}, {0.0, -2.0});
    model.use_precise_square_distance();
    mlVector const start(mlVectorZero, 1);
    mlVector result;
    EXPECT_EQ(Fitter(model).fit(start, result, 1, 0.0, 1e-4, false), 7.0); // 7 is never below 7: no try succeeds
    EXPECT_EQ(model.trace, "nsgqgq" + repeat("nsdqdq", 2));
}

TEST(LevenbergMarquardt, SolvesTheStepByCholeskyThenByLUOrNotAtAll) {
    LinearModel model({{1.0}}, {-6.0}); // J'J = 1, -J'd = 6
    Fitter fitter(model);
    mlVector p(mlVectorZero, 1);
    auto const step = [&](double lambda) {
        p[0] = 0.0;
        double const sum = fitter.update_pars(lambda, p);
        EXPECT_EQ(sum, p[0] == 0.0 ? std::numeric_limits<double>::max() : (p[0] - 6.0) * (p[0] - 6.0));
        return 6.0 / p[0];
    };
    fitter.calc_matrices(p);
    EXPECT_DOUBLE_EQ(step(0.5), 2.0);    // 1 + (1 + 1) lambda
    EXPECT_DOUBLE_EQ(step(-2.0), -3.0);  // indefinite, and the diagonal of the try before is gone
    EXPECT_TRUE(std::isinf(step(-0.5))); // singular: no step, and 1 + 2 (-0.5) stays on the diagonal
    EXPECT_DOUBLE_EQ(step(2.0), 2.0);    // 0 + (0 + 1) lambda
    p[0] = 0.0;
    fitter.calc_matrices(p);
    EXPECT_DOUBLE_EQ(step(0.25), 1.5);
}

TEST(LevenbergMarquardt, FitsModelsWithIdleAndRepeatedParameters) {
    // p0 + p1 = 3 and nothing about p2
    LinearModel model({{1.0, 1.0, 0.0}, {2.0, 2.0, 0.0}}, {-3.0, -6.0});
    mlVector start(mlVectorZero, 3), result;
    start[2] = 5.0;
    mlLevenbergMarquardt fitter(model);
    fitter.set_strict(true);
    EXPECT_LT(fitter.fit(start, result), 1e-20);
    EXPECT_NEAR(result[0] + result[1], 3.0, 1e-12);
    EXPECT_NEAR(result[0], result[1], 1e-9);
    EXPECT_EQ(result[2], 5.0);
}

TEST(LevenbergMarquardt, KeepsParametersInTheirCanonicalForm) {
    // Points on the line 0.6 x + 0.8 y = 2: distance n . point - offset, n a direction.
    LinearModel model({{2.0, 1.0, -1.0}, {-2.0, 4.0, -1.0}, {6.0, -2.0, -1.0}}, {0.0, 0.0, 0.0});
    model.normalise = [](mlVector & p) { p /= std::hypot(p[0], p[1]); };
    mlVector start(mlVectorZero, 3), result;
    start[0] = 3.0;
    EXPECT_LT(mlLevenbergMarquardt(model).fit(start, result), 1e-15);
    EXPECT_NEAR(result[0], 0.6, 1e-8);
    EXPECT_NEAR(result[1], 0.8, 1e-8);
    EXPECT_NEAR(result[2], 2.0, 1e-8);
    EXPECT_DOUBLE_EQ(std::hypot(result[0], result[1]), 1.0);
}

TEST(LevenbergMarquardt, EndsWithoutPointsAndWithDistancesThatAreNoNumbers) {
    mlVector start(mlVectorZero, 2), result;
    start[1] = 4.0;
    for (double const constant : {nan, std::numeric_limits<double>::infinity()}) {
        LinearModel model({{1.0, 2.0}}, {constant});
        mlLevenbergMarquardt(model).fit(start, result);
        EXPECT_EQ(result[1], 4.0);
    }
    LinearModel empty({{1.0, 2.0}}, {});
    EXPECT_TRUE(std::isnan(mlLevenbergMarquardt(empty).fit(start, result)));
    EXPECT_EQ(result[1], 4.0);
}

TEST(DistanceLeastSquares, HasAUnitScaleForEachIndependentParameter) {
    class OneIndependent : public LinearModel {
    public:
        OneIndependent() : LinearModel({{1.0, 2.0}}, {0.0}) {}
        int n_independent_parameters() const override { return 1; }
    };
    mlVector scales(mlVectorZero, 5);
    OneIndependent().parameter_scales(scales);
    ASSERT_EQ(scales.size(), 1);
    EXPECT_EQ(scales[0], 1.0);
}

TEST(DistanceLeastSquares, RatesHowThePointsDetermineTheParameters) {
    auto const quality = [](std::vector<std::vector<double>> rows) {
        std::vector<double> const constants(rows.size());
        LinearModel model(std::move(rows), constants);
        mlVector const p(mlVectorZero, model.n_parameters());
        double const answer = model.point_distribution_quality(p);
        EXPECT_EQ(model.trace, model.n_points() < model.n_parameters() ? "s" : "s" + repeat("g", model.n_points()));
        return answer;
    };
    EXPECT_NEAR(quality({{3.0, 4.0}, {-0.4, 0.3}}), 0.1, 1e-15); // rows at right angles: their lengths
    EXPECT_NEAR(quality({{1.0, 1.0}, {2.0, 2.0}, {3.0, 3.0}}), 0.0, 1e-15);
    EXPECT_EQ(quality({{0.0, 0.0}, {0.0, 0.0}}), 0.0);
    EXPECT_EQ(quality({{1.0, 0.0}}), 0.0);
    EXPECT_EQ(quality({{-2.0}}), 1.0);
}

} // namespace
