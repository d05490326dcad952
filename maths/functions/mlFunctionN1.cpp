#include "maths/functions/mlFunctionN1.h"

namespace {

double const gradient_step = 1.19e-7;
double const per_double_gradient_step = 4201680.672268908; // 1 / (2 * 1.19e-7)

double const hessian_step = 1e-7;
double const per_hessian_step = 1e7;
double const per_double_hessian_step = 5e6;

void check_dimension([[maybe_unused]] char const * operation, [[maybe_unused]] int dimension,
                     [[maybe_unused]] mlSlice const & x) {
    MATHS_CHECK(dimension <= x.length() && (dimension > 0 || x.length() == 0),
                "%s: the function's `dimension` is %d, its argument has %d elements", operation, dimension, x.length());
}

void become_copy(mlVector & w, mlSlice const & x) {
    w.become(mlVectorZero, x.length());
    w = x;
}

// Of this function, on this thread, differences are refused; whether they were wanted.
struct Refusal {
    mlFunctionN1 const * function = nullptr;
    bool wanted = false;
};
thread_local Refusal refusal;

/// Puts the refusal before back, also where the gradient throws: the search for it may call other functions.
class RefusalScope {
public:
    explicit RefusalScope(mlFunctionN1 const & f) : before_(refusal) { refusal = {&f, false}; }
    RefusalScope(RefusalScope const &) = delete;
    RefusalScope & operator=(RefusalScope const &) = delete;
    ~RefusalScope() { refusal = before_; }

private:
    Refusal before_;
};

} // namespace

mlFunctionN1::~mlFunctionN1() = default;

void mlFunctionN1::gradient(mlSlice const & x, mlVector & g) const { calculate_gradient_by_finite_differences(x, g); }

int mlFunctionN1::supplied_gradient(mlSlice const & x, mlVector & g) const {
    RefusalScope const scope(*this);
    gradient(x, g);
    return !refusal.wanted;
}

void mlFunctionN1::hessian(mlSlice const & x, mlMatrix & h) const { calculate_hessian_by_finite_differences(x, h); }

void mlFunctionN1::calculate_gradient_by_finite_differences(mlSlice const & x, mlVector & g) const {
    check_dimension("gradient", dimension, x);
    if (g.size() != dimension) {
        g.clear(0);
        g.become(mlVectorZero, dimension);
    }
    if (refusal.function == this) {
        refusal.wanted = true;
        return;
    }
    mlVector w;
    become_copy(w, x);
    for (int i = 0; i < dimension; ++i) {
        w[i] = x[i] - gradient_step;
        double const lower = function(w.slice());
        w[i] = x[i] + gradient_step;
        double const upper = function(w.slice());
        g[i] = (upper - lower) * per_double_gradient_step;
        w[i] = x[i];
    }
}

void mlFunctionN1::calculate_hessian_by_finite_differences(mlSlice const & x, mlMatrix & h) const {
    check_dimension("Hessian", dimension, x);
    if (h.rows() != dimension || h.cols() != dimension) h.become(dimension, dimension);
    mlVector w;
    become_copy(w, x);
    for (int i = 0; i < dimension; ++i) {
        for (int j = i + 1; j < dimension; ++j) {
            h(i, j) = h(j, i) = mixed_difference(x, w, i, j);
            w[j] = x[j];
            w[i] = x[i];
        }
        h(i, i) = second_difference(x, w, i);
        w[i] = x[i];
    }
}

// The second derivative by variables i and j at x. w is a copy of x on entry; on return its elements i and j are
// displaced.
double mlFunctionN1::mixed_difference(mlSlice const & x, mlVector & w, int i, int j) const {
    auto const value_at = [&](double w_i) {
        w[i] = w_i;
        return function(w.slice());
    };
    w[j] = x[j] - hessian_step;
    double const both_lower = value_at(x[i] - hessian_step);
    double const i_upper = value_at(x[i] + hessian_step);
    w[j] = x[j] + hessian_step;
    double const j_upper = value_at(x[i] - hessian_step);
    double const both_upper = value_at(x[i] + hessian_step);
    // One product for each difference, in this order: the results are fixed to the last bit.
    return ((both_upper - j_upper) * per_double_hessian_step - (i_upper - both_lower) * per_double_hessian_step) *
           per_double_hessian_step;
}

// The same by variable i twice.
double mlFunctionN1::second_difference(mlSlice const & x, mlVector & w, int i) const {
    double const middle = function(w.slice());
    w[i] = x[i] - hessian_step;
    double const lower = function(w.slice());
    w[i] = x[i] + hessian_step;
    double const upper = function(w.slice());
    return ((upper - middle) * per_hessian_step - (middle - lower) * per_hessian_step) * per_hessian_step;
}
