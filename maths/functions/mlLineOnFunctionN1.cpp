#include "maths/functions/mlLineOnFunctionN1.h"

#include "maths/core/mlVectorRuns.h"

mlLineOnFunctionN1::mlLineOnFunctionN1(mlVector const & point, mlVector const & direction, mlFunctionN1 * f)
    : function_n1_(f), point_(&point), direction_(&direction), work_(mlVectorZero, point.size()) {
    MATHS_CHECK(f->dimension == point.size() && direction.size() >= point.size(),
                "line: the function's `dimension` is %d, the point has %d elements and the direction %d", f->dimension,
                point.size(), direction.size());
}

double mlLineOnFunctionN1::function(double t) const {
    int const n = work_.size();
    ml_check_length("line: point", n, point_->size());
    ml_check_length("line: direction", n, direction_->size());
    for (int k = 0; k < n; ++k)
        work_[k] = (*direction_)[k] * t + (*point_)[k];
    return function_n1_->function(work_.slice());
}
