// Newton's method beside GSL's, on Broyden's tridiagonal equations (3 - 2 x_i) x_i - x_(i-1) - 2 x_(i+1) + 1 = 0: the
// size is their number. Both are given the Jacobian and end near the last bit; the time is that of a whole search.

#include <gsl/gsl_multiroots.h>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

template <class X> double broyden(X const & x, int n, int i) {
    return (3.0 - 2.0 * x[i]) * x[i] - (i > 0 ? x[i - 1] : 0.0) - 2.0 * (i < n - 1 ? x[i + 1] : 0.0) + 1.0;
}

/// Writes the Jacobian row by row, without gaps.
template <class X> void broyden_jacobian(X const & x, int n, double * j) {
    for (int i = 0; i < n; ++i, j += n) {
        std::fill_n(j, n, 0.0);
        if (i > 0) j[i - 1] = -1.0;
        j[i] = 3.0 - 4.0 * x[i];
        if (i < n - 1) j[i + 1] = -2.0;
    }
}

class Broyden : public mlFunctionN {
public:
    explicit Broyden(int n) { input_dimension = output_dimension = n; }
    void function(mlSlice const & x, mlVector & y) const override {
        for (int i = 0; i < output_dimension; ++i)
            y[i] = broyden(x, output_dimension, i);
    }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        broyden_jacobian(x, output_dimension, jacobian.data());
    }
};

int gsl_function_values(gsl_vector const * x, void *, gsl_vector * f) {
    int const n = static_cast<int>(x->size);
    for (int i = 0; i < n; ++i)
        f->data[i] = broyden(x->data, n, i);
    return GSL_SUCCESS;
}

int gsl_jacobian(gsl_vector const * x, void *, gsl_matrix * j) {
    broyden_jacobian(x->data, static_cast<int>(x->size), j->data);
    return GSL_SUCCESS;
}

int gsl_both(gsl_vector const * x, void *, gsl_vector * f, gsl_matrix * j) {
    gsl_function_values(x, nullptr, f);
    return gsl_jacobian(x, nullptr, j);
}

void gsl_newton(Values & x) {
    std::size_t const n = x.size();
    gsl_multiroot_function_fdf f{gsl_function_values, gsl_jacobian, gsl_both, n, nullptr};
    std::fill(x.begin(), x.end(), -1.0);
    gsl_vector_const_view const start = gsl_vector_const_view_array(x.data(), n);
    gsl_multiroot_fdfsolver * const solver = gsl_multiroot_fdfsolver_alloc(gsl_multiroot_fdfsolver_newton, n);
    gsl_multiroot_fdfsolver_set(solver, &f, &start.vector);
    for (int i = 0; i < 20; ++i) {
        gsl_multiroot_fdfsolver_iterate(solver);
        if (gsl_multiroot_test_residual(solver->f, 1e-14) == GSL_SUCCESS) break;
    }
    std::copy_n(solver->x->data, n, x.begin());
    gsl_multiroot_fdfsolver_free(solver);
}

auto newton(Race & race) {
    int const n = race.size();
    Broyden const f(n);
    mlVector own(mlVectorZero, n);
    Values gsl(n);
    race.add("maths", own, [&, n] {
        own.fill(-1.0);
        int converged = 0;
        mlNewtonRaphson(mlNRDim, n).solve(f, own, 1e-14, converged);
    });
    race.add("gsl", gsl, [&] { gsl_newton(gsl); });
    return race.run();
}

bool const entered = enter("newton", {2, 5, 10, 20, 50}, newton);

} // namespace
