#include "examples/fit/nist.h"
#include "examples/support/agreeing_digits.h"
#include "examples/support/column_table.h"
#include "tests/support/test.h"

namespace {

using Points = std::vector<Values>;

/// Distances that are linear in the parameters: coefficients and a constant a point. `trace` gets a letter for each
/// call: n normalise, s set, g with gradient, d without, q the square distance.
class LinearModel : public mlDistanceLeastSquares {
public:
    LinearModel(int n, Points const & points)
        : mlDistanceLeastSquares(n, static_cast<int>(points.size())), points_(points) {}

    void set_parameters(mlVector const & p) override {
        trace += 's';
        outside = outside || p[0] < low || p[0] > high;
        mlDistanceLeastSquares::set_parameters(p);
    }
    void normalise_parameters(mlVector & p) override { // the first two to a direction, when there are three
        trace += 'n';
        if (is_direction) p /= std::hypot(p[0], p[1]);
    }
    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        distance(d, point);
        trace.back() = 'g';
        gradient.become(utConvert, points_[point].data(), n_parameters());
        gradient *= factor;
    }
    void distance(double & d, int point) override {
        trace += 'd';
        d = points_[point].back();
        for (int j = 0; j < n_parameters(); ++j)
            d += points_[point][j] * parameters[j];
    }
    double get_last_square_distance() const override {
        trace += 'q';
        return 7.0;
    }
    int n_independent_parameters() const override { return independent; }

    using mlDistanceLeastSquares::precise_square_distance;
    mutable std::string trace;
    bool is_direction = false; ///< the first two parameters, made a unit vector
    int independent = n_parameters();
    double factor = 1.0; ///< of gradients
    double low = -infinity, high = infinity;
    bool outside = false; ///< of these bounds of p[0], ever

private:
    Points points_;
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
        auto const df = [&](double x, mlVector const & p, mlVector & g) {
            return problem.formula(p.data(), x, g.data());
        };
        mlVector unused(mlVectorZero, m);
        auto const f = [&](double x, mlVector const & p) { return df(x, p, unused); };
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
    auto const df = [](double t, mlVector const &, mlVector & g) { g = Vector{1.0, t}; };
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
    Values asked, asked_second;
    auto const f = [&](double, mlVector const & p) {
        asked_second.push_back(p[1]);
        return asked.emplace_back(p[0]) * p[0] + p[1];
    };
    Vector const x{1}, start{-4, 0};
    mlCurveModel model(x.slice(), x.slice(), start, f);
    double d;
    Vector gradient{9, 9};
    model.distance_and_gradient(d, gradient, 0); // at 0: 4 and 1 are the scales
    model.set_parameters(Vector{8, 1e-3});
    model.distance_and_gradient(d, gradient, 0);
    double const h = 0x1p-17;
    EXPECT_EQ(asked, (Values{0, -4 * h, 4 * h, 0, 0, 8, 8 - 8 * h, 8 + 8 * h, 8, 8}));
    EXPECT_EQ(asked_second, (Values{0, 0, 0, -h, h, 1e-3, 1e-3, 1e-3, 1e-3 - 1e-3 * h, 1e-3 + 1e-3 * h}));
    EXPECT_NEAR(gradient[0], 16, 1e-8);
    EXPECT_NEAR(gradient[1], 1, 1e-6);
    EXPECT_EQ(d, 64 + 1e-3 - 1);
}

TEST(FitQuality, TellsWhichParametersTheDataDoNotDetermine) {
    // p[0] + p[1] alone, p[2], nothing of p[3]; the squares of p[2]'s column overflow
    LinearModel model(
        4,
        {{1, 1, 1e200, 0, -1}, {1, 1, 2e200, 0, -2}, {1, 1, 3e200, 0, -3}, {1, 1, 4e200, 0, -4}, {1, 1, 5e200, 0, -6}});
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
    LinearModel exact(2, {{1, 0, -1}, {1, 1, -2}}), wanting(2, {{1, 1, -1}});
    mlFitQuality const quality(exact, Vector{1, 1}), short_of_points(wanting, Vector{1, 0});
    mlFitQuality const failed(exact, Vector{nan_value, 1}), at_rest(exact, Vector{1, 1}, 1.0);
    EXPECT_EQ(std::tuple(quality.status(), quality.degrees_of_freedom()), std::tuple(mlFitQualityNoFreedom, 0));
    EXPECT_NEAR(quality.correlations()(0, 1), -std::sqrt(0.5), 1e-15);
    EXPECT_EQ(std::tuple(short_of_points.status(), short_of_points.rank()), std::tuple(mlFitQualityUndetermined, 1));
    EXPECT_EQ(failed.status(), mlFitQualityNotFinite);
    for (double const x : {quality.residual_deviation(), quality.standard_errors()[0], failed.standard_errors()[1],
                           failed.covariance()(0, 1)})
        EXPECT_TRUE(std::isnan(x)) << x;
    EXPECT_EQ(std::tuple(at_rest.rank(), at_rest.degrees_of_freedom(), at_rest.relative_offset()),
              std::tuple(0, 2, 0.0))
        << "no singular value counts";
}

// The optimality conditions, on random problems: no slope inside, none but outwards on a bound.
TEST(BoundedFit, MeetsTheOptimalityConditionsOfLinearProblems) {
    mlRandom random(5);
    int iterations = 0;
    for (int trial = 0; trial < 1000; ++trial) {
        auto const number = [&] { // whole ones make bounds without a slope
            double const x = random.uniform(-2.0, 2.0);
            return trial % 3 == 1 ? std::round(x) : x;
        };
        int const m = 1 + trial % 7;
        mlVector lower(mlVectorZero, m), upper(mlVectorZero, m), start(mlVectorZero, m), d(mlVectorZero, m + 3), p;
        for (int j = 0; j < m; ++j) {
            start[j] = number();
            lower[j] = number();
            upper[j] = lower[j] + (j % 4 == 3 ? 0.0 : std::fabs(number()));
        }
        Points points(m + 3, Values(m + 1));
        for (Values & point : points)
            for (double & x : point)
                x = number() - (trial % 3 == 0 ? 4.0 : 0.0); // nearly dependent columns
        LinearModel model(m, points);
        model.low = lower[0];
        model.high = upper[0];
        mlBoundedFit fit(model, lower, upper);
        SCOPED_TRACE(trial);
        ASSERT_EQ(fit.fit(start, p), mlBoundedFitConverged);
        EXPECT_FALSE(model.outside);
        iterations += fit.iterations();
        model.set_parameters(p);
        for (int i = 0; i < d.size(); ++i)
            model.distance(d[i], i);
        for (int j = 0; j < m; ++j) {
            double slope = 0.0;
            for (int i = 0; i < d.size(); ++i)
                slope += points[i][j] * d[i];
            double const negligible = 1e-5 * euclidean_norm(d) + 1e-12; // whole numbers can be met
            int const side = fit.at_bound(j);
            EXPECT_EQ(p[j], std::clamp(p[j], lower[j], upper[j])) << j;
            EXPECT_TRUE(lower[j] == upper[j] || -side * slope >= -negligible) << j;
            EXPECT_TRUE(side != 0 || std::fabs(slope) < negligible) << j;
        }
    }
    EXPECT_EQ(iterations, 1927);
}

TEST(BoundedFit, TellsOfEmptyBoxesLimitsAndNumbersThatAreNone) {
    LinearModel model(2, {{1, 0, -1}, {1, 0, -3}});
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
    LinearModel model(2, {{1, 0, -1}, {1, 1, -2}, {0, 1, -3}});
    model.is_direction = true;
    model.independent = 1;
    model.precise_square_distance = true;
    mlFitQuality const quality(model, Vector{1, 1});
    EXPECT_EQ(std::tuple(quality.residual_sum(), quality.rank(), quality.degrees_of_freedom()), std::tuple(21.0, 2, 2));
    mlBoundedFit fit(model, Vector{-0.7, -1}, Vector{1, 1}); // which the normal form leaves
    fit.set_max_iterations(0);
    Vector p{9, 9};
    EXPECT_EQ(fit.fit(Vector{-0.5, 0}, p), mlBoundedFitIterationLimit);
    EXPECT_EQ(std::tuple(p[0], fit.residual_sum()), std::tuple(-0.7, 21.0));
    fit.set_max_iterations(5);
    EXPECT_EQ(fit.fit(Vector{-0.5, 0}, p), mlBoundedFitConverged); // 21 is never below 21
    model.factor = infinity;
    EXPECT_EQ(fit.fit(Vector{-0.5, 0}, p), mlBoundedFitNotFinite);
    EXPECT_EQ(mlFitQuality(model, p).status(), mlFitQualityNotFinite);
    EXPECT_TRUE(std::isnan(mlFitQuality(model, p).relative_offset()));
}

std::string repeat(std::string const & text, int n) { return n > 0 ? text + repeat(text, n - 1) : ""; }

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
        if (strict) fitter.set_strict(true);
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
    // Twelve successes in a row end a fit.
    expect(origin, 1, 0, 500, 0, "n" + repeat("sgnsd", 12), 1.24297659771e-134, 3.74094506227e-76);
    // A negligible step ends a strict fit, which takes it.
    expect(origin, x, 0, 2, 1, "nsgnsd", x * x, y);
    expect(origin, x, 0, 2, 0, "nsgnsdsgnsd", y * y, y * left(0.4 * first));
    // 7 is never below 7: fifty failures are too few for the one limit, and then the last trial is taken.
    expect(far, 0, 1e300, 1, 0, "nsgq" + repeat("nsdq", 50), 7, -1e60 / (2 * first * 1e49));
    expect(far, 0, 1e10, 1, 0, "nsgq" + repeat("nsdq", 16), 7, 0);
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

TEST(LevenbergMarquardt, ReturnsTheStartInNormalFormWithoutIterationsOrPoints) {
    LinearModel model(3, {{2, 1, -1, 0}}), pointless(2, {});
    model.is_direction = true;
    Vector result{9, 9, 9, 9};
    mlLevenbergMarquardt fitter(model);
    fitter.set_max_iterations(0);
    EXPECT_TRUE(std::isnan(fitter.fit(Vector{3, 0, 0}, result)));
    EXPECT_EQ(model.trace, "n");
    EXPECT_EQ(contents(result), (Values{1, 0, 0}));
    EXPECT_FALSE(std::isfinite(mlLevenbergMarquardt(pointless).fit(Vector{0, 4}, result)));
    EXPECT_EQ(contents(result), (Values{0, 4}));
}

TEST(DistanceLeastSquares, RatesHowThePointsDetermineTheParametersOfUnitScale) {
    auto const expect = [](Points const & points, double quality, std::string const & trace) {
        LinearModel model(static_cast<int>(points[0].size()) - 1, points);
        model.independent = 1;
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
