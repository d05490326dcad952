#pragma once

#include "maths/core/mlMatrix.h"

/// A function of n variables with m values: derive from it, set the two dimensions and supply value and Jacobian.
///
/// Outputs have the size that the caller gives them: m values, an m x n Jacobian.
/// Threads: may be called concurrently as far as the deriving class allows it.
class MATHS_API mlFunctionN {
public:
    /// Writes the m values at x into y.
    virtual void function(mlSlice const & x, mlVector & y) const = 0;

    /// Writes the Jacobian at x: row r holds the derivatives of value r, column k those by variable k.
    virtual void function_gradient(mlSlice const & x, mlMatrix & jacobian) const = 0;

    /// Writes into y the m partial derivatives whose order in variable k is orders[k], 0, 1 or 2.
    /// By default does nothing: y keeps what it holds.
    virtual void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const;

    virtual ~mlFunctionN();

    int input_dimension = 0;  ///< n; the deriving class sets it
    int output_dimension = 0; ///< m; the deriving class sets it
};
