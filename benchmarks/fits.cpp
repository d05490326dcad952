// Regression problems beside GSL and Ceres, from both published starts, which are the argument. Each library computes
// the same model and derivatives, is asked for about ten digits, and must find the certified residual sum to nine.
// A step is an evaluation of the derivatives.

#include <cmath>
#include <string>

#include <ceres/ceres.h>
#include <gsl/gsl_multifit_nlinear.h>

#include "benchmarks/race.h"
#include "examples/fit/nist.h"
#include "examples/support/column_table.h"

namespace {

/// A problem with its observations, and the count of its evaluations with derivatives.
struct Case {
    explicit Case(NistProblem const & of_problem)
        : problem(of_problem), table(std::string(MATHS_EXAMPLE_DATA) + of_problem.data, 2), x(table.column(0)),
          y(table.column(1)), derivatives(parameters()) {}

    int parameters() const { return static_cast<int>(problem.certified.size()); }

    /// Residuals at b, and their derivatives row by row unless the pointer is null.
    void residuals(double const * b, double * values, double * jacobian) {
        if (jacobian != nullptr) ++steps;
        for (int i = 0; i < table.rows(); ++i) {
            double * const row = jacobian != nullptr ? jacobian + i * parameters() : derivatives.data();
            double const value = problem.formula(b, x[i], row);
            if (values != nullptr) values[i] = value - y[i];
        }
    }

    double residual_sum(double const * b) {
        Values values(table.rows());
        residuals(b, values.data(), nullptr);
        double sum = 0.0;
        for (double const r : values)
            sum += r * r;
        return sum;
    }

    NistProblem const & problem;
    ColumnTable table;
    mlSlice const x, y;
    Values derivatives;
    int steps = 0;
};

/// Fits from the start in b and leaves the result there.
using Fitter = void (*)(Case & of, Values & b);

void own_fit(Case & of, Values & b) {
    NistFit model(of.problem, of.x, of.y);
    mlVector start, result;
    start.become(utConvert, b.data(), of.parameters());
    mlLevenbergMarquardt fitter(model);
    fitter.set_strict(true);
    fitter.fit(start, result);
    std::copy(result.begin(), result.end(), b.begin());
    of.steps += model.gradients / model.n_points();
}

int gsl_values(gsl_vector const * b, void * of, gsl_vector * f) {
    static_cast<Case *>(of)->residuals(b->data, f->data, nullptr);
    return GSL_SUCCESS;
}

int gsl_derivatives(gsl_vector const * b, void * of, gsl_matrix * j) {
    static_cast<Case *>(of)->residuals(b->data, nullptr, j->data);
    return GSL_SUCCESS;
}

void gsl_fit(Case & of, Values & b) {
    std::size_t const n = of.table.rows(), m = b.size();
    gsl_multifit_nlinear_parameters parameters = gsl_multifit_nlinear_default_parameters();
    gsl_multifit_nlinear_fdf function{};
    function.f = gsl_values;
    function.df = gsl_derivatives;
    function.n = n;
    function.p = m;
    function.params = &of;
    gsl_multifit_nlinear_workspace * const work =
        gsl_multifit_nlinear_alloc(gsl_multifit_nlinear_trust, &parameters, n, m);
    gsl_vector_view const start = gsl_vector_view_array(b.data(), m);
    gsl_multifit_nlinear_init(&start.vector, &function, work);
    int why = 0;
    gsl_multifit_nlinear_driver(500, 1e-10, 1e-10, 0.0, nullptr, nullptr, &why, work);
    std::copy_n(work->x->data, m, b.begin());
    gsl_multifit_nlinear_free(work);
}

class CeresResiduals : public ceres::CostFunction {
public:
    explicit CeresResiduals(Case & of) : of_(of) {
        set_num_residuals(of.table.rows());
        mutable_parameter_block_sizes()->push_back(of.parameters());
    }
    bool Evaluate(double const * const * b, double * values, double ** jacobians) const override {
        of_.residuals(b[0], values, jacobians == nullptr ? nullptr : jacobians[0]);
        return true;
    }

private:
    Case & of_;
};

void ceres_fit(Case & of, Values & b) {
    ceres::Problem problem;
    problem.AddResidualBlock(new CeresResiduals(of), nullptr, b.data());
    ceres::Solver::Options options;
    options.linear_solver_type = ceres::DENSE_QR;
    options.max_num_iterations = 500;
    options.function_tolerance = 1e-16;
    options.parameter_tolerance = 1e-10;
    options.gradient_tolerance = 1e-16;
    options.logging_type = ceres::SILENT;
    ceres::Solver::Summary summary;
    ceres::Solve(options, &problem, &summary);
}

void fit(benchmark::State & state, NistProblem const & problem, Fitter fitter) {
    Case of(problem);
    Values const & start = problem.starts[state.range(0) - 1];
    Values b = start;
    fitter(of, b);
    state.counters["steps"] = of.steps;
    if (!(std::fabs(of.residual_sum(b.data()) - problem.residual_sum) <= 1e-9 * problem.residual_sum)) {
        state.SkipWithError("the certified residual sum was not reached");
        return;
    }
    for (auto _ : state) {
        b = start;
        fitter(of, b);
        benchmark::DoNotOptimize(b.data());
    }
}

bool register_fits() {
    struct {
        char const * name;
        Fitter fitter;
    } const libraries[] = {{"maths", own_fit}, {"gsl", gsl_fit}, {"ceres", ceres_fit}};
    for (NistProblem const & problem : nist_problems()) {
        for (auto const & library : libraries) {
            std::string const name = std::string("fit_") + problem.name + '/' + library.name;
            benchmark::RegisterBenchmark(name.c_str(), fit, problem, library.fitter)->Arg(1)->Arg(2);
        }
    }
    return true;
}

bool const registered = register_fits();

} // namespace
