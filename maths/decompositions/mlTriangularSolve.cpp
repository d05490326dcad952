#include "maths/decompositions/mlTriangularSolve.h"

// Each subtraction waits for the one before, and the first of a row for the division that ends the row before. That
// chain is all the time there is, so nothing else may stand on it: the newest element comes from a register, since a
// load would have to wait for its store.
void ml_solve_latest_first(int n, mlTriangle const & l, double * x, std::ptrdiff_t x_step) {
    double newest = 0.0;
    for (std::ptrdiff_t t = 0; t < n; ++t) {
        double const * const factors = l.first + t * l.row_step;
        double rest = x[t * x_step];
        if (t > 0) rest -= factors[(t - 1) * l.step] * newest;
        for (std::ptrdiff_t s = t - 2; s >= 0; --s)
            rest -= factors[s * l.step] * x[s * x_step];
        newest = rest / l.diagonal[t * l.diagonal_step];
        x[t * x_step] = newest;
    }
}
