// Least-squares fits beside GSL and Ceres: regression problems from both published starts, which are the size, and a
// circle through scattered points, whose number is the size. Each library computes the same model and derivatives and
// is asked for about ten digits; the residual sums must agree to nine.

#include <cmath>
#include <string>

#include <ceres/ceres.h>
#include <gsl/gsl_multifit_nlinear.h>

#include "benchmarks/race.h"
#include "examples/fit/nist.h"
#include "examples/support/column_table.h"

namespace {

/// A problem with its observations.
struct Case {
    explicit Case(NistProblem const & of_problem)
        : problem(of_problem), table(std::string(MATHS_EXAMPLE_DATA) + of_problem.data, 2), x(table.column(0)),
          y(table.column(1)), derivatives(parameters()) {}

    int parameters() const { return static_cast<int>(problem.certified.size()); }

    /// Residuals at b, and their derivatives row by row unless the pointer is null.
    void residuals(double const * b, double * values, double * jacobian) {
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
}

int gsl_values(gsl_vector const * b, void * of, gsl_vector * f) {
    static_cast<Case *>(of)->residuals(b->data, f->data, nullptr);
    return GSL_SUCCESS;
}

int gsl_derivatives(gsl_vector const * b, void * of, gsl_matrix * j) {
    static_cast<Case *>(of)->residuals(b->data, nullptr, j->data);
    return GSL_SUCCESS;
}

/// Leaves the result in b.
void gsl_fit(gsl_multifit_nlinear_fdf & function, double const * start, Values & b) {
    gsl_multifit_nlinear_parameters const parameters = gsl_multifit_nlinear_default_parameters();
    gsl_multifit_nlinear_workspace * const work =
        gsl_multifit_nlinear_alloc(gsl_multifit_nlinear_trust, &parameters, function.n, function.p);
    gsl_vector_const_view const from = gsl_vector_const_view_array(start, function.p);
    gsl_multifit_nlinear_init(&from.vector, &function, work);
    int why = 0;
    gsl_multifit_nlinear_driver(500, 1e-10, 1e-10, 0.0, nullptr, nullptr, &why, work);
    std::copy_n(work->x->data, function.p, b.begin());
    gsl_multifit_nlinear_free(work);
}

void gsl_fit(Case & of, Values & b) {
    gsl_multifit_nlinear_fdf function{};
    function.f = gsl_values;
    function.df = gsl_derivatives;
    function.n = of.table.rows();
    function.p = b.size();
    function.params = &of;
    Values const start = b;
    gsl_fit(function, start.data(), b);
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

auto fit(Race & race, NistProblem const & problem) {
    Case of(problem);
    Values const & start = problem.starts[race.size() - 1];
    struct {
        char const * library;
        Fitter fitter;
        Values found = Values(1);
    } contestants[] = {{"maths", own_fit}, {"gsl", gsl_fit}, {"ceres", ceres_fit}};
    for (auto & contestant : contestants) {
        Values b = start;
        contestant.fitter(of, b);
        contestant.found[0] = of.residual_sum(b.data());
        race.add(contestant.library, contestant.found, [&of, &start, fitter = contestant.fitter] {
            Values found = start;
            fitter(of, found);
        });
    }
    return race.run();
}

// --- A circle: parameters are its centre and radius, distances are signed, positive outside

struct Points {
    explicit Points(int count) : x(count), y(count) {
        mlRandom random(count);
        for (int i = 0; i < count; ++i) {
            double const angle = random.uniform(0.0, 6.0), r = 2.0 + 0.05 * random.normal();
            x[i] = 1.0 + r * std::cos(angle);
            y[i] = -3.0 + r * std::sin(angle);
        }
    }

    /// Writes the gradient unless the pointer is null.
    double distance(double const * circle, int i, double * gradient) const {
        double const dx = x[i] - circle[0], dy = y[i] - circle[1], r = std::sqrt(dx * dx + dy * dy);
        if (gradient != nullptr) {
            gradient[0] = -dx / r;
            gradient[1] = -dy / r;
            gradient[2] = -1.0;
        }
        return r - circle[2];
    }

    Values x, y;
};

class CircleFit : public mlDistanceLeastSquares {
public:
    explicit CircleFit(Points const & points)
        : mlDistanceLeastSquares(3, static_cast<int>(points.x.size())), points_(points) {}
    void normalise_parameters(mlVector &) override {}
    void distance_and_gradient(double & d, mlVector & gradient, int point) override {
        d = points_.distance(parameters.data(), point, gradient.data());
    }
    void distance(double & d, int point) override { d = points_.distance(parameters.data(), point, nullptr); }

private:
    Points const & points_;
};

int gsl_distances(gsl_vector const * circle, void * points, gsl_vector * f) {
    for (std::size_t i = 0; i < f->size; ++i)
        f->data[i] = static_cast<Points const *>(points)->distance(circle->data, static_cast<int>(i), nullptr);
    return GSL_SUCCESS;
}

int gsl_gradients(gsl_vector const * circle, void * points, gsl_matrix * j) {
    for (std::size_t i = 0; i < j->size1; ++i)
        static_cast<Points const *>(points)->distance(circle->data, static_cast<int>(i), j->data + i * j->tda);
    return GSL_SUCCESS;
}

auto circle_fit(Race & race) {
    Points points(race.size());
    double const start[] = {0.0, 0.0, 1.0};
    mlVector own;
    race.add("maths", own, [&] {
        CircleFit model(points);
        mlVector from;
        from.become(utConvert, start, 3);
        mlLevenbergMarquardt(model).fit(from, own);
    });

    gsl_multifit_nlinear_fdf function{};
    function.f = gsl_distances;
    function.df = gsl_gradients;
    function.n = race.size();
    function.p = 3;
    function.params = &points;
    Values gsl(3);
    race.add("gsl", gsl, [&] { gsl_fit(function, start, gsl); });
    return race.run();
}

bool enter_all() {
    for (NistProblem const & problem : nist_problems())
        enter((std::string("fit_") + problem.name).c_str(), {1, 2}, [&](Race & race) { return fit(race, problem); });
    return enter("circle_fit", {100, 1000, 10000}, circle_fit);
}

bool const entered = enter_all();

} // namespace
