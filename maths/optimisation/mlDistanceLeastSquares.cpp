#include "maths/optimisation/mlDistanceLeastSquares.h"

mlDistanceLeastSquares::mlDistanceLeastSquares(int n_parameters, int n_points)
    : n_points_(n_points), parameters(mlVectorZero, n_parameters), precise_square_distance(0) {}

mlDistanceLeastSquares::~mlDistanceLeastSquares() = default;

void mlDistanceLeastSquares::set_parameters(mlVector const & p) { parameters = p; }

double mlDistanceLeastSquares::get_last_square_distance() const { return 0.0; }

int mlDistanceLeastSquares::n_independent_parameters() const { return parameters.size(); }

void mlDistanceLeastSquares::parameter_scales(mlVector & scales) const {
    int const n = n_independent_parameters();
    scales.clear(0);
    scales.expand(n);
    scales.fill(1.0);
}
