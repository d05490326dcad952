// Polynomials beside a plain loop and GSL: values at 1000 points, and the coefficients through samples. The argument is
// the degree.

#include <numbers>

#include <gsl/gsl_poly.h>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

using Evaluate = double (*)(int degree, double const * a, double t);

double own_value(int degree, double const * a, double t) {
    double v;
    mlPolynomial::evaluate(degree, a, t, v);
    return v;
}
double loop_value(int degree, double const * a, double t) {
    double v = a[degree];
    for (int i = degree - 1; i >= 0; --i)
        v = v * t + a[i];
    return v;
}
double gsl_value(int degree, double const * a, double t) { return gsl_poly_eval(a, degree + 1, t); }

/// cos(i) for i = 0 .. count - 1.
Values samples(int count) {
    Values values(count);
    for (int i = 0; i < count; ++i)
        values[i] = std::cos(i);
    return values;
}

template <Evaluate evaluate> void polynomial_values(benchmark::State & state) {
    int const degree = static_cast<int>(state.range(0));
    Values const a = samples(degree + 1), t = samples(1000);
    Values expected(t.size()), found(t.size());
    for (std::size_t i = 0; i < t.size(); ++i)
        expected[i] = loop_value(degree, a.data(), t[i]);
    race(state, expected, found, [&] {
        for (std::size_t i = 0; i < t.size(); ++i)
            found[i] = evaluate(degree, a.data(), t[i]);
    });
}

void polynomial_fit(benchmark::State & state, bool own) {
    int const degree = static_cast<int>(state.range(0)), count = degree + 1;
    Values const y = samples(count);
    Values x(count), expected(count), found(count), differences(count), work(count);
    for (int i = 0; i < count; ++i)
        x[i] = std::cos((i + 0.5) * std::numbers::pi / count);
    mlPolynomial polynomial;
    polynomial.fit(x.data(), y.data(), degree, expected.data());
    if (own)
        race(state, expected, found, [&] { polynomial.fit(x.data(), y.data(), degree, found.data()); });
    else
        race(state, expected, found, [&] { // divided differences, then Taylor's coefficients at 0
            gsl_poly_dd_init(differences.data(), x.data(), y.data(), count);
            gsl_poly_dd_taylor(found.data(), 0.0, differences.data(), x.data(), count, work.data());
        });
}

void degrees(benchmark::internal::Benchmark * benchmark) { benchmark->Arg(3)->Arg(7)->Arg(15); }

BENCHMARK(polynomial_values<own_value>)->Name("polynomial_values/maths")->Apply(degrees);
BENCHMARK(polynomial_values<loop_value>)->Name("polynomial_values/loop")->Apply(degrees);
BENCHMARK(polynomial_values<gsl_value>)->Name("polynomial_values/gsl")->Apply(degrees);
BENCHMARK_CAPTURE(polynomial_fit, maths, true)->Apply(degrees);
BENCHMARK_CAPTURE(polynomial_fit, gsl, false)->Apply(degrees);

} // namespace
