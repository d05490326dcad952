#include "maths/optimisation/mlDistanceLeastSquares.h"

#include "maths/decompositions/mlSingularValueDecomposition.h"

mlDistanceLeastSquares::mlDistanceLeastSquares(int n_parameters, int n_points)
    : n_points_(n_points), parameters(mlVectorZero, n_parameters), precise_square_distance(0) {}

mlDistanceLeastSquares::~mlDistanceLeastSquares() = default;

void mlDistanceLeastSquares::set_parameters(mlVector const & p) {
    MATHS_CHECK(p.size() == parameters.size(), "set_parameters: %d given, the model has %d", p.size(),
                parameters.size());
    parameters = p;
}

double mlDistanceLeastSquares::get_last_square_distance() const { return 0.0; }

int mlDistanceLeastSquares::n_independent_parameters() const { return parameters.size(); }

void mlDistanceLeastSquares::parameter_scales(mlVector & scales) const {
    int const n = n_independent_parameters();
    scales.clear(0);
    scales.expand(n);
    scales.fill(1.0);
}

double mlDistanceLeastSquares::point_distribution_quality(mlVector const & p) {
    set_parameters(p);
    int const n = n_parameters();
    if (n < 1 || n_points_ < n) return 0.0;
    mlMatrix gradients(mlMatrixZero, n_points_, n);
    mlVector gradient(mlVectorZero, n);
    for (int i = 0; i < n_points_; ++i) {
        double d;
        distance_and_gradient(d, gradient, i);
        gradients.row(i) = gradient;
    }
    using SVD = mlSingularValueDecomposition;
    SVD const svd(gradients, SVD::mlNO_U, SVD::mlNO_V);
    mlVector const & values = svd.diagonal(); // the largest first
    return values[0] == 0.0 ? 0.0 : values[n - 1] / values[0];
}
