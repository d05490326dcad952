#include "maths/sparse/mlLinearOperator.h"

mlLinearOperator::~mlLinearOperator() = default;
