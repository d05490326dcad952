#pragma once

#include "maths/containers/mlVectorcoDynArr.h"
#include "maths/functions/mlFunctionN.h"

/// Wraps a function of n variables and remembers, for each combination of derivative orders 0 .. 2, its last result and
/// the argument of that; a new argument replaces both.
///
/// The Jacobian is assembled from first derivatives that `function_derivative` supplies; the wrapped function's own
/// `function_gradient` is never called. Outputs are filled by plain assignment and never resized: y has m elements, a
/// Jacobian at least m rows and n columns.
/// Deliberate: arguments are compared as slices are: their first n values from data() on, start and stride ignored. An
/// argument whose first element is the most negative finite double is never found.
/// Space: 3ⁿ pairs of vectors, which limits its use to few variables. Bad input: orders outside 0 .. 2 are not
/// checked. Lifetime: the wrapped function must outlive the object. Failure: std::bad_alloc, always from 20 variables
/// on. A result is not remembered when the caller's function throws. Threads: the const operations write the
/// cache: one thread at a time.
class MATHS_API mlCachedFunctionN : public mlFunctionN {
public:
    explicit mlCachedFunctionN(mlFunctionN const * f);

    void function(mlSlice const & x, mlVector & y) const override;
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override;
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override;

    /// Forgets all results. To be called whenever the wrapped function has changed: the cache knows arguments only.
    void cancel_cache() const;

protected:
    /// Slot of a combination of orders: the sum of orders[k] 3ᵏ.
    int index(int * const orders) const;

private:
    bool known(int slot, mlSlice const & x) const;
    void forget(int slot) const;

    mlFunctionN const * base_function_;
    int cached_input_dimension_;
    int cached_output_dimension_;
    int slot_count_;
    mutable intcoDynArr orders_;
    mutable mlVectorcoDynArr values_;
    mutable mlVectorcoDynArr arguments_; // first element the most negative finite double: the slot is empty
};
