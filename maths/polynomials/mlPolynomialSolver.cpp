#include "maths/polynomials/mlPolynomialSolver.h"

#include <algorithm>
#include <limits>

#include "maths/polynomials/all_roots/mlRootIteration.h"
#include "maths/polynomials/mlRootSolve.h"
#include "platform/coSize.h"

namespace {

bool find_roots(mlRootIteration & iteration, int n, double const * a) {
    double roots[2];
    bool const closed_form =
        n == 2 && mlRootSolve::quadratic_solve(a[2], a[1], a[0], roots[0], roots[1]) == mlRootTypeTwo;
    return iteration.solve(n, a, closed_form ? roots : nullptr);
}

} // namespace

mlPolynomialSolver::mlPolynomialSolver() : iteration_(new mlRootIteration) {}

mlPolynomialSolver::~mlPolynomialSolver() { delete iteration_; }

mlPolynomialSolverStatus mlPolynomialSolver::solve(int n, double const * a) {
    num_roots_ = num_real_roots_ = 0;
    status_ = mlPolynomialSolverEverywhere;
    auto const is_finite = [](double x) { return x - x == 0.0; };
    if (n >= 0 && !std::all_of(a, a + n + 1, is_finite)) return status_ = mlPolynomialSolverNotFinite;
    while (n >= 0 && a[n] == 0.0)
        --n;
    if (n < 0) return status_ = mlPolynomialSolverEverywhere;
    int zeros = 0;
    while (a[zeros] == 0.0)
        ++zeros;

    numbers_.expand(coTableSize(3, n));
    real_ = numbers_.data();
    imaginary_ = real_ + n;
    bound_ = imaginary_ + n;
    order_.expand(n);
    bool const met = zeros == n || find_roots(*iteration_, n - zeros, a + zeros);
    num_roots_ = n;
    list_roots(zeros);
    return status_ = met ? mlPolynomialSolverSolved : mlPolynomialSolverIterationLimit;
}

// One entry of `order_` for each real root and for the upper one of each pair; -1 for a root 0.
void mlPolynomialSolver::list_roots(int zeros) {
    int * const order = order_.data();
    int count = 0;
    for (int i = 0; i < num_roots_ - zeros; ++i) {
        if (iteration_->imaginary_part(i) >= 0.0) order[count++] = i;
    }
    for (int i = 0; i < zeros; ++i)
        order[count++] = -1;
    auto const x = [this](int i) { return i < 0 ? 0.0 : iteration_->real_part(i); };
    auto const y = [this](int i) { return i < 0 ? 0.0 : iteration_->imaginary_part(i); };
    std::sort(order, order + count, [&](int i, int j) {
        if (x(i) != x(j)) return x(i) < x(j);
        return y(i) != y(j) ? y(i) < y(j) : i < j;
    });

    int place = 0;
    for (int k = 0; k < count; ++k) {
        int const i = order[k];
        double const re = x(i) + 0.0, im = y(i), bound = i < 0 ? 0.0 : iteration_->error_bound(i); // + 0.0: not -0
        auto const list = [&](double imaginary) {
            real_[place] = re;
            imaginary_[place] = imaginary;
            bound_[place++] = bound;
        };
        if (im > 0.0) list(-im);
        list(im > 0.0 ? im : 0.0);
        if (!(im > 0.0)) ++num_real_roots_;
    }
}

void mlPolynomialSolver::real_roots(mlVector & out) const {
    real_roots(mlRange(-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()), out);
}

void mlPolynomialSolver::real_roots(mlRange const & range, mlVector & out) const {
    out.clear(0);
    out.reserve(num_real_roots_);
    for (int i = 0; i < num_roots_; ++i) {
        if (imaginary_[i] == 0.0 && range.low <= real_[i] && real_[i] <= range.high) out[out.size()] = real_[i];
    }
}
