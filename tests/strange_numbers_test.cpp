#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

// An iterative routine ends whatever numbers it is given, as arguments and as values of the user's function.

namespace {

/// Functions of every interface whose values are strange numbers: always the same one, for the first seeds, or a
/// sequence of them mixed with ordinary ones.
struct Strange : mlFunction, mlFunctionN1, mlFunctionN, mlDistanceLeastSquares {
    static int const constants = 10;

    explicit Strange(int its_seed) : mlDistanceLeastSquares(2, 5), seed(its_seed), random(its_seed) {
        highest_derivative_order = seed % 3;
        dimension = input_dimension = output_dimension = 3;
    }

    double next() const {
        static double const strange[constants] = {nan_value, infinity, -infinity, 0.0,    -0.0,
                                                  5e-324,    -5e-324,  1e308,     -1e308, 1e-300};
        if (++count > 1000000) throw std::runtime_error("asked a million times");
        if (seed < constants) return strange[seed];
        double const choice = random.uniform(0.0, 2.0 * constants);
        double const number = choice < constants ? strange[static_cast<int>(choice)] : random.uniform(-2.0, 2.0);
        return finite && !std::isfinite(number) ? next() : number;
    }
    template <class Array> Array & fill(Array & array) const {
        std::generate(array.begin(), array.end(), [this] { return next(); });
        return array;
    }

    double function(double) const override { return next(); }
    using mlFunctionN::function_derivative;
    double function_derivative(int, double) const override { return next(); }
    double function(mlSlice const &) const override { return next(); }
    void function(mlSlice const &, mlVector & y) const override { fill(y); }
    void function_gradient(mlSlice const &, mlMatrix & jacobian) const override { fill(jacobian); }
    void normalise_parameters(mlVector &) override {}
    void distance(double & d, int) override { d = next(); }
    void distance_and_gradient(double & d, mlVector & gradient, int) override { d = next(), fill(gradient); }

    int const seed;
    mutable mlRandom random;
    mutable int count = 0;
    bool finite = false; ///< whether sequences leave out the numbers that are not
};

class StrangeNumbers : public testing::TestWithParam<int> {
protected:
    /// Strange, or in its place an ordinary number for half of the seeds.
    double argument(double ordinary) const { return f.seed % 2 == 0 ? ordinary : f.next(); }

    Strange f = Strange(GetParam());
    int flag = 0;
};

TEST_P(StrangeNumbers, EndOnALine) {
    double a = argument(0.0), b = argument(1.0);
    double const tolerance = argument(1e-9);
    mlRootSolve::newton_raphson(f, a, tolerance, flag, 100);
    if (!checked_build) { // a bracket without a change of sign is misuse
        mlRootSolve::newton_raphson(f, a, b, tolerance, flag, 100);
        mlRootSolve::regula_falsi(f, a, b, tolerance, flag, 100);
    } else if (!(a < b)) { // so is an inverted range
        a = 0.0, b = 1.0;
    }
    mlMinimiser minimiser(f, argument(0.5), a, b, tolerance);
    for (int i = 0; i < 2; ++i) {
        minimiser.minimise(flag, flag, flag);
        minimiser.change_range(argument(2.0));
    }
    double c, fa, fb, fc, least;
    ml_minimum_bracketing(f, a, b, c, fa, fb, fc);
    ml_brent_minimum_search(f, a, b, c, tolerance, 100, &least);
    for (int i = 0; i < 50; ++i) {
        mlVector p(mlVectorZero, 5), r(mlVectorZero, 4);
        f.fill(p);
        int const roots = mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], r[0], r[1], r[2], r[3]);
        EXPECT_EQ(roots, std::clamp(roots, -1, 4)) << p;
    }
}

TEST_P(StrangeNumbers, EndInFunctionsOfManyVariables) {
    mlVector x(mlVectorZero, 3), start(mlVectorZero, 2), result;
    mlMatrix directions(mlMatrixZero, 3, 3);
    mlDownHillSimplex(3).solve(f, f.fill(x), mlDownHillSimplexNormal);
    ml_powell_minimum_search(x, f.fill(directions), argument(1e-9), flag, f);
    mlNewtonRaphson(mlNRDim, 3).solve(f, f.fill(x), argument(1e-9), flag);
    for (bool const strict : {false, true}) {
        mlLevenbergMarquardt fit(f);
        fit.set_strict(strict);
        fit.fit(f.fill(start), result);
    }
    mlVector low(mlVectorZero, 2), high(mlVectorZero, 2), above(mlVectorZero, 3);
    for (int i = 0; i < 10; ++i) {
        mlBoundedFit fit(f, f.fill(low), f.fill(high));
        fit.fit(f.fill(start), result);
        mlFitQuality(f, f.fill(start), argument(1e-9));
        mlQuasiNewton search(3, i);
        search.set_gradient_tolerance(argument(1e-9));
        search.set_max_iterations(300);
        if (i > 4) search.set_box(f.fill(x), f.fill(above));
        search.minimise(f, f.fill(x));
    }
}

TEST_P(StrangeNumbers, EndInQuadraticProgrammes) {
    mlMatrix g(mlMatrixZero, 3, 3), normals(mlMatrixZero, 5, 6);
    mlVector slope(mlVectorZero, 3), x(mlVectorZero, 3);
    f.finite = true;
    for (int i = 0; i < 20; ++i) {
        mlConstrainedQuadraticMinimiser minimiser(f.fill(g), f.fill(slope));
        f.fill(normals);
        f.fill(x);
        for (int k = 0; k < 5; ++k) {
            minimiser.add_inequality(normals.row(k).slice(0, 1, 3), normals(k, k % 3));
            minimiser.add_equality(normals.row(k).slice(3, 1, 3), normals(k, 3));
            bool const solved = minimiser.minimise(x) == mlConstrainedQuadraticSolved;
            EXPECT_TRUE(!solved || std::isfinite(euclidean_norm(x)));
        }
    }
}

TEST_P(StrangeNumbers, EndInMatrices) {
    mlMatrix a(mlMatrixZero, 3, 3), b(mlMatrixZero, 2, 2), c(mlMatrixZero, 5, 3), d(mlMatrixZero, 8, 3);
    mlAsymEigenVecs3(f.fill(a)).calculate();
    mlAsymEigenVecs2(f.fill(b)).calculate();
    mlATAEigenVecs(f.fill(c)).calculate();
    ml_svd(f.fill(d).data(), mlVector(mlVectorZero, 3).data(), 5, 3);
    EXPECT_NE(mlSymmetricEigen(f.fill(a)).status(), mlSymmetricEigenIterationLimit);
}

INSTANTIATE_TEST_SUITE_P(, StrangeNumbers, testing::Range(0, 100));

} // namespace
