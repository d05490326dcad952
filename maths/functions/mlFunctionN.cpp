#include "maths/functions/mlFunctionN.h"

mlFunctionN::~mlFunctionN() = default;

void mlFunctionN::function_derivative(mlSlice const &, int * const, mlVector &) const {}
