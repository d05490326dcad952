#include "maths/functions/mlCachedFunctionN.h"

#include <algorithm>

#include "maths/functions/mlDomain.h"

namespace {

int number_of_slots(int variables) {
    int slots = 1;
    for (int k = 0; k < variables; ++k)
        slots = coTableSize(slots, 3);
    return slots;
}

void check_room([[maybe_unused]] mlVector const & y, [[maybe_unused]] int values) {
    MATHS_CHECK(y.size() >= values, "cached function: %d values to a vector of %d", values, y.size());
}

} // namespace

mlCachedFunctionN::mlCachedFunctionN(mlFunctionN const * f)
    : base_function_(f), cached_input_dimension_(f->input_dimension), cached_output_dimension_(f->output_dimension),
      slot_count_(number_of_slots(f->input_dimension)) {
    MATHS_CHECK(f->input_dimension > 0 && f->output_dimension > 0,
                "cached function: the function's dimensions are %d and %d: were they set?", f->input_dimension,
                f->output_dimension);
    input_dimension = cached_input_dimension_;
    output_dimension = cached_output_dimension_;
    orders_.expand(cached_input_dimension_);
    values_.expand(slot_count_);
    arguments_.expand(slot_count_);
    for (int s = 0; s < slot_count_; ++s) {
        values_[s].become(mlVectorZero, cached_output_dimension_);
        arguments_[s].become(mlVectorZero, cached_input_dimension_);
    }
    cancel_cache();
}

void mlCachedFunctionN::cancel_cache() const {
    for (int s = 0; s < slot_count_; ++s)
        forget(s);
}

void mlCachedFunctionN::forget(int slot) const {
    mlVector & argument = arguments_[slot];
    if (argument.size() > 0) argument[0] = mlUnboundedMin; // without variables no result is ever found
}

bool mlCachedFunctionN::known(int slot, mlSlice const & x) const {
    mlVector const & argument = std::as_const(arguments_)[slot];
    return argument.size() > 0 && argument[0] != mlUnboundedMin && x == argument.slice();
}

void mlCachedFunctionN::function(mlSlice const & x, mlVector & y) const {
    check_room(y, cached_output_dimension_);
    if (!known(0, x)) {
        forget(0); // if the function throws, the slot holds no result
        base_function_->function(x, values_[0]);
        arguments_[0] = x;
    }
    y = values_[0];
}

void mlCachedFunctionN::function_derivative(mlSlice const & x, int * const orders, mlVector & y) const {
    check_room(y, cached_output_dimension_);
    int const slot = index(orders);
    if (!known(slot, x)) {
        forget(slot);
        base_function_->function_derivative(x, orders, values_[slot]);
        arguments_[slot] = x;
    }
    y = values_[slot];
}

void mlCachedFunctionN::function_gradient(mlSlice const & x, mlMatrix & jacobian) const {
    MATHS_CHECK(jacobian.rows() >= cached_output_dimension_ && jacobian.cols() >= cached_input_dimension_,
                "cached function: a %d x %d Jacobian to a matrix of %d x %d", cached_output_dimension_,
                cached_input_dimension_, jacobian.rows(), jacobian.cols());
    for (int k = 0; k < cached_input_dimension_; ++k) {
        for (int i = 0; i < cached_input_dimension_; ++i)
            orders_[i] = i == k ? 1 : 0;
        int const slot = index(orders_.data());
        if (!known(slot, x)) {
            forget(slot);
            function_derivative(x, orders_.data(), values_[slot]);
            arguments_[slot] = x;
        }
        for (int r = 0; r < cached_output_dimension_; ++r)
            jacobian(r, k) = values_[slot][r];
    }
}

int mlCachedFunctionN::index(int * const orders) const {
    MATHS_CHECK(
        std::all_of(orders, orders + cached_input_dimension_, [](int order) { return order >= 0 && order < 3; }),
        "cached function: an order of derivation outside 0 .. 2");
    unsigned power = 1;
    unsigned slot = 0;
    for (int k = 0; k < cached_input_dimension_; ++k) {
        slot += static_cast<unsigned>(orders[k]) * power;
        power *= 3;
    }
    return static_cast<int>(slot);
}
