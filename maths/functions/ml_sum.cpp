#include "maths/functions/ml_sum.h"

double ml_sum(mlFunction const & f, double x0, double dx, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += f.function(static_cast<double>(i) * dx + x0);
    return sum;
}
