#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

#include "maths/maths.h"
#include "tests/support/values.h"

// Whatever numbers an iterative routine meets, as arguments and as answers of the user's function: it ends.

namespace {

/// Numbers that are strange in turn: the same one for ever, or one after the other mixed with ordinary ones.
class Source {
public:
    static int const constants = 10;

    explicit Source(int seed) : seed_(seed), random_(seed) {}

    double next() const {
        static double const strange[constants] = {nan_value, infinity, -infinity, 0.0,    -0.0,
                                                  5e-324,    -5e-324,  1e308,     -1e308, 1e-300};
        if (++count_ > 200000) throw std::runtime_error("asked 200000 times");
        if (seed_ < constants) return strange[seed_];
        double const choice = random_.uniform(0.0, 2.0 * constants);
        return choice < constants ? strange[static_cast<int>(choice)] : random_.uniform(-2.0, 2.0);
    }

    template <class Array> Array & fill(Array & array) const {
        for (double & x : array)
            x = next();
        return array;
    }

private:
    int seed_;
    mutable mlRandom random_;
    mutable int count_ = 0;
};

struct Function : Source, mlFunction {
    explicit Function(int seed) : Source(seed) { highest_derivative_order = seed % 3; }
    double function(double) const override { return next(); }
    double function_derivative(int, double) const override { return next(); }
};

struct FunctionN1 : Source, mlFunctionN1 {
    explicit FunctionN1(int seed) : Source(seed) { dimension = 3; }
    double function(mlSlice const &) const override { return next(); }
};

struct FunctionN : Source, mlFunctionN {
    explicit FunctionN(int seed) : Source(seed) { input_dimension = output_dimension = 3; }
    void function(mlSlice const &, mlVector & y) const override { fill(y.become(mlVectorZero, 3)); }
    void function_gradient(mlSlice const &, mlMatrix & jacobian) const override { fill(jacobian.become(3, 3)); }
};

struct Model : Source, mlDistanceLeastSquares {
    explicit Model(int seed) : Source(seed), mlDistanceLeastSquares(2, 5) {}
    void normalise_parameters(mlVector &) override {}
    void distance(double & d, int) override { d = next(); }
    void distance_and_gradient(double & d, mlVector & gradient, int) override {
        d = next();
        fill(gradient.become(mlVectorZero, 2));
    }
};

class StrangeNumbers : public testing::TestWithParam<int> {
protected:
    /// The next one, or an ordinary one in its place for the first half of the seeds.
    double argument(double ordinary) const { return seed % 2 == 0 ? ordinary : source.next(); }

    int const seed = GetParam();
    Source const source = Source(seed);
    int flag = 0;
};

TEST_P(StrangeNumbers, EndInFunctionsOfOneVariable) {
    auto const f = [this] { return Function(seed); };
    double const a = argument(0.0), b = argument(1.0), tolerance = argument(1e-9);
    mlRootSolve::newton_raphson(f(), a, tolerance, flag, 100);
    mlRootSolve::newton_raphson(f(), a, b, tolerance, flag, 100);
    mlRootSolve::regula_falsi(f(), a, b, tolerance, flag, 100);
    mlIntegrateTrapezoid(tolerance, 8).integrate(f(), a, b);
    mlIntegrateSimpson(tolerance, 8).integrate(f(), a, b);
    mlIntegrateRomberg(tolerance, 8).integrate(f(), a, b);
    Function const once = f();
    mlMinimiser minimiser(once, argument(0.5), a, b, tolerance);
    int found, range_end, not_converged;
    minimiser.minimise(found, range_end, not_converged);
    minimiser.change_range(argument(2.0));
    minimiser.minimise(found, range_end, not_converged);
    double from = a, to = b, c, fa, fb, fc, least, p[5], r[4];
    Function walked = f(), searched = f();
    ml_minimum_bracketing(walked, from, to, c, fa, fb, fc);
    ml_brent_minimum_search(searched, from, to, c, tolerance, 100, &least);
    for (int i = 0; i < 50; ++i) {
        source.fill(p);
        int const roots = mlRootSolve::quartic_solve(p[0], p[1], p[2], p[3], p[4], r[0], r[1], r[2], r[3]);
        EXPECT_TRUE(-1 <= roots && roots <= 4);
    }
}

TEST_P(StrangeNumbers, EndInFunctionsOfManyVariables) {
    mlVector x, result;
    mlMatrix directions;
    source.fill(x.become(mlVectorZero, 3));
    FunctionN1 f(seed);
    mlDownHillSimplex(3).solve(f, x, mlDownHillSimplexNormal);
    source.fill(directions.become(3, 3));
    FunctionN1 g(seed);
    ml_powell_minimum_search(x, directions, argument(1e-9), flag, g);
    source.fill(x.become(mlVectorZero, 3));
    mlNewtonRaphson(mlNRDim, 3).solve(FunctionN(seed), x, argument(1e-9), flag);
    for (bool const strict : {false, true}) {
        Model model(seed);
        mlLevenbergMarquardt fit(model);
        fit.set_strict(strict);
        fit.fit(source.fill(x.become(mlVectorZero, 2)), result);
    }
}

TEST_P(StrangeNumbers, EndInMatrices) {
    mlMatrix a, b, c, d;
    source.fill(a.become(3, 3));
    source.fill(b.become(2, 2));
    source.fill(c.become(5, 3));
    source.fill(d.become(8, 3));
    mlAsymEigenVecs3(a).calculate();
    mlAsymEigenVecs2(b).calculate();
    mlATAEigenVecs(c).calculate();
    mlSingularValueDecomposition const svd(c);
    for (int i = 0; i < 9; ++i)
        a[i] = a(std::min(i / 3, i % 3), std::max(i / 3, i % 3));
    mlSymEigenVecs(a).calculate();
    mlVector squares(mlVectorZero, 3);
    ml_svd(d.data(), squares.data(), 5, 3);
}

INSTANTIATE_TEST_SUITE_P(, StrangeNumbers, testing::Range(0, 100));

} // namespace
