#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

namespace {

using Points = std::vector<Values>;

std::string repeat(std::string const & text, int n) { return n > 0 ? text + repeat(text, n - 1) : ""; }

/// Distances that are linear in the parameters: coefficients and a constant a point. `trace` gets a letter for each
/// call: n normalise, s set, g with gradient, d without, q the square distance.
class LinearModel : public mlDistanceLeastSquares {
public:
    LinearModel(int n, Points points)
        : mlDistanceLeastSquares(n, static_cast<int>(points.size())), points_(std::move(points)) {}

    void set_parameters(mlVector const & p) override { trace += 's', mlDistanceLeastSquares::set_parameters(p); }
    void normalise_parameters(mlVector & p) override { // the first two to a direction, when there are three
        trace += 'n';
        if (p.size() == 3) p /= std::hypot(p[0], p[1]);
    }
    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        distance(d, point);
        trace.back() = 'g';
        gradient.become(utConvert, points_[point].data(), n_parameters());
    }
    void distance(double & d, int point) override {
        trace += 'd';
        d = points_[point].back();
        for (int j = 0; j < n_parameters(); ++j)
            d += points_[point][j] * parameters[j];
    }
    double get_last_square_distance() const override { return trace += 'q', 7.0; }
    int n_independent_parameters() const override { return 1; }

    using mlDistanceLeastSquares::precise_square_distance;
    mutable std::string trace;

private:
    Points points_;
};

struct Fitter : mlLevenbergMarquardt {
    using mlLevenbergMarquardt::calc_matrices, mlLevenbergMarquardt::fit, mlLevenbergMarquardt::mlLevenbergMarquardt,
        mlLevenbergMarquardt::update_pars;
};

TEST(LevenbergMarquardt, TriesAndTakesStepsByItsRules) {
    // The mean is that of the last point linearised at; without a limit of lambda the fit's own are used.
    auto const expect = [](Points const & points, double start, double max_lambda, int iterations, int strict,
                           std::string const & trace, double mean, double parameter) {
        LinearModel model(1, points);
        model.precise_square_distance = max_lambda > 1;
        Fitter fitter(model);
        fitter.set_strict(strict);
        fitter.set_max_iterations(iterations);
        mlVector result;
        EXPECT_NEAR(max_lambda == 0 ? fitter.fit(Vector{start}, result)
                                    : fitter.fit(Vector{start}, result, iterations, 0.0, max_lambda, strict),
                    mean, 1e-9 * mean);
        EXPECT_EQ(model.trace, trace);
        EXPECT_NEAR(result[0], parameter, 1e-9 * std::fabs(parameter)) << trace;
    };
    auto const left = [](double lambda) { return 1 - 1 / (1 + 2 * lambda); }; // of the way, after a step
    double const x = 1e-16, first = 0.0001 * 0.04 * 10, y = x * left(first);
    Points const pair = {{1, 0}, {1, -2}}, origin = {{1, 0}}, far = {{1, 1e60}};
    // At the optimum no try succeeds, until lambda passes its limit.
    expect(pair, 1, 0, 500, 0, "nsgg" + repeat("nsdd", 16), 1, 1);
    expect(pair, 1, 0, 500, 1, "nsgg" + repeat("nsdd", 46), 1, 1);
    expect({{1, 1}}, 0, 1e-5, 9, 0, "nsgnsd", 1, 0); // a success past the limit is discarded, one at it is taken
    expect({{1, 1}}, 0, first, 1, 0, "nsgnsd", 1, left(first) - 1);
    // A negligible step ends a strict fit, which takes it.
    expect(origin, x, 0, 2, 1, "nsgnsd", x * x, y);
    expect(origin, x, 0, 2, 0, "nsgnsdsgnsd", y * y, y * left(0.4 * first));
    // 7 is never below 7: fifty failures are too few for the one limit, and then the last trial is taken.
    expect(far, 0, 1e300, 1, 0, "nsgq" + repeat("nsdq", 50), 7, -1e60 / (2 * first * 1e49));
    expect(far, 0, 1e10, 1, 0, "nsgq" + repeat("nsdq", 16), 7, 0);
}

TEST(LevenbergMarquardt, StopsAfterTwelveSuccessesInARowAndGoesOnWhenFittedAgainOrStrictly) {
    int steps = 0; // each takes an eighth off the parameter, for ever
    auto const eighth_power = [](double, mlVector const & p) { return std::pow(p[0], 8); };
    auto const gradient = [&](double, mlVector const & p, mlVector & g) { g[0] = 8 * std::pow(p[0], 7), ++steps; };
    Vector const zero{0};
    mlCurveModel model(zero.slice(), zero.slice(), zero, eighth_power, gradient);
    mlLevenbergMarquardt fitter(model);
    Vector result{9};
    fitter.fit(Vector{1}, result);
    EXPECT_EQ(steps, 12);
    EXPECT_NEAR(result[0], std::pow(7.0 / 8.0, 12), 0.05);
    double const first = result[0];
    fitter.fit(result, result);
    EXPECT_LT(result[0], 0.9 * first);
    fitter.set_strict(true);
    fitter.fit(Vector{1}, result);
    EXPECT_LT(result[0], 0.3 * first);
}

TEST(LevenbergMarquardt, SolvesTheStepByCholeskyThenByLUOrNotAtAll) {
    LinearModel model(1, {{1, -6}}); // J'J = 1, -J'd = 6
    Fitter fitter(model);
    Vector p{0};
    fitter.calc_matrices(p);
    // -2: indefinite; -0.5: singular, no step, and 1 + 2 (-0.5) stays on the diagonal; then 0 + (0 + 1) lambda
    for (auto const & [lambda, step] : {std::pair{0.5, 3.0}, {-2.0, -2.0}, {-0.5, 0.0}, {2.0, 3.0}}) {
        p[0] = 0.0;
        EXPECT_DOUBLE_EQ(fitter.update_pars(lambda, p), step == 0.0 ? largest_double : (step - 6.0) * (step - 6.0));
        EXPECT_DOUBLE_EQ(p[0], step);
    }
}

TEST(LevenbergMarquardt, KeepsParametersInTheirCanonicalForm) {
    // Points on the line 0.6 x + 0.8 y = 2: distance n . point - offset, n a direction.
    LinearModel model(3, {{2, 1, -1, 0}, {-2, 4, -1, 0}, {6, -2, -1, 0}}), pointless(2, {});
    Vector const start{3, 0, 0};
    Vector result{9, 9, 9, 9};
    mlLevenbergMarquardt fitter(model);
    fitter.set_max_iterations(0);
    EXPECT_TRUE(std::isnan(fitter.fit(start, result)));
    EXPECT_EQ(model.trace, "n");
    EXPECT_EQ(contents(result), (Values{1, 0, 0}));
    EXPECT_LT(mlLevenbergMarquardt(model).fit(start, result), 1e-15);
    EXPECT_LT(norm_diff(result, Vector{0.6, 0.8, 2}), 1e-8);
    EXPECT_FALSE(std::isfinite(mlLevenbergMarquardt(pointless).fit(Vector{0, 4}, result)));
    EXPECT_EQ(contents(result), (Values{0, 4}));
}

TEST(DistanceLeastSquares, RatesHowThePointsDetermineTheParametersOfUnitScale) {
    auto const expect = [](Points const & points, double quality, std::string const & trace) {
        LinearModel model(static_cast<int>(points[0].size()) - 1, points);
        EXPECT_NEAR(model.point_distribution_quality(mlVector(mlVectorZero, model.n_parameters())), quality, 1e-15);
        EXPECT_EQ(model.trace, trace);
        Vector scales{0, 0, 0};
        model.parameter_scales(scales);
        EXPECT_EQ(contents(scales), Values{1}); // of each independent parameter
    };
    expect({{3, 4, 0}, {-0.4, 0.3, 0}}, 0.1, "sgg"); // rows at right angles: their lengths
    expect({{1, 1, 0}, {2, 2, 0}, {3, 3, 0}}, 0.0, "sggg");
    expect({{1, 0, 0}}, 0.0, "s");
    expect({{-2, 0}}, 1.0, "sg");
}

} // namespace
